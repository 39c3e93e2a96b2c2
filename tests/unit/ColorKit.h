// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Profiles written byte by byte, the published curves of the spaces, and short forms of the calls
// of the colour engine.

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <numeric>
#include <string>
#include <vector>

#include "host/COR.h"

namespace colorkit {

using Bytes = std::vector<uint8_t>;

inline void PutWord(Bytes* bytes, size_t offset, uint32_t word) {
  for (size_t i = 0; i < 4; ++i) (*bytes)[offset + i] = uint8_t(word >> (24 - 8 * i));
}
inline uint32_t Word(const std::string& text) {
  return std::accumulate(text.begin(), text.end(), 0u,
                         [](uint32_t word, char c) { return word << 8 | uint8_t(c); });
}

// --- data of tags --------------------------------------------------------------------------------

// The type, 32-bit numbers, fixed-point numbers with 16 fractional bits, 16-bit numbers.
inline Bytes Tag(const std::string& type, std::vector<uint32_t> words,
                 const std::vector<double>& fixed, const std::u16string& halves = {}) {
  for (const double value : fixed) words.push_back(uint32_t(std::lround(value * 65536)));
  Bytes tag(type.begin(), type.end());
  tag.resize(8 + 4 * words.size());
  for (size_t i = 0; i < words.size(); ++i) PutWord(&tag, 8 + 4 * i, words[i]);
  for (const char16_t half : halves) tag.insert(tag.end(), {uint8_t(half >> 8), uint8_t(half)});
  return tag;
}
inline Bytes Table(const std::vector<uint16_t>& values) {
  return Tag("curv", {uint32_t(values.size())}, {}, {values.begin(), values.end()});
}
inline Bytes Formula(uint32_t type, const std::vector<double>& parameters) {
  return Tag("para", {type << 16}, parameters);
}
inline Bytes Xyz(const std::vector<double>& xyz) { return Tag("XYZ ", {}, xyz); }
inline Bytes Text(const std::u16string& text) {
  return Tag("mluc", {1, 12, Word("enUS"), uint32_t(2 * text.size()), 28}, {}, text);
}

// A table of `curve`, which maps 0..1 to 0..1.
template <class Curve>
Bytes TableOf(Curve&& curve, int entries) {
  std::vector<uint16_t> values;
  for (int i = 0; i < entries; ++i) {
    values.push_back(uint16_t(std::lround(65535 * curve(i / (entries - 1.0)))));
  }
  return Table(values);
}

// --- profiles ------------------------------------------------------------------------------------

using Tags = std::map<std::string, Bytes>;

// With the primaries of sRGB and one curve for all channels.
inline Tags WithCurve(const Bytes& curve) {
  return {{"desc", Text(u"made for a test")},
          {"wtpt", Xyz({0.9642, 1.0, 0.8249})},
          {"rXYZ", Xyz({0.43607, 0.22249, 0.01392})},
          {"gXYZ", Xyz({0.38515, 0.71687, 0.09708})},
          {"bXYZ", Xyz({0.14307, 0.06061, 0.71410})},
          {"rTRC", curve},
          {"gTRC", curve},
          {"bTRC", curve}};
}

// The file of a display profile with these tags, in the order of their names; its white is D50.
inline Bytes FileOf(const Tags& tags) {
  Bytes file(132 + 12 * tags.size());
  const std::pair<size_t, uint32_t> header[] = {
      {8, 0x04300000},    {12, Word("mntr")}, {16, Word("RGB ")},
      {20, Word("XYZ ")}, {36, Word("acsp")}, {68, 0xF6D6},
      {72, 0x10000},      {76, 0xD32D},       {128, uint32_t(tags.size())}};
  for (const auto& [offset, word] : header) PutWord(&file, offset, word);
  size_t entry = 132;
  for (const auto& [name, data] : tags) {
    for (const uint32_t word : {Word(name), uint32_t(file.size()), uint32_t(data.size())}) {
      PutWord(&file, entry, word);
      entry += 4;
    }
    file.insert(file.end(), data.begin(), data.end());
    file.resize((file.size() + 3) / 4 * 4);
  }
  PutWord(&file, 0, uint32_t(file.size()));
  return file;
}
inline Bytes FileWith(const Bytes& curve) { return FileOf(WithCurve(curve)); }

// --- published curves, from stored values to light -----------------------------------------------

inline double Srgb(double v) {
  return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
}
inline double Rec709(double v) {
  return v < 0.081 ? v / 4.5 : std::pow((v + 0.099) / 1.099, 1 / 0.45);
}
inline double Romm(double v) { return v < 1.0 / 32 ? v / 16 : std::pow(v, 1.8); }
inline double Power22(double v) { return std::pow(v, 2.2); }
inline double Power24(double v) { return std::pow(v, 2.4); }
inline double Identity(double v) { return v; }

// --- calls ---------------------------------------------------------------------------------------

// The result of a call that must succeed.
template <class Out, class Call, class... Arguments>
Out Get(Call* call, const Arguments&... arguments) {
  Out out{};
  EXPECT_EQ(call(arguments..., &out), QCE_Ok);
  return out;
}
inline COR_QCE_ProfilePtr Named(const char* name) {
  return Get<COR_QCE_ProfilePtr>(COR_QCE_ProfileFromName, name);
}
inline QCE_Status Open(const Bytes& bytes, COR_QCE_ProfilePtr* out) {
  return COR_QCE_ProfileFromMemory(bytes.data(), bytes.size(), out);
}
inline COR_QCE_ProfilePtr Opened(const Bytes& bytes) {
  return Get<COR_QCE_ProfilePtr>(Open, bytes);
}
inline COR_QCE_ProfilePtr Linear(const COR_QCE_ProfilePtr& profile) {
  return Get<COR_QCE_ProfilePtr>(COR_QCE_GetLinearRGBProfile, profile);
}
inline Bytes BytesOf(const COR_QCE_ProfilePtr& profile) {
  return Get<Bytes>(COR_QCE_GetProfileBytes, profile);
}
inline float ExponentOf(const COR_QCE_ProfilePtr& profile) {
  return Get<float>(COR_QCE_GetToneExponent, profile);
}
inline std::u16string DescriptionOf(const COR_QCE_ProfilePtr& profile) {
  return Get<std::u16string>(COR_QCE_GetProfileDescription, profile);
}
inline _t_QCE_ID IdOf(const COR_QCE_ProfilePtr& profile, COR_QCE_ProfilePool* pool = nullptr) {
  return Get<_t_QCE_ID>(COR_QCE_GetProfileID, pool, profile);
}

// The row of ARGB channels after the transform.
template <class Channel>
std::vector<Channel> Through(const COR_QCE_ProfilePtr& from, const COR_QCE_ProfilePtr& to,
                             std::vector<Channel> row) {
  const uint32_t format = sizeof(Channel) == 1   ? QCE_Format_Argb8
                          : sizeof(Channel) == 2 ? QCE_Format_Argb16
                                                 : QCE_Format_ArgbFloat;
  const auto transform = Get<COR_QCE_TransformPtr>(COR_QCE_NewTransform, from, to, format);
  EXPECT_EQ(COR_QCE_Apply(transform, format, row.data(), format, row.data(),
                          int32_t(row.size() / 4), nullptr),
            QCE_Ok);
  return row;
}

// Opaque greys 0..white.
template <class Channel>
std::vector<Channel> Greys(Channel white) {
  std::vector<Channel> row(4 * (size_t{white} + 1), white);
  for (size_t i = 0; i < row.size(); ++i) row[i] = i % 4 == 0 ? white : Channel(i / 4);
  return row;
}

class ColorTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(COR_BindClient(Get<COR_AddressProc>(COR_GetQIBAddressProc)));
  }
  void TearDown() override { COR_ReleaseClient(); }
};

}  // namespace colorkit

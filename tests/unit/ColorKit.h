// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Profiles written byte by byte for the tests of the colour engine, and short forms of its calls.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "host/COR.h"

namespace colorkit {

using Bytes = std::vector<uint8_t>;

inline void PutWord(Bytes* bytes, size_t offset, uint32_t word) {
  for (size_t i = 0; i < 4; ++i) (*bytes)[offset + i] = uint8_t(word >> (24 - 8 * i));
}
inline void AddWord(Bytes* bytes, uint32_t word) {
  bytes->resize(bytes->size() + 4);
  PutWord(bytes, bytes->size() - 4, word);
}
inline void AddFixed(Bytes* bytes, double value) {
  AddWord(bytes, uint32_t(int32_t(std::lround(value * 65536))));
}
constexpr uint32_t Word(const char (&text)[5]) {
  return uint32_t(uint8_t(text[0])) << 24 | uint32_t(uint8_t(text[1])) << 16 |
         uint32_t(uint8_t(text[2])) << 8 | uint8_t(text[3]);
}

// Tag data.
inline Bytes Table(const std::vector<uint16_t>& values) {
  Bytes tag;
  for (uint32_t word : {Word("curv"), 0u, uint32_t(values.size())}) AddWord(&tag, word);
  for (const uint16_t value : values) tag.insert(tag.end(), {uint8_t(value >> 8), uint8_t(value)});
  return tag;
}
inline Bytes Formula(uint32_t type, const std::vector<double>& parameters) {
  Bytes tag;
  for (uint32_t word : {Word("para"), 0u, type << 16}) AddWord(&tag, word);
  for (const double parameter : parameters) AddFixed(&tag, parameter);
  return tag;
}
inline Bytes Xyz(const std::array<double, 3>& xyz) {
  Bytes tag;
  for (uint32_t word : {Word("XYZ "), 0u}) AddWord(&tag, word);
  for (const double value : xyz) AddFixed(&tag, value);
  return tag;
}
inline Bytes Text(const std::u16string& text) {
  Bytes tag;
  for (uint32_t word : {Word("mluc"), 0u, 1u, 12u, Word("enUS"), uint32_t(2 * text.size()), 28u}) {
    AddWord(&tag, word);
  }
  for (const char16_t unit : text) tag.insert(tag.end(), {uint8_t(unit >> 8), uint8_t(unit)});
  return tag;
}

struct Profile {
  std::vector<std::pair<uint32_t, Bytes>> tags;

  Bytes& operator[](uint32_t name) {
    for (auto& [known, data] : tags) {
      if (known == name) return data;
    }
    return tags.emplace_back(name, Bytes()).second;
  }

  Bytes Write() const {
    Bytes file(128), data;
    PutWord(&file, 8, 0x04300000);
    PutWord(&file, 12, Word("mntr"));
    PutWord(&file, 16, Word("RGB "));
    PutWord(&file, 20, Word("XYZ "));
    PutWord(&file, 36, Word("acsp"));
    for (size_t i = 0; i < 3; ++i) {  // D50
      PutWord(&file, 68 + 4 * i, std::array<uint32_t, 3>{0xF6D6, 0x10000, 0xD32D}[i]);
    }
    AddWord(&file, uint32_t(tags.size()));
    for (const auto& [name, tag] : tags) {
      AddWord(&file, name);
      AddWord(&file, uint32_t(132 + 12 * tags.size() + data.size()));
      AddWord(&file, uint32_t(tag.size()));
      data.insert(data.end(), tag.begin(), tag.end());
      data.resize((data.size() + 3) / 4 * 4);
    }
    file.insert(file.end(), data.begin(), data.end());
    PutWord(&file, 0, uint32_t(file.size()));
    return file;
  }
};

// With the primaries of sRGB and one curve for all channels.
inline Profile WithCurve(const Bytes& curve) {
  Profile profile;
  profile[Word("desc")] = Text(u"made for a test");
  profile[Word("wtpt")] = Xyz({0.9642, 1.0, 0.8249});
  profile[Word("rXYZ")] = Xyz({0.43607, 0.22249, 0.01392});
  profile[Word("gXYZ")] = Xyz({0.38515, 0.71687, 0.09708});
  profile[Word("bXYZ")] = Xyz({0.14307, 0.06061, 0.71410});
  for (const uint32_t name : {Word("rTRC"), Word("gTRC"), Word("bTRC")}) profile[name] = curve;
  return profile;
}

inline std::vector<uint16_t> PowerTable(double exponent, int entries) {
  std::vector<uint16_t> values;
  for (int i = 0; i < entries; ++i) {
    values.push_back(uint16_t(std::lround(65535 * std::pow(i / (entries - 1.0), exponent))));
  }
  return values;
}

inline QCE_Status Open(const Bytes& bytes, COR_QCE_ProfilePtr* out) {
  return COR_QCE_ProfileFromMemory(bytes.data(), bytes.size(), out);
}
// The result of a call that must succeed: its last argument.
template <class Result, class Call, class... Arguments>
Result Got(Call call, const Arguments&... arguments) {
  Result result = {};
  EXPECT_EQ(call(arguments..., &result), QCE_Ok);
  return result;
}
inline COR_QCE_ProfilePtr Opened(const Bytes& bytes) {
  return Got<COR_QCE_ProfilePtr>(Open, bytes);
}
inline COR_QCE_ProfilePtr Named(const char* name) {
  return Got<COR_QCE_ProfilePtr>(COR_QCE_ProfileFromName, name);
}
inline COR_QCE_ProfilePtr Linear(const COR_QCE_ProfilePtr& profile) {
  return Got<COR_QCE_ProfilePtr>(COR_QCE_GetLinearRGBProfile, profile);
}
inline Bytes BytesOf(const COR_QCE_ProfilePtr& profile) {
  return Got<Bytes>(COR_QCE_GetProfileBytes, profile);
}
inline float ExponentOf(const COR_QCE_ProfilePtr& profile) {
  return Got<float>(COR_QCE_GetToneExponent, profile);
}
inline std::u16string DescriptionOf(const COR_QCE_ProfilePtr& profile) {
  return Got<std::u16string>(COR_QCE_GetProfileDescription, profile);
}
inline _t_QCE_ID IdOf(const COR_QCE_ProfilePtr& profile, COR_QCE_ProfilePool* pool = nullptr) {
  return Got<_t_QCE_ID>(COR_QCE_GetProfileID, pool, profile);
}

// The row of ARGB channels, transformed in place.
template <class Channel>
std::vector<Channel> Through(const COR_QCE_ProfilePtr& from, const COR_QCE_ProfilePtr& to,
                             std::vector<Channel> row) {
  const uint32_t format = sizeof(Channel) == 1   ? QCE_Format_Argb8
                          : sizeof(Channel) == 2 ? QCE_Format_Argb16
                                                 : QCE_Format_ArgbFloat;
  COR_QCE_TransformPtr transform;
  EXPECT_EQ(COR_QCE_NewTransform(from, to, format, &transform), QCE_Ok);
  EXPECT_EQ(COR_QCE_Apply(transform, format, row.data(), format, row.data(),
                          int32_t(row.size() / 4), nullptr),
            QCE_Ok);
  return row;
}

// Opaque greys 0..white.
template <class Channel>
std::vector<Channel> Greys(int white) {
  std::vector<Channel> row;
  for (int v = 0; v <= white; ++v) {
    row.push_back(Channel(white));
    for (int c = 0; c < 3; ++c) row.push_back(Channel(v));
  }
  return row;
}

class ColorTest : public testing::Test {
 protected:
  void SetUp() override {
    COR_AddressProc engine = nullptr;
    ASSERT_EQ(COR_GetQIBAddressProc(&engine), 0);
    ASSERT_TRUE(COR_BindClient(engine));
  }
  void TearDown() override { COR_ReleaseClient(); }
};

}  // namespace colorkit

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "VX/VX_LinearBlendingTables.h"

#include <algorithm>
#include <array>
#include <boost/make_shared.hpp>

#include "VX/VX_ColorSettings.h"

namespace {

constexpr int32_t kGreys = 256;
constexpr int32_t kEntries = 4097;
constexpr int32_t kLast = kEntries - 1;
using Entries = std::array<uint16_t, kEntries>;

// Returns the value that entry number `entry` of 4097 represents, 0..32768.
constexpr int32_t ValueOf(int32_t entry) { return ((entry << 15) + 2048) >> 12; }

// Fills the table with the linear values of all 8-bit greys, converted by the engine.
void Linearize(const boost::shared_ptr<COR_QCE_Profile>& profile, uint16_t* linearize) {
  const boost::shared_ptr<COR_QCE_Transform> transform = VX_GetLinearizeTransform(profile);
  VX_Pixel16 greys[kGreys];
  for (uint32_t i = 0; i < kGreys; ++i) {
    const auto grey = static_cast<uint16_t>((i * 8421504u + 33200u) >> 16);
    greys[i] = {32768, grey, grey, grey};
  }
  const COR_QCE_Options options = {1, QCE_Option_KeepAlpha, 1};
  QCE_Error(COR_QCE_Apply(transform, QCE_Format_Argb16, greys, QCE_Format_Argb16, greys, kGreys,
                          &options));
  std::transform(greys, greys + kGreys, linearize, [](const VX_Pixel16& p) { return p.red; });
}

// Interpolates the 256 values to 4097 entries, by the rule that converts 16-bit pixels to linear
// light.
Entries Expand(const uint16_t* linearize) {
  Entries expanded;
  for (int32_t i = 0; i < kEntries; ++i) {
    const int32_t p = 255 * ValueOf(i);
    const int32_t j = p >> 15;
    const int32_t f = p & 32767;
    int32_t v = linearize[j];
    if (f != 0) v += (f * (linearize[j + 1] - v) + 16384) >> 15;
    expanded[static_cast<size_t>(i)] = static_cast<uint16_t>(v);
  }
  return expanded;
}

// Returns the position at which the interpolated entries have the value x, in eighths of an entry,
// within segment k (entries k and k + 1). If x is inside the segment, its ends differ, so the
// division is safe.
int32_t PositionInSegment(const Entries& rising, int32_t k, int32_t x) {
  const int32_t low = rising[static_cast<size_t>(k)];
  const int32_t high = rising[static_cast<size_t>(k) + 1];
  if (x < low) return 8 * k;
  if (x >= high) return 8 * (k + 1);
  const int32_t width = high - low;
  return 8 * k + ((width >> 1) + ((x - low) << 3)) / width;
}

// Inverts the table. If several entries equal x, the position of the last one is used, because the
// loop advances while the upper end of the segment is <= x.
void Invert(const Entries& rising, uint16_t* delinearize) {
  int32_t k = 0;
  for (int32_t i = 0; i < kEntries; ++i) {
    const int32_t x = ValueOf(i);
    while (k < kLast - 1 && rising[static_cast<size_t>(k) + 1] <= x) ++k;
    delinearize[i] = static_cast<uint16_t>(PositionInSegment(rising, k, x));
  }
}

}  // namespace

boost::shared_ptr<COR_QCE_Transform> VX_GetLinearizeTransform(
    const boost::shared_ptr<COR_QCE_Profile>& profile) {
  COR_QCE_ProfilePtr linear;
  QCE_Error(COR_QCE_GetLinearRGBProfile(profile, &linear));
  COR_QCE_TransformPtr transform;
  QCE_Error(COR_QCE_NewTransform(profile, linear, QCE_Format_Argb16, &transform));
  return transform;
}

boost::shared_ptr<VX_LinearBlendingTables> VX_MakeLinearizationTables(
    boost::shared_ptr<COR_QCE_Profile> profile) {
  const auto tables = boost::make_shared<VX_LinearBlendingTables>();
  Linearize(profile, tables->linearize);
  Entries entries = Expand(tables->linearize);
  for (size_t i = 1; i < kEntries; ++i) entries[i] = std::max(entries[i], entries[i - 1]);
  Invert(entries, tables->delinearize);
  QCE_Error(COR_QCE_GetToneExponent(profile, &tables->gamma));
  tables->invGamma = 1.0f / tables->gamma;
  return tables;
}

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The box samplers for rows of positions, for small footprints (pictures that are reduced to a
// tenth of their size or more).

#include <bit>

#include "indep/VXp_Footprint.h"

// Samples a row of footprints that are a few rows high, at the integer depths. Columns are summed
// first, since adjacent footprints share a column. Sums are in double precision. At 8 bits they are
// exact. At 16 bits quotients have an error below 2^-20; results that are closer than this to a
// rounding step are computed again exactly.
template <VXp_BoxAlpha kind, class Pixel>
class VXp_SmallBoxes {
 public:
  static bool Serve(int64_t width, const VXp_Extent& rows) {
    return rows.count <= kMostRows && width <= kMost / rows.length;
  }

  VXp_SmallBoxes(const VX_SampPB& record, int64_t width, const VXp_Extent& rows)
      : src_(*record.src),
        radius_(record.x_radius),
        rows_(rows),
        top_(VXp_PixelAddress<Pixel>(src_, 0, rows.first)),
        in_halves_(InHalves(rows)),
        area_(static_cast<double>(width * rows.length)) {
    for (int32_t i = 0; i < rows.count; ++i) heights_[i] = static_cast<double>(rows.Cover(i));
  }

  void Run(const VX_Fixed* x, int32_t count, char* out) const {
    int32_t known = -1;  // the column whose sum is `shared`
    VXp_DoubleLanes shared{};
    for (int32_t i = 0; i < count; ++i) {
      const VXp_Extent columns(x[i], radius_, src_.width);
      Raw pixel = 0;
      if (columns.count != 0) {
        if (columns.first != known) shared = SumOf(columns.first);
        VXp_DoubleLanes total = static_cast<double>(columns.first_cover) * shared;
        known = columns.first + columns.count - 1;
        for (int32_t column = columns.first + 1; column < known; ++column) {
          total = total + static_cast<double>(kVXp_One) * SumOf(column);
        }
        if (columns.count > 1) {
          shared = SumOf(known);
          total = total + static_cast<double>(columns.last_cover) * shared;
        }
        pixel = Finished(total, columns);
      }
      VXp_Store(out + ptrdiff_t{i} * static_cast<ptrdiff_t>(sizeof(Pixel)), pixel);
    }
  }

 private:
  using Raw = VXp_RawPixel<Pixel>;
  static constexpr int32_t kMostRows = 16;
  static constexpr int64_t kMost = int64_t{1} << 36;

  VXp_DoubleLanes SumOf(int32_t column) const {
    const char* from = top_ + ptrdiff_t{column} * static_cast<ptrdiff_t>(sizeof(Pixel));
    VXp_DoubleLanes sum = heights_[0] * VXp_BoxLanes<kind, Pixel>(from);
    for (int32_t i = 1; i < rows_.count; ++i) {
      from += src_.rowbytes;
      sum = sum + heights_[i] * VXp_BoxLanes<kind, Pixel>(from);
    }
    return sum;
  }

  // Converts sums to a pixel. The alpha sums are exact at both depths.
  Raw Finished(const VXp_DoubleLanes& total, const VXp_Extent& columns) const {
    if (2.0 * total.Alpha() < area_) return 0;
    const double by = kind == VXp_BoxAlpha::Straight ? total.Alpha() : area_;
    VXp_DoubleLanes raised = (1.0 / by) * total + 0.5;
    raised.first[0] = (1.0 / area_) * total.Alpha() + 0.5;
    const VXp_IntLanes whole = VXp_Truncated(raised);
    const VXp_DoubleLanes floor = VXp_AsDouble(whole);
    // If all covered widths and heights are multiples of half a pixel, many averages are exactly
    // halfway between two integers, so all of them are corrected.
    const bool halves = in_halves_ && InHalves(columns);
    if (!halves) {
      const auto unsure = Unsure(raised.first - floor.first) | Unsure(raised.second - floor.second);
      if ((unsure[0] | unsure[1]) == 0) [[likely]]
        return VXp_Packed<Pixel>(whole);
      if (std::is_same_v<Pixel, VX_Pixel16>) return Exact(columns);
    }
    return VXp_Packed<Pixel>(
        VXp_Truncated({Corrected(floor.first, total.first, VXp_DoublePair{area_, by}),
                       Corrected(floor.second, total.second, VXp_DoublePair{by, by})}));
  }

  static auto Unsure(VXp_DoublePair rest) { return (rest < 0x1p-20) | (rest > 1 - 0x1p-20); }

  // Corrects a quotient that may be wrong by one, using its remainder. Requires exact sums: at 8
  // bits always, at 16 bits if all covered widths and heights are multiples of half a pixel.
  static VXp_DoublePair Corrected(VXp_DoublePair quotient, VXp_DoublePair sum, VXp_DoublePair by) {
    const VXp_DoublePair zero{}, one = zero + 1.0;
    const VXp_DoublePair twice_left = 2.0 * (sum - quotient * by);
    return quotient + (twice_left >= by ? one : zero) - (twice_left < -by ? one : zero);
  }

  Raw Exact(const VXp_Extent& columns) const {
    const VXp_BoxDivisor<VXp_WideSum> area(static_cast<VXp_WideSum>(area_));
    return std::bit_cast<Raw>(VXp_Covered<kind, Pixel>(src_, columns, rows_, area));
  }

  static bool InHalves(const VXp_Extent& e) {
    return ((e.length | e.first_cover | e.last_cover) & (kVXp_One / 2 - 1)) == 0;
  }

  const VX_LayerDef& src_;
  VX_Fixed radius_;
  VXp_Extent rows_;
  const char* top_;
  bool in_halves_;
  double area_;
  double heights_[kMostRows];
};

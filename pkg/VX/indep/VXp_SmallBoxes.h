// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The box samplers by rows, for reductions by up to some ten times.

#include <bit>

#include "indep/VXp_Footprint.h"

// A row of footprints of a few rows at the integer depths. VXp_Sums go down the columns first,
// since neighbours share a column where they meet, and are in double precision: those of bytes are
// exact, of words the quotients are off by less than 2^-20. What lies so near to a step that this
// could matter is computed again, exactly.
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
        area_(static_cast<double>(width * rows.length)) {
    for (int32_t i = 0; i < rows.count; ++i) heights_[i] = static_cast<double>(rows.Cover(i));
  }

  void Run(const VX_Fixed* x, int32_t count, char* out) const {
    int32_t known = -1;  // the column of `shared`
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

  Raw Finished(const VXp_DoubleLanes& total, const VXp_Extent& columns) const {
    const double alpha = total.Alpha() * (1.0 / area_);
    if (alpha < 0.5 - kUnsure) return 0;
    VXp_DoubleLanes raised =
        (kind == VXp_BoxAlpha::Straight ? 1.0 / total.Alpha() : 1.0 / area_) * total + 0.5;
    raised.first[0] = alpha + 0.5;
    const VXp_IntLanes whole = VXp_Truncated(raised);
    const VXp_DoubleLanes floor = VXp_AsDouble(whole);
    const auto unsure = Unsure(raised.first - floor.first) | Unsure(raised.second - floor.second);
    if ((unsure[0] | unsure[1]) != 0) [[unlikely]]
      return Exact(total, columns);
    return VXp_Packed<Pixel>(whole);
  }

  static constexpr double kUnsure = 0x1p-20;
  static auto Unsure(VXp_DoublePair rest) { return (rest < kUnsure) | (rest > 1 - kUnsure); }

  // The sums of bytes are whole and exact, those of words where all covers are halves of a pixel.
  Raw Exact(const VXp_DoubleLanes& total, const VXp_Extent& columns) const {
    constexpr bool kBytes = std::is_same_v<Pixel, VX_Pixel8>;
    if (kBytes || (InHalves(columns) && InHalves(rows_))) {
      const auto number = [](double sum) {
        return static_cast<uint64_t>(kBytes ? sum : sum * 0x1p-30);
      };
      const VXp_Sums<uint64_t> sums{number(total.first[0]), number(total.first[1]),
                                    number(total.second[0]), number(total.second[1])};
      return std::bit_cast<Raw>(
          VXp_Average<kind, Pixel>(sums, VXp_BoxDivisor<uint64_t>(number(area_))));
    }
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
  double area_;
  double heights_[kMostRows];
};

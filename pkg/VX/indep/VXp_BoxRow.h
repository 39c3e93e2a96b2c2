// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The box samplers for rows of positions.
//
// A row is processed in segments, each in these steps:
//
//   Locate      computes the columns that each footprint covers
//   SumColumns  sums the pixels of each column over the rows of the footprints, once for all
//               footprints that cover the column
//   AddColumns  sums the columns of each footprint
//   Finish      divides
//
// All sums are in double precision, with the four channels of a pixel in neighbouring lanes. At the
// integer depths sums have a relative error below 2^-42, and quotients an error below 2^-26; a
// result that is closer than kUnsure to a rounding step is computed again exactly. If all covered
// widths and heights are multiples of half a pixel, all sums are exact, and the quotients are
// corrected by their remainders instead, because many averages are halfway between two integers. In
// float, the order of additions determines the last bits: each row is summed by itself, and not
// each column.

#include <bit>
#include <cmath>
#include <cstring>

#include "frame/VXp_PixelGroup.h"
#include "indep/VXp_Footprint.h"

// The channels of one pixel as doubles.
using VXp_FourDoubles = VXp_Lanes<double, 4>;

// Returns 1 in the lanes of alpha, and alpha in those of the colours.
template <class Lanes, size_t... lane>
Lanes VXp_AlphaFactors(Lanes p, std::index_sequence<lane...>) {
  return __builtin_shufflevector(
      p, Lanes{} + 1, static_cast<int32_t>(lane % 4 == 0 ? sizeof...(lane) : lane / 4 * 4)...);
}
template <class Lanes>
Lanes VXp_AlphaFactors(Lanes p) {
  return VXp_AlphaFactors(p, std::make_index_sequence<sizeof(p) / sizeof(p[0])>());
}

// Sums columns of pixels, as many columns at once as the arguments of Sum contain.
//
//   Sum(from, rowbytes, rows, sums)   stores the sums of kColumns columns, weighted by the covered
//                                     heights
template <VXp_BoxAlpha kind, class Pixel>
struct VXp_ColumnSums {
  static constexpr int32_t kColumns = std::max(kVXp_TargetDoubles / 4, 1);
  using Doubles = VXp_Lanes<double, 4 * kColumns>;

  static Doubles Terms(const char* from) {
    if constexpr (kVXp_TargetDoubles ==
                  2) {  // GCC shuffles vectors wider than a register in memory
      return std::bit_cast<Doubles>(VXp_BoxLanes<kind, Pixel>(from));
    }
    Doubles p;
    if constexpr (std::is_same_v<Pixel, VX_Pixel16>) {
      p = VXp_ToDoubles(VXp_LoadAsInts<4 * kColumns>(reinterpret_cast<const uint16_t*>(from)));
    } else {
      p = VXp_ToDoubles(VXp_LoadLanes<VXp_Lanes<float, 4 * kColumns>>(from));
    }
    return kind == VXp_BoxAlpha::Straight ? VXp_AlphaFactors(p) * p : p;
  }
  static void Sum(const char* from, ptrdiff_t rowbytes, const VXp_Extent& rows, double* sums) {
    Doubles sum = Terms(from) * static_cast<double>(rows.first_cover);
    for (int32_t i = 2; i < rows.count; ++i) {
      from += rowbytes;
      sum += Terms(from) * static_cast<double>(kVXp_One);
    }
    if (rows.count > 1) sum += Terms(from + rowbytes) * static_cast<double>(rows.last_cover);
    VXp_StoreLanes(sums, 0, sum);
  }
};

// The terms of fully covered rows are summed as integers: 32768 products of two bytes are below
// 2^31.
template <VXp_BoxAlpha kind>
struct VXp_ColumnSums<kind, VX_Pixel8> {
  static constexpr int32_t kColumns = kVXp_TargetLanes / 4;
  using Ints = VXp_Lanes<int32_t, kVXp_TargetLanes>;

  static Ints Terms(const char* from) {
    const Ints p = VXp_LoadAsInts<kVXp_TargetLanes>(reinterpret_cast<const uint8_t*>(from));
    return kind == VXp_BoxAlpha::Straight ? VXp_MulAdjacent(p, VXp_AlphaFactors(p)) : p;
  }
  static void Sum(const char* from, ptrdiff_t rowbytes, const VXp_Extent& rows, double* sums) {
    const Ints first = Terms(from);
    Ints whole{}, last{};
    for (int32_t i = 2; i < rows.count; ++i) {
      from += rowbytes;
      whole += Terms(from);
    }
    if (rows.count > 1) last = Terms(from + rowbytes);
    const auto weighted = [&rows](auto first_terms, auto whole_terms, auto last_terms) {
      return VXp_ToDoubles(first_terms) * static_cast<double>(rows.first_cover) +
             VXp_ToDoubles(whole_terms) * static_cast<double>(kVXp_One) +
             VXp_ToDoubles(last_terms) * static_cast<double>(rows.last_cover);
    };
    if constexpr (kVXp_TargetLanes == 4) {
      VXp_StoreLanes(sums, 0, weighted(first, whole, last));
    } else {
      VXp_StoreLanes(sums, 0,
                     weighted(VXp_HalfOf<0>(first), VXp_HalfOf<0>(whole), VXp_HalfOf<0>(last)));
      VXp_StoreLanes(sums, 1,
                     weighted(VXp_HalfOf<1>(first), VXp_HalfOf<1>(whole), VXp_HalfOf<1>(last)));
    }
  }
};

template <VXp_BoxAlpha kind, class Pixel>
class VXp_BoxRow {
 public:
  // Returns whether footprints of this size are served.
  static bool Serves(const VX_SampPB& record, const VXp_Extent& rows) {
    const int32_t width = record.src->width;
    return width >= Sums::kColumns && width < kMostColumns &&
           record.x_radius < kMostWidth / 2 * kPixel && rows.length < kMostHeight * kVXp_One;
  }

  // `rows` must not be empty.
  VXp_BoxRow(const VX_SampPB& record, const VXp_Extent& rows)
      : src_(*record.src),
        radius_(record.x_radius),
        half_(std::max(radius_, kPixel / 2)),
        rows_(rows),
        area_(2.0 * half_ * static_cast<double>(rows.length)),
        inner_(kIsFloat ? kMostColumns : std::max((2 * half_ - 1) / kPixel - 1, 0)),
        rows_in_halves_(((rows.length | rows.first_cover | rows.last_cover) & kHalfBits) == 0) {}

  // `x` is ascending.
  void Run(const VX_Fixed* x, int32_t count, char* out) {
    for (int32_t done = 0; done < count;) {
      const int32_t now = Locate(x + done, std::min(count - done, kPositions));
      if constexpr (kIsFloat) {
        AddRows(now);
        FinishFloat(now, out + done * kSize);
      } else {
        SumColumns(rows_.first, rows_, now);
        for (int32_t i = 0; i < now; ++i) AddColumns(i, totals_[i]);
        Finish(x + done, now, out + done * kSize);
      }
      done += now;
    }
  }

 private:
  using Raw = VXp_RawPixel<Pixel>;
  using Sums = VXp_ColumnSums<kind, Pixel>;
  using Four = VXp_FourDoubles;
  using Longs = VXp_Lanes<int64_t, 4>;
  static constexpr bool kIsFloat = std::is_same_v<Pixel, VX_PixelFloat>;
  static constexpr ptrdiff_t kSize = sizeof(Pixel);
  static constexpr int32_t kPixel = 65536;
  static constexpr int32_t kHalfBits = kPixel / 2 - 1;
  static constexpr int32_t kPositions = 128;  // in a segment, at most
  static constexpr int32_t kColumns = 512;    // covered by a segment, at most
  // Of a footprint, in pixels. In wide footprints few columns are shared; then storing the columns
  // of each row, as the float form does, is slower than adding them at once.
  static constexpr int32_t kMostWidth = kIsFloat ? 6 : 256;
  static constexpr int32_t kMostHeight = 512;     // of a footprint, in pixels
  static constexpr int32_t kMostColumns = 31744;  // of the source
  static constexpr int32_t kBatch = 16;           // positions that are checked together
  static constexpr int32_t kSlack = 4;            // columns that SumColumns writes beyond the ends
  static constexpr double kUnsure = 0x1p-20;

  // Computes the columns of up to `count` footprints. Returns the number of footprints of this
  // segment.
  int32_t Locate(const VX_Fixed* x, int32_t count) {
    // Footprints at more distant positions are outside the source, like those at these positions.
    const VX_Fixed least = -kMostWidth * kPixel, most = (src_.width + kMostWidth) * kPixel;
    const int32_t last_column = src_.width - 1;
    int32_t bits = 2 * half_;
    for (int32_t i = 0; i < count; ++i) {
      const int32_t centre = std::min(std::max(x[i], least), most) + kPixel / 2;
      const int32_t begin = std::max(centre - half_, 0);
      const int32_t end = std::min(centre + half_, src_.width * kPixel);
      const int32_t first = std::min(begin / kPixel, last_column);
      const int32_t last = std::max((end - 1) >> 16, first);
      const int32_t between = last - first - 1;
      const int32_t end_cover = last == first ? 0 : end - last * kPixel;
      const int32_t first_cover =
          last == first ? std::max(end - begin, 0) : (first + 1) * kPixel - begin;
      bits |= first_cover | end_cover;
      first_[i] = first;
      last_[i] = last;
      between_[i] = std::min(between, inner_);
      covers_[0][i] = first_cover;
      covers_[1][i] = between > inner_ ? kPixel : end_cover;
      covers_[2][i] = between > inner_ ? end_cover : 0;
    }
    halves_ = rows_in_halves_ && (bits & kHalfBits) == 0;
    return static_cast<int32_t>(std::lower_bound(last_, last_ + count, first_[0] + kColumns) -
                                last_);
  }

  // Computes the sums of all columns of the first `count` footprints. Groups of columns may begin
  // before the first one, at the right end of the source, or end after the last one.
  void SumColumns(int32_t row, const VXp_Extent& rows, int32_t count) {
    const int32_t last_group = src_.width - Sums::kColumns;
    const char* const from = VXp_PixelAddress<Pixel>(src_, 0, row);
    for (int32_t i = first_[0]; i <= last_[count - 1]; i += Sums::kColumns) {
      const ptrdiff_t column = std::min(i, last_group);
      if (kIsFloat) VXp_PrefetchAt<1>(from + column * kSize, static_cast<size_t>(src_.rowbytes));
      Sums::Sum(from + column * kSize, src_.rowbytes, rows, Column(column));
    }
  }
  double* Column(ptrdiff_t column) { return sums_ + 4 * (kSlack + column - first_[0]); }

  // Adds the columns of footprint i. Footprints that are not at an end of the row have at most
  // inner_ + 1 columns between the first and the last one, and most have inner_. So a loop of that
  // many steps and two more columns, of which the second may have the weight 0, are sufficient.
  void AddColumns(int32_t i, Four& total) {
    if (kIsFloat && covers_[0][i] == 0) {  // outside; the column may be infinite
      total = Four{};
      return;
    }
    const double* const from = Column(first_[i]);
    ptrdiff_t next = 1;
    total = VXp_LoadLanes<Four>(from) * static_cast<double>(covers_[0][i]);
    if (between_[i] > 0) {
      Four whole = VXp_LoadLanes<Four>(from, next++);
      while (next <= between_[i]) whole += VXp_LoadLanes<Four>(from, next++);
      total += whole * static_cast<double>(kVXp_One);
    }
    if (kIsFloat && covers_[1][i] == 0) return;  // the next column may be infinite
    total += VXp_LoadLanes<Four>(from, next) * static_cast<double>(covers_[1][i]);
    if (kIsFloat) return;
    total += VXp_LoadLanes<Four>(from, next + 1) * static_cast<double>(covers_[2][i]);
  }

  void Finish(const VX_Fixed* x, int32_t count, char* out) {
    for (int32_t i = 0; i < count; ++i) {
      const double alpha = totals_[i][0];
      const double by = kind == VXp_BoxAlpha::Straight ? alpha : area_;
      factors_[i] = 2.0 * alpha < area_ ? 0.0 : 1.0 / by;  // 0 for transparent pixels
    }
    if (halves_) {
      for (int32_t i = 0; i < count; ++i) {
        VXp_Store(out + i * kSize, factors_[i] == 0.0 ? Raw{} : Pack(Corrected(i)));
      }
      return;
    }
    for (int32_t i = 0; i < count; i += kBatch) {
      const int32_t end = std::min(i + kBatch, count);
      Longs unsure{};
      for (int32_t k = i; k < end; ++k) {
        const Four raised = Raised(k);
        VXp_Store(out + k * kSize, Pack(raised));
        unsure |= Unsure(raised);
      }
      if (!AnyNegative(unsure)) continue;
      for (int32_t k = i; k < end; ++k) {
        if (AnyNegative(Unsure(Raised(k)))) VXp_Store(out + k * kSize, Exact(x[k]));
      }
    }
  }

  // The numbers are compared by the signs of differences: GCC compares vectors that are wider than
  // a register one lane at a time.

  // Returns a vector for alpha and the colours. (GCC assembles `{alpha, color, ...}` in memory.)
  static Four Of(double alpha, double color) {
    return reinterpret_cast<Four>((reinterpret_cast<Longs>(Four{} + color) & Longs{0, -1, -1, -1}) |
                                  Longs{std::bit_cast<int64_t>(alpha), 0, 0, 0});
  }
  static VXp_IntLanes Truncated(Four v) {
#if defined(__SSE2__) && !defined(__AVX2__)
    return VXp_Truncated(std::bit_cast<VXp_DoubleLanes>(v));
#else
    return __builtin_convertvector(v, VXp_IntLanes);
#endif
  }
  static Raw Pack(Four v) { return VXp_Packed<Pixel>(Truncated(v)); }

  // Returns the quotients + 0.5.
  Four Raised(int32_t i) const { return totals_[i] * Of(1.0 / area_, factors_[i]) + 0.5; }

  // Returns numbers that are negative where the fraction is almost 0 or 1.
  static Longs Unsure(Four raised) {
    const Four from_middle = raised - VXp_ToDoubles(Truncated(raised)) - 0.5;
    const Longs magnitude = reinterpret_cast<Longs>(from_middle) & INT64_MAX;
    return reinterpret_cast<Longs>((0.5 - kUnsure) - reinterpret_cast<Four>(magnitude));
  }
  static bool AnyNegative(Longs v) { return (v[0] | v[1] | v[2] | v[3]) < 0; }

  // Returns the quotients rounded by their remainders, which are exact.
  Four Corrected(int32_t i) const {
    const Four total = totals_[i];
    const Four by = Of(area_, kind == VXp_BoxAlpha::Straight ? total[0] : area_);
    const Four floor = VXp_ToDoubles(Truncated(Raised(i)));
    const Four twice_left = 2.0 * (total - floor * by);
    const auto half = [](Four sign) {
      return reinterpret_cast<Four>((reinterpret_cast<Longs>(sign) & INT64_MIN) |
                                    std::bit_cast<int64_t>(0.5));
    };
    return floor + half(twice_left - by) + half(twice_left + by);
  }

  Raw Exact(VX_Fixed x) const {
    const VXp_BoxDivisor<VXp_WideSum> area(static_cast<VXp_WideSum>(area_));
    const VXp_Extent columns(x, radius_, src_.width);
    return std::bit_cast<Raw>(VXp_Covered<kind, Pixel>(src_, columns, rows_, area));
  }

  // --- float -------------------------------------------------------------------------------------

  void AddRows(int32_t count) {
    std::fill_n(totals_, count, Four{});
    VXp_Extent row = rows_;
    row.count = 1;
    row.first_cover = 1;
    for (int32_t r = 0; r < rows_.count; ++r) {
      SumColumns(rows_.first + r, row, count);
      const auto cover = static_cast<double>(rows_.Cover(r));
      for (int32_t i = 0; i < count; ++i) {
        Four sum;
        AddColumns(i, sum);
        totals_[i] += cover * sum;
      }
    }
  }

  void FinishFloat(int32_t count, char* out) const {
    for (int32_t i = 0; i < count; ++i) {
      const Four total = totals_[i];
      const Four mean = total / Of(area_, kind == VXp_BoxAlpha::Straight ? total[0] : area_);
      VXp_Store(out + i * kSize,
                total[0] == 0.0 ? VXp_FloatLanes{} : __builtin_convertvector(mean, VXp_FloatLanes));
    }
  }

  const VX_LayerDef& src_;
  VX_Fixed radius_;
  int32_t half_;
  VXp_Extent rows_;
  double area_;
  int32_t inner_;  // see AddColumns
  bool rows_in_halves_, halves_ = false;
  int32_t first_[kPositions], last_[kPositions];  // columns
  int32_t between_[kPositions];                   // columns between these, but at most inner_
  int32_t covers_[3][kPositions];  // covered width of the first column and of the last two
  double factors_[kPositions];
  Four totals_[kPositions];
  double sums_[4 * (2 * kSlack + kColumns)] = {};
};

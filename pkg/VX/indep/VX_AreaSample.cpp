// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The box samplers: averages over a footprint.
//
// Weights are separable, so a row is summed with the widths alone and then weighted by its height;
// only the first and the last pixel of a row, and the first and the last row, are partly covered.
// Widths and heights are integers in 65536ths, so at the integer depths all sums, and with them the
// rounded quotients, are exact in any order.

#include <algorithm>

#include "indep/VXp_Neighbours.h"

namespace {

// As wide as sums over the largest footprint: an area of 2^64 times two 16-bit channels.
__extension__ typedef unsigned __int128 WideSum;

constexpr int64_t kOne = 65536;

// What of one axis the footprint covers: `count` pixels from `first`, the ends in part.
struct Extent {
  Extent(VX_Fixed position, VX_Fixed radius, int32_t size) {
    const int64_t half = std::max(int64_t{radius}, kOne / 2);
    const int64_t centre = int64_t{position} + kOne / 2;
    length = 2 * half;
    const int64_t begin = std::max(centre - half, int64_t{0});
    const int64_t end = std::min(centre + half, int64_t{size} * kOne);
    if (begin >= end) return;
    first = static_cast<int32_t>(begin >> 16);
    const auto last = static_cast<int32_t>((end - 1) >> 16);
    count = last - first + 1;
    first_cover = count == 1 ? end - begin : (int64_t{first} + 1) * kOne - begin;
    last_cover = end - int64_t{last} * kOne;
  }

  int64_t Cover(int32_t i) const {
    return i == 0 ? first_cover : i == count - 1 ? last_cover : kOne;
  }

  int64_t length;  // of the whole footprint, also outside
  int32_t first = 0, count = 0;
  int64_t first_cover = 0, last_cover = 0;
};

// One number for each channel.
template <class Number>
struct Sums {
  template <class Term, class Factor>
  void Add(const Sums<Term>& term, Factor factor) {
    alpha += Number{term.alpha} * factor;
    red += Number{term.red} * factor;
    green += Number{term.green} * factor;
    blue += Number{term.blue} * factor;
  }

  Number alpha{}, red{}, green{}, blue{};
};

// The types of the sums. Term: what one pixel gives, and whole pixels of a row, at most 65536 of
// them: 255 * 255 * 65536 is below 2^32. Row: with the widths, at most 2^32 together.
template <class Pixel>
struct Types;
template <>
struct Types<VX_Pixel8> {
  using Term = uint32_t;
  using Row = uint64_t;
  using Total = WideSum;
};
template <>
struct Types<VX_Pixel16> {
  using Term = uint64_t;
  using Row = uint64_t;
  using Total = WideSum;
};
template <>
struct Types<VX_PixelFloat> {
  using Term = double;
  using Row = double;
  using Total = double;
};

enum class Alpha { Straight, Premultiplied };

template <Alpha kind, class Pixel>
Sums<typename Types<Pixel>::Term> TermOf(const char* from) {
  using Term = typename Types<Pixel>::Term;
  const auto p = VXp_Load<Pixel>(from);
  const Term a = p.alpha, by = kind == Alpha::Straight ? a : Term{1};
  return {a, by * p.red, by * p.green, by * p.blue};
}

template <Alpha kind, class Pixel>
Sums<typename Types<Pixel>::Row> RowOf(const char* from, const Extent& columns) {
  using Row = typename Types<Pixel>::Row;
  Sums<Row> row;
  row.Add(TermOf<kind, Pixel>(from), static_cast<Row>(columns.first_cover));
  if (columns.count == 1) return row;
  Sums<typename Types<Pixel>::Term> whole;
  for (int32_t i = 2; i < columns.count; ++i) {
    from += sizeof(Pixel);
    whole.Add(TermOf<kind, Pixel>(from), 1u);
  }
  row.Add(whole, static_cast<Row>(kOne));
  row.Add(TermOf<kind, Pixel>(from + sizeof(Pixel)), static_cast<Row>(columns.last_cover));
  return row;
}

// value / by, + 0.5 and truncated where channels are integers.
template <class Pixel, class Total>
VX_ChannelOf<Pixel> Quotient(Total value, Total by) {
  if constexpr (std::is_same_v<Pixel, VX_PixelFloat>) {
    return static_cast<float>(value / by);
  } else {
    return static_cast<VX_ChannelOf<Pixel>>((2 * value + by) / (2 * by));
  }
}

template <Alpha kind, class Pixel>
Pixel Average(const Sums<typename Types<Pixel>::Total>& total, typename Types<Pixel>::Total area) {
  const auto alpha = Quotient<Pixel>(total.alpha, area);
  // A float may come out 0 that was not.
  const bool nothing = std::is_same_v<Pixel, VX_PixelFloat> ? total.alpha == 0 : alpha == 0;
  if (nothing) return Pixel{};
  const auto by = kind == Alpha::Straight ? total.alpha : area;
  return {alpha, Quotient<Pixel>(total.red, by), Quotient<Pixel>(total.green, by),
          Quotient<Pixel>(total.blue, by)};
}

template <Alpha kind, class Pixel>
VX_Err Sample(VX_Fixed x, VX_Fixed y, const VX_SampPB* record, Pixel* out) {
  using Total = typename Types<Pixel>::Total;
  const VX_LayerDef& src = *record->src;
  const Extent columns(x, record->x_radius, src.width);
  const Extent rows(y, record->y_radius, src.height);
  if (columns.count == 0 || rows.count == 0) {
    VXp_Store(out, Pixel{});
    return VX_Ok;
  }
  Sums<Total> total;
  const char* from = VXp_PixelAddress<Pixel>(src, columns.first, rows.first);
  for (int32_t i = 0; i < rows.count; ++i) {
    const char* row = from + static_cast<ptrdiff_t>(i) * src.rowbytes;
    total.Add(RowOf<kind, Pixel>(row, columns), static_cast<Total>(rows.Cover(i)));
  }
  const Total area = static_cast<Total>(columns.length) * static_cast<Total>(rows.length);
  VXp_Store(out, Average<kind, Pixel>(total, area));
  return VX_Ok;
}

}  // namespace

VX_Err VX_AreaSample_Straight(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                              VX_Pixel8* out) {
  return Sample<Alpha::Straight>(x, y, record, out);
}

VX_Err VX_AreaSample_Straight16(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                                VX_Pixel16* out) {
  return Sample<Alpha::Straight>(x, y, record, out);
}

VX_Err VX_AreaSample_Premul(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                            VX_Pixel8* out) {
  return Sample<Alpha::Premultiplied>(x, y, record, out);
}

VX_Err VX_AreaSample_Premul16(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                              VX_Pixel16* out) {
  return Sample<Alpha::Premultiplied>(x, y, record, out);
}

VX_Err VX_AreaSample_PremulFloat(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                                 VX_PixelFloat* out) {
  return Sample<Alpha::Premultiplied>(x, y, record, out);
}

template <class Pixel>
VX_Err VX_AreaSample_CPlusPlus(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                               Pixel* out) {
  return Sample<Alpha::Straight>(x, y, record, out);
}
template VX_API VX_SampleCall<VX_Pixel8> VX_AreaSample_CPlusPlus<VX_Pixel8>;
template VX_API VX_SampleCall<VX_Pixel16> VX_AreaSample_CPlusPlus<VX_Pixel16>;
template VX_API VX_SampleCall<VX_PixelFloat> VX_AreaSample_CPlusPlus<VX_PixelFloat>;

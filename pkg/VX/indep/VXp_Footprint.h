// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Exact averages over the footprint of a box sampler.
//
// Weights are separable: the pixels of a row are weighted by their covered widths and summed, and
// the sum is weighted by the covered height of the row. Only the first and the last pixel of a row,
// and the first and the last row, may be partly covered. Widths and heights are integers in units
// of 1/65536. Therefore all sums of the integer depths are exact in any order and in any type that
// is large enough, and so are the rounded quotients.

#include <algorithm>

#include "indep/VXp_ChannelLanes.h"
#include "indep/VXp_Neighbours.h"

// Sums over the largest footprint are below 2^96: the footprint has at most 2^64 squares of 1/65536
// pixel, and the product of two 16-bit channels is below 2^32. For 8-bit channels and footprints
// narrower and lower than 64 pixels, 64 bits are enough, also for twice the sum.
__extension__ typedef unsigned __int128 VXp_WideSum;
constexpr int64_t kVXp_NarrowSide = 64 * 65536;

constexpr int64_t kVXp_One = 65536;

// The part of one axis that the footprint covers: `count` pixels from `first` on. The first and the
// last of them may be partly covered.
struct VXp_Extent {
  VXp_Extent(VX_Fixed position, VX_Fixed radius, int32_t size) {
    const int64_t half = std::max(int64_t{radius}, kVXp_One / 2);
    const int64_t centre = int64_t{position} + kVXp_One / 2;
    length = 2 * half;
    const int64_t begin = std::max(centre - half, int64_t{0});
    const int64_t end = std::min(centre + half, int64_t{size} * kVXp_One);
    if (begin >= end) return;
    first = static_cast<int32_t>(begin >> 16);
    const auto last = static_cast<int32_t>((end - 1) >> 16);
    count = last - first + 1;
    first_cover = count == 1 ? end - begin : (int64_t{first} + 1) * kVXp_One - begin;
    last_cover = end - int64_t{last} * kVXp_One;
  }

  int64_t Cover(int32_t i) const {
    return i == 0 ? first_cover : i == count - 1 ? last_cover : kVXp_One;
  }

  int64_t length;  // of the whole footprint, including the part outside the world
  int32_t first = 0, count = 0;
  int64_t first_cover = 0, last_cover = 0;
};

// Sums of the four channels.
template <class Number>
struct VXp_Sums {
  template <class Term, class Factor>
  void Add(const VXp_Sums<Term>& term, Factor factor) {
    alpha += Number{term.alpha} * factor;
    red += Number{term.red} * factor;
    green += Number{term.green} * factor;
    blue += Number{term.blue} * factor;
  }
  Number alpha{}, red{}, green{}, blue{};
};

// Sums for float pixels. The order of additions determines the last bits of the result.
template <>
struct VXp_Sums<double> {
  void Add(const VXp_Sums& term, double factor) { lanes = lanes + factor * term.lanes; }
  VXp_DoubleLanes lanes{};
};

// The types of the sums. Term: the term of one pixel, and sums of at most 65536 fully covered
// pixels of a row, since 255 * 255 * 65536 < 2^32. Row: sums weighted by widths, whose total is at
// most 2^32. Total: sums of rows.
template <class Pixel>
struct VXp_BoxTypes;
template <>
struct VXp_BoxTypes<VX_Pixel8> {
  using Term = uint32_t;
  using Row = uint64_t;
  using Total = VXp_WideSum;
};
template <>
struct VXp_BoxTypes<VX_Pixel16> {
  using Term = uint64_t;
  using Row = uint64_t;
  using Total = VXp_WideSum;
};
template <>
struct VXp_BoxTypes<VX_PixelFloat> {
  using Term = double;
  using Row = double;
  using Total = double;
};

enum class VXp_BoxAlpha { Straight, Premultiplied };

// Returns the channels of a pixel in double precision, with colours multiplied by alpha if `kind`
// is Straight. Products of two bytes are exact in single precision.
template <VXp_BoxAlpha kind, class Pixel>
VXp_DoubleLanes VXp_BoxLanes(const char* from) {
  const auto raw = VXp_Load<VXp_RawPixel<Pixel>>(from);
  if constexpr (std::is_same_v<Pixel, VX_Pixel8>) {
    const VXp_FloatLanes p = VXp_Floats(raw);
    return VXp_AsDouble(kind == VXp_BoxAlpha::Straight ? VXp_TimesAlpha(p) : p);
  } else {
    VXp_DoubleLanes p;
    if constexpr (std::is_same_v<Pixel, VX_PixelFloat>) {
      p = VXp_AsDouble(raw);
    } else {
      p = VXp_Doubles(raw);
    }
    if (kind == VXp_BoxAlpha::Premultiplied) return p;
    const double alpha = p.Alpha();
    p = alpha * p;
    p.first[0] = alpha;
    return p;
  }
}

template <VXp_BoxAlpha kind, class Pixel>
VXp_Sums<typename VXp_BoxTypes<Pixel>::Term> VXp_TermOf(const char* from) {
  if constexpr (std::is_same_v<Pixel, VX_PixelFloat>) {
    return {VXp_BoxLanes<kind, Pixel>(from)};
  } else {
    using Term = typename VXp_BoxTypes<Pixel>::Term;
    const auto p = VXp_Load<Pixel>(from);
    const Term a = p.alpha, by = kind == VXp_BoxAlpha::Straight ? a : Term{1};
    return {a, by * p.red, by * p.green, by * p.blue};
  }
}

template <VXp_BoxAlpha kind, class Pixel>
VXp_Sums<typename VXp_BoxTypes<Pixel>::Row> VXp_RowOf(const char* from, const VXp_Extent& columns) {
  using Row = typename VXp_BoxTypes<Pixel>::Row;
  VXp_Sums<Row> row;
  row.Add(VXp_TermOf<kind, Pixel>(from), static_cast<Row>(columns.first_cover));
  if (columns.count == 1) return row;
  VXp_Sums<typename VXp_BoxTypes<Pixel>::Term> whole;
  for (int32_t i = 2; i < columns.count; ++i) {
    from += sizeof(Pixel);
    whole.Add(VXp_TermOf<kind, Pixel>(from), 1u);
  }
  if (columns.count > 2) row.Add(whole, static_cast<Row>(kVXp_One));
  row.Add(VXp_TermOf<kind, Pixel>(from + sizeof(Pixel)), static_cast<Row>(columns.last_cover));
  return row;
}

// Divides sums of channels by one number. The result is the quotient + 0.5, truncated; it must be
// at most 65535.
template <class Total>
class VXp_BoxDivisor {
 public:
  explicit VXp_BoxDivisor(Total by) : by_(by) {}
  uint32_t Quotient(Total value) const {
    return static_cast<uint32_t>((2 * value + by_) / (2 * by_));
  }

 private:
  Total by_;
};

// Multiplies by the reciprocal. The error is far below 1, so the result is the quotient or one more
// or less, and is corrected.
template <>
class VXp_BoxDivisor<uint64_t> {
 public:
  explicit VXp_BoxDivisor(uint64_t by) : by_(by), reciprocal_(1.0 / AsDouble(by)) {}

  uint32_t Quotient(uint64_t value) const {
    const uint64_t doubled = 2 * value + by_;
    auto quotient = static_cast<uint32_t>(AsDouble(value) * reciprocal_ + 0.5);
    const uint64_t reached = quotient * (2 * by_);
    if (reached > doubled) {
      --quotient;
    } else if (doubled - reached >= 2 * by_) {
      ++quotient;
    }
    return quotient;
  }

 private:
  static double AsDouble(uint64_t v) { return static_cast<double>(static_cast<int64_t>(v)); }

  uint64_t by_;
  double reciprocal_;
};

template <>
class VXp_BoxDivisor<double> {
 public:
  explicit VXp_BoxDivisor(double by) : by_(by) {}
  double Value() const { return by_; }

 private:
  double by_;
};

template <VXp_BoxAlpha kind, class Pixel, class Total>
Pixel VXp_Average(const VXp_Sums<Total>& total, const VXp_BoxDivisor<Total>& area) {
  const uint32_t alpha = area.Quotient(total.alpha);
  if (alpha == 0) return Pixel{};
  const auto by = kind == VXp_BoxAlpha::Straight ? VXp_BoxDivisor<Total>(total.alpha) : area;
  using Channel = VX_ChannelOf<Pixel>;
  return {static_cast<Channel>(alpha), static_cast<Channel>(by.Quotient(total.red)),
          static_cast<Channel>(by.Quotient(total.green)),
          static_cast<Channel>(by.Quotient(total.blue))};
}

// The float form. Returns the zero pixel only if the sum of alphas is 0.
template <VXp_BoxAlpha kind, class Pixel>
Pixel VXp_Average(const VXp_Sums<double>& total, const VXp_BoxDivisor<double>& area) {
  const VXp_DoubleLanes& sum = total.lanes;
  if (sum.Alpha() == 0) return Pixel{};
  const double by = kind == VXp_BoxAlpha::Straight ? sum.Alpha() : area.Value();
  const VXp_DoublePair first = sum.first / by, second = sum.second / by;
  return {static_cast<float>(sum.Alpha() / area.Value()), static_cast<float>(first[1]),
          static_cast<float>(second[0]), static_cast<float>(second[1])};
}

template <VXp_BoxAlpha kind, class Pixel, class Total>
Pixel VXp_Covered(const VX_LayerDef& src, const VXp_Extent& columns, const VXp_Extent& rows,
                  const VXp_BoxDivisor<Total>& area) {
  if (columns.count == 0) return Pixel{};
  VXp_Sums<Total> total;
  const char* from = VXp_PixelAddress<Pixel>(src, columns.first, rows.first);
  for (int32_t i = 0; i < rows.count; ++i) {
    const char* row = from + static_cast<ptrdiff_t>(i) * src.rowbytes;
    total.Add(VXp_RowOf<kind, Pixel>(row, columns), static_cast<Total>(rows.Cover(i)));
  }
  return VXp_Average<kind, Pixel>(total, area);
}

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Bilinear samples of many positions in lanes: as many positions at once as a vector of the target
// has lanes. The positions are arbitrary points, or a span: neighbouring positions in a row, whose
// fractions are equal.
//
// A rule mixes the four neighbours of each position:
//
//   Weights(const VXp_Fractions& fractions)    computes weights, once for a span
//   void Mix(const VXp_Quads<Pixel>& quads, const Weights& weights, Pixel* out)
//                                              stores the samples of all lanes
//
// The lanes of quads and fractions are in the order of VXp_PixelLanes<Pixel>::Order.

#include "frame/VXp_PixelGroup.h"
#include "indep/VXp_DoublesOf.h"
#include "indep/VXp_SamplePoints.h"

inline constexpr int32_t kVXp_Points = kVXp_TargetLanes;
using VXp_PointInts = VXp_Lanes<int32_t, kVXp_Points>;
using VXp_PointWords = VXp_Lanes<uint32_t, kVXp_Points>;
using VXp_PointFloats = VXp_Lanes<float, kVXp_Points>;
using VXp_PointDoubles = VXp_DoublesOf<kVXp_Points>;

// --- pixels in lanes -----------------------------------------------------------------------------

// Calls load(i) for the sections of 16 bytes i = first, first + step ... of a vector, and joins the
// results.
template <class Vector, class Load>
Vector VXp_FromSections(const Load& load, int32_t first = 0) {
  if constexpr (sizeof(Vector) == 16) {
    return reinterpret_cast<Vector>(load(first));
  } else {
    using Half = VXp_Lanes<uint32_t, kVXp_LaneCount<Vector> / 2>;
    constexpr int32_t kSections = sizeof(Half) / 16;
    return reinterpret_cast<Vector>(VXp_Joined(VXp_FromSections<Half>(load, first),
                                               VXp_FromSections<Half>(load, first + kSections)));
  }
}

// The stored pixels of a group in lanes, for each depth:
//
//   Order(lane)                the position in the group whose pixel is in this lane
//   Row(from)                  loads neighbouring pixels
//   Pairs(at, &left, &right)   loads two neighbouring pixels at each of the addresses at(i), where
//                              i is a position in the group
//   Store(to)
//
// and at the integer depths:
//
//   Of(alpha, red, green, blue), Channel(c)   conversion from and to channels
//   Where(condition)                          the pixels, and zero where the condition is false
template <class Pixel>
struct VXp_PixelLanes;

// One pixel is one word.
template <>
struct VXp_PixelLanes<VX_Pixel8> {
  static constexpr int32_t Order(int32_t lane) { return lane; }
  static VXp_PixelLanes Row(const char* from) { return {VXp_LoadLanes<VXp_PointWords>(from)}; }
  template <class At>
  static void Pairs(const At& at, VXp_PixelLanes* left, VXp_PixelLanes* right) {
    using TwoPairs = uint64_t __attribute__((vector_size(16)));
    const auto load = [&](int32_t i) {
      return TwoPairs{VXp_Load<uint64_t>(at(i)), VXp_Load<uint64_t>(at(i + 1))};
    };
    const auto first =
        VXp_FromSections<VXp_PointWords>([&](int32_t section) { return load(4 * section); });
    const auto second =
        VXp_FromSections<VXp_PointWords>([&](int32_t section) { return load(4 * section + 2); });
    left->words = VXp_Shuffled<0, 2, 4, 6>(first, second);
    right->words = VXp_Shuffled<1, 3, 5, 7>(first, second);
  }
  void Store(VX_Pixel8* to) const { VXp_StoreLanes(to, 0, words); }
  static VXp_PixelLanes Of(VXp_PointWords alpha, VXp_PointWords red, VXp_PointWords green,
                           VXp_PointWords blue) {
    return {alpha | red << 8 | green << 16 | blue << 24};
  }
  VXp_PointWords Channel(int32_t c) const { return VXp_ByteOf(words, c); }
  VXp_PixelLanes Where(VXp_PointInts condition) const {
    return {condition ? words : VXp_PointWords{}};
  }

  VXp_PointWords words;
};

// One pixel is two words: alpha and red, then green and blue; see VXp_LoadGroup.
template <>
struct VXp_PixelLanes<VX_Pixel16> {
  static constexpr int32_t Order(int32_t lane) {
    return lane / 4 * 2 + lane % 2 + lane % 4 / 2 * (kVXp_Points / 2);
  }
  static VXp_PixelLanes Row(const char* from) {
    const auto first = VXp_LoadLanes<VXp_PointWords>(from, 0);
    const auto second = VXp_LoadLanes<VXp_PointWords>(from, 1);
    return {VXp_Shuffled<0, 2, 4, 6>(first, second), VXp_Shuffled<1, 3, 5, 7>(first, second)};
  }
  template <class At>
  static void Pairs(const At& at, VXp_PixelLanes* left, VXp_PixelLanes* right) {
    const auto load = [&](int32_t lane) {
      return VXp_FromSections<VXp_PointFloats>(
          [&](int32_t section) { return VXp_Load<VXp_WordLanes>(at(Order(4 * section + lane))); });
    };
    const auto turned = VXp_Turned<kVXp_Points>(load(0), load(1), load(2), load(3));
    const auto words = [](VXp_PointFloats v) { return reinterpret_cast<VXp_PointWords>(v); };
    *left = {words(turned.alpha), words(turned.red)};
    *right = {words(turned.green), words(turned.blue)};
  }
  void Store(VX_Pixel16* to) const {
    VXp_StoreLanes(to, 0, VXp_Shuffled<0, 4, 1, 5>(ar, gb));
    VXp_StoreLanes(to, 1, VXp_Shuffled<2, 6, 3, 7>(ar, gb));
  }
  static VXp_PixelLanes Of(VXp_PointWords alpha, VXp_PointWords red, VXp_PointWords green,
                           VXp_PointWords blue) {
    return {alpha | red << 16, green | blue << 16};
  }
  VXp_PointWords Channel(int32_t c) const {
    const VXp_PointWords two = c < 2 ? ar : gb;
    return c % 2 == 0 ? two & 0xFFFFu : two >> 16;
  }
  VXp_PixelLanes Where(VXp_PointInts condition) const {
    return {condition ? ar : VXp_PointWords{}, condition ? gb : VXp_PointWords{}};
  }

  VXp_PointWords ar, gb;
};

template <>
struct VXp_PixelLanes<VX_PixelFloat> {
  static constexpr int32_t Order(int32_t lane) { return lane % 4 * (kVXp_Points / 4) + lane / 4; }
  static VXp_PixelLanes Row(const char* from) {
    return {VXp_LoadGroup(reinterpret_cast<const VX_PixelFloat*>(from))};
  }
  template <class At>
  static void Pairs(const At& at, VXp_PixelLanes* left, VXp_PixelLanes* right) {
    const auto load = [&](int32_t lane, ptrdiff_t column) {
      return VXp_FromSections<VXp_PointFloats>([&](int32_t section) {
        return VXp_Load<VXp_FloatLanes>(at(Order(4 * section + lane)) + 16 * column);
      });
    };
    left->argb = VXp_Turned<kVXp_Points>(load(0, 0), load(1, 0), load(2, 0), load(3, 0));
    right->argb = VXp_Turned<kVXp_Points>(load(0, 1), load(1, 1), load(2, 1), load(3, 1));
  }
  void Store(VX_PixelFloat* to) const { VXp_StoreGroup(to, argb); }

  VXp_GroupOf<VX_PixelFloat> argb;
};

// --- neighbours and fractions --------------------------------------------------------------------

// The four neighbours of a group of positions. The digits are the column and the row.
template <class Pixel>
struct VXp_Quads {
  VXp_PixelLanes<Pixel> p00, p10, p01, p11;
};

// The fractions of a group of positions, as integers of 16 bits.
struct VXp_Fractions {
  VXp_PointInts Whole() const { return (fx | fy) == 0; }

  VXp_PointInts fx, fy;
};

// The weights of the neighbours at fractions a and b from 0 to below 1, computed in the same steps
// as VXp_WeightsOf.
template <class Numbers>
struct VXp_WeightLanes {
  VXp_WeightLanes(const Numbers& a, const Numbers& b) {
    w11 = a * b;
    w10 = a - w11;
    w01 = b - w11;
    w00 = 1.0f - w11 - w10 - w01;
  }

  Numbers w00, w10, w01, w11;
};
struct VXp_SingleWeightLanes : VXp_WeightLanes<VXp_PointFloats> {
  explicit VXp_SingleWeightLanes(const VXp_Fractions& f)
      : VXp_WeightLanes(VXp_AsFloat(f.fx) * 0x1p-16f, VXp_AsFloat(f.fy) * 0x1p-16f) {}
};
struct VXp_DoubleWeightLanes : VXp_WeightLanes<VXp_PointDoubles> {
  explicit VXp_DoubleWeightLanes(const VXp_Fractions& f)
      : VXp_WeightLanes(VXp_PointDoubles::Of(f.fx) * 0x1p-16,
                        VXp_PointDoubles::Of(f.fy) * 0x1p-16) {}
};

// --- loops ---------------------------------------------------------------------------------------

template <class Pixel, size_t... lane>
VXp_Fractions VXp_FractionsAt(const VX_Fixed* x, const VX_Fixed* y, std::index_sequence<lane...>) {
  const auto of = [](const VX_Fixed* from) {
    const auto v = VXp_LoadLanes<VXp_PointInts>(from) & 0xFFFF;
    return __builtin_shufflevector(v, v,
                                   VXp_PixelLanes<Pixel>::Order(static_cast<int32_t>(lane))...);
  };
  return {of(x), of(y)};
}

// Mixes a group of points: `at` contains the addresses of their upper left neighbours.
template <class Rule, class Pixel>
void VXp_MixGroup(const char* const* at, ptrdiff_t rowbytes, const VX_Fixed* x, const VX_Fixed* y,
                  Pixel* out) {
  VXp_Quads<Pixel> quads;
  VXp_PixelLanes<Pixel>::Pairs([=](int32_t i) { return at[i]; }, &quads.p00, &quads.p10);
  VXp_PixelLanes<Pixel>::Pairs([=](int32_t i) { return at[i] + rowbytes; }, &quads.p01, &quads.p11);
  const auto fractions = VXp_FractionsAt<Pixel>(x, y, std::make_index_sequence<kVXp_Points>());
  Rule::Mix(quads, typename Rule::Weights(fractions), out);
}

// Samples `count` points. The last points, fewer than a group, are repeated to a whole group.
template <class Rule, class Pixel>
void VXp_MixPoints(const VXp_Origin<Pixel>& from, const VX_Fixed* x, const VX_Fixed* y,
                   int32_t count, ptrdiff_t ahead, Pixel* out) {
  constexpr ptrdiff_t kTile = 256;
  const VXp_Origin<Pixel> origin = from;  // a local copy, so that stores cannot change it
  const char* at[kTile];
  for (ptrdiff_t first = 0; first < count; first += kTile) {
    const ptrdiff_t end = std::min<ptrdiff_t>(count, first + kTile);
    // In a loop of its own, which compilers turn into vectors.
    for (ptrdiff_t i = first; i < end; ++i) at[i - first] = origin.Upper(x[i], y[i]);
    ptrdiff_t i = first;
    for (; i + kVXp_Points <= end; i += kVXp_Points) {
      for (ptrdiff_t k = 0; ahead != 0 && k < kVXp_Points; k += 4) {
        VXp_PrefetchAt<1>(at[i - first + k], static_cast<size_t>(ahead));
      }
      VXp_MixGroup<Rule>(at + (i - first), origin.rowbytes(), x + i, y + i, out + i);
    }
    if (i == end) continue;
    VX_Fixed padded_x[kVXp_Points], padded_y[kVXp_Points];
    const char* padded_at[kVXp_Points];
    for (ptrdiff_t k = 0; k < kVXp_Points; ++k) {
      const ptrdiff_t point = std::min(i + k, end - 1);
      padded_x[k] = x[point];
      padded_y[k] = y[point];
      padded_at[k] = at[point - first];
    }
    Pixel pixels[kVXp_Points];
    VXp_MixGroup<Rule>(padded_at, origin.rowbytes(), padded_x, padded_y, pixels);
    std::memcpy(static_cast<void*>(out + i), pixels, static_cast<size_t>(end - i) * sizeof(Pixel));
  }
}

// Samples a span: `count` positions in steps of one pixel from (x, y) on.
template <class Rule, class Pixel>
void VXp_MixSpan(const VXp_Origin<Pixel>& from, VX_Fixed x, VX_Fixed y, int32_t count,
                 ptrdiff_t ahead, Pixel* out) {
  using Lanes = VXp_PixelLanes<Pixel>;
  const typename Rule::Weights weights(
      VXp_Fractions{VXp_PointInts{} + (x & 0xFFFF), VXp_PointInts{} + (y & 0xFFFF)});
  const char* upper = from.Upper(x, y);
  const int32_t rowbytes = from.rowbytes();
  ptrdiff_t i = 0;
  for (; i + kVXp_Points <= count; i += kVXp_Points) {
    if (ahead != 0) VXp_PrefetchAt<kVXp_Points * sizeof(Pixel)>(upper, static_cast<size_t>(ahead));
    Rule::Mix(VXp_Quads<Pixel>{Lanes::Row(upper), Lanes::Row(upper + sizeof(Pixel)),
                               Lanes::Row(upper + rowbytes),
                               Lanes::Row(upper + rowbytes + sizeof(Pixel))},
              weights, out + i);
    upper += kVXp_Points * sizeof(Pixel);
  }
  if (i == count) return;
  VX_Fixed rest_x[kVXp_Points], rest_y[kVXp_Points];
  for (ptrdiff_t k = 0; i + k < count; ++k) {
    rest_x[k] = (x & 0xFFFF) + static_cast<VX_Fixed>(k) * 65536;
    rest_y[k] = y & 0xFFFF;
  }
  VXp_MixPoints<Rule>(VXp_Origin<Pixel>(upper, rowbytes), rest_x, rest_y,
                      static_cast<int32_t>(count - i), /*ahead=*/0, out + i);
}

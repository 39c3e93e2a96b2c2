// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Blurred pixels of worlds from scratch, in which the four channels of a pixel are adjacent.
//
//   premultiplied  each channel is the quotient of VXp_GaussianQuotient
//   straight       alpha is that quotient; colours are c_sum / alpha_sum, see VXp_StraightColors
//
// The sum of a channel that is not blurred is replaced by the value at the centre times the sum of
// the weights. Then its quotient is that value.

#include <algorithm>
#include <cstdint>
#include <limits>

#include "VX/VX_Blur.h"
#include "filters/VXp_BlurLanes.h"
#include "filters/VXp_GaussianProducts.h"
#include "filters/VXp_GaussianSums.h"

// Integer depths. A group has one pixel in each lane.
template <class Pixel>
class VXp_GaussianGroups {
 public:
  using Value = int16_t;  // 32768 is subtracted from 16-bit channels
  static constexpr bool kBiased = sizeof(Pixel) == sizeof(VX_Pixel16);
  static constexpr Value kZero = kBiased ? INT16_MIN : 0;
  static constexpr int32_t kEdge = kVXp_TargetLanes;       // the most pixels of an edge
  static constexpr int32_t kSlack = 2 * kVXp_TargetLanes;  // may be read and stored after the last

  // Sums the distances up to `reach`.
  VXp_GaussianGroups(const VXp_GaussianWeights& weights, int32_t reach, int32_t flags)
      : taps_(weights.Taps(reach)),
        flags_(flags),
        small_(sizeof(Sample) == 1 && weights.total() < Quotient::kSmall),
        wide_(static_cast<double>(weights.total()) * std::numeric_limits<Sample>::max() >=
              kVXp_AlphaInDouble) {}

  static Value Widened(VX_ChannelOf<Pixel> v) { return static_cast<Value>(v + kZero); }

  // Computes `count` pixels. The window of the first one has its centre at `here`; `step` is the
  // distance between neighbouring positions of a line. The weights of all windows have the sum
  // `total`. Up to kSlack more pixels are stored.
  template <bool kStraight>
  void Blur(const Value* here, ptrdiff_t step, int32_t count, int64_t total, Pixel* pixels) const {
    const auto total32 = static_cast<int32_t>(total);
    if (small_) {
      ForAll<kStraight, 2>(here, step, count, SmallQuotient{Quotient(total), total32}, pixels);
    } else {
      ForAll<kStraight, 1>(here, step, count, LargeQuotient(Ints{} + total32), pixels);
    }
  }

  // The same for up to kEdge pixels whose windows have different sums of weights.
  template <bool kStraight>
  void BlurEdge(const Value* here, ptrdiff_t step, int32_t count, const int32_t (&totals)[kEdge],
                Pixel* pixels) const {
    const LargeQuotient quotient(VXp_Sectioned<2>(VXp_Load<Ints>(totals)));
    ForAll<kStraight, 1>(here, step, count, quotient, pixels);
  }

 private:
  using Sample = VX_ChannelOf<Pixel>;
  using Quotient = VXp_GaussianQuotient<Sample>;
  using Ints = VXp_ProductLanes;
  using Words = VXp_Lanes<uint32_t, kVXp_TargetLanes>;
  static constexpr int32_t kLanes = kVXp_TargetLanes;
  static constexpr int32_t kFull = VXp_PixelTraits<Pixel>::kFull;

  // A vector for each channel. The pixels are in the order of VXp_LoadGroup for 16 bits.
  struct Planes {
    Ints channels[4];
  };
  template <int32_t kVectors>
  static Planes Turned(const VXp_Products<kVectors>& products, int32_t first) {
    const auto floats = [](Ints v) { return reinterpret_cast<VXp_FloatsLike<Ints>>(v); };
    const auto ints = [](VXp_FloatsLike<Ints> v) { return reinterpret_cast<Ints>(v); };
    const auto v =
        VXp_Turned<kLanes>(floats(products.low[first]), floats(products.high[first]),
                           floats(products.low[first + 1]), floats(products.high[first + 1]));
    return {{ints(v.alpha), ints(v.red), ints(v.green), ints(v.blue)}};
  }

  // The means of bytes in single precision.
  struct SmallQuotient {
    using Sum = Ints;
    static constexpr bool Wide(bool) { return false; }
    static VXp_GroupDoubles Doubles(Ints sum) { return VXp_Widened(sum); }
    Ints Mean(Ints sum) const {
      return VXp_Truncated((VXp_AsFloat(sum) + quotient.single_added) * quotient.single_factor);
    }
    Ints Kept(Ints centre) const { return VXp_WrappedProduct(centre, Ints{} + total); }
    bool IsOpaque(Ints alpha) const { return !VXp_AnyLane(alpha != 255 * total); }

    Quotient quotient;
    int32_t total;
  };
  // The means for a total in each lane; 0 if the total is 0.
  struct LargeQuotient {
    using Sum = VXp_GroupDoubles;
    static bool Wide(bool wide) { return wide; }
    explicit LargeQuotient(Ints totals)
        : total(VXp_Widened(totals)),
          factor(VXp_ForHalves([](auto t) { return t == 0.0 ? VXp_TargetDoubles{} : 1.0 / t; },
                               total)),
          added(VXp_ForHalves([](auto half) { return half + 0.5; }, VXp_Widened(totals / 2))) {}
    static const VXp_GroupDoubles& Doubles(const VXp_GroupDoubles& sum) { return sum; }
    Ints Mean(const VXp_GroupDoubles& sum) const {
      return VXp_Narrowed<Ints>(
          VXp_ForHalves([](auto s, auto a, auto f) { return (s + a) * f; }, sum, added, factor));
    }
    bool IsOpaque(const VXp_GroupDoubles& alpha) const {
      const auto partial = (alpha.low != total.low * kFull) | (alpha.high != total.high * kFull);
      return !VXp_AnyLane(reinterpret_cast<Ints>(partial));
    }
    VXp_GroupDoubles Kept(Ints centre) const {
      return VXp_ForHalves([](auto c, auto t) { return c * t; }, VXp_Widened(centre), total);
    }

    VXp_GroupDoubles total, factor, added;
  };

  bool Blurs(int32_t channel) const { return (flags_ >> channel & 1) != 0; }

  // Computes the sums of kGroups groups at a time, so that registers hold them.
  template <int32_t kGroups>
  void Sums(const Value* here, ptrdiff_t step, Ints (&sums)[kGroups][4]) const {
    VXp_Products<2 * kGroups> products;
    products.template AddTaps<Sample>(here, step, taps_.weights, 1, taps_.count + 1);
    for (int32_t g = 0; g < kGroups; ++g) {
      const Planes planes = Turned(products, 2 * g);
      for (int32_t c = 0; c < 4; ++c) sums[g][c] = planes.channels[c];
    }
  }
  template <int32_t kGroups>
  void Sums(const Value* here, ptrdiff_t step, VXp_GroupDoubles (&sums)[kGroups][4]) const {
    const double bias = kBiased ? static_cast<double>(taps_.total) * 32768 : 0;
    for (int32_t from = 1; from == 1 || from <= taps_.count; from += taps_.at_once) {
      VXp_Products<2 * kGroups> products;
      const int32_t to = std::min(from + taps_.at_once, taps_.count + 1);
      products.template AddTaps<Sample>(here, step, taps_.weights, from, to);
      for (int32_t g = 0; g < kGroups; ++g) {
        const Planes planes = Turned(products, 2 * g);
        for (int32_t c = 0; c < 4; ++c) {
          const auto more = VXp_Widened(planes.channels[c]);
          VXp_GroupDoubles& sum = sums[g][c];
          sum.low = more.low + (from == 1 ? VXp_TargetDoubles{} + bias : sum.low);
          sum.high = more.high + (from == 1 ? VXp_TargetDoubles{} + bias : sum.high);
        }
      }
    }
  }

  // Replaces the sums of channels that are not blurred.
  template <class AnyQuotient>
  void Keep(const Value* here, const AnyQuotient& quotient,
            typename AnyQuotient::Sum (&sums)[4]) const {
    VXp_Products<2> centres;
    for (int32_t i = 0; i < 2; ++i) {
      const auto words = VXp_WordsAt(here + i * kVXp_WordLanes) ^ kZero;
      centres.low[i] = reinterpret_cast<Ints>(VXp_Interleaved<0>(words, VXp_SampleWords{}));
      centres.high[i] = reinterpret_cast<Ints>(VXp_Interleaved<1>(words, VXp_SampleWords{}));
    }
    const Planes planes = Turned(centres, 0);
    for (int32_t c = 0; c < 4; ++c) {
      if (!Blurs(c)) sums[c] = quotient.Kept(planes.channels[c]);
    }
  }

  template <bool kStraight, int32_t kGroups, class AnyQuotient>
  void ForAll(const Value* here, ptrdiff_t step, int32_t count, const AnyQuotient& quotient,
              Pixel* pixels) const {
    for (int32_t i = 0; i < count; i += kGroups * kLanes) {
      typename AnyQuotient::Sum sums[kGroups][4];
      Sums(here + 4 * i, step, sums);
      for (int32_t g = 0; g < kGroups; ++g) {
        Pixel* const out = pixels + i + g * kLanes;
        if ((flags_ & VX_Blur_AllChannels) == VX_Blur_AllChannels) {
          Group<kStraight, true>(quotient, sums[g], out);
        } else {
          Keep(here + 4 * (i + g * kLanes), quotient, sums[g]);
          Group<kStraight, false>(quotient, sums[g], out);
        }
      }
    }
  }

  // Stores the pixels of a group. kAll: all channels are blurred.
  template <bool kStraight, bool kAll, class AnyQuotient>
  void Group(const AnyQuotient& quotient, const typename AnyQuotient::Sum (&sums)[4],
             Pixel* pixels) const {
    const auto mean = [&](int32_t c) { return quotient.Mean(sums[c]); };
    const auto blurs = [&](int32_t c) { return kAll || Blurs(c); };
    // Where all alphas are full scale, the colours of straight pixels are the means.
    if (kStraight && !quotient.IsOpaque(sums[0])) {
      const VXp_StraightColors<Pixel> color(quotient.Doubles(sums[0]), quotient.Wide(wide_));
      const auto straight = [&](int32_t c) {
        return blurs(c) ? color(quotient.Doubles(sums[c])) : mean(c);
      };
      Store({mean(0), straight(1), straight(2), straight(3)}, pixels);
    } else {
      const auto limited = [&](int32_t c) {
        const Ints v = mean(c);
        return kStraight && kBiased && blurs(c) ? VXp_LaneTraits<Pixel>::Min(v, Ints{} + kFull) : v;
      };
      Store({mean(0), limited(1), limited(2), limited(3)}, pixels);
    }
  }

  static void Store(const VXp_GroupOf<Pixel>& v, Pixel* pixels) {
    if constexpr (kBiased) {
      VXp_StoreGroup<kLanes>(pixels, v);
    } else {
      const Ints words = v.alpha | v.red << 8 | v.green << 16 | v.blue << 24;
      VXp_Store(pixels, VXp_Unsectioned<2>(words));
    }
  }

  const VXp_Taps taps_;
  const int32_t flags_;
  const bool small_;
  const bool wide_;  // see VXp_StraightColors
};

// Float. Sums and quotients are in double.
template <>
class VXp_GaussianGroups<VX_PixelFloat> {
 public:
  using Value = double;
  static constexpr Value kZero = 0;
  static constexpr int32_t kEdge = kVXp_TargetLanes;
  static constexpr int32_t kSlack = kVXp_TargetLanes;

  VXp_GaussianGroups(const VXp_GaussianWeights& weights, int32_t reach, int32_t flags)
      : weights_(weights.Reals()), reach_(reach) {
    for (int32_t i = 0; i < kUnit; ++i) blurred_[i] = (flags >> i % 4 & 1) != 0 ? -1 : 0;
  }

  static Value Widened(float v) { return v; }

  template <bool kStraight>
  void Blur(const Value* here, ptrdiff_t step, int32_t count, int64_t total,
            VX_PixelFloat* pixels) const {
    for (int32_t i = 0; i < count; i += kBlock / 4) {
      Block<kStraight, kBlock>(here + 4 * i, step, static_cast<double>(total), pixels + i);
    }
  }

  template <bool kStraight>
  void BlurEdge(const Value* here, ptrdiff_t step, int32_t count, const int32_t (&totals)[kEdge],
                VX_PixelFloat* pixels) const {
    for (int32_t i = 0; i < count; ++i) {
      Block<kStraight, kUnit>(here + 4 * i, step, totals[i], pixels + i);
    }
  }

 private:
  // A unit is the least number of values that are whole vectors and whole pixels.
  using Doubles = VXp_TargetDoubles;
  static constexpr int32_t kLanes = kVXp_TargetDoubles;
  static constexpr int32_t kUnit = std::max(kLanes, 4);
  static constexpr int32_t kBlock = kVXp_SumBlock<double>;
  using Masks = VXp_Lanes<int64_t, kLanes>;

  // Computes kValues sums in the order of VXp_GaussianSums.h, and their pixels.
  template <bool kStraight, int32_t kValues>
  void Block(const double* c, ptrdiff_t step, double total, VX_PixelFloat* pixels) const {
    constexpr int32_t kVectors = kValues / kLanes;
    auto* const out = reinterpret_cast<float*>(pixels);
    if (total == 0) {
      std::fill_n(out, kValues, 0.0f);
      return;
    }
    const auto values = [](const double* from, int32_t i) {
      return VXp_Load<Doubles>(from + kLanes * i);
    };
    Doubles sums[kVectors];
    for (int32_t i = 0; i < kVectors; ++i) {
      sums[i] = values(c, i) * weights_[0];
    }
    for (int32_t t = 1; t <= reach_; ++t) {
      const double* const after = c + t * step;
      const double* const before = c - t * step;
      const double weight = weights_[t];
      for (int32_t i = 0; i < kVectors; ++i) {
        sums[i] += (values(after, i) + values(before, i)) * weight;
      }
    }
    for (int32_t i = 0; i < kVectors; ++i) {
      const Masks blurred = VXp_Load<Masks>(blurred_ + i * kLanes % kUnit);
      sums[i] = blurred != 0 ? sums[i] : values(c, i) * total;
      Doubles quotients;
      if constexpr (kStraight) {
        // The first vector of each unit contains its alpha sums.
        const Doubles alphas = Alphas(sums[i * kLanes / kUnit * kUnit / kLanes]);
        const Masks colors = Masks(blurred) & VXp_Load<Masks>(kColors + i * kLanes % kUnit);
        quotients = sums[i] / (colors != 0 ? alphas : Doubles{} + total);
        quotients = ((alphas == 0.0) & blurred) != 0 ? Doubles{} : quotients;
      } else {
        quotients = sums[i] / total;
      }
      VXp_Store(out + kLanes * i, __builtin_convertvector(quotients, VXp_Lanes<float, kLanes>));
    }
  }

  // Returns the first value of each pixel in all its lanes.
  static Doubles Alphas(Doubles v) { return FirstOfPixels(v, std::make_index_sequence<kLanes>()); }
  template <size_t... i>
  static Doubles FirstOfPixels(Doubles v, std::index_sequence<i...>) {
    return __builtin_shufflevector(v, v, static_cast<int32_t>(i / 4 * 4)...);
  }

  static constexpr int64_t kColors[8] = {0, -1, -1, -1, 0, -1, -1, -1};
  const double* const weights_;
  const int32_t reach_;
  int64_t blurred_[kUnit];
};

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The averages of the sub-samples of pixels, with colours weighted by alpha.

#include <algorithm>
#include <cstdint>

#include "frame/VXp_PixelGroup.h"
#include "indep/VXp_DoublesOf.h"

// How averages are rounded at 8 and 16 bits. Applies to alpha, and to colours unless all
// sub-samples are opaque; then colours are always rounded to nearest.
enum class VXp_MotionRounding { Down, Nearest };

// The sums of a group of pixels: of alpha, and of colours times alpha. Sums of at most 256
// sub-samples fit.
template <class Pixel>
class VXp_MotionSums {
  using L = VXp_LaneTraits<Pixel>;
  using Work = typename L::Work;
  using Ints = typename L::Ints;
  using Doubles = VXp_DoublesOf<L::kLanes>;

 public:
  static constexpr int32_t kPixels = L::kLanes;
  static constexpr int32_t GroupsOf(int32_t pixels) { return (pixels + kPixels - 1) / kPixels; }

  // Adds a sub-sample of each pixel.
  void Add(const Pixel* samples) {
    const auto p = VXp_LoadGroup(samples);
    AddTo(0, p.alpha);
    AddColor(1, p.alpha, p.red);
    AddColor(2, p.alpha, p.green);
    AddColor(3, p.alpha, p.blue);
  }

  // Stores the averages of `count` sub-samples, for `pixels` pixels of the groups from `sums` on.
  static void Average(const VXp_MotionSums* sums, int32_t pixels, int32_t count,
                      VXp_MotionRounding rounding, Pixel* out) {
    for (; pixels >= kPixels; pixels -= kPixels, ++sums, out += kPixels) {
      sums->Average(count, rounding, out);
    }
    if (pixels == 0) return;
    Pixel rest[kPixels];
    sums->Average(count, rounding, rest);
    std::copy_n(rest, pixels, out);
  }

 private:
  static constexpr bool kIsFloat = std::is_same_v<Pixel, VX_PixelFloat>;
  static constexpr bool kIs16 = std::is_same_v<Pixel, VX_Pixel16>;

  void AddTo(int32_t plane, Work v) {
    VXp_StoreLanes(planes_[plane], 0, VXp_LoadLanes<Work>(planes_[plane]) + v);
  }

  // At 16 bits the lower and upper halves of the products have sums of their own.
  void AddColor(int32_t channel, Work alpha, Work color) {
    if constexpr (kIsFloat) {
      // Where alpha is 0, the colours are undefined and may be NaN.
      AddTo(channel, alpha == 0.0f ? Work{} : alpha * color);
    } else if constexpr (kIs16) {
      using Halves = VXp_Lanes<uint16_t, 2 * kPixels>;
      const auto a = reinterpret_cast<Halves>(alpha), c = reinterpret_cast<Halves>(color);
      AddTo(channel, reinterpret_cast<Work>(a * c));
      AddTo(channel + 3, reinterpret_cast<Work>(VXp_MulHigh(a, c)));
    } else {
      AddTo(channel, VXp_MulAdjacent(alpha, color));
    }
  }

  Work Sum(int32_t plane) const { return VXp_LoadLanes<Work>(planes_[plane]); }
  Doubles ColorSum(int32_t channel) const {
    const auto low = Doubles::Of(Sum(channel));
    return kIs16 ? Doubles::Of(Sum(channel + 3)) * 65536.0 + low : low;
  }

  // Divides by multiplying with the reciprocal. The exact quotients are integers or at least 1 / by
  // below the next integer, so a smaller number can be added: it only compensates for the rounding
  // of the products.
  VXp_Argb<L> IntegerAverage(int32_t count, VXp_MotionRounding rounding, Work alpha, Ints nothing,
                             Ints opaque) const {
    const bool nearest = rounding == VXp_MotionRounding::Nearest;
    const Work divisor = nothing ? Work{} + 1 : alpha;
    const Doubles by = 1.0 / Doubles::Of(divisor);
    const Doubles half = Doubles::Of(nearest ? divisor >> 1 : Work{});
    const bool any_opaque = VXp_AnyLane(opaque), all_opaque = !VXp_AnyLane(~opaque);
    const auto color = [&](int32_t channel) {
      const Doubles sum = ColorSum(channel);
      Work mixed{};
      if (!all_opaque) mixed = ((sum + half) * by + 0x1p-26).RoundedDown();
      if (!any_opaque) return mixed;
      const Work scaled = (sum * (1.0 / count) + (0.5 + 0x1p-14)).RoundedDown();
      return opaque ? Unscaled(scaled) : mixed;
    };
    const int32_t half_count = nearest ? count / 2 : 0;
    return {(Doubles::Of(alpha + half_count) * (1.0 / count) + 0x1p-20).RoundedDown(), color(1),
            color(2), color(3)};
  }

  // Divides products of a channel and full scale by full scale, rounded to nearest.
  static Work Unscaled(Work v) {
    if constexpr (kIs16) return (v + 16384) >> 15;
    return (v + 128 + ((v + 128) >> 8)) >> 8;
  }

  void Average(int32_t count, VXp_MotionRounding rounding, Pixel* out) const {
    const Work alpha = Sum(0);
    const Ints nothing = alpha == Work{}, opaque = alpha == Work{} + count * L::kFull;
    VXp_Argb<L> average;
    if constexpr (kIsFloat) {
      const Work n = Work{} + static_cast<float>(count), by = opaque ? n : alpha;
      average = {alpha / n, Sum(1) / by, Sum(2) / by, Sum(3) / by};
    } else {
      average = IntegerAverage(count, rounding, alpha, nothing, opaque);
    }
    const auto held = [nothing](Work v) { return nothing ? Work{} : v; };
    VXp_StoreGroup(out, VXp_Argb<L>{held(average.alpha), held(average.red), held(average.green),
                                    held(average.blue)});
  }

  static constexpr int32_t kPlanes = kIs16 ? 7 : 4;
  typename L::Element planes_[kPlanes][kPixels] = {};
};

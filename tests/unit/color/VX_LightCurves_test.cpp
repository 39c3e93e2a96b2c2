// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Float pixels in linear light against published formulas in double precision.

#include <algorithm>
#include <cstring>
#include <functional>
#include <random>

#include "VX/VX_LightCurves.h"
#include "unit/ColorKit.h"

using namespace colorkit;

namespace {

using Function = std::function<double(double)>;
using Pixels = std::vector<VX_PixelFloat>;

double InverseSrgb(double light) {
  return light <= 0.04045 / 12.92 ? 12.92 * light : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
}
double Odd(const Function& function, double v) { return v < 0 ? -function(-v) : function(v); }

VX_LayerDef LayerOf(Pixels* pixels, int32_t width) {
  VX_LayerDef layer{};
  layer.data = reinterpret_cast<VX_Pixel8*>(pixels->data());
  layer.width = width;
  layer.height = static_cast<int32_t>(pixels->size()) / width;
  layer.rowbytes = width * int32_t{sizeof(VX_PixelFloat)};
  VXp_SetWorldDepth(&layer, 32);
  return layer;
}

// Alphas 0, 1 and between; colours mostly 0..1, some outside, and some equal to 0 or 1.
Pixels Random(size_t count, uint32_t seed) {
  std::mt19937 random(seed);
  const auto share = [&] { return static_cast<float>(random() % 100001) / 100000.0f; };
  const auto alpha = [&] { return std::clamp(1.5f * share() - 0.25f, 0.0f, 1.0f); };
  const auto color = [&] {
    const uint32_t kind = random() % 16;
    if (kind < 2) return static_cast<float>(kind);
    return kind == 2 ? 400 * share() : kind == 3 ? -share() : kind < 8 ? share() / 64 : share();
  };
  Pixels pixels(count);
  for (VX_PixelFloat& p : pixels) p = {alpha(), color(), color(), color()};
  return pixels;
}

void Draw(Pixels* src, int32_t mode, float opacity, bool keep, const VX_LightCurves* curves,
          Pixels* mask, Pixels* dst) {
  constexpr int32_t kWidth = 301;
  VX_LayerDef above = LayerOf(src, kWidth), weights = LayerOf(mask, kWidth),
              below = LayerOf(dst, kWidth);
  const VX_CompositeModePlus record(mode, opacity, nullptr, keep, 5);
  const VX_MaskSpec spec{&weights, 0, 0, VX_MaskUse_Alpha};
  ASSERT_EQ(
      VX_TransferRectLinear(nullptr, 0, nullptr, &above, &record, curves, &spec, 0, 0, &below),
      VX_Ok);
}

TEST(LightCurves, AreThePublishedCurves) {
  const auto broken = [](double v) { return v < 1 / 3.0 ? 0.6 * v : 1.2 * v - 0.2; };
  const auto inverse = [](double v) { return v < 0.2 ? v / 0.6 : (v + 0.2) / 1.2; };
  const struct {
    COR_QCE_ProfilePtr profile;
    Function curve, inverse;
    float highest;  // of the values that are compared
  } profiles[] = {
      {Named("sRGB"), Srgb, InverseSrgb, 1e9f},
      {Named("gamma 2.4"), Power24, [](double v) { return std::pow(v, 1 / 2.4); }, 1e9f},
      {Named("gamma 1.0"), Identity, Identity, 1e9f},
      {Opened(FileWith(TableOf(broken, 4))), broken, inverse, 1},
  };
  using Blend = double (*)(double s, double d, double w, double da);
  const std::pair<int32_t, Blend> modes[] = {
      {VX_Xfer_Copy, [](double s, double, double, double) { return s; }},
      {VX_Xfer_InFront, [](double s, double d, double w,
                           double da) { return (s * w + d * da * (1 - w)) / (w + da - w * da); }},
      {VX_Xfer_Behind, [](double s, double d, double w,
                          double da) { return (s * w * (1 - da) + d * da) / (w + da - w * da); }},
  };
  const Pixels src = Random(1505, 1), dst = Random(1505, 2), mask(1505, VX_PixelFloat{1, 0, 0, 0});
  for (const auto& profile : profiles) {
    const auto curves = VX_MakeLightCurves(profile.profile);
    for (const auto& [mode, blend] : modes) {
      Pixels s = src, m = mask, got = dst;
      Draw(&s, mode, 0.5f, false, curves.get(), &m, &got);
      for (size_t i = 0; i < got.size(); ++i) {
        const double w = src[i].alpha * 0.5, da = dst[i].alpha;
        if (mode != VX_Xfer_Copy && (w == 0 || (mode == VX_Xfer_Behind && da == 1))) continue;
        for (float VX_PixelFloat::*channel :
             {&VX_PixelFloat::red, &VX_PixelFloat::green, &VX_PixelFloat::blue}) {
          const float above = src[i].*channel, below = dst[i].*channel;
          if (std::max(std::abs(above), std::abs(below)) > profile.highest) continue;
          const double s_light = Odd(profile.curve, above), d_light = Odd(profile.curve, below);
          const double light = blend(s_light, d_light, w, da);
          const bool cancels = s_light * d_light < 0 && std::abs(light) < 0.1;
          if (cancels) continue;  // the curve is steep there: floats are not precise enough
          const double want = Odd(profile.inverse, light);
          // Files store the numbers of a curve in 65536ths: above 1 the errors grow.
          const double largest = std::max({1.0f, std::abs(above), std::abs(below)});
          ASSERT_NEAR(got[i].*channel, want, 1e-5 * largest)
              << "mode " << mode << ": " << above << " over " << below << ", " << w << ' ' << da;
        }
      }
    }
  }
}

TEST(LightCurves, PixelsWithoutWeightKeepTheirBits) {
  const auto curves = VX_MakeLightCurves(Named("sRGB"));
  Pixels src = Random(1505, 3), mask = Random(1505, 4);
  const Pixels dst = Random(1505, 5);
  for (int32_t mode = 1; mode <= 36; ++mode) {
    if (mode == VX_Xfer_StencilAlpha || mode == VX_Xfer_StencilLuma || mode == VX_Xfer_PremulOver) {
      continue;
    }
    for (const bool keep : {false, true}) {
      Pixels got = dst, plain = dst;
      Draw(&src, mode, 0.7f, keep, curves.get(), &mask, &got);
      Draw(&src, mode, 0.7f, keep, nullptr, &mask, &plain);
      for (size_t i = 0; i < got.size(); ++i) {
        if (src[i].alpha == 0 || mask[i].alpha == 0) {
          ASSERT_EQ(std::memcmp(&got[i], &dst[i], sizeof dst[i]), 0) << mode << ' ' << i;
        }
        // Alphas and the noise of dissolve do not depend on light.
        if (mode != VX_Xfer_SilhouetteLuma) {
          ASSERT_NEAR(got[i].alpha, plain[i].alpha, 1e-6) << mode << ' ' << i;
        }
        if (mode == VX_Xfer_Dissolve) {
          ASSERT_EQ(got[i].red, plain[i].red) << i;
        }
      }
    }
  }
}

}  // namespace

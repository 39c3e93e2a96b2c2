// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The nine per-pixel tables against their slow twin.

#include "../../reference/RefModes.h"
#include "BlendTestKit.h"

namespace {

template <class Pixel, class Plain, class Faded, class Twice>
void Call(const Plain& plain, const Faded& faded, const Twice& twice, int form, int mode,
          const Pixel& s, const VX_LinearBlendingTables* tables, const VX_ChannelOf<Pixel>* opacity,
          Pixel* d) {
  if (form == 0) plain[mode](&s, tables, d);
  if (form == 1) faded[mode](&s, tables, opacity[0], d);
  if (form == 2) twice[mode](&s, tables, opacity[0], opacity[1], d);
}

// Compares one call with `form` opacities; false after a failure.
template <class Pixel>
bool Agrees(const ModeName& mode, int form, const Pixel& s, const VX_LinearBlendingTables* tables,
            const VX_ChannelOf<Pixel>* opacity, const Pixel& d) {
  Pixel want = d, got = d;
  vxref::Xfer1<Pixel>(mode.mode, s, tables, {opacity, static_cast<size_t>(form)}, &want);
  const auto call = [&](const auto&... lists) {
    Call<Pixel>(lists..., form, mode.mode, s, tables, opacity, &got);
  };
  if constexpr (kDepth<Pixel> == 8) {
    call(VXp_G_Xfer1_table8, VXp_G_Xfer1_Opacity_table8, VXp_G_Xfer1_Opacity2_table8);
  } else if constexpr (kDepth<Pixel> == 16) {
    call(VXp_G_Xfer1_table16, VXp_G_Xfer1_Opacity_table16, VXp_G_Xfer1_Opacity2_table16);
  } else {
    call(VXp_G_Xfer1_tableF, VXp_G_Xfer1_Opacity_tableF, VXp_G_Xfer1_Opacity2_tableF);
  }
  if (SamePixel(want, got)) return true;
  std::string factors;
  for (int i = 0; i < form; ++i) factors += " * " + Text(opacity[i]);
  ADD_FAILURE() << mode.name << ", " << kDepth<Pixel> << " bits, "
                << (tables == nullptr ? "stored" : "linear") << ": " << Text(s) << factors
                << " over " << Text(d) << " gives " << Text(got) << ", not " << Text(want);
  return false;
}

template <class Pixel>
class Xfer1Tables : public testing::Test {};
TYPED_TEST_SUITE(Xfer1Tables, PixelTypes, DepthNames);

// All pairs of corner alphas with all pairs of corner colours.
TYPED_TEST(Xfer1Tables, CornersAgreeWithTwin) {
  const auto corners = Corners<TypeParam>();
  const size_t n = corners.size();
  const auto pixel = [&](VX_ChannelOf<TypeParam> alpha, size_t i) {
    return TypeParam{alpha, corners[i], corners[(i + 1) % n], corners[(5 * i + 2) % n]};
  };
  for (const ModeName& mode : AllModes()) {
    for (int linear = 0; mode.mode >= 0 && linear < 2; ++linear) {
      const VX_LinearBlendingTables* tables = linear ? &LinearTables()[0] : nullptr;
      bool good = true;
      size_t turn = 0;
      for (size_t k = 0; good && k < n * n * n * n; ++k) {
        const TypeParam s = pixel(corners[k % n], k / n % n);
        const TypeParam d = pixel(corners[k / n / n % n], k / n / n / n);
        // 11 shares no factor with the sizes, so all combinations of form and opacities occur.
        turn += 11;
        const VX_ChannelOf<TypeParam> opacity[2] = {corners[turn / 3 % n],
                                                    corners[turn / 3 / n % n]};
        good = Agrees(mode, static_cast<int>(turn % 3), s, tables, opacity, d);
      }
    }
  }
}

TYPED_TEST(Xfer1Tables, RandomPixelsAgreeWithTwin) {
  Operands<TypeParam> operands(1);
  for (const ModeName& mode : AllModes()) {
    bool good = mode.mode >= 0;
    for (int i = 0; good && i < 24000; ++i) {
      const auto* tables = i % 4 == 0 ? nullptr : &LinearTables()[static_cast<size_t>(i % 4 - 1)];
      const VX_ChannelOf<TypeParam> opacity[2] = {operands.Opacity(), operands.Opacity()};
      good = Agrees(mode, i / 4 % 3, operands.AnyPixel(), tables, opacity, operands.AnyPixel());
    }
  }
}

}  // namespace

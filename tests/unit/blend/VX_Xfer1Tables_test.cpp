// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The nine per-pixel tables against their slow twin.

#include "../../reference/RefModes.h"
#include "BlendTestKit.h"

namespace {

void CallTable(int form, int mode, const VX_Pixel8& s, const VX_LinearBlendingTables* tables,
               const uint8_t* opacity, VX_Pixel8* d) {
  if (form == 0) return VXp_G_Xfer1_table8[mode](&s, tables, d);
  if (form == 1) return VXp_G_Xfer1_Opacity_table8[mode](&s, tables, opacity[0], d);
  VXp_G_Xfer1_Opacity2_table8[mode](&s, tables, opacity[0], opacity[1], d);
}
void CallTable(int form, int mode, const VX_Pixel16& s, const VX_LinearBlendingTables* tables,
               const uint16_t* opacity, VX_Pixel16* d) {
  if (form == 0) return VXp_G_Xfer1_table16[mode](&s, tables, d);
  if (form == 1) return VXp_G_Xfer1_Opacity_table16[mode](&s, tables, opacity[0], d);
  VXp_G_Xfer1_Opacity2_table16[mode](&s, tables, opacity[0], opacity[1], d);
}
void CallTable(int form, int mode, const VX_PixelFloat& s, const VX_LinearBlendingTables* tables,
               const float* opacity, VX_PixelFloat* d) {
  if (form == 0) return VXp_G_Xfer1_tableF[mode](&s, tables, d);
  if (form == 1) return VXp_G_Xfer1_Opacity_tableF[mode](&s, tables, opacity[0], d);
  VXp_G_Xfer1_Opacity2_tableF[mode](&s, tables, opacity[0], opacity[1], d);
}

// Compares one call. False after a failure, which names everything that went in.
template <class Pixel>
bool Agrees(const ModeName& mode, int form, const Pixel& s, const VX_LinearBlendingTables* tables,
            const VX_ChannelOf<Pixel>* opacity, const Pixel& d) {
  Pixel want = d;
  vxref::Xfer1<Pixel>(mode.mode, s, tables, {opacity, static_cast<size_t>(form)}, &want);
  Pixel got = d;
  CallTable(form, mode.mode, s, tables, opacity, &got);
  if (SamePixel(want, got)) return true;
  std::string factors;
  for (int i = 0; i < form; ++i) factors += " * " + Text(opacity[i]);
  ADD_FAILURE() << mode.name << " (" << mode.mode << "), " << kDepth<Pixel> << " bits, "
                << (tables == nullptr ? "stored" : "linear") << ": " << Text(s) << factors
                << " over " << Text(d) << " gives " << Text(got) << ", not " << Text(want);
  return false;
}

template <class Pixel>
class Xfer1Tables : public testing::Test {};
TYPED_TEST_SUITE(Xfer1Tables, PixelTypes, DepthNames);

// All pairs of corner alphas with all pairs of corner colours; forms and opacities take turns.
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
        // A step that shares no factor with the sizes, so that all combinations come.
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
    for (int form = 0; mode.mode >= 0 && form < 3; ++form) {
      for (int space = 0; space < 4; ++space) {
        const VX_LinearBlendingTables* tables = space == 0 ? nullptr : &LinearTables()[space - 1];
        bool good = true;
        for (int i = 0; good && i < 2000; ++i) {
          const VX_ChannelOf<TypeParam> opacity[2] = {operands.Opacity(), operands.Opacity()};
          good = Agrees(mode, form, operands.AnyPixel(), tables, opacity, operands.AnyPixel());
        }
      }
    }
  }
}

// Worked out by hand. Red, green and blue are alike but where hue matters.
TEST(Xfer1Tables8, KnownValues) {
  struct Case {
    int mode;
    VX_Pixel8 s, d, want;
  };
  const Case cases[] = {
      {VX_Xfer_AlphaAdd, {55, 9, 9, 9}, {200, 9, 9, 9}, {255, 9, 9, 9}},
      {VX_Xfer_AlphaAdd, {100, 60, 60, 60}, {100, 20, 20, 20}, {200, 41, 41, 41}},
      {VX_Xfer_Difference, {255, 77, 77, 77}, {255, 77, 77, 77}, {255, 0, 0, 0}},
      {VX_Xfer_Burn, {255, 0, 0, 0}, {255, 200, 255, 0}, {255, 0, 0, 0}},
      {VX_Xfer_Burn2, {255, 0, 0, 0}, {255, 200, 255, 0}, {255, 0, 255, 0}},
      {VX_Xfer_PinLight, {255, 128, 128, 128}, {255, 9, 99, 200}, {255, 9, 99, 200}},
      {VX_Xfer_HardLight, {255, 255, 255, 255}, {255, 100, 100, 100}, {255, 254, 254, 254}},
      {VX_Xfer_LinearLight, {255, 255, 255, 255}, {255, 0, 1, 2}, {255, 254, 255, 255}},
      {VX_Xfer_HardMix, {255, 0, 1, 255}, {255, 255, 253, 0}, {255, 255, 0, 0}},
      {VX_Xfer_Hue, {255, 7, 7, 7}, {255, 100, 50, 25}, {255, 115, 40, 40}},
      {VX_Xfer_PremulOver, {0, 50, 50, 50}, {255, 100, 230, 0}, {255, 150, 255, 50}},
      {VX_Xfer_StencilAlpha, {0, 5, 5, 5}, {200, 1, 2, 3}, {200, 1, 2, 3}},
      {VX_Xfer_StencilAlpha, {51, 5, 5, 5}, {200, 1, 2, 3}, {40, 1, 2, 3}},
      {VX_Xfer_SilhouetteLuma, {255, 255, 255, 255}, {200, 1, 2, 3}, {0, 1, 2, 3}},
      {VX_Xfer_Dissolve, {128, 5, 5, 5}, {200, 1, 2, 3}, {200, 1, 2, 3}},
      {VX_Xfer_Behind, {255, 5, 5, 5}, {255, 1, 2, 3}, {255, 1, 2, 3}},
      {VX_Xfer_Copy, {1, 5, 6, 7}, {255, 1, 2, 3}, {1, 5, 6, 7}},
  };
  for (const Case& c : cases) {
    VX_Pixel8 got = c.d;
    VXp_G_Xfer1_table8[c.mode](&c.s, nullptr, &got);
    EXPECT_TRUE(SamePixel(got, c.want)) << "mode " << c.mode << ": " << Text(c.s) << " over "
                                        << Text(c.d) << " gives " << Text(got);
  }
}

}  // namespace

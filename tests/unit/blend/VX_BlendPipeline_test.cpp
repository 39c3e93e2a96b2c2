// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The stages of a row against their slow twin.

#include "../../reference/RefPipeline.h"
#include "BlendTestKit.h"

namespace {

template <class Pixel>
class BlendPipeline : public testing::Test {};
TYPED_TEST_SUITE(BlendPipeline, PixelTypes, DepthNames);

template <class Pixel>
VX_BlendingMode<Pixel> RandomMode(int mode, Operands<Pixel>* operands) {
  VX_BlendingMode<Pixel> blending = {};
  blending.mode = mode;
  blending.seed = static_cast<int32_t>(operands->Word());
  blending.opacity = operands->Opacity();
  blending.keepDstAlpha = static_cast<uint8_t>(operands->Below(2) * operands->Below(256));
  return blending;
}

TYPED_TEST(BlendPipeline, AgreesWithTwin) {
  Operands<TypeParam> operands(5);
  for (const ModeName& mode : AllModes()) {
    bool good = true;
    for (int run = 0; good && run < 4 * 68; ++run) {
      const int count = run % 68;
      const bool has_mask = run / 68 % 2 != 0 || mode.mode == VX_Xfer_MaskMix;
      const VX_LinearBlendingTables* tables =
          run / 136 != 0 ? &LinearTables()[static_cast<size_t>(count % 3)] : nullptr;
      const VX_BlendingMode<TypeParam> blending = RandomMode(mode.mode, &operands);
      const std::vector<TypeParam> src = operands.Row(count);
      const std::vector<TypeParam> mask = operands.Row(count + 1);    // never null
      const std::vector<TypeParam> before = operands.Row(count + 1);  // one that must stay
      const VX_ChannelOf<TypeParam> paint = operands.Any();
      std::vector<VX_ChannelOf<TypeParam>> scratch(static_cast<size_t>(count) + 1, paint);

      std::vector<TypeParam> want = before;
      ASSERT_EQ(vxref::Pipeline<TypeParam>(blending, tables, count, src.data(),
                                           has_mask ? mask.data() : nullptr, want.data()),
                0);
      std::vector<TypeParam> got = before;
      const VX_BlendModeDescriptor<TypeParam> descriptor(blending, has_mask, tables);
      ASSERT_EQ(
          VX_BlendPipeline<TypeParam>(nullptr, count, &descriptor, src.data(),
                                      has_mask ? mask.data() : nullptr, scratch.data(), got.data()),
          0);
      const int at = FirstDifference(want, got);
      good = at < 0 && SameBits(scratch.back(), paint);
      if (good) continue;
      const size_t i = static_cast<size_t>(at < 0 ? count : at);
      ADD_FAILURE() << mode.name << " (" << mode.mode << "), " << kDepth<TypeParam> << " bits, "
                    << (tables ? "linear" : "stored") << (has_mask ? ", masked" : "") << ", count "
                    << count << ", opacity " << Text(blending.opacity) << ", keep "
                    << int{blending.keepDstAlpha} << ", seed " << blending.seed << ", pixel " << at
                    << ": " << (at < count && at >= 0 ? Text(src[i]) : "-") << " with mask "
                    << (at < count && at >= 0 ? Text(mask[i].alpha) : "-") << " over "
                    << Text(before[i]) << " gives " << Text(got[i]) << ", not " << Text(want[i]);
    }
  }
}

TYPED_TEST(BlendPipeline, KeepDstAlphaKeepsEveryBit) {
  Operands<TypeParam> operands(6);
  for (const ModeName& mode : AllModes()) {
    if (mode.mode == VX_Xfer_MaskMix ||
        (mode.mode >= VX_Xfer_StencilAlpha && mode.mode <= VX_Xfer_SilhouetteLuma)) {
      continue;  // alpha is what these are for
    }
    for (int variant = 0; variant < 4; ++variant) {
      VX_BlendingMode<TypeParam> blending = RandomMode(mode.mode, &operands);
      blending.keepDstAlpha = 1;
      const bool has_mask = (variant & 1) != 0;
      const std::vector<TypeParam> src = operands.Row(67);
      const std::vector<TypeParam> mask = operands.Row(67);
      std::vector<TypeParam> dst = operands.Row(67);
      for (TypeParam& p : dst) {
        if (p.alpha == 0) p.alpha = 0;  // no negative zero: behind writes a 0 there
      }
      const std::vector<TypeParam> before = dst;
      std::vector<VX_ChannelOf<TypeParam>> scratch(67);
      const VX_BlendModeDescriptor<TypeParam> descriptor(
          blending, has_mask, (variant & 2) != 0 ? &LinearTables()[0] : nullptr);
      ASSERT_EQ(
          VX_BlendPipeline<TypeParam>(nullptr, 67, &descriptor, src.data(),
                                      has_mask ? mask.data() : nullptr, scratch.data(), dst.data()),
          0);
      for (size_t i = 0; i < dst.size(); ++i) {
        ASSERT_TRUE(SameBits(before[i].alpha, dst[i].alpha)) << mode.name << " at " << i;
      }
    }
  }
}

TYPED_TEST(BlendPipeline, StagesAgreeWithTwin) {
  Operands<TypeParam> operands(7);
  for (const int mode : {VX_Xfer_Add, VX_Xfer_Multiply, VX_Xfer_Overlay}) {
    VX_BlendingMode<TypeParam> blending = {};
    blending.mode = mode;
    const VX_BlendModeDescriptor<TypeParam> d(blending, false, nullptr);
    for (int count = 0; count <= 67; ++count) {
      const std::vector<TypeParam> before = operands.Row(count + 1);
      std::vector<TypeParam> want = before, got = before, same = before;
      vxref::MatteRow(mode, count, want.data());
      EXPECT_EQ(d.matteStage(count, nullptr, got.data()), 0);
      EXPECT_EQ(d.matteStage(count, same.data(), same.data()), 0);
      ASSERT_LT(FirstDifference(want, got), 0) << "matte of mode " << mode;
      ASSERT_LT(FirstDifference(want, same), 0) << "matte of mode " << mode;
      want = got = before;
      vxref::UnmatteRow(mode, count, want.data());
      EXPECT_EQ(d.unmatteStage(count, nullptr, got.data()), 0);
      ASSERT_LT(FirstDifference(want, got), 0) << "unmatte of mode " << mode;

      const std::vector<TypeParam> src = operands.Row(count), mask = operands.Row(count);
      const TypeParam* mask_row = count % 2 != 0 ? mask.data() : nullptr;
      const VX_ChannelOf<TypeParam> opacity = operands.Opacity();
      want = got = before;
      vxref::AlphaUnionRow(count, src.data(), opacity, mask_row, want.data());
      EXPECT_EQ(d.alphaUnionStage(count, src.data(), opacity, mask_row, got.data()), 0);
      const int at = FirstDifference(want, got);
      ASSERT_LT(at, 0) << "alpha union at opacity " << Text(opacity) << ": "
                       << Text(before[static_cast<size_t>(at)]);
    }
  }
}

TYPED_TEST(BlendPipeline, UnknownModeAndFailingStage) {
  TakeReportTexts();
  Operands<TypeParam> operands(8);
  VX_BlendingMode<TypeParam> blending = {};
  for (const int mode : {-1, -4, 37}) {
    blending.mode = mode;
    const VX_BlendModeDescriptor<TypeParam> d(blending, true, nullptr);
    EXPECT_EQ(d.scan, nullptr) << mode;
    EXPECT_FALSE(d.usesMatte || d.usesBehindPass || d.savesDstAlpha || d.usesAlphaUnion) << mode;
    EXPECT_TRUE(d.matteStage == nullptr && d.unmatteStage == nullptr) << mode;
    EXPECT_EQ(TakeReportTexts(), std::vector<std::string>{"unimplemented blending mode."});
  }
  blending.mode = VX_Xfer_MaskMix;
  const VX_BlendModeDescriptor<TypeParam> d(blending, false, nullptr);
  const std::vector<TypeParam> src = operands.Row(9), before = operands.Row(9);
  std::vector<TypeParam> dst = before;
  VX_ChannelOf<TypeParam> scratch[9];
  EXPECT_EQ(VX_BlendPipeline<TypeParam>(nullptr, 9, &d, src.data(), nullptr, scratch, dst.data()),
            3);
  EXPECT_LT(FirstDifference(before, dst), 0);
}

}  // namespace

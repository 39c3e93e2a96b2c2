// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Refusals of the choosers of row loops, and errors inside the pipeline. The random commands
// compare all row loops, the tables of one pixel and the pipeline with their slow twins.

#include "../../reference/RefTables.h"
#include "../GuardedWorld.h"
#include "../PixelTestKit.h"
#include "VX/VX_Blend.h"

namespace {

constexpr int32_t kModes[] = {
#define VX_MODE(number, ...) number,
#include "VX/VX_TransferModes.def"
#undef VX_MODE
};

template <class Pixel>
class RowLoops : public testing::Test {
 protected:
  // 20 blended pixels; the code, or the code that the call throws.
  template <class Loop>
  VX_Err Scan(const Loop& loop, const VX_LinearBlendingTables* tables, const Pixel* mask) {
    return Thrown([&] {
      const VX_Err code = loop.scan(20, &options, tables, src.data(), mask, dst.data());
      if (code != VX_Ok) throw code;
    });
  }
  VX_Err Pipeline(const VX_BlendModeDescriptor<Pixel>& descriptor) {
    VX_ChannelOf<Pixel> alpha[20];
    return VX_BlendPipeline<Pixel>(nullptr, 20, &descriptor, src.data(), nullptr, alpha,
                                   dst.data());
  }

  Operands<Pixel> operands{4};
  const std::vector<Pixel> before = operands.Row(20), src = operands.Row(20);
  std::vector<Pixel> dst = before;
  VX_BlendingMode<Pixel> options{0, 0, kFull<Pixel>, 0};
};
TYPED_TEST_SUITE(RowLoops, PixelTypes, DepthNames);

TYPED_TEST(RowLoops, Refusals) {
  using Texts = std::vector<std::string>;
  const auto tables = vxref::BuildTables([](double x) { return x * x; }, 2.0f);
  const auto check = [&]<bool masked, bool linear>() {
    const auto choose = &VX_GetInnerBlendingFunc<TypeParam, masked, linear>;
    VX_InnerBlendingFunc<TypeParam> func = {};
    TakeReportTexts();
    for (const int32_t mode : {-1, -4, 37, INT32_MIN, INT32_MAX}) {
      func = {};
      EXPECT_EQ(choose(mode, &func), VX_ErrUnsupported) << mode;
      EXPECT_EQ(func.scan, nullptr) << mode;
      this->options.mode = mode;
      const VX_BlendModeDescriptor<TypeParam> d(this->options, masked, nullptr);
      EXPECT_EQ(d.scan, nullptr) << mode;
      EXPECT_FALSE(d.usesMatte || d.usesBehindPass || d.savesDstAlpha || d.usesAlphaUnion) << mode;
      EXPECT_TRUE(d.matteStage == nullptr && d.unmatteStage == nullptr) << mode;
      EXPECT_EQ(TakeReportTexts(), Texts(2, "unimplemented blending mode."));
    }
    ASSERT_EQ(choose(VX_Xfer_MaskMix, &func), VX_Ok);
    EXPECT_EQ(this->Scan(func, &tables, nullptr), VX_ErrBadParameter);
    TakeReportTexts();
    for (const int32_t mode : kModes) {
      const bool plain_copy = (mode == VX_Xfer_Scale && kDepth<TypeParam> != 32) ||
                              (mode == VX_Xfer_Copy && kDepth<TypeParam> != 8);
      if (!linear || !masked || plain_copy) continue;  // without linear form, without tables
      ASSERT_EQ(choose(mode, &func), VX_Ok);
      EXPECT_EQ(this->Scan(func, nullptr, this->src.data()), VX_ErrBadParameter) << mode;
      EXPECT_EQ(TakeReportTexts(), Texts{"Invalid tables for linearized blending"});
    }
  };
  check.template operator()<false, false>();
  check.template operator()<true, false>();
  check.template operator()<false, true>();
  check.template operator()<true, true>();
  this->options.mode = VX_Xfer_MaskMix;
  EXPECT_EQ(this->Pipeline({this->options, false, nullptr}), VX_ErrBadParameter);
  EXPECT_LT(FirstDifference(this->before, this->dst), 0);
}

// An error of a stage ends the pipeline.
TYPED_TEST(RowLoops, PipelineReturnsTheErrorOfEachStage) {
  static constexpr auto kStage = [](auto...) { return VX_Err{518}; };
  using Descriptor = VX_BlendModeDescriptor<TypeParam>;
  const struct {
    int32_t mode;
    void (*fail)(Descriptor*);
    VX_Err want;
  } cases[] = {
      {VX_Xfer_Multiply, [](Descriptor*) {}, VX_Ok},
      {VX_Xfer_Multiply, [](Descriptor* d) { d->matteStage = kStage; }, 518},
      {VX_Xfer_Multiply, [](Descriptor* d) { d->scan = kStage; }, 518},
      {VX_Xfer_Multiply, [](Descriptor* d) { d->alphaUnionStage = kStage; }, 518},
      {VX_Xfer_Multiply, [](Descriptor* d) { d->unmatteStage = kStage; }, 518},
      {VX_Xfer_Luminosity, [](Descriptor* d) { d->behindScan = kStage; }, 518},
  };
  for (const auto& c : cases) {
    this->options.mode = c.mode;
    Descriptor d(this->options, false, nullptr);
    c.fail(&d);
    EXPECT_EQ(this->Pipeline(d), c.want) << &c - cases;
  }
}

}  // namespace

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Errors inside the pipeline. The random commands compare all row loops, the tables of one pixel
// and the pipeline with their slow twins.

#include "../PixelTestKit.h"
#include "VX/VX_Blend.h"

namespace {

template <class Pixel>
class RowLoops : public testing::Test {
 protected:
  VX_Err Pipeline(const VX_BlendModeDescriptor<Pixel>& descriptor) {
    VX_ChannelOf<Pixel> alpha[20];
    return VX_BlendPipeline<Pixel>(nullptr, 20, &descriptor, src.data(), nullptr, alpha,
                                   dst.data());
  }

  Operands<Pixel> operands{4};
  std::vector<Pixel> src = operands.Row(20), dst = operands.Row(20);
  VX_BlendingMode<Pixel> options{0, 0, kFull<Pixel>, 0};
};
TYPED_TEST_SUITE(RowLoops, PixelTypes, DepthNames);

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

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The row loops of all modes against their slow twin, and what the pipeline does with a bad mode or
// a failing loop. The stages of the pipeline are covered by the composites.

#include "../../reference/RefScan.h"
#include "BlendTestKit.h"

namespace {

template <class Pixel>
VX_Err Select(int variant, int mode, VX_InnerBlendingFunc<Pixel>* out) {
  switch (variant) {  // bit 0: masked; bit 1: linear
    case 0: return VX_GetInnerBlendingFunc<Pixel, false, false>(mode, out);
    case 1: return VX_GetInnerBlendingFunc<Pixel, true, false>(mode, out);
    case 2: return VX_GetInnerBlendingFunc<Pixel, false, true>(mode, out);
    default: return VX_GetInnerBlendingFunc<Pixel, true, true>(mode, out);
  }
}

// Rows that may be the same memory.
enum class Alias { None, SourceIsDestination, MaskIsSource };

constexpr int kMargin = 4;

// Rows with margins, at any alignment to 16 bytes.
template <class Pixel>
struct Rows {
  std::vector<Pixel> src, mask, dst;
  int src_start, mask_start, dst_start;
  Alias alias;

  Rows(Operands<Pixel>* operands, int count)
      : src(operands->Row(count + 2 * kMargin)),
        mask(operands->Row(count + 2 * kMargin)),
        dst(operands->Row(count + 2 * kMargin)),
        src_start(operands->Below(kMargin + 1)),
        mask_start(operands->Below(kMargin + 1)),
        dst_start(operands->Below(kMargin + 1)),
        alias(static_cast<Alias>(operands->Below(3))) {}

  Pixel* Dst() { return dst.data() + dst_start; }
  const Pixel* Src() {
    return alias == Alias::SourceIsDestination ? Dst() : src.data() + src_start;
  }
  const Pixel* Mask() { return alias == Alias::MaskIsSource ? Src() : mask.data() + mask_start; }
};

// Compares one row; false after a failure. The variants without mask ignore the row they get.
template <class Pixel>
bool Agrees(const ModeName& mode, int variant, const VX_LinearBlendingTables* tables, int count,
            const VX_BlendingMode<Pixel>& options, const Rows<Pixel>& before) {
  const bool masked = (variant & 1) != 0, linear = (variant & 2) != 0;
  VX_InnerBlendingFunc<Pixel> func = {};
  EXPECT_EQ(Select(variant, mode.mode, &func), 0);
  if (func.scan == nullptr) return false;
  Rows<Pixel> want = before, got = before;
  vxref::Scan(mode.mode, masked, linear, count, &options, tables, want.Src(),
              masked || mode.mode == VX_Xfer_MaskMix ? want.Mask() : nullptr, want.Dst());
  EXPECT_EQ(func.scan(count, &options, tables, got.Src(), got.Mask(), got.Dst()), 0);
  const int at = FirstDifference(want.dst, got.dst);
  const bool same = at < 0 && FirstDifference(before.src, got.src) < 0 &&
                    FirstDifference(before.mask, got.mask) < 0;
  if (same) return true;
  const size_t i = static_cast<size_t>(at < 0 ? 0 : at);
  ADD_FAILURE() << mode.name << ", variant " << variant << ", count " << count << ", opacity "
                << Text(options.opacity) << ", keep " << int{options.keepDstAlpha} << ", alias "
                << static_cast<int>(before.alias) << ", pixel " << at - before.dst_start
                << (at < 0 ? ": writes to its source or mask" : ": ") << Text(got.dst[i])
                << ", not " << Text(want.dst[i]) << ", over " << Text(before.dst[i]);
  return false;
}

template <class Pixel>
class RowLoops : public testing::Test {};
TYPED_TEST_SUITE(RowLoops, PixelTypes, DepthNames);

// Short rows of any pixels, then rows of opaque segments, about as long as those for which copy and
// in-front prepare a table.
TYPED_TEST(RowLoops, AgreeWithTwin) {
  Operands<TypeParam> operands(2);
  for (const ModeName& mode : AllModes()) {
    const bool covers = mode.mode == VX_Xfer_Copy || mode.mode == VX_Xfer_InFront;
    for (int variant = 0; variant < 4; ++variant) {
      bool good = true;
      for (int run = 0; good && run < (covers ? 342 : 276); ++run) {
        const bool is_long = run >= 276;
        const int count = is_long ? 240 + (run - 276) / 2 : run % 69 - 1;
        const auto* tables = (variant & 2) != 0 ? &LinearTables()[size_t(run % 3)] : nullptr;
        VX_BlendingMode<TypeParam> options = {};
        options.mode = mode.mode;
        options.seed = static_cast<int32_t>(operands.Word());
        const bool full = is_long ? run % 2 == 0 : run < 69;
        options.opacity = full ? kFull<TypeParam> : operands.Opacity();
        options.keepDstAlpha = operands.Below(3) == 0 ? 1 : 0;
        Rows<TypeParam> rows(&operands, count < 0 ? 0 : count);
        for (auto* row : {&rows.src, &rows.dst}) {
          for (TypeParam& p : *row) {
            if (is_long && operands.Below(9) != 0) p.alpha = kFull<TypeParam>;
          }
        }
        good = Agrees(mode, variant, tables, count, options, rows);
      }
    }
  }
}

// A pixel blends beside others as it does alone, also if it or a neighbour is not a number.
TYPED_TEST(RowLoops, NeighboursDoNotMatter) {
  Operands<TypeParam> operands(5);
  constexpr int kCount = 203;
  for (const ModeName& mode : AllModes()) {
    if (mode.mode == VX_Xfer_Dissolve) continue;  // its seed depends on the position
    for (int variant = 0; variant < 4; ++variant) {
      VX_BlendingMode<TypeParam> options = {};
      options.mode = mode.mode;
      options.opacity = operands.Below(2) == 0 ? kFull<TypeParam> : kFull<TypeParam> / 2;
      std::vector<TypeParam> src = operands.Row(kCount), dst = operands.Row(kCount);
      const std::vector<TypeParam> mask = operands.Row(kCount);
      if constexpr (kDepth<TypeParam> == 32) {
        for (size_t i = 0; i < kCount; i += 7) dst[i].alpha = std::nanf("");
        for (size_t i = 3; i < kCount; i += 13) src[i].alpha = std::nanf("");
      }
      std::vector<TypeParam> alone = dst;
      VX_InnerBlendingFunc<TypeParam> func = {};
      ASSERT_EQ(Select(variant, mode.mode, &func), 0);
      const auto scan = [&](size_t from, int count, std::vector<TypeParam>* onto) {
        EXPECT_EQ(func.scan(count, &options, &LinearTables()[0], src.data() + from,
                            mask.data() + from, onto->data() + from),
                  0);
      };
      for (size_t i = 0; i < kCount; ++i) scan(i, 1, &alone);
      scan(0, kCount, &dst);
      EXPECT_LT(FirstDifference(alone, dst), 0) << mode.name << ", variant " << variant;
    }
  }
}

TYPED_TEST(RowLoops, Refusals) {
  Operands<TypeParam> operands(4);
  const std::vector<TypeParam> before = operands.Row(20), src = operands.Row(20);
  std::vector<TypeParam> dst = before;
  VX_BlendingMode<TypeParam> options = {};
  VX_InnerBlendingFunc<TypeParam> func = {};
  VX_ChannelOf<TypeParam> alpha[20];
  for (int variant = 0; variant < 4; ++variant) {
    TakeReportTexts();
    for (const int mode : {-1, -4, 37, INT32_MIN, INT32_MAX}) {
      func = {};
      EXPECT_EQ(Select(variant, mode, &func), VX_ErrUnsupported) << mode;
      EXPECT_EQ(func.scan, nullptr) << mode;
      EXPECT_EQ(TakeReportTexts(), std::vector<std::string>{"unimplemented blending mode."});
      options.mode = mode;
      const VX_BlendModeDescriptor<TypeParam> d(options, (variant & 1) != 0, nullptr);
      EXPECT_EQ(d.scan, nullptr) << mode;
      EXPECT_FALSE(d.usesMatte || d.usesBehindPass || d.savesDstAlpha || d.usesAlphaUnion) << mode;
      EXPECT_TRUE(d.matteStage == nullptr && d.unmatteStage == nullptr) << mode;
      EXPECT_EQ(TakeReportTexts(), std::vector<std::string>{"unimplemented blending mode."});
    }
    ASSERT_EQ(Select(variant, VX_Xfer_MaskMix, &func), 0);
    EXPECT_EQ(func.scan(20, &options, &LinearTables()[0], src.data(), nullptr, dst.data()),
              VX_ErrBadParameter);
  }
  options.mode = VX_Xfer_MaskMix;
  const VX_BlendModeDescriptor<TypeParam> d(options, false, nullptr);
  EXPECT_EQ(VX_BlendPipeline<TypeParam>(nullptr, 20, &d, src.data(), nullptr, alpha, dst.data()),
            VX_ErrBadParameter);

  for (const ModeName& mode : AllModes()) {
    const bool plain_copy = (mode.mode == VX_Xfer_Scale && kDepth<TypeParam> != 32) ||
                            (mode.mode == VX_Xfer_Copy && kDepth<TypeParam> != 8);
    if (plain_copy) continue;  // has no linear form and needs no tables
    ASSERT_EQ(Select(3, mode.mode, &func), 0);
    TakeReportTexts();
    const int32_t code =
        Thrown([&] { func.scan(20, &options, nullptr, src.data(), src.data(), dst.data()); });
    EXPECT_EQ(code, VX_ErrBadParameter) << mode.name;
    EXPECT_EQ(TakeReportTexts(),
              std::vector<std::string>{"Invalid tables for linearized blending"});
  }
  EXPECT_LT(FirstDifference(before, dst), 0);
}

// An error of a stage ends the pipeline.
TYPED_TEST(RowLoops, PipelineReturnsTheErrorOfEachStage) {
  Operands<TypeParam> operands(6);
  const std::vector<TypeParam> src = operands.Row(20);
  std::vector<TypeParam> dst = operands.Row(20);
  VX_ChannelOf<TypeParam> alpha[20];
  VX_BlendingMode<TypeParam> options = {};
  options.opacity = kFull<TypeParam>;
  static constexpr auto kScan = [](auto...) { return VX_Err{517}; };
  static constexpr auto kStage = [](auto...) { return VX_Err{518}; };
  using Descriptor = VX_BlendModeDescriptor<TypeParam>;
  const struct {
    int32_t mode;
    void (*fail)(Descriptor*);
    VX_Err want;
  } cases[] = {
      {VX_Xfer_Multiply, [](Descriptor*) {}, VX_Ok},
      {VX_Xfer_Multiply, [](Descriptor* d) { d->matteStage = kStage; }, 518},
      {VX_Xfer_Multiply, [](Descriptor* d) { d->scan = kScan; }, 517},
      {VX_Xfer_Multiply, [](Descriptor* d) { d->alphaUnionStage = kStage; }, 518},
      {VX_Xfer_Multiply, [](Descriptor* d) { d->unmatteStage = kStage; }, 518},
      {VX_Xfer_Luminosity, [](Descriptor* d) { d->behindScan = kScan; }, 517},
  };
  for (const auto& c : cases) {
    options.mode = c.mode;
    Descriptor d(options, false, nullptr);
    c.fail(&d);
    EXPECT_EQ(VX_BlendPipeline<TypeParam>(nullptr, 20, &d, src.data(), nullptr, alpha, dst.data()),
              c.want)
        << &c - cases;
  }
}

}  // namespace

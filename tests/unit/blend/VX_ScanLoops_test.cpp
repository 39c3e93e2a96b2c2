// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The row loops of all modes against their slow twin.

#include "../../reference/RefScan.h"
#include "BlendTestKit.h"

namespace {

template <class Pixel>
VX_Err Select(bool has_mask, bool linear, int mode, VX_InnerBlendingFunc<Pixel>* out) {
  if (has_mask) {
    return linear ? VX_GetInnerBlendingFunc<Pixel, true, true>(mode, out)
                  : VX_GetInnerBlendingFunc<Pixel, true, false>(mode, out);
  }
  return linear ? VX_GetInnerBlendingFunc<Pixel, false, true>(mode, out)
                : VX_GetInnerBlendingFunc<Pixel, false, false>(mode, out);
}

// Which rows are one and the same memory.
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

template <class Pixel>
std::string Describe(const VX_BlendingMode<Pixel>& options, const Rows<Pixel>& before, int count,
                     int at) {
  Rows<Pixel> rows = before;
  const int i = at - rows.dst_start;
  std::string text = "count " + std::to_string(count) + ", opacity " + Text(options.opacity) +
                     (options.keepDstAlpha ? ", keeping alpha" : "") + ", seed " +
                     std::to_string(options.seed) + ", alias " +
                     std::to_string(static_cast<int>(rows.alias)) + ", pixel " + std::to_string(i);
  if (i < 0 || i >= count) return text + " (outside the row)";
  return text + ": " + Text(rows.Src()[i]) + " with mask " + Text(rows.Mask()[i].alpha) + " over " +
         Text(rows.Dst()[i]);
}

// Compares one row. False after a failure.
template <class Pixel>
bool Agrees(const ModeName& mode, bool has_mask, const VX_LinearBlendingTables* tables, int count,
            const VX_BlendingMode<Pixel>& options, const Rows<Pixel>& before) {
  const bool linear = tables != nullptr;
  const bool give_mask = has_mask || mode.mode == VX_Xfer_MaskMix;
  VX_InnerBlendingFunc<Pixel> func = {};
  EXPECT_EQ(Select(has_mask, linear, mode.mode, &func), 0);
  if (func.scan == nullptr) return false;
  Rows<Pixel> want = before;
  Rows<Pixel> got = before;
  vxref::Scan(mode.mode, has_mask, linear, count, &options, tables, want.Src(),
              give_mask ? want.Mask() : nullptr, want.Dst());
  EXPECT_EQ(
      func.scan(count, &options, tables, got.Src(), give_mask ? got.Mask() : nullptr, got.Dst()),
      0);
  int at = FirstDifference(want.dst, got.dst);
  if (at >= 0) {
    ADD_FAILURE() << mode.name << " (" << mode.mode << "), " << kDepth<Pixel> << " bits, "
                  << (linear ? "linear" : "stored") << (has_mask ? ", masked, " : ", ")
                  << Describe(options, before, count, at) << " gives "
                  << Text(got.dst[static_cast<size_t>(at)]) << ", not "
                  << Text(want.dst[static_cast<size_t>(at)]);
    return false;
  }
  const bool unchanged =
      FirstDifference(before.src, got.src) < 0 && FirstDifference(before.mask, got.mask) < 0;
  EXPECT_TRUE(unchanged) << mode.name << " writes to its source or mask";
  return unchanged;
}

template <class Pixel>
class ScanLoops : public testing::Test {};
TYPED_TEST_SUITE(ScanLoops, PixelTypes, DepthNames);

TYPED_TEST(ScanLoops, AgreeWithTwin) {
  Operands<TypeParam> operands(2);
  for (const ModeName& mode : AllModes()) {
    for (int variant = 0; variant < 4; ++variant) {
      const bool has_mask = (variant & 1) != 0;
      bool good = true;
      // Full opacity first: loops have a form of their own for it.
      for (int round = 0; good && round < 4; ++round) {
        const VX_LinearBlendingTables* tables =
            (variant & 2) != 0 ? &LinearTables()[static_cast<size_t>(round % 3)] : nullptr;
        for (int count = -1; good && count <= 67; ++count) {
          VX_BlendingMode<TypeParam> options = {};
          options.mode = mode.mode;
          options.seed = static_cast<int32_t>(operands.Word());
          options.opacity = round == 0 ? kFull<TypeParam> : operands.Opacity();
          options.keepDstAlpha = operands.Below(3) == 0 ? 1 : 0;
          const Rows<TypeParam> rows(&operands, count < 0 ? 0 : count);
          good = Agrees(mode, has_mask, tables, count, options, rows);
        }
      }
    }
  }
}

// Stretches that cover, in rows of the lengths around which loops may prepare for them.
TYPED_TEST(ScanLoops, CoveringStretchesAgreeWithTwin) {
  Operands<TypeParam> operands(31);
  for (const ModeName& mode : AllModes()) {
    if (mode.mode != VX_Xfer_Copy && mode.mode != VX_Xfer_InFront) continue;
    for (int count = 240; count <= 272; ++count) {
      for (int variant = 0; variant < 8; ++variant) {
        VX_BlendingMode<TypeParam> options = {};
        options.mode = mode.mode;
        options.opacity = (variant & 4) != 0 ? kFull<TypeParam> : operands.Opacity();
        options.keepDstAlpha = static_cast<uint8_t>(operands.Below(2));
        Rows<TypeParam> rows(&operands, count);
        for (TypeParam& p : rows.src) p.alpha = operands.Below(9) != 0 ? kFull<TypeParam> : p.alpha;
        for (TypeParam& p : rows.dst) p.alpha = operands.Below(9) != 0 ? kFull<TypeParam> : p.alpha;
        const auto* tables = (variant & 2) != 0 ? &LinearTables()[size_t(count % 3)] : nullptr;
        if (!Agrees(mode, (variant & 1) != 0, tables, count, options, rows)) return;
      }
    }
  }
}

// Nothing of the pixel moves, not even by a way to linear light and back.
TYPED_TEST(ScanLoops, TransparentSourceLeavesDestination) {
  Operands<TypeParam> operands(3);
  for (const ModeName& mode : AllModes()) {
    if (mode.mode <= VX_Xfer_Copy || mode.mode == VX_Xfer_StencilAlpha ||
        mode.mode == VX_Xfer_StencilLuma || mode.mode == VX_Xfer_PremulOver) {
      continue;  // these act where the source is transparent
    }
    for (int variant = 0; variant < 4; ++variant) {
      VX_BlendingMode<TypeParam> options = {};
      options.mode = mode.mode;
      options.opacity = kFull<TypeParam>;
      std::vector<TypeParam> src = operands.Row(40);
      for (TypeParam& p : src) p.alpha = 0;
      const std::vector<TypeParam> mask = operands.Row(40);
      const std::vector<TypeParam> before = operands.Row(40);
      std::vector<TypeParam> dst = before;
      VX_InnerBlendingFunc<TypeParam> func = {};
      ASSERT_EQ(Select((variant & 1) != 0, (variant & 2) != 0, mode.mode, &func), 0);
      EXPECT_EQ(func.scan(40, &options, &LinearTables()[0], src.data(), mask.data(), dst.data()),
                0);
      EXPECT_LT(FirstDifference(before, dst), 0) << mode.name << ", variant " << variant;
    }
  }
}

// What comes of a pixel is its own affair: beside others it blends as it does alone, also where it
// or a neighbour is not a number.
TYPED_TEST(ScanLoops, NeighboursDoNotMatter) {
  Operands<TypeParam> operands(5);
  constexpr int kCount = 203;
  for (const ModeName& mode : AllModes()) {
    if (mode.mode == VX_Xfer_Dissolve) continue;  // draws along the row
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
      ASSERT_EQ(Select((variant & 1) != 0, (variant & 2) != 0, mode.mode, &func), 0);
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

TYPED_TEST(ScanLoops, Refusals) {
  TakeReportTexts();
  Operands<TypeParam> operands(4);
  const std::vector<TypeParam> before = operands.Row(20);
  const std::vector<TypeParam> src = operands.Row(20);
  std::vector<TypeParam> dst = before;
  VX_BlendingMode<TypeParam> options = {};
  options.opacity = kFull<TypeParam>;

  for (const int mode : {-1, -4, 37, INT32_MIN, INT32_MAX}) {
    for (int variant = 0; variant < 4; ++variant) {
      VX_InnerBlendingFunc<TypeParam> func = {};
      EXPECT_EQ(Select((variant & 1) != 0, (variant & 2) != 0, mode, &func), 5) << mode;
      EXPECT_EQ(func.scan, nullptr) << mode;
      EXPECT_EQ(TakeReportTexts(), std::vector<std::string>{"unimplemented blending mode."});
    }
  }

  for (const ModeName& mode : AllModes()) {
    const bool plain_copy = (mode.mode == VX_Xfer_Scale && kDepth<TypeParam> != 32) ||
                            (mode.mode == VX_Xfer_Copy && kDepth<TypeParam> != 8);
    if (plain_copy) continue;  // has no linear form, and needs no tables
    VX_InnerBlendingFunc<TypeParam> func = {};
    ASSERT_EQ(Select(true, true, mode.mode, &func), 0);
    try {
      func.scan(20, &options, nullptr, src.data(), src.data(), dst.data());
      ADD_FAILURE() << mode.name << " blends in linear light without tables";
    } catch (int32_t err) {
      EXPECT_EQ(err, 3) << mode.name;
    }
    EXPECT_EQ(TakeReportTexts(), std::vector<std::string>{"Invalid tables for linearized blending"})
        << mode.name;
  }

  for (int variant = 0; variant < 4; ++variant) {
    VX_InnerBlendingFunc<TypeParam> func = {};
    ASSERT_EQ(Select((variant & 1) != 0, (variant & 2) != 0, VX_Xfer_MaskMix, &func), 0);
    EXPECT_EQ(func.scan(20, &options, &LinearTables()[0], src.data(), nullptr, dst.data()), 3);
  }
  EXPECT_LT(FirstDifference(before, dst), 0);
}

}  // namespace

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// One-channel buffers: allocation, and what the random commands do not reach in scans. Those are
// the largest radii and float samples that are infinite or not a number.

#include "VX/VX_UnoBuffer.h"

#include <cmath>
#include <utility>

#include "VX/VX_OverrideTable.h"
#include "host/U.h"
#include "reference/RefUno.h"
#include "unit/GuardedWorld.h"
#include "unit/PixelTestKit.h"

namespace {

TEST(UnoBuffer, SizesAndDepths) {
  struct Case {
    int32_t width, height, depth;
    VX_Err error;
  };
  const Case cases[] = {
      {1, 1, 8, 0},          {7, 5, 16, 0},         {7, 5, 32, 0},         {3, 3, 1, 0},
      {3, 3, 0, 0},          {0, 5, 8, 3},          {5, 0, 16, 3},         {-1, -1, 8, 3},
      {5, 5, 24, 3},         {5, 5, -8, 3},         {65536, 32768, 8, 3},  {65536, 65536, 8, 3},
      {32768, 32768, 16, 3}, {23171, 23171, 32, 3}, {INT32_MAX, 1, 16, 3}, {1, INT32_MAX, 32, 3},
      {INT32_MAX, 2, 8, 3},  {65536, 65537, 32, 3}, {INT32_MIN, 1, 8, 3}};
  const VXHost_Memory before = VXHost_GetMemory();
  Reports();
  for (const Case& c : cases) {
    VX_UnoBuffer other(1, 1, 8);
    VX_UnoBuffer* buffer = &other;
    EXPECT_EQ(VX_NewUnoBufferOfDepth(c.width, c.height, c.depth, &buffer), c.error);
    EXPECT_EQ(Reports().size(), c.error == 0 ? 0u : 1u) << c.width << " x " << c.height;
    EXPECT_EQ(Thrown([&] { VX_UnoBuffer(c.width, c.height, c.depth); }), c.error);
    VXHost_TakeReports();
    ASSERT_EQ(buffer == nullptr, c.error != 0);
    if (buffer == nullptr) continue;
    EXPECT_EQ(buffer->magic, 0xFEEDABBA);
    EXPECT_EQ(buffer->width, c.width);
    EXPECT_EQ(buffer->height, c.height);
    EXPECT_EQ(buffer->depth, c.depth);
    EXPECT_EQ(buffer->reserved, 0);
    const int32_t bytes = c.depth == 32 ? 4 : c.depth == 16 || c.depth == 0 ? 2 : 1;
    std::memset(*buffer->data, 0xA5, static_cast<size_t>(c.width * c.height * bytes));
    EXPECT_EQ(VX_DisposeUnoBuffer(buffer), 0);
  }
  VX_UnoBuffer* deep = nullptr;
  ASSERT_EQ(VX_NewDeepUnoBuffer(2, 2, &deep), 0);
  EXPECT_EQ(deep->depth, 16);
  EXPECT_EQ(VX_DisposeUnoBuffer(deep), 0);
  EXPECT_EQ(VX_DisposeUnoBuffer(nullptr), 0);
  EXPECT_TRUE(Reports().empty());
  // A record without samples is reported and freed.
  VX_UnoBuffer* lost = nullptr;
  ASSERT_EQ(VX_NewUnoBuffer(2, 2, &lost), 0);
  U_FreeHandle(std::exchange(lost->data, nullptr));
  EXPECT_EQ(VX_DisposeUnoBuffer(lost), 0);
  EXPECT_EQ(Reports(), (ReportList{{0x250052, "damaged mask buffer"}}));
  const VXHost_Memory after = VXHost_GetMemory();
  EXPECT_EQ(after.blocks, before.blocks);
  EXPECT_EQ(after.accounted, before.accounted);
}

// Each source and mask value over 0 and over 255: d + m (s - d) / 255 is rounded to the nearest,
// and a half does not occur.
TEST(UnoBuffer, TransferRoundsToTheNearestByte) {
  VX_UnoBuffer src(256, 256, 8), mask(256, 256, 8), dst(256, 256, 8);
  const auto bytes = [](VX_UnoBuffer& b) { return static_cast<uint8_t*>(*b.data); };
  for (int i = 0; i < 65536; ++i) {
    bytes(src)[i] = static_cast<uint8_t>(i % 256), bytes(mask)[i] = static_cast<uint8_t>(i / 256);
  }
  for (const int d : {0, 255}) {
    ASSERT_EQ(VX_FillUnoBuffer(static_cast<uint8_t>(d), &dst), 0);
    ASSERT_EQ(VX_TransferUnoBuffers(nullptr, &src, &mask, 0, nullptr, nullptr, &dst), 0);
    for (int i = 0; i < 65536; ++i) {
      ASSERT_EQ(bytes(dst)[i], std::lround(d + (i / 256) * (i % 256 - d) / 255.0)) << i;
    }
  }
}

// --- scans ---------------------------------------------------------------------------------------

// Sums of float windows may be added in another order than by the twin.
template <class Sample>
constexpr double kTolerance = std::is_same_v<Sample, float> ? 4e-7 : 0;

template <class Sample>
void CheckScans(VX_BlurScanFunc<Sample> box, VX_BlurScanFunc<Sample> gaussian) {
  Operands<VX_PixelFloat> random(6);
  constexpr VX_Fixed kLargest = 32767 << 16;  // of a Gaussian
  for (const VX_Fixed radius : {700 << 16, 5000 << 16, kLargest, INT32_MAX}) {
    std::vector<Sample> scratch(static_cast<size_t>(VX_UnoScanScratch(50, radius)));
    for (int32_t run = 0; run < 12; ++run) {
      const int32_t kind = run % 3, start = run < 6 ? 0 : 10, end = run < 6 ? 50 : 20;
      const bool is_box = run % 2 == 0;
      if (!is_box && kind == 1 && radius > kLargest) continue;
      std::vector<Sample> got(50);
      const int32_t top = std::is_same_v<Sample, float> ? 2 : std::numeric_limits<Sample>::max();
      for (Sample& s : got) s = static_cast<Sample>(random.Below(1000) * top / 999);
      std::vector<Sample> want = got;
      const auto scan = is_box ? box : gaussian;
      EXPECT_EQ(scan(kind, 50, start, end, radius, scratch.data(), got.data()), 0);
      (is_box ? vxref::BoxScan<Sample> : vxref::GaussianScan<Sample>)(kind, start, end, radius,
                                                                      &want);
      for (size_t i = 0; i < 50; ++i) {
        ASSERT_NEAR(got[i], want[i], kTolerance<Sample>)
            << "sample " << i << ", radius " << radius / 65536.0 << ", kind " << kind;
      }
    }
  }
}
TEST(UnoScans, LargestRadii) {
  CheckScans<uint8_t>(&VX_BoxBlurUnoScan, &VX_GBlurUnoScan);
  CheckScans<uint16_t>(&VX_BoxBlurDeepUnoScan, &VX_GBlurDeepUnoScan);
  CheckScans<float>(&VX_BoxBlurFloatUnoScan, &VX_GBlurFloatUnoScan);
}

// Infinity and NaN have no effect after the window is empty, and rounding errors do not remain.
TEST(UnoScans, FloatsLeaveNoTrace) {
  std::vector<float> line(120, 0.0f), scratch(400);
  line[20] = HUGE_VALF, line[50] = std::nanf(""), line[80] = 1e30f, line[81] = 0.1f;
  ASSERT_EQ(VX_BoxBlurFloatUnoScan(0, 120, 0, 120, 6 << 16, scratch.data(), line.data()), 0);
  for (const size_t at : {10u, 30u, 40u, 60u, 70u, 90u, 119u}) EXPECT_EQ(line[at], 0.0f) << at;
}

TEST(UnoScans, ScratchIsTheLineAndAWindowOnEachSide) {
  EXPECT_EQ(VX_UnoScanScratch(100, 0), 102);
  EXPECT_EQ(VX_UnoScanScratch(100, 65536), 106);
  EXPECT_EQ(VX_UnoScanScratch(100, 65537), 110);
  EXPECT_EQ(VX_UnoScanScratch(-5, -65536), 2);
  EXPECT_EQ(VX_UnoScanScratch(INT32_MAX, INT32_MAX), INT32_MAX);
}

}  // namespace

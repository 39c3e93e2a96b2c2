// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// One-channel buffers: allocation, and what the random commands do not reach in scans: float
// samples that are infinite or not a number.

#include "VX/VX_UnoBuffer.h"

#include <cmath>
#include <utility>

#include "host/U.h"
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
    EXPECT_TRUE(buffer->magic == 0xFEEDABBA && buffer->reserved == 0);
    EXPECT_TRUE(buffer->width == c.width && buffer->height == c.height && buffer->depth == c.depth);
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

// --- scans ---------------------------------------------------------------------------------------

// Infinity and NaN have no effect after the window is empty, and rounding errors do not remain.
// Random samples are seldom in the middle between two results.
TEST(UnoBuffer, HalvesOfAGainAreRoundedDown) {
  VX_UnoBuffer from(2, 1, 16), to(2, 1, 16);
  auto* const samples = static_cast<uint16_t*>(*from.data);
  samples[0] = 3;  // 1.5
  samples[1] = 5;  // 2.5
  ASSERT_EQ(VX_AccumulateUnoBuffers(nullptr, &from, VX_UnoAccumulate_Replace, 0.5f, 1, nullptr,
                                    nullptr, &to),
            0);
  EXPECT_EQ(static_cast<uint16_t*>(*to.data)[0], 1);
  EXPECT_EQ(static_cast<uint16_t*>(*to.data)[1], 2);
}

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

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Feathers of whole buffers and scans: empty areas, progress, slots and refusals. Their samples are
// compared with twins in VX_UnoTwin_test.cpp.

#include "VX/VX_UnoBuffer.h"
#include "unit/filters/BlurTestKit.h"

namespace {

// A buffer and its samples.
template <class Sample>
struct Picture {
  Picture(int32_t width, int32_t height) : buffer(width, height, 8 * sizeof(Sample)) {
    std::fill(begin(), end(), Sample{0});
  }
  Picture(int32_t width, int32_t height, uint32_t seed) : Picture(width, height) {
    std::mt19937 random(seed);
    for (Sample& s : *this) s = static_cast<Sample>(random() % 32769 >> (sizeof s == 1 ? 8 : 0));
  }
  Sample* begin() { return static_cast<Sample*>(*buffer.data); }
  Sample* end() { return begin() + ptrdiff_t{buffer.width} * buffer.height; }
  bool operator==(Picture& other) {
    return std::memcmp(begin(), other.begin(),
                       static_cast<size_t>(end() - begin()) * sizeof(Sample)) == 0;
  }

  VX_UnoBuffer buffer;
};

std::vector<std::string> ReportTexts() {
  std::vector<std::string> texts;
  for (const auto& [check, text] : Reports()) texts.push_back(text);
  return texts;
}

// Infinity and NaN have no effect after the window is empty, and rounding errors do not remain.
TEST(FeathersOfFloats, LeaveNoTrace) {
  std::vector<float> line(120, 0.0f), scratch(400);
  line[20] = HUGE_VALF, line[50] = std::nanf(""), line[80] = 1e30f, line[81] = 0.1f;
  ASSERT_EQ(VX_BoxBlurFloatUnoScan(0, 120, 0, 120, 6 << 16, scratch.data(), line.data()), 0);
  for (const int place : {10, 30, 40, 60, 70, 90, 119}) {
    EXPECT_EQ(line[static_cast<size_t>(place)], 0.0f) << place;
  }
}

// --- progress ------------------------------------------------------------------------------------

// Rows and then tiles of columns, in one count.
TEST(FeathersTold, StepByStepUntilStopped) {
  for (const bool threads : {false, true}) {
    int32_t calls = 0, last = 0, stop_at = 0;
    OnStep on_step = [&](int32_t step, int32_t final_step) -> VX_Err {
      EXPECT_EQ(this_thread_index, 0);
      EXPECT_EQ(final_step, 50 + 3);
      EXPECT_TRUE(threads ? step > last && step <= 53 : step == last + 1);
      last = step;
      return ++calls == stop_at ? VX_ErrStopped : 0;
    };
    VX_ProgressInfo progress = ProgressOf(&on_step);
    const std::unique_ptr<IteratorReplaced> several(threads ? new IteratorReplaced : nullptr);
    VX_UnoBuffer buffer(130, 50, 8);
    EXPECT_EQ(VX_FillUnoBuffer(7, &buffer), 0);
    for (const int stop : {0, 5}) {
      calls = last = 0, stop_at = stop;
      EXPECT_EQ(VX_FeatherUnoBuffer(&progress, 1, 3, 3, &buffer), stop == 0 ? 0 : VX_ErrStopped);
      EXPECT_EQ(calls, stop != 0 ? stop : threads ? 13 + 1 : 53);
    }
  }
}

// Rows of small boxes go through the slots of the scans, and an error code of the slot ends the
// work. Larger boxes do not, because scans let the left edge fade.
TEST(FeathersTold, RowsOfSmallBoxesGoThroughTheScansSlots) {
  VXp_OverrideTable kept;
  std::memcpy(static_cast<void*>(&kept), &VXp_G_OverFuncs, sizeof kept);
  VXp_G_OverFuncs.VX_BoxBlurUnoScan = [](int32_t, int32_t, int32_t, int32_t, VX_Fixed, uint8_t*,
                                         uint8_t*) -> VX_Err { return 41; };
  VXp_G_OverFuncs.VX_BoxBlurDeepUnoScan = [](int32_t, int32_t, int32_t, int32_t, VX_Fixed,
                                             uint16_t*, uint16_t*) -> VX_Err { return 42; };
  VX_UnoBuffer bytes(5, 5, 8), words(5, 5, 16);
  EXPECT_EQ(VX_FeatherUnoBuffer(nullptr, VX_Feather_Box, 1.9, 3, &bytes), 41);
  EXPECT_EQ(VX_FeatherUnoBuffer(nullptr, VX_Feather_Soft, 2.7, 3, &words), 42);
  EXPECT_EQ(VX_FeatherUnoBuffer(nullptr, VX_Feather_Box, 2, 1, &bytes), 0);
  EXPECT_EQ(VX_FeatherUnoBuffer(nullptr, VX_Feather_Soft, 2.8, 1, &words), 0);
  std::memcpy(static_cast<void*>(&VXp_G_OverFuncs), &kept, sizeof kept);
}

// --- refusals -----------------------------------------------------------------------------

TEST(FeathersRefused, KindsRadiiAndBuffers) {
  Picture<uint8_t> good(9, 9, 1), old(9, 9, 1), same(9, 9, 1);
  old.buffer.depth = 1;
  struct Refusal {
    int32_t feather;
    double x, y;
    VX_UnoBuffer* buffer;
    const char* text;
  };
  const char *const kind = "unknown kind of feather", *const radius = "feather radius out of range";
  const Refusal refusals[] = {{-1, 1, 1, &good.buffer, kind},
                              {3, 1, 1, &good.buffer, kind},
                              {0, -0.5, 1, &good.buffer, radius},
                              {1, 1, 32767.5, &good.buffer, radius},
                              {2, std::nan(""), 1, &good.buffer, radius},
                              {2, 1, HUGE_VAL, &good.buffer, radius},
                              {0, 1, 1, nullptr, "damaged mask buffer"},
                              {0, 1, 1, &old.buffer, "Unknown world bitdepth in##CONDITIONNAME"}};
  ReportTexts();
  for (const Refusal& r : refusals) {
    EXPECT_EQ(VX_FeatherUnoBuffer(nullptr, r.feather, r.x, r.y, r.buffer), 3) << r.text;
    EXPECT_EQ(ReportTexts(), std::vector<std::string>{r.text});
  }
  EXPECT_TRUE(good == same);
  EXPECT_TRUE(old == same);
  old.buffer.depth = 8;
}

// If there is nothing to do, line and scratch may be null.
TEST(ScansRefused, PartsAndPointers) {
  struct Refusal {
    int32_t start, end;
    VX_Fixed radius;
    bool line, scratch;
    VX_Err code;
  };
  constexpr Refusal kRefusals[] = {
      {-1, 5, 65536, true, true, 3},       {0, 11, 65536, true, true, 3},
      {6, 5, 65536, true, true, 3},        {0, 10, 65536, false, true, 3},
      {0, 10, 65536, true, false, 3},      {4, 4, 65536, false, false, 0},
      {0, 10, 0, false, false, 0},         {-9, 99, -65536, false, false, 0},
      {0, INT32_MAX, 65536, true, true, 3}};
  for (const bool box : {true, false}) {
    for (const int32_t kind : {0, 1, 2}) {
      for (const Refusal& r : kRefusals) {
        std::vector<uint16_t> line(10, 9), scratch(100);
        line[5] = 30000;
        const std::vector<uint16_t> before = line;
        ReportTexts();
        const auto scan = box ? VX_BoxBlurDeepUnoScan : VX_GBlurDeepUnoScan;
        EXPECT_EQ(scan(kind, 10, r.start, r.end, r.radius, r.scratch ? scratch.data() : nullptr,
                       r.line ? line.data() : nullptr),
                  r.code);
        EXPECT_EQ(ReportTexts().size(), r.code == 0 ? 0u : 1u);
        EXPECT_EQ(line, before);
      }
    }
  }
}

TEST(ScanScratch, HoldsTheLineAndAWindowOnEachSide) {
  EXPECT_EQ(VX_UnoScanScratch(100, 0), 102);
  EXPECT_EQ(VX_UnoScanScratch(100, 65536), 106);
  EXPECT_EQ(VX_UnoScanScratch(100, 65537), 110);
  EXPECT_EQ(VX_UnoScanScratch(-5, -65536), 2);
  EXPECT_EQ(VX_UnoScanScratch(INT32_MAX, INT32_MAX), INT32_MAX);
}

}  // namespace

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// How filters run over lines: progress and stops, several threads, error codes of the iterator and
// of slots. One row for each operation.

#include <algorithm>
#include <memory>
#include <numeric>

#include "VX/VX_Blur.h"
#include "VX/VX_Convolve.h"
#include "VX/VX_OverrideTable.h"
#include "VX/VX_UnoBuffer.h"
#include "frame/VXp_Bands.h"
#include "unit/GuardedWorld.h"
#include "unit/PixelTestKit.h"
#include "unit/Polls.h"

namespace {

// --- operations ----------------------------------------------------------------------------------

struct Scene {
  Scene() {
    std::mt19937 random(7);
    for (VX_UnoBuffer* b : {&from, &mask, &to}) {
      auto* const bytes = static_cast<uint8_t*>(*b->data);
      for (int32_t i = 0; i < b->width * b->height; ++i) bytes[i] = static_cast<uint8_t>(random());
    }
  }
  std::vector<uint8_t> Bytes() const {
    std::vector<uint8_t> all = dst.bytes;
    const auto* const samples = static_cast<const uint8_t*>(*to.data);
    all.insert(all.end(), samples, samples + to.width * to.height);
    return all;
  }

  GuardedWorld<VX_Pixel8> src{70, 50, 3, 1}, dst{70, 50, 3, 2};
  VX_UnoBuffer from{330, 240, 8}, mask{330, 240, 8}, to{330, 240, 8};
};

// A pass of a box, or of a Gaussian if there are no iterations.
void BlurPass(Scene& s, VX_ProgressInfo* p, int32_t iterations, int32_t from, int32_t to) {
  VX_WorldX<VX_Pixel8> src(&s.src.world, true), dst(&s.dst.world, true);
  if (iterations == 0) {
    VX_GaussianBlur1D(p, &src, 1.5f, 15, from, 0, to, 0, 0, &dst);
  } else {
    VX_BoxBlur1D(p, &src, 1.5f, iterations, 15, from, 0, to, 0, 0, &dst);
  }
}
VX_Err Feather(Scene& s, VX_ProgressInfo* p, int32_t kind) {
  return VX_FeatherUnoBuffer(p, kind, 3, 3, &s.to);
}

struct Row {
  const char* name;
  VX_Err (*run)(Scene& s, VX_ProgressInfo* p);
  int32_t steps;  // lines, each reported by one call
  // Size in bytes of the part of the destination that a line fills; 0: lines are not rows.
  size_t line = 0;
};

constexpr size_t kWorldLine = 70 * 4 + 3, kBufferLine = 330;
const Row kRows[] = {
    {"Gaussian, rows to columns",
     [](Scene& s, auto* p) { return BlurPass(s, p, 0, 0, 1), VX_Err{0}; }, 70},
    {"Gaussian, rows", [](Scene& s, auto* p) { return BlurPass(s, p, 0, 0, 0), VX_Err{0}; }, 50,
     kWorldLine},
    {"box, rows", [](Scene& s, auto* p) { return BlurPass(s, p, 1, 0, 0), VX_Err{0}; }, 50},
    {"box, columns", [](Scene& s, auto* p) { return BlurPass(s, p, 1, 1, 1), VX_Err{0}; }, 70},
    // Rows of the first pass, then columns of the second one.
    {"both axes",
     [](Scene& s, auto* p) {
       const VX_BlurSpec spec = {VX_BlurKind_Box, 2, 2, 1, 15};
       return VX_BlurWorld(p, &s.src.world, &spec, &s.dst.world);
     },
     50 + 70},
    // Rows, then tiles of 64 columns.
    {"box feather", [](Scene& s, auto* p) { return Feather(s, p, 0); }, 240 + 6},
    {"soft feather", [](Scene& s, auto* p) { return Feather(s, p, 1); }, 240 + 6},
    {"Gaussian feather", [](Scene& s, auto* p) { return Feather(s, p, 2); }, 240 + 6},
    {"convert",
     [](Scene& s, auto* p) { return VX_ConvertDeepUnoBuffer(p, &s.from, nullptr, 1, &s.to); }, 240,
     kBufferLine},
    {"transfer",
     [](Scene& s, auto* p) {
       return VX_TransferUnoBuffers(p, &s.from, &s.mask, 3, nullptr, nullptr, &s.to);
     },
     240, kBufferLine},
    {"accumulate",
     [](Scene& s, auto* p) {
       return VX_AccumulateUnoBuffers(p, &s.from, 0, 0.5f, 2, nullptr, nullptr, &s.to);
     },
     240, kBufferLine},
};

// --- iterators -----------------------------------------------------------------------------------

// Restores the table and the number of threads. After each test the host has as much memory in use
// and in its accounts as before.
class FilterRuns : public testing::Test {
 protected:
  void TearDown() override {
    std::memcpy(static_cast<void*>(&VXp_G_OverFuncs), &table_, sizeof table_);
    const VXHost_Memory after = VXHost_GetMemory();
    EXPECT_EQ(after.blocks, before_.blocks);
    EXPECT_EQ(after.frames, before_.frames);
    EXPECT_EQ(after.accounted, before_.accounted);
  }
  const VXHost_Memory before_ = VXHost_GetMemory();
  const VXp_OverrideTable table_ = VXp_G_OverFuncs;
};

// --- progress ------------------------------------------------------------------------------------

VX_Err RunRow(const Row& row, Scene& scene, Polls* polls) {
  VX_ProgressInfo info = polls->Info();
  VX_Err code = 0;
  const VX_Err thrown = Thrown([&] { code = row.run(scene, &info); });
  return thrown != 0 ? thrown : code;
}

TEST_F(FilterRuns, ProgressCountsEachLineAndStopsTheCall) {
  for (const Row& row : kRows) {
    Scene whole;
    const std::vector<uint8_t> before = whole.Bytes();
    Polls all;
    EXPECT_EQ(RunRow(row, whole, &all), 0) << row.name;
    std::vector<int32_t> each(static_cast<size_t>(row.steps));
    std::iota(each.begin(), each.end(), 1);
    EXPECT_EQ(all.steps, each) << row.name;
    EXPECT_EQ(all.final_step, row.steps) << row.name;
    const std::vector<uint8_t> done = whole.Bytes();
    for (const int32_t stop_at : {1, 2, row.steps / 2, row.steps}) {
      Scene scene;
      Polls polls{.stop_at = stop_at};
      EXPECT_EQ(RunRow(row, scene, &polls), polls.code) << row.name;
      EXPECT_EQ(polls.steps.size(), static_cast<size_t>(stop_at)) << row.name;
      if (row.line == 0) continue;
      // Lines before the stop are done, lines after it are unchanged.
      const size_t first = row.line == kWorldLine ? scene.dst.Offset(0, 0) : scene.dst.bytes.size();
      const auto at = static_cast<ptrdiff_t>(first + row.line * static_cast<size_t>(stop_at));
      const std::vector<uint8_t> got = scene.Bytes();
      EXPECT_TRUE(std::equal(got.begin(), got.begin() + at, done.begin())) << row.name;
      EXPECT_TRUE(std::equal(got.begin() + at, got.end(), before.begin() + at)) << row.name;
    }
  }
}

// A convolution reports after a row if more than 2048 taps were done since its last report.
TEST_F(FilterRuns, ConvolutionReportsAfter2048Taps) {
  struct Case {
    int32_t width, height, flags, size, stop_at;
    std::vector<int32_t> steps;
  };
  for (const Case& c : {Case{10, 50, 0, 3, 0, {23, 46}},  // 90 a row: 2070 after 23
                        Case{2048, 5, 0, 1, 0, {2, 4}},   // no report after exactly 2048
                        Case{2049, 2, 1, 1, 0, {1, 2}},   // each row
                        Case{100, 60, 33, 5, 0, {5, 10, 15, 20, 25, 30, 35, 40, 45, 50, 55, 60}},
                        Case{1, 20, 1, 65535, 2, {1, 2}},  // taps outside of the source count too
                        Case{10, 60, 0, 3, 46, {23, 46}}}) {
    GuardedWorld<VX_Pixel8> src(c.width, c.height, 0, 1), dst(c.width, c.height, 0, 2);
    Polls polls{.stop_at = c.stop_at};
    VX_ProgressInfo info = polls.Info();
    const std::vector<int32_t> k(65535, 1);
    EXPECT_EQ(VX_Convolve(&info, &src.world, nullptr, c.flags, c.size, k.data(), k.data(), k.data(),
                          k.data(), &dst.world),
              c.stop_at == 0 ? 0 : polls.code);
    EXPECT_EQ(polls.steps, c.steps) << c.width << " x " << c.height;
    EXPECT_EQ(polls.final_step, c.height);
  }
}

// --- slots ---------------------------------------------------------------------------------------

template <VX_Err code, class... Arguments>
void Give(VX_Err (*&slot)(Arguments...)) {
  slot = [](Arguments...) -> VX_Err { return code; };
}

// Rows go through their slots, whose codes end the call. Box feathers use the slots of the scans
// for small radii at 8 and 16 bits only, because larger scans let the left edge fade.
TEST_F(FilterRuns, RowsOfBuffersGoThroughTheirSlots) {
  Give<41>(VXp_G_OverFuncs.VX_UnoFadeRow);
  Give<42>(VXp_G_OverFuncs.VX_UnoFadeRow16);
  Give<43>(VXp_G_OverFuncs.VX_UnoTransferRow);
  Give<44>(VXp_G_OverFuncs.VX_UnoTransferRow16);
  Give<45>(VXp_G_OverFuncs.VX_UnoTransferRowFloat);
  Give<46>(VXp_G_OverFuncs.VX_UnoConvertRow);
  Give<47>(VXp_G_OverFuncs.VX_UnoAccumulateRow);
  Give<48>(VXp_G_OverFuncs.VX_BoxBlurUnoScan);
  Give<49>(VXp_G_OverFuncs.VX_BoxBlurDeepUnoScan);
  struct Case {
    int32_t depth;
    std::vector<VX_Err> codes;
  };
  for (const Case& c :
       {Case{8, {41, 41, 46, 43, 47, 48, 0, 48, 0}}, Case{16, {42, 42, 46, 44, 47, 49, 0, 49, 0}},
        Case{32, {0, 0, 46, 45, 47, 0, 0, 0, 0}}}) {
    VX_UnoBuffer s(5, 5, c.depth), d(5, 5, c.depth);
    for (const VX_UnoBuffer* b : {&s, &d})
      std::memset(*b->data, 0, 25u * sizeof(float) * c.depth / 32);
    const auto feather = [&](int32_t kind, double radius) {
      return VX_FeatherUnoBuffer(nullptr, kind, radius, 1, &d);
    };
    EXPECT_EQ((std::vector<VX_Err>{
                  VX_FadeUnoBuffer(0.3, &d), VX_InvertAndFadeUnoBuffer(nullptr, 30000, &d),
                  VX_ConvertDeepUnoBuffer(nullptr, &s, nullptr, 1, &d),
                  VX_TransferUnoBuffers(nullptr, &s, nullptr, 3, nullptr, nullptr, &d),
                  VX_AccumulateUnoBuffers(nullptr, &s, 0, 0.5f, 2, nullptr, nullptr, &d),
                  feather(VX_Feather_Box, 1.9), feather(VX_Feather_Box, 2),
                  feather(VX_Feather_Soft, 2.7), feather(VX_Feather_Soft, 2.8)}),
              c.codes)
        << c.depth << " bits";
  }
}

}  // namespace

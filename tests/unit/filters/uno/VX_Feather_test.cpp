// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Feathering of whole buffers: the scans line by line but with the level held at all four edges, on
// threads, told and stopped; and what scans refuse. Samples are held against twins beside this
// file.

#include "VX/VX_UnoBuffer.h"
#include "unit/filters/BlurTestKit.h"

namespace {

template <class Sample>
class Feathers : public testing::Test {};
using Samples = testing::Types<uint8_t, uint16_t, float>;
TYPED_TEST_SUITE(Feathers, Samples);

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
  Sample& At(int32_t x, int32_t y) { return begin()[ptrdiff_t{y} * buffer.width + x]; }
  void Turn() { std::reverse(begin(), end()); }  // mirrored along both axes
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

VX_Err BoxScan(int32_t kind, int32_t n, VX_Fixed r, uint8_t* scratch, uint8_t* line) {
  return VX_BoxBlurUnoScan(kind, n, 0, n, r, scratch, line);
}
VX_Err BoxScan(int32_t kind, int32_t n, VX_Fixed r, uint16_t* scratch, uint16_t* line) {
  return VX_BoxBlurDeepUnoScan(kind, n, 0, n, r, scratch, line);
}
VX_Err BoxScan(int32_t kind, int32_t n, VX_Fixed r, float* scratch, float* line) {
  return VX_BoxBlurFloatUnoScan(kind, n, 0, n, r, scratch, line);
}
VX_Err BellScan(int32_t n, VX_Fixed r, uint8_t* scratch, uint8_t* line) {
  return VX_GBlurUnoScan(VX_UnoScan_Gaussian, n, 0, n, r, scratch, line);
}
VX_Err BellScan(int32_t n, VX_Fixed r, uint16_t* scratch, uint16_t* line) {
  return VX_GBlurDeepUnoScan(VX_UnoScan_Gaussian, n, 0, n, r, scratch, line);
}
VX_Err BellScan(int32_t n, VX_Fixed r, float* scratch, float* line) {
  return VX_GBlurFloatUnoScan(VX_UnoScan_Gaussian, n, 0, n, r, scratch, line);
}

// One direction by the scans that a host calls.
template <class Sample>
void ScanLines(int32_t feather, double radius, bool columns, Picture<Sample>* picture) {
  const int32_t length = columns ? picture->buffer.height : picture->buffer.width;
  const auto fixed = static_cast<VX_Fixed>(radius * 65536);
  std::vector<Sample> line(static_cast<size_t>(length));
  std::vector<Sample> scratch(static_cast<size_t>(VX_UnoScanScratch(length, fixed)));
  for (int32_t i = 0; i < (columns ? picture->buffer.width : picture->buffer.height); ++i) {
    const auto at = [&](int32_t place) -> Sample& {
      return columns ? picture->At(i, place) : picture->At(place, i);
    };
    for (int32_t p = 0; p < length; ++p) line[static_cast<size_t>(p)] = at(p);
    const int32_t kind = feather == VX_Feather_Box ? VX_UnoScan_OneBox : VX_UnoScan_Soft;
    EXPECT_EQ(feather == VX_Feather_Gaussian
                  ? BellScan(length, fixed, scratch.data(), line.data())
                  : BoxScan(kind, length, fixed, scratch.data(), line.data()),
              0);
    for (int32_t p = 0; p < length; ++p) at(p) = line[static_cast<size_t>(p)];
  }
}

// Up to where the start of a line is felt that scans let fade and feathers hold.
int32_t FeltStart(int32_t feather, double radius) {
  const double side = (feather == VX_Feather_Box ? 1.4 : 1.0) * radius / 2.71;
  if (feather == VX_Feather_Gaussian || side <= 1.0) return 0;
  return (feather == VX_Feather_Box ? 1 : 3) * (static_cast<int32_t>(side) + 1);
}

// Sliding sums of floats that began elsewhere may round otherwise.
template <class Sample>
void ExpectAlike(Picture<Sample>& got, Picture<Sample>& want, int32_t left, int32_t top) {
  const double tolerance = std::is_same_v<Sample, float> ? 32768 * 4e-7 : 0;
  for (int32_t y = top; y < want.buffer.height; ++y) {
    for (int32_t x = left; x < want.buffer.width; ++x) {
      ASSERT_NEAR(got.At(x, y), want.At(x, y), tolerance) << "at " << x << ", " << y;
    }
  }
}

struct FeatherCase {
  int32_t width, height;
  double radius_x, radius_y;
};

// Bundles that are full, that are not, and that hold one column; one thread and several. A mirrored
// mask shows the other two edges.
TYPED_TEST(Feathers, AreTheScansOfEachLineButForItsStart) {
  constexpr FeatherCase kCases[] = {{200, 90, 3, 7.25},  {129, 40, 0, 30}, {64, 64, 2.5, 2.5},
                                    {1, 150, 5, 11},     {150, 1, 11, 5},  {33, 20, 500, 400},
                                    {97, 31, 1.5, 0.75}, {40, 50, 0, 0}};
  // The kernel that the process keeps is there before and after.
  std::vector<TypeParam> line(9), scratch(99);
  ASSERT_EQ(BellScan(9, 65536, scratch.data(), line.data()), 0);
  const VXHost_Memory before = VXHost_GetMemory();
  uint32_t seed = TestSeed();
  for (const FeatherCase& c : kCases) {
    for (const int32_t feather : {VX_Feather_Box, VX_Feather_Soft, VX_Feather_Gaussian}) {
      Picture<TypeParam> want(c.width, c.height, ++seed), alone(c.width, c.height, seed),
          many(c.width, c.height, seed), turned(c.width, c.height, seed);
      SCOPED_TRACE(testing::Message() << c.width << " x " << c.height << ", feather " << feather);
      const auto run = [&](Picture<TypeParam>& picture) {
        return VX_FeatherUnoBuffer(nullptr, feather, c.radius_x, c.radius_y, &picture.buffer);
      };
      EXPECT_EQ(run(alone), 0);
      {
        const IteratorReplaced threads;
        EXPECT_EQ(run(many), 0);
      }
      ScanLines(feather, c.radius_x, /*columns=*/false, &want);
      ScanLines(feather, c.radius_y, /*columns=*/true, &want);
      EXPECT_TRUE(alone == many);
      ExpectAlike(alone, want, FeltStart(feather, c.radius_x), FeltStart(feather, c.radius_y));
      turned.Turn();
      EXPECT_EQ(run(turned), 0);
      turned.Turn();
      ExpectAlike(turned, alone, 0, 0);
    }
  }
  EXPECT_EQ(VXHost_GetMemory().blocks, before.blocks);
  EXPECT_EQ(VXHost_GetMemory().accounted, before.accounted);
}

TYPED_TEST(Feathers, KeepAConstantMask) {
  constexpr int32_t kWidth = 67, kHeight = 41;
  const double top = std::is_same_v<TypeParam, float> ? 1 : sizeof(TypeParam) == 1 ? 255 : 32768;
  for (const double radius : {0.5, 1.9, 2.0, 2.8, 5.3, 22.0, 40.6, 67.0, 150.1, 3.0 * kWidth}) {
    for (const int32_t feather : {VX_Feather_Box, VX_Feather_Soft, VX_Feather_Gaussian}) {
      for (const double share : {1.0, 0.3, 0.004}) {
        Picture<TypeParam> want(kWidth, kHeight), got(kWidth, kHeight);
        std::fill(want.begin(), want.end(), static_cast<TypeParam>(share * top));
        std::copy(want.begin(), want.end(), got.begin());
        EXPECT_EQ(VX_FeatherUnoBuffer(nullptr, feather, radius, radius / 2, &got.buffer), 0);
        EXPECT_TRUE(got == want) << "feather " << feather << ", radius " << radius << ", " << share;
      }
    }
  }
}

// What is not finite does no harm beyond the windows that held it, once they hold nothing at all;
// and rounding leaves nothing behind.
TEST(FeathersOfFloats, LeaveNoTrace) {
  std::vector<float> line(120, 0.0f), scratch(400);
  line[20] = HUGE_VALF, line[50] = std::nanf(""), line[80] = 1e30f, line[81] = 0.1f;
  ASSERT_EQ(VX_BoxBlurFloatUnoScan(0, 120, 0, 120, 6 << 16, scratch.data(), line.data()), 0);
  for (const int place : {10, 30, 40, 60, 70, 90, 119}) {
    EXPECT_EQ(line[static_cast<size_t>(place)], 0.0f) << place;
  }
}

// --- progress ------------------------------------------------------------------------------------

// Rows and then bundles of columns, in one count.
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

// A slot's routine gets the rows of small boxes, and its code ends the work. Of larger ones the
// scans would let the left edge fade.
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

// --- what is refused -----------------------------------------------------------------------------

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

// Where nothing is to be done nothing is looked at, so that an empty line needs no memory.
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

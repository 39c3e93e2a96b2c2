// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// One-channel buffers compared with their slow twins: every value of the integer depths, areas that
// are clipped on all sides, scans and feathers.

#include "unit/UnoPlane.h"
#include "unit/filters/BlurTestKit.h"

namespace {

template <class Sample>
class UnoTwin : public testing::Test {};
TYPED_TEST_SUITE(UnoTwin, UnoSamples);

// --- one buffer ----------------------------------------------------------------------------------

TYPED_TEST(UnoTwin, Fades) {
  std::vector<double> opacities = {1e-5, 1.0 / 3, 0.99999, -1, 2, std::nan(""), 1e300, -HUGE_VAL};
  for (int i = 0; i <= 255; i += 5) opacities.push_back(i / 255.0);
  for (const double opacity : opacities) {
    vxref::Plane<TypeParam> want = EveryValue<TypeParam>();
    const UnoOf<TypeParam> got(want);
    EXPECT_EQ(VX_FadeUnoBuffer(opacity, got.get()), 0);
    vxref::Fade(opacity, &want);
    ASSERT_TRUE(SamePlane(got.Read(), want)) << opacity;
  }
}

TYPED_TEST(UnoTwin, InvertsAndFades) {
  for (const VX_Fixed opacity : {0, 1, 127, 128, 129, 21845, 32768, 65279, 65535, 65536, 65537, -1,
                                 1 << 30, INT32_MAX, INT32_MIN}) {
    vxref::Plane<TypeParam> want = EveryValue<TypeParam>();
    const UnoOf<TypeParam> got(want), whole(want);
    EXPECT_EQ(VX_InvertAndFadeUnoBuffer(nullptr, opacity, got.get()), 0);
    vxref::InvertAndFade(opacity, &want);
    ASSERT_TRUE(SamePlane(got.Read(), want)) << opacity;
    if (opacity != 65536) continue;
    EXPECT_EQ(VX_InvertUnoBuffer(nullptr, whole.get()), 0);
    ASSERT_TRUE(SamePlane(whole.Read(), want));
  }
}

// --- two buffers ---------------------------------------------------------------------------------

template <class From, class To>
void CheckConvert(const vxref::Plane<From>& src, const M_Rect* rect, vxref::Plane<To> dst,
                  const std::string& text) {
  for (const int16_t flag : {0, 1, -32768}) {
    const UnoOf<From> from(src);
    const UnoOf<To> to(dst);
    vxref::Plane<To> want = dst;
    vxref::Convert(src, rect, flag != 0, &want);
    EXPECT_EQ(VX_ConvertDeepUnoBuffer(nullptr, from.get(), rect, flag, to.get()), 0);
    ASSERT_TRUE(SamePlane(to.Read(), want))
        << 8 * sizeof(From) << " to " << 8 * sizeof(To) << " bits, flag " << flag << ", " << text;
  }
}

template <class From, class To>
void CheckConvertEverything() {
  const vxref::Plane<From> every = EveryValue<From>();
  vxref::Plane<To> dst = {every.width, 1, {}};
  dst.samples.resize(every.samples.size());
  CheckConvert(every, nullptr, dst, "every value");
  UnoTrial trial(1);
  for (int run = 0; run < 60; ++run) {
    const auto src = trial.Plane<From>();
    const M_Rect* const rect = trial.Rect();
    CheckConvert(src, rect, trial.Plane<To>(), trial.Tell());
  }
}

TYPED_TEST(UnoTwin, ConvertsFromAnyDepth) {
  CheckConvertEverything<uint8_t, TypeParam>();
  CheckConvertEverything<uint16_t, TypeParam>();
  CheckConvertEverything<float, TypeParam>();
}

TYPED_TEST(UnoTwin, TransfersInEachMode) {
  UnoTrial trial(2);
  for (int run = 0; run < 4000; ++run) {
    const auto src = trial.Plane<TypeParam>(), mask = trial.Plane<TypeParam>();
    vxref::Plane<TypeParam> want = trial.Plane<TypeParam>();
    const bool masked = trial.Between(0, 2) != 0;
    const int32_t mode = trial.Between(-1, 7);
    const M_Rect* const rect = trial.Rect();
    const M_Point* const point = trial.Point();
    const UnoOf<TypeParam> from(src), through(mask), to(want);
    vxref::Transfer(src, masked ? &mask : nullptr, mode, rect, point, &want);
    EXPECT_EQ(VX_TransferUnoBuffers(nullptr, from.get(), masked ? through.get() : nullptr, mode,
                                    rect, point, to.get()),
              0);
    ASSERT_TRUE(SamePlane(to.Read(), want))
        << "mode " << mode << ", mask " << masked << ", source " << src.width << " x " << src.height
        << ", " << trial.Tell();
  }
}

// Each source value with each mask value.
TYPED_TEST(UnoTwin, TransfersEachPairOfValues) {
  const auto step = [](int i) { return static_cast<TypeParam>(i * kTop<TypeParam> / 255); };
  vxref::Plane<TypeParam> src = {256, 256, {}}, mask = src, want = src;
  for (int i = 0; i < 65536; ++i) {
    src.samples.push_back(step(i % 256)), mask.samples.push_back(step(i / 256));
  }
  const UnoOf<TypeParam> from(src), through(mask);
  std::mt19937 random(TestSeed());
  for (const int d : {0, 1, 127, 128, 255, -1}) {
    want.samples.assign(65536, step(d));
    if (d < 0) want = RandomPlane<TypeParam>(256, 256, random);
    const UnoOf<TypeParam> to(want);
    vxref::Transfer(src, &mask, 0, nullptr, nullptr, &want);
    EXPECT_EQ(
        VX_TransferUnoBuffers(nullptr, from.get(), through.get(), 0, nullptr, nullptr, to.get()),
        0);
    ASSERT_TRUE(SamePlane(to.Read(), want)) << d;
  }
}

template <class From, class Sum>
void CheckAccumulate(uint32_t salt) {
  UnoTrial trial(salt);
  const float gains[] = {1, 0, 0.5f, 1.0f / 3, 1.75f, 4, 0.001f, 100};
  for (int run = 0; run < 2000; ++run) {
    const bool large = run % 200 == 0;  // larger than what one thread does alone
    const auto src =
        large ? RandomPlane<From>(320, 241, trial.random) : trial.template Plane<From>();
    vxref::Plane<Sum> want =
        large ? RandomPlane<Sum>(330, 250, trial.random) : trial.template Plane<Sum>();
    if (sizeof(Sum) > sizeof(From)) {
      for (Sum& sum : want.samples) {
        if (trial.Between(0, 1) == 0) sum = static_cast<Sum>(65535 - trial.Between(0, 600));
      }
    }
    const int32_t mode = trial.Between(0, 2);
    const bool plain = trial.Between(0, 1) == 0;
    const float src_gain = plain ? 1 : gains[trial.Between(0, 7)];
    const float dst_gain = plain ? 1 : gains[trial.Between(0, 7)];
    const M_Rect* const rect = large ? nullptr : trial.Rect();
    const M_Point* const point = trial.Point();
    const UnoOf<From> from(src);
    const UnoOf<Sum> to(want);
    vxref::Accumulate(src, mode, src_gain, dst_gain, rect, point, &want);
    EXPECT_EQ(plain ? VX_AccumulateUnoBuffers(nullptr, from.get(), mode, rect, point, to.get())
                    : VX_AccumulateUnoBuffers(nullptr, from.get(), mode, src_gain, dst_gain, rect,
                                              point, to.get()),
              0);
    ASSERT_TRUE(SamePlane(to.Read(), want))
        << "mode " << mode << ", gains " << src_gain << " and " << dst_gain << ", " << trial.Tell();
  }
}

TYPED_TEST(UnoTwin, Accumulates) { CheckAccumulate<TypeParam, TypeParam>(3); }
TEST(UnoTwinBytes, AccumulateIntoWords) { CheckAccumulate<uint8_t, uint16_t>(4); }

// --- scans ---------------------------------------------------------------------------------------

using ScanOfBytes = VX_Err (*)(int32_t, int32_t, int32_t, int32_t, VX_Fixed, uint8_t*, uint8_t*);
using ScanOfWords = VX_Err (*)(int32_t, int32_t, int32_t, int32_t, VX_Fixed, uint16_t*, uint16_t*);
using ScanOfFloats = VX_Err (*)(int32_t, int32_t, int32_t, int32_t, VX_Fixed, float*, float*);

template <class Sample>
struct Scans;
template <>
struct Scans<uint8_t> {
  static constexpr ScanOfBytes box = &VX_BoxBlurUnoScan, gaussian = &VX_GBlurUnoScan;
};
template <>
struct Scans<uint16_t> {
  static constexpr ScanOfWords box = &VX_BoxBlurDeepUnoScan, gaussian = &VX_GBlurDeepUnoScan;
};
template <>
struct Scans<float> {
  static constexpr ScanOfFloats box = &VX_BoxBlurFloatUnoScan, gaussian = &VX_GBlurFloatUnoScan;
};

// Sums of float windows may have another order: each of up to three passes adds an error of at most
// one unit in the last place of samples up to 1.5.
template <class Sample>
constexpr double kScanTolerance = std::is_same_v<Sample, float> ? 4e-7 : 0;

struct ScanCall {
  bool box;
  int32_t kind, start, end;
  VX_Fixed radius;
};

template <class Sample>
std::vector<Sample> Scanned(const ScanCall& call, std::vector<Sample> line) {
  const auto length = static_cast<int32_t>(line.size());
  constexpr Sample kPaint = 77;
  const auto room = static_cast<size_t>(VX_UnoScanScratch(length, call.radius));
  std::vector<Sample> scratch(room + 2, kPaint);
  const auto scan = call.box ? Scans<Sample>::box : Scans<Sample>::gaussian;
  EXPECT_EQ(
      scan(call.kind, length, call.start, call.end, call.radius, scratch.data() + 1, line.data()),
      0);
  EXPECT_TRUE(scratch.front() == kPaint && scratch.back() == kPaint) << "beyond the scratch";
  return line;
}

template <class Sample>
testing::AssertionResult IsTheTwin(const ScanCall& call, const std::vector<Sample>& line) {
  const auto length = static_cast<int32_t>(line.size());
  vxref::Plane<Sample> got = {length, 1, Scanned(call, line)}, want = {length, 1, line};
  const auto twin = call.box ? vxref::BoxScan<Sample> : vxref::GaussianScan<Sample>;
  twin(call.kind, call.start, call.end, call.radius, &want.samples);
  const testing::AssertionResult same = SamePlane(got, want, kScanTolerance<Sample>);
  if (same) return same;
  return testing::AssertionFailure()
         << same.message() << "; " << (call.box ? "box" : "Gaussian") << " scan of kind "
         << call.kind << ", radius " << call.radius / 65536.0 << ", " << call.start << " to "
         << call.end << " of " << length;
}

// Random lines, impulses, steps and constants; the whole line, and parts with and without its ends.
TYPED_TEST(UnoTwin, Scans) {
  UnoTrial trial(5);
  std::vector<VX_Fixed> radii = {-65536, -1,     0,      1,      32768,  65535,  65536,   98304,
                                 124518, 131072, 177602, 177603, 196608, 327680, 1000000, 2621440};
  for (int run = 0; run < 6000; ++run) {
    const int32_t length = trial.Between(1, run % 10 == 0 ? 300 : 40);
    std::vector<TypeParam> line = RandomPlane<TypeParam>(length, 1, trial.random).samples;
    const int32_t shape = trial.Between(0, 4), at = trial.Between(0, length - 1);
    for (int32_t i = 0; shape > 1 && i < length; ++i) {
      const bool up = shape == 2 ? i == at : shape == 3 ? i >= at : true;
      line[static_cast<size_t>(i)] = up ? kTop<TypeParam> : TypeParam{0};
    }
    const int32_t one = trial.Between(0, length), other = trial.Between(0, length);
    const bool whole = trial.Between(0, 2) == 0;
    const VX_Fixed radius = trial.Between(0, 1) == 0 ? trial.Between(0, 12 * 65536)
                                                     : radii[trial.random() % radii.size()];
    const ScanCall call = {trial.Between(0, 2) != 0, trial.Between(-1, 3),
                           whole ? 0 : std::min(one, other), whole ? length : std::max(one, other),
                           radius};
    ASSERT_TRUE(IsTheTwin(call, line)) << "shape " << shape << " at " << at;
  }
}

TYPED_TEST(UnoTwin, ScansAtEnormousRadii) {
  UnoTrial trial(6);
  const VX_Fixed largest = 32767 << 16;  // of a Gaussian
  for (const VX_Fixed radius : {700 << 16, 5000 << 16, largest, INT32_MAX}) {
    const std::vector<TypeParam> line = RandomPlane<TypeParam>(50, 1, trial.random).samples;
    for (const bool box : {true, false}) {
      for (const int32_t kind : {0, 1, 2}) {
        if (!box && kind == 1 && radius > largest) continue;
        ASSERT_TRUE(IsTheTwin({box, kind, 0, 50, radius}, line));
        ASSERT_TRUE(IsTheTwin({box, kind, 10, 20, radius}, line));
      }
    }
  }
}

// Without a kernel nothing changes, and the next radius has a kernel again.
TEST(UnoScans, RadiusBeyondTheKernels) {
  std::vector<uint8_t> line(50, 200);
  line[25] = 0;
  const std::vector<uint8_t> before = line;
  std::vector<uint8_t> scratch(static_cast<size_t>(VX_UnoScanScratch(50, INT32_MAX)));
  EXPECT_EQ(VX_GBlurUnoScan(1, 50, 0, 50, INT32_MAX, scratch.data(), line.data()), 3);
  EXPECT_EQ(line, before);
  EXPECT_TRUE(IsTheTwin({false, 1, 0, 50, 3 << 16}, line));
  VXHost_TakeReports();
}

// Tiles of columns that are full, not full, and of one column; on one thread and on several. The
// kernel that the process keeps is not changed, and no memory remains allocated.
TYPED_TEST(UnoTwin, FeathersRowsThenColumns) {
  UnoTrial trial(7);
  const VXHost_Memory before = VXHost_GetMemory();
  for (int run = 0; run < 400; ++run) {
    vxref::Plane<TypeParam> want = trial.Plane<TypeParam>(run % 20 == 0 ? 200 : 40);
    const int32_t feather = trial.Between(0, 2);
    const int32_t most = (run % 5 == 0 ? 150 : 9) * 65536;
    const VX_Fixed radius_x = trial.Between(0, 3) == 0 ? 0 : trial.Between(0, most);
    const VX_Fixed radius_y = trial.Between(0, 3) == 0 ? 0 : trial.Between(0, most);
    const UnoOf<TypeParam> got(want);
    vxref::Feather(feather, radius_x, radius_y, &want);
    const std::unique_ptr<IteratorReplaced> threads(run % 2 == 0 ? new IteratorReplaced : nullptr);
    EXPECT_EQ(
        VX_FeatherUnoBuffer(nullptr, feather, radius_x / 65536.0, radius_y / 65536.0, got.get()),
        0);
    ASSERT_TRUE(SamePlane(got.Read(), want, 3 * kScanTolerance<TypeParam>))
        << "feather " << feather << ", radii " << radius_x / 65536.0 << " and "
        << radius_y / 65536.0;
  }
  EXPECT_EQ(VXHost_GetMemory().blocks, before.blocks);
  EXPECT_EQ(VXHost_GetMemory().accounted, before.accounted);
}

}  // namespace

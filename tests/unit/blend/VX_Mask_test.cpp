// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Masks against their slow twins: alpha times a buffer at each pair of depths, one channel toward a
// constant, and buffers made of worlds.

#include "VX/VX_Mask.h"

#include "reference/RefMask.h"
#include "unit/UnoPlane.h"

namespace {

template <class Pixel>
class Mask : public testing::Test {};
TYPED_TEST_SUITE(Mask, PixelTypes, DepthNames);

// --- alpha times a buffer ------------------------------------------------------------------------

template <class Pixel, class Sample>
void CheckMerge(uint32_t salt) {
  UnoTrial trial(salt);
  for (int run = 0; run < 1000; ++run) {
    const int32_t width = trial.Between(1, 30), height = trial.Between(1, 20);
    const int32_t padding = trial.Between(0, 9);
    const uint32_t seed = trial.random();
    GuardedWorld<Pixel> got(width, height, padding, seed), want(width, height, padding, seed);
    const auto plane = trial.template Plane<Sample>(), bound = trial.template Plane<Sample>();
    const bool bounded = trial.Between(0, 1) == 0;
    const M_LPoint size = {bound.width, bound.height};
    const auto h = static_cast<int16_t>(trial.Between(-26, 32));
    const auto v = static_cast<int16_t>(trial.Between(-26, 22));
    const M_Rect* const rect = trial.Rect();
    const UnoOf<Sample> buffer(plane), second(bound);
    VX_WorldX<Pixel> world(&got.world, true);
    EXPECT_EQ(VX_MergeMaskAlpha(nullptr, h, v, rect, buffer.get(), bounded ? second.get() : nullptr,
                                &world),
              0);
    vxref::MergeMaskAlpha<Pixel>(h, v, rect, plane, bounded ? &size : nullptr, want.world);
    ASSERT_EQ(got.bytes, want.bytes) << "world " << width << " x " << height << ", buffer "
                                     << plane.width << " x " << plane.height << " at " << h << ", "
                                     << v << ", bounds " << bounded << ", " << trial.Tell();
  }
}

TYPED_TEST(Mask, MergesBuffersOfEachDepth) {
  CheckMerge<TypeParam, uint8_t>(1);
  CheckMerge<TypeParam, uint16_t>(2);
  CheckMerge<TypeParam, float>(3);
}

// Every sample value, on several alphas.
template <class Pixel, class Sample>
void CheckMergeOfEveryValue() {
  using Channel = VX_ChannelOf<Pixel>;
  const vxref::Plane<Sample> plane = EveryValue<Sample>();
  const UnoOf<Sample> buffer(plane);
  for (const int part : {0, 1, 100, 127, 128, 254, 255}) {
    const auto alpha = static_cast<Channel>(part * kFull<Pixel> / 255);
    std::vector<Pixel> got(static_cast<size_t>(plane.width), Pixel{alpha, 0, 0, 0}), want = got;
    VX_LayerDef world{};
    world.width = plane.width, world.height = 1;
    world.rowbytes = plane.width * static_cast<int32_t>(sizeof(Pixel));
    world.data = want.data();
    vxref::MergeMaskAlpha<Pixel>(0, 0, nullptr, plane, nullptr, world);
    world.data = got.data();
    VXp_SetWorldDepth(&world, kDepth<Pixel>);
    VX_WorldX<Pixel> merged(&world, true);
    EXPECT_EQ(VX_MergeMaskAlpha(nullptr, 0, 0, nullptr, buffer.get(), nullptr, &merged), 0);
    const int at = FirstDifference(got, want);
    ASSERT_LT(at, 0) << Text(plane.samples[static_cast<size_t>(at)]) << " on " << Text(alpha)
                     << " gives " << Text(got[static_cast<size_t>(at)].alpha);
  }
}

TYPED_TEST(Mask, MergesEverySampleValue) {
  CheckMergeOfEveryValue<TypeParam, uint8_t>();
  CheckMergeOfEveryValue<TypeParam, uint16_t>();
  CheckMergeOfEveryValue<TypeParam, float>();
}

// --- one channel ---------------------------------------------------------------------------------

TYPED_TEST(Mask, BlendsTheFirstChannel) {
  Operands<TypeParam> operands(4);
  for (int run = 0; run < 8000; ++run) {
    const int32_t count = operands.Between(-2, 37);
    const auto before = operands.Row(38);
    std::vector<VX_ChannelOf<TypeParam>> values(38);
    for (auto& value : values) value = operands.Any();
    const auto opacity = operands.Opacity(), target = operands.Any();
    auto got = before, want = before;
    VX_BlendSingleChannel(count, opacity, target, values.data(), got.data());
    vxref::BlendSingleChannel(count, opacity, target, values.data(), want.data());
    const int at = FirstDifference(got, want);
    ASSERT_LT(at, 0) << "count " << count << ", opacity " << Text(opacity) << ", target "
                     << Text(target) << ", value " << Text(values[static_cast<size_t>(at)])
                     << ": from " << Text(before[static_cast<size_t>(at)]) << " to "
                     << Text(got[static_cast<size_t>(at)]);
  }
}

// All of them: a weight of 4 takes 35 toward 3 by one.
TEST(MaskOfBytes, BlendsEveryByteTowardEveryByte) {
  std::vector<VX_Pixel8> row(256), want;
  for (int weight = 0; weight < 256; weight += weight < 8 || weight > 247 ? 1 : 8) {
    const std::vector<uint8_t> values(256, static_cast<uint8_t>(weight));
    for (int target = 0; target < 256; ++target) {
      for (size_t c = 0; c < 256; ++c) row[c] = {static_cast<uint8_t>(c), 1, 2, 3};
      want = row;
      const auto to = static_cast<uint8_t>(target);
      VX_BlendSingleChannel(256, uint8_t{255}, to, values.data(), row.data());
      vxref::BlendSingleChannel(256, uint8_t{255}, to, values.data(), want.data());
      ASSERT_LT(FirstDifference(row, want), 0) << "weight " << weight << ", target " << target;
      EXPECT_TRUE(weight != 4 || target != 3 || row[35].alpha == 34);
    }
  }
}

// --- worlds and buffers --------------------------------------------------------------------------

TYPED_TEST(Mask, BuffersOfWorldsAndBack) {
  using Channel = VX_ChannelOf<TypeParam>;
  GuardedWorld<TypeParam> source(37, 23, 5, TestSeed());
  vxref::Plane<Channel> blank = {37, 23, std::vector<Channel>(37 * 23)};
  for (int32_t what = VX_Matte_Alpha; what <= VX_Matte_Blue; ++what) {
    const UnoOf<Channel> buffer(blank);
    EXPECT_EQ(VX_MatteFromWorld(nullptr, &source.world, what, buffer.get()), 0);
    vxref::Plane<Channel> want = blank;
    for (int32_t i = 0; i < 37 * 23; ++i) {
      want.samples[static_cast<size_t>(i)] = vxref::MatteValue(source.Get(i % 37, i / 37), what);
    }
    ASSERT_TRUE(SamePlane(buffer.Read(), want)) << "use " << what;

    GuardedWorld<TypeParam> greys(37, 23, 3, 1);
    const auto all = [](int32_t, int32_t) { return true; };
    size_t i = 0;
    const auto grey = [&](const TypeParam&) {
      const Channel v = want.samples[i++];
      return TypeParam{kFull<TypeParam>, v, v, v};
    };
    const std::vector<uint8_t> expected = greys.Expected(all, grey);
    EXPECT_EQ(VX_WorldFromMatte(nullptr, buffer.get(), &greys.world), 0);
    ASSERT_EQ(greys.bytes, expected) << "use " << what;
  }
}

// --- failures ------------------------------------------------------------------------------------

// A wrong magic is only reported; without samples, a buffer or a world nothing happens.
TEST(MaskFailures, DamagedBuffersAndMissingWorlds) {
  GuardedWorld<VX_Pixel8> pixels(9, 7, 3, 5), merged(9, 7, 3, 5);
  const std::vector<uint8_t> before = pixels.bytes;
  vxref::Plane<uint8_t> plane = {9, 7, std::vector<uint8_t>(63, 100)};
  vxref::MergeMaskAlpha<VX_Pixel8>(0, 0, nullptr, plane, nullptr, merged.world);
  const UnoOf<uint8_t> good(plane), odd(plane), empty(plane);
  odd.get()->magic ^= 1;
  void** const data = std::exchange(empty.get()->data, nullptr);
  VX_WorldX<VX_Pixel8> world(&pixels.world, true);
  VX_LayerDef small = pixels.world;
  small.width = 8;
  Reports();
  const auto merge = [](const VX_UnoBuffer* buffer, VX_World* to) {
    return VX_MergeMaskAlpha(nullptr, 0, 0, nullptr, buffer, nullptr, to);
  };
  const auto reported = [](const char* text) {
    const ReportList reports = Reports();
    return reports.size() == 1 && reports[0].second == text;
  };
  EXPECT_EQ(merge(nullptr, &world), 3);
  EXPECT_TRUE(reported("damaged mask buffer"));
  EXPECT_EQ(merge(empty.get(), &world), 3);
  EXPECT_TRUE(reported("damaged mask buffer"));
  EXPECT_EQ(merge(good.get(), nullptr), 3);
  Reports();
  for (const int32_t what : {-1, 7}) {
    EXPECT_EQ(VX_MatteFromWorld(nullptr, &pixels.world, what, good.get()), 3);
  }
  EXPECT_EQ(VX_MatteFromWorld(nullptr, &small, 0, good.get()), 3);
  EXPECT_EQ(VX_WorldFromMatte(nullptr, good.get(), &small), 3);
  EXPECT_EQ(Reports().size(), 4u);
  EXPECT_EQ(pixels.bytes, before);
  EXPECT_TRUE(SamePlane(good.Read(), plane));

  EXPECT_EQ(merge(odd.get(), &world), 0);
  EXPECT_TRUE(reported("damaged mask buffer"));
  EXPECT_EQ(pixels.bytes, merged.bytes);
  odd.get()->magic ^= 1;
  empty.get()->data = data;
}

// What progress gives comes back, with the rows before it merged.
TEST(MaskFailures, ProgressStopsBetweenRows) {
  GuardedWorld<VX_Pixel16> pixels(5, 40, 0, 6), merged(5, 40, 0, 6);
  const vxref::Plane<float> plane = {5, 40, std::vector<float>(200, 0.25f)};
  vxref::MergeMaskAlpha<VX_Pixel16>(0, 0, nullptr, plane, nullptr, merged.world);
  const UnoOf<float> buffer(plane);
  int32_t calls = 0;
  VX_ProgressInfo progress{};
  progress.progress_refcon = &calls;
  progress.progress_func = [](void* refcon, int32_t, int32_t) -> VX_Err {
    return ++*static_cast<int32_t*>(refcon) == 9 ? 517 : 0;
  };
  VX_WorldX<VX_Pixel16> world(&pixels.world, true);
  EXPECT_EQ(VX_MergeMaskAlpha(&progress, 0, 0, nullptr, buffer.get(), nullptr, &world), 517);
  EXPECT_EQ(calls, 9);
  const GuardedWorld<VX_Pixel16> untouched(5, 40, 0, 6);
  int32_t done = 0;
  while (done < 40 && SamePixel(pixels.Get(0, done), merged.Get(0, done))) ++done;
  EXPECT_TRUE(done >= 8 && done <= 10) << done;
  for (int32_t y = done; y < 40; ++y) {
    EXPECT_TRUE(SamePixel(pixels.Get(2, y), untouched.Get(2, y))) << y;
  }
}

}  // namespace

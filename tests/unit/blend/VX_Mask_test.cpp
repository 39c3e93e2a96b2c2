// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Masks against their slow twins: alpha times a buffer at each pair of depths, one channel moved
// toward a constant, and conversion between buffers and worlds; refusals and slots.

#include "VX/VX_Mask.h"

#include "VX/VX_OverrideTable.h"

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

// One report for each refusal, and no world or buffer changes.
TYPED_TEST(Mask, Refusals) {
  using Channel = VX_ChannelOf<TypeParam>;
  GuardedWorld<TypeParam> pixels(9, 7, 3, 5);
  const std::vector<uint8_t> before = pixels.bytes;
  const vxref::Plane<Channel> plane = {9, 7, std::vector<Channel>(63, kFull<TypeParam>)};
  const UnoOf<Channel> good(plane), empty(plane), unknown(plane);
  void** const data = std::exchange(empty.get()->data, nullptr);
  const int32_t depth = std::exchange(unknown.get()->depth, 1);
  const vxref::Plane<uint16_t> words = {9, 7, std::vector<uint16_t>(63)};
  const vxref::Plane<uint8_t> bytes = {9, 7, std::vector<uint8_t>(63)};
  const UnoOf<uint16_t> words_buffer(words);
  const UnoOf<uint8_t> bytes_buffer(bytes);
  const VX_UnoBuffer* const other =
      kDepth<TypeParam> == 16 ? bytes_buffer.get() : words_buffer.get();
  VX_WorldX<TypeParam> world(&pixels.world, true), hollow(&pixels.world, true);
  hollow.data = nullptr;
  VX_LayerDef small = pixels.world;
  small.width = 8;
  const auto merge = [](const VX_UnoBuffer* buffer, VX_World* to) {
    return VX_MergeMaskAlpha(nullptr, 0, 0, nullptr, buffer, nullptr, to);
  };
  const auto refused = [](const char* text, VX_Err error) {
    EXPECT_EQ(error, VX_ErrBadParameter) << text;
    const ReportList reports = Reports();
    ASSERT_EQ(reports.size(), 1u) << text;
    EXPECT_EQ(reports[0].second, text);
  };
  Reports();
  refused("damaged mask buffer", merge(nullptr, &world));
  refused("damaged mask buffer", merge(empty.get(), &world));
  refused("Unexpected bitdepth in VXp_MergeMaskAlphaScanIter()", merge(good.get(), nullptr));
  refused("Unexpected bitdepth in VXp_MergeMaskAlphaScanIter()", merge(unknown.get(), &world));
  refused("mask for a world without pixels", merge(good.get(), &hollow));
  VX_UnoBuffer* const to = const_cast<VX_UnoBuffer*>(other);
  const char* const depths = "matte needs world and buffer of the same bitdepth";
  const char* const sizes = "matte needs world and buffer of the same size";
  refused(depths, VX_MatteFromWorld(nullptr, &pixels.world, 0, to));
  refused(depths, VX_WorldFromMatte(nullptr, other, &pixels.world));
  refused(sizes, VX_MatteFromWorld(nullptr, &small, 0, good.get()));
  refused(sizes, VX_WorldFromMatte(nullptr, good.get(), &small));
  refused("matte of a world without pixels", VX_MatteFromWorld(nullptr, nullptr, 0, good.get()));
  refused("matte of a world without pixels", VX_WorldFromMatte(nullptr, good.get(), nullptr));
  for (const int32_t what : {-1, 7}) {
    refused("unknown use of a matte", VX_MatteFromWorld(nullptr, &pixels.world, what, good.get()));
  }
  EXPECT_EQ(pixels.bytes, before);
  EXPECT_TRUE(SamePlane(good.Read(), plane));

  // A wrong magic is only reported; a mask of full scale changes no alpha in its area.
  good.get()->magic ^= 1;
  EXPECT_EQ(merge(good.get(), &world), VX_Ok);
  EXPECT_EQ(Reports().size(), 1u);
  good.get()->magic ^= 1;
  EXPECT_EQ(pixels.bytes, before);
  empty.get()->data = data;
  unknown.get()->depth = depth;
}

// --- slots ---------------------------------------------------------------------------------------

// Calls three threads' items in reverse order.
VX_Err Backwards(int32_t iterations, void* refcon, VX_GenericFunc function) {
  VX_Err error = VX_Ok;
  for (int32_t i = iterations; i-- > 0 && error == VX_Ok;) {
    error = function(refcon, i % 3, i, iterations);
  }
  return error;
}

// Rows go through the slot of the iterator, in any order, and through the slot of their pair of
// depths, whose error ends the call.
TYPED_TEST(Mask, RowsGoThroughTheirSlots) {
  struct Slots {
    Slots() { std::memcpy(static_cast<void*>(&kept), &VXp_G_OverFuncs, sizeof kept); }
    ~Slots() { std::memcpy(static_cast<void*>(&VXp_G_OverFuncs), &kept, sizeof kept); }
    VXp_OverrideTable kept;
  } slots;
  VXp_OverrideTable& table = VXp_G_OverFuncs;
  GuardedWorld<TypeParam> got(70, 41, 3, 8), want(70, 41, 3, 8);
  VX_WorldX<TypeParam> world(&got.world, true);
  std::mt19937 random(TestSeed());
  const auto plane = RandomPlane<uint16_t>(60, 60, random);
  const UnoOf<uint16_t> words(plane);
  table.VX_IterateGeneric_Static = &Backwards;
  EXPECT_EQ(VX_MergeMaskAlpha(nullptr, 4, -5, nullptr, words.get(), nullptr, &world), VX_Ok);
  vxref::MergeMaskAlpha<TypeParam>(4, -5, nullptr, plane, nullptr, want.world);
  EXPECT_EQ(got.bytes, want.bytes);

  table.VX_MergeMaskRow8From8 = [](int32_t, const uint8_t*, VX_Pixel8*) { return VX_Err{808}; };
  table.VX_MergeMaskRow8From16 = [](int32_t, const uint16_t*, VX_Pixel8*) { return VX_Err{816}; };
  table.VX_MergeMaskRow8FromFloat = [](int32_t, const float*, VX_Pixel8*) { return VX_Err{832}; };
  table.VX_MergeMaskRow16 = [](int32_t, int32_t depth, const void*, VX_Pixel16*) {
    return VX_Err{1600 + depth};
  };
  table.VX_MergeMaskRowFloat = [](int32_t, int32_t depth, const void*, VX_PixelFloat*) {
    return VX_Err{3200 + depth};
  };
  for (const int32_t depth : {8, 16, 32}) {
    VX_UnoBuffer buffer(5, 5, depth);
    EXPECT_EQ(VX_MergeMaskAlpha(nullptr, 0, 0, nullptr, &buffer, nullptr, &world),
              kDepth<TypeParam> * 100 + depth);
  }
}

}  // namespace

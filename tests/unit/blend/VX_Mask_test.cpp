// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Masks and mattes: refusals, slots and threads. The random commands compare their results with the
// twins.

#include "VX/VX_Mask.h"

#include <utility>

#include "frame/VXp_Bands.h"
#include "unit/GuardedWorld.h"
#include "unit/PixelTestKit.h"

namespace {

template <class Pixel>
class Mask : public testing::Test {};
TYPED_TEST_SUITE(Mask, PixelTypes, DepthNames);

VX_Err Merge(const VX_UnoBuffer* buffer, VX_World* to) {
  return VX_MergeMaskAlpha(nullptr, 0, 0, nullptr, buffer, nullptr, to);
}

// One report for each refusal, and no world or buffer changes.
TYPED_TEST(Mask, Refusals) {
  constexpr int32_t depth = kDepth<TypeParam>;
  GuardedWorld<TypeParam> pixels(9, 7, 3, 5);
  const std::vector<uint8_t> before = pixels.bytes;
  VX_UnoBuffer good(9, 7, depth), unknown(9, 7, depth);
  VX_UnoBuffer other(9, 7, depth == 16 ? 8 : 16);
  const std::vector<VX_ChannelOf<TypeParam>> full(63, kFull<TypeParam>);
  std::memcpy(*good.data, full.data(), sizeof full[0] * 63);
  unknown.depth = 1;
  VX_WorldX<TypeParam> world(&pixels.world, true), hollow(&pixels.world, true);
  hollow.data = nullptr;
  VX_LayerDef small = pixels.world;
  small.width = 8;
  const auto refused = [](const char* text, VX_Err error) {
    EXPECT_EQ(error, VX_ErrBadParameter) << text;
    const ReportList reports = Reports();
    ASSERT_EQ(reports.size(), 1u) << text;
    EXPECT_EQ(reports[0].second, text);
  };
  Reports();
  refused("damaged mask buffer", Merge(nullptr, &world));
  refused("Unexpected bitdepth in VXp_MergeMaskAlphaScanIter()", Merge(&good, nullptr));
  refused("Unexpected bitdepth in VXp_MergeMaskAlphaScanIter()", Merge(&unknown, &world));
  refused("mask for a world without pixels", Merge(&good, &hollow));
  const char* const depths = "matte needs world and buffer of the same bitdepth";
  const char* const sizes = "matte needs world and buffer of the same size";
  refused(depths, VX_MatteFromWorld(nullptr, &pixels.world, 0, &other));
  refused(depths, VX_WorldFromMatte(nullptr, &other, &pixels.world));
  refused(sizes, VX_MatteFromWorld(nullptr, &small, 0, &good));
  refused(sizes, VX_WorldFromMatte(nullptr, &good, &small));
  refused("matte of a world without pixels", VX_MatteFromWorld(nullptr, nullptr, 0, &good));
  refused("matte of a world without pixels", VX_WorldFromMatte(nullptr, &good, nullptr));
  for (const int32_t what : {-1, 7}) {
    refused("unknown use of a matte", VX_MatteFromWorld(nullptr, &pixels.world, what, &good));
  }
  EXPECT_EQ(pixels.bytes, before);
  EXPECT_EQ(std::memcmp(*good.data, full.data(), sizeof full[0] * 63), 0);

  // A wrong magic is only reported; a mask of full scale changes no alpha in its area.
  good.magic ^= 1;
  EXPECT_EQ(Merge(&good, &world), VX_Ok);
  EXPECT_EQ(Reports().size(), 1u);
  good.magic ^= 1;
  EXPECT_EQ(pixels.bytes, before);
  unknown.depth = depth;
}

// Calls the items of three threads in reverse order.
// Rows go through the slot of their pair of depths, whose error ends the call.
TYPED_TEST(Mask, RowsGoThroughTheirSlots) {
  const KeptSlots kept;
  VXp_OverrideTable& table = VXp_G_OverFuncs;
  GuardedWorld<TypeParam> pixels(70, 41, 3, 8);
  VX_WorldX<TypeParam> world(&pixels.world, true);
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
    EXPECT_EQ(Merge(&buffer, &world), kDepth<TypeParam> * 100 + depth);
  }
}

}  // namespace

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// How merged masks come to their rows: slots, threads, depths that nobody knows. The samples are
// held against their twins beside this file.

#include "VX/VX_Mask.h"

#include "VX/VX_OverrideTable.h"
#include "unit/BornEnvironment.h"
#include "unit/GuardedWorld.h"

namespace {

template <class Pixel>
class MaskRoads : public testing::Test {};
using Pixels = testing::Types<VX_Pixel8, VX_Pixel16, VX_PixelFloat>;
TYPED_TEST_SUITE(MaskRoads, Pixels);

template <class Pixel>
constexpr int32_t kDepth = sizeof(Pixel) * 2;

std::vector<std::string> ReportTexts() {
  std::vector<std::string> texts;
  for (const auto& [check, text] : Reports()) texts.push_back(text);
  return texts;
}

// Puts the table back.
struct Slots {
  Slots() { std::memcpy(static_cast<void*>(&kept), &VXp_G_OverFuncs, sizeof kept); }
  ~Slots() { std::memcpy(static_cast<void*>(&VXp_G_OverFuncs), &kept, sizeof kept); }
  VXp_OverrideTable kept;
};

// As if three threads had come in another order.
VX_Err Backwards(int32_t iterations, void* refcon, VX_GenericFunc function) {
  VX_Err error = VX_Ok;
  for (int32_t i = iterations; i-- > 0 && error == VX_Ok;) {
    error = function(refcon, i % 3, i, iterations);
  }
  return error;
}

TYPED_TEST(MaskRoads, RowsInAnyOrderGiveTheSameAlpha) {
  GuardedWorld<TypeParam> alone(70, 41, 3, 8), many(70, 41, 3, 8);
  VX_WorldX<TypeParam> first(&alone.world, true), second(&many.world, true);
  VX_UnoBuffer buffer(60, 60, 16);
  std::mt19937 random(TestSeed());
  for (size_t i = 0; i < 3600; ++i) {
    static_cast<uint16_t*>(*buffer.data)[i] = static_cast<uint16_t>(random() % 32769);
  }
  EXPECT_EQ(VX_MergeMaskAlpha(nullptr, 4, -5, nullptr, &buffer, nullptr, &first), 0);
  const Slots kept;
  VXp_G_OverFuncs.VX_IterateGeneric_Static = &Backwards;
  EXPECT_EQ(VX_MergeMaskAlpha(nullptr, 4, -5, nullptr, &buffer, nullptr, &second), 0);
  EXPECT_EQ(alone.bytes, many.bytes);
}

// The routine of each pair of depths is called for its rows, and its code ends the work.
TYPED_TEST(MaskRoads, RowsGoThroughTheirSlots) {
  const Slots kept;
  VXp_OverrideTable& table = VXp_G_OverFuncs;
  table.VX_MergeMaskRow8From8 = [](int32_t, const uint8_t*, VX_Pixel8*) { return VX_Err{808}; };
  table.VX_MergeMaskRow8From16 = [](int32_t, const uint16_t*, VX_Pixel8*) { return VX_Err{816}; };
  table.VX_MergeMaskRow8FromFloat = [](int32_t, const float*, VX_Pixel8*) { return VX_Err{832}; };
  table.VX_MergeMaskRow16 = [](int32_t, int32_t depth, const void*, VX_Pixel16*) {
    return VX_Err{1600 + depth};
  };
  table.VX_MergeMaskRowFloat = [](int32_t, int32_t depth, const void*, VX_PixelFloat*) {
    return VX_Err{3200 + depth};
  };
  GuardedWorld<TypeParam> pixels(5, 4, 0, 9);
  VX_WorldX<TypeParam> world(&pixels.world, true);
  for (const int32_t depth : {8, 16, 32}) {
    VX_UnoBuffer buffer(5, 5, depth);
    EXPECT_EQ(VX_MergeMaskAlpha(nullptr, 0, 0, nullptr, &buffer, nullptr, &world),
              kDepth<TypeParam> * 100 + depth);
  }
}

// Nothing is written, and one report tells of it.
TYPED_TEST(MaskRoads, UnknownDepthsAndMissingPixelsAreRefused) {
  GuardedWorld<TypeParam> pixels(5, 4, 0, 9);
  const std::vector<uint8_t> before = pixels.bytes;
  VX_WorldX<TypeParam> world(&pixels.world, true);
  VX_UnoBuffer buffer(5, 5, 8);
  ReportTexts();
  const auto refused = [&](const char* text) {
    EXPECT_EQ(VX_MergeMaskAlpha(nullptr, 0, 0, nullptr, &buffer, nullptr, &world), 3);
    EXPECT_EQ(ReportTexts(), std::vector<std::string>{text});
  };
  buffer.depth = 1;
  refused("Unexpected bitdepth in VXp_MergeMaskAlphaScanIter()");
  buffer.depth = 8;
  world.data = nullptr;
  refused("mask for a world without pixels");
  EXPECT_EQ(pixels.bytes, before);

  const int32_t other = kDepth<TypeParam> == 8 ? 16 : 8;
  VX_UnoBuffer deeper(5, 4, other), good(5, 4, kDepth<TypeParam>);
  EXPECT_EQ(VX_MatteFromWorld(nullptr, &pixels.world, 0, &deeper), 3);
  EXPECT_EQ(VX_WorldFromMatte(nullptr, &deeper, &pixels.world), 3);
  EXPECT_EQ(VX_MatteFromWorld(nullptr, nullptr, 0, &good), 3);
  EXPECT_EQ(VX_WorldFromMatte(nullptr, nullptr, &pixels.world), 3);
  EXPECT_EQ(ReportTexts().size(), 4u);
  EXPECT_EQ(pixels.bytes, before);
}

}  // namespace

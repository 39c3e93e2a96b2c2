// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Whole composites: progress, refusals and unknown depths. The random commands compare
// composites with their slow twin.

#include "../GuardedWorld.h"
#include "../PixelTestKit.h"
#include "../Polls.h"
#include "VX/VX_Blend.h"

namespace {

VX_CompositeModePlus ModeOf(int32_t number) { return {number, 1.0f, nullptr, false, 0}; }

VX_Err Transfer(const VX_LayerDef* src, const VX_CompositeModePlus* mode, const VX_MaskSpec* mask,
                int32_t x, int32_t y, VX_LayerDef* dst, VX_ProgressInfo* progress = nullptr) {
  return VX_TransferRect(progress, 1, 2, 0, nullptr, src, mode, nullptr, mask, x, y, dst);
}

// Destination rows 0, 128 and 256 poll progress after they are drawn.
TEST(TransferRect, PollsOnceIn128RowsAndCanStop) {
  const GuardedWorld<VX_Pixel8> src(3, 400, 0, 1);
  const VX_CompositeModePlus mode = ModeOf(VX_Xfer_Copy);
  for (const int stop_at : {0, 251}) {
    GuardedWorld<VX_Pixel8> dst(3, 300, 1, 2);
    Polls polls{.stop_at = stop_at};
    VX_ProgressInfo progress = polls.Info();
    auto want = dst.bytes;
    for (int32_t i = 0; i < 3 * (stop_at == 0 ? 295 : 252); ++i) {
      dst.Set(want, i % 3, 5 + i / 3, src.Get(i % 3, i / 3));
    }
    EXPECT_EQ(Transfer(&src.world, &mode, nullptr, 0, 5, &dst.world, &progress),
              stop_at == 0 ? 0 : 517);
    EXPECT_EQ(polls.steps, (std::vector<int>{128 - 5, 256 - 5}));
    EXPECT_EQ(polls.final_step, 295);
    EXPECT_EQ(dst.bytes, want);
  }
}

TEST(TransferRect, RefusalsLeaveTheDestination) {
  GuardedWorld<VX_Pixel8> world(4, 4, 0, 1);
  const auto before = world.bytes;
  OddDepthWorld odd(&world.world);
  VX_LayerDef world8 = world.world, world16 = world.world;
  world16.world_flags = 0;
  VXp_SetWorldDepth(&world16, 16);
  const VX_CompositeModePlus mode = ModeOf(VX_Xfer_InFront), mix = ModeOf(VX_Xfer_MaskMix);
  const VX_CompositeModePlus unknown = ModeOf(99), reserved = ModeOf(-1);
  const VX_MaskSpec no_world = {nullptr, 0, 0, 0}, deep = {&world16, 0, 0, 0};
  const VX_MaskSpec use_4 = {&world8, 0, 0, 4}, use_minus_1 = {&world8, 0, 0, -1};
  const struct {
    const VX_LayerDef* src;
    const VX_CompositeModePlus* mode;
    const VX_MaskSpec* mask;
    VX_LayerDef* dst;
    int32_t x;
    VX_Err want;
    const char* text;
  } cases[] = {
      {nullptr, &mode, nullptr, &world8, 0, 3, kBadParameterText},
      {&world8, nullptr, nullptr, &world8, 0, 3, kBadParameterText},
      {&world8, &mode, nullptr, nullptr, 0, 3, kBadParameterText},
      {&world16, &mode, nullptr, &world8, 0, 3,
       "VX_TransferRect requires src and dst worlds to have same bit depth"},
      {&world8, &mode, &no_world, &world8, 0, 3, kBadParameterText},
      {&world8, &mode, &deep, &world8, 0, 3,
       "VX_TransferRect requires src and mask worlds to have same bit depth"},
      {&world8, &mode, &use_4, &world8, 0, 3, kBadParameterText},
      {&world8, &mode, &use_minus_1, &world8, 0, 3, kBadParameterText},
      {&world8, &mix, nullptr, &world8, 0, 3, "VX_Xfer_MaskMix mixes by a mask and was given none"},
      {&world8, &unknown, nullptr, &world8, 0, VX_ErrUnsupported, "unimplemented blending mode."},
      {&world8, &reserved, nullptr, &world8, 0, VX_ErrUnsupported, "unimplemented blending mode."},
      // An unknown depth is refused whether or not the rectangles overlap.
      {&odd, &mode, nullptr, &odd, 0, 3, "Unknown world bitdepth in##CONDITIONNAME"},
      {&odd, &mode, nullptr, &odd, 50, 3, "Unknown world bitdepth in##CONDITIONNAME"},
  };
  for (const auto& c : cases) {
    TakeReportTexts();
    EXPECT_EQ(Transfer(c.src, c.mode, c.mask, c.x, 0, c.dst), c.want);
    EXPECT_EQ(TakeReportTexts(), std::vector<std::string>{c.text});
  }
  EXPECT_EQ(world.bytes, before);

  // An unknown depth code counts as 8 bits and is reported once for each world.
  world8.world_flags = 0x07000000;
  const VX_MaskSpec spec = {&world8, 1, 1, VX_MaskUse_InverseAlpha};
  TakeReportTexts();
  EXPECT_EQ(Transfer(&world8, &mode, &spec, 0, 0, &world8), 0);
  EXPECT_EQ(TakeReportTexts(), std::vector<std::string>(3, "Unknown pixel format"));
}

}  // namespace

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The records of a mode, its flags, and the mask values of a matte row.

#include <set>

#include "../../reference/RefTransfer.h"
#include "BlendTestKit.h"

namespace {

TEST(TransferModes, Flags) {
  const std::set<int> flagged = {-3, 0, 1, 2, 4, 5, 6, 7, 9, 10, 11, 12, 13, 14, 15, 16, 22, 25};
  for (int mode = -70; mode <= 70; ++mode) {
    EXPECT_EQ(VX_GetTransferFlags(mode), flagged.count(mode) != 0 ? 1 : 0) << mode;
  }
  EXPECT_EQ(VX_GetTransferFlags(INT32_MIN), 0);
  EXPECT_EQ(VX_GetTransferFlags(INT32_MAX), 0);
}

TEST(TransferModes, OlderRecordGivesItsFinerOpacity) {
  for (int opacity = 0; opacity < 256; ++opacity) {
    for (int step = -300; step <= 300; ++step) {
      // Around the 16-bit value that stands for the same opacity, and nothing at all.
      const int near = opacity * 32768 / 255 + step;
      VX_CompositeMode older = {};
      older.mode = VX_Xfer_Screen;
      older.seed = -5;
      older.opacity = static_cast<uint8_t>(opacity);
      older.keepDstAlpha = 200;
      older.opacity16 = static_cast<uint16_t>(near < 0 || near > 32768 ? 0 : near);
      const VX_CompositeModePlus plus(older);
      ASSERT_EQ(plus.opacityF, vxref::OpacityOf(older)) << opacity << ", " << older.opacity16;
      ASSERT_TRUE(plus.mode == VX_Xfer_Screen && plus.seed == -5 && plus.keepDstAlpha == 1);
    }
  }
  EXPECT_EQ(VX_CompositeModePlus(VX_CompositeMode{2, 0, 128, 0, 16448}).opacityF,
            16448.0f / 32768.0f);
  EXPECT_EQ(VX_CompositeModePlus(VX_CompositeMode{2, 0, 128, 0, 0}).opacityF, 128.0f / 255.0f);
}

TEST(TransferModes, NewerRecordLeavesTheIntegerOpacities) {
  alignas(VX_CompositeModePlus) unsigned char place[sizeof(VX_CompositeModePlus)];
  std::memset(place, 0xA5, sizeof place);
  const auto* plus =
      new (place) VX_CompositeModePlus(VX_Xfer_Hue, 0.25f, &LinearTables()[0], true, 9);
  EXPECT_EQ(plus->mode, VX_Xfer_Hue);
  EXPECT_EQ(plus->opacityF, 0.25f);
  EXPECT_EQ(plus->tables, &LinearTables()[0]);
  EXPECT_EQ(plus->keepDstAlpha, 1);
  EXPECT_EQ(plus->seed, 9);
  EXPECT_EQ(place[8], 0xA5) << "opacity";
  EXPECT_TRUE(place[10] == 0xA5 && place[11] == 0xA5) << "opacity16";
}

template <class Pixel>
class TrackMatte : public testing::Test {};
using IntegerPixels = testing::Types<VX_Pixel8, VX_Pixel16>;
TYPED_TEST_SUITE(TrackMatte, IntegerPixels, DepthNames);

TYPED_TEST(TrackMatte, AgreesWithTwin) {
  Operands<TypeParam> operands(9);
  const std::vector<TypeParam> matte = operands.Row(40);
  for (int run = 0; run < 6000; ++run) {
    const int count = operands.Between(-2, 30), left = operands.Between(-45, 35);
    const int available = operands.Between(0, 40), what = operands.Between(-1, 5);
    const std::vector<TypeParam> before = operands.Row(31);
    std::vector<TypeParam> want = before, got = before;
    vxref::TrackMatte(count, matte.data(), left, available, what, want.data());
    EXPECT_EQ(VX_PrepTrackMatteUniv(count, matte.data(), left, available, what,
                                    kDepth<TypeParam> == 16 ? 1 : 0, got.data()),
              0);
    const int at = FirstDifference(want, got);
    ASSERT_LT(at, 0) << "count " << count << ", left " << left << ", available " << available
                     << ", what " << what << ": " << Text(got[static_cast<size_t>(at)]) << ", not "
                     << Text(want[static_cast<size_t>(at)]);
  }
}

}  // namespace

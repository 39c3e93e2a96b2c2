// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The records of a mode and its flags.

#include <gtest/gtest.h>

#include <set>

#include "VX/VX_Blend.h"

namespace {

TEST(TransferModes, Flags) {
  const std::set<int> flagged = {-3, 0, 1, 2, 4, 5, 6, 7, 9, 10, 11, 12, 13, 14, 15, 16, 22, 25};
  for (int mode = -70; mode <= 70; ++mode) {
    EXPECT_EQ(VX_GetTransferFlags(mode), flagged.count(mode) != 0 ? 1 : 0) << mode;
  }
  EXPECT_EQ(VX_GetTransferFlags(INT32_MIN), 0);
  EXPECT_EQ(VX_GetTransferFlags(INT32_MAX), 0);
}

// The older record gives the finer of its opacities.
TEST(TransferModes, Records) {
  const VX_CompositeModePlus older(VX_CompositeMode{2, -5, 128, 200, 16448});
  EXPECT_EQ(older.opacityF, 16448.0f / 32768.0f);
  EXPECT_TRUE(older.mode == 2 && older.seed == -5 && older.keepDstAlpha == 1);
  EXPECT_EQ(VX_CompositeModePlus(VX_CompositeMode{2, 0, 128, 0, 0}).opacityF, 128.0f / 255.0f);

  const VX_LinearBlendingTables tables{};
  const VX_CompositeModePlus plus(VX_Xfer_Hue, 0.25f, &tables, true, 9);
  EXPECT_TRUE(plus.mode == VX_Xfer_Hue && plus.opacityF == 0.25f && plus.tables == &tables);
  EXPECT_TRUE(plus.keepDstAlpha == 1 && plus.seed == 9);
}

}  // namespace

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The flags of modes.

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

}  // namespace

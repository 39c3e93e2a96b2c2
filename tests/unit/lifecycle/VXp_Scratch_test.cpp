// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The process-wide scratch and the call that shrinks it.

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "VX/VX_Package.h"
#include "frame/VXp_Scratch.h"
#include "hostdouble/HostDouble.h"

namespace {

class VXpScratch : public testing::Test {
 protected:
  VXpScratch() { VXp_DisposeScratch(); }  // of earlier tests
  ~VXpScratch() override { VXp_DisposeScratch(); }

  VX_Err Get(int32_t pixels, int32_t depth_code) {
    return VXp_ReallocScratch(pixels, depth_code, VXp_Regrow::IfNeeded, &out);
  }
  VX_BlendScratch out{};
};

// After a failed growth any request allocates, also one that the old rows are large enough for.
TEST_F(VXpScratch, FailedGrowth) {
  for (int nth = 1; nth <= 3; ++nth) {
    VXp_DisposeScratch();
    HostDouble host;
    ASSERT_EQ(Get(100, 1), 0);
    host.FailAllocation(nth);
    EXPECT_EQ(Get(200, 1), 4) << nth;
    EXPECT_EQ(host.Leaked(), 10) << nth;
    host.FailAllocation(0);
    EXPECT_EQ(Get(1, 1), 0) << nth;
    EXPECT_EQ(host.Leaked(), 10) << nth;
    EXPECT_EQ(VX_FreeUpSomeMemory(), 0);
    host.FailAllocation(nth);
    EXPECT_EQ(VX_FreeUpSomeMemory(), 4);
    VXp_DisposeScratch();
    host.FailAllocation(4 + nth);  // a block of the motion blur
    EXPECT_EQ(VX_FreeUpSomeMemory(), 4);
    EXPECT_EQ(host.Leaked(), 0);
  }
}

}  // namespace

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

using Sizes = std::vector<uint64_t>;

class VXpScratch : public testing::Test {
 protected:
  VXpScratch() { VXp_DisposeScratch(); }  // whatever ran before; the host is made after this
  ~VXpScratch() override { VXp_DisposeScratch(); }

  VX_Err Get(int32_t pixels, int32_t depth_code, VXp_Regrow regrow = VXp_Regrow::IfNeeded) {
    return VXp_ReallocScratch(pixels, depth_code, regrow, &out);
  }
  // Sizes of what was allocated since the last call.
  Sizes NewSizes(const HostDouble& host) {
    const auto& all = host.allocations;
    Sizes sizes;
    for (; seen < all.size(); ++seen) {
      if (!all[seen].failed) sizes.push_back(all[seen].size);
    }
    return sizes;
  }

  VX_BlendScratch out{};
  size_t seen = 0;
};

TEST_F(VXpScratch, GrowsByBytesWhateverTheDepth) {
  HostDouble host;
  ASSERT_EQ(Get(10, 2), 0);
  // The motion blur's blocks: 256 entries of 8, 8, 8, 16, 16, 72 and 96 bytes; then the rows.
  EXPECT_EQ(NewSizes(host),
            (Sizes{2048, 2048, 2048, 4096, 4096, 18432, 24576, /*rows*/ 20, 80, 80}));
  const VX_BlendScratch first = out;
  for (const auto& [pixels, depth_code] : {std::pair{20, 1}, {10, 2}, {5, 4}, {1, 4}}) {
    out = {};
    EXPECT_EQ(Get(pixels, depth_code), 0);
    EXPECT_EQ(std::memcmp(&out, &first, sizeof out), 0) << pixels << " of " << depth_code;
  }
  EXPECT_EQ(NewSizes(host), Sizes{});
  EXPECT_EQ(Get(21, 1), 0);
  EXPECT_EQ(NewSizes(host), (Sizes{21, 84, 84}));
  EXPECT_EQ(host.Leaked(), 10);  // the smaller rows are gone
  VXp_DisposeScratch();
  EXPECT_EQ(host.Leaked(), 0);
}

TEST_F(VXpScratch, AnUnknownDepthIsReportedAndLeavesTheRecordAlone) {
  HostDouble host;
  for (const int32_t depth_code : {0, 3, 8, -1}) {
    out = {};
    EXPECT_EQ(Get(10, depth_code), 0);
    EXPECT_EQ(out.alpha_row, nullptr);
    EXPECT_EQ(out.motion[0], nullptr);
    const auto reports = VXHost_TakeReports();
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0].text, "Unexpected bitdepth in VXp_ReallocScratch()");
  }
  EXPECT_EQ(host.AllocationCount(), 0);
}

TEST_F(VXpScratch, AfterAFailedGrowthAnyRequestAllocates) {
  for (int nth = 1; nth <= 3; ++nth) {
    VXp_DisposeScratch();
    seen = 0;
    HostDouble host;
    ASSERT_EQ(Get(100, 1), 0);
    host.FailAllocation(nth);
    EXPECT_EQ(Get(200, 1), 4) << nth;
    EXPECT_EQ(host.Leaked(), 10) << nth;  // the new ones went, the old ones stay
    NewSizes(host);
    EXPECT_EQ(Get(1, 1), 0) << nth;  // would have fitted in the old rows
    EXPECT_EQ(NewSizes(host), (Sizes{1, 4, 4})) << nth;
    EXPECT_EQ(host.Leaked(), 10) << nth;
    VXp_DisposeScratch();
    EXPECT_EQ(host.Leaked(), 0) << nth;
  }
}

TEST_F(VXpScratch, FreeUpSomeMemoryAlwaysReallocates) {
  HostDouble host;
  ASSERT_EQ(Get(100000, 4), 0);
  for (int round = 0; round < 2; ++round) {
    NewSizes(host);
    EXPECT_EQ(VX_FreeUpSomeMemory(), 0);
    EXPECT_EQ(NewSizes(host), (Sizes{1024, 4096, 4096}));
    EXPECT_EQ(host.Leaked(), 10);
  }
  host.FailAllocation(2);
  EXPECT_EQ(VX_FreeUpSomeMemory(), 4);
  VXp_DisposeScratch();
  host.FailAllocation(5);  // one of the motion blur's blocks, whose failure is thrown inside
  EXPECT_EQ(VX_FreeUpSomeMemory(), 4);
  EXPECT_EQ(host.Leaked(), 0);
}

}  // namespace

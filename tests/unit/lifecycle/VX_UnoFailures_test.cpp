// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// One-channel buffers that run out of memory.

#include <gtest/gtest.h>

#include "VX/VX_Package.h"
#include "VX/VX_UnoBuffer.h"
#include "hostdouble/HostDouble.h"

namespace {

constexpr int32_t kSize = 300;  // so large that sums go to several threads

class UnoFailures : public testing::Test {
 protected:
  void SetUp() override {  // born before a host is watched
    VX_Death();
    ASSERT_EQ(VX_Birth(), 0);
  }
};

// The record and the samples: either one missing gives 4 and a null pointer, and nothing stays.
TEST_F(UnoFailures, NoBufferWithoutItsMemory) {
  for (const int32_t depth : {8, 16, 32}) {
    HostDouble host;
    for (int nth = 1; nth <= 2; ++nth) {
      VX_UnoBuffer paint(1, 1, 8);
      VX_UnoBuffer* buffer = &paint;
      host.FailAllocation(nth);
      EXPECT_EQ(VX_NewUnoBufferOfDepth(kSize, kSize, depth, &buffer), 4);
      EXPECT_EQ(buffer, nullptr);
      EXPECT_EQ(host.Allocations().back().label, "memory for mask buffer");
    }
    host.FailAllocation(1);
    EXPECT_THROW(
        {
          try {
            VX_UnoBuffer buffer(kSize, kSize, depth);
          } catch (const int32_t& code) {
            EXPECT_EQ(code, 4);
            throw;
          }
        },
        int32_t);
    EXPECT_EQ(host.Leaked(), 0);
  }
}

// Nothing else needs memory.
TEST_F(UnoFailures, OperationsAllocateNothing) {
  for (const int32_t depth : {8, 16, 32}) {
    HostDouble host;
    VX_UnoBuffer a(kSize, kSize, depth), b(kSize, kSize, depth);
    VX_FillUnoBuffer(0, &a), VX_FillDeepUnoBuffer(0, &a), VX_FillFloatUnoBuffer(0, &a);
    VX_FillUnoBuffer(0, &b), VX_FillDeepUnoBuffer(0, &b), VX_FillFloatUnoBuffer(0, &b);
    const int64_t before = host.AllocationCount();
    host.FailAllocation(1);
    EXPECT_EQ(VX_FadeUnoBuffer(0.5, &a), 0);
    EXPECT_EQ(VX_InvertAndFadeUnoBuffer(nullptr, 9, &a), 0);
    EXPECT_EQ(VX_ConvertDeepUnoBuffer(nullptr, &a, nullptr, 1, &b), 0);
    EXPECT_EQ(VX_TransferUnoBuffers(nullptr, &a, &b, 3, nullptr, nullptr, &b), 0);
    EXPECT_EQ(VX_AccumulateUnoBuffers(nullptr, &a, 2, 0.5f, 1, nullptr, nullptr, &b), 0);
    EXPECT_EQ(host.AllocationCount(), before);
  }
}

}  // namespace

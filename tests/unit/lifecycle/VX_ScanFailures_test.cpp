// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The kernel that the Gaussian scans keep.

#include <gtest/gtest.h>

#include <memory>
#include <utility>
#include <vector>

#include "VX/VX_Package.h"
#include "VX/VX_UnoBuffer.h"
#include "hostdouble/HostDouble.h"

namespace {

constexpr int64_t kHandle = 2;  // it and its block

// Born again under the eyes of a host.
class ScanFailures : public testing::Test {
 protected:
  void SetUp() override {
    VX_Death();
    host_ = std::make_unique<HostDouble>();
    ASSERT_EQ(VX_Birth(), 0);
    allocations_ = host_->AllocationCount();
  }
  void TearDown() override {
    EXPECT_EQ(VX_Death(), 0);
    EXPECT_EQ(host_->Leaked(), 0);
    host_.reset();
    EXPECT_EQ(VX_Birth(), 0);
  }
  int64_t NewAllocations() {
    return host_->AllocationCount() - std::exchange(allocations_, host_->AllocationCount());
  }
  VX_Err Scan(double radius) {
    const auto fixed = static_cast<VX_Fixed>(radius * 65536);
    line_.assign(40, 0);
    line_[20] = 255;
    return VX_GBlurUnoScan(1, 40, 0, 40, fixed, scratch_, line_.data());
  }

  std::unique_ptr<HostDouble> host_;
  int64_t allocations_ = 0;
  uint8_t scratch_[200];
  std::vector<uint8_t> line_;
};

TEST_F(ScanFailures, TheKernelOfTheLastRadiusIsKept) {
  EXPECT_EQ(Scan(3), 0);
  EXPECT_EQ(NewAllocations(), kHandle);
  EXPECT_EQ(host_->Allocations().back().label, "gaussian weight array");
  EXPECT_EQ(host_->Allocations().back().size, 7 * sizeof(int32_t));
  const std::vector<uint8_t> blurred = line_;
  EXPECT_EQ(Scan(3), 0);
  EXPECT_EQ(line_, blurred);
  // A box below its smallest width asks for the same kernel; feathering brings its own.
  uint16_t words[9] = {}, scratch[99];
  EXPECT_EQ(VX_BoxBlurDeepUnoScan(0, 9, 0, 9, 3 << 16, scratch, words), 0);
  EXPECT_EQ(NewAllocations(), 0);
  {
    VX_UnoBuffer buffer(30, 30, 16);
    EXPECT_EQ(VX_FeatherUnoBuffer(nullptr, VX_Feather_Gaussian, 2, 5, &buffer), 0);
  }
  NewAllocations();
  EXPECT_EQ(Scan(3), 0);
  EXPECT_EQ(NewAllocations(), 0);
  EXPECT_EQ(Scan(2), 0);
  EXPECT_EQ(NewAllocations(), kHandle);
}

TEST_F(ScanFailures, NoKernelNoChange) {
  EXPECT_EQ(Scan(3), 0);
  const std::vector<uint8_t> blurred = line_;
  host_->FailAllocation(1);
  EXPECT_EQ(Scan(4), 4);
  std::vector<uint8_t> impulse(40, 0);
  impulse[20] = 255;
  EXPECT_EQ(line_, impulse);
  NewAllocations();
  EXPECT_EQ(Scan(3), 0);  // the old kernel went before the new one came
  EXPECT_EQ(NewAllocations(), kHandle);
  EXPECT_EQ(line_, blurred);
}

}  // namespace

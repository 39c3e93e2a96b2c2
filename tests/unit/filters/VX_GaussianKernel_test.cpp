// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include <gtest/gtest.h>

#include <cmath>

#include "../../reference/RefConvolve.h"
#include "../GuardedWorld.h"
#include "VX/VX_CallbackBlock.h"
#include "VX/VX_Convolve.h"

namespace {

constexpr int32_t kPaint = 0x5A5A5A5A;

TEST(GaussianKernel, GivesTheTwinsWeights) {
  for (const double radius : {0.0, 0.25, 1.0, 1.5, 2.0, 7.3, 12.5, 31.0}) {
    for (const double multiplier : {1.0, 0.5, 3.0, 1e300, 1e-3, 0.0, -1.0}) {
      for (const int32_t flags : {0, 1, 2, 3, 4 + 32, 1 + 2 + 4 + 32}) {
        const std::vector<int32_t> want = vxref::GaussianKernel(radius, flags, multiplier);
        ASSERT_EQ(VX_GaussianKernelSize(radius, flags), static_cast<int64_t>(want.size()));
        std::vector<int32_t> kernel(want.size() + 1, kPaint);
        int32_t diameter = 0;
        ASSERT_EQ(VX_GaussianKernel(nullptr, radius, flags, multiplier, &diameter, kernel.data()),
                  0);
        EXPECT_EQ(diameter, 2 * static_cast<int32_t>(std::ceil(radius)) + 1);
        EXPECT_EQ(kernel.back(), kPaint) << "one weight too many";
        kernel.pop_back();
        EXPECT_EQ(kernel, want) << radius << ", flags " << flags << ", times " << multiplier;
      }
    }
  }
}

TEST(GaussianKernel, Refuses) {
  int32_t diameter = kPaint;
  std::vector<int32_t> kernel(9, kPaint);
  const auto call = [&](double radius, double multiplier, int32_t* at, int32_t* weights) {
    EXPECT_EQ(VX_GaussianKernel(nullptr, radius, 0, multiplier, at, weights), 3) << radius;
    EXPECT_EQ(Reports(), (ReportList{{0x25000A, kBadParameterText}})) << radius;
  };
  Reports();
  // 32768 and 98304 are negative in 16 bits.
  for (const double radius : {-1.0, -1e-9, std::nan(""), HUGE_VAL, 1e300, 32767.5, 98304.0}) {
    call(radius, 1.0, &diameter, kernel.data());
    EXPECT_EQ(VX_GaussianKernelSize(radius, 0), 0) << radius;
  }
  call(1.0, std::nan(""), &diameter, kernel.data());
  call(1.0, HUGE_VAL, &diameter, kernel.data());
  call(1.0, 1.0, nullptr, kernel.data());
  call(1.0, 1.0, &diameter, nullptr);
  EXPECT_EQ(diameter, kPaint);
  EXPECT_EQ(kernel, std::vector<int32_t>(9, kPaint));
}

TEST(GaussianKernel, KeepsSixteenBitsOfTheReach) {
  EXPECT_EQ(VX_GaussianKernelSize(32767.0, VX_Kernel_OneDimensional), 65535);
  EXPECT_EQ(VX_GaussianKernelSize(32767.0, 0), int64_t{65535} * 65535);
  EXPECT_EQ(VX_GaussianKernelSize(65536.5, 0), 9);
  int32_t diameter = 0, kernel[9] = {};
  ASSERT_EQ(VX_GaussianKernel(nullptr, 65536.5, 0, 1.0, &diameter, kernel), 0);
  EXPECT_EQ(diameter, 3);
  EXPECT_EQ(kernel[0], 255);
}

TEST(GaussianKernel, IsInTheCallbackBlock) {
  VX_CallbackBlock block;
  ASSERT_EQ(VX_GetCallbackBlock(&block), 0);
  EXPECT_EQ(block.gaussian_kernel, &VX_GaussianKernel);
}

}  // namespace

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Convolution and kernels: what the random commands do not reach. Those are the largest kernels
// and worlds of no size.

#include "VX/VX_Convolve.h"

#include <cmath>

#include "reference/RefConvolve.h"
#include "unit/GuardedWorld.h"
#include "unit/PixelTestKit.h"

namespace {

using Kernel = std::vector<int32_t>;

VX_Err Convolve(const VX_LayerDef& src, int32_t flags, const Kernel& kernel, int32_t size,
                VX_LayerDef& dst) {
  return VX_Convolve(nullptr, &src, nullptr, flags, size, kernel.data(), kernel.data(),
                     kernel.data(), kernel.data(), &dst);
}

template <class Pixel>
class ConvolveDepths : public testing::Test {};
TYPED_TEST_SUITE(ConvolveDepths, PixelTypes, DepthNames);

TYPED_TEST(ConvolveDepths, HonoursTheLargestSize) {
  std::mt19937 random(TestSeed());
  Kernel kernel(65535);
  for (int32_t& weight : kernel) weight = static_cast<int32_t>(random());
  const int32_t* const weights[] = {kernel.data(), kernel.data(), kernel.data(), kernel.data()};
  for (const int32_t flags : {1, 35}) {
    GuardedWorld<TypeParam> src(9, 5, 4, 1), dst(7, 8, 0, 2), want(7, 8, 0, 2);
    vxref::Convolve<TypeParam>(src.world, flags, 65535, weights, want.world);
    ASSERT_EQ(Convolve(src.world, flags, kernel, 65535, dst.world), 0);
    EXPECT_EQ(dst.bytes, want.bytes) << flags;
  }
  // Half of the next size is -32768 in 16 bits: there is no tap, so the kernel is not read.
  GuardedWorld<TypeParam> src(3, 3, 0, 1), dst(3, 3, 0, 2);
  const auto cleared =
      dst.Expected([](int, int) { return true; }, [](auto) { return TypeParam{}; });
  ASSERT_EQ(Convolve(src.world, 0, {0}, 65537, dst.world), 0);
  EXPECT_EQ(dst.bytes, cleared);
}

TEST(Convolve, WorldsOfNoSize) {
  for (const int32_t size : {0, -1, INT32_MIN}) {
    GuardedWorld<VX_Pixel8> src(4, 4, 0, 1), dst(4, 4, 0, 2);
    const auto before = dst.bytes;
    VX_LayerDef none = src.world, narrow = dst.world, flat = dst.world;
    narrow.width = flat.height = size;
    EXPECT_EQ(Convolve(src.world, 0, {256}, 1, narrow), 0);
    EXPECT_EQ(Convolve(src.world, 0, {256}, 1, flat), 0);
    EXPECT_EQ(dst.bytes, before);
    none.width = none.height = size;
    const auto cleared =
        dst.Expected([](int, int) { return true; }, [](auto) { return VX_Pixel8{}; });
    EXPECT_EQ(Convolve(none, 0, {256}, 1, dst.world), 0);
    EXPECT_EQ(dst.bytes, cleared);
  }
}

TEST(Convolve, RefusesToReadWhatItWrites) {
  GuardedWorld<VX_Pixel8> world(5, 4, 3, 1);
  const auto before = world.bytes;
  VX_LayerDef within = world.world;
  within.width = within.height = 2;
  EXPECT_EQ(Convolve(world.world, 0, {256}, 1, world.world), 3);
  EXPECT_EQ(Convolve(world.world, 0, {256}, 1, within), 3);
  EXPECT_EQ(world.bytes, before);
  Reports();
}

// --- kernels -------------------------------------------------------------------------------------

TEST(GaussianKernel, KeepsSixteenBitsOfTheReach) {
  EXPECT_EQ(VX_GaussianKernelSize(32767.0, VX_Kernel_OneDimensional), 65535);
  EXPECT_EQ(VX_GaussianKernelSize(32767.0, 0), int64_t{65535} * 65535);
  EXPECT_EQ(VX_GaussianKernelSize(65536.5, 0), 9);
  int32_t diameter = 0, kernel[9] = {};
  ASSERT_EQ(VX_GaussianKernel(nullptr, 65536.5, 0, 1.0, &diameter, kernel), 0);
  EXPECT_EQ(diameter, 3);
  EXPECT_EQ(kernel[0], 255);
  // 32768 and 98304 are negative in 16 bits.
  for (const double radius : {-1.0, -1e-9, std::nan(""), HUGE_VAL, 1e300, 32767.5, 98304.0}) {
    EXPECT_EQ(VX_GaussianKernel(nullptr, radius, 0, 1.0, &diameter, kernel), 3) << radius;
    EXPECT_EQ(VX_GaussianKernelSize(radius, 0), 0) << radius;
  }
  EXPECT_EQ(VX_GaussianKernel(nullptr, 1.0, 0, std::nan(""), &diameter, kernel), 3);
  EXPECT_EQ(VX_GaussianKernel(nullptr, 1.0, 0, 1.0, nullptr, kernel), 3);
  EXPECT_EQ(VX_GaussianKernel(nullptr, 1.0, 0, 1.0, &diameter, nullptr), 3);
  EXPECT_EQ(Reports().size(), 10u);
}

}  // namespace

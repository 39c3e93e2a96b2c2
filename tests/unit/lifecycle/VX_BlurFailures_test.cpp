// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Blurs that run out of memory.

#include <gtest/gtest.h>

#include <vector>

#include "VX/VX_Blur.h"
#include "VX/VX_Package.h"
#include "hostdouble/HostDouble.h"

namespace {

constexpr int32_t kSize = 40;

struct Scene {
  explicit Scene(int16_t depth)
      : src(VX_World::New(kSize, kSize, depth, VX_WorldFlag_Clear)),
        dst(VX_World::New(kSize, kSize, depth, VX_WorldFlag_Clear)) {
    src->Fill(VX_PixelFloat{0.5f, 1, 0, 0}, nullptr);
    PaintDestination();
  }
  void PaintDestination() { dst->Fill(VX_PixelFloat{0.75f, 0, 0, 1}, nullptr); }
  ~Scene() {
    delete src;
    delete dst;
  }

  // 0 and 1 are the passes, 2 is both axes: the code that is thrown or returned.
  VX_Err Blur(int kind) {
    const VX_BlurSpec spec = {VX_BlurKind_Box, 3, 3, 2, 31};
    try {
      if (kind == 0) VX_GaussianBlur1D(nullptr, src, 3, 15, 0, 0, 1, 1, 0, dst);
      if (kind == 1) VX_BoxBlur1D(nullptr, src, 3, 2, 15, 0, 0, 1, 1, 0, dst);
      return kind == 2 ? VX_BlurWorld(nullptr, src, &spec, dst) : 0;
    } catch (VX_Err code) {
      return code;
    }
  }
  std::vector<uint8_t> Bytes() const {
    const auto* first = static_cast<const uint8_t*>(dst->data);
    return {first, first + static_cast<ptrdiff_t>(dst->rowbytes) * kSize};
  }

  VX_World *src, *dst;
};

class BlurFailures : public testing::Test {
 protected:
  void SetUp() override {  // born before a host is watched
    VX_Death();
    ASSERT_EQ(VX_Birth(), 0);
  }
};

// One failure is mended by the purge and a second try, or it is 4 and the destination stays. A host
// that cannot purge ends the pass with the code it gave. Nothing is left behind in any case.
TEST_F(BlurFailures, OutOfMemoryLeavesTheDestination) {
  for (const int16_t depth : {8, 16, 32}) {
    for (int kind = 0; kind < 3; ++kind) {
      HostDouble host;
      {
        Scene scene(depth), want(depth);
        ASSERT_EQ(want.Blur(kind), 0);
        const auto before = scene.Bytes();
        int retried = 0;
        for (int nth = 1;; ++nth) {
          scene.PaintDestination();
          const int64_t attempts = host.AllocationCount();
          host.FailAllocation(nth);
          const VX_Err error = scene.Blur(kind);
          if (error == 0 && host.AllocationCount() - attempts < nth) break;
          EXPECT_TRUE(error == 0 || error == 4) << error;
          EXPECT_TRUE(scene.Bytes() == (error == 0 ? want.Bytes() : before));
          retried += error == 0 ? 1 : 0;
        }
        EXPECT_GT(retried, 0);
        host.FailAllocation(0);
        scene.PaintDestination();
        host.Fail("U_PurgeLoop", 42);
        EXPECT_EQ(scene.Blur(kind), 42);
        EXPECT_TRUE(scene.Bytes() == before);
        EXPECT_EQ(host.Accounted(), 0);
      }
      EXPECT_EQ(host.Leaked(), 0);
    }
  }
}

}  // namespace

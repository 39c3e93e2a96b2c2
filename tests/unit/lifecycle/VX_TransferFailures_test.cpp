// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// A transfer that runs out of memory, or is stopped.

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "VX/VX_Package.h"
#include "VX/VX_Transfer.h"
#include "VX/VX_World.h"
#include "hostdouble/HostDouble.h"

namespace {

constexpr int32_t kSize = 300;

struct Scene {
  explicit Scene(int16_t depth)
      : src(VX_World::New(kSize, kSize, depth, VX_WorldFlag_Clear)),
        mask(VX_World::New(kSize, kSize, depth, VX_WorldFlag_Clear)),
        dst(VX_World::New(kSize, kSize, depth, VX_WorldFlag_Clear)) {
    src->Fill(VX_PixelFloat{0.5f, 1, 0, 0}, nullptr);
    mask->Fill(VX_PixelFloat{1, 1, 1, 1}, nullptr);
    dst->Fill(VX_PixelFloat{0.75f, 0, 0, 1}, nullptr);
  }
  ~Scene() {
    for (VX_World* world : {src, mask, dst}) delete world;
  }

  VX_Err Transfer(int32_t mode_number, VX_ProgressInfo* progress = nullptr) {
    const VX_CompositeModePlus mode(mode_number, 1, nullptr, true, 0);
    const VX_MaskSpec spec{mask, 0, 0, VX_MaskUse_Luma};
    return VX_TransferRect(progress, 0, 0, 0, nullptr, src, &mode, nullptr, &spec, 0, 0, dst);
  }
  std::vector<uint8_t> Bytes() const {
    const auto* first = static_cast<const uint8_t*>(dst->data);
    return {first, first + static_cast<ptrdiff_t>(dst->rowbytes) * kSize};
  }

  VX_World *src, *mask, *dst;
};

// Born before a host is watched, so that what is counted is the transfer's.
class TransferFailures : public testing::Test {
 protected:
  void SetUp() override {
    VX_Death();
    ASSERT_EQ(VX_Birth(), 0);
  }
};

// Every allocation in turn: 4, the destination as it was (also by a stencil, which clears outside
// its rectangle), nothing left behind.
TEST_F(TransferFailures, OutOfMemoryLeavesTheDestination) {
  for (const int16_t depth : {8, 16, 32}) {
    for (const int32_t mode : {int32_t{VX_Xfer_Multiply}, int32_t{VX_Xfer_StencilAlpha}}) {
      HostDouble host;
      {
        Scene scene(depth);
        const auto before = scene.Bytes();
        int nth = 1;
        for (;; ++nth) {
          host.FailAllocation(nth);
          const VX_Err error = scene.Transfer(mode);
          if (error == 0) break;
          EXPECT_EQ(error, 4);
          EXPECT_EQ(scene.Bytes(), before) << "depth " << depth << ", allocation " << nth;
        }
        host.FailAllocation(0);
        EXPECT_EQ(nth, mode == VX_Xfer_Multiply ? 3 : 2);  // alpha row and mask row; mask row
        EXPECT_EQ(host.Allocations().back().label, "blending scratch buffer");
      }
      EXPECT_EQ(host.Leaked(), 0);
    }
  }
}

// Progress is asked at rows 0, 128 and 256, after the row; what it gives ends the call.
TEST_F(TransferFailures, StopsWhereProgressSaysSo) {
  HostDouble host;
  {
    Scene scene(8);
    std::vector<int32_t> steps;
    VX_ProgressInfo progress{};
    progress.progress_refcon = &steps;
    progress.progress_func = [](void* refcon, int32_t step, int32_t final_step) -> VX_Err {
      auto& seen = *static_cast<std::vector<int32_t>*>(refcon);
      seen.push_back(step);
      return step == 128 ? VX_ErrStopped : final_step == kSize ? 0 : 99;
    };
    const auto before = scene.Bytes();
    EXPECT_EQ(scene.Transfer(VX_Xfer_Multiply, &progress), VX_ErrStopped);
    EXPECT_EQ(steps, (std::vector<int32_t>{0, 128}));
    const auto after = scene.Bytes();
    const ptrdiff_t drawn = ptrdiff_t{129} * scene.dst->rowbytes;
    EXPECT_NE(std::memcmp(after.data() + drawn - scene.dst->rowbytes,
                          before.data() + drawn - scene.dst->rowbytes, 4),
              0);
    EXPECT_EQ(std::memcmp(after.data() + drawn, before.data() + drawn,
                          before.size() - static_cast<size_t>(drawn)),
              0);
  }
  EXPECT_EQ(host.Leaked(), 0);
}

}  // namespace

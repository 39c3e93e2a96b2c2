// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// A transform that runs out of memory.

#include <gtest/gtest.h>

#include <vector>

#include "VX/VX_Package.h"
#include "VX/VX_Transform.h"
#include "VX/VX_World.h"
#include "hostdouble/HostDouble.h"

namespace {

constexpr int32_t kSize = 60;

// Each allocation in turn: 4, the destination as it was (also by a stencil, which clears outside),
// nothing left behind. A row of samples, of alphas, of mask values; with a path that turns, its
// intervals and a row of sums.
TEST(TransformFailures, OutOfMemoryLeavesTheDestination) {
  VX_Death();
  ASSERT_EQ(VX_Birth(), 0);
  const struct {
    int32_t mode, matrices, allocations;
  } cases[] = {{VX_Xfer_Multiply, 1, 3},
               {VX_Xfer_StencilAlpha, 2, 2},
               {VX_Xfer_InFront, 3, 5},
               {VX_Xfer_StencilLuma, 257, 4}};
  VX_TransformParts turned;
  turned.rotation = 40;
  M_Matrix3 matrices[257];
  for (const int16_t depth : {8, 16, 32}) {
    for (const auto& c : cases) {
      ASSERT_EQ(VX_MatricesBetween(&turned, &turned, 257, matrices), 0);
      VX_TransformParts end = turned;
      end.rotation = c.matrices > 1 ? 80 : 40;
      ASSERT_EQ(VX_MatricesBetween(&turned, &end, c.matrices, matrices), 0);
      HostDouble host;
      {
        VX_World* const worlds[] = {VX_World::New(kSize, kSize, depth, VX_WorldFlag_Clear),
                                    VX_World::New(kSize, kSize, depth, VX_WorldFlag_Clear),
                                    VX_World::New(kSize, kSize, depth, VX_WorldFlag_Clear)};
        for (VX_World* world : worlds) world->Fill(VX_PixelFloat{1, 0.5f, 0.25f, 1}, nullptr);
        VX_World* const dst = worlds[2];
        dst->Fill(VX_PixelFloat{0.75f, 0, 1, 0}, nullptr);
        const auto bytes = [&] {
          const auto* first = static_cast<const uint8_t*>(dst->data);
          return std::vector<uint8_t>(first, first + static_cast<ptrdiff_t>(dst->rowbytes) * kSize);
        };
        const auto before = bytes();
        const VX_CompositeModePlus mode(c.mode, 0.5f, nullptr, true, 0);
        const VX_TransformMask mask{worlds[1], 0, 0, VX_MaskUse_InverseLuma};
        int nth = 1;
        for (;; ++nth) {
          host.FailAllocation(nth);
          const VX_Err error = VX_TransformWorld(nullptr, 1, 0, 0, worlds[0], &mode, nullptr, &mask,
                                                 matrices, c.matrices, 1, nullptr, dst);
          if (error == 0) break;
          EXPECT_EQ(error, 4);
          EXPECT_TRUE(bytes() == before) << "depth " << depth << ", allocation " << nth;
        }
        host.FailAllocation(0);
        EXPECT_TRUE(bytes() != before);
        EXPECT_EQ(nth, c.allocations + 1) << "mode " << c.mode;
        EXPECT_EQ(host.Allocations().back().label, "blending scratch buffer");
        for (VX_World* world : worlds) delete world;
      }
      EXPECT_EQ(host.Leaked(), 0);
    }
  }
}

}  // namespace

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Making worlds on a host that fails: the code comes out, nothing stays behind.

#include <gtest/gtest.h>

#include "VX/VX_World.h"
#include "frame/VXp_Counters.h"
#include "hostdouble/HostDouble.h"

TEST(WorldFailures, EachAllocationAndEachServiceOfBitmaps) {
  HostDouble host;
  const int32_t live = VXp_LiveWorlds();
  const auto make = [](uint32_t flags) {  // the thrown code, 0 for null, 1 for a world
    try {
      VX_World* world = VX_World::New(5, 4, 16, flags);
      delete world;
      return world != nullptr ? 1 : 0;
    } catch (int32_t code) {
      return code;
    }
  };
  for (const uint32_t flags : {0u, uint32_t{VX_WorldFlag_BMWorld}}) {
    int nth = 1;
    for (; nth < 20; ++nth) {
      host.FailAllocation(nth);
      const int outcome = make(flags);
      if (outcome == 1) break;
      EXPECT_EQ(outcome, nth == 1 ? 0 : 4);  // the object itself comes first
    }
    EXPECT_GT(nth, 2);
    host.FailAllocation(0);
  }
  VX_LayerDef plain{};
  host.FailAllocation(1);
  EXPECT_EQ(VX_World::NewReference(&plain), nullptr);
  for (const char* service : {"BM_NewWorld", "BM_LoadLockPixels"}) {
    host.Fail(service, 99);
    EXPECT_EQ(make(VX_WorldFlag_BMWorld), 99);
    host.Fail(service, 0);
  }
  host.HideBitmapBase(true);
  EXPECT_EQ(make(VX_WorldFlag_BMWorld | VX_WorldFlag_Clear), 1);
  EXPECT_EQ(host.Leaked(), 0);
  EXPECT_EQ(host.WindowModes(), 0);
  EXPECT_EQ(VXp_LiveWorlds(), live);
}

// The host is told the size that it was asked for.
TEST(WorldFailures, FramesAreFreedWithTheirSize) {
  HostDouble host;
  delete VX_World::New(7, 3, 32, VX_WorldFlag_Clear);
  ASSERT_EQ(host.FrameFrees().size(), 1u);
  EXPECT_EQ(host.FrameFrees()[0].allocated, 112u * 2 + 112 + 96 + 8);
  EXPECT_EQ(host.FrameFrees()[0].told, host.FrameFrees()[0].allocated);
}

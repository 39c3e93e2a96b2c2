// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include <gtest/gtest.h>

#include <bit>
#include <memory>
#include <string>
#include <vector>

#include "VX/VX_Cursor.h"
#include "VX/VX_OverrideTable.h"
#include "VX/VX_Package.h"
#include "frame/VXp_Counters.h"
#include "frame/VXp_VectorConstants.h"
#include "hostdouble/HostDouble.h"

namespace {

using Names = std::vector<std::string>;

const Names kBirthCalls = {
    "M_PrepareFCMD",    "RND_GetPrimeSizedTable", "LIST_New",      "FILE_AddExtensionMap",
    "PLUG_InstallScan", "COR_GetQIBAddressProc",  "COR_BindClient"};
const Names kDeathCalls = {"M_UnprepareFCMD", "LIST_Dispose", "COR_ReleaseClient"};

// Starts unborn, and leaves a born package to the other tests of the program.
class VXBirth : public testing::Test {
 protected:
  VXBirth() {
    VX_Death();
    host = std::make_unique<HostDouble>();
  }
  ~VXBirth() override {
    host.reset();
    VX_Death();
    EXPECT_EQ(VX_Birth(), 0);
  }
  void FreshHost() {
    host.reset();
    host = std::make_unique<HostDouble>();
  }
  // A package in order can be born and buried, and leaves nothing.
  void ExpectWholeLife(const std::string& after) {
    FreshHost();
    EXPECT_EQ(VX_Birth(), 0) << after;
    EXPECT_EQ(host->CallNames(), kBirthCalls) << after;
    EXPECT_EQ(VX_Death(), 0) << after;
    EXPECT_EQ(host->Leaked(), 0) << after;
  }

  std::unique_ptr<HostDouble> host;
};

TEST_F(VXBirth, StepsInOrderAndUndoneByDeath) {
  EXPECT_EQ(VX_Birth(), 0);
  EXPECT_EQ(host->CallNames(), kBirthCalls);
  EXPECT_EQ(host->CallsTo("M_PrepareFCMD")[0].args, (std::vector<int64_t>{1, 0, 0}));
  EXPECT_EQ(host->CallsTo("LIST_New")[0].args, (std::vector<int64_t>{2, 16, 1, 1}));
  EXPECT_EQ(host->CallsTo("FILE_AddExtensionMap")[0].args,
            (std::vector<int64_t>{0x2E525A58, -1}));  // '.', 'R', 'Z', 'X' from the top byte
  EXPECT_EQ(host->CallsTo("FILE_AddExtensionMap")[0].text, ".RZX");
  EXPECT_EQ(host->CallsTo("PLUG_InstallScan")[0].args,
            (std::vector<int64_t>{0, 2, 0x65465354, 0x2E525A58}));
  EXPECT_TRUE(host->client_bound);
  EXPECT_EQ(VXHost_RunPlugScan(), 0);

  EXPECT_EQ(VX_Death(), 0);
  Names names = host->CallNames();
  names.erase(names.begin(), names.begin() + static_cast<ptrdiff_t>(kBirthCalls.size()));
  EXPECT_EQ(names, kDeathCalls);
  EXPECT_EQ(host->Leaked(), 0);
  EXPECT_EQ(VXHost_GetPairs().byte_tables, 0);
  EXPECT_FALSE(host->client_bound);
  EXPECT_TRUE(VXHost_TakeReports().empty());

  const auto& log = host->log;
  ASSERT_EQ(log.size(), 2u);
  EXPECT_EQ(log[0].level, 10);
  EXPECT_EQ(log[0].component + "|" + log[0].event + "|" + log[0].text, "VX|Birth|VX Birth");
  EXPECT_EQ(log[1].component + "|" + log[1].event + "|" + log[1].text, "VX|Death|VX Death");
}

TEST_F(VXBirth, TablesAfterBirth) {
  VXp_AddLiveWorlds(3);
  VXp_AddLiveChunks(2);
  ASSERT_EQ(VX_Birth(), 0);
  EXPECT_EQ(VXp_LiveWorlds(), 0);
  EXPECT_EQ(VXp_LiveChunks(), 0);
  for (int i = 0; i < 256; ++i) EXPECT_EQ(VXp_G_ByteToFloat[i], i);
  EXPECT_EQ(VXp_G_fcm_table[128 * 256 + 128], 64);  // 128 * 128 / 255
  EXPECT_EQ(VXp_G_fcd_table[128 * 256 + 64], 128);  // 64 * 255 / 128, rounded
  for (uint8_t zero : VX_G_ZeroData) EXPECT_EQ(zero, 0);
}

TEST_F(VXBirth, AFailedServiceStopsTheRest) {
  for (size_t step = 0; step < kBirthCalls.size(); ++step) {
    const std::string& service = kBirthCalls[step];
    FreshHost();
    VXp_G_OverFuncs.VX_NNSample = [](auto...) -> VX_Err { return 0; };
    VXp_AddLiveWorlds(5);
    host->Fail(service, 99);
    EXPECT_EQ(VX_Birth(), service == "COR_BindClient" ? 1 : 99) << service;
    EXPECT_EQ(host->CallNames(), Names(kBirthCalls.begin(), kBirthCalls.begin() + step + 1));
    // The state of the process is reset whatever fails; the table is filled before the engine.
    EXPECT_EQ(VXp_LiveWorlds(), 0) << service;
    EXPECT_EQ(VXp_G_ByteToFloat[255], 255.0f) << service;
    EXPECT_EQ(VXp_G_OverFuncs.VX_NNSample == nullptr, step < 5) << service;

    EXPECT_EQ(VX_Death(), 0) << service;
    EXPECT_EQ(host->Leaked(), 0) << service;
    ExpectWholeLife(service);
  }
}

TEST_F(VXBirth, AThrowingNoiseServiceBecomesACode) {
  struct {
    U_Err thrown;
    VX_Err expected;
  } const cases[] = {{42, 42}, {0 /* std::bad_alloc */, 4}};
  for (const auto& c : cases) {
    FreshHost();
    host->Throw("RND_GetPrimeSizedTable", c.thrown);
    EXPECT_EQ(VX_Birth(), c.expected);
    EXPECT_EQ(host->CallsTo("LIST_New").size(), 0u);
    EXPECT_EQ(VX_Death(), 0);
    EXPECT_EQ(host->Leaked(), 0);
  }
}

TEST_F(VXBirth, AnyAllocationMayFail) {
  ASSERT_EQ(VX_Birth(), 0);
  ASSERT_EQ(VX_Death(), 0);
  const int count = static_cast<int>(host->AllocationCount());
  ASSERT_EQ(count, 11);  // seven blocks, three rows, one list
  for (int nth = 1; nth <= count; ++nth) {
    FreshHost();
    host->FailAllocation(nth);
    EXPECT_EQ(VX_Birth(), 4) << nth;
    EXPECT_EQ(VX_Death(), 0) << nth;
    EXPECT_EQ(host->Leaked(), 0) << nth;
    ExpectWholeLife("allocation " + std::to_string(nth));
  }
}

TEST_F(VXBirth, DeathKeepsTheFirstErrorAndReleasesAll) {
  EXPECT_EQ(VX_Death(), 0);  // without a birth
  struct {
    U_Err unprepare, dispose;
    VX_Err expected;
  } const cases[] = {{9, 0, 9}, {0, 8, 8}, {9, 8, 9}};
  for (const auto& c : cases) {
    FreshHost();
    ASSERT_EQ(VX_Birth(), 0);
    host->Fail("M_UnprepareFCMD", c.unprepare);
    host->Fail("LIST_Dispose", c.dispose);
    EXPECT_EQ(VX_Death(), c.expected);
    EXPECT_EQ(host->Leaked(), 0);
    EXPECT_FALSE(host->client_bound);
  }
}

// --- vector constants ----------------------------------------------------------------------------

uint32_t Bits(float value) { return std::bit_cast<uint32_t>(value); }

TEST_F(VXBirth, VectorConstantsFollowTheProcessor) {
  constexpr uint32_t kOnes = 0xFFFFFFFF;
  const struct {
    const VX_Vector128* constant;
    uint32_t lanes[4];
  } cases[] = {
      {&VX_G_AlphaMask32, {kOnes, 0, 0, 0}},
      {&VX_G_BGRMask32, {0, kOnes, kOnes, kOnes}},
      {&VX_G_vfHalf, {Bits(0.5f), Bits(0.5f), Bits(0.5f), Bits(0.5f)}},
      {&VX_G_viLoWordMask, {0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF}},
      {&VXp_G_Vectors.half_byte_16, {0x00800080, 0x00800080, 0x00800080, 0x00800080}},
      {&VXp_G_Vectors.d255_0, {0, 0x406FE000, 0, 0}},  // 255.0 = 1.9921875 * 2^7
      {&VXp_G_Vectors.f0_1_0_1, {0, Bits(1), 0, Bits(1)}},
  };
  // The last birth without the flag must also clear what the second one filled.
  for (const bool has_sse2 : {false, true, false}) {
    FreshHost();
    U_G_CPU_DataP[U_CPU_HAS_SSE2] = has_sse2;
    ASSERT_EQ(VX_Birth(), 0);
    for (const auto& c : cases) {
      for (int lane = 0; lane < 4; ++lane) {
        EXPECT_EQ(c.constant->lane[lane], has_sse2 ? c.lanes[lane] : 0u)
            << "constant " << &c - cases << " lane " << lane;
      }
    }
    ASSERT_EQ(VX_Death(), 0);
  }
}

// --- cursor handlers -----------------------------------------------------------------------------

TEST_F(VXBirth, CursorHandlersLiveFromBirthToDeath) {
  const auto first = std::make_shared<int>(1);
  const auto second = std::make_shared<int>(2);
  const auto holding = [](std::shared_ptr<int> held) -> VX_OffscreenCursorHandler {
    return [held](void*, M_LPoint*) -> VX_Err { return *held; };
  };
  int port = 0;
  EXPECT_EQ(VX_RegisterOffsreenCURMOUSEHandler(&port, holding(first)), 3);  // not born
  EXPECT_EQ(VX_UnRegisterOffsreenCURMOUSEHandler(&port), 3);

  ASSERT_EQ(VX_Birth(), 0);
  EXPECT_EQ(VX_RegisterOffsreenCURMOUSEHandler(nullptr, holding(first)), 3);
  EXPECT_EQ(VX_RegisterOffsreenCURMOUSEHandler(&port, {}), 3);
  EXPECT_EQ(VX_RegisterOffsreenCURMOUSEHandler(&port, holding(first)), 0);
  EXPECT_EQ(first.use_count(), 2);
  EXPECT_EQ(VX_RegisterOffsreenCURMOUSEHandler(&port, holding(second)), 0);
  EXPECT_EQ(first.use_count(), 1);  // one handler a port
  EXPECT_EQ(VX_UnRegisterOffsreenCURMOUSEHandler(&port), 0);
  EXPECT_EQ(second.use_count(), 1);
  EXPECT_EQ(VX_UnRegisterOffsreenCURMOUSEHandler(&port), 3);

  EXPECT_EQ(VX_RegisterOffsreenCURMOUSEHandler(&port, holding(second)), 0);
  EXPECT_EQ(VX_Death(), 0);
  EXPECT_EQ(second.use_count(), 1);
}

}  // namespace

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "VX/VX_Cursor.h"
#include "VX/VX_OverrideTable.h"
#include "VX/VX_Package.h"
#include "frame/VXp_Counters.h"
#include "host/PLUG.h"
#include "hostdouble/HostDouble.h"

namespace {

using Names = std::vector<std::string>;
using Numbers = std::vector<int64_t>;

const Names kBirthCalls = {
    "M_PrepareFCMD",    "RND_GetPrimeSizedTable", "LIST_New",      "FILE_AddExtensionMap",
    "PLUG_InstallScan", "COR_GetQIBAddressProc",  "COR_BindClient"};
const Names kDeathCalls = {"M_UnprepareFCMD", "LIST_Dispose", "COR_ReleaseClient"};

// Starts before birth. The library is born again for the other tests of the program.
class VXBirth : public testing::Test {
 protected:
  VXBirth() {
    VX_Death();
    host.emplace();
  }
  ~VXBirth() override {
    host.reset();
    VX_Death();
    EXPECT_EQ(VX_Birth(), 0);
  }
  void FreshHost() {
    host.reset();
    host.emplace();
  }

  std::optional<HostDouble> host;
};

TEST_F(VXBirth, StepsInOrderAndUndoneByDeath) {
  VXp_AddLiveWorlds(3);
  VXp_AddLiveChunks(2);
  EXPECT_EQ(VX_Birth(), 0);
  EXPECT_EQ(VXp_LiveWorlds() + VXp_LiveChunks(), 0);
  EXPECT_EQ(host->CallNames(), kBirthCalls);
  const Numbers args[] = {{1, 0, 0},
                          {},
                          {2, 16, 1, 1},
                          {0x2E525A58, -1},
                          {0, 2, 0x65465354, 0x2E525A58}};  // the code is '.', 'R', 'Z', 'X'
  for (size_t i = 0; i < 5; ++i) EXPECT_EQ(host->calls[i].args, args[i]) << i;
  EXPECT_EQ(host->calls[3].text, ".RZX");
  EXPECT_TRUE(host->client_bound);
  EXPECT_EQ(PLUG_RunScans(), 0);

  host->calls.clear();
  EXPECT_EQ(VX_Death(), 0);
  EXPECT_EQ(host->CallNames(), kDeathCalls);
  EXPECT_EQ(host->Leaked(), 0);
  EXPECT_EQ(VXHost_GetPairs().byte_tables, 0);
  EXPECT_FALSE(host->client_bound);
  EXPECT_TRUE(VXHost_TakeReports().empty());
  std::string log;
  for (const auto& line : host->log) {
    log += std::to_string(line.level) + line.component + line.event + ":" + line.text + ";";
  }
  EXPECT_EQ(log, "10VXBirth:VX Birth;10VXDeath:VX Death;");
}

// A failed service or allocation ends the birth. Death releases everything and returns its first
// error; the next birth is complete.
TEST_F(VXBirth, Failures) {
  struct Failure {
    std::string what;
    std::function<void()> arrange;
    VX_Err birth, death = 0;
    size_t calls = 0;  // during birth; 0: any number
  };
  std::vector<Failure> failures = {
      {"noise, a code is thrown", [&] { host->Throw(kBirthCalls[1], 42); }, 42, 0, 2},
      {"noise, std::bad_alloc", [&] { host->Throw(kBirthCalls[1], 0); }, 4, 0, 2}};
  for (size_t i = 0; i < kBirthCalls.size(); ++i) {
    failures.push_back({kBirthCalls[i], [this, i] { host->Fail(kBirthCalls[i], 99); },
                        kBirthCalls[i] == "COR_BindClient" ? 1 : 99, 0, i + 1});
  }
  for (int nth = 1; nth <= 11; ++nth) {  // seven blocks, three rows, one list
    failures.push_back(
        {"allocation " + std::to_string(nth), [this, nth] { host->FailAllocation(nth); }, 4});
  }
  for (const auto& [unprepare, dispose] : {std::pair{9, 0}, {0, 8}, {9, 8}}) {
    const auto arrange = [this, first = unprepare, second = dispose] {
      host->Fail("M_UnprepareFCMD", first);
      host->Fail("LIST_Dispose", second);
    };
    failures.push_back({"death", arrange, 0, unprepare != 0 ? unprepare : dispose, 7});
  }
  EXPECT_EQ(VX_Death(), 0);  // without a birth
  for (const Failure& failure : failures) {
    SCOPED_TRACE(failure.what);
    FreshHost();
    VXp_G_OverFuncs.VX_NNSample = [](auto...) -> VX_Err { return 0; };
    VXp_AddLiveWorlds(5);
    failure.arrange();
    EXPECT_EQ(VX_Birth(), failure.birth);
    const size_t calls = host->calls.size();
    EXPECT_TRUE(failure.calls == 0 || failure.calls == calls) << calls;
    // The state of the process is reset; the override table is filled before the colour engine.
    EXPECT_EQ(VXp_LiveWorlds(), 0);
    EXPECT_EQ(VXp_G_ByteToFloat[255], 255.0f);
    EXPECT_EQ(VXp_G_OverFuncs.VX_NNSample == nullptr, calls < 6);
    EXPECT_EQ(VX_Death(), failure.death);
    EXPECT_EQ(host->Leaked(), 0);
    EXPECT_FALSE(host->client_bound);

    FreshHost();
    EXPECT_EQ(VX_Birth(), 0);
    EXPECT_EQ(host->CallNames(), kBirthCalls);
    EXPECT_EQ(VX_Death(), 0);
    EXPECT_EQ(host->Leaked(), 0);
    EXPECT_EQ(host->AllocationCount(), 11);
  }
}

// A record without the value of U_CPU_SAMPLING is that of another host.
TEST_F(VXBirth, SamplingRuleFollowsTheRecord) {
  const struct {
    uint32_t sampling, sse2;
    bool single;
  } cases[] = {{U_CPU_SAMPLING_SINGLE, 0, true}, {0, 0, false}, {0, 1, true}, {1, 0, false}};
  for (const auto& c : cases) {
    FreshHost();
    U_G_CPU_DataP[U_CPU_SAMPLING] = c.sampling;
    U_G_CPU_DataP[U_CPU_HAS_SSE2] = c.sse2;
    ASSERT_EQ(VX_Birth(), 0);
    EXPECT_EQ(VXp_G_OverFuncs.VX_SubpixelSampleNoClip_Straight,
              c.single ? &VX_SubpixelSampleNoClip_Straight_SSE2 : &VX_SubpixelSampleNoClip_Straight)
        << &c - cases;
    ASSERT_EQ(VX_Death(), 0);
  }
}

TEST_F(VXBirth, CursorHandlersLiveFromBirthToDeath) {
  const auto first = std::make_shared<int>(1), second = std::make_shared<int>(2);
  int port = 0;
  const auto set = [](void* to, const std::shared_ptr<int>& held) {
    return VX_RegisterOffsreenCURMOUSEHandler(to,
                                              [held](void*, M_LPoint*) -> VX_Err { return *held; });
  };
  EXPECT_EQ(set(&port, first), 3);  // before birth
  EXPECT_EQ(VX_UnRegisterOffsreenCURMOUSEHandler(&port), 3);

  ASSERT_EQ(VX_Birth(), 0);
  EXPECT_EQ(set(nullptr, first), 3);
  EXPECT_EQ(VX_RegisterOffsreenCURMOUSEHandler(&port, {}), 3);
  EXPECT_EQ(set(&port, first), 0);
  EXPECT_EQ(first.use_count(), 2);
  EXPECT_EQ(set(&port, second), 0);
  EXPECT_EQ(first.use_count(), 1);  // one handler per port
  EXPECT_EQ(VX_UnRegisterOffsreenCURMOUSEHandler(&port), 0);
  EXPECT_EQ(second.use_count(), 1);
  EXPECT_EQ(VX_UnRegisterOffsreenCURMOUSEHandler(&port), 3);
  EXPECT_EQ(set(&port, second), 0);
  EXPECT_EQ(VX_Death(), 0);
  EXPECT_EQ(second.use_count(), 1);
}

}  // namespace

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The means by which other tests make services fail must not fail themselves.

#include "hostdouble/HostDouble.h"

#include <gtest/gtest.h>

#include "host/BM.h"
#include "host/LIST.h"
#include "host/M.h"
#include "host/PLUG.h"
#include "host/RND.h"

namespace {

struct Object : U_MemTrackedObject {
  int number = 7;
};

TEST(HostDouble, OneCounterFailsAllKindsOfAllocation) {
  // Six attempts: a block, a handle's two, an object, a frame, a bitmap's first. (A failed first
  // attempt of the handle leaves its second out; the failure is spent by then.)
  for (int nth = 1; nth <= 6; ++nth) {
    HostDouble host;
    host.OffsetFrames(true);
    host.FailAllocation(nth);
    void* block = U_AllocatePtr(0x250047, "label", 10, 0);
    void** handle = U_AllocateHandle(1, "", 10);
    Object* object = new Object;
    void* frame = nullptr;
    BM_AllocateFrameQuiet(24, 0, &frame);
    BM_World** world = nullptr;
    const U_Err error = BM_NewWorld(0, 8, {0, 0, 2, 2}, 64, 0, 0, &world);
    EXPECT_EQ(block == nullptr, nth == 1);
    EXPECT_EQ(handle == nullptr, nth == 2 || nth == 3);
    EXPECT_EQ(object == nullptr, nth == 4);
    EXPECT_EQ(frame == nullptr, nth == 5);
    EXPECT_EQ(error, nth == 6 ? 4 : 0);
    if (frame) {
      EXPECT_EQ(reinterpret_cast<uintptr_t>(frame) % 16, 8u);
    }
    EXPECT_EQ(host.Allocations()[0].label, "label");
    EXPECT_EQ(host.Allocations()[0].failed, nth == 1);
    EXPECT_GT(host.Leaked(), 0);
    U_FreePtr(block);
    U_FreeHandle(handle);
    delete object;
    BM_FreeFrame(frame, 23);
    if (frame) {
      EXPECT_EQ(host.FrameFrees().at(0).allocated, 24u);
      EXPECT_EQ(host.FrameFrees().at(0).told, 23u);
    }
    BM_DisposeWorld(world);
    EXPECT_EQ(host.Leaked(), 0);
  }
}

TEST(HostDouble, ServicesFailOnDemandAndRecover) {
  {
    HostDouble host;
    host.FailVersionCheck("BM");
    host.Fail("M_PrepareFCMD", 4, /*nth=*/2);
    host.Throw("LIST_New", 0);
    host.Throw("RND_GetPrimeSizedTable", 12);
    EXPECT_EQ(BM_CheckVersions(5, BM_PKG_VERSION), 7);
    EXPECT_EQ(M_CheckVersions(5, M_PKG_VERSION), 0);
    EXPECT_EQ(M_PrepareFCMD(1, 0, 0, nullptr, nullptr), 0);
    EXPECT_EQ(M_PrepareFCMD(1, 0, 0, nullptr, nullptr), 4);
    EXPECT_EQ(host.ByteTables(), 1);
    EXPECT_EQ(host.CallNames(), (std::vector<std::string>{"BM_CheckVersions", "M_CheckVersions",
                                                          "M_PrepareFCMD", "M_PrepareFCMD"}));
    EXPECT_EQ(host.CallsTo("M_CheckVersions")[0].args, (std::vector<int64_t>{5, 18}));

    LIST_List* list = nullptr;
    EXPECT_THROW(LIST_New(2, 16, 1, 1, &list), std::bad_alloc);
    uint32_t* noise = nullptr;
    int32_t size = 0;
    EXPECT_THROW(RND_GetPrimeSizedTable(&noise, &size), int32_t);

    U_ReportFailedVerification(0x250031, 9, 0, "check");
    EXPECT_EQ(host.Reports().at(0).line, 9);
    EXPECT_EQ(host.TakeReportTexts(), std::vector<std::string>{"check"});
    EXPECT_TRUE(host.Reports().empty());

    host.SetProcessor(false, false);
    host.SetNumThreads(5);
  }
  EXPECT_EQ(BM_CheckVersions(5, BM_PKG_VERSION), 0);
  EXPECT_EQ(U_GetNumThreads(), 1);
  HostDouble host;
  EXPECT_TRUE(host.Calls().empty());

  const uint32_t code = 1;
  PLUG_InstallScan(
      0, 1, &code, nullptr,
      [](void* table) { return PLUG_AddSPSuite(0, 0, "Suite", 1, 1, 1, table); }, &host);
  EXPECT_EQ(host.FindSuite("Suite", 1, nullptr), nullptr);
  EXPECT_EQ(host.RunScan(), 0);
  EXPECT_EQ(host.FindSuite("Suite", 1, nullptr), &host);
}

}  // namespace

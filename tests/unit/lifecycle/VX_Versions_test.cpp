// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The library checks run once in a process, so each case runs in a child of its own.

#include <gtest/gtest.h>

#include <cstdlib>

#include "VX/VX_Package.h"
#include "hostdouble/HostDouble.h"

namespace {

struct Library {
  const char* name;
  int64_t wanted;
};
constexpr Library kLibraries[] = {{"U_CheckVersions", 61},    {"STR_CheckVersions", 3},
                                  {"BM_CheckVersions", 31},   {"M_CheckVersions", 18},
                                  {"FILE_CheckVersions", 39}, {"LIST_CheckVersions", 9},
                                  {"RZFX_CheckVersions", 8},  {"PLUG_CheckVersions", 11}};

void ExpectAllAskedOnce(const HostDouble& host) {
  const auto& calls = host.calls;
  ASSERT_EQ(calls.size(), std::size(kLibraries));
  for (size_t i = 0; i < calls.size(); ++i) {
    EXPECT_EQ(calls[i].name, kLibraries[i].name);
    EXPECT_EQ(calls[i].args, (std::vector<int64_t>{2424931, kLibraries[i].wanted}));
  }
}

template <class Body>
void InChild(Body body) {
  EXPECT_EXIT(
      {
        body();
        std::_Exit(testing::Test::HasFailure() ? 1 : 0);
      },
      testing::ExitedWithCode(0), "");
}

TEST(VXVersions, AsksAllLibrariesInOrderAndOnlyOnce) {
  InChild([] {
    HostDouble host;
    EXPECT_EQ(VX_CheckVersions(0x1234, 17), 0);
    EXPECT_EQ(VX_CheckVersions(0x1234, 17), 0);
    ExpectAllAskedOnce(host);
    EXPECT_TRUE(VXHost_TakeReports().empty());
  });
}

TEST(VXVersions, AFailureOfAnyLibraryIsSeenByTheFirstCallerAlone) {
  for (const Library& library : kLibraries) {
    InChild([&] {
      HostDouble host;
      host.Fail(library.name, 7);
      EXPECT_EQ(VX_CheckVersions(0x1234, 17), 7) << library.name;
      ExpectAllAskedOnce(host);
      EXPECT_EQ(VX_CheckVersions(0x1234, 17), 0) << library.name;
    });
  }
}

TEST(VXVersions, AnotherHeaderIsReportedWithBothNumbers) {
  InChild([] {
    HostDouble host;
    host.Fail("BM_CheckVersions", 7);
    Up_G_err_buf[0] = 77;
    EXPECT_EQ(VX_CheckVersions(0x00420001, -5), 7);
    ExpectAllAskedOnce(host);
    EXPECT_EQ(Up_G_err_buf[0], 0);
    const auto reports = VXHost_TakeReports();
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0].check, 0x00420001u);
    EXPECT_EQ(reports[0].severity, 16);
    EXPECT_EQ(reports[0].text,
              "Plug-in version mismatch detected (did you install over an older version of "
              "Rezzon?). Try uninstalling and re-installing. (VX package v17 != VX.h v-5)");
    EXPECT_EQ(VX_CheckVersions(0x1234, 17), 0);  // the failed library was told to the first caller
    EXPECT_EQ(VX_CheckVersions(0x1234, 18), 7);
  });
}

TEST(VXVersions, TheVersionWordNeedsNoBirth) { EXPECT_EQ(VX_PkgObjectVersion(), 1114112u); }

}  // namespace

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The libraries are checked once in a process, so each case runs in a child process.

#include <gtest/gtest.h>

#include <cstdlib>

#include "VX/VX_Package.h"
#include "hostdouble/HostDouble.h"

namespace {

const std::vector<std::pair<std::string, int64_t>> kLibraries = {
    {"U_CheckVersions", 61},   {"STR_CheckVersions", 3},   {"BM_CheckVersions", 31},
    {"M_CheckVersions", 18},   {"FILE_CheckVersions", 39}, {"LIST_CheckVersions", 9},
    {"RZFX_CheckVersions", 8}, {"PLUG_CheckVersions", 11}};

// The first call checks all libraries in order, whatever fails; later calls check only the version
// of their caller.
void CheckTwice(const std::string& failing, int32_t version, VX_Err first) {
  HostDouble host;
  host.Fail(failing, 7);
  Up_G_err_buf[0] = 77;
  EXPECT_EQ(VX_CheckVersions(0x00420001, version), first);
  std::vector<std::pair<std::string, int64_t>> checked;
  for (const HostDouble::Call& call : host.calls) {
    checked.emplace_back(call.name, call.args[1]);
    EXPECT_EQ(call.args[0], 2424931);
  }
  EXPECT_EQ(checked, kLibraries);
  const auto reports = VXHost_TakeReports();
  ASSERT_EQ(reports.size(), version == 17 ? 0u : 1u);
  if (version != 17) {
    EXPECT_EQ(Up_G_err_buf[0], 0);
    EXPECT_EQ(reports[0].check, 0x00420001u);
    EXPECT_EQ(reports[0].severity, 16);
    EXPECT_EQ(reports[0].text,
              "Plug-in version mismatch detected (did you install over an older version of "
              "Rezzon?). Try uninstalling and re-installing. (VX package v17 != VX.h v" +
                  std::to_string(version) + ")");
  }
  EXPECT_EQ(VX_CheckVersions(0x1234, 17), 0);
  EXPECT_EQ(VX_CheckVersions(0x1234, 18), 7);
  EXPECT_EQ(host.calls.size(), kLibraries.size());
}

TEST(VXVersions, LibrariesOnceAndTheCallerAlways) {
  const auto in_child = [](const std::string& failing, int32_t version, VX_Err first) {
    const auto body = [&] {
      CheckTwice(failing, version, first);
      std::_Exit(testing::Test::HasFailure() ? 1 : 0);
    };
    EXPECT_EXIT(body(), testing::ExitedWithCode(0), "") << failing << version;
  };
  in_child("", 17, 0);
  in_child("BM_CheckVersions", -5, 7);
  for (const auto& [library, wanted] : kLibraries) in_child(library, 17, 7);
  EXPECT_EQ(VX_PkgObjectVersion(), 1114112u);
}

}  // namespace

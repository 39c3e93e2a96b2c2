// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// What is particular to the embedded host: its settings, its reports, its scan and its suites.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "host/BM.h"
#include "host/EMUL.h"
#include "host/FILE.h"
#include "host/M.h"
#include "host/PLUG.h"
#include "host/RLOG.h"
#include "host/VXHost.h"

namespace {

// Filled before any test's own initialiser could ask.
const uint32_t sse2_at_load = U_G_CPU_DataP[U_CPU_HAS_SSE2];

TEST(HostSettings, ProcessorAndThreads) {
#if defined(__x86_64__)
  EXPECT_NE(sse2_at_load, 0u);
#endif
  const uint32_t none[U_CPU_WORDS] = {};
  VXHost_SetProcessor(none);
  EXPECT_EQ(U_G_CPU_DataP[U_CPU_HAS_SSE2], 0u);
  VXHost_ResetProcessor();
  EXPECT_EQ(U_G_CPU_DataP[U_CPU_HAS_SSE2], sse2_at_load);

  EXPECT_EQ(U_GetNumThreads(), 1);
  VXHost_SetNumThreads(7);
  EXPECT_EQ(U_GetNumThreads(), 7);
  VXHost_SetNumThreads(0);
  EXPECT_EQ(U_GetNumThreads(), 1);
}

TEST(HostSettings, ReportsStayWithTheirThread) {
  VXHost_TakeReports();
  U_ReportFailedVerification(0x250031, 77, 0, "check");
  std::thread([] {
    Up_ReportErrString(0x250066, 8, "elsewhere");
    EXPECT_EQ(VXHost_TakeReports().size(), 1u);
  }).join();
  std::snprintf(Up_G_buffer, sizeof Up_G_buffer, "%s v%d", "VX", 17);
  Up_ReportError(0x12, 16);
  const std::vector<VXHost_Report> reports = VXHost_TakeReports();
  ASSERT_EQ(reports.size(), 2u);
  EXPECT_EQ(reports[0].check, 0x250031u);
  EXPECT_EQ(reports[0].line, 77);
  EXPECT_EQ(reports[0].severity, 0);
  EXPECT_EQ(reports[0].text, "check");
  EXPECT_EQ(reports[1].check, 0x12u);
  EXPECT_EQ(reports[1].severity, 16);
  EXPECT_EQ(reports[1].text, "VX v17");
  EXPECT_TRUE(VXHost_TakeReports().empty());

  for (int i = 0; i < 300; ++i) U_ReportFailedVerification(0, i, 0, "");
  const std::vector<VXHost_Report> newest = VXHost_TakeReports();
  ASSERT_EQ(newest.size(), 256u);
  EXPECT_EQ(newest.front().line, 44);
  EXPECT_EQ(newest.back().line, 299);
}

TEST(HostSettings, SinksReceiveInsteadOfTheList) {
  std::string seen;
  VXHost_SetReportSink([](uint32_t, int32_t, int32_t, const char* text,
                          void* context) { *static_cast<std::string*>(context) += text; },
                       &seen);
  VXHost_SetLogSink(
      [](int32_t level, const char* component, const char* event, const char* text, void* context) {
        *static_cast<std::string*>(context) += std::to_string(level) + component + event + text;
      },
      &seen);
  Up_ReportErrString(1, 8, "report");
  RLOG_Log(10, "VX", "Birth", "text");
  EXPECT_EQ(U_AllocatePtr(1, "noise table", SIZE_MAX / 2, 0), nullptr);
  VXHost_SetReportSink(nullptr, nullptr);
  VXHost_SetLogSink(nullptr, nullptr);
  EXPECT_EQ(seen, "report10VXBirthtext1UOutOfMemorynoise table: 9223372036854775807 bytes");
  EXPECT_TRUE(VXHost_TakeReports().empty());
}

TEST(HostSettings, AllocatorsAndCounts) {
  const VXHost_Memory before = VXHost_GetMemory();
  // Frames at 8 modulo 16, nothing at all from the other source.
  const VXHost_Allocator odd = {
      [](size_t size, void*) -> void* { return static_cast<char*>(std::malloc(size + 8)) + 8; },
      [](void* block, void*) { std::free(static_cast<char*>(block) - 8); }, nullptr};
  const VXHost_Allocator empty = {[](size_t, void*) -> void* { return nullptr; },
                                  [](void*, void*) {}, nullptr};
  VXHost_SetFrameAllocator(&odd);
  VXHost_SetAllocator(&empty);
  void* frame = nullptr;
  BM_AllocateFrameQuiet(24, 0, &frame);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(frame) % 16, 8u);
  EXPECT_EQ(VXHost_GetMemory().frames, before.frames + 1);
  BM_FreeFrame(frame, 24);
  BM_World** world = nullptr;
  EXPECT_EQ(BM_NewWorld(0, 8, {0, 0, 4, 4}, 32, 0, 0, &world), 4);
  EXPECT_EQ(U_AllocateHandle(1, "", 4), nullptr);
  VXHost_SetFrameAllocator(nullptr);
  VXHost_SetAllocator(nullptr);

  void** handle = U_AllocateHandle(1, "", 100);
  EXPECT_EQ(VXHost_GetMemory().blocks, before.blocks + 2);
  EXPECT_EQ(VXHost_GetMemory().block_bytes, before.block_bytes + 108);
  U_FreeHandle(handle);
  U_AccountAllocation(50);
  U_AccountAllocation(-20);
  const VXHost_Memory after = VXHost_GetMemory();
  EXPECT_EQ(after.frames, before.frames);
  EXPECT_EQ(after.blocks, before.blocks);
  EXPECT_EQ(after.block_bytes, before.block_bytes);
  EXPECT_EQ(after.accounted, before.accounted + 30);

  int64_t asked = 0;
  VXHost_SetPurgeFunction(
      [](int64_t size, void* context) { *static_cast<int64_t*>(context) += size; }, &asked);
  EXPECT_EQ(U_PurgeLoop(
                3145728, 0, [](void*) { return 1; }, nullptr),
            4);
  VXHost_SetPurgeFunction(nullptr, nullptr);
  EXPECT_EQ(asked, 3145728);
}

TEST(HostSettings, PairsNeverGoBelowZero) {
  M_PrepareFCMD(1, 0, 0, nullptr, nullptr);
  EMUL_BeginGdiMinimalisticWindowCreationMode();
  EXPECT_EQ(VXHost_GetPairs().byte_tables, 1);
  EXPECT_EQ(VXHost_GetPairs().window_modes, 1);
  for (int i = 0; i < 2; ++i) M_UnprepareFCMD();
  for (int i = 0; i < 2; ++i) EMUL_EndGdiMinimalisticWindowCreationMode();
  EXPECT_EQ(VXHost_GetPairs().byte_tables, 0);
  EXPECT_EQ(VXHost_GetPairs().window_modes, 0);
}

TEST(HostSettings, ScanVisitsModulesThenFinishes) {
  namespace fs = std::filesystem;
  const fs::path folder = fs::temp_directory_path() / ("vxhost_scan_" + std::to_string(getpid()));
  fs::create_directories(folder / "folder.RZX");
  for (const char* name : {"b.RZX", "a.RZX", "c.txt"}) std::ofstream(folder / name) << "x";

  const uint32_t codes[] = {0x65465354, 0x2E525A58};
  ASSERT_EQ(FILE_AddExtensionMap(".RZX", codes[1], -1), 0);
  std::string calls;
  const auto per_file = [](PLUG_File* file, void* context) -> U_Err {
    *static_cast<std::string*>(context) += file ? "f" : "?";
    return 9;
  };
  const auto finish = [](void* context) -> U_Err {
    *static_cast<std::string*>(context) += ".";
    return 5;
  };
  std::string forgotten;
  ASSERT_EQ(PLUG_InstallScan(0, 2, codes, per_file, finish, &forgotten), 0);
  ASSERT_EQ(PLUG_InstallScan(0, 2, codes, per_file, finish, &calls), 0);
  EXPECT_EQ(calls, "");
  EXPECT_EQ(VXHost_RunPlugScan(), 5);
  EXPECT_EQ(calls, ".");
  VXHost_SetModuleFolders({(folder / "missing").string(), folder.string()});
  VXHost_TakeReports();
  EXPECT_EQ(VXHost_RunPlugScan(), 9);
  EXPECT_EQ(calls, ".ff.");
  EXPECT_EQ(forgotten, "");
  const std::vector<VXHost_Report> reports = VXHost_TakeReports();
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_NE(reports[0].text.find("missing"), std::string::npos);
  VXHost_SetModuleFolders({});
  fs::remove_all(folder);

  EXPECT_EQ(PLUG_InstallScan(0, 2, codes, per_file, nullptr, nullptr), 3);
  EXPECT_EQ(FILE_AddExtensionMap("", 1, -1), 3);
}

TEST(HostSettings, SuitesByNameAndVersion) {
  const void* first[] = {nullptr, nullptr};
  const void* second[] = {nullptr, nullptr, nullptr};
  ASSERT_EQ(PLUG_AddSPSuite(0, 0, "Test Suite", 1, 1, 2, first), 0);
  ASSERT_EQ(PLUG_AddSPSuite(0, 0, "Test Suite", 2, 2, 2, first), 0);
  ASSERT_EQ(PLUG_AddSPSuite(0, 0, "Test Suite", 2, 2, 3, second), 0);
  int32_t members = 0;
  EXPECT_EQ(VXHost_FindSuite("Test Suite", 1, &members), first);
  EXPECT_EQ(members, 2);
  EXPECT_EQ(VXHost_FindSuite("Test Suite", 2, &members), second);
  EXPECT_EQ(members, 3);
  EXPECT_EQ(VXHost_FindSuite("Test Suite", 3, &members), nullptr);
  EXPECT_EQ(VXHost_FindSuite(nullptr, 1, nullptr), nullptr);
  EXPECT_EQ(VXHost_ListSuites().size(), 2u);
  EXPECT_EQ(PLUG_AddSPSuite(0, 0, "Test Suite", 1, 2, 2, first), 3);
  EXPECT_EQ(PLUG_AddSPSuite(0, 0, "Test Suite", 1, 1, 0, first), 3);
}

}  // namespace

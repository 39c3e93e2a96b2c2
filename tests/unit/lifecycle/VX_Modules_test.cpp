// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Acceleration modules and suites, with the shared objects of tests/modules.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "VX/VX_CallbackBlock.h"
#include "VX/VX_OverrideTable.h"
#include "VX/VX_Package.h"
#include "host/PLUG.h"
#include "hostdouble/HostDouble.h"

namespace {

namespace fs = std::filesystem;

std::string Folder(const std::string& name) {
  const char* const folder = std::getenv("VX_TEST_MODULES");
  return std::string(folder != nullptr ? folder : "modules") + "/" + name;
}

class VXModules : public testing::Test {
 protected:
  VXModules() {
    VX_Death();
    host.emplace();
    EXPECT_EQ(VX_Birth(), 0);
    built_in = VXp_G_OverFuncs;
  }
  ~VXModules() override {
    VXHost_SetModuleFolders({});
    EXPECT_EQ(VX_Death(), 0);
    EXPECT_TRUE(TableIsBuiltIn());
    EXPECT_TRUE(VXHost_ListSuites().empty());
    EXPECT_EQ(host->Leaked(), 0);
  }

  // Scans folders. Returns the result of the scan and stores the modules.
  U_Err Scan(const std::vector<std::string>& folders) {
    VXHost_SetModuleFolders(folders);
    const U_Err error = PLUG_RunScans();
    modules = VXHost_ListModules();
    return error;
  }
  bool TableIsBuiltIn() const {
    return std::memcmp(&VXp_G_OverFuncs, &built_in, sizeof(built_in)) == 0;
  }
  static VX_Err Fade() {
    uint8_t row[1] = {100};
    return VXp_G_OverFuncs.VX_UnoFadeRow(1, 128, row);
  }

  std::optional<HostDouble> host;
  VXp_OverrideTable built_in{};
  std::vector<VXHost_Module> modules;
};

// The routines of a file are loaded from the last to the first; the later file has the slot; a file
// that is found again is not loaded again; death unloads in the order of loading.
TEST_F(VXModules, LoadInOrderAndUnloadAtDeath) {
  ASSERT_EQ(Scan({Folder("good"), Folder("later"), Folder("good")}), 0);
  ASSERT_EQ(modules.size(), 2u);
  for (const VXHost_Module& module : modules) {
    EXPECT_EQ(module.error, "");
    EXPECT_EQ(module.routines.size(), 4u);
  }
  EXPECT_EQ(Fade(), 102);
  VX_SlotDescription slot{};
  ASSERT_EQ(VX_DescribeSlot(62, &slot), 0);
  EXPECT_EQ(slot.state, VX_SlotState_Replaced);
  std::vector<int64_t> registered;
  for (const auto& call : host->CallsTo("PLUG_RegisterRoutine")) registered.push_back(call.args[0]);
  EXPECT_EQ(registered, (std::vector<int64_t>{3, 0, 3, 0}));

  host->calls.clear();
  VXHost_TakeReports();
  ASSERT_EQ(VX_Death(), 0);
  std::vector<uint32_t> unloaded;
  for (const VXHost_Report& report : VXHost_TakeReports()) unloaded.push_back(report.check);
  EXPECT_EQ(unloaded, (std::vector<uint32_t>{0x2500C9, 0x250065, 0x2500CA, 0x250066}));
  EXPECT_EQ(host->CallsTo("PLUG_UnprepRoutine").size(), 4u);
  EXPECT_EQ(host->CallsTo("PLUG_UnregisterRoutine").size(), 4u);
  EXPECT_TRUE(TableIsBuiltIn());
  ASSERT_EQ(VX_Birth(), 0);
  EXPECT_NE(Fade(), 102);
}

// Files that cannot be used are listed with the reason and reported, the table stays as it was, and
// the other files are loaded.
TEST_F(VXModules, BadFilesChangeNothing) {
  const fs::path made = fs::temp_directory_path() / ("vx_modules_" + std::to_string(getpid()));
  for (const char* name : {"text", "cut", "open", "open_folder", "linked", "links"}) {
    fs::create_directories(made / name);
  }
  const fs::path good = Folder("good") + "/good.RZX";
  std::ofstream(made / "text" / "text.RZX") << "no shared object";
  fs::copy_file(good, made / "cut" / "cut.RZX");
  fs::resize_file(made / "cut" / "cut.RZX", fs::file_size(good) / 2);
  fs::copy_file(good, made / "open" / "open.RZX");
  fs::permissions(made / "open" / "open.RZX", fs::perms::others_write, fs::perm_options::add);
  fs::copy_file(good, made / "open_folder" / "module.RZX");
  fs::permissions(made / "open_folder", fs::perms::others_write, fs::perm_options::add);
  fs::create_symlink(made / "open_folder" / "module.RZX", made / "linked" / "module.RZX");
  fs::create_directory_symlink(made / "links", made / "links" / "loop");
  fs::create_symlink("self.RZX", made / "links" / "self.RZX");

  const std::pair<std::string, std::string> faults[] = {
      {Folder("fails"), "code 77"},
      {Folder("throws"), "code 516"},
      {Folder("other_version"), "no routine for this version"},
      {Folder("other_layout"), "layout 2"},
      {Folder("nothing"), "does not export PLUG_Module"},
      {made / "text", "too short"},
      {made / "cut", "incomplete"},
      {made / "open", "every user may write"},
      {made / "linked", "open_folder"},
      {made / "links", "symbolic links"}};
  std::vector<std::string> folders = {made / "missing"};
  for (const auto& [folder, why] : faults) folders.push_back(folder);
  EXPECT_EQ(Scan(folders), 0);
  EXPECT_TRUE(TableIsBuiltIn());
  ASSERT_EQ(modules.size(), std::size(faults));
  for (size_t i = 0; i < modules.size(); ++i) {
    EXPECT_NE(modules[i].error.find(faults[i].second), std::string::npos) << modules[i].error;
  }
  std::string reports;
  for (const VXHost_Report& report : VXHost_TakeReports()) reports += report.text + "\n";
  for (const char* text :
       {"missing", "the module cannot work here", "thrown by a module", "open.RZX"}) {
    EXPECT_NE(reports.find(text), std::string::npos) << text << " in " << reports;
  }
  EXPECT_EQ(VXHost_ListSuites().size(), 19u);

  folders.push_back(Folder("good"));
  EXPECT_EQ(Scan(folders), 0);
  EXPECT_EQ(Fade(), 101);
  fs::remove_all(made);
}

// Errors of the host while a routine is loaded.
TEST_F(VXModules, FailuresOfTheHost) {
  for (const char* service : {"PLUG_RegisterRoutine", "PLUG_PrepRoutine", "LIST_Insert"}) {
    host->Fail(service, 9);
    host->calls.clear();
    EXPECT_EQ(Scan({Folder("good")}), 0) << service;
    EXPECT_NE(modules.at(0).error.find("code 9"), std::string::npos) << service;
    EXPECT_TRUE(TableIsBuiltIn()) << service;
    EXPECT_EQ(host->CallsTo("PLUG_RegisterRoutine").size(), 1u);
    host->Fail(service, 0);
  }
  // VX_Death releases all routines and returns the first error.
  ASSERT_EQ(Scan({Folder("good")}), 0);
  host->Fail("PLUG_UnprepRoutine", 8);
  host->Fail("PLUG_UnregisterRoutine", 9);
  EXPECT_EQ(VX_Death(), 8);
  host->Fail("PLUG_UnprepRoutine", 0);
  host->Fail("PLUG_UnregisterRoutine", 0);
  EXPECT_EQ(host->Leaked(), 0);
  ASSERT_EQ(VX_Birth(), 0);
}

// The skeleton's routine gives the bytes of the built-in one for every opacity and sample.
TEST_F(VXModules, SkeletonIsExact) {
  ASSERT_EQ(Scan({Folder("skeleton")}), 0);
  ASSERT_NE(VXp_G_OverFuncs.VX_UnoFadeRow, built_in.VX_UnoFadeRow);
  for (int opacity = 0; opacity < 256; ++opacity) {
    uint8_t row[256];
    for (int i = 0; i < 256; ++i) row[i] = static_cast<uint8_t>(i);
    ASSERT_EQ(VXp_G_OverFuncs.VX_UnoFadeRow(256, static_cast<uint8_t>(opacity), row), 0);
    for (int i = 0; i < 256; ++i) ASSERT_EQ(row[i], (2 * i * opacity + 255) / 510) << opacity;
  }
}

TEST_F(VXModules, SuitesInOrder) {
  ASSERT_EQ(Scan({}), 0);
  const std::vector<std::string> expected = {
      "RZ CPU Data Suite 1 4",       "VX ANSI Suite 1 19",        "VX Handle Suite 1 6",
      "VX Color Suite 1 8",          "VX Color16 Suite 1 8",      "VX ColorFloat Suite 1 8",
      "VX Batch Sampling Suite 1 4", "VX Sampling8 Suite 1 3",    "VX Sampling16 Suite 1 3",
      "VX SamplingFloat Suite 1 3",  "VX World Suite 1 2",        "VX Iterate8 Suite 1 5",
      "VX iterate16 Suite 1 3",      "VX iterateFloat Suite 1 3", "VX World Transform Suite 1 7",
      "VX Fill Matte Suite 1 5",     "VX Fill Matte Suite 2 7",   "VX Pixel Data Suite 1 3",
      "VX World Suite 2 3"};
  std::vector<std::string> found;
  for (const auto& call : host->CallsTo("PLUG_AddSPSuite")) {
    EXPECT_EQ(call.args[0] + call.args[1], 0);
    EXPECT_EQ(call.args[2], call.args[3]);
    found.push_back(call.text + " " + std::to_string(call.args[2]) + " " +
                    std::to_string(call.args[4]));
  }
  EXPECT_EQ(found, expected);

  void* const effect = dlopen((Folder("effect") + "/effect.RZX").c_str(), RTLD_NOW);
  ASSERT_NE(effect, nullptr) << dlerror();
  const auto use =
      reinterpret_cast<const char* (*)(decltype(&VXHost_FindSuite))>(dlsym(effect, "UseSuites"));
  const char* const wrong = use(VXHost_FindSuite);
  EXPECT_EQ(wrong, nullptr) << wrong;

  // A slot that is replaced later does not reach the suites; at the next registration it does.
  const auto routine_of = [] {
    return *static_cast<void* const*>(VXHost_FindSuite("VX Sampling8 Suite", 1, nullptr));
  };
  void* const before = routine_of();
  VXp_G_OverFuncs.VX_NNSample = VX_SubpixelSample_Straight;
  EXPECT_EQ(routine_of(), before);
  ASSERT_EQ(Scan({}), 0);
  EXPECT_NE(routine_of(), before);

  host->Fail("PLUG_AddSPSuite", 9);
  host->calls.clear();
  EXPECT_EQ(Scan({}), 9);
  EXPECT_EQ(host->CallsTo("PLUG_AddSPSuite").size(), 1u);
}

TEST_F(VXModules, ServicesForOlderCallers) {
  const VXHost_Pairs before = VXHost_GetPairs();
  const void* table = nullptr;
  ASSERT_EQ(VX_AppCallback(nullptr, 2, &table), 0);
  EXPECT_EQ(static_cast<const uint8_t*>(table)[128 * 256 + 100], 50);  // 100 * 128 / 255
  ASSERT_EQ(VX_AppCallback(nullptr, 3, &table), 0);
  EXPECT_EQ(static_cast<const uint8_t*>(table)[128 * 256 + 50], 100);  // 50 * 255 / 128
  ASSERT_EQ(VX_AppCallback(nullptr, 4, &table), 0);
  EXPECT_EQ(static_cast<const int32_t*>(table)[1024], 65536);  // a quarter turn
  ASSERT_EQ(VX_AppCallback(nullptr, 5, &table), 0);
  EXPECT_EQ(static_cast<const int32_t*>(table)[0], 65536);
  EXPECT_EQ(VXHost_GetPairs().byte_tables, before.byte_tables + 2);
  EXPECT_EQ(VXHost_GetPairs().trig_tables, before.trig_tables + 2);
  for (const int32_t selector : {6, 7, 8, 9, 1, 10}) {
    EXPECT_EQ(VX_AppCallback(nullptr, selector, nullptr), 0);
  }
  EXPECT_EQ(VXHost_GetPairs().byte_tables, before.byte_tables);
  EXPECT_EQ(VXHost_GetPairs().trig_tables, before.trig_tables);
}

}  // namespace

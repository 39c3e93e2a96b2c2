// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Settings of the embedded host (processor, threads, modules) and lists of the library's parts.

#include <pybind11/stl.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "Arguments.h"
#include "Errors.h"
#include "Subjects.h"
#include "VX/VX_FrameBlending.h"
#include "VX/VX_OverrideTable.h"
#include "VX/VX_Package.h"
#include "VXIO/VXIO_Picture.h"
#include "host/VXHost.h"

namespace vxpy {

namespace {

bool Has(int32_t index) { return U_G_CPU_DataP[index] != 0; }

// Ends the library, changes a setting of the host, and starts the library again, because routines
// are selected at its start.
template <class Function>
void WithRestart(Function&& change) {
  const bool lived = Death();
  change();
  if (lived) Birth();
}

void SetProcessor(const py::object& level_arg) {
  const int32_t level = ParseChoice("level", level_arg, {"none", "sse2", "all"});
  WithRestart([&] {
    VXHost_ResetProcessor();
    if (level == 2) return;
    uint32_t words[U_CPU_WORDS];
    std::memcpy(words, U_G_CPU_DataP, sizeof words);
    words[U_CPU_HAS_SSSE3] = words[U_CPU_HAS_SSE3] = 0;
    if (level == 0) words[U_CPU_HAS_SSE2] = words[U_CPU_HAS_SSE] = words[U_CPU_HAS_MMX] = 0;
    VXHost_SetProcessor(words);
  });
}

std::string Processor() {
  if (!Has(U_CPU_HAS_SSE2)) return "none";
  return Has(U_CPU_HAS_SSSE3) ? "all" : "sse2";
}

void SetThreads(const py::object& count) {
  const auto threads = static_cast<int32_t>(ParseWhole("count", count, 1, 1024));
  WithRestart([&] {
    VXHost_SetNumThreads(threads);
    VX_SetMotionThreads(std::min(threads, 256));
    VXIO_SetThreads(threads);
  });
}

void SetModuleFolders(const std::vector<std::string>& folders) {
  WithRestart([&] { VXHost_SetModuleFolders(folders); });
}

// Returns (number, name, signature, state) for each slot that has a routine.
std::vector<std::tuple<int32_t, std::string, std::string, std::string>> Slots() {
  constexpr const char* kStates[] = {"none", "built-in", "replaced"};
  std::vector<std::tuple<int32_t, std::string, std::string, std::string>> list;
  for (int32_t number = 0; number < VX_OverrideSlotCount; ++number) {
    VX_SlotDescription slot{};
    Check(VX_DescribeSlot(number, &slot));
    if (slot.name != nullptr) {
      list.emplace_back(number, slot.name, slot.signature, kStates[slot.state]);
    }
  }
  return list;
}

void FreeMemory() {
  RequireNoCall("free_memory");
  const Call call;
  Check(VX_FreeUpSomeMemory());
}

uint32_t ObjectVersion() { return VX_PkgObjectVersion(); }

std::vector<std::tuple<std::string, int32_t, int32_t>> Suites() {
  std::vector<std::tuple<std::string, int32_t, int32_t>> list;
  for (const VXHost_Suite& suite : VXHost_ListSuites()) {
    list.emplace_back(suite.name, suite.version, suite.members);
  }
  return list;
}

std::vector<std::tuple<std::string, std::vector<std::string>, std::string>> Modules() {
  std::vector<std::tuple<std::string, std::vector<std::string>, std::string>> list;
  for (const VXHost_Module& module : VXHost_ListModules()) {
    list.emplace_back(module.path, module.routines, module.error);
  }
  return list;
}

}  // namespace

void AddHost(py::module_& module) {
  module.def("set_processor", &SetProcessor);
  module.def("processor", &Processor);
  module.def("set_threads", &SetThreads);
  module.def("threads", &U_GetNumThreads);
  module.def("set_module_folders", &SetModuleFolders);
  module.def("module_folders", &VXHost_GetModuleFolders);
  module.def("slots", &Slots);
  module.def("free_memory", &FreeMemory);
  module.def("object_version", &ObjectVersion);
  module.def("build_level", [] { return std::string(VX_BuildLevel()); });
  module.def("suites", &Suites);
  module.def("modules", &Modules);
}

}  // namespace vxpy

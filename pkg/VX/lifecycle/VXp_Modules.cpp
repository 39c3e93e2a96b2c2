// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "lifecycle/VXp_Modules.h"

#include "frame/VXp_Report.h"
#include "host/FILE.h"
#include "host/LIST.h"
#include "host/PLUG.h"

namespace {

// Four-character codes with the first letter in the most significant byte.
constexpr uint32_t kRoutineType = 0x65465354;  // "eFST"
constexpr uint32_t kFileType = 0x2E525A58;     // ".RZX"

// An entry of the list of loaded routines: the host's address of the routine and its entry point.
constexpr int32_t kEntrySize = 2 * sizeof(void*);

constinit LIST_List* loaded = nullptr;

VX_Err VisitFile(PLUG_File*, void*) {
  return VXp_FailVerification("acceleration modules are not built yet");
}

// Called after all files; there is nothing to do.
VX_Err FinishScan(void*) { return VX_Ok; }

}  // namespace

VX_Err VXp_InstallModuleScan() {
  VX_Err error = VXp_TearDownModules();
  if (error == VX_Ok) error = LIST_New(2, kEntrySize, 1, 1, &loaded);
  if (error == VX_Ok) error = FILE_AddExtensionMap(".RZX", kFileType, -1);
  if (error == VX_Ok) {
    const uint32_t codes[] = {kRoutineType, kFileType};
    error = PLUG_InstallScan(0, 2, codes, VisitFile, FinishScan, nullptr);
  }
  return error;
}

VX_Err VXp_TearDownModules() {
  LIST_List* const list = loaded;
  loaded = nullptr;
  return list == nullptr ? VX_Ok : LIST_Dispose(list);
}

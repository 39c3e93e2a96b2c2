// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "lifecycle/VXp_Modules.h"

#include <cstdlib>
#include <cstring>

#include "VX/VX_Accel.h"
#include "VX/VX_Package.h"
#include "frame/VXp_Report.h"
#include "host/FILE.h"
#include "host/LIST.h"
#include "host/PLUG.h"
#include "lifecycle/VXp_Suites.h"

namespace {

constexpr uint32_t kFileType = 0x2E525A58;  // ".RZX", the first letter in the most significant byte
constexpr int32_t kAppend = -1;

// An entry of the list of loaded routines.
struct Loaded {
  PLUG_Routine* routine;
  PLUG_EntryProc entry;
};

constinit LIST_List* loaded = nullptr;

VX_Err ReportForModule(uint32_t number, const char* text) {
  VXp_StoreReport(text);
  static_cast<void>(Up_ReportErrString(kVXp_PackageWord | number, 8, text));
  return VX_Ok;
}

// Calls the entry to load the routine and stores it in the list. After an error the override table
// is the same as before.
VX_Err CallToLoad(const Loaded& routine) {
  static VX_CallbackBlock callbacks;
  VX_Err error = VX_GetCallbackBlock(&callbacks);
  if (error != VX_Ok) return error;
  VX_ModuleBlock block{ReportForModule, &callbacks,       std::calloc, std::free,
                       std::malloc,     std::realloc,     std::exit,   VXp_G_fcm_table,
                       VXp_G_fcd_table, &VXp_G_OverFuncs, {2, 1},      VXp_G_OverFuncs,
                       U_GetNumThreads};
  const VXp_OverrideTable before = VXp_G_OverFuncs;  // the block's copy is open to the module
  int32_t command = 2;
  error = VXp_Guarded(
      [&] { return routine.entry(VX_ModuleSelector_Load, &command, &block, block.version); });
  if (error == VX_Ok) error = LIST_Insert(loaded, kAppend, &routine);
  if (error != VX_Ok) std::memcpy(&VXp_G_OverFuncs, &before, sizeof(before));
  return error;
}

VX_Err LoadRoutine(PLUG_File* file, int32_t index) {
  Loaded routine{};
  VX_Err error = PLUG_RegisterRoutine(file, index, &routine.routine);
  if (error != VX_Ok) return error;
  error = PLUG_PrepRoutine(routine.routine, &routine.entry);
  if (error == VX_Ok) {
    error = CallToLoad(routine);
    if (error != VX_Ok) static_cast<void>(PLUG_UnprepRoutine(routine.routine));
  }
  if (error != VX_Ok) static_cast<void>(PLUG_UnregisterRoutine(routine.routine));
  return error;
}

// Stores whether a routine was made for this version of the interface.
VX_Err CheckVersion(PLUG_File* file, int32_t index, bool* fits) {
  PLUG_PiPL* properties = nullptr;
  VX_Err error = PLUG_GetPiPL(file, index, &properties);
  if (error != VX_Ok) return error;
  uint32_t version = 0;
  error = PLUG_GetPiPLProp(properties, VX_ModuleVersionKey, 0, sizeof(version), 0, &version);
  *fits = error == VX_Ok && version >> 16 == VX_ModuleVersion;
  const VX_Err disposed = PLUG_DisposePiPL(properties);
  return error != VX_Ok ? error : disposed;
}

// Loads the routines of a file that accelerate the library, the last one first. The first error
// ends the work on the file.
VX_Err LoadFile(PLUG_File* file, void*) {
  int32_t count = 0;
  VX_Err error = PLUG_GetRoutineCount(file, &count);
  for (int32_t index = count - 1; index >= 0 && error == VX_Ok; --index) {
    PLUG_RoutineInfo info{};
    error = PLUG_GetRoutineInfo(file, index, &info);
    if (error != VX_Ok || info.type != VX_ModuleRoutineType ||
        (info.flags & VX_ModuleFlag_Accelerates) == 0) {
      continue;
    }
    bool fits = false;
    error = CheckVersion(file, index, &fits);
    if (error == VX_Ok && fits) error = LoadRoutine(file, index);
  }
  return error;
}

VX_Err FinishScan(void*) { return VXp_RegisterSuites(); }

}  // namespace

VX_Err VXp_InstallModuleScan() {
  VX_Err error = VXp_TearDownModules();
  if (error == VX_Ok) error = LIST_New(2, sizeof(Loaded), 1, 1, &loaded);
  if (error == VX_Ok) error = FILE_AddExtensionMap(".RZX", kFileType, -1);
  if (error == VX_Ok) {
    const uint32_t codes[] = {VX_ModuleRoutineType, kFileType};
    error = PLUG_InstallScan(0, 2, codes, LoadFile, FinishScan, nullptr);
  }
  return error;
}

VX_Err VXp_TearDownModules() {
  LIST_List* const list = loaded;
  loaded = nullptr;
  if (list == nullptr) return VX_Ok;
  VX_Err first = VX_Ok;
  const auto keep = [&first](VX_Err error) {
    if (first == VX_Ok) first = error;
  };
  if (const int32_t count = LIST_Count(list); count > 0) {
    void* address = nullptr;
    keep(LIST_GetAddress(list, &address));
    if (address != nullptr) {
      const auto* const routines = static_cast<const Loaded*>(address);
      for (int32_t i = 0; i < count; ++i) {
        keep(VXp_Guarded([&] {
          return routines[i].entry(VX_ModuleSelector_Unload, nullptr, nullptr, nullptr);
        }));
        keep(PLUG_UnprepRoutine(routines[i].routine));
        keep(PLUG_UnregisterRoutine(routines[i].routine));
      }
      keep(LIST_Unlock(list));
    }
  }
  keep(LIST_Dispose(list));
  return first;
}

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "VX/VX_FrameBlending.h"
#include "VX/VX_Package.h"
#include "blend/VXp_BlendBirth.h"
#include "color/VXp_ColorBirth.h"
#include "filters/VXp_FiltersBirth.h"
#include "frame/VXp_Counters.h"
#include "frame/VXp_Cpu.h"
#include "frame/VXp_OverrideTable.h"
#include "frame/VXp_Report.h"
#include "frame/VXp_Scratch.h"
#include "frame/VXp_Tables.h"
#include "frame/VXp_VectorConstants.h"
#include "frameblend/VXp_FrameblendBirth.h"
#include "host/COR.h"
#include "host/RLOG.h"
#include "housekeeping/VXp_HousekeepingBirth.h"
#include "lifecycle/VXp_CursorRegistry.h"
#include "lifecycle/VXp_Modules.h"
#include "lifecycle/VXp_Suites.h"

namespace {

constexpr int32_t kLogLevel = 10;

void SetVectorConstants() {
  if (VXp_HasSSE2()) {
    VXp_BuildVectorConstants();
  } else {
    VXp_ClearVectorConstants();
  }
}

// Sets the scratch rows to their initial size: 1,024 pixels of 8 bits.
VX_Err ResetScratch(VXp_Regrow regrow) {
  VX_BlendScratch unused;
  return VXp_Guarded([&] { return VXp_ReallocScratch(1024, 1, regrow, &unused); });
}

VX_Err BindColorEngine() {
  COR_AddressProc engine = nullptr;
  const VX_Err error = COR_GetQIBAddressProc(&engine);
  if (error != VX_Ok) return error;
  return COR_BindClient(engine) ? VX_Ok : VX_ErrColorEngine;
}

// Stores the built-in routine of each slot. A slot line without a routine would not compile, so no
// listed slot is null.
void FillOverrideTable() {
  VXp_OverrideTable& table = VXp_G_OverFuncs;
#define VX_SLOT(number, name, type, routine) table.name = routine;
#define VX_NULL_SLOT(number)
#include "VX/VX_OverrideSlots.def"
#undef VX_SLOT
#undef VX_NULL_SLOT
  if (VXp_SamplesInSingle()) {
    table.VX_SubpixelSampleNoClip_Straight = VX_SubpixelSampleNoClip_Straight_SSE2;
  }
  VXp_RememberBuiltInRoutines();
}

// Initialises the state that VX_Death reads, so that VX_Death may be called even if birth fails.
void ResetProcessState() {
  VXp_ClearOverrideTable();
  VXp_ResetCounters();
  VXp_FillByteToFloat();
}

}  // namespace

// After a failed step the later steps are skipped. Nothing is undone here; VX_Death releases
// everything.
VX_Err VX_Birth() {
  RLOG_Log(kLogLevel, "VX", "Birth", "VX Birth");
  VX_Err error = VXp_Guarded(SetVectorConstants);
  ResetProcessState();
  if (error == VX_Ok) error = VXp_PrepareByteTables();
  if (error == VX_Ok) error = VXp_Guarded(VXp_LoadNoise);
  if (error == VX_Ok) VXp_BuildSoftLightTables();
  if (error == VX_Ok) error = ResetScratch(VXp_Regrow::IfNeeded);
  if (error == VX_Ok) error = VXp_InstallModuleScan();
  if (error == VX_Ok) FillOverrideTable();
  if (error == VX_Ok) error = BindColorEngine();
  if (error == VX_Ok) error = VXp_Guarded(VXp_BirthCursorRegistry);
  return error;
}

// Executes all steps and returns the first error, except an error of the cursor registry, which is
// ignored.
VX_Err VX_Death() {
  RLOG_Log(kLogLevel, "VX", "Death", "VX Death");
  static_cast<void>(VXp_Guarded(VXp_DeathCursorRegistry));
  VX_Err error = VXp_UnprepareByteTables();
  const VX_Err modules_error = VXp_TearDownModules();
  if (error == VX_Ok) error = modules_error;
  VXp_RemoveSuites();
  VXp_RestoreBuiltInRoutines();
  VXp_DisposeScratch();
  VX_ClearMotionCache();
  VXp_EndMotionThreads();
  VXp_FreeNoise();
  VXp_FiltersDeathScanKernel();
  VXp_DeathEmergencyColorSettings();
  COR_ReleaseClient();
  return error;
}

VX_Err VX_FreeUpSomeMemory() { return ResetScratch(VXp_Regrow::Always); }

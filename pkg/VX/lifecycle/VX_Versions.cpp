// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include <cstdio>

#include "VX/VX_Package.h"
#include "frame/VXp_Report.h"
#include "host/BM.h"
#include "host/FILE.h"
#include "host/LIST.h"
#include "host/M.h"
#include "host/PLUG.h"
#include "host/RZFX.h"
#include "host/STR.h"

namespace {

constexpr uint32_t kVersionCheck = kVXp_PackageWord | 0x63;

struct Library {
  U_Err (*check)(uint32_t code, int32_t wanted);
  int32_t wanted;
};

// The host packages in the order in which they are checked. The versions are literals, so that
// compiling with a newer host header does not change them.
constexpr Library kLibraries[] = {
    {U_CheckVersions, 61},   {STR_CheckVersions, 3},   {BM_CheckVersions, 31},
    {M_CheckVersions, 18},   {FILE_CheckVersions, 39}, {LIST_CheckVersions, 9},
    {RZFX_CheckVersions, 8}, {PLUG_CheckVersions, 11},
};

constinit bool libraries_checked = false;

// Checks all host packages once per process. Only the first call returns a mismatch; later calls
// return VX_Ok.
VX_Err CheckLibrariesOnce() {
  if (libraries_checked) return VX_Ok;
  libraries_checked = true;
  VX_Err result = VX_Ok;
  for (const Library& library : kLibraries) result |= library.check(kVersionCheck, library.wanted);
  return result;
}

void ReportMismatch(uint32_t report_code, int32_t caller_version) {
  constexpr int32_t kKind = 16;
  Up_G_err_buf[0] = 0;
  std::snprintf(Up_G_buffer, sizeof(Up_G_buffer),
                "Plug-in version mismatch detected (did you install over an older version of "
                "Rezzon?). Try uninstalling and re-installing. (%s package v%ld != %s.h v%ld)",
                "VX", static_cast<long>(VX_PKG_VERSION), "VX", static_cast<long>(caller_version));
  VXp_StoreReport(Up_G_buffer);
  Up_ReportError(report_code, kKind);
}

}  // namespace

VX_Err VX_CheckVersions(uint32_t report_code, int32_t caller_version) {
  const VX_Err libraries = CheckLibrariesOnce();
  if (caller_version != VX_PKG_VERSION) {
    ReportMismatch(report_code, caller_version);
    return VX_ErrVersion;
  }
  return libraries == VX_Ok ? VX_Ok : VX_ErrVersion;
}

const char* VX_BuildLevel() { return VX_PROCESSOR_LEVEL; }

uint32_t VX_PkgObjectVersion() { return static_cast<uint32_t>(VX_PKG_VERSION) << 16; }

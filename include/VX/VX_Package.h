// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Birth and death of the package, and its exported data.
//
// Call VX_CheckVersions, then VX_Birth once, then any operation, then VX_Death once. VX_Birth may
// be called again after VX_Death. VX_FreeUpSomeMemory may be called when no blending runs. These
// calls do not lock: use one thread. VX_CheckVersions and VX_PkgObjectVersion may be called at any
// time.

#include "VX/VX_Types.h"
#include "host/U.h"

inline constexpr int32_t VX_PKG_VERSION = 17;

// Returns VX_ErrVersion, after a report with the code `report_code`, if caller_version is not the
// version of this library. The first call also checks the versions of the host's packages.
VX_API VX_Err VX_CheckVersions(uint32_t report_code, int32_t caller_version);

// Returns the version of the library in the high 16 bits: 0x00110000.
VX_API uint32_t VX_PkgObjectVersion();

// Returns the processor level for which the loaded build of the library was compiled: "baseline",
// "x86-64-v3" or "x86-64-v4". Several builds may be installed; the dynamic loader takes the one of
// the highest level that the processor has. All builds compute the same results. May be called at
// any time.
VX_API const char* VX_BuildLevel();

// Builds the process-wide tables and fills the override table. Returns the first error. Call
// VX_Death also after a failure. Acceleration modules are loaded and suites are registered by
// PLUG_RunScans (host/PLUG.h), which the application calls after birth.
VX_API VX_Err VX_Birth();

// Releases all memory of the library. An error does not skip the later steps. Returns the first
// error.
VX_API VX_Err VX_Death();

// Counted birth and death, for independent components of one program. The first acquisition calls
// VX_CheckVersions, VX_Birth and PLUG_RunScans, which loads acceleration modules and registers the
// suites; the last release calls VX_Death. A program uses either this pair or VX_Birth and
// VX_Death, not both. Thread-safe. A module that cannot be used is reported and is not an error of
// the acquisition.
//
//   caller_version  VX_PKG_VERSION
//
// VX_AcquireLibrary returns VX_ErrVersion, or the error of VX_Birth (VX_Death was then called); on
// error nothing is acquired. VX_ReleaseLibrary returns the error of VX_Death, or VX_ErrBadParameter
// with a report if nothing is acquired.
VX_API VX_Err VX_AcquireLibrary(int32_t caller_version);
VX_API VX_Err VX_ReleaseLibrary();

// Like VX_AcquireLibrary. If this acquisition initialises the library, it calls `prepare` first,
// which may change settings of the host: no other component uses the library, and none can acquire
// it until `prepare` has returned. An error of `prepare` ends the acquisition and is returned.
//   prepare   may be null; must not acquire or release the library
//   refcon    passed to `prepare`
using VX_PrepareFunc = VX_Err (*)(void* refcon);
VX_API VX_Err VX_AcquireLibraryWith(int32_t caller_version, VX_PrepareFunc prepare, void* refcon);

// Returns the text of the latest report that the library made on the calling thread, truncated to
// 511 bytes; empty if there was none since VX_ForgetReport. The host receives every report as well.
// Reports made by the host itself (for example, out of memory) are not included. The text is valid
// until the next report on this thread.
VX_API const char* VX_LastReport();
VX_API void VX_ForgetReport();

// Shrinks the shared scratch memory to its initial size. Returns VX_Ok or VX_ErrOutOfMemory.
VX_API VX_Err VX_FreeUpSomeMemory();

// --- exported data -------------------------------------------------------------------------------

// Byte tables, see M_PrepareFCMD in host/M.h. Entry a * 256 + c is a * c / 255 in fcm and 255 * c /
// a, at most 255, in fcd. Set by VX_Birth; read-only.
extern VX_API const uint8_t* VXp_G_fcm_table;
extern VX_API const uint8_t* VXp_G_fcd_table;

// Entry i is i converted to float.
extern VX_API float VXp_G_ByteToFloat[256];

// The table of the library's texts, for U_ZLookupLStrCache.
extern VX_API const U_ZRef VX_G_zref;

// A zero pixel of any type.
extern VX_API const uint8_t VX_G_ZeroData[64];

// 128-bit constants for vector loops. Zero before VX_Birth and on processors without SSE2.
struct alignas(16) VX_Vector128 {
  uint32_t lane[4];
};
extern VX_API VX_Vector128 VX_G_AlphaMask32;     // mask of alpha in a float pixel
extern VX_API VX_Vector128 VX_G_BGRMask32;       // mask of the colours in a float pixel
extern VX_API VX_Vector128 VX_G_vfHalf;          // four 0.5
extern VX_API VX_Vector128 VX_G_vf255;           // four 255.0
extern VX_API VX_Vector128 VX_G_vi128_32;        // four 128
extern VX_API VX_Vector128 VX_G_viLoByteMask32;  // four 0xFF
extern VX_API VX_Vector128 VX_G_viLoWordMask;    // four 0xFFFF

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Starting and stopping the package, and the data that it exports.
//
// VX_CheckVersions first, VX_Birth once, any operation, VX_Death once; a birth after a death works.
// VX_FreeUpSomeMemory may come at any moment when no blending runs. None of these locks: call them
// on one thread. VX_CheckVersions and VX_PkgObjectVersion work at any time.

#include "VX/VX_Types.h"
#include "host/U.h"

inline constexpr int32_t VX_PKG_VERSION = 17;

// 0, or 7 when the caller's header version is not the library's (reported under `report_code`) or,
// on the first call only, when a host library has another version than the one that is needed.
VX_API VX_Err VX_CheckVersions(uint32_t report_code, int32_t caller_version);

// The version in the high half of a word: 0x00110000.
VX_API uint32_t VX_PkgObjectVersion();

// Builds the process-wide tables and fills the override table. 0 or the first error met; VX_Death
// is the undo also after a failure.
VX_API VX_Err VX_Birth();

// Releases everything. 0 or an error; every step is tried in any case.
VX_API VX_Err VX_Death();

// Birth and death counted over the whole process, for components of one program that do not know of
// each other: the first acquisition checks the versions and calls VX_Birth, the release of the last
// one calls VX_Death. A program uses either this pair or VX_Birth and VX_Death, not both. Any
// thread may call them.
//
//   caller_version  VX_PKG_VERSION
//
// VX_AcquireLibrary gives VX_Ok, VX_ErrVersion, or the error of VX_Birth, after VX_Death; nothing
// is acquired then. VX_ReleaseLibrary gives VX_Ok, the error of VX_Death, or VX_ErrBadParameter
// after a report when nothing is acquired.
VX_API VX_Err VX_AcquireLibrary(int32_t caller_version);
VX_API VX_Err VX_ReleaseLibrary();

// The text of the newest report that the library made on the calling thread, cut to 511 bytes;
// empty when there was none since VX_ForgetReport or since the thread began. The host receives
// every report as well. Reports that a host makes itself, as for memory that it cannot allocate,
// are not kept here. The text is valid until the next report on this thread.
VX_API const char* VX_LastReport();
VX_API void VX_ForgetReport();

// Gives back what the shared scratch grew to. 0 or 4.
VX_API VX_Err VX_FreeUpSomeMemory();

// --- exported data -------------------------------------------------------------------------------

// Multiply and divide at scale 255: entry a * 256 + c is a * c / 255, and c / a clamped to 255.
// Set by VX_Birth; the library never writes the tables.
extern VX_API const uint8_t* VXp_G_fcm_table;
extern VX_API const uint8_t* VXp_G_fcd_table;

// Entry i is i as a float.
extern VX_API float VXp_G_ByteToFloat[256];

// The string table for U_ZLookupLStrCache.
extern VX_API const U_ZRef VX_G_zref;

// Zeroes, long enough for any pixel.
extern VX_API const uint8_t VX_G_ZeroData[64];

// 128-bit constants for vector loops. Zero before birth, and on a processor without SSE2.
struct alignas(16) VX_Vector128 {
  uint32_t lane[4];
};
extern VX_API VX_Vector128 VX_G_AlphaMask32;     // selects alpha of a float pixel
extern VX_API VX_Vector128 VX_G_BGRMask32;       // selects its colours
extern VX_API VX_Vector128 VX_G_vfHalf;          // four 0.5
extern VX_API VX_Vector128 VX_G_vf255;           // four 255.0
extern VX_API VX_Vector128 VX_G_vi128_32;        // four 128
extern VX_API VX_Vector128 VX_G_viLoByteMask32;  // four 0xFF
extern VX_API VX_Vector128 VX_G_viLoWordMask;    // four 0xFFFF

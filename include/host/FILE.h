// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
//
// FILE: the host's table of file types, and its open files.
#pragma once

#include <cstdint>

#include "host/U.h"

inline constexpr int32_t FILE_PKG_VERSION = 39;

// See U_CheckVersions.
VXHOST_API U_Err FILE_CheckVersions(uint32_t code, int32_t wanted);

// Assigns a type to a file extension. A later call for the same extension replaces the type.
//   extension   with its dot; copied
//   type        four characters, the first in the most significant byte
//   minus_one   always -1
// Returns bad argument (3) for a null or empty extension; out of memory (4).
VXHOST_API U_Err FILE_AddExtensionMap(const char* extension, uint32_t type, int32_t minus_one);

// ---- Open files ---------------------------------------------------------------------------------

// An open file, which is used by one thread at a time.
struct FILE_Ref;

enum : U_Err {
  FILE_CannotOpen = 0x6F70656E,   // the folder is missing, read-only or full, or too many files
  FILE_CannotWrite = 0x77726974,  // for example no space is left
  FILE_CannotRead = 0x72656164    // also fewer bytes than requested
};

// Creates an empty file without a name, for reading and writing. Its storage is released by
// FILE_Close, or when the process ends.
//   folder  an existing folder on the file system to be used; null or "": the folder for temporary
//           files (TMPDIR, else /tmp)
//   out     null on failure
// Returns bad argument (3) for null `out`; out of memory (4); FILE_CannotOpen.
VXHOST_API U_Err FILE_NewTemporary(const char* folder, FILE_Ref** out);

// The position of the next byte, from the start of the file. A null file has position 0.
// FILE_SetPosition returns bad argument (3) for a null file or a negative position.
VXHOST_API int64_t FILE_GetPosition(const FILE_Ref* file);
VXHOST_API U_Err FILE_SetPosition(FILE_Ref* file, int64_t position);

// Write or read `count` bytes at the position of the file, and advance it by `count`. After an
// error the position is unchanged, and an unknown part of the bytes was written or read. Return bad
// argument (3) for null pointers or a negative count; FILE_CannotWrite; FILE_CannotRead. Writing
// beyond the limit of file sizes of the process also raises SIGXFSZ, which programs should ignore.
VXHOST_API U_Err FILE_NWrite(FILE_Ref* file, int64_t count, const void* bytes);
VXHOST_API U_Err FILE_NRead(FILE_Ref* file, int64_t count, void* bytes);

// Closes the file. Null is ignored.
VXHOST_API void FILE_Close(FILE_Ref* file);

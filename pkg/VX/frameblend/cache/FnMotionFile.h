// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Files of motion, which programs share and which outlive them: a header of 48 bytes, then a record
// (FnRecord.h). Numbers are little-endian.
//
//   offset  bytes
//   0       8      "VXMOTION"
//   8       4      version of the file, 1
//   12      4      0
//   16      16     identity
//   32      8      length of the record in bytes
//   40      8      checksum of the record, XXH3 of 64 bits with seed 0

#include <string>

#include "frameblend/cache/FnMotionKey.h"
#include "frameblend/cache/FnRecord.h"

// The path of the file with this identity in a folder.
std::string FnMotionFileName(const std::string& folder, const FnIdentity& identity);

// Reads the file at a path. Returns null if it does not exist, cannot be read, or is not exactly as
// written for this identity and a record of this size; except for a missing file, `reason` becomes
// a text about the path. The file is not changed.
std::unique_ptr<FnVeltorVectors> FnReadMotionFile(const std::string& path,
                                                  const FnIdentity& identity, int32_t width,
                                                  int32_t height, std::string* reason);

// Writes a file of another name in the folder and renames it to `path`, which replaces the file
// there. Returns false, with a reason, and leaves no new file if that failed.
bool FnWriteMotionFile(const std::string& path, const FnIdentity& identity,
                       const FnVeltorVectors& vectors, std::string* reason);

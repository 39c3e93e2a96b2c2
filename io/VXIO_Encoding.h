// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The encodings of each format: bits per sample, compressions, quality.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "VXIO/VXIO_Picture.h"

struct VXIOp_Compression {
  const char* name;   // the name that OpenImageIO uses, too
  int32_t least = 0;  // range of the level; 0..0: the compression has no level
  int32_t largest = 0;
};

struct VXIOp_Encodings {
  std::string_view format;
  std::vector<std::string> bits;
  std::vector<VXIOp_Compression> compressions;  // the first one is the default; may be empty
  bool quality = false;
};

VXIO_API const VXIOp_Encodings& VXIOp_EncodingsOf(std::string_view format);

// Returns the compression of this name, which may be followed by ":LEVEL"; null if there is none.
VXIO_API const VXIOp_Compression* VXIOp_FindCompression(const VXIOp_Encodings& encodings,
                                                        std::string_view text);

// Returns the names for messages and lists: "zip:1-9".
std::vector<std::string> VXIOp_CompressionNames(const VXIOp_Encodings& encodings);

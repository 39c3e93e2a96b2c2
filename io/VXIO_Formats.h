// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The supported formats. A format is supported only if reading returns the straight values that
// were written.

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "VXIO/VXIO_Picture.h"

struct VXIOp_Format {
  const char* name;
  const char* oiio_name;
  std::string_view extensions;  // separated by spaces
  bool depth8, depth16, depth32;
  VXIO_AlphaKind alpha;
  bool profile;
  bool windows;  // keeps data and display windows
  bool grey;     // holds one channel
  bool writes;   // false: only read
};

VXIO_API std::span<const VXIOp_Format> VXIOp_Formats();

// Returns the format for the extension of the name; null if the extension is missing or unknown.
VXIO_API const VXIOp_Format* VXIOp_FormatOfName(std::string_view path);

// Returns the format that the first bytes of a file show or, for formats without a signature (tga),
// the format of the extension. Returns null if the file is not a known picture.
VXIO_API const VXIOp_Format* VXIOp_FormatOfContent(std::string_view head, std::string_view path);

enum class VXIOp_Use { Read, Write };

// Returns "png, jpeg, ..." for messages: the formats that can be read or written.
VXIO_API std::string VXIOp_FormatNames(VXIOp_Use use = VXIOp_Use::Read);

// Returns the first non-empty line of a message.
VXIO_API std::string VXIOp_FirstLine(const std::string& text);

// Returns the number set by VXIO_SetThreads; 0 for all processors.
VXIO_API int32_t VXIOp_Threads();

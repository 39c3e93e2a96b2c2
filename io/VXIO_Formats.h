// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The formats, told once. A format is here when its straight values come back as they were written.

#include <OpenImageIO/imageio.h>

#include <span>
#include <string>
#include <string_view>

#include "VXIO/VXIO_Picture.h"
#include "host/COR.h"

struct VXIOp_Format {
  const char* name;
  const char* oiio_name;
  std::string_view extensions;  // separated by spaces
  bool depth8, depth16, depth32;
  VXIO_AlphaKind alpha;
  bool profile;
  bool windows;  // keeps data and display windows
  bool grey;     // holds one channel
};

std::span<const VXIOp_Format> VXIOp_Formats();

// By the extension of a name; null when there is none or it is unknown.
const VXIOp_Format* VXIOp_FormatOfName(std::string_view path);

// By the first bytes of a file (the extension decides only where a format has no mark); null for
// anything that is not a known picture.
const VXIOp_Format* VXIOp_FormatOfContent(std::string_view head, std::string_view path);

// "png, jpeg, ..." for messages.
std::string VXIOp_FormatNames();

// What a picture that was read leaves for one that is written.
struct VXIO_Metadata::Impl {
  OIIO::ImageSpec spec;
  const VXIOp_Format* format = nullptr;  // null: from no file
  COR_QCE_ProfilePtr given_profile;      // of VXIO_WithProfile; its bytes stand in the spec
};

// Whether a file of this format can be written with the profile of the metadata, which has one.
// When it cannot, `words` say what is lost, and are empty when nothing is.
bool VXIOp_TakesProfile(const VXIO_Metadata::Impl& from, const VXIOp_Format& format,
                        std::string* words);

// The first line of a library's message, without the file's name in front.
std::string VXIOp_FirstLine(const std::string& text);

// What VXIO_SetThreads said; 0: all processors.
int32_t VXIOp_Threads();

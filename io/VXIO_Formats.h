// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The supported formats. A format is supported only if reading returns the straight values that
// were written.

#include <OpenImageIO/imageio.h>

#include <span>
#include <string>
#include <string_view>

#include "VX/VX.hpp"
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
  bool writes;   // false: only read
};

std::span<const VXIOp_Format> VXIOp_Formats();

// Returns the format for the extension of the name; null if the extension is missing or unknown.
const VXIOp_Format* VXIOp_FormatOfName(std::string_view path);

// Returns the format that the first bytes of a file show or, for formats without a signature (tga),
// the format of the extension. Returns null if the file is not a known picture.
const VXIOp_Format* VXIOp_FormatOfContent(std::string_view head, std::string_view path);

enum class VXIOp_Use { Read, Write };

// Returns "png, jpeg, ..." for messages: the formats that can be read or written.
std::string VXIOp_FormatNames(VXIOp_Use use = VXIOp_Use::Read);

// Returns OpenImageIO's sample type for 8, 16 or 32 bits.
inline OIIO::TypeDesc VXIOp_SampleType(int32_t depth) {
  return vx::visit_depth(depth, []<class Pixel>() -> OIIO::TypeDesc {
    return OIIO::BaseTypeFromC<typename vx::PixelTraits<Pixel>::Channel>::value;
  });
}

// Contents of a picture file other than pixels, stored for writing.
struct VXIO_Metadata::Impl {
  OIIO::ImageSpec spec;
  const VXIOp_Format* format = nullptr;  // null if the picture was not read from a file
  bool windows = false;                  // `spec` has valid windows
  COR_QCE_ProfilePtr given_profile;      // set by VXIO_WithProfile; `spec` has its bytes
};

// Returns true if `format` can store the profile of `from`; `from` must have a profile. Otherwise
// sets `lost` to a description of what is lost, or leaves it empty if readers of the format assume
// the same colours without a profile.
bool VXIOp_StoresProfile(const VXIO_Metadata::Impl& from, const VXIOp_Format& format,
                         std::string* lost);

// Returns the first non-empty line of a message.
std::string VXIOp_FirstLine(const std::string& text);

// Returns the number set by VXIO_SetThreads; 0 for all processors.
int32_t VXIOp_Threads();

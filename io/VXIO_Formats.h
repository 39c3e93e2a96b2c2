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

// A new world of the wanted size. Throws as VX_World::New, and 4 for a null.
VXIO_WorldPtr VXIOp_NewWorld(int32_t width, int32_t height, int32_t depth);

// Throws a result code that is not 0.
void VXIOp_Check(VX_Err error);

// Calls `body` with a null pointer of the world's pixel type.
template <class Body>
void VXIOp_WithPixel(const VX_LayerDef& world, Body body) {
  switch (VXp_WorldDepth(&world)) {
    case 8: body(static_cast<VX_Pixel8*>(nullptr)); break;
    case 16: body(static_cast<VX_Pixel16*>(nullptr)); break;
    default: body(static_cast<VX_PixelFloat*>(nullptr)); break;
  }
}

template <class Pixel>
Pixel* VXIOp_Row(const VX_LayerDef& world, int32_t y) {
  return reinterpret_cast<Pixel*>(static_cast<char*>(world.data) +
                                  static_cast<ptrdiff_t>(y) * world.rowbytes);
}

// Full scale of a channel.
template <class Pixel>
inline constexpr VX_ChannelOf<Pixel> VXIOp_Full = 1;
template <>
inline constexpr uint8_t VXIOp_Full<VX_Pixel8> = 255;
template <>
inline constexpr uint16_t VXIOp_Full<VX_Pixel16> = 32768;

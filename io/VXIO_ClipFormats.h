// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The containers and codecs of clips that are written.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "VXIO/VXIO_ClipWriter.h"

struct VXIOp_ClipCodec {
  std::string_view name;
  const char* encoder;        // libav's name
  std::vector<int32_t> bits;  // the first is the default for 8-bit worlds
  int32_t deep_bits;          // default for deeper worlds
  int32_t alpha_bits;         // most bits with alpha; 0: no alpha
  bool yuv;
  bool even_size;           // width and height must be even
  int32_t quality, lowest;  // default and largest constant rate factor; 0: none
};

struct VXIOp_ClipContainer {
  std::string_view extension;
  const char* muxer;                     // libav's name
  std::vector<std::string_view> codecs;  // the first is the default
};

// Returns the container for the extension of a name; null if it is not that of a clip that can be
// written.
VXIO_API const VXIOp_ClipContainer* VXIOp_ClipContainerOfName(std::string_view path);

// Returns the codec that the options select. Throws like VXIO_CheckClipOptions.
VXIO_API const VXIOp_ClipCodec& VXIOp_ClipCodecOf(const std::string& path,
                                                  const VXIO_ClipOptions& options);

// Returns the codec with this name; null if there is none.
VXIO_API const VXIOp_ClipCodec* VXIOp_FindClipCodec(std::string_view name);

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// A picture file that has been opened and whose header has been judged.

#include <OpenImageIO/imageio.h>

#include <memory>
#include <string>
#include <vector>

#include "VXIO_Formats.h"

// Where the four channels of a pixel lie among those of the file. `alpha` is -1 when there is none.
struct VXIOp_Channels {
  int red, green, blue, alpha;
  bool grey() const { return red == green; }
};

struct VXIOp_Open {
  std::string path;
  const VXIOp_Format* format = nullptr;
  std::unique_ptr<OIIO::ImageInput> input;
  OIIO::ImageSpec spec;
  VXIOp_Channels channels{};
  VXIO_AlphaKind alpha = VXIO_AlphaKind::None;  // of the samples as they will be read
  int32_t depth = 8;                            // of the world that the samples make
  int32_t orientation = 1;
  int32_t parts = 1;
  std::vector<std::string> warnings;

  bool turned() const { return orientation >= 5; }  // width and height change places
  int32_t width() const { return turned() ? spec.height : spec.width; }
  int32_t height() const { return turned() ? spec.width : spec.height; }
};

// Throws VXIO_Error (Input) for what is no readable picture of 1..30,000 pixels on each axis.
VXIOp_Open VXIOp_OpenPicture(const std::string& path);

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Opens a picture file and interprets its header.

#include <OpenImageIO/imageio.h>

#include <memory>
#include <string>
#include <vector>

#include "VXIO_Metadata.h"

// The positions of red, green, blue and alpha among the channels of the file; `alpha` is -1 if
// there is none.
struct VXIOp_Channels {
  int red, green, blue, alpha;
  bool grey() const { return red == green; }
};

struct VXIOp_Open {
  std::string path;  // as given, with the layer
  const VXIOp_Format* format = nullptr;
  std::unique_ptr<OIIO::ImageInput> input;
  OIIO::ImageSpec spec;
  VXIOp_Channels channels{};
  VXIO_AlphaKind alpha = VXIO_AlphaKind::None;  // how the samples that `input` returns are stored
  int32_t depth = 8;                            // the smallest depth that preserves the samples
  int32_t orientation = 1;
  int32_t parts = 1;
  int part = 0;                     // index of the picture in the file
  std::vector<std::string> layers;  // names for "file.exr@NAME"
  std::vector<std::string> warnings;

  bool turned() const { return orientation >= 5; }  // width and height are exchanged
  int32_t width() const { return turned() ? spec.height : spec.width; }
  int32_t height() const { return turned() ? spec.width : spec.height; }
  VXIO_Windows windows() const;  // of the upright picture
};

// Opens a picture. Throws VXIO_Error (Input) unless the file is a readable picture of 1..30,000
// pixels on each axis.
VXIOp_Open VXIOp_OpenPicture(const std::string& path);

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The contents of VXIO_Metadata.

#include <OpenImageIO/imageio.h>

#include <string>

#include "VX/VX.hpp"
#include "VXIO_Formats.h"
#include "host/COR.h"

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

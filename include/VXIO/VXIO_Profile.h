// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Colour profiles of pictures, and conversion of worlds between profiles.
//
// Profiles and transforms are objects of the colour engine (host/COR.h), which is available between
// VX_Birth and VX_Death. If the engine fails, vx::Error is thrown with its status, and nothing has
// changed. All calls are thread-safe on distinct worlds.

#include <cstdint>
#include <string>
#include <vector>

#include "VXIO/VXIO_Picture.h"
#include "host/COR.h"

struct VXIO_PictureProfile {
  COR_QCE_ProfilePtr profile;  // never null
  bool embedded = false;       // false: `profile` is assumed, because no usable one is embedded
  std::vector<std::string> warnings;
};

// Returns the profile of a picture's colours. Without an embedded profile, "gamma 1.0" is assumed
// if the file declares linear values or is an EXR without a declaration, else sRGB. An embedded
// profile that the engine cannot use is ignored, with a warning.
VXIO_API VXIO_PictureProfile VXIO_ProfileOf(const std::string& path, const VXIO_Metadata& metadata);

// Returns true if the metadata show that two pictures have the same profile: equal profile bytes,
// or no profile and the same declaration of linear values. Fast. The profiles may be equivalent
// even if the result is false; see VXIO_SameColors.
VXIO_API bool VXIO_SameProfile(const VXIO_Metadata& a, const VXIO_Metadata& b);

// Returns a copy of the metadata with the given profile. The previous profile and all other
// declarations about colour values are removed. A format that cannot store profiles omits the
// profile when the file is written, with a warning unless readers would assume this profile anyway.
VXIO_API VXIO_Metadata VXIO_WithProfile(const VXIO_Metadata& metadata,
                                        const COR_QCE_ProfilePtr& profile);

// Returns the description for display, in UTF-8 without control characters; "a profile without a
// name" if there is none.
VXIO_API std::string VXIO_ProfileName(const COR_QCE_ProfilePtr& profile);

// Returns true if no colour differs by more than half an 8-bit step between the profiles. Profiles
// from different programs may describe the same colours with different bytes and identifiers.
VXIO_API bool VXIO_SameColors(const COR_QCE_ProfilePtr& a, const COR_QCE_ProfilePtr& b);

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The colour profiles of pictures, and worlds from one to another.
//
// Profiles and transforms are those of the colour engine (host/COR.h), which is bound between
// VX_Birth and VX_Death. Where it fails its status is thrown, a VX_Err by value, and nothing has
// changed. Calls may run on several threads at once.

#include <cstdint>
#include <string>
#include <vector>

#include "VXIO/VXIO_Picture.h"
#include "host/COR.h"

struct VXIO_PictureProfile {
  COR_QCE_ProfilePtr profile;  // never null
  bool embedded = false;       // false: the picture has none that can be used, and counts as this
  std::vector<std::string> warnings;
};

// The profile that the colours of a picture are in. Without an embedded one a picture counts as
// sRGB, and one that calls its values linear, as every EXR does that does not say otherwise, as
// "gamma 1.0". An embedded profile that the engine cannot use counts as absent, with a warning.
VXIO_API VXIO_PictureProfile VXIO_ProfileOf(const std::string& path, const VXIO_Metadata& metadata);

// Whether the metadata alone tell that two pictures are in the same profile: the same bytes, or
// none and the same word about linear values. Cheap; false does not mean that they differ.
VXIO_API bool VXIO_SameProfile(const VXIO_Metadata& a, const VXIO_Metadata& b);

// The same metadata with this profile in place of the picture's own and of every other word about
// what its values mean. A format that holds no profile is written without it; that is a warning
// unless the file counts as having this one.
VXIO_API VXIO_Metadata VXIO_WithProfile(const VXIO_Metadata& metadata,
                                        const COR_QCE_ProfilePtr& profile);

// For people: the description in UTF-8 without control characters; "a profile without a name".
VXIO_API std::string VXIO_ProfileName(const COR_QCE_ProfilePtr& profile);

// True when no colour moves by more than half an 8-bit step from the one to the other: two
// programs' ways to write down sRGB are the same colours, with different bytes and identities.
VXIO_API bool VXIO_SameColors(const COR_QCE_ProfilePtr& a, const COR_QCE_ProfilePtr& b);

// From one profile to another, for worlds of this depth (8, 16 or 32).
VXIO_API COR_QCE_TransformPtr VXIO_NewTransform(const COR_QCE_ProfilePtr& from,
                                                const COR_QCE_ProfilePtr& to, int32_t depth);

// Converts the colours of a world in place, those under alpha 0 too. Alpha stays. The transform
// was made for the depth of the world.
VXIO_API void VXIO_ConvertColors(const COR_QCE_TransformPtr& transform, VX_LayerDef* world);

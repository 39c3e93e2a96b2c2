// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Worlds as the verbs hold them.

#include <cstdint>

#include "VXIO/VXIO_Picture.h"

namespace vxcli {

// Both throw VX_Err, 4 when memory is short.

// A transparent world.
VXIO_WorldPtr NewWorld(int32_t width, int32_t height, int32_t depth);

// A view of a rectangle inside a world, which has to live longer.
VXIO_WorldPtr ViewOf(VX_World* world, const M_Rect& rect);

// Whether a rectangle lies wholly inside a world.
bool IsInside(const M_Rect& rect, const VX_LayerDef& world);

}  // namespace vxcli

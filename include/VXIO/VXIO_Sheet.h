// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Parts of a contact sheet: small copies of pictures, and words.

#include <cstdint>
#include <string>

#include "VXIO/VXIO_Picture.h"

// A copy of another size and the same depth. Colours are weighted by coverage; those under alpha 0
// do not survive.
VXIO_API VXIO_WorldPtr VXIO_Scale(const VX_LayerDef& world, int32_t width, int32_t height);

// Words as an 8-bit world of one grey (0..255) whose alpha is the coverage of the letters, just
// wide enough for them. `size` is the height of the font in pixels; the letters stand on row `size`
// and the world is a third higher. Throws VXIO_Error (Output) when no font is found.
VXIO_API VXIO_WorldPtr VXIO_RenderText(const std::string& text, int32_t size, uint8_t grey);

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Words on a contact sheet.

#include <cstdint>
#include <string>

#include "VXIO/VXIO_Picture.h"

// Words as an 8-bit world of one grey (0..255) whose alpha is the coverage of the letters, just
// wide enough for them. `size` is the height of the font in pixels; the letters stand on row `size`
// and the world is a third higher. Throws VXIO_Error (Output) when no font is found.
VXIO_API VXIO_WorldPtr VXIO_RenderText(const std::string& text, int32_t size, uint8_t grey);

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// One-channel buffers made of pictures, as `vx matte` and the mattes of layers need them.

#include <memory>
#include <optional>
#include <string>

#include "VX/VX_Mask.h"
#include "VXIO/VXIO_Picture.h"

namespace vxcli {

struct DisposeUno {
  void operator()(VX_UnoBuffer* buffer) const { VX_DisposeUnoBuffer(buffer); }
};
using UnoPtr = std::unique_ptr<VX_UnoBuffer, DisposeUno>;

// Samples are not cleared. All three throw VX_Err or LibraryError; `file` is named in it.
UnoPtr NewUno(int32_t width, int32_t height, int32_t depth);

// What of a picture is taken (VX_Matte_...), at its size and depth.
UnoPtr MatteOf(const VX_World& world, int32_t what, const std::string& file);

// The same at a size of the caller's: the corner at (0, 0), and beyond the picture 0, or full scale
// for the inverse uses.
UnoPtr MatteOfSize(const VX_World& world, int32_t what, int32_t width, int32_t height,
                   const std::string& file);

// --- options -------------------------------------------------------------------------------------

// alpha, inverse-alpha, luma, inverse-luma, red, green, blue as VX_Matte_...
int32_t ParseMatteUse(const std::string& option, const std::string& word);
const char* MatteUseName(int32_t what);

struct Feather {
  double radius = 0;
  int32_t kind = VX_Feather_Soft;
};
// Empty words are the defaults. `option` is that of the radius.
Feather ParseFeather(const std::string& option, const std::string& radius, const std::string& kind);
void Soften(const Feather& feather, VX_ProgressInfo* progress, VX_UnoBuffer* matte,
            const std::string& file);

}  // namespace vxcli

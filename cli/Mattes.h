// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// One-channel buffers made from pictures, for `vx matte` and the mattes of layers.

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

// Samples are not cleared. The three functions throw VX_Err, or LibraryError with the name `file`.
UnoPtr NewUno(int32_t width, int32_t height, int32_t depth);

// The channel `what` (VX_Matte_...) of a picture, at its size and depth.
UnoPtr MatteOf(const VX_World& world, int32_t what, const std::string& file);

// The channel at another size, with the corner of the picture at (0, 0). Outside of the picture it
// is 0, or full scale for the inverse uses.
UnoPtr MatteOfSize(const VX_World& world, int32_t what, int32_t width, int32_t height,
                   const std::string& file);

// --- options -------------------------------------------------------------------------------------

// The names of VX_Matte_... and of VX_Feather_..., in their order.
const std::vector<std::string>& MatteUses();
const std::vector<std::string>& FeatherKinds();

inline constexpr double kLargestFeather = 32767;

struct Feather {
  std::optional<double> radius;
  std::optional<int32_t> kind;  // VX_Feather_Soft without one
};
// Throws UsageError for a kind without a radius.
void CheckFeather(const Feather& feather);
void Soften(const Feather& feather, VX_ProgressInfo* progress, VX_UnoBuffer* matte,
            const std::string& file);

}  // namespace vxcli

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Options of a layer of `vx composite`, and those of them that `vx transform` has too.

#include <optional>
#include <string>

#include "Mattes.h"
#include "Options.h"
#include "VX/VX_Transfer.h"

namespace vxcli {

// How a layer is drawn.
struct DrawOptions {
  Mode mode{};
  double opacity = 1;
  int32_t seed = 0;
  bool keep_alpha = false;
  std::string mask;
  std::optional<int32_t> mask_use;  // VX_MaskUse_...; the default depends on the mask
  std::optional<Point> mask_at;
  int32_t field = VX_Field_Both;
  std::string matte;                 // a picture that the alpha of the layer is multiplied by
  std::optional<int32_t> matte_use;  // VX_Matte_...; the default depends on the matte
  Feather feather;                   // of the matte
};

struct LayerOptions : DrawOptions {
  std::string file;
  Point at;
  std::optional<M_Rect> rect;
};

OptionList DrawOptionList(DrawOptions* to);
OptionList LayerOptionList(LayerOptions* to);

// Throws UsageError for options that need another one.
void CheckDrawOptions(const DrawOptions& options);

// The name of VX_MaskUse_...
const char* MaskUseName(int32_t use);

}  // namespace vxcli

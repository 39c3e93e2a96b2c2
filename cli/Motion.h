// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The motion of a layer of `vx transform` from one place to another.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Places.h"
#include "VX/VX_Transform.h"

namespace vxcli {

struct Motion {
  Place start;
  std::optional<Place> end;
};

struct Shutter {
  std::optional<int32_t> samples;  // without a number: by the length of the path
  double share = 1;                // the part of the path, from the start, during the open shutter
};

// Returns the matrices for VX_TransformMotion: one for a layer that does not move, else one for
// each sub-sample and a last one, which is not drawn. `width` and `height` are those of the layer.
std::vector<M_Matrix3> MatricesOf(const Motion& motion, const Shutter& shutter, int32_t quality,
                                  int32_t width, int32_t height);

// --- what will not be seen -----------------------------------------------------------------------

// Returns the reason why nothing of a layer is drawn, or an empty text.
std::string WhyUnseen(const std::vector<M_Matrix3>& matrices, const VX_LayerDef& layer,
                      const VX_LayerDef& below);

}  // namespace vxcli

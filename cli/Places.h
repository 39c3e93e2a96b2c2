// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The place of a layer in `vx transform`: a matrix, or the parts that a matrix is made of.

#include <optional>
#include <utility>

#include "Options.h"
#include "VX/VX_Transform.h"

namespace vxcli {

struct Place {
  std::optional<M_Matrix3> matrix;                  // from the layer to the picture, or
  VX_TransformParts parts;                          // these; the anchor is beside them
  std::optional<std::pair<double, double>> anchor;  // without one: the middle of the layer
  bool has_parts = false;                           // an option of the parts was given
};

// The options of a place. Options that are not given leave `to` as it is. Storing a value throws
// UsageError for a matrix beside other options.
OptionList PlaceOptionList(Place* to);

// Throws UsageError if one place is a matrix and the other is given in parts.
void CheckEnds(const Place& start, const Place& end);

}  // namespace vxcli

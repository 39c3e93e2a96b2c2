// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Where `vx transform` puts a layer, and how it moves on the way from one place to another.

#include <CLI/CLI.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "VX/VX_Transform.h"

namespace vxcli {

// The words of the places, each as "--rotate=30": those before --to and those after it.
struct MotionWords {
  std::vector<std::string> start, end;
  bool moves = false;  // there is a --to
};

// Declares the options of a place and --to, for the help alone; `unused` takes no value.
void AddMotionOptions(CLI::App* app, MotionWords* unused);

// Takes them out of the arguments. Throws UsageError.
MotionWords TakeMotion(std::vector<std::string>* arguments);

// --- a place -------------------------------------------------------------------------------------

struct Place {
  std::optional<M_Matrix3> matrix;                  // from the layer to the picture, or
  VX_TransformParts parts;                          // these; the anchor is beside them
  std::optional<std::pair<double, double>> anchor;  // none: the middle of the layer
  bool has_parts = false;                           // words for them were given
};

// A place by its words; what they do not name is as in `base`. Throws UsageError for wrong values
// and for a matrix beside other words.
Place ParsePlace(const std::vector<std::string>& words, const Place& base);

// --- a motion ------------------------------------------------------------------------------------

struct Motion {
  Place start;
  std::optional<Place> end;
};

struct Shutter {
  std::optional<int32_t> samples;  // none: by the length of the way
  double share = 1;                // of the way from the start to the end
};

// Throws UsageError when one is a matrix and the other is told in parts.
void CheckEnds(const Place& start, const Place& end);

// Returns the matrices for VX_TransformMotion: one for a layer that does not move, else one for
// each sub-sample and a last one, which is not drawn. `width` and `height` are those of the layer.
std::vector<M_Matrix3> MatricesOf(const Motion& motion, const Shutter& shutter, int32_t quality,
                                  int32_t width, int32_t height);

// --- what will not be seen -----------------------------------------------------------------------

// Returns the reason why nothing of a layer is drawn, or an empty text.
std::string WhyUnseen(const std::vector<M_Matrix3>& matrices, const VX_LayerDef& layer,
                      const VX_LayerDef& below);

}  // namespace vxcli

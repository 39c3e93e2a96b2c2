// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The placement, blur and drop shadow of the layers of `vx composite`. All lengths are in pixels of
// the background: a layer is placed first, then it is blurred, then its shadow is made.

#include <optional>
#include <string>

#include "Motion.h"
#include "VX/cpp/Composite.hpp"
#include "VX/cpp/Image.hpp"

namespace vxcli {

// --- options -------------------------------------------------------------------------------------

// A position along one axis: the pixels from the left or upper edge of the background to that of
// the layer, or (`share`) a fraction of the size of the background minus the size of the layer.
struct Coordinate {
  int32_t pixels = 0;
  std::optional<double> share;

  // Returns pixels. `below` and `size` are the sizes of the background and the layer; a fraction of
  // a pixel is rounded down.
  double In(double below, double size) const;
};
struct Position {
  Coordinate x, y;
};
// Parses "center" or "X,Y". X is a whole number, a percentage, "left", "center" or "right"; Y is a
// whole number, a percentage, "top", "center" or "bottom".
Position ParsePosition(const std::string& option, const std::string& text);

struct ShadowOptions {
  std::optional<vx::Point> offset;  // not set: no shadow
  std::optional<std::string> color;
  std::optional<double> softness, opacity;
};

struct EffectOptions {
  std::optional<Position> at;
  Placement placement;
  double blur = 0;  // radius
  ShadowOptions shadow;

  bool HasPlacement() const { return placement.matrix || placement.has_parts; }
  bool HasEffects() const { return blur > 0 || shadow.offset; }
  // Returns the largest distance between a pixel of the layer and the pixels that it affects.
  int32_t Reach() const;
};

// Returns the placement options and the effects, without --at.
OptionList EffectOptionList(EffectOptions* to);

// Throws UsageError for options that contradict each other or have no effect.
void CheckEffects(const EffectOptions& options);

// --- placement -----------------------------------------------------------------------------------

// Returns the matrix from the layer to the background; the arguments are their sizes.
vx::Matrix MatrixOf(const EffectOptions& options, Size size, Size below);

// Returns the map that moves the layer and then applies `matrix`.
vx::Matrix After(vx::Point translation, const vx::Matrix& matrix);

// --- effects -------------------------------------------------------------------------------------

// Draws a layer with its blur and its shadow. `matrix` is a whole translation or the placement.
// Returns false if the layer and its shadow are outside of the background.
bool DrawWithEffects(const EffectOptions& effects, vx::AnyConstView layer, const vx::Matrix& matrix,
                     const vx::CompositeOptions& drawing, vx::AnyView below);

}  // namespace vxcli

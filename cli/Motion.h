// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The position of the layer of `vx transform`, its motion between two positions, and the file of
// --path.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Options.h"
#include "VX/cpp/Transform.hpp"

namespace vxcli {

struct Place {
  std::optional<vx::Matrix> matrix;                 // from the layer to the picture, or
  vx::TransformParts parts;                         // these; the anchor is beside them
  std::optional<std::pair<double, double>> anchor;  // without one: the middle of the layer
  bool has_parts = false;                           // an option of the parts was given
};

// The options of a place. Options that are not given leave `to` as it is. Storing a value throws
// UsageError for a matrix beside other options.
OptionList PlaceOptionList(Place* to);

// Throws UsageError if one place is a matrix and the other is given in parts.
void CheckEnds(const Place& start, const Place& end);

// --- motion --------------------------------------------------------------------------------------

struct Motion {
  Place start;
  std::optional<Place> end;
};

struct Shutter {
  std::optional<int32_t> samples;  // without a number: by the length of the path
  double share = 1;                // the part of the path, from the start, during the open shutter
};

// Returns the matrices for vx::transform: one for a layer that does not move, else one for
// each sub-sample and a last one, which is not drawn. `width` and `height` are those of the layer.
std::vector<vx::Matrix> MatricesOf(const Motion& motion, const Shutter& shutter,
                                   vx::Quality quality, int32_t width, int32_t height);

// Returns the reason why nothing of a layer is drawn, or an empty text.
std::string WhyUnseen(const std::vector<vx::Matrix>& matrices, const VX_LayerDef& layer,
                      const VX_LayerDef& below);

// --- the file of --path --------------------------------------------------------------------------

// Places of a layer, one line for each frame. docs/transform.md explains the form to users.
class MotionPath {
 public:
  // Options that a line does not have are those of `base`. The first line is frame `first` unless
  // it has a number. Throws VXIO_Error (Input) with the number of the line.
  MotionPath(const std::string& file, const Place& base, int64_t first);

  std::vector<int64_t> Frames() const;  // ascending

  // Both throw VXIO_Error (Input) for a frame without a line.

  // The motion from the place of a frame to that of the next; without an end if there is no next
  // line.
  Motion At(int64_t frame) const;
  // The texts of both lines, for the fingerprint.
  std::string Settings(int64_t frame) const;

 private:
  struct Line {
    int64_t number;  // in the file, from 1
    std::string words;
    Place place;
  };

  void Read(const std::string& text, const Place& base, int64_t first);
  const Line& Find(int64_t frame) const;
  [[noreturn]] void Refuse(int64_t line, const std::string& text) const;

  std::string file_;
  std::map<int64_t, Line> lines_;  // by frame
};

}  // namespace vxcli

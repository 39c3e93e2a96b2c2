// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The placement of the layer of `vx transform`, its motion between two placements, and the text
// file of --path.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Options.h"
#include "VX/cpp/Transform.hpp"

namespace vxcli {

// Where and how a layer is drawn: by a matrix, or by parts and an anchor.
struct Placement {
  std::optional<vx::Matrix> matrix;                 // from the layer to the picture
  vx::TransformParts parts;                         // if there is no matrix; its anchor is not used
  std::optional<std::pair<double, double>> anchor;  // in pixels; if not set, the layer's centre
  bool has_parts = false;  // an option of the parts or the anchor was given
};

// Returns the options of a placement, which store their values in `*to`. Options that are not given
// do not change it. Storing a value throws UsageError if --matrix is combined with other options.
OptionList PlacementOptionList(Placement* to);

// Checks the ends of a motion: throws UsageError if one is a matrix and the other one is given in
// parts.
void CheckEnds(const Placement& start, const Placement& end);

// --- motion --------------------------------------------------------------------------------------

struct Motion {
  Placement start;
  std::optional<Placement> end;
};

struct Shutter {
  std::optional<int32_t> samples;  // sub-samples; if not set, by the length of the motion
  double share = 1;  // fraction of the motion, from its start, during which the shutter is open
};

// Returns the matrices for vx::transform. A layer that does not move has one matrix. A motion has
// one matrix per sub-sample and one for its end, which is not drawn. `width` and `height` are the
// size of the layer in pixels.
std::vector<vx::Matrix> MatricesOf(const Motion& motion, const Shutter& shutter,
                                   vx::Quality quality, int32_t width, int32_t height);

// Returns the reason if nothing of a layer is drawn, else an empty text.
std::string InvisibleReason(const std::vector<vx::Matrix>& matrices, const VX_LayerDef& layer,
                            const VX_LayerDef& below);

// --- the file of --path --------------------------------------------------------------------------

// The placements of a layer from a text file with one line per frame. docs/transform.md describes
// the form of the file.
class MotionPath {
 public:
  // Reads the file. Options that a line does not have get their values from `base`. The first line
  // is for frame `first` unless it has a frame number. Throws VXIO_Error (Input); the message
  // contains the number of the invalid line.
  MotionPath(const std::string& file, const Placement& base, int64_t first);

  std::vector<int64_t> Frames() const;  // ascending

  // Returns the motion from the placement of a frame to the placement of the next frame. It has no
  // end if the next frame has no line. Throws VXIO_Error (Input) if `frame` has no line.
  Motion At(int64_t frame) const;
  // Returns the texts of these two lines, for the fingerprint of --resume. Throws like At.
  std::string Settings(int64_t frame) const;

 private:
  struct Line {
    int64_t number;  // line number in the file, from 1
    std::string words;
    Placement placement;
  };

  void Read(const std::string& text, const Placement& base, int64_t first);
  const Line& Find(int64_t frame) const;
  [[noreturn]] void Refuse(int64_t line, const std::string& text) const;

  std::string file_;
  std::map<int64_t, Line> lines_;  // by frame
};

}  // namespace vxcli

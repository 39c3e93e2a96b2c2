// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The file of --path: places of a layer, one line for each frame. docs/transform.md explains the
// form to users.

#include <map>
#include <string>
#include <vector>

#include "Motion.h"

namespace vxcli {

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

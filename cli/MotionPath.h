// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The file of --path: places of a layer, one line a frame. docs/transform.md tells users its form.

#include <map>
#include <string>
#include <vector>

#include "Motion.h"

namespace vxcli {

class MotionPath {
 public:
  // What a line does not name is as in `base`; the first line is frame `first` unless it says
  // another. Throws VXIO_Error (Input) that names the line.
  MotionPath(const std::string& file, const Place& base, int64_t first);

  std::vector<int64_t> Frames() const;  // rising

  // Both throw VXIO_Error (Input) for a frame without a line.

  // From the place of a frame to that of the next; without an end where there is no next line.
  Motion At(int64_t frame) const;
  // The words of both.
  std::string Words(int64_t frame) const;

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

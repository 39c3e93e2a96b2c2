// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Sequences: pictures whose file names hold the number of their frame.
//
// Frame numbers are 0 to 999,999,999,999,999; negative ones do not exist here.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "VXIO/VXIO_Picture.h"

constexpr int64_t VXIO_LargestFrame = 999'999'999'999'999;
constexpr int64_t VXIO_MostFrames = 5'000'000;  // of one sequence

// A file name with one place for the number: "shot.####.png" (a # for each digit) or, meaning the
// same, "shot.%04d.png"; "shot.%d.png" is "shot.#.png". The digits are the least number of them:
// frame 12345 of "####" is "12345", and "00012" is no frame of it. Folders are taken as they stand:
// only the part after the last slash is looked at.
class VXIO_API VXIO_FramePattern {
 public:
  // Whether a name has a place for a number, or more than one, which the constructor refuses.
  static bool IsPattern(const std::string& name);

  // Throws std::invalid_argument, with one line that names the pattern, for none or two places, one
  // of more than 15 digits, or a % form that pads with blanks.
  explicit VXIO_FramePattern(const std::string& name);

  std::string Name(int64_t frame) const;
  // The frame that a path is; only its part after the last slash counts.
  std::optional<int64_t> FrameOf(const std::string& path) const;

  // Of the files in the folder, rising. Throws VXIO_Error (Input) when the folder cannot be read
  // or holds more than VXIO_MostFrames of them.
  std::vector<int64_t> FramesOnDisk() const;
  // A pattern that files in the folder do fit when only the number of digits is wrong; else empty.
  std::string NearMiss() const;

  const std::string& folder() const { return folder_; }  // with its slash; empty: here
  // The pattern with a # for each digit, so that every spelling gives the same text.
  std::string Spelled() const;

 private:
  std::string folder_, before_, after_;
  size_t digits_ = 1;
};

// Frame numbers from "1-10,20-40x2,55": single frames, ranges from-to and ranges with a step, which
// ":" introduces as well. A range whose end is below its start runs down. The order is kept; a
// number that comes twice counts where it came first. Throws std::invalid_argument, with one line
// that says what is wrong, for anything else and for more than VXIO_MostFrames.
VXIO_API std::vector<int64_t> VXIO_ParseFrames(const std::string& words);

// The words that give these frames, runs of neighbours as ranges: "1-3,7". At most `most` pieces;
// what is left out is told as " and N more".
VXIO_API std::string VXIO_FrameWords(const std::vector<int64_t>& frames, size_t most = SIZE_MAX);

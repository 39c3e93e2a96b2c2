// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Sequences: pictures with a frame number in the file name.
//
// Frame numbers are 0..VXIO_LargestFrame.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "VXIO/VXIO_Picture.h"

constexpr int64_t VXIO_LargestFrame = 999'999'999'999'999;
constexpr int64_t VXIO_MostFrames = 5'000'000;  // in one sequence

// A file name with a placeholder for the frame number: "shot.####.png" (one # per digit) or the
// equivalent "shot.%04d.png"; "shot.%d.png" equals "shot.#.png". Numbers are padded with zeros to
// that many digits. Larger numbers have more digits: "####" matches "12345", but not "00012". Only
// the part after the last slash may contain a placeholder.
class VXIO_API VXIO_FramePattern {
 public:
  // Returns true if a name contains one placeholder or more. The constructor accepts exactly one.
  static bool IsPattern(const std::string& name);

  // Parses a pattern. Throws std::invalid_argument, with one line that names the pattern, for no or
  // several placeholders, for more than 15 digits, or for a % form that pads with blanks.
  explicit VXIO_FramePattern(const std::string& name);

  std::string Name(int64_t frame) const;
  // Returns the frame number of a path that matches. The folder of the path is ignored.
  std::optional<int64_t> FrameOf(const std::string& path) const;

  // Returns the numbers of the matching files in the folder, in ascending order. Throws VXIO_Error
  // (Input) if the folder cannot be read or more than VXIO_MostFrames files match.
  std::vector<int64_t> FramesOnDisk() const;
  // Returns a pattern that differs in the number of digits only and matches files in the folder;
  // empty if there is none.
  std::string SimilarPattern() const;

  const std::string& folder() const { return folder_; }  // ends with a slash; empty: current folder
  // Returns the pattern with one # per digit, the same text for all equivalent patterns.
  std::string Canonical() const;

 private:
  std::string folder_, before_, after_;
  size_t digits_ = 1;
};

// Parses frame numbers like "1-10,20-40x2,55": single frames, ranges, and ranges with a step after
// "x" or ":". A range whose end is below its start is descending. The order of the text is
// preserved. A repeated number is listed once, at its first position. Throws std::invalid_argument,
// with one line of text, for any other text and for more than VXIO_MostFrames frames.
VXIO_API std::vector<int64_t> VXIO_ParseFrames(const std::string& text);

// Formats frame numbers, consecutive ones as ranges: "1-3,7". At most `most` ranges are listed,
// then " and N more".
VXIO_API std::string VXIO_FormatFrames(const std::vector<int64_t>& frames, size_t most = SIZE_MAX);

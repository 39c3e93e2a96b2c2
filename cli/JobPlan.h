// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Which frames a job has and which files each reads and writes. Checked before any work.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Errors.h"
#include "Job.h"
#include "VXIO/VXIO_Sequence.h"

namespace vxcli {

struct InputFile {
  std::string path;
  bool black = false;  // a picture of zeros, made like the file at this path
};

struct PlannedFrame {
  enum Fate { Work, Skip, Fail };

  int64_t number = 0;
  Fate fate = Work;
  std::string why;  // of Fail
  std::vector<InputFile> inputs;
  std::string output;  // empty for a job that writes no picture
};

class JobPlan {
 public:
  // Reads folders, not files. Throws UsageError for options that contradict each other, and
  // VXIO_Error for gaps, for outputs that exist and may not be overwritten, and if no frame is
  // left.
  explicit JobPlan(const Job& job);

  bool sequence() const { return sequence_; }
  size_t size() const { return frames_.size(); }
  PlannedFrame Frame(size_t index) const;  // computed by each call: there may be millions
  const std::vector<int64_t>& frames() const { return frames_; }
  const std::string& output() const { return output_name_; }
  // Inputs that are one file for all frames.
  std::vector<std::string> SingleFiles() const;
  // Lines about gaps, for the user.
  const std::vector<std::string>& notes() const { return notes_; }

 private:
  struct Input {
    std::string name;
    std::optional<VXIO_FramePattern> pattern;
    std::vector<int64_t> on_disk;  // frames, rising
  };

  void FindPatterns(const Job& job);
  void FindFrames(const Job& job);
  void CheckGaps(bool keep_going);
  void CheckOutputs(VXIO_Clobber clobber) const;
  void CheckOverlap(bool resume) const;
  const Input* FirstPattern() const;
  // Sets the file of one input. Returns false if the frame is missing and has no substitute.
  bool Resolve(const Input& input, int64_t number, InputFile* file) const;

  std::vector<Input> inputs_;
  std::string output_name_;
  std::optional<VXIO_FramePattern> output_;
  Missing missing_ = Missing::Error;
  bool sequence_ = false;
  std::vector<int64_t> frames_;
  std::vector<std::string> notes_;
};

}  // namespace vxcli

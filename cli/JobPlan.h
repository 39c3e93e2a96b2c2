// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Which frames a job has, what each reads and writes, and what is wrong with that before any work.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Errors.h"
#include "Job.h"
#include "JobOptions.h"
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
  std::string output;  // empty for a job that only tells
};

class JobPlan {
 public:
  // Looks at folders, not into files. Throws UsageError for words that do not go together and
  // VXIO_Error for gaps, outputs that exist and may not be overwritten, and when no frame is left.
  JobPlan(const Job& job, const JobOptions& options);

  bool sequence() const { return sequence_; }
  size_t size() const { return frames_.size(); }
  PlannedFrame Frame(size_t index) const;  // made anew each time: there may be millions
  const std::vector<int64_t>& frames() const { return frames_; }
  const std::string& output() const { return output_word_; }
  // Inputs that are one file for all frames.
  std::vector<std::string> SingleFiles() const;
  // What to tell about gaps.
  const std::vector<std::string>& notes() const { return notes_; }

 private:
  struct Input {
    std::string word;
    std::optional<VXIO_FramePattern> pattern;
    std::vector<int64_t> on_disk;  // frames, rising
  };

  void ReadWords(const Job& job, const JobOptions& options);
  void FindFrames(const Job& job, const JobOptions& options);
  void JudgeGaps(bool keep_going);
  void JudgeOutputs(const JobOptions& options) const;
  void JudgeOverlap(bool resume) const;
  const Input* FirstPattern() const;
  // Sets the file of one input; false when the frame is missing and nothing stands in for it.
  bool Resolve(const Input& input, int64_t number, InputFile* file) const;

  std::vector<Input> inputs_;
  std::string output_word_;
  std::optional<VXIO_FramePattern> output_;
  Missing missing_ = Missing::Error;
  bool sequence_ = false;
  std::vector<int64_t> frames_;
  std::vector<std::string> notes_;
};

}  // namespace vxcli

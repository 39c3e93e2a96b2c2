// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "JobRun.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <unordered_set>

namespace vxcli {

namespace {

constexpr size_t kMostPieces = 8;  // ranges that a list of frames in a message may have

VXIO_FramePattern Pattern(const std::string& name) {
  try {
    return VXIO_FramePattern(name);
  } catch (const std::invalid_argument& error) {
    throw UsageError(error.what());
  }
}

std::string RealFolder(const std::string& path) {
  std::string folder = path.substr(0, path.rfind('/') + 1);
  char real[PATH_MAX];
  return realpath(folder.empty() ? "." : folder.c_str(), real) ? real : folder;
}

std::string FrameList(std::vector<int64_t> frames) {
  std::sort(frames.begin(), frames.end());
  return (frames.size() == 1 ? "frame " : "frames ") + VXIO_FormatFrames(frames, kMostPieces);
}

std::string Are(const std::vector<int64_t>& frames) {
  return frames.size() == 1 ? " is " : " are ";
}

[[noreturn]] void RefuseResume(const std::string& input) {
  throw UsageError("--resume: the output replaces the input " + input +
                   ", so finished frames cannot be recognised; write to another name");
}

bool Contains(const std::vector<int64_t>& ascending, int64_t frame) {
  return std::binary_search(ascending.begin(), ascending.end(), frame);
}

}  // namespace

JobPlan::JobPlan(const Job& job)
    : output_name_(job.options->output), missing_(job.options->missing) {
  FindPatterns(job);
  if (!sequence_) {
    frames_ = {0};
    if (output_name_.empty()) return;
    VXIO_CheckOutput(output_name_, job.options->Clobber());
    for (const Input& input : inputs_) {
      std::error_code none;
      if (job.options->resume && std::filesystem::equivalent(input.name, output_name_, none)) {
        RefuseResume(input.name);
      }
    }
    return;
  }
  FindFrames(job);
  if (output_) CheckOverlap(job.options->resume);
  CheckGaps(job.options->keep_going);
  if (output_) CheckOutputs(job.options->Clobber());
}

void JobPlan::FindPatterns(const Job& job) {
  const JobOptions& options = *job.options;
  bool file_like_pattern = false;  // an existing file has a name that looks like a pattern
  for (const std::string& name : job.inputs) {
    Input input{name, std::nullopt, {}};
    if (VXIO_FramePattern::IsPattern(name)) {
      std::error_code none;
      if (std::filesystem::exists(name, none)) {
        file_like_pattern = true;
      } else {
        input.pattern = Pattern(name);
      }
    }
    inputs_.push_back(std::move(input));
  }
  const bool literal = file_like_pattern && FirstPattern() == nullptr;
  if (VXIO_FramePattern::IsPattern(output_name_) && !literal) output_ = Pattern(output_name_);
  const Input* input = FirstPattern();
  sequence_ = input || (output_ && (inputs_.empty() || !job.frames.empty()));
  if (input && !output_name_.empty() && !output_) {
    throw UsageError(output_name_ + ": the input " + input->name +
                     " is a sequence, so the output must be a pattern, such as out.####.png");
  }
  if (!sequence_ && output_) {
    throw UsageError(output_name_ + ": is a sequence, but the input " + inputs_[0].name +
                     " is a single file; write to a single file or use a pattern as the input");
  }
  if (sequence_ && !input && !options.frames && job.frames.empty()) {
    throw UsageError(output_name_ + ": is a sequence without an input; --frames is required");
  }
  if (sequence_) return;
  auto needs_sequence = [](const char* option) {
    throw UsageError(std::string(option) + ": belongs to a sequence; no input is a pattern "
                                           "such as shot.####.png");
  };
  if (options.frames) needs_sequence("--frames");
  if (options.missing != Missing::Error) needs_sequence("--missing");
  if (!options.failed_list.empty()) needs_sequence("--failed-list");
}

const JobPlan::Input* JobPlan::FirstPattern() const {
  for (const Input& input : inputs_) {
    if (input.pattern) return &input;
  }
  return nullptr;
}

void JobPlan::FindFrames(const Job& job) {
  for (Input& input : inputs_) {
    if (!input.pattern) continue;
    input.on_disk = input.pattern->FramesOnDisk();
    if (!input.on_disk.empty()) continue;
    const std::string near = input.pattern->SimilarPattern();
    throw VXIO_Error(VXIO_ErrorKind::Input,
                     input.name + ": no file matches this pattern" +
                         (near.empty() ? "; check the name" : "; did you mean " + near + "?"));
  }
  if (job.options->frames) {
    frames_ = *job.options->frames;
    return;
  }
  if (!FirstPattern()) {
    frames_ = job.frames;
    return;
  }
  const Input& input = *FirstPattern();
  const int64_t first = input.on_disk.front(), last = input.on_disk.back();
  if (last - first >= VXIO_MostFrames) {
    throw UsageError(input.name + ": runs from " + std::to_string(first) + " to " +
                     std::to_string(last) + "; select some of them with --frames");
  }
  for (int64_t frame = first; frame <= last; ++frame) frames_.push_back(frame);
}

bool JobPlan::Resolve(const Input& input, int64_t number, InputFile* file) const {
  if (!input.pattern) {
    *file = {input.name};
    return true;
  }
  *file = {input.pattern->Name(number)};
  auto after = std::lower_bound(input.on_disk.begin(), input.on_disk.end(), number);
  if (after != input.on_disk.end() && *after == number) return true;
  if (missing_ != Missing::Hold && missing_ != Missing::Black) return false;
  const bool earlier = after != input.on_disk.begin();
  if (!earlier && missing_ == Missing::Hold) return false;
  *file = {input.pattern->Name(earlier ? after[-1] : *after), missing_ == Missing::Black};
  return true;
}

PlannedFrame JobPlan::Frame(size_t index) const {
  PlannedFrame frame;
  frame.number = frames_[index];
  if (!output_name_.empty()) frame.output = output_ ? output_->Name(frame.number) : output_name_;
  for (const Input& input : inputs_) {
    InputFile file;
    const bool found = Resolve(input, frame.number, &file);
    if (!found && frame.action == PlannedFrame::Work) {
      frame.action = missing_ == Missing::Skip ? PlannedFrame::Skip : PlannedFrame::Fail;
      frame.error = file.path + ": no such file" +
                    (missing_ == Missing::Hold ? ", nor an earlier frame to hold" : "");
    }
    frame.inputs.push_back(std::move(file));
  }
  return frame;
}

std::vector<std::string> JobPlan::SingleFiles() const {
  std::vector<std::string> files;
  for (const Input& input : inputs_) {
    if (!input.pattern) files.push_back(input.name);
  }
  return files;
}

// A missing frame without a substitute stops the job unless --keep-going is given. Substituted
// frames are reported.
void JobPlan::CheckGaps(bool keep_going) {
  static constexpr const char* kDone[] = {"", "skipped", "replaced by the frame before", "black"};
  std::unordered_set<int64_t> left_out;
  for (const Input& input : inputs_) {
    if (!input.pattern) continue;
    std::vector<int64_t> gaps, fatal;
    for (int64_t number : frames_) {
      InputFile file;
      const bool found = Resolve(input, number, &file);
      if (found && Contains(input.on_disk, number)) continue;
      (found || missing_ == Missing::Skip ? gaps : fatal).push_back(number);
      if (!found) left_out.insert(number);
    }
    if (!fatal.empty() && !keep_going) {
      throw VXIO_Error(VXIO_ErrorKind::Input,
                       input.name + ": " + FrameList(fatal) + Are(fatal) + "missing" +
                           (missing_ == Missing::Hold
                                ? ", without an earlier frame to hold"
                                : "; name other --frames or use --missing skip, hold or black"));
    }
    if (!gaps.empty()) {
      notes_.push_back(input.name + ": " + FrameList(gaps) + Are(gaps) +
                       "missing: " + kDone[static_cast<int>(missing_)]);
    }
  }
  if (missing_ == Missing::Skip && left_out.size() == frames_.size()) {
    throw VXIO_Error(VXIO_ErrorKind::Input, FirstPattern()->name + ": no frame is left: all " +
                                                std::to_string(frames_.size()) +
                                                " are missing; check --frames");
  }
}

void JobPlan::CheckOutputs(VXIO_Clobber clobber) const {
  VXIO_CheckOutput(output_->Name(frames_[0]), VXIO_Clobber::Overwrite);
  if (clobber != VXIO_Clobber::Refuse) return;
  const std::vector<int64_t> on_disk = output_->FramesOnDisk();
  std::vector<int64_t> existing;
  for (size_t i = 0; i < frames_.size(); ++i) {
    if (Contains(on_disk, frames_[i]) && Frame(i).action != PlannedFrame::Skip) {
      existing.push_back(frames_[i]);
    }
  }
  if (existing.empty()) return;
  throw VXIO_Error(VXIO_ErrorKind::Output,
                   output_name_ + ": " + FrameList(existing) +
                       (existing.size() == 1 ? " exists" : " exist") +
                       " and may not be overwritten; choose another name or allow it");
}

// Throws UsageError if the output of one frame would replace an input of another frame, because the
// result would depend on the order in which the two frames are processed.
void JobPlan::CheckOverlap(bool resume) const {
  const std::string folder = RealFolder(output_name_);
  std::unordered_set<int64_t> written;
  for (const Input& input : inputs_) {
    if (RealFolder(input.name) != folder) continue;
    if (written.empty()) written.insert(frames_.begin(), frames_.end());
    for (int64_t number : frames_) {
      InputFile file;
      if (!Resolve(input, number, &file)) continue;
      const std::optional<int64_t> replaced = output_->FrameOf(file.path);
      if (!replaced || !written.contains(*replaced)) continue;
      if (*replaced != number) {
        throw UsageError(output_name_ + ": frame " + std::to_string(*replaced) + " would replace " +
                         file.path + ", which frame " + std::to_string(number) +
                         " reads; write to another name");
      }
      if (resume) RefuseResume(input.name);
    }
  }
}

}  // namespace vxcli

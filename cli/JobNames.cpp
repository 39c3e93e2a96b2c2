// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// The names of the inputs and of the output of a job: patterns, clips, the standard streams, and
// names that are refused.

#include <glob.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <set>

#include "JobRun.h"

namespace vxcli {

namespace {

VXIO_FramePattern Pattern(const std::string& name) {
  try {
    return VXIO_FramePattern(name);
  } catch (const std::invalid_argument& error) {
    throw UsageError(error.what());
  }
}

// Throws VXIO_Error (Input) if an input that does not exist has wildcards of the shell.
void RefuseWildcards(const std::string& name) {
  if (name.find_first_of("*?[") == std::string::npos) return;
  glob_t found{};
  std::vector<std::string> names;
  if (glob(name.c_str(), 0, nullptr, &found) == 0) {
    names.assign(found.gl_pathv, found.gl_pathv + found.gl_pathc);
  }
  globfree(&found);
  const std::string pattern = PatternOfFiles(names);
  throw VXIO_Error(VXIO_ErrorKind::Input,
                   name + ": no such file; a sequence is named by a pattern, here '" +
                       (pattern.empty() ? "shot.####.png" : pattern) + "'");
}

}  // namespace

bool IsClip(const std::string& name) {
  std::error_code none;
  return std::filesystem::is_regular_file(name, none) &&
         std::filesystem::file_size(name, none) > 0 && access(name.c_str(), R_OK) == 0 &&
         !VXIO_IsPicture(name);
}

std::string PatternOfFiles(const std::vector<std::string>& names) {
  std::set<std::string> patterns, numbers;
  size_t digits = SIZE_MAX;
  for (const std::string& name : names) {
    const size_t end = name.find_last_of("0123456789") + 1;
    if (end == 0 || name.find('/', end) != std::string::npos) return {};
    const size_t before = name.find_last_not_of("0123456789", end - 1);
    const size_t begin = before == std::string::npos ? 0 : before + 1;
    digits = std::min(digits, end - begin);
    patterns.insert(name.substr(0, begin) + '*' + name.substr(end));
    numbers.insert(name.substr(begin, end - begin));
  }
  if (patterns.size() != 1 || numbers.size() < 2) return {};
  std::string pattern = *patterns.begin();
  return pattern.replace(pattern.find('*'), 1, std::string(digits, '#'));
}

std::string InputFile::Text() const {
  return clip ? path + " frame " + std::to_string(clip_frame) : path;
}

VXIO_Info InputFile::Info() const {
  return clip ? clip->PictureInfo() : WithName([&] { return VXIO_ReadInfo(File()); });
}

InputFile JobPlan::Input::File(int64_t number) const {
  InputFile file{pattern ? pattern->Name(number) : name};
  file.clip = clip;
  file.clip_frame = clip ? number : 0;
  file.stored = stored;
  return file;
}

// Throws UsageError for options that contradict a picture on the standard output.
void JobPlan::CheckStandardOutput(const JobOptions& options) const {
  if (output_name_ == kStandardStream) {
    ReserveStandardOutput();
    if (options.format.empty()) throw UsageError("-o -: needs --format NAME, such as png");
    if (options.json || options.progress == ProgressStyle::OpenJd) {
      throw UsageError("-o -: not together with --json or --progress openjd; they use the standard "
                       "output too");
    }
    if (options.resume) throw UsageError("--resume: not together with -o -");
  } else if (!options.format.empty()) {
    throw UsageError("--format: belongs to -o -; the extension of " + output_name_ +
                     " decides its format");
  }
}

void JobPlan::FindPatterns(const Job& job) {
  bool file_like_pattern = false;  // an existing file has a name that looks like a pattern
  for (const std::string& name : job.inputs) {
    Input input{name};
    std::error_code none;
    if (name == kStandardStream) {
      input.stored = StandardInputFile();
      inputs_.push_back(std::move(input));
      continue;
    }
    const bool exists = std::filesystem::exists(name, none);
    if (VXIO_FramePattern::IsPattern(name) && !exists) {
      input.pattern = Pattern(name);
    } else if (!exists) {
      RefuseWildcards(name);
    } else if (IsClip(name)) {
      input.clip = std::make_shared<JobClip>(name);
      if (missing_ == Missing::Hold || missing_ == Missing::Black) input.clip->KeepLast();
    }
    file_like_pattern |= exists && VXIO_FramePattern::IsPattern(name);
    inputs_.push_back(std::move(input));
  }
  const bool literal = file_like_pattern && FirstSequence() == nullptr;
  if (VXIO_FramePattern::IsPattern(output_name_) && !literal) output_ = Pattern(output_name_);
  clip_ = VXIO_IsClipName(output_name_);
  // One frame that is selected by an option may be written to a single file.
  const JobOptions& options = *job.options;
  const auto& selected = job.retiming ? job.retiming->only : options.frames;
  const bool one = options.at_time || (selected && selected->size() == 1);
  if (job.retiming && !FirstSequence()) {
    const std::string& name = inputs_[0].name;
    std::error_code none;
    if (name != kStandardStream && !std::filesystem::exists(name, none)) {
      throw VXIO_Error(VXIO_ErrorKind::Input, name + ": no such file; check the name");
    }
    throw UsageError(
        name +
        (std::filesystem::is_directory(name, none) ? ": is a folder" : ": is a single picture") +
        "; the input must be a clip or a pattern, such as shot.####.png");
  }
  const bool several = output_ || clip_;
  const bool single = FirstSequence() && one && !output_name_.empty() && !several;
  sequence_ = !single && (FirstSequence() || (several && (inputs_.empty() || !job.frames.empty())));
}

// Throws UsageError for an output and options that do not match the inputs.
void JobPlan::CheckOutputName(const Job& job) const {
  const JobOptions& options = *job.options;
  const Input* input = FirstSequence();
  std::error_code none;
  if (std::filesystem::is_directory(output_name_, none)) {
    const std::string folder = output_name_.ends_with('/') ? output_name_ : output_name_ + "/";
    throw VXIO_Error(VXIO_ErrorKind::Output, output_name_ + ": is a folder; name a file in it: " +
                                                 folder + (sequence_ ? "out.####.png" : "out.png"));
  }
  const bool has_clip = std::any_of(inputs_.begin(), inputs_.end(),
                                    [](const Input& each) { return each.clip != nullptr; });
  if (clip_ && output_) {
    throw UsageError(output_name_ + ": a clip contains all frames; its name has no placeholder");
  }
  if (options.at_time && !has_clip) throw UsageError("--at-time: no input is a clip");
  if (sequence_ && input && !output_name_.empty() && !output_ && !clip_) {
    throw UsageError(output_name_ + ": the input " + input->name + " is a " +
                     (input->clip ? "clip" : "sequence") +
                     ", so the output must be a pattern, such as out.####.png, or a clip, such as "
                     "out.mkv; one frame (" +
                     (job.retiming ? "--output-frames N"
                      : has_clip   ? "--frames N or --at-time SECONDS"
                                   : "--frames N") +
                     ") may be written to a single file");
  }
  if (!sequence_ && (output_ || clip_)) {
    throw UsageError(output_name_ + ": is a " + (clip_ ? "clip" : "sequence") + ", but the input " +
                     inputs_[0].name +
                     " is a single file; write to a single file or use a pattern as the input");
  }
  if (sequence_ && !input && !options.frames && job.frames.empty()) {
    throw UsageError(output_name_ + ": is a " + (clip_ ? "clip" : "sequence") +
                     " without an input; --frames is required");
  }
  if (sequence_ || input) return;
  auto needs_sequence = [](const char* option) {
    throw UsageError(std::string(option) + ": belongs to a sequence; no input is a clip or "
                                           "a pattern such as shot.####.png");
  };
  if (options.frames) needs_sequence("--frames");
  if (options.missing != Missing::Error) needs_sequence("--missing");
  if (!options.failed_list.empty()) needs_sequence("--failed-list");
}

const JobPlan::Input* JobPlan::FirstSequence() const {
  for (const Input& input : inputs_) {
    if (input.IsSequence()) return &input;
  }
  return nullptr;
}

}  // namespace vxcli

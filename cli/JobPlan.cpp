// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "JobRun.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <numeric>
#include <unordered_set>

namespace vxcli {

namespace {

constexpr size_t kMostPieces = 8;  // ranges that a list of frames in a message may have

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
    : output_name_(job.options->output), missing_(job.options->missing), retiming_(job.retiming) {
  CheckStandardOutput(*job.options);  // before the standard input is read
  FindPatterns(job);
  CheckOutputName(job);
  if (!sequence_) {
    if (FirstSequence()) {
      FindFrames(job);
      CheckGaps(job.options->keep_going);
      if (retiming_) Retime();
    } else {
      frames_ = {0};
    }
    if (output_name_.empty()) return;
    if (output_name_ != kStandardStream) {
      job.check_output(output_name_, job.options->Clobber());
    }
    for (const Input& input : inputs_) {
      std::error_code none;
      if (job.options->resume && std::filesystem::equivalent(input.name, output_name_, none)) {
        RefuseResume(input.name);
      }
    }
    return;
  }
  FindFrames(job);
  CheckGaps(job.options->keep_going);
  if (retiming_) Retime();
  if (output_) CheckOverlap(job.options->resume);
  if (output_) CheckOutputs(job);
  if (clip_) CheckClipOutput(*job.options);
}

// Finds the existing frames of an input: all files of a sequence, or the frames of a clip up to
// `last_needed`.
void JobPlan::FindExisting(Input* input, int64_t last_needed) const {
  if (input->clip) {
    const int64_t count = input->clip->CountFrames(std::min(last_needed, VXIO_MostFrames) + 1);
    if (count == 0) throw VXIO_Error(VXIO_ErrorKind::Input, input->name + ": has no frame");
    input->on_disk.resize(static_cast<size_t>(count));
    std::iota(input->on_disk.begin(), input->on_disk.end(), int64_t{0});
    return;
  }
  input->on_disk = input->pattern->FramesOnDisk();
  if (!input->on_disk.empty()) return;
  const std::string near = input->pattern->SimilarPattern();
  throw VXIO_Error(VXIO_ErrorKind::Input,
                   input->name + ": no file matches this pattern" +
                       (near.empty() ? "; check the name" : "; did you mean " + near + "?"));
}

// Selects the frames that the clips show at a time. The number of the frame is that of the first
// clip; patterns use it too.
void JobPlan::FindTime(double seconds) {
  for (Input& input : inputs_) {
    if (!input.clip) continue;
    input.at_time = input.clip->FrameAt(seconds);
    if (frames_.empty()) frames_ = {*input.at_time};
  }
  for (Input& input : inputs_) {
    if (input.pattern) FindExisting(&input, 0);
  }
}

void JobPlan::FindFrames(const Job& job) {
  if (job.options->at_time) return FindTime(*job.options->at_time);
  if (job.options->frames) frames_ = *job.options->frames;
  // A clip is decoded only up to the last frame of the job. If the first input determines the
  // frames, one frame more of the other clips is decoded, so that longer clips are reported.
  int64_t last_needed = VXIO_MostFrames;
  if (!frames_.empty()) last_needed = *std::max_element(frames_.begin(), frames_.end());
  for (Input& input : inputs_) {
    if (!input.IsSequence()) continue;
    FindExisting(&input, last_needed);
    if (frames_.empty()) last_needed = std::min(last_needed, input.on_disk.back() + 1);
  }
  if (!frames_.empty()) return;
  if (!FirstSequence()) {
    frames_ = job.frames;
    return;
  }
  const Input& input = *FirstSequence();
  const int64_t first = input.on_disk.front(), last = input.on_disk.back();
  if (last - first >= VXIO_MostFrames) {
    throw UsageError(input.name + ": runs from " + std::to_string(first) + " to " +
                     std::to_string(last) + "; select some of them with --frames");
  }
  for (int64_t frame = first; frame <= last; ++frame) frames_.push_back(frame);
  NoteLengths();
}

// Reports sequences that have frames before or after those of the first one, which the job does not
// read. Frames that they lack are reported as missing.
void JobPlan::NoteLengths() {
  const Input& first = *FirstSequence();
  for (const Input& input : inputs_) {
    if (!input.IsSequence()) continue;
    const auto unused = [&](const char* side, int64_t frame, const char* which) {
      notes_.push_back(input.name + ": frames " + side + " " + std::to_string(frame) + ", the " +
                       which + " one of " + first.name + ", are not used");
    };
    if (input.on_disk.front() < first.on_disk.front() && !input.clip) {
      unused("before", first.on_disk.front(), "first");
    }
    if (input.on_disk.back() > first.on_disk.back()) unused("after", first.on_disk.back(), "last");
  }
}

// Replaces the frames of the input by those of Job::retiming.
void JobPlan::Retime() {
  const Input& input = *FirstSequence();
  JobSource source;
  source.name = input.name;
  source.count = static_cast<int64_t>(frames_.size());
  for (int64_t place = 0; place < source.count; ++place) {
    const int64_t number = frames_[static_cast<size_t>(place)];
    InputFile file;
    if (missing_ == Missing::Skip && !Resolve(input, number, &file)) continue;
    source.numbers.push_back(number);
    source.places.push_back(place);
  }
  if (input.clip) {
    source.clip = input.clip->info();
    source.durations = input.clip->DurationsOf(frames_);
  }
  std::shared_ptr<JobClip> clip;  // another reader, so that the job is at the start of its clip
  source.read = [&](size_t i) {
    InputFile file;
    if (!Resolve(input, source.numbers[i], &file)) {
      throw VXIO_Error(VXIO_ErrorKind::Input, file.path + ": no such file");
    }
    if (file.clip) {
      if (!clip) clip = std::make_shared<JobClip>(input.name);
      file.clip = clip;
    }
    return file.Read(0, 0, VXIO_AlphaAs::File);
  };
  first_output_ = source.first = frames_.front();
  const int64_t count = retiming_->plan(source);
  read_ = std::move(source.numbers);
  if (!retiming_->only) {
    frames_.resize(static_cast<size_t>(count));
    std::iota(frames_.begin(), frames_.end(), first_output_);
    return;
  }
  frames_ = *retiming_->only;
  for (const int64_t frame : frames_) {
    if (frame >= first_output_ && frame < first_output_ + count) continue;
    throw UsageError("--output-frames: the output has no frame " + std::to_string(frame) +
                     "; it has the frames " + std::to_string(first_output_) + " to " +
                     std::to_string(first_output_ + count - 1));
  }
}

bool JobPlan::Resolve(const Input& input, int64_t number, InputFile* file) const {
  *file = input.File(input.at_time.value_or(number));
  if (!input.IsSequence() || input.at_time) return true;
  auto after = std::lower_bound(input.on_disk.begin(), input.on_disk.end(), number);
  if (after != input.on_disk.end() && *after == number) return true;
  if (missing_ != Missing::Hold && missing_ != Missing::Black) return false;
  const bool earlier = after != input.on_disk.begin();
  if (!earlier && missing_ == Missing::Hold) return false;
  *file = input.File(earlier ? after[-1] : *after);
  file->black = missing_ == Missing::Black;
  return true;
}

PlannedFrame JobPlan::Frame(size_t index) const {
  PlannedFrame frame;
  frame.number = frames_[index];
  if (!output_name_.empty()) frame.output = output_ ? output_->Name(frame.number) : output_name_;
  const auto add = [&](const Input& input, int64_t number) {
    InputFile file;
    const bool found = Resolve(input, number, &file);
    if (!found && frame.action == PlannedFrame::Work) {
      frame.action = missing_ == Missing::Skip ? PlannedFrame::Skip : PlannedFrame::Fail;
      frame.error = file.path +
                    (file.clip ? ": has no frame " + std::to_string(number) : ": no such file") +
                    (missing_ == Missing::Hold ? ", nor an earlier frame to hold" : "");
    }
    frame.inputs.push_back(std::move(file));
  };
  if (retiming_) {
    const int64_t output = OutputIndex(index);
    frame.instant = retiming_->describe(output);
    for (const size_t i : retiming_->sources(output)) add(*FirstSequence(), read_[i]);
  } else {
    for (const Input& input : inputs_) add(input, frame.number);
  }
  return frame;
}

std::vector<JobClip*> JobPlan::Clips() const {
  std::vector<JobClip*> clips;
  for (const Input& input : inputs_) {
    if (input.clip) clips.push_back(input.clip.get());
  }
  return clips;
}

std::unique_ptr<ClipOutput> JobPlan::MakeClip(const Job& job,
                                              std::vector<std::string>* warnings) const {
  ClipPlan plan;
  plan.output = output_name_;
  if (FirstSequence()) plan.input = FirstSequence()->name;
  if (!Clips().empty()) plan.source = Clips()[0];
  plan.frames = frames_;
  if (retiming_) {
    plan.rate = retiming_->rate();
    plan.output_frames = static_cast<int64_t>(frames_.size());
    plan.keeps_times = retiming_->keeps_times;
  }
  return MakeClipOutput(*job.options, plan, warnings);
}

std::vector<InputFile> JobPlan::SingleFiles() const {
  std::vector<InputFile> files;
  for (const Input& input : inputs_) {
    if (!input.IsSequence()) files.push_back(input.File(0));
  }
  return files;
}

// A missing frame without a substitute stops the job unless --keep-going is given. Substituted
// frames are reported.
void JobPlan::CheckGaps(bool keep_going) {
  static constexpr const char* kDone[] = {"", "skipped", "replaced by the frame before", "black"};
  std::unordered_set<int64_t> left_out;
  for (const Input& input : inputs_) {
    if (!input.IsSequence() || input.at_time) continue;
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
                           (fatal.front() > input.on_disk.back()
                                ? " (the last one is " + std::to_string(input.on_disk.back()) + ")"
                                : "") +
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
    throw VXIO_Error(VXIO_ErrorKind::Input, FirstSequence()->name + ": no frame is left: all " +
                                                std::to_string(frames_.size()) +
                                                " are missing; check --frames");
  }
}

void JobPlan::CheckOutputs(const Job& job) const {
  job.check_output(output_->Name(frames_[0]), VXIO_Clobber::Overwrite);
  if (job.options->Clobber() != VXIO_Clobber::Refuse) return;
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
    if (input.clip || RealFolder(input.name) != folder) continue;
    if (written.empty()) written.insert(frames_.begin(), frames_.end());
    for (int64_t number : FramesToRead()) {
      InputFile file;
      if (!Resolve(input, number, &file)) continue;
      const std::optional<int64_t> replaced = output_->FrameOf(file.path);
      if (!replaced || !written.contains(*replaced)) continue;
      if (retiming_) {
        throw UsageError(output_name_ + ": frame " + std::to_string(*replaced) + " would replace " +
                         file.path + ", which is an input; write to another name");
      }
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

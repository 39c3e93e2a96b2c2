// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// The options of a job, one frame of it, and the memory of the frames in flight.

#include "Job.h"

#include <unistd.h>

#include <stdexcept>

#include "JobRun.h"
#include "VX/cpp/Pixels.hpp"
#include "VXIO/VXIO_Sequence.h"
#include "Verbs.h"

namespace vxcli {

namespace {

constexpr int32_t kMostThreads = 512;  // each may have a temporary file; see VXIO_OutputFile.cpp

std::vector<int64_t> ParseFrames(const std::string& option, const std::string& text) {
  try {
    return VXIO_ParseFrames(text);
  } catch (const std::invalid_argument& error) {
    throw UsageError(option + " " + error.what());
  }
}

OptionList OutputOptions(JobOptions* to) {
  return {
      Option{"-o,--output", "OUT", Text(&to->output),
             "Picture to write, a pattern for a sequence; the extension decides the format"}
          .Required(),
      Option{"--overwrite", "", Flag(&to->overwrite), "Replace outputs that exist"}.Without("yes"),
      Option{"--no-clobber", "", Flag(&to->no_clobber),
             "Refuse, before any work, when an output exists"}
          .Excludes("--overwrite"),
      Option{"--resume", "", Flag(&to->resume),
             "Leave alone what an earlier run with --resume wrote from the same inputs and "
             "settings; its record is a hidden file beside OUT"}
          .Excludes("--no-clobber"),
  };
}

std::string BaseName(const std::string& path) { return path.substr(path.rfind('/') + 1); }

// Sets all pixels to 0, with full alpha if the picture has none.
void Blacken(VXIO_Picture* picture) {
  const vx::Pixel8 black{static_cast<uint8_t>(picture->has_alpha ? 0 : 255), 0, 0, 0};
  vx::fill(*picture->world, black);
}

}  // namespace

Option InputOption(std::string* to) {
  return Option{"IN", "FILE", Text(to), "A picture, or a pattern for a sequence"}.Required().For(
      Decides::Contents);
}

OptionList JobOptionList(JobOptions* to, JobOutput output) {
  OptionList options = output == JobOutput::Picture ? OutputOptions(to) : OptionList();
  options = Join(
      {std::move(options),
       {
           Option{"--frames", "SET", Parsed(&to->frames, ParseFrames),
                  "Frames of a sequence (shot.####.png, shot.%04d.png): 1-10,20-40x2,55"}
               .Without("from the first to the last on the disk"),
           Option{"--missing", "HOW", Choice(&to->missing, {"error", "skip", "hold", "black"}),
                  "A frame that is not there: error, skip, hold (the nearest earlier one) or black "
                  "(transparent where its neighbours have alpha)"}
               .Default("error"),
           {"--keep-going", "", Flag(&to->keep_going),
            "Go on after a frame that fails; exit code 5 when some did"},
           {"--failed-list", "FILE", Text(&to->failed_list),
            "Write the numbers of the frames that failed, one a line; empty when none did"},
           {"--dry-run", "", Flag(&to->dry_run),
            "Check everything and print what would be done, but write nothing"},
           {"--strict", "", Flag(&to->strict),
            "A warning is an error of its frame, which is then not written"},
           Option{"--threads", "N", Integer(&to->threads, 1, kMostThreads),
                  "Frames worked on at once, %r"}
               .Without("processors allowed to the command"),
           Option{"--memory", "LIMIT", Parsed(&to->memory, ParseBytes),
                  "Pixels of the frames in flight, as 800M or 2G"}
               .Without("half of the machine's memory"),
           Option{"--progress", "HOW", Choice(&to->progress, ProgressStyles()),
                  "%r, on the standard error; auto is bar on a terminal"}
               .Default("auto"),
           {"--json", "", Flag(&to->json),
            "Print what was done as JSON; for a sequence a line a frame and a summary"},
       }});
  for (Option& option : options) {
    if (option.name != "--strict") option.decides = Decides::Nothing;
  }
  return options;
}

int64_t BytesOfWorld(int64_t width, int64_t height, int32_t depth) {
  return width * height * 4 * (depth / 8);
}

// --- the frame -----------------------------------------------------------------------------------

int64_t JobFrame::Number() const { return state_->frame.number; }

const std::string& JobFrame::Input(size_t input) const {
  return state_->frame.inputs.at(input).path;
}

const std::string& JobFrame::Output() const { return state_->frame.output; }

VXIO_Picture JobFrame::Read(size_t input, int32_t depth, VXIO_AlphaAs alpha) {
  const InputFile& file = state_->frame.inputs.at(input);
  state_->Begin(input, state_->job->verb->name + " " + BaseName(file.path));
  VXIO_Picture picture = VXIO_Read(file.path, depth, alpha);
  if (file.black) {
    Blacken(&picture);
    picture.warnings.clear();  // they are about the pixels of the file
  }
  state_->ReportWarnings(picture.warnings, VXIO_ErrorKind::Input);
  return picture;
}

void JobFrame::Write(vx::AnyConstView picture, const VXIO_Picture& model) {
  VXIO_WriteOptions options;
  options.metadata = model.metadata;
  options.keep_alpha = model.has_alpha;
  Write(picture, std::move(options));
}

void JobFrame::Write(vx::AnyConstView picture, VXIO_WriteOptions options) {
  options.clobber = state_->job->options->Clobber();
  options.strict = state_->job->options->strict;
  state_->Begin(state_->frame.inputs.size(), "write " + BaseName(Output()));
  std::vector<std::string> warnings = VXIO_Write(Output(), *picture.descriptor(), options);
  state_->written = true;
  state_->ReportWarnings(warnings, VXIO_ErrorKind::Output);
}

void JobFrame::Warn(const std::string& text) {
  const std::string& file = state_->frame.inputs.empty() ? Output() : Input(0);
  state_->ReportWarnings({file + ": " + text}, VXIO_ErrorKind::Output);
}

void JobFrame::Warn(const std::vector<std::string>& lines, VXIO_ErrorKind kind) {
  state_->ReportWarnings(lines, kind);
}

void JobFrame::Note(const std::string& text) {
  vxcli::Note((state_->frame.inputs.empty() ? Output() : Input(0)) + ": " + text);
}

void JobFrame::Print(const std::string& line) { state_->lines.push_back(line); }

vx::Progress JobFrame::Progress() {
  return state_->progress ? state_->progress->OfStep() : vx::Progress();
}

nlohmann::ordered_json& JobFrame::Record() { return state_->record; }

void JobFrame::State::ReportWarnings(const std::vector<std::string>& texts, VXIO_ErrorKind kind) {
  if (texts.empty()) return;
  if (job->options->strict) throw VXIO_Error(kind, texts[0] + " (--strict)");
  vxcli::Warn(texts);
  for (const std::string& text : texts) warnings.push_back(text);
}

void JobFrame::State::Begin(size_t step, const std::string& what) const {
  if (plan->sequence() || !progress) return;
  const int steps = static_cast<int>(frame.inputs.size()) + (frame.output.empty() ? 0 : 1);
  progress->Begin(static_cast<int>(step), steps, what);
}

// --- memory --------------------------------------------------------------------------------------

MemoryBudget::MemoryBudget(const Job& job)
    : job_(job),
      limit_(job.options->memory.value_or(int64_t{sysconf(_SC_PHYS_PAGES)} * sysconf(_SC_PAGESIZE) /
                                          2)) {}

int64_t MemoryBudget::Need(const PlannedFrame& frame) const {
  std::vector<VXIO_Info> infos;
  try {
    for (const InputFile& file : frame.inputs) infos.push_back(VXIO_ReadInfo(file.path));
  } catch (const VXIO_Error&) {
    return 0;
  }
  int64_t bytes = 0;
  if (job_.bytes) {
    bytes = job_.bytes(infos);
  } else {
    for (const VXIO_Info& info : infos) {
      bytes += 2 * BytesOfWorld(info.width, info.height, info.depth);
    }
  }
  if (job_.options->memory && bytes > limit_) {
    throw UsageError("--memory: a frame needs about " + BytesText(bytes) + ", the limit is " +
                     BytesText(limit_) + "; raise it");
  }
  return bytes;
}

void MemoryBudget::Acquire(int64_t bytes) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return frames_ == 0 || acquired_ + bytes <= limit_; });
  acquired_ += bytes;
  ++frames_;
}

void MemoryBudget::Release(int64_t bytes) {
  std::lock_guard lock(mutex_);
  acquired_ -= bytes;
  --frames_;
  changed_.notify_all();
}

}  // namespace vxcli

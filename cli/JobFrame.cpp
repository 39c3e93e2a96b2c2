// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include <unistd.h>

#include "JobRun.h"
#include "VX/VX_Fill.h"
#include "Verbs.h"

namespace vxcli {

namespace {

std::string BaseName(const std::string& path) { return path.substr(path.rfind('/') + 1); }

// Sets all pixels to 0, with full alpha if the picture has none.
void Blacken(VXIO_Picture* picture) {
  const VX_Pixel8 black{static_cast<uint8_t>(picture->has_alpha ? 0 : 255), 0, 0, 0};
  Check(VX_Fill(/*ref=*/nullptr, &black, /*area=*/nullptr, picture->world.get()), "black frame");
}

}  // namespace

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

void JobFrame::Write(const VX_LayerDef& world, const VXIO_Picture& model) {
  VXIO_WriteOptions options;
  options.metadata = model.metadata;
  options.keep_alpha = model.has_alpha;
  Write(world, std::move(options));
}

void JobFrame::Write(const VX_LayerDef& world, VXIO_WriteOptions options) {
  options.clobber = state_->job->options->Clobber();
  options.strict = state_->job->options->strict;
  state_->Begin(state_->frame.inputs.size(), "write " + BaseName(Output()));
  std::vector<std::string> warnings = VXIO_Write(Output(), world, options);
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

VX_ProgressInfo* JobFrame::Progress() {
  return state_->progress ? state_->progress->Info() : nullptr;
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

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "ClipOutput.h"

#include <cmath>
#include <numeric>
#include <stdexcept>

#include "JobClip.h"
#include "Timeline.h"

namespace vxcli {

namespace {

// "h264" or "h264:18".
void SetCodec(JobOptions* to, const std::string& option, const std::string& text) {
  const size_t colon = text.find(':');
  to->clip.codec = text.substr(0, colon);
  to->clip.quality.reset();
  if (colon == std::string::npos) return;
  to->clip.quality = static_cast<int32_t>(ParseInteger(option, text.substr(colon + 1), 0, 63));
}

double SecondsOf(const VXIO_Rational& rate) { return static_cast<double>(rate.den) / rate.num; }

// Returns true for names of tags that describe the old file.
bool IsOfFile(const std::string& name, bool from_start) {
  return name == "timecode" && !from_start;
}

VXIO_ClipOptions OptionsOf(const JobOptions& options) {
  VXIO_ClipOptions made;
  made.codec = options.clip.codec;
  made.quality = options.clip.quality;
  made.alpha = options.clip.alpha;
  made.clobber = options.Clobber();
  made.strict = options.strict;
  const std::string& bits = options.encoding.bits;
  if (bits == "half" || bits == "float") {
    throw UsageError("--bits " + bits + ": clips have 8, 10, 12 or 16");
  }
  if (!bits.empty()) made.bits = std::stoi(bits);
  return made;
}

void CopyProperties(const VXIO_ClipInfo& from, bool from_start, VXIO_ClipOptions* to) {
  to->pixel_aspect = from.pixel_aspect;
  if (from.matrix != "rgb" && from.matrix != "grey") {
    to->matrix = from.matrix;
    to->full_range = from.full_range;
  }
  to->primaries = from.primaries;
  to->transfer = from.transfer;
  for (const auto& tag : from.tags) {
    if (!IsOfFile(tag.first, from_start)) to->tags.push_back(tag);
  }
}

}  // namespace

VXIO_Rational RateOf(const Ratio& ratio) {
  return {static_cast<int32_t>(ratio.num), static_cast<int32_t>(ratio.den)};
}

// --- the file ------------------------------------------------------------------------------------

ClipOutput::ClipOutput(std::string path, VXIO_ClipOptions options, std::vector<int64_t> durations)
    : path_(std::move(path)), options_(std::move(options)), durations_(std::move(durations)) {}

void ClipOutput::Write(size_t index, vx::AnyConstView picture, bool keep_alpha) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return cancelled_ || next_ == index; });
  if (cancelled_) throw ClipCancelled();
  if (!writer_) {
    // Without a value the writer examines the pixels.
    if (!options_.alpha && keep_alpha) options_.alpha = true;
    writer_.emplace(path_, options_);
  }
  if (durations_.empty()) {
    writer_->Write(*picture.descriptor());
  } else {
    writer_->Write(*picture.descriptor(), time_, durations_[index]);
    time_ += durations_[index];
  }
  ++next_;
  Advance();
}

void ClipOutput::LeaveOut(size_t index) {
  const std::lock_guard lock(mutex_);
  left_out_.insert(index);
  Advance();
}

void ClipOutput::Advance() {
  while (left_out_.erase(next_) > 0) ++next_;
  changed_.notify_all();
}

void ClipOutput::Cancel() {
  const std::lock_guard lock(mutex_);
  cancelled_ = true;
  changed_.notify_all();
}

std::vector<std::string> ClipOutput::Finish() {
  const std::lock_guard lock(mutex_);
  if (!writer_) throw VXIO_Error(VXIO_ErrorKind::Output, path_ + ": no frame was written");
  std::vector<std::string> warnings = writer_->Finish();
  description_ = writer_->description();
  return warnings;
}

// --- the plan ------------------------------------------------------------------------------------

std::unique_ptr<ClipOutput> MakeClipOutput(const JobOptions& options, const ClipPlan& plan,
                                           std::vector<std::string>* warnings) {
  VXIO_ClipOptions made = OptionsOf(options);
  std::vector<int64_t> durations;
  const VXIO_ClipInfo* source = plan.source ? &plan.source->info() : nullptr;
  const bool from_start = plan.frames.empty() || plan.frames[0] == 0;
  if (source) CopyProperties(*source, from_start, &made);
  const auto count = plan.output_frames.value_or(static_cast<int64_t>(plan.frames.size()));
  if (options.clip.fps || plan.rate) {
    made.frame_rate = options.clip.fps ? *options.clip.fps : *plan.rate;
  } else if (source) {
    made.frame_rate = source->frame_rate;
    if (!plan.output_frames) durations = plan.source->DurationsOf(plan.frames);
    if (!durations.empty()) made.time_base = source->time_base;
  }
  if (made.frame_rate.num == 0 && durations.empty()) {
    const std::string option = plan.output_frames ? "--input-fps" : "--fps";
    throw UsageError(option + ": " + plan.output + " needs a frame rate" +
                     (plan.input.empty() ? "" : ", and " + plan.input + " has none") +
                     "; give it, such as " + option + " 24 or " + option + " 24000/1001");
  }
  if (source && source->sounds > 0) {
    const bool whole = plan.output_frames ? plan.keeps_times : plan.source->IsWhole(plan.frames);
    if (whole) {
      made.audio_from = source->path;
      made.seconds = durations.empty() ? static_cast<double>(count) * SecondsOf(made.frame_rate)
                                       : static_cast<double>(std::accumulate(
                                             durations.begin(), durations.end(), int64_t{0})) *
                                             source->time_base.num / source->time_base.den;
    } else {
      warnings->push_back(source->path + ": its sound is left out, because not all of its frames "
                                         "are written in their order");
    }
  }
  try {
    VXIO_CheckClipOptions(plan.output, made);
  } catch (const std::invalid_argument& error) {
    const std::string text = error.what();
    throw UsageError((text.starts_with(plan.output) ? "" : "--") + text);
  }
  return std::make_unique<ClipOutput>(plan.output, std::move(made), std::move(durations));
}

void CheckClipOutput(const JobOptions& options) {
  const auto refuse = [&](const std::string& option) {
    throw UsageError(option + ": " + options.output +
                     " is a clip, which is written as a whole; write a sequence, such as "
                     "out.####.png");
  };
  if (options.resume) refuse("--resume");
  if (options.keep_going) refuse("--keep-going");
  if (!options.encoding.compression.empty()) {
    throw UsageError("--compression: belongs to pictures; a clip has --codec");
  }
  if (options.encoding.quality) {
    throw UsageError("--quality: belongs to pictures; the quality of a clip is part of --codec, "
                     "such as h264:18");
  }
  VXIO_CheckFile(options.output, options.Clobber());
}

OptionList ClipOptionList(JobOptions* to) {
  const auto set_codec = [to](const std::string& option, const std::string& text) {
    SetCodec(to, option, text);
  };
  const auto parse_rate = [](const std::string& option, const std::string& text) {
    return RateOf(ParseRatio(option, text));
  };
  const auto parse_alpha = [](const std::string& option, const std::string& text) {
    return ParseChoice(option, text, {"no", "yes"}) == 1;
  };
  return {Option{"--codec",
                 "NAME[:CRF]",
                 {Value::Text, set_codec},
                 "Codec of a clip: ffv1, png, prores4444, vp9 or h264. CRF is the quality of vp9 "
                 "and h264, lower is better"}
              .Without("mkv: ffv1, mov: prores4444, webm: vp9:24, mp4: h264:20"),
          Option{"--fps", "N", Parsed(&to->clip.fps, parse_rate),
                 "Frames per second of a clip: 24, 23.976 or 24000/1001"}
              .Without("that of the first input that is a clip"),
          Option{"--clip-alpha", "yes|no", Parsed(&to->clip.alpha, parse_alpha),
                 "Whether a clip stores alpha"}
              .Without("yes if its first frame has alpha")};
}

}  // namespace vxcli

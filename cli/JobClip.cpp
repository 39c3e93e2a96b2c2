// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "JobClip.h"

#include <algorithm>
#include <cmath>

#include "JobRun.h"
#include "Options.h"

namespace vxcli {

namespace {

// A time given with three decimals selects the frame whose exact time rounds to it.
constexpr double kTimeTolerance = 0.0005;

constexpr int64_t kMostDecoded = 50;  // frames that are decoded to avoid making an index

VXIO_Picture CopyOf(const VXIO_Picture& from) {
  VXIO_Picture copy;
  copy.world = vx::clone(*from.world).release();
  copy.metadata = from.metadata;
  copy.has_alpha = from.has_alpha;
  copy.alpha = from.alpha;
  return copy;
}

}  // namespace

JobClip::JobClip(const std::string& path) : path_(path), info_(VXIO_ClipReader(path).info()) {}

VXIO_Info JobClip::PictureInfo() const {
  VXIO_Info info;
  info.path = path_;
  info.format = info_.format;
  info.width = info_.width;
  info.height = info_.height;
  info.bits = info_.bits;
  info.depth = info_.depth;
  info.sample_type = info_.depth == 8 ? "uint8" : "uint16";
  info.channels = {"R", "G", "B"};
  if (info_.has_alpha) {
    info.channels.push_back("A");
    info.alpha = VXIO_AlphaKind::Straight;
  }
  return info;
}

int64_t JobClip::CountFrames(int64_t most) {
  VXIO_ClipReader reader(path_);
  times_.clear();
  whole_ = false;
  // The index is made from the whole file. To find a few frames, decoding is faster.
  const std::vector<double>* times = most > kMostDecoded ? reader.Times() : nullptr;
  if (times) {
    const auto count = std::min(static_cast<int64_t>(times->size()), most);
    for (int64_t i = 0; i < count; ++i) times_.push_back(Units((*times)[static_cast<size_t>(i)]));
    whole_ = count < most;
    return count;
  }
  try {
    while (reader.position() < most && reader.Skip()) {
      const double time =
          reader.time().value_or(FrameSeconds() * static_cast<double>(times_.size()));
      times_.push_back(Units(time));
    }
    whole_ = reader.position() < most;
  } catch (const VXIO_Error&) {
    return reader.position() + 1;  // reading the frame reports the error
  }
  return reader.position();
}

int64_t JobClip::Units(double seconds) const {
  return std::llround(seconds * info_.time_base.den / info_.time_base.num);
}

double JobClip::FrameSeconds() const {
  return info_.frame_rate.num > 0 ? static_cast<double>(info_.frame_rate.den) / info_.frame_rate.num
                                  : 0;
}

bool JobClip::IsWhole(const std::vector<int64_t>& frames) const {
  if (!whole_ || frames.size() != times_.size()) return false;
  for (size_t i = 0; i < frames.size(); ++i) {
    if (frames[i] != static_cast<int64_t>(i)) return false;
  }
  return true;
}

std::vector<int64_t> JobClip::DurationsOf(const std::vector<int64_t>& frames) const {
  const double unit = static_cast<double>(info_.time_base.num) / info_.time_base.den;
  const double step = FrameSeconds() / unit;
  bool regular = step > 0;
  for (size_t i = 0; i < times_.size(); ++i) {
    // The container rounded both times, each by half a unit at most.
    const double expected = step * static_cast<double>(i);
    regular = regular && std::abs(static_cast<double>(times_[i] - times_[0]) - expected) <= 1.01;
  }
  std::vector<int64_t> durations;
  if (regular || times_.empty()) return durations;
  for (const int64_t frame : frames) {
    const auto i = static_cast<size_t>(frame);
    int64_t duration = std::llround(step);  // of the last frame
    if (i + 1 < times_.size()) {
      duration = times_[i + 1] - times_[i];
    } else if (step == 0 && i > 0 && i < times_.size()) {
      duration = times_[i] - times_[i - 1];
    }
    durations.push_back(std::max<int64_t>(duration, 1));
  }
  return durations;
}

int64_t JobClip::FrameAt(double seconds) const {
  VXIO_ClipReader reader(path_);
  const double step = FrameSeconds();
  double last = 0;
  int64_t shown = 0;
  const std::vector<double>* times = reader.Times();
  for (int64_t number = 0;; ++number) {
    if (times) {
      if (number == static_cast<int64_t>(times->size())) break;
      last = (*times)[static_cast<size_t>(number)];
    } else {
      if (!reader.Skip()) break;
      last = reader.time().value_or(static_cast<double>(number) * step);
    }
    if (last > seconds + kTimeTolerance) return shown;
    shown = number;
  }
  const double end = info_.duration ? std::max(*info_.duration, last + step) : last + step;
  if (seconds < end) return shown;
  throw VXIO_Error(VXIO_ErrorKind::Input, path_ + ": --at-time " + Plain(seconds) +
                                              ": the clip ends at " + Plain(end) + " seconds");
}

const std::string& JobClip::Fingerprint() {
  std::lock_guard lock(fingerprint_mutex_);
  if (fingerprint_.empty()) fingerprint_ = FingerprintOfFile(path_);
  return fingerprint_;
}

VXIO_Picture JobClip::Read(size_t job_frame, int64_t number, int32_t depth, VXIO_AlphaAs alpha) {
  VXIO_Picture picture;
  order_.InTurn(job_frame, [&] {
    if (kept_ && kept_->number == number && kept_->depth == depth && kept_->alpha == alpha) {
      picture = CopyOf(kept_->picture);
    } else {
      picture = Decode(number, depth, alpha);
      if (keep_) kept_ = Kept{number, depth, alpha, CopyOf(picture)};
    }
  });
  return picture;
}

VXIO_Picture JobClip::Decode(int64_t number, int32_t depth, VXIO_AlphaAs alpha) {
  if (!reader_) reader_.emplace(path_);
  // A short way forward is decoded without making the index.
  if (number < reader_->position() || number > reader_->position() + kMostDecoded) {
    reader_->Seek(number);
  }
  while (reader_->position() < number && reader_->Skip()) {
  }
  std::optional<VXIO_ClipFrame> frame;
  if (reader_->position() == number) frame = reader_->Next(depth, alpha);
  if (!frame) {
    throw VXIO_Error(VXIO_ErrorKind::Input, path_ + ": has no frame " + std::to_string(number) +
                                                "; its last one is frame " +
                                                std::to_string(reader_->position() - 1));
  }
  // A reader that starts again returns the warnings about the clip again.
  std::erase_if(frame->picture.warnings,
                [&](const std::string& text) { return !warned_.insert(text).second; });
  return std::move(frame->picture);
}

}  // namespace vxcli

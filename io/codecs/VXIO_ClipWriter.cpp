// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include <cmath>
#include <limits>
#include <optional>
#include <stdexcept>

#include "VXIO_ClipAudio.h"
#include "VXIO_ClipEncoder.h"
#include "VXIO_ClipOutput.h"
#include "VXIO_CodecTable.h"
#include "VXIO_InputFile.h"

namespace {

class ClipWriter final : public VXIO_ClipWriter::Impl {
 public:
  ClipWriter(const std::string& path, const VXIO_ClipOptions& options);

  void Write(const VX_LayerDef& world, int64_t time, int64_t duration) override;
  std::vector<std::string> Finish() override;
  std::string Description() const override;

 private:
  void Begin(const VX_LayerDef& first);
  void Append(const VX_LayerDef& world, int64_t time, int64_t duration);
  void CheckAlpha(const VX_LayerDef& world);
  void WarnAboutDepth(int32_t depth);
  void Warn(const std::string& text);
  void WritePacket(AVPacket* packet);
  double UnitSeconds() const { return av_q2d(encoder_.context().time_base); }
  // Calls `work`. After an exception every later call throws the same error.
  template <class Work>
  void Guarded(Work&& work);

  std::string path_;
  const VXIO_ClipOptions options_;
  VXIOp_LavLog log_;  // outlives the members below
  std::optional<VXIOp_ClipAudio> audio_;
  VXIOp_ClipEncoder encoder_;
  VXIOp_ClipOutput output_;
  AVStream* video_ = nullptr;
  int32_t width_ = 0, height_ = 0;
  int64_t frames_ = 0;
  int64_t last_time_ = std::numeric_limits<int64_t>::min();
  bool checks_alpha_ = false;  // alpha is not stored, and no frame with alpha was seen
  bool deep_ = false;          // a frame deeper than 8 bits was seen
  std::vector<std::string> warnings_;
  std::exception_ptr failure_;
};

ClipWriter::ClipWriter(const std::string& path, const VXIO_ClipOptions& options)
    : path_(path), options_(options), encoder_(path, options_, &log_), output_(path, &log_) {
  if (!options.audio_from.empty()) {
    const VXIO_Rational rate = options.frame_rate;
    const double frame = rate.num > 0 ? static_cast<double>(rate.den) / rate.num : 0.05;
    audio_.emplace(options.audio_from, options.seconds, frame, &log_);
  }
  if (options.alpha.value_or(false) && encoder_.codec().alpha_bits == 0) {
    Warn(std::string(encoder_.codec().name) + " stores no alpha; it is left out, colours stay");
  }
}

template <class Work>
void ClipWriter::Guarded(Work&& work) {
  if (failure_) std::rethrow_exception(failure_);
  const VXIOp_LavLog::Capture capture(&log_);
  try {
    work();
  } catch (...) {
    failure_ = std::current_exception();
    throw;
  }
}

void ClipWriter::Warn(const std::string& text) {
  if (options_.strict) VXIOp_ThrowOutput(path_, text + " (--strict)");
  warnings_.push_back(path_ + ": " + text);
}

void ClipWriter::Begin(const VX_LayerDef& first) {
  VXIOp_CheckSize(path_, first.width, first.height);
  const VXIOp_ClipCodec& codec = encoder_.codec();
  const bool alpha = codec.alpha_bits > 0 && options_.alpha.value_or(!VXIOp_IsOpaque(first));
  if (alpha && options_.bits > codec.alpha_bits) {
    VXIOp_ThrowOutput(path_, std::string(codec.name) + " stores alpha with at most " +
                                 std::to_string(codec.alpha_bits) + " bits");
  }
  checks_alpha_ = !alpha && !options_.alpha;
  encoder_.Open(first, alpha, output_.needs_global_header());
  width_ = first.width;
  height_ = first.height;
  AVCodecParameters* parameters = avcodec_parameters_alloc();
  const int error = parameters ? avcodec_parameters_from_context(parameters, &encoder_.context())
                               : AVERROR(ENOMEM);
  const std::unique_ptr<AVCodecParameters, void (*)(AVCodecParameters*)> owner(
      parameters, [](AVCodecParameters* each) { avcodec_parameters_free(&each); });
  if (error < 0) throw vx::Error(vx::ErrorCode::out_of_memory);
  video_ = output_.AddStream(*parameters);
  video_->time_base = encoder_.context().time_base;
  video_->sample_aspect_ratio = encoder_.context().sample_aspect_ratio;
  video_->disposition = AV_DISPOSITION_DEFAULT;
  if (options_.time_base.num == 0) {
    video_->avg_frame_rate = video_->r_frame_rate = encoder_.context().framerate;
  }
  output_.SetTags(options_);
  if (audio_) {
    audio_->AddTo(&output_);
    for (const std::string& warning : audio_->warnings()) {
      if (options_.strict) throw VXIO_Error(VXIO_ErrorKind::Output, warning + " (--strict)");
      warnings_.push_back(warning);
    }
  }
  output_.Begin();
}

// Alpha that was not announced, and that the first frame did not have, must not be lost silently.
void ClipWriter::CheckAlpha(const VX_LayerDef& world) {
  if (!checks_alpha_ || VXIOp_IsOpaque(world)) return;
  const VXIOp_ClipCodec& codec = encoder_.codec();
  if (codec.alpha_bits > 0) {
    VXIOp_ThrowOutput(path_, "frame " + std::to_string(frames_) +
                                 " has pixels that are not opaque, but the first frame has none, "
                                 "so the clip has no alpha; state at the start whether it has");
  }
  checks_alpha_ = false;
  Warn(std::string(codec.name) + " stores no alpha; that of frame " + std::to_string(frames_) +
       " and later ones is left out, colours stay");
}

void ClipWriter::WarnAboutDepth(int32_t depth) {
  if (depth == 8 || deep_) return;
  deep_ = true;
  if (options_.bits != 0) return;
  const int32_t bits = encoder_.bits();
  const VXIOp_ClipCodec& codec = encoder_.codec();
  if (bits == 8 || (depth == 32 && !codec.yuv)) {
    Warn(std::string(codec.name) + " stores " + std::to_string(bits) + " bits" +
         (encoder_.rule().alpha && bits < codec.deep_bits ? " with alpha" : "") +
         "; the pixels have " + (depth == 32 ? "float channels" : "16 bits"));
  }
}

void ClipWriter::Write(const VX_LayerDef& world, int64_t time, int64_t duration) {
  const bool timed = options_.time_base.num > 0;
  if (timed != (duration > 0)) {
    throw std::invalid_argument(timed ? "time: is required with a time base"
                                      : "time: needs a time base");
  }
  if (timed && (time < 0 || time <= last_time_)) {
    throw std::invalid_argument("time " + std::to_string(time) +
                                ": must be after that of the frame before");
  }
  Guarded([&] { Append(world, timed ? time : frames_, timed ? duration : 1); });
}

void ClipWriter::Append(const VX_LayerDef& world, int64_t time, int64_t duration) {
  if (!encoder_.is_open()) Begin(world);
  if (world.width != width_ || world.height != height_) {
    VXIOp_ThrowOutput(path_, "frame " + std::to_string(frames_) + " has " +
                                 std::to_string(world.width) + " x " +
                                 std::to_string(world.height) + " pixels, the frames before it " +
                                 std::to_string(width_) + " x " + std::to_string(height_) +
                                 "; a clip has one size");
  }
  CheckAlpha(world);
  WarnAboutDepth(vx::AnyConstView(world).depth());
  encoder_.Encode(&world, time, duration, [&](AVPacket* packet) { WritePacket(packet); });
  last_time_ = time;
  ++frames_;
}

void ClipWriter::WritePacket(AVPacket* packet) {
  const int64_t stamp = packet->dts != AV_NOPTS_VALUE ? packet->dts : packet->pts;
  if (audio_) audio_->CopyUntil(static_cast<double>(stamp) * UnitSeconds());
  output_.Write(packet, *video_, encoder_.context().time_base);
}

std::vector<std::string> ClipWriter::Finish() {
  Guarded([&] {
    if (frames_ == 0) VXIOp_ThrowOutput(path_, "no frame was written, so there is no clip");
    encoder_.Encode(nullptr, 0, 0, [&](AVPacket* packet) { WritePacket(packet); });
    if (audio_) audio_->CopyUntil(std::numeric_limits<double>::infinity());
    output_.Finish(options_.clobber);
  });
  failure_ = std::make_exception_ptr(std::logic_error("the clip is complete"));
  return std::move(warnings_);
}

std::string ClipWriter::Description() const {
  if (!encoder_.is_open()) return {};
  return std::string(encoder_.codec().name) + ", " + av_get_pix_fmt_name(encoder_.rule().format) +
         (audio_ && audio_->copies() ? ", with sound" : "");
}

}  // namespace

std::unique_ptr<VXIO_ClipWriter::Impl> VXIOp_NewClip(const std::string& path,
                                                     const VXIO_ClipOptions& options) {
  return std::make_unique<ClipWriter>(path, options);
}

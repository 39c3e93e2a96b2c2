// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO_ClipEncoder.h"

extern "C" {
#include <libavutil/opt.h>
}

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "VXIO_ClipColor.h"
#include "VXIO_Formats.h"
#include "VXIO_OutputFile.h"

namespace {

struct Format {
  std::string_view codec;
  int32_t bits;
  AVPixelFormat opaque, with_alpha;
};
constexpr Format kFormats[] = {
    {"ffv1", 8, AV_PIX_FMT_BGR0, AV_PIX_FMT_BGRA},
    {"ffv1", 10, AV_PIX_FMT_GBRP10, AV_PIX_FMT_GBRAP10},
    {"ffv1", 12, AV_PIX_FMT_GBRP12, AV_PIX_FMT_GBRAP12},
    {"ffv1", 16, AV_PIX_FMT_GBRP16, AV_PIX_FMT_GBRAP16},
    {"png", 8, AV_PIX_FMT_RGB24, AV_PIX_FMT_RGBA},
    {"png", 16, AV_PIX_FMT_RGB48BE, AV_PIX_FMT_RGBA64BE},
    {"prores4444", 10, AV_PIX_FMT_YUV444P10, AV_PIX_FMT_YUVA444P10},
    {"vp9", 8, AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUVA420P},
    {"vp9", 10, AV_PIX_FMT_YUV420P10, AV_PIX_FMT_NONE},
    {"vp9", 12, AV_PIX_FMT_YUV420P12, AV_PIX_FMT_NONE},
    {"h264", 8, AV_PIX_FMT_YUV420P, AV_PIX_FMT_NONE},
    {"h264", 10, AV_PIX_FMT_YUV420P10, AV_PIX_FMT_NONE},
};

// Options of the encoders. With alpha, libvpx does not support alternate reference frames.
struct Setting {
  std::string_view codec;
  const char *name, *value;
  bool alpha_only;
};
constexpr Setting kSettings[] = {
    {"ffv1", "level", "3", false},
    {"ffv1", "slicecrc", "1", false},
    {"ffv1", "g", "1", false},
    {"png", "pred", "paeth", false},
    {"prores4444", "profile", "4", false},
    {"prores4444", "vendor", "apl0", false},
    {"prores4444", "alpha_bits", "16", true},
    {"vp9", "b", "0", false},
    {"vp9", "deadline", "good", false},
    {"vp9", "cpu-used", "4", false},
    {"vp9", "row-mt", "1", false},
    {"vp9", "auto-alt-ref", "0", true},
};

// FFV1 of version 3, which has checksums, divides a frame into slices. The encoder writes wrong
// pixels if a side of the frame is shorter than this; version 1 has no slices.
constexpr int kLeastSliced = 3;

AVPixelFormat FormatOf(std::string_view codec, int32_t bits, bool alpha) {
  for (const Format& format : kFormats) {
    if (format.codec == codec && format.bits == bits) {
      return alpha ? format.with_alpha : format.opaque;
    }
  }
  return AV_PIX_FMT_NONE;
}

AVRational RationalOf(const VXIO_Rational& value) { return {value.num, value.den}; }

// Returns the codecs of a container that the installed libavcodec can encode.
std::string Available(const std::string& path) {
  std::string names;
  for (const std::string_view name : VXIOp_ClipContainerOfName(path)->codecs) {
    if (!avcodec_find_encoder_by_name(VXIOp_FindClipCodec(name)->encoder)) continue;
    names += (names.empty() ? "" : ", ") + std::string(name);
  }
  return names.empty() ? "none of this container" : names;
}

}  // namespace

VXIOp_ClipEncoder::VXIOp_ClipEncoder(const std::string& path, const VXIO_ClipOptions& options,
                                     VXIOp_LavLog* log)
    : path_(path), options_(options), codec_(VXIOp_ClipCodecOf(path, options)), log_(log) {
  encoder_ = avcodec_find_encoder_by_name(codec_.encoder);
  if (!encoder_) {
    VXIOp_ThrowOutput(path, std::string("the installed libavcodec has no encoder ") +
                                codec_.encoder + ", which writes " + std::string(codec_.name) +
                                "; available: " + Available(path));
  }
}

VXIOp_ClipEncoder::~VXIOp_ClipEncoder() {
  const VXIOp_LavLog::Capture capture(log_);
  context_.reset();
}

void VXIOp_ClipEncoder::Check(int error) {
  if (error == AVERROR(ENOMEM)) throw vx::Error(vx::ErrorCode::out_of_memory);
  if (error < 0) VXIOp_ThrowOutput(path_, "cannot be encoded (" + log_->Reason(error) + ")");
}

void VXIOp_ClipEncoder::Open(const VX_LayerDef& first, bool alpha, bool global_header) {
  const int32_t depth = vx::AnyConstView(first).depth();
  bits_ = options_.bits;
  if (bits_ == 0) bits_ = depth == 8 ? codec_.bits[0] : codec_.deep_bits;
  if (alpha && options_.bits == 0) bits_ = std::min(bits_, codec_.alpha_bits);
  if (codec_.even_size && (first.width % 2 != 0 || first.height % 2 != 0)) {
    VXIOp_ThrowOutput(path_, std::string(codec_.name) + " needs an even width and height, not " +
                                 std::to_string(first.width) + " x " +
                                 std::to_string(first.height) +
                                 "; change the size or write ffv1, vp9 or prores4444");
  }
  context_.reset(avcodec_alloc_context3(encoder_));
  packet_.reset(av_packet_alloc());
  if (!context_ || !packet_) throw vx::Error(vx::ErrorCode::out_of_memory);
  rule_.alpha = alpha;
  rule_.format = FormatOf(codec_.name, bits_, alpha);
  log_->Attach(context_.get());
  context_->width = first.width;
  context_->height = first.height;
  context_->pix_fmt = rule_.format;
  const bool timed = options_.time_base.num > 0;
  context_->time_base =
      timed ? RationalOf(options_.time_base) : av_inv_q(RationalOf(options_.frame_rate));
  if (options_.frame_rate.num > 0) context_->framerate = RationalOf(options_.frame_rate);
  context_->sample_aspect_ratio = RationalOf(options_.pixel_aspect);
  context_->thread_count = VXIOp_Threads();
  context_->flags |= AV_CODEC_FLAG_BITEXACT;
  if (global_header) context_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  SetColours(first.height);
  SetOptions();
  Check(avcodec_open2(context_.get(), encoder_, nullptr));
}

void VXIOp_ClipEncoder::SetColours(int32_t height) {
  AVCodecContext& context = *context_;
  rule_.full_range = !codec_.yuv || options_.full_range;
  rule_.matrix = AVCOL_SPC_RGB;
  if (codec_.yuv) {
    const bool tall = height > kVXIOp_TallestStandardDefinition;
    const std::string_view other = tall ? "bt709" : "bt601";
    rule_.matrix =
        VXIOp_FindMatrix(options_.matrix.empty() ? other : std::string_view(options_.matrix))
            ->matrix;
    if (av_pix_fmt_desc_get(rule_.format)->log2_chroma_w != 0) {
      context.chroma_sample_location = AVCHROMA_LOC_LEFT;
    }
  }
  context.colorspace = rule_.matrix;
  context.color_range = rule_.full_range ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
  if (!options_.primaries.empty()) {
    const int primaries = av_color_primaries_from_name(options_.primaries.c_str());
    if (primaries < 0) throw std::invalid_argument("primaries " + options_.primaries + ": unknown");
    context.color_primaries = static_cast<AVColorPrimaries>(primaries);
  }
  if (!options_.transfer.empty()) {
    const int transfer = av_color_transfer_from_name(options_.transfer.c_str());
    if (transfer < 0) throw std::invalid_argument("transfer " + options_.transfer + ": unknown");
    context.color_trc = static_cast<AVColorTransferCharacteristic>(transfer);
  }
}

void VXIOp_ClipEncoder::SetOptions() {
  constexpr int kChildren = AV_OPT_SEARCH_CHILDREN;
  for (const Setting& setting : kSettings) {
    if (setting.codec != codec_.name || (setting.alpha_only && !rule_.alpha)) continue;
    Check(av_opt_set(context_.get(), setting.name, setting.value, kChildren));
  }
  if (codec_.name == "ffv1" && std::min(context_->width, context_->height) < kLeastSliced) {
    Check(av_opt_set(context_.get(), "level", "1", kChildren));
    Check(av_opt_set(context_.get(), "slicecrc", "0", kChildren));
  }
  if (codec_.lowest > 0) {
    const int32_t quality = options_.quality.value_or(codec_.quality);
    Check(av_opt_set_double(context_.get(), "crf", quality, kChildren));
  }
}

void VXIOp_ClipEncoder::Encode(const VX_LayerDef* world, int64_t time, int64_t duration,
                               const std::function<void(AVPacket*)>& use) {
  VXIOp_LavPtr<AVFrame> frame;
  if (world) {
    frame.reset(av_frame_alloc());
    if (!frame) throw vx::Error(vx::ErrorCode::out_of_memory);
    frame->format = rule_.format;
    frame->width = world->width;
    frame->height = world->height;
    Check(av_frame_get_buffer(frame.get(), /*align=*/0));
    for (const AVBufferRef* buffer : frame->buf) {
      if (buffer) std::memset(buffer->data, 0, buffer->size);
    }
    VXIOp_FillPlanes(*world, rule_, frame.get());
    frame->pts = time;
    frame->colorspace = context_->colorspace;
    frame->color_range = context_->color_range;
    frame->color_primaries = context_->color_primaries;
    frame->color_trc = context_->color_trc;
    frame->chroma_location = context_->chroma_sample_location;
    frame->sample_aspect_ratio = context_->sample_aspect_ratio;
    durations_[time] = duration;
  }
  Check(avcodec_send_frame(context_.get(), frame.get()));
  int error;
  while ((error = avcodec_receive_packet(context_.get(), packet_.get())) >= 0) {
    const auto found = durations_.find(packet_->pts);
    if (found != durations_.end()) {
      packet_->duration = found->second;
      durations_.erase(found);
    }
    use(packet_.get());
  }
  if (error != AVERROR(EAGAIN) && error != AVERROR_EOF) Check(error);
}

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO_ClipDecoder.h"

#include <cstring>

#include "VXIO_Formats.h"
#include "VXIO_InputFile.h"

namespace {

void CheckMemory(const void* allocated) {
  if (!allocated) throw vx::Error(vx::ErrorCode::out_of_memory);
}

}  // namespace

VXIOp_ClipDecoder::VXIOp_ClipDecoder(const std::string& path)
    : path_(path), file_(path, &log_), warnings_(file_.warnings()) {
  const VXIOp_LavLog::Capture capture(&log_);
  packet_.reset(av_packet_alloc());
  frame_.reset(av_frame_alloc());
  CheckMemory(packet_.get());
  CheckMemory(frame_.get());
  Open();
  static_cast<void>(log_.Take());  // discards messages from the search for the streams
}

VXIOp_ClipDecoder::~VXIOp_ClipDecoder() {
  const VXIOp_LavLog::Capture capture(&log_);
  codec_.reset();
}

void VXIOp_ClipDecoder::Open() {
  const AVCodecParameters& parameters = *file_.stream().codecpar;
  const AVCodec* decoder = avcodec_find_decoder(parameters.codec_id);
  // VP8 and VP9 store alpha in side data, which only the decoders of libvpx read.
  const char* has_alpha = file_.Tag("alpha_mode");
  const bool vpx = parameters.codec_id == AV_CODEC_ID_VP8 || parameters.codec_id == AV_CODEC_ID_VP9;
  if (vpx && has_alpha && std::strcmp(has_alpha, "1") == 0) {
    const AVCodec* other = avcodec_find_decoder_by_name(
        parameters.codec_id == AV_CODEC_ID_VP8 ? "libvpx" : "libvpx-vp9");
    if (other) {
      decoder = other;
      alpha_in_side_data_ = true;
    } else {
      warnings_.push_back(path_ + ": its alpha cannot be read without libvpx; it counts as opaque");
    }
  }
  if (!decoder) {
    VXIOp_ThrowInput(path_, std::string("this libavcodec cannot decode its video (") +
                                avcodec_get_name(parameters.codec_id) +
                                "); convert it to another codec first");
  }
  VXIOp_CheckSize(path_, parameters.width, parameters.height);
  codec_.reset(avcodec_alloc_context3(decoder));
  CheckMemory(codec_.get());
  log_.Attach(codec_.get());
  codec_->pkt_timebase = file_.stream().time_base;
  codec_->flags |= AV_CODEC_FLAG_BITEXACT;   // the same pixels on every processor
  codec_->flags |= AV_CODEC_FLAG_UNALIGNED;  // crop exactly, not to multiples of a vector
  codec_->err_recognition = AV_EF_CRCCHECK;
  codec_->thread_count = VXIOp_Threads();
  // FFV1 reports a damaged frame only by a log message. Without frame threads, the message of a
  // frame is logged before this frame is returned.
  if (parameters.codec_id == AV_CODEC_ID_FFV1) codec_->thread_type = FF_THREAD_SLICE;
  int error = avcodec_parameters_to_context(codec_.get(), &parameters);
  if (error >= 0) error = avcodec_open2(codec_.get(), decoder, nullptr);
  if (error == AVERROR(ENOMEM)) throw vx::Error(vx::ErrorCode::out_of_memory);
  if (error < 0) {
    VXIOp_ThrowInput(path_, std::string("its video (") + avcodec_get_name(parameters.codec_id) +
                                ") cannot be decoded (" + log_.Reason(error) + ")");
  }
}

AVPixelFormat VXIOp_ClipDecoder::DeclaredFormat() const {
  return alpha_in_side_data_ ? AV_PIX_FMT_YUVA420P
                             : static_cast<AVPixelFormat>(file_.stream().codecpar->format);
}

void VXIOp_ClipDecoder::Fail(const std::string& why) {
  failure_ = "is truncated or damaged at frame " + std::to_string(decoded_) +
             "; make or fetch the file again (" + why + ")";
  VXIOp_ThrowInput(path_, failure_);
}

bool VXIOp_ClipDecoder::SeekTo(const VXIOp_ClipIndex::Key& key, int64_t number, int64_t stamp) {
  if (!failure_.empty()) VXIOp_ThrowInput(path_, failure_);
  const VXIOp_LavLog::Capture capture(&log_);
  avcodec_flush_buffers(codec_.get());
  // The H.264 decoder ends early if it leaves out incomplete frames while it returns its last
  // frames. With this flag it returns them, marked as damaged.
  codec_->flags |= AV_CODEC_FLAG_OUTPUT_CORRUPT;
  draining_ = ended_ = has_next_ = false;
  truncation_.clear();
  previous_stamp_ = last_decode_stamp_ = AV_NOPTS_VALUE;
  if (!file_.SeekToKey(key.stamp, key.decode_stamp, key.packets)) return false;
  // Frames before the key frame are not complete and are not counted.
  decoded_ = number;
  wanted_ = stamp;
  try {
    while (!has_next_ && Decode() && frame_->best_effort_timestamp <= stamp) {
      has_next_ = frame_->best_effort_timestamp == stamp;
    }
  } catch (const VXIO_Error&) {
    // Reading from the start shows whether the file is damaged.
  }
  wanted_ = AV_NOPTS_VALUE;
  return has_next_;
}

bool VXIOp_ClipDecoder::Next() {
  if (!has_next_ && !Decode()) return false;
  has_next_ = false;
  ++decoded_;
  return true;
}

// Decodes a frame into frame_, without counting it. Returns false after the last one.
bool VXIOp_ClipDecoder::Decode() {
  if (!failure_.empty()) VXIOp_ThrowInput(path_, failure_);
  if (ended_) return false;
  const VXIOp_LavLog::Capture capture(&log_);
  int got;
  while ((got = avcodec_receive_frame(codec_.get(), frame_.get())) == AVERROR(EAGAIN)) Feed();
  if (got == AVERROR(ENOMEM)) throw vx::Error(vx::ErrorCode::out_of_memory);
  if (got == AVERROR_EOF && truncation_.empty() && decoded_ > 0) {
    ended_ = true;
    return false;
  }
  if (got == AVERROR_EOF && truncation_.empty()) truncation_ = "it ends before its first frame";
  if (got == AVERROR_EOF) Fail(truncation_);
  if (got < 0) Fail(log_.Reason(got));
  CheckFrame();
  return true;
}

// Sends the next packet to the decoder, or the end of the stream.
void VXIOp_ClipDecoder::Feed() {
  int error = file_.Read(packet_.get());
  if (error < 0) {
    // The frames that the decoder has not returned yet are returned before the failure is reported.
    truncation_ = error == AVERROR_EOF ? file_.TruncationReason() : log_.Reason(error);
    draining_ = true;
    error = avcodec_send_packet(codec_.get(), nullptr);
  } else {
    last_decode_stamp_ = packet_->dts;
    error = avcodec_send_packet(codec_.get(), packet_.get());
    av_packet_unref(packet_.get());
  }
  if (error == AVERROR(ENOMEM)) throw vx::Error(vx::ErrorCode::out_of_memory);
  if (error < 0) Fail(log_.Reason(error));
}

void VXIOp_ClipDecoder::CheckFrame() {
  static_cast<void>(VXIOp_ClearUnknownTags(&frame_->colorspace, &frame_->color_range,
                                           &frame_->color_primaries, &frame_->color_trc,
                                           &frame_->chroma_location));
  // Frames may be stored out of order. If the file is truncated, a frame that is displayed before
  // this one may be missing, so frames after the last decoding time are not returned.
  const int64_t stamp = frame_->best_effort_timestamp;
  if (stamp < wanted_) {
    static_cast<void>(log_.Take());
    return;
  }
  if (!truncation_.empty() && stamp > last_decode_stamp_) Fail(truncation_);
  // A transport stream does not declare its length. A gap in the time stamps of the last frames
  // shows that it was truncated.
  const AVRational rate = file_.FrameRate();
  if (draining_ && decoded_ > 0 && rate.num > 0 && file_.FormatName() == "mpegts" &&
      static_cast<double>(stamp - previous_stamp_) * av_q2d(file_.stream().time_base) >
          1.5 / av_q2d(rate)) {
    Fail("frames before its last are missing");
  }
  previous_stamp_ = stamp;
  if (frame_->decode_error_flags != 0 || (frame_->flags & AV_FRAME_FLAG_CORRUPT)) {
    Fail(log_.Reason(AVERROR_INVALIDDATA));
  }
  const std::string message = log_.Take();
  if (codec_->codec_id == AV_CODEC_ID_FFV1 && !message.empty()) Fail(message);
}

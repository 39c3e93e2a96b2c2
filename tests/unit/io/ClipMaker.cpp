// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "ClipMaker.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

#include <cstring>
#include <memory>
#include <stdexcept>

namespace {

int Try(int result, const char* what) {
  if (result < 0 && result != AVERROR(EAGAIN) && result != AVERROR_EOF) {
    throw std::runtime_error(std::string("ClipMaker: ") + what);
  }
  return result;
}

class Maker {
 public:
  explicit Maker(const ClipPlan& plan) : plan_(plan) {
    Try(avformat_alloc_output_context2(&file_, nullptr, nullptr, plan.path.c_str()), "container");
    file_->flags |= AVFMT_FLAG_BITEXACT;
    if (plan.frames > 0) AddVideo();
    if (plan.sound) AddSound();
    Try(avio_open(&file_->pb, plan.path.c_str(), AVIO_FLAG_WRITE), "open");
    Try(avformat_write_header(file_, nullptr), "header");
  }
  ~Maker() {
    av_packet_free(&packet_);
    av_frame_free(&frame_);
    avcodec_free_context(&codec_);
    avio_closep(&file_->pb);
    avformat_free_context(file_);
  }
  Maker(const Maker&) = delete;
  Maker& operator=(const Maker&) = delete;

  void Write() {
    if (plan_.sound) WriteSound();
    for (int i = 0; i < plan_.frames; ++i) {
      Paint(i);
      const auto at = static_cast<size_t>(i);
      frame_->pts = at < plan_.stamps.size() ? plan_.stamps[at] : i;
      Encode(frame_);
    }
    if (plan_.frames > 0) Encode(nullptr);
    Try(av_write_trailer(file_), "trailer");
  }

 private:
  void AddVideo() {
    const AVCodec* encoder = avcodec_find_encoder_by_name(plan_.codec);
    Try(encoder ? 0 : -1, "no such encoder");
    codec_ = avcodec_alloc_context3(encoder);
    codec_->width = plan_.width;
    codec_->height = plan_.height;
    codec_->pix_fmt = plan_.format;
    codec_->time_base = av_inv_q(plan_.rate);
    codec_->framerate = plan_.rate;
    codec_->sample_aspect_ratio = plan_.aspect;
    codec_->colorspace = plan_.matrix;
    codec_->color_range = plan_.range;
    codec_->color_trc = plan_.transfer;
    codec_->chroma_sample_location = plan_.siting;
    codec_->strict_std_compliance = FF_COMPLIANCE_EXPERIMENTAL;
    codec_->log_level_offset = 100;  // no messages
    codec_->flags |= AV_CODEC_FLAG_BITEXACT;
    if (std::string_view(plan_.codec) == "ffv1") codec_->level = 3;  // with checksums
    if (file_->oformat->flags & AVFMT_GLOBALHEADER) codec_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    if (plan_.key_frames > 0) codec_->gop_size = plan_.key_frames;
    if (*plan_.x264) Try(av_opt_set(codec_->priv_data, "x264-params", plan_.x264, 0), "parameters");
    Try(avcodec_open2(codec_, encoder, nullptr), "encoder");
    video_ = avformat_new_stream(file_, nullptr);
    Try(avcodec_parameters_from_context(video_->codecpar, codec_), "parameters");
    video_->time_base = codec_->time_base;
    video_->avg_frame_rate = plan_.rate;
    video_->sample_aspect_ratio = plan_.aspect;
    if (!plan_.turn.empty()) {
      auto* matrix = reinterpret_cast<int32_t*>(
          av_stream_new_side_data(video_, AV_PKT_DATA_DISPLAYMATRIX, 9 * sizeof(int32_t)));
      const int32_t whole[9] = {
          plan_.turn[0], plan_.turn[1], 0, plan_.turn[2], plan_.turn[3], 0, 0, 0, 1 << 30};
      std::memcpy(matrix, whole, sizeof whole);
    }
    packet_ = av_packet_alloc();
    frame_ = av_frame_alloc();
    frame_->format = plan_.format;
    frame_->width = plan_.width;
    frame_->height = plan_.height;
    Try(av_frame_get_buffer(frame_, 0), "frame");
  }

  void AddSound() {
    sound_ = avformat_new_stream(file_, nullptr);
    AVCodecParameters* parameters = sound_->codecpar;
    parameters->codec_type = AVMEDIA_TYPE_AUDIO;
    parameters->codec_id = AV_CODEC_ID_PCM_S16LE;
    parameters->sample_rate = 8000;
    parameters->ch_layout = AV_CHANNEL_LAYOUT_MONO;
    parameters->format = AV_SAMPLE_FMT_S16;
    parameters->bits_per_coded_sample = 16;
    parameters->block_align = 2;
    sound_->time_base = {1, 8000};
  }

  void WriteSound() {
    AVPacket* packet = av_packet_alloc();
    Try(av_new_packet(packet, 1600), "sound");
    std::memset(packet->data, 0, 1600);
    packet->stream_index = sound_->index;
    packet->pts = packet->dts = 0;
    packet->duration = 800;
    Try(av_interleaved_write_frame(file_, packet), "sound");
    av_packet_free(&packet);
  }

  void Paint(int number) {
    Try(av_frame_make_writable(frame_), "frame");
    const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(plan_.format);
    for (AVBufferRef* buffer : frame_->buf) {  // av_write_image_line ORs into it
      if (buffer) std::memset(buffer->data, 0, buffer->size);
    }
    for (uint32_t i = 0; i < 256 && plan_.format == AV_PIX_FMT_PAL8; ++i) {
      const uint32_t entry = (255 - i) << 24 | i << 16 | (2 * i & 255) << 8 | (3 * i & 255);
      std::memcpy(frame_->data[1] + 4 * i, &entry, 4);
    }
    for (int c = 0; c < descriptor->nb_components; ++c) {
      const bool chroma = (c == 1 || c == 2) && !(descriptor->flags & AV_PIX_FMT_FLAG_RGB);
      const int width = AV_CEIL_RSHIFT(plan_.width, chroma ? descriptor->log2_chroma_w : 0);
      const int height = AV_CEIL_RSHIFT(plan_.height, chroma ? descriptor->log2_chroma_h : 0);
      std::vector<uint16_t> row(static_cast<size_t>(width));
      for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
          row[static_cast<size_t>(x)] = static_cast<uint16_t>(plan_.sample(number, c, x, y));
        }
        av_write_image_line(row.data(), frame_->data, frame_->linesize, descriptor, 0, y, c, width);
      }
    }
  }

  void Encode(const AVFrame* frame) {
    Try(avcodec_send_frame(codec_, frame), "encode");
    while (Try(avcodec_receive_packet(codec_, packet_), "encode") >= 0) {
      packet_->stream_index = video_->index;
      packet_->duration = 1;
      av_packet_rescale_ts(packet_, codec_->time_base, video_->time_base);
      Try(av_interleaved_write_frame(file_, packet_), "write");
    }
  }

  const ClipPlan& plan_;
  AVFormatContext* file_ = nullptr;
  AVCodecContext* codec_ = nullptr;
  AVStream *video_ = nullptr, *sound_ = nullptr;
  AVPacket* packet_ = nullptr;
  AVFrame* frame_ = nullptr;
};

}  // namespace

void MakeClip(const ClipPlan& plan) { Maker(plan).Write(); }

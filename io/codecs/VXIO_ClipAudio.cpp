// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO_ClipAudio.h"

#include <cmath>
#include <cstdio>

#include "VX/VX.hpp"
#include "VXIO_InputFile.h"

namespace {

double SecondsOf(int64_t stamp, AVRational unit) {
  return stamp == AV_NOPTS_VALUE ? 0 : static_cast<double>(stamp) * av_q2d(unit);
}

std::string Text(double seconds) {
  char text[40];
  std::snprintf(text, sizeof text, "%.3f s", seconds);
  return text;
}

}  // namespace

VXIOp_ClipAudio::VXIOp_ClipAudio(const std::string& path, double seconds, double frame,
                                 VXIOp_LavLog* log)
    : path_(path), log_(log), packet_(av_packet_alloc()) {
  if (!packet_) throw vx::Error(vx::ErrorCode::out_of_memory);
  const VXIOp_LavLog::Capture capture(log_);
  {
    VXIOp_ClipFile video(path, log);
    int error;
    while ((error = video.Read(packet_.get())) >= 0) {
    }
    if (error != AVERROR_EOF) {
      VXIOp_ThrowInput(path, "its sound cannot be copied (" + log->Reason(error) + ")");
    }
    const auto [first, end] = video.ReadSpan();
    start_ = first;
    fits_ = std::abs((end - first) - seconds) <= frame * 1.001;
    if (!fits_) {
      warnings_.push_back(path +
                          ": its sound is left out, because the video that is written lasts " +
                          Text(seconds) + " instead of " + Text(end - first));
    }
  }
  file_ = VXIOp_OpenContainer(path, log);
  int sounds = 0;
  for (unsigned i = 0; i < file_->nb_streams; ++i) {
    AVStream* stream = file_->streams[i];
    const bool sound = stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO;
    stream->discard = sound ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    sounds += sound ? 1 : 0;
  }
  if (sounds == 0) warnings_.clear();
  static_cast<void>(log->Take());
}

void VXIOp_ClipAudio::AddTo(VXIOp_ClipOutput* output) {
  const VXIOp_LavLog::Capture capture(log_);
  output_ = output;
  for (unsigned i = 0; i < file_->nb_streams && fits_; ++i) {
    AVStream* stream = file_->streams[i];
    if (stream->discard == AVDISCARD_ALL) continue;
    if (!output->Stores(stream->codecpar->codec_id)) {
      warnings_.push_back(path_ + ": its sound (" + avcodec_get_name(stream->codecpar->codec_id) +
                          ") is left out, because the container that is written does not store it");
      stream->discard = AVDISCARD_ALL;
      continue;
    }
    AVStream* copy = output->AddStream(*stream->codecpar);
    copy->time_base = stream->time_base;
    copy->disposition = stream->disposition & AV_DISPOSITION_DEFAULT;
    for (const char* tag : {"language", "title"}) {
      const AVDictionaryEntry* found = av_dict_get(stream->metadata, tag, nullptr, 0);
      if (found) av_dict_set(&copy->metadata, tag, found->value, 0);
    }
    streams_.push_back({stream, copy});
  }
  if (!streams_.empty()) static_cast<void>(Read());
}

// Reads the next packet of the streams that are copied. Returns false after the last one.
bool VXIOp_ClipAudio::Read() {
  for (;;) {
    av_packet_unref(packet_.get());
    const int error = av_read_frame(file_.get(), packet_.get());
    if (error == AVERROR_EOF) return false;
    if (error == AVERROR(ENOMEM)) throw vx::Error(vx::ErrorCode::out_of_memory);
    if (error < 0) {
      VXIOp_ThrowInput(path_, "its sound cannot be copied (" + log_->Reason(error) + ")");
    }
    for (const Stream& stream : streams_) {
      if (stream.from->index == packet_->stream_index) return true;
    }
  }
}

void VXIOp_ClipAudio::CopyUntil(double seconds) {
  const VXIOp_LavLog::Capture capture(log_);
  while (packet_->data) {
    const Stream* stream = &streams_[0];
    while (stream->from->index != packet_->stream_index) ++stream;
    const AVRational unit = stream->from->time_base;
    const int64_t stamp = packet_->dts != AV_NOPTS_VALUE ? packet_->dts : packet_->pts;
    if (SecondsOf(stamp, unit) - start_ >= seconds) return;
    const auto shift = static_cast<int64_t>(std::llround(start_ / av_q2d(unit)));
    if (packet_->dts != AV_NOPTS_VALUE) packet_->dts -= shift;
    if (packet_->pts != AV_NOPTS_VALUE) packet_->pts -= shift;
    packet_->pos = -1;
    output_->Write(packet_.get(), *stream->to, unit);
    static_cast<void>(Read());
  }
}

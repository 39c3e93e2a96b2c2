// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO_LavLog.h"

extern "C" {
#include <libavutil/log.h>
}

#include <cstdio>
#include <cstring>
#include <utility>

#include "VXIO_Formats.h"

namespace {

thread_local VXIOp_LavLog* capturing = nullptr;

// Chooses like libav's default function. Its address in `get_format` marks the decoders for which
// Attach was called.
AVPixelFormat ChooseFormat(AVCodecContext* codec, const AVPixelFormat* formats) {
  return avcodec_default_get_format(codec, formats);
}

// Returns the codec context of a log message's sender: the sender itself or one of its parents.
// Null if there is none.
const AVCodecContext* CodecOf(void* sender) {
  while (sender) {
    const AVClass* kind = *static_cast<AVClass**>(sender);
    if (kind == avcodec_get_class()) return static_cast<AVCodecContext*>(sender);
    if (!kind || kind->parent_log_context_offset == 0) return nullptr;
    std::memcpy(&sender, static_cast<char*>(sender) + kind->parent_log_context_offset,
                sizeof sender);
  }
  return nullptr;
}

}  // namespace

VXIOp_LavLog::VXIOp_LavLog() {
  [[maybe_unused]] static const bool once = [] {
    av_log_set_callback(Callback);
    return true;
  }();
}

void VXIOp_LavLog::Callback(void* sender, int level, const char* format, va_list arguments) {
  VXIOp_LavLog* log = capturing;
  // The threads of a decoder use copies of its context, in which `opaque` and `get_format` have the
  // same values.
  const AVCodecContext* codec = CodecOf(sender);
  if (codec && codec->get_format == ChooseFormat) log = static_cast<VXIOp_LavLog*>(codec->opaque);
  if (!log) return av_log_default_callback(sender, level, format, arguments);
  if (level > AV_LOG_ERROR) return;
  char text[512];
  std::vsnprintf(text, sizeof text, format, arguments);
  const std::string line = VXIOp_FirstLine(text);
  const std::lock_guard lock(log->mutex_);
  if (log->first_.empty()) log->first_ = line;
}

VXIOp_LavLog::Capture::Capture(VXIOp_LavLog* log) : previous_(std::exchange(capturing, log)) {}

VXIOp_LavLog::Capture::~Capture() { capturing = previous_; }

void VXIOp_LavLog::Attach(AVCodecContext* decoder) {
  decoder->opaque = this;
  decoder->get_format = ChooseFormat;
}

std::string VXIOp_LavLog::Take() {
  const std::lock_guard lock(mutex_);
  return std::exchange(first_, {});
}

std::string VXIOp_LavLog::Reason(int error) {
  std::string message = Take();
  if (!message.empty()) return message;
  char text[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(error, text, sizeof text);
  return text;
}

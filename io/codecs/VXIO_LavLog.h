// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Records the error messages of libav, so that they become part of the errors that libVXIO throws.

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <mutex>
#include <string>

// Records the first error message since the last call of Reason. Thread-safe: decoders log from
// their own threads. The first log that is constructed sets the log callback of libav in this
// process; messages that belong to no log go to libav's default callback.
class VXIOp_LavLog {
 public:
  VXIOp_LavLog();

  // While a Capture exists, messages of this thread are recorded in `log`. Captures may be nested.
  class Capture {
   public:
    explicit Capture(VXIOp_LavLog* log);
    ~Capture();
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

   private:
    VXIOp_LavLog* previous_;
  };

  // Also records the messages of this decoder, on all its threads. Call before avcodec_open2; the
  // log must outlive the decoder. Uses the fields `opaque` and `get_format` of the decoder.
  void Attach(AVCodecContext* decoder);

  // Returns the recorded message and clears it; empty if there is none.
  std::string Take();
  // Returns the recorded message and clears it; if there is none, returns libav's text for the
  // error code.
  std::string Reason(int error);

 private:
  static void Callback(void* sender, int level, const char* format, va_list arguments);

  std::mutex mutex_;
  std::string first_;
};

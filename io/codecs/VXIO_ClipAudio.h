// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Copies the sound streams of a clip to another clip.

#include <string>
#include <utility>
#include <vector>

#include "VXIO_ClipOutput.h"

class VXIOp_ClipAudio {
 public:
  // Opens a clip and finds its sound streams. Throws VXIO_Error (Input).
  //   seconds, frame  duration of the video of the output, and of one of its frames; if it differs
  //                   from that of the source by more than a frame, nothing is copied
  //   log             must outlive the object
  VXIOp_ClipAudio(const std::string& path, double seconds, double frame, VXIOp_LavLog* log);

  // Adds the streams to `output`. Call it once, before output->Begin.
  void AddTo(VXIOp_ClipOutput* output);
  // Copies the packets that begin before this time of the output, in seconds.
  void CopyUntil(double seconds);
  // Returns the reasons why streams are not copied.
  const std::vector<std::string>& warnings() const { return warnings_; }
  bool copies() const { return !streams_.empty(); }

 private:
  struct Stream {
    const AVStream* from;
    AVStream* to;
  };
  bool Read();

  std::string path_;
  VXIOp_LavLog* log_;
  VXIOp_LavPtr<AVFormatContext> file_;
  VXIOp_LavPtr<AVPacket> packet_;  // the next one; empty at the end
  double start_ = 0;               // time of the first frame of the video, in seconds
  bool fits_ = true;
  std::vector<Stream> streams_;
  std::vector<std::string> warnings_;
  VXIOp_ClipOutput* output_ = nullptr;
};

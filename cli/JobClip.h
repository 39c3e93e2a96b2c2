// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// A clip that is an input of a job.

#include <cstdint>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "FrameOrder.h"
#include "VX/cpp/Image.hpp"
#include "VXIO/VXIO_Clip.h"

namespace vxcli {

// Decodes the frames of a clip for the threads of a job. Decoding is fastest in ascending order, so
// the frames are handed out in the order of the job: Read waits until all frames of the job that
// were announced earlier have read or have been released. Thread-safe.
class JobClip {
 public:
  // Throws VXIO_Error (Input) if the file is not a clip that can be decoded.
  explicit JobClip(const std::string& path);

  const VXIO_ClipInfo& info() const { return info_; }
  // Returns the header of a frame in the form of a picture.
  VXIO_Info PictureInfo() const;

  // Returns the number of frames, at most `most`. Uses the index of the packets or, if they do not
  // show the frames, decodes the clip, because containers may declare another number than their
  // video has. If it is decoded, a damaged frame is counted, those after it are not.
  int64_t CountFrames(int64_t most);
  // The following functions are for the frames that CountFrames counted.
  // Returns the durations of frames in units of info().time_base; empty if the frame rate is
  // constant, or if no frame was counted.
  std::vector<int64_t> DurationsOf(const std::vector<int64_t>& frames) const;
  // Returns true if these are all frames of the clip, in order.
  bool IsWhole(const std::vector<int64_t>& frames) const;
  // Returns the frame that is shown at a time in seconds since the start of the file; before the
  // first frame, the first one. Throws VXIO_Error (Input) for a time after the last frame.
  int64_t FrameAt(double seconds) const;
  // Returns the fingerprint of the contents of the file; computed once.
  const std::string& Fingerprint();

  // The last picture is kept, because the next frame of the job may read the same frame again.
  void KeepLast() { keep_ = true; }
  // Announces, or releases, the frame `job_frame` (index) of the job. Announced in ascending order.
  void Announce(size_t job_frame) { order_.Announce(job_frame); }
  void Release(size_t job_frame) { order_.Release(job_frame); }
  // Decodes frame `number`, fastest in ascending order. Throws VXIO_Error (Input) for a damaged
  // frame and for a number after the end.
  VXIO_Picture Read(size_t job_frame, int64_t number, int32_t depth, VXIO_AlphaAs alpha);

 private:
  struct Kept {
    int64_t number;
    int32_t depth;
    VXIO_AlphaAs alpha;
    VXIO_Picture picture;
  };
  int64_t Units(double seconds) const;  // of the time base
  double FrameSeconds() const;          // 0 without a frame rate
  VXIO_Picture Decode(int64_t number, int32_t depth, VXIO_AlphaAs alpha);

  std::string path_;
  VXIO_ClipInfo info_;
  std::vector<int64_t> times_;  // of the counted frames, in units of the time base
  bool whole_ = false;          // all frames were counted
  bool keep_ = false;
  FrameOrder order_;                       // protects the members below
  std::optional<VXIO_ClipReader> reader_;  // opened by the first Read
  std::optional<Kept> kept_;
  std::set<std::string> warned_;  // warnings that were returned
  std::mutex fingerprint_mutex_;
  std::string fingerprint_;
};

}  // namespace vxcli

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// A clip that is an input of a job.

#include <cstdint>
#include <mutex>
#include <optional>
#include <set>
#include <string>

#include "FrameOrder.h"
#include "VX/cpp/Image.hpp"
#include "VXIO/VXIO_Clip.h"

namespace vxcli {

// Decodes the frames of a clip for the threads of a job. A clip is decoded from its start, so the
// frames are handed out in the order of the job: Read waits until all frames of the job that were
// announced earlier have read or have been released. Thread-safe.
class JobClip {
 public:
  // Throws VXIO_Error (Input) if the file is not a clip that can be decoded.
  explicit JobClip(const std::string& path);

  const VXIO_ClipInfo& info() const { return info_; }
  // Returns the header of a frame in the form of a picture.
  VXIO_Info PictureInfo() const;

  // Returns the number of frames, at most `most`. Decodes the clip, because containers may declare
  // another number than their video has. A damaged frame is counted, those after it are not.
  int64_t CountFrames(int64_t most) const;
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
  // Decodes frame `number`. A number below that of the last call starts the clip again. Throws
  // VXIO_Error (Input) for a damaged frame and for a number after the end.
  VXIO_Picture Read(size_t job_frame, int64_t number, int32_t depth, VXIO_AlphaAs alpha);

 private:
  struct Kept {
    int64_t number;
    int32_t depth;
    VXIO_AlphaAs alpha;
    VXIO_Picture picture;
  };
  VXIO_Picture Decode(int64_t number, int32_t depth, VXIO_AlphaAs alpha);

  std::string path_;
  VXIO_ClipInfo info_;
  bool keep_ = false;
  FrameOrder order_;                       // protects the members below
  std::optional<VXIO_ClipReader> reader_;  // opened by the first Read
  std::optional<Kept> kept_;
  std::set<std::string> warned_;  // warnings that were returned
  std::mutex fingerprint_mutex_;
  std::string fingerprint_;
};

}  // namespace vxcli

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// A clip that is the output of a job.

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "Job.h"
#include "VXIO/VXIO_ClipWriter.h"

namespace vxcli {

class JobClip;
struct Ratio;

// Thrown by ClipOutput::Write after Cancel: the frame did not fail, but there will be no clip.
struct ClipCancelled : std::exception {};

// Writes the frames of a job to a clip in the order of the job, while several threads process them.
// A thread waits until the frames before its own are written, so each thread holds one picture at
// most. The clip appears when Finish returns; without Finish nothing appears. Thread-safe.
class ClipOutput {
 public:
  //   options    see VXIO_ClipWriter. `alpha` is replaced if it has no value: the clip has alpha if
  //              the first frame has.
  //   durations  of each frame of the job, in units of options.time_base; empty for a constant
  //              frame rate
  ClipOutput(std::string path, VXIO_ClipOptions options, std::vector<int64_t> durations);

  // Writes the frame with this index in the job, counted from 0, when all frames with lower indices
  // have been written or left out.
  //   keep_alpha  the picture has alpha, also if all its pixels are opaque
  // Throws VXIO_Error (Output), and ClipCancelled after Cancel.
  void Write(size_t index, vx::AnyConstView picture, bool keep_alpha);
  // Declares that there will be no frame with this index.
  void LeaveOut(size_t index);
  // Ends all waiting and later calls of Write.
  void Cancel();
  // Completes the clip. Returns the warnings. Call it when all frames were written or left out.
  std::vector<std::string> Finish();
  // "ffv1, gbrap16le"
  std::string Description() const { return description_; }

 private:
  void Advance();

  std::string path_;
  VXIO_ClipOptions options_;
  std::vector<int64_t> durations_;
  std::mutex mutex_;
  std::condition_variable changed_;
  size_t next_ = 0;            // index of the next frame
  std::set<size_t> left_out_;  // indices that follow `next_`
  int64_t time_ = 0;
  bool cancelled_ = false;
  std::optional<VXIO_ClipWriter> writer_;  // made by the first frame
  std::string description_;
};

// The parts of a job that determine the properties of its clip.
struct ClipPlan {
  std::string output;
  std::string input;                  // the name of the first sequence among the inputs, or empty
  JobClip* source = nullptr;          // the first clip among the inputs
  std::vector<int64_t> frames;        // of the input, in the order of the job
  std::optional<VXIO_Rational> rate;  // declared by the job
  std::optional<int64_t> output_frames;  // if the job makes other frames than those of the input
  bool keeps_times = true;               // see Retiming
};

// Returns the output of a job. Frame rate: --fps, else that of the job, else that of the source,
// whose times are kept if they are not regular. Pixel aspect, matrix, range, tags and sound are
// those of the source. Sound is kept if all frames are written in order and the duration stays.
// Throws UsageError if there is no frame rate and for options that the clip does not have. Adds
// warnings about what is not kept to `warnings`.
std::unique_ptr<ClipOutput> MakeClipOutput(const JobOptions& options, const ClipPlan& plan,
                                           std::vector<std::string>* warnings);

// Throws UsageError for options that contradict the output of a clip, and VXIO_Error (Output) if
// the file cannot be written.
void CheckClipOutput(const JobOptions& options);

// Numerators and denominators that ParseRatio accepts are at most 10^9.
VXIO_Rational RateOf(const Ratio& ratio);

// The options --codec, --fps and --clip-alpha.
OptionList ClipOptionList(JobOptions* to);

}  // namespace vxcli

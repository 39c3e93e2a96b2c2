// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// What one frame of a job carries while it is worked on, and what comes out of it.

#include <condition_variable>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "Console.h"
#include "JobPlan.h"

namespace vxcli {

// What became of a frame.
struct Outcome {
  enum Status { NotRun, Done, UpToDate, Planned, Missing, Failed };

  Status status = NotRun;
  Failure failure{kDone, ""};      // of Failed
  nlohmann::ordered_json told;     // for --json
  std::vector<std::string> lines;  // for the standard output without it
};

struct JobFrame::State {
  const Job* job;
  const JobOptions* options;
  const JobPlan* plan;
  PlannedFrame frame;
  vxcli::Progress* progress;  // null when several frames share the bar
  nlohmann::ordered_json told;
  nlohmann::ordered_json warnings;
  std::vector<std::string> lines;
  bool written = false;

  // Says the warnings, or throws the first of them under --strict.
  void TellWarnings(const std::vector<std::string>& texts, VXIO_ErrorKind kind);
  // Tells how far a job of one frame is: a step for each input and what is done with it, then
  // writing.
  void Begin(size_t step, const std::string& what) const;
};

// Bytes for frames in flight.
class MemoryBudget {
 public:
  MemoryBudget(const Job& job, const JobOptions& options);

  // What a frame needs, from the headers of its inputs; 0 when they cannot be read, which the frame
  // itself will tell. Throws UsageError when --memory is too small for it alone.
  int64_t Need(const PlannedFrame& frame) const;
  // Waits until the frames in flight leave room, or none is in flight.
  void Take(int64_t bytes);
  void GiveBack(int64_t bytes);

 private:
  const Job& job_;
  bool given_;
  int64_t limit_;
  int64_t taken_ = 0;
  int frames_ = 0;
  std::mutex mutex_;
  std::condition_variable changed_;
};

}  // namespace vxcli

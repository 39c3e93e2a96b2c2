// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The state of one frame of a job while it is worked on, and its outcome.

#include <condition_variable>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "Console.h"
#include "JobPlan.h"

namespace vxcli {

struct Outcome {
  enum Status { NotRun, Done, UpToDate, Planned, Missing, Failed };

  Status status = NotRun;
  Failure failure{kDone, ""};      // of Failed
  nlohmann::ordered_json record;   // for --json
  std::vector<std::string> lines;  // for the standard output without it
};

struct JobFrame::State {
  const Job* job;
  const JobPlan* plan;
  PlannedFrame frame;
  vxcli::Progress* progress;  // null when several frames share the bar
  nlohmann::ordered_json record;
  nlohmann::ordered_json warnings;
  std::vector<std::string> lines;
  bool written = false;

  // Prints and records the warnings. Under --strict throws the first of them.
  void ReportWarnings(const std::vector<std::string>& texts, VXIO_ErrorKind kind);
  // Shows the progress of a job of one frame: one step for each input and its use, one for writing.
  void Begin(size_t step, const std::string& what) const;
};

// Limits the bytes of the frames in flight.
class MemoryBudget {
 public:
  explicit MemoryBudget(const Job& job);

  // The bytes that a frame needs, from the headers of its inputs; 0 if they cannot be read, which
  // the frame itself reports. Throws UsageError if --memory is too small for the frame alone.
  int64_t Need(const PlannedFrame& frame) const;
  // Waits until the bytes fit beside the frames in flight, or no frame is in flight.
  void Acquire(int64_t bytes);
  void Release(int64_t bytes);

 private:
  const Job& job_;
  int64_t limit_;
  int64_t acquired_ = 0;
  int frames_ = 0;
  std::mutex mutex_;
  std::condition_variable changed_;
};

}  // namespace vxcli

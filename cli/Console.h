// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Messages of the command: errors and their exit codes, warnings, progress, JSON records.

#include <chrono>
#include <cstdint>
#include <exception>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "VX/cpp/Error.hpp"
#include "VX/cpp/Progress.hpp"

namespace vxcli {

// --- errors --------------------------------------------------------------------------------------

enum ExitCode : int {
  kDone = 0,        // no error
  kInternal = 1,    // internal error, or the pictures of `vx compare` differ
  kUsage = 2,       // invalid arguments
  kInput = 3,       // a file is missing or cannot be read, or there is no frame
  kOutput = 4,      // a file cannot be written or may not be overwritten
  kSomeFailed = 5,  // with --keep-going: some frames failed
  // 128 + signal number: ended by a signal
};

class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct Failure {
  int exit_code;
  std::string text;
};

// A failure with its complete message. Describe returns it unchanged, on any thread.
class DescribedFailure : public std::runtime_error {
 public:
  explicit DescribedFailure(const Failure& failure)
      : std::runtime_error(failure.text), exit_code_(failure.exit_code) {}
  int exit_code() const { return exit_code_; }

 private:
  int exit_code_;
};

// Returns the message and the exit code for an exception. Must be called on the thread that threw
// it, because the host stores reports per thread. Removes the reports that the message contains.
Failure Describe(const std::exception_ptr& error);

// Throws vx::Error if a call of the C-style interface (VX_...) returned an error code.
inline void Check(VX_Err code) {
  if (code != VX_Ok) throw vx::Error(static_cast<vx::ErrorCode>(code));
}

// Calls `work` and returns its result. If `work` throws vx::Error, throws DescribedFailure with a
// message that begins with `context`, the name of the operation or of the file.
template <class Work>
auto WithContext(const std::string& context, Work&& work) {
  try {
    return work();
  } catch (const vx::Error&) {
    const Failure failure = Describe(std::current_exception());
    throw DescribedFailure({failure.exit_code, context + ": " + failure.text});
  }
}

// --- output --------------------------------------------------------------------------------------

// How messages and progress are shown, the values of --progress. Json: JSON events and nothing else
// on the standard error (docs/progress.schema.json). OpenJd: lines of the Open Job Description on
// the standard output. Auto is Bar on a terminal and None elsewhere.
enum class ProgressStyle { Auto, Bar, Plain, Json, OpenJd, None };
// The names of the values, in their order.
const std::vector<std::string>& ProgressStyles();

// Selects the form of all messages. Called before the arguments are parsed, so that their errors
// have that form too. With Json, text that libraries print on the standard error becomes warnings.
void SetMessageStyle(ProgressStyle style);

// Print warnings, notes or an error. If the thread works on a frame of a sequence, JSON events
// contain its number.
void Warn(const std::vector<std::string>& warnings);
void Note(const std::string& text);
void PrintError(const Failure& failure);
// Prints the events that end the process: with Json the last event, "done"; with OpenJd the
// failure.
void PrintEnd(const Failure& result);

// While an object of this class exists, messages of this thread are about this frame.
class MessagesOfFrame {
 public:
  explicit MessagesOfFrame(int64_t number);
  ~MessagesOfFrame();
  MessagesOfFrame(const MessagesOfFrame&) = delete;
  MessagesOfFrame& operator=(const MessagesOfFrame&) = delete;
};

// Prints a record as one line of JSON on the standard output.
void PrintJson(const nlohmann::ordered_json& json);
// Converts a number to JSON. Infinity and NaN become null, because JSON does not have them.
nlohmann::ordered_json Finite(double value);
// Returns true if a command that fails has to print its record: PrintJson was not called, and the
// standard output is not for a picture.
bool NeedsRecordOfFailure();
// The standard output is for a picture.
void ReserveStandardOutput();

// Shows the progress of a job.
class Progress {
 public:
  explicit Progress(ProgressStyle style);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // Shows the start of a job. `output` may be empty.
  void Start(const std::string& verb, size_t frames, const std::string& output);
  // Starts step `index` (from 0) of `count`. `what` is the name of the step.
  void Begin(int index, int count, const std::string& what);
  // Returns the progress function for an operation of the current step.
  vx::Progress OfStep() {
    return [this](int32_t step, int32_t total) {
      Show(total > 0 ? static_cast<double>(step) / total : 0);
    };
  }

  // Shows the outcome of a frame.
  void Frame(const nlohmann::ordered_json& event);
  // Shows the end of a job that has not failed.
  void Done();

 private:
  struct Pace {
    double frames_per_second, seconds_left;
  };
  // Returns the mean pace of the frames that were processed; none before the first one, and for a
  // single picture.
  std::optional<Pace> PaceOfFrames() const;
  // Returns the name of the step and the pace.
  std::string Text() const;
  void Show(double fraction);
  void ClearBar();

  ProgressStyle style_;
  std::string output_;
  int index_ = 0, count_ = 1;
  std::string what_;
  std::chrono::steady_clock::time_point start_;
  size_t frames_ = 0, processed_ = 0, ended_ = 0;  // ended: with those that were skipped
  int shown_ = -1;  // the percentage of all steps that was shown last
};

}  // namespace vxcli

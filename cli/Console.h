// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Messages of the command: errors and their exit codes, warnings, progress, JSON records.

#include <exception>
#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "VX/cpp/Error.hpp"
#include "VX/cpp/Progress.hpp"

namespace vxcli {

// --- errors --------------------------------------------------------------------------------------

enum ExitCode : int {
  kDone = 0,        // no error
  kInternal = 1,    // also: the pictures of `vx compare` differ
  kUsage = 2,       // wrong arguments
  kInput = 3,       // a picture that is missing or cannot be read; no frame to work on
  kOutput = 4,      // a picture that cannot be written or may not be overwritten
  kSomeFailed = 5,  // with --keep-going: some frames failed, the others are done
  // 128 + signal: ended by a signal
};

class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct Failure {
  int exit_code;
  std::string text;
};

// A failure with its final text. The reports about it were taken from the thread that failed.
class DescribedFailure : public std::runtime_error {
 public:
  explicit DescribedFailure(const Failure& failure)
      : std::runtime_error(failure.text), exit_code_(failure.exit_code) {}
  int exit_code() const { return exit_code_; }

 private:
  int exit_code_;
};

// The text and the exit code for an exception. Call it on the thread that threw: it takes the
// reports of the host from there.
Failure Describe(const std::exception_ptr& error);

// Throws vx::Error for the code of a classic call.
inline void Check(VX_Err code) {
  if (code != VX_Ok) throw vx::Error(static_cast<vx::ErrorCode>(code));
}

// Calls `work` and returns its result. The text of a vx::Error that it throws begins with `doing`,
// which names the work or the file.
template <class Work>
auto Named(const std::string& doing, Work&& work) {
  try {
    return work();
  } catch (const vx::Error&) {
    const Failure failure = Describe(std::current_exception());
    throw DescribedFailure({failure.exit_code, doing + ": " + failure.text});
  }
}

// --- output --------------------------------------------------------------------------------------

// "vx: warning: ..." and "vx: note: ...", one line each on the standard error.
void Warn(const std::vector<std::string>& warnings);
void Note(const std::string& text);
// "vx: ...", an error.
void PrintError(const std::string& text);

// Prints a record as one line of JSON on the standard output.
void PrintJson(const nlohmann::ordered_json& json);

// Shows the progress of the work on the standard error.
class Progress {
 public:
  // Auto is Bar on a terminal and None elsewhere.
  enum Style { Auto, Bar, Plain, Json, None };

  explicit Progress(Style style);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // Starts step `index` (from 0) of `count`; `what` names it.
  void Begin(int index, int count, const std::string& what);
  // For the operations of a step.
  vx::Progress OfStep() {
    return [this](int32_t step, int32_t total) {
      Show(total > 0 ? static_cast<double>(step) / total : 0);
    };
  }

  // The final event, once.
  void Done(const std::string& output);
  void Failed(int exit_code, const std::string& text);

 private:
  void Show(double fraction);
  void ClearBar();

  Style style_;
  int index_ = 0, count_ = 1;
  std::string what_;
  int shown_ = -1;  // per cent of all the work
  bool finished_ = false;
};

// The values of --progress, in the order of Progress::Style.
const std::vector<std::string>& ProgressStyles();

// Calls `work`. A failure is shown as the final event and thrown again.
void RunWith(Progress* progress, const std::function<void()>& work);

}  // namespace vxcli

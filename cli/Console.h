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

// Print lines "vx: warning: ..." and "vx: note: ..." on the standard error.
void Warn(const std::vector<std::string>& warnings);
void Note(const std::string& text);
// Prints a line "vx: ..." on the standard error.
void PrintError(const std::string& text);

// Prints a record as one line of JSON on the standard output.
void PrintJson(const nlohmann::ordered_json& json);

// Shows progress on the standard error.
class Progress {
 public:
  // Auto is Bar on a terminal and None elsewhere.
  enum Style { Auto, Bar, Plain, Json, None };

  explicit Progress(Style style);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // Starts step `index` (from 0) of `count`. `what` is the name of the step.
  void Begin(int index, int count, const std::string& what);
  // Returns the progress function for an operation of the current step.
  vx::Progress OfStep() {
    return [this](int32_t step, int32_t total) {
      Show(total > 0 ? static_cast<double>(step) / total : 0);
    };
  }

  // Show the final event of the progress, done or failed. Only the first call has an effect.
  void Done(const std::string& output);
  void Failed(int exit_code, const std::string& text);

 private:
  void Show(double fraction);
  void ClearBar();

  Style style_;
  int index_ = 0, count_ = 1;
  std::string what_;
  int shown_ = -1;  // the percentage of all steps that was shown last
  bool finished_ = false;
};

// The values of --progress, in the order of Progress::Style.
const std::vector<std::string>& ProgressStyles();

// Calls `work`. If it throws, shows the failure as the final event and throws DescribedFailure.
void RunWith(Progress* progress, const std::function<void()>& work);

}  // namespace vxcli

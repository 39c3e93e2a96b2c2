// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The errors of the command and their exit codes.

#include <exception>
#include <stdexcept>
#include <string>

#include "VX/VX_Types.h"

namespace vxcli {

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

// A call of the library failed; the text contains its reports.
class LibraryError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct Failure {
  int exit_code;
  std::string text;
};

// A failure that was described on another thread, which had the reports about it.
class CarriedFailure : public std::runtime_error {
 public:
  explicit CarriedFailure(const Failure& failure)
      : std::runtime_error(failure.text), exit_code_(failure.exit_code) {}
  int exit_code() const { return exit_code_; }

 private:
  int exit_code_;
};

// Throws a LibraryError for a code that is not 0. `doing` names the work and the file.
void Check(VX_Err code, const std::string& doing);

// The text of the library's reports on this thread, or else the meaning of the code, with the code.
// Discards the reports.
std::string TextOfCode(VX_Err code);

// The text and the exit code for an exception. Call it on the thread that threw: it takes the
// reports of the library from there.
Failure Describe(const std::exception_ptr& error);

}  // namespace vxcli

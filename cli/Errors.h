// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// What ends the command early, and the exit code that each gives.

#include <exception>
#include <stdexcept>
#include <string>

#include "VX/VX_Types.h"

namespace vxcli {

enum ExitCode : int {
  kDone = 0,        // everything that was asked for
  kInternal = 1,    // also: the pictures of `vx compare` differ
  kUsage = 2,       // the words of the command line
  kInput = 3,       // a picture that is missing or cannot be read; no frame to work on
  kOutput = 4,      // a picture that cannot be written or may not be overwritten
  kSomeFailed = 5,  // with --keep-going: some frames failed, the others are done
  // 128 + signal: ended by a signal
};

class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The library refused; the text holds what it reported.
class LibraryError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct Failure {
  int exit_code;
  std::string text;
};

// A failure that was described already, on the thread whose reports tell about it.
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

// The library's own words for a code: what this thread's reports say, or the meaning of the code.
std::string TextOfCode(VX_Err code);

// What to say about an exception, and how to exit. Call it on the thread that threw.
Failure Describe(const std::exception_ptr& error);

}  // namespace vxcli

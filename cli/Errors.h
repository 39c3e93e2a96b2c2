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
  kDone = 0,
  kInternal = 1,  // also: the pictures of `vx compare` differ
  kUsage = 2,
  kInput = 3,
  kOutput = 4,
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

// Throws a LibraryError for a code that is not 0. `doing` names the work and the file.
void Check(VX_Err code, const std::string& doing);

// The library's own words for a code: what this thread's reports say, or the meaning of the code.
std::string TextOfCode(VX_Err code);

struct Failure {
  int exit_code;
  std::string text;
};

// What to say about an exception, and how to exit.
Failure Describe(const std::exception_ptr& error);

}  // namespace vxcli

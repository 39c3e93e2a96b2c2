// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Compares the routine of a slot at a processor level with that of the plain level, by the random
// commands of tests/commands.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "commands/Operations.h"

struct Plan {
  uint64_t seed = 1;
  uint64_t count = 400;                       // commands a slot
  std::vector<std::string> levels = {"all"};  // compared with "none"
  // Runs after the library is born at a level that is compared.
  std::function<void()> tamper = [] {};
};

// Returns the first difference, with the number of its command; empty: none.
std::string CompareSlot(const Operation& slot, const Plan& plan);

// Checks that wrong routines are found. Returns the number of those that were not.
int SelfTest(const Plan& plan);

// The exit status of a child process after a crash.
inline constexpr int kCrashed = 3;

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The list of operations that random commands exercise.

#include <functional>
#include <string>
#include <vector>

#include "Command.h"

using Runner = std::function<VX_Err(Command&)>;

struct Operation {
  std::string name;
  Runner run;
  // The slow twin with the same arguments; empty: none. It runs where the routine returned 0 and
  // the command has the properties `needs`.
  Runner twin = {};
  uint32_t needs = kFinite;
  double tolerance = 0;          // of floats against the twin, relative above 1
  bool keeps_on_refusal = true;  // outputs stay when an error is returned
  bool in_digest = true;
};

// The command of a routine: the Run for its type.
template <class Function>
Runner Of(Function* f) {
  return [f](Command& c) { return Run(c, f); };
}

// A twin returns this for arguments that it does not cover.
inline constexpr VX_Err kNoTwin = -1;

std::vector<Operation> WorldOperations();
std::vector<Operation> RowOperations();
std::vector<Operation> UnoOperations();
std::vector<Operation> SlotOperations();  // in the order of the slots
std::vector<Operation> AllOperations();

// Runs a command and records its result. What it throws counts as its code.
VX_Err Execute(Command& command, const Runner& runner, bool keeps_on_refusal);

// Runs the command with the routine and, where possible, with the twin. Returns what is wrong;
// empty: nothing. Adds to the digest unless it is null.
std::string Check(const Operation& operation, uint64_t seed, uint32_t number, uint64_t* digest);

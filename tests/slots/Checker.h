// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The override table as the checker sees it, made from the one list of slots.

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "Level.h"
#include "Trial.h"

struct Slot {
  int32_t number;
  const char* name;
  const char* signature;
  void (*check)(Trial& trial);  // runs the cases of what the slot holds now; null: no checker
};
std::span<const Slot> AllSlots();

// A slot as the table would have it if its routine's type were new.
Slot SlotOfUnknownType();

// VX_SlotState_... while the package is alive.
int32_t StateOf(const Slot& slot);

struct Plan {
  std::vector<Level> levels;  // the plain one first
  uint64_t seed = 0;
  int rounds = 4;
  // Called once the package is born at a level above the plain one.
  std::function<void()> tamper = [] {};
};

enum class Verdict { kGood, kBad, kNotBuilt };

// Checks a slot at every level of the plan and prints a line about it.
Verdict CheckAtAllLevels(const Slot& slot, const Plan& plan);

// Whether the checker finds routines that are wrong in small ways. Prints a line for each; the
// number of those that got through.
int SelfTest(const Plan& plan);

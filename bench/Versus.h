// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// A row: the library against a fixed line of rivals, some of which have no such work or are not
// installed.

#include <cstddef>
#include <string>

#include "Rounds.h"

struct Rival {
  std::function<void()> run;  // empty: this stands in its place
  const char* instead = "-";
};
inline constexpr char kNotInstalled[] = "absent";

// `peer` null: not installed.
template <class Peer, class Run>
Rival RivalOf(const Peer* peer, Run run) {
  if (peer == nullptr) return {{}, kNotInstalled};
  return {run, ""};
}

struct Outcome {
  Timing own;
  std::vector<double> ratios;  // how many times faster than each rival; 0 where there is none
};

// Measures, and prints `name`, `amount` a second with its spread, and the ratios.
Outcome RunVersus(const std::string& name, double amount, const std::function<void()>& run,
                  const std::vector<Rival>& rivals, int rounds);

// The head of such rows.
void PrintVersusHead(const char* unit, const std::vector<const char*>& rivals);

// memcpy that reads and writes as many bytes in sum as somebody does who reads all of `from` and
// writes all of `to`, in the same memory: the shorter of the two is gone through again.
void MoveAsMuch(const void* from, size_t from_size, void* to, size_t to_size);

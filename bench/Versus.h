// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// A row of a table: the library and a fixed list of rivals. A rival may be missing, because it is
// not installed or has no such operation.

#include <cstddef>
#include <string>

#include "Rounds.h"

struct Rival {
  std::function<void()> run;  // empty: a "-" is printed
  const char* instead = "-";
};
inline constexpr char kNotInstalled[] = "absent";

// If `peer` is null (not installed), the rival is missing.
template <class Peer, class Run>
Rival RivalOf(const Peer* peer, Run run) {
  if (peer == nullptr) return {{}, kNotInstalled};
  return {run, ""};
}

struct Outcome {
  Timing own;
  std::vector<double> ratios;  // how many times faster than each rival; 0 if it is missing
};

// Measures and prints `name`, `amount` per second, the spread and the ratios.
Outcome RunVersus(const std::string& name, double amount, const std::function<void()>& run,
                  const std::vector<Rival>& rivals, int rounds);

// Prints the head of a table of such rows.
void PrintVersusHead(const char* unit, const std::vector<const char*>& rivals);

// Copies with memcpy, within the same memory, until as many bytes have been read and written as by
// a loop that reads all of `from` and writes all of `to`. The shorter of the two is used
// repeatedly.
void MoveAsMuch(const void* from, size_t from_size, void* to, size_t to_size);

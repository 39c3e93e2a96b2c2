// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "Versus.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

Outcome RunVersus(const std::string& name, double amount, const std::function<void()>& run,
                  const std::vector<Rival>& rivals, int rounds) {
  std::vector<Contestant> contestants = {{{}, run}};
  for (const Rival& rival : rivals) {
    if (rival.run) contestants.push_back({{}, rival.run});
  }
  const std::vector<Timing> times = RunRounds(contestants, rounds);
  Outcome outcome{times[0], {}};
  std::printf("%-42s %8.1f %4.1f%%", name.c_str(), amount / times[0].Median(),
              100.0 * times[0].Spread());
  size_t next = 1;
  for (const Rival& rival : rivals) {
    outcome.ratios.push_back(rival.run ? TimesFaster(times[0], times[next++]) : 0.0);
    if (rival.run) {
      std::printf(" %8.2f", outcome.ratios.back());
    } else {
      std::printf(" %8s", rival.instead);
    }
  }
  std::printf("\n");
  std::fflush(stdout);
  return outcome;
}

void PrintVersusHead(const char* unit, const std::vector<const char*>& rivals) {
  std::printf("%-42s %8s %5s", "row", unit, "+-");
  for (const char* rival : rivals) std::printf(" %8s", rival);
  std::printf("\n");
}

void MoveAsMuch(const void* from, size_t from_size, void* to, size_t to_size) {
  size_t left = (from_size + to_size) / 2, read = 0, written = 0;
  while (left > 0) {
    const size_t size = std::min({left, from_size - read, to_size - written});
    std::memcpy(static_cast<char*>(to) + written, static_cast<const char*>(from) + read, size);
    left -= size;
    read = (read + size) % from_size;
    written = (written + size) % to_size;
  }
}

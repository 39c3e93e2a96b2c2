// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The ratio of each level's routine to the plain one, both measured by turns in this run.

#include "Bench.h"

#include <chrono>
#include <cstdio>
#include <limits>

#include "Checker.h"

namespace {

// The shortest of several turns each, in nanoseconds a pixel.
struct Times {
  double plain = std::numeric_limits<double>::max();
  double level = std::numeric_limits<double>::max();
};

double TimeOf(const std::function<void()>& run) {
  constexpr int kRuns = 200;
  const auto begin = std::chrono::steady_clock::now();
  for (int i = 0; i < kRuns; ++i) run();
  const std::chrono::duration<double, std::nano> took = std::chrono::steady_clock::now() - begin;
  return took.count() / (kRuns * double{kBenchCount});
}

Times Measure(const BenchItem& plain, const BenchItem& level) {
  Times times;
  for (int turn = 0; turn < 15; ++turn) {
    times.plain = std::min(times.plain, TimeOf(plain.run));
    times.level = std::min(times.level, TimeOf(level.run));
  }
  return times;
}

}  // namespace

void Bench(const Slot& slot, const Plan& plan) {
  std::vector<std::vector<BenchItem>> items;
  for (const Level& level : plan.levels) {
    const Life life(level);
    if (StateOf(slot) == VX_SlotState_NotBuilt) return;
    items.push_back(slot.items(slot.name));
  }
  const Life life(plan.levels.back());
  for (size_t l = 1; l < items.size(); ++l) {
    for (size_t i = 0; i < items[0].size(); ++i) {
      const BenchItem& plain = items[0][i];
      const BenchItem& other = items[l][i];
      if (plain.routine == other.routine) continue;
      std::printf("%-48s %-6s", plain.name.c_str(), plan.levels[l].name);
      if (!plain.run) {
        std::printf(" another routine, but nobody wrote how to time its type\n");
        continue;
      }
      const Times t = Measure(plain, other);
      std::printf(" %7.3f ns/pixel, plain %7.3f, %5.2f times as fast\n", t.level, t.plain,
                  t.plain / t.level);
    }
  }
}

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "Rounds.h"

#include <benchmark/benchmark.h>
#include <time.h>

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <random>

namespace {

double ProcessSeconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

double TimeOnce(const Contestant& contestant) {
  if (contestant.prepare) contestant.prepare();
  benchmark::ClobberMemory();  // earlier stores must be complete before the measurement
  const double begin = ProcessSeconds();
  contestant.run();
  benchmark::ClobberMemory();  // and those of the run must be complete before its end
  return ProcessSeconds() - begin;
}

// The quantile `share` (0..1), interpolated linearly between the two nearest values.
double Quantile(std::vector<double> values, double share) {
  std::sort(values.begin(), values.end());
  const double place = share * static_cast<double>(values.size() - 1);
  const auto below = static_cast<size_t>(place);
  const size_t above = std::min(below + 1, values.size() - 1);
  return values[below] + (place - static_cast<double>(below)) * (values[above] - values[below]);
}

}  // namespace

double Timing::Median() const { return Quantile(seconds, 0.5); }

double Timing::Spread() const {
  return 0.5 * (Quantile(seconds, 0.75) - Quantile(seconds, 0.25)) / Median();
}

std::vector<Timing> RunRounds(const std::vector<Contestant>& contestants, int rounds) {
  std::vector<Timing> timings(contestants.size());
  for (const Contestant& contestant : contestants) TimeOnce(contestant);
  std::vector<size_t> order(contestants.size());
  std::iota(order.begin(), order.end(), size_t{0});
  std::mt19937 random(1);
  for (int round = 0; round < rounds; ++round) {
    std::shuffle(order.begin(), order.end(), random);
    for (const size_t who : order) timings[who].seconds.push_back(TimeOnce(contestants[who]));
  }
  return timings;
}

double TimesFaster(const Timing& a, const Timing& b) {
  std::vector<double> ratios;
  for (size_t i = 0; i < a.seconds.size(); ++i) ratios.push_back(b.seconds[i] / a.seconds[i]);
  return Quantile(ratios, 0.5);
}

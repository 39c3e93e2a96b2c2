// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Measures several contestants alternately, to compare their speeds.
//
// The speed of a machine changes within seconds, by its temperature and by other programs, and the
// change can be larger than the difference to be measured. A benchmark library measures one
// contestant completely before the next, so that minutes may pass between the two.
//
// Here each round runs all contestants of a row once, within milliseconds and in random order (a
// contestant finds the caches as its predecessor left them). The ratio of two contestants is
// computed per round; the median of all rounds is printed. Times are the processor time of all
// threads of this process: other programs do not count, and a library does not gain by using
// several threads.

#include <functional>
#include <vector>

struct Contestant {
  std::function<void()> prepare;  // not timed; may be empty
  std::function<void()> run;
};

struct Timing {
  std::vector<double> seconds;  // one per round

  double Median() const;
  // Half of the interquartile range, divided by the median.
  double Spread() const;
};

// Runs one round that is not counted, then `rounds` rounds. The results have the order of the
// contestants.
std::vector<Timing> RunRounds(const std::vector<Contestant>& contestants, int rounds);

// How many times faster `a` is than `b`: the median of the ratios of all rounds.
double TimesFaster(const Timing& a, const Timing& b);

// Hides from the compiler which function a pointer refers to, so that it cannot be inlined: callers
// of the library cannot inline it either.
template <class Function>
Function Opaque(Function function) {
  Function volatile hidden = function;
  return hidden;
}

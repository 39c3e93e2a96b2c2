// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Contestants that run by turns.
//
// The figures that count here are ratios. A machine's speed moves with its heat, its neighbours and
// the state of its memory, over seconds and by more than some of the differences that are looked
// for. A benchmark library times one contestant to the end and then the next, or mixes the
// repetitions of all rows of the whole run, so the two sides of a ratio can be minutes apart. Here
// all contestants of a row run once a round, a few milliseconds after each other and each time in
// another order, since each finds the caches as the one before left them; the ratio is taken within
// the round, and the median over the rounds is shown. Time is that of this process on all
// processors, so what other programs take meanwhile is not counted, and a library that works on
// threads of its own gains nothing by them.

#include <functional>
#include <vector>

struct Contestant {
  std::function<void()> prepare;  // not timed; may be empty
  std::function<void()> run;
};

struct Timing {
  std::vector<double> seconds;  // by round

  double Median() const;
  // Half the width of the middle half of the rounds, as a share of the median.
  double Spread() const;
};

// One round before those that count warms everything up. Timings stand in the order of contestants.
std::vector<Timing> RunRounds(const std::vector<Contestant>& contestants, int rounds);

// How many times faster `a` is than `b`: the median of the rounds' ratios.
double TimesFaster(const Timing& a, const Timing& b);

// A compiler that knows which function a pointer holds could inline it; a caller of the library can
// not.
template <class Function>
Function Opaque(Function function) {
  Function volatile hidden = function;
  return hidden;
}

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
//
// T: times as fractions.
#pragma once

#include <cstdint>

// The time value / scale, in seconds. With scale 0 a positive value is later than all other times,
// a negative value is earlier, and the value 0 is the time 0.
struct T_Time {
  int32_t value;
  uint32_t scale;
};

// Exact comparisons; thread-safe. Times of different scales may be equivalent: 1/2 and 2/4.
inline bool operator<(T_Time a, T_Time b) {
  const auto beyond = [](T_Time t) {  // -1 and 1: before and after all times with a scale
    return t.scale != 0 ? 0 : (t.value > 0) - (t.value < 0);
  };
  if (beyond(a) != 0 || beyond(b) != 0) return beyond(a) < beyond(b);
  // The products have at most 63 bits.
  return int64_t{a.value} * (b.scale != 0 ? b.scale : 1) <
         int64_t{b.value} * (a.scale != 0 ? a.scale : 1);
}
inline bool operator>(T_Time a, T_Time b) { return b < a; }

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The sums of a running window over lines with extreme float values: NaN, infinities, and
// magnitudes from 65504 (the largest half float) on. In the running sums of VXp_RunningSums.h such
// a value has an effect after it has left the window: NaN and infinities remain, and a large value
// has removed the low bits of the others. The sums of this file depend only on the values in the
// window. They are several times slower, so they are used in a second run of the pass, for lines
// with extreme values only. Other lines keep the bits of the first run.

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#include "filters/VXp_BoxEngine.h"
#include "frame/VXp_Rows.h"

inline constexpr int32_t kVXp_ExtremeBits = 0x477FE000;  // 65504.0f; larger for NaN and infinity

// Returns whether a float is extreme, given its bits. For lanes, returns the result of each lane.
template <class Bits>
auto VXp_AreExtreme(Bits bits) {
  return (bits & INT32_MAX) >= kVXp_ExtremeBits;
}
inline bool VXp_AnyExtreme(const float* values, int32_t count) {
  int32_t any = 0;
  for (int32_t i = 0; i < count; ++i) {
    any |= static_cast<int32_t>(VXp_AreExtreme(std::bit_cast<int32_t>(values[i])));
  }
  return any != 0;
}

// The sum of one channel. Finite values are added in double. Others are counted.
class VXp_RestartedSum {
 public:
  // Adds a value that enters the window `times` times; -1 if it leaves.
  void Add(float v, int64_t times) {
    if (std::isfinite(v)) {
      sum_ += static_cast<double>(v) * static_cast<double>(times);
      largest_ = std::max(largest_, std::abs(sum_));
    } else {
      (std::isnan(v) ? nans_ : v > 0 ? positive_ : negative_) += times;
    }
  }

  // Returns whether the sum must be computed again, because rounding errors of an earlier, larger
  // sum may be visible in it. Each error is at most 2^-53 of the largest sum. Up to a ratio of 256,
  // the errors of 10000 values are below 2^-31 of the present sum.
  bool IsWorn() const { return std::abs(sum_) * 256 < largest_; }

  double Finite() const { return sum_; }

  // Returns the sum of the infinities and NaN in the window, or 0.
  double NotFinite() const {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    if (nans_ > 0) return std::numeric_limits<double>::quiet_NaN();
    return (positive_ > 0 ? kInfinity : 0.0) - (negative_ > 0 ? kInfinity : 0.0);
  }

 private:
  double sum_ = 0, largest_ = 0;
  int64_t nans_ = 0, positive_ = 0, negative_ = 0;
};

// The window of one line of a pass. A value of the line has kChannels floats.
template <int32_t kChannels>
class VXp_RestartedWindow {
 public:
  VXp_RestartedWindow(const VXp_BoxPass& pass, int32_t line)
      : pass_(pass), offset_(line * kChannels * kFloat) {
    for (int32_t c = 0; c < kChannels; ++c) sums_[c] = SumAt(pass.out.start - 1, c);
  }

  // Returns whether extreme values are in a window of the line.
  bool HasExtremes() const {
    const VXp_BoxInput& in = pass_.in;
    const int64_t start = std::max(in.start, pass_.out.start - 1 - pass_.window.reach);
    const int64_t end = std::min(in.end, pass_.out.end + pass_.window.reach);
    int32_t any = 0;
    const char* at = in.data + (start - in.start) * in.stride;
    for (int64_t p = start; p < end && any == 0; ++p, at += in.stride) {
      for (int32_t c = 0; c < kChannels; ++c)
        any |= VXp_AreExtreme(std::bit_cast<int32_t>(Value(at, c)));
    }
    return any != 0;
  }

  // Moves the window along the line. At each position of the output calls write(position, divisor),
  // unless the whole window is outside of the line.
  template <class Write>
  void Run(const Write& write) {
    for (int64_t p = pass_.out.start; p < pass_.out.end;) {
      const VXp_BoxSpan span = VXp_BoxSpanAt(pass_, p);
      int32_t divisor = span.divisor;
      VXp_ForBoxPositions(span, pass_.out.stride, [&](const VXp_BoxPosition& at) {
        for (int32_t c = 0; c < kChannels; ++c) {
          sums_[c].Add(Value(at.entering, c), 1);
          sums_[c].Add(Value(at.leaving, c), -1);
          if (sums_[c].IsWorn()) sums_[c] = SumAt(p, c);
        }
        if (!span.blank) write(at, divisor);
        divisor += span.divisor_step;
        ++p;
      });
    }
  }

  // Returns the numerator N of VXp_BoxEngine.h. A value that is not finite makes it infinite or NaN
  // if its weight is not 0.
  double Numerator(const VXp_BoxPosition& at, int32_t c) const {
    const auto& [reach, outer_at, unit, outer] = pass_.window;
    double sum = unit * sums_[c].Finite() + sums_[c].NotFinite();
    if (outer == 0) return sum;
    for (const char* address : {at.leading, at.trailing}) {
      const float v = Value(address, c);
      const bool counted = outer_at == reach && !std::isfinite(v);
      if (!counted) sum += outer * static_cast<double>(v);
    }
    return sum;
  }

 private:
  static constexpr auto kFloat = static_cast<ptrdiff_t>(sizeof(float));

  float Value(const char* at, int32_t c) const {
    return VXp_Load<float>(at + offset_ + c * kFloat);
  }

  VXp_RestartedSum SumAt(int64_t position, int32_t c) const {
    const VXp_BoxRange range = VXp_BoxRangeAt(pass_, position);
    VXp_RestartedSum sum;
    const auto repeat = [&](const VXp_BoxOutside& outside, int64_t times) {
      if (outside.edge != VXp_BoxEdge::kRepeated || times == 0) return;
      sum.Add(Value(outside.repeated, c), times);
    };
    repeat(pass_.before, range.before);
    const char* at = pass_.in.data + (range.start - pass_.in.start) * pass_.in.stride;
    for (int64_t p = range.start; p < range.end; ++p, at += pass_.in.stride) {
      sum.Add(Value(at, c), 1);
    }
    repeat(pass_.after, range.after);
    return sum;
  }

  const VXp_BoxPass& pass_;
  ptrdiff_t offset_;
  VXp_RestartedSum sums_[kChannels];
};

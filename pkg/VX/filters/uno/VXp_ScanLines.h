// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Scans over a line, and over a bundle of lines that stand side by side, from scratch to where the
// samples go. The cost of a box does not depend on its width: what lies beyond the line is not laid
// out but read from one place.

#include <algorithm>
#include <cstring>

#include "filters/uno/VXp_ScanKernel.h"
#include "filters/uno/VXp_ScanPlan.h"
#include "filters/uno/VXp_ScanSums.h"

// Lines of a bundle, at most: one or two cache lines of a row.
template <class Sample>
inline constexpr int32_t kVXp_ScanLines = sizeof(Sample) == 1 ? 64 : 32;

// Places of a single line that are made at once; as many as the lines of any bundle.
inline constexpr int32_t kVXp_ScanBlock = 64;

// The samples of a plan's places, behind each other: `lines` of each place side by side.
template <class Sample>
struct VXp_ScanInput {
  const Sample* Row(int64_t place, const VXp_ScanPlan& plan) const {
    return data + (place - plan.from) * lines;
  }

  const Sample* data;  // of plan.from
  int32_t lines;
};

// Where the written places go. Rows of buffers may start at any byte.
struct VXp_ScanOutput {
  char* data;        // of plan.first
  ptrdiff_t stride;  // from place to place
};

// Whether the places of a single line go out side by side.
template <class Sample>
bool VXp_RunsAlong(int32_t lines, const VXp_ScanOutput& out) {
  return lines == 1 && out.stride == static_cast<ptrdiff_t>(sizeof(Sample));
}

// --- boxes ---------------------------------------------------------------------------------------

// A run of places for which the same parts of the window lie inside the line. A part outside has a
// step of 0, and a block of equal samples or a row of samples to be read again and again.
template <class Sample>
struct VXp_BoxSpan {
  struct Part {
    const Sample* data;
    int64_t step;
  };

  int64_t to;
  Part entering, left, right;  // p + half, p - half - 1, p + half + 1; the left one leaves
  int64_t divisor;
};

template <class Sample>
class VXp_BoxScan {
 public:
  VXp_BoxScan(const VXp_ScanPlan& plan, const VXp_ScanInput<Sample>& in)
      : plan_(plan), in_(in), unit_(plan.road == VXp_ScanRoad::kBoxes ? kVXp_ScanUnit : 1) {
    Beyond(plan.holds_before, in.Row(plan.from, plan), before_);
    Beyond(plan.holds_after, in.Row(plan.to - 1, plan), after_);
  }

  // One pass.
  void Run(const VXp_ScanOutput& out) const {
    if (VXp_RunsAlong<Sample>(in_.lines, out)) {
      Along(out);
    } else if (in_.lines == kVXp_ScanLines<Sample>) {
      Across<kVXp_ScanLines<Sample>>(out);
    } else {
      Across<0>(out);
    }
  }

 private:
  using Sum = typename VXp_SlidingSum<Sample>::Sum;
  using Span = VXp_BoxSpan<Sample>;
  using Part = typename Span::Part;

  void Beyond(bool holds, const Sample* row, Sample* block) const {
    if (holds && in_.lines > 1) {
      std::copy_n(row, in_.lines, block);
    } else {
      std::fill_n(block, kVXp_ScanBlock, holds ? *row : Sample{0});
    }
  }

  Part PartAt(int64_t place) const {
    if (place < plan_.from) return {before_, 0};
    if (place >= plan_.to) return {after_, 0};
    return {in_.Row(place, plan_), in_.lines};
  }

  Span SpanAt(int64_t p) const {
    const int64_t half = plan_.half;
    Span span{plan_.last, PartAt(p + half), PartAt(p - half - 1), PartAt(p + half + 1), 0};
    for (const int64_t edge : {plan_.from + half + 1, plan_.to - half - 1, plan_.to - half}) {
      if (edge > p) span.to = std::min(span.to, edge);
    }
    span.divisor = (2 * half + 1) * unit_;
    if (plan_.holds_before || p - half - 1 >= plan_.from) span.divisor += plan_.outer;
    if (plan_.holds_after || p + half + 1 < plan_.to) span.divisor += plan_.outer;
    return span;
  }

  VXp_BoxQuotient<Sample> QuotientOf(const Span& span) const {
    return {unit_, plan_.outer, span.divisor};
  }

  // The window about the place before the first one.
  VXp_SlidingSum<Sample> FirstSum(int32_t line) const {
    const int64_t low = plan_.first - 1 - plan_.half, high = plan_.first + plan_.half;
    const int64_t start = std::clamp(plan_.from, low, high);
    const int64_t end = std::clamp(plan_.to, low, high);
    VXp_SlidingSum<Sample> sum;
    sum.Enter(before_[line], start - low);
    const Sample* sample = in_.Row(start, plan_) + line;
    for (int64_t p = start; p < end; ++p, sample += in_.lines) sum.Enter(*sample);
    sum.Enter(after_[line], high - end);
    return sum;
  }

  void Along(const VXp_ScanOutput& out) const {
    VXp_SlidingSum<Sample> state = FirstSum(0);
    Sum sums[kVXp_ScanBlock];
    Sample samples[kVXp_ScanBlock];
    char* to = out.data;
    for (int64_t p = plan_.first; p < plan_.last;) {
      Span span = SpanAt(p);
      const VXp_BoxQuotient<Sample> quotient = QuotientOf(span);
      while (p < span.to) {
        const auto count = static_cast<int32_t>(std::min<int64_t>(span.to - p, kVXp_ScanBlock));
        VXp_SlideAlong(span.entering.data, span.left.data, count, state, sums);
        quotient(sums, span.left.data, span.right.data, count, samples);
        const size_t bytes = static_cast<size_t>(count) * sizeof(Sample);
        std::memcpy(to, samples, bytes);
        to += bytes;
        for (Part* part : {&span.entering, &span.left, &span.right}) {
          part->data += part->step * count;
        }
        p += count;
      }
    }
  }

  // kLines 0: any number of lines.
  template <int32_t kLines>
  void Across(const VXp_ScanOutput& out) const {
    const int32_t lines = kLines != 0 ? kLines : in_.lines;
    Sum sums[kVXp_ScanBlock];
    double held[kVXp_ScanBlock];
    for (int32_t l = 0; l < lines; ++l) {
      const VXp_SlidingSum<Sample> first = FirstSum(l);
      sums[l] = first.sum;
      if constexpr (std::is_same_v<Sample, float>) held[l] = first.held;
    }
    Sample samples[kVXp_ScanBlock];
    char* to = out.data;
    for (int64_t p = plan_.first; p < plan_.last;) {
      Span span = SpanAt(p);
      const VXp_BoxQuotient<Sample> quotient = QuotientOf(span);
      for (; p < span.to; ++p, to += out.stride) {
        VXp_SlideAcross(span.entering.data, span.left.data, lines, sums, held);
        quotient(sums, span.left.data, span.right.data, lines, samples);
        std::memcpy(to, samples, static_cast<size_t>(lines) * sizeof(Sample));
        for (Part* part : {&span.entering, &span.left, &span.right}) part->data += part->step;
      }
    }
  }

  const VXp_ScanPlan& plan_;
  const VXp_ScanInput<Sample> in_;
  const int32_t unit_;  // weight of a whole sample
  Sample before_[kVXp_ScanBlock], after_[kVXp_ScanBlock];
};

// --- Gaussian ------------------------------------------------------------------------------------

// Here the window's places beyond the line are laid out: the input begins with plan.first - half
// and ends with plan.last + half.
template <class Sample>
void VXp_GaussianScan(const VXp_ScanPlan& plan, const VXp_ScanKernel& kernel, const Sample* in,
                      int32_t lines, const VXp_ScanOutput& out) {
  constexpr int32_t kBlock = kVXp_GaussianBlock;
  const VXp_GaussianQuotient<Sample> quotient(kernel.sum);
  const int32_t* const weights = kernel.Middle();
  const Sample* const first = in + plan.half * lines;
  const auto block = [&](const Sample* from, int64_t left, char* to) {
    const auto count = static_cast<int32_t>(std::min<int64_t>(left, kBlock));
    Sample samples[kBlock];
    VXp_GaussianMeans(from, ptrdiff_t{lines}, weights, plan.half, quotient, count, samples);
    std::memcpy(to, samples, static_cast<size_t>(count) * sizeof(Sample));
  };
  const int64_t places = plan.last - plan.first;
  // Places of one line, or the lines of a place, stand side by side.
  const bool along = VXp_RunsAlong<Sample>(lines, out);
  const int64_t runs = along ? 1 : places, length = along ? places : lines;
  for (int64_t run = 0; run < runs; ++run) {
    const Sample* const from = first + run * lines;
    char* const to = out.data + run * out.stride;
    for (int64_t i = 0; i < length; i += kBlock) {
      block(from + i, length - i, to + i * static_cast<int64_t>(sizeof(Sample)));
    }
  }
}

// --- scratch -------------------------------------------------------------------------------------

// `lines` samples of each place of a line, `stride` bytes apart.
struct VXp_ScanSource {
  const char* Row(int64_t place) const { return data + place * stride; }

  const char* data;  // of place 0
  ptrdiff_t stride;
};

// The places first..last, which lie within the line.
template <class Sample>
void VXp_CopyPlaces(const VXp_ScanSource& line, int32_t lines, int64_t first, int64_t last,
                    Sample* scratch) {
  const size_t bytes = static_cast<size_t>(lines) * sizeof(Sample);
  if (line.stride == static_cast<ptrdiff_t>(bytes)) {
    std::memcpy(scratch, line.Row(first), bytes * static_cast<size_t>(last - first));
    return;
  }
  for (int64_t p = first; p < last; ++p, scratch += lines) std::memcpy(scratch, line.Row(p), bytes);
}

// As the Gaussian takes them: the ends of the line are repeated beyond it.
template <class Sample>
void VXp_LayOutPlaces(const VXp_ScanPlan& plan, const VXp_ScanSource& line, int32_t lines,
                      Sample* scratch) {
  const auto repeat = [&](const Sample* row, int64_t times, Sample* to) {
    for (int64_t i = 0; i < times; ++i) std::copy_n(row, lines, to + i * lines);
  };
  const int64_t before = plan.from - (plan.first - plan.half);
  const int64_t after = plan.last + plan.half - plan.to;
  Sample* const first = scratch + before * lines;
  Sample* const end = first + (plan.to - plan.from) * lines;
  VXp_CopyPlaces(line, lines, plan.from, plan.to, first);
  repeat(first, before, scratch);
  repeat(end - lines, after, end);
}

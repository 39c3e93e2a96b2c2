// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Executes scans over lines of samples, with the engines of VXp_BoxEngine.h and VXp_GaussianSums.h.

#include <algorithm>
#include <cstring>

#include "filters/VXp_BoxEngine.h"
#include "filters/VXp_GaussianSums.h"
#include "filters/VXp_RunningSums.h"
#include "filters/uno/VXp_Scan.h"

namespace {

// The number of positions of a single line that are computed at once. At least the number of lines
// that are scanned together, because both use the same buffers.
constexpr int32_t kBlock = 64;

template <class Sample>
constexpr auto kBytes = static_cast<ptrdiff_t>(sizeof(Sample));

template <class Sample>
const Sample* Samples(const char* at) {
  return reinterpret_cast<const Sample*>(at);
}

// --- boxes ---------------------------------------------------------------------------------------

// The quotient (S * unit + O * outer + bias) / divisor, truncated at integer depths. For integers
// the bias is 128 for soft boxes and 0 for plain ones, plus 1/2. The 1/2 ensures that rounding
// errors do not make an integer quotient smaller; any other quotient is at least 1 / divisor below
// the next integer. The terms are below 2^40 / divisor, so rounding errors are much smaller than
// 1/2 / divisor. Float has no bias.
template <class Sample>
struct BoxQuotient {
  BoxQuotient(int32_t scale, int32_t outer, int64_t total)
      : unit(scale / static_cast<double>(total)),
        weight(outer / static_cast<double>(total)),
        bias(((scale == 1 ? 0 : 128) + 0.5 + scale * kOffset) / static_cast<double>(total)) {}

  void operator()(const uint32_t* sums, const Sample* left, const Sample* right, int32_t count,
                  Sample* __restrict out) const {
    for (int32_t i = 0; i < count; ++i) {
      const auto sum = static_cast<int32_t>(sums[i] - 0x80000000u);
      const int32_t ends = int32_t{left[i]} + int32_t{right[i]};
      out[i] = static_cast<Sample>(static_cast<int32_t>(sum * unit + ends * weight + bias));
    }
  }

  // kOffset is subtracted from the sums and added again in `bias`, because only signed integers are
  // converted to double by one instruction.
  static constexpr double kOffset = 2147483648.0;
  double unit, weight, bias;
};

template <>
struct BoxQuotient<float> {
  BoxQuotient(int32_t scale, int32_t outer, int64_t total)
      : unit(scale), weight(outer), divisor(static_cast<double>(total)) {}

  void operator()(const double* sums, const float* left, const float* right, int32_t count,
                  float* __restrict out) const {
    for (int32_t i = 0; i < count; ++i) {
      const double ends = static_cast<double>(left[i]) + static_cast<double>(right[i]);
      out[i] = static_cast<float>((sums[i] * unit + ends * weight) / divisor);
    }
  }

  double unit, weight, divisor;
};

// One box pass. Reads the positions from..to - 1 of the plan from scratch, where the values of all
// lines at one position are adjacent.
template <class Sample>
class BoxScan {
 public:
  BoxScan(const VXp_ScanPlan& plan, const Sample* in, int32_t lines, char* out, ptrdiff_t stride) {
    const bool soft = plan.kind == VXp_ScanKind::kSoftBox;
    const ptrdiff_t in_stride = lines * kBytes<Sample>;
    Hold(in, lines, before_);
    Hold(in + (plan.to - plan.from - 1) * lines, lines, after_);
    const auto outside = [](bool holds, const Sample* block) {
      return VXp_BoxOutside{holds ? VXp_BoxEdge::kRepeated : VXp_BoxEdge::kFade,
                            reinterpret_cast<const char*>(block)};
    };
    pass_ = {{plan.half, plan.half + 1, soft ? kVXp_ScanUnit : 1, plan.outer},
             outside(plan.repeats_before, before_),
             outside(plan.repeats_after, after_),
             lines,
             {reinterpret_cast<const char*>(in), in_stride, plan.from, plan.to},
             {out, stride, kBytes<Sample>, plan.first, plan.last},
             0,
             false};
  }

  void Run() {
    if (pass_.lines == 1 && pass_.out.stride == kBytes<Sample>) {
      Along();
    } else if (pass_.lines == kVXp_ScanLines<Sample>) {
      Across<kVXp_ScanLines<Sample>>();
    } else {
      Across<0>();
    }
    if constexpr (kFloat) {
      for (int32_t line = 0; extremes_ && line < pass_.lines; ++line) Repeat(line);
    }
  }

 private:
  using Sum = typename VXp_SampleSum<Sample>::Sum;
  static constexpr bool kFloat = std::is_same_v<Sample, float>;

  // Records whether values that enter a window are extreme (VXp_RestartedSums.h).
  void Inspect(const Sample* entering, int32_t count) {
    if constexpr (kFloat) extremes_ |= VXp_AnyExtreme(entering, count);
  }

  // Computes a line again if it contains extreme values (VXp_RestartedSums.h).
  void Repeat(int32_t line) const {
    VXp_RestartedWindow<1> window(pass_, line);
    if (!window.HasExtremes()) return;
    window.Run([&](const VXp_BoxPosition& at, int32_t divisor) {
      const double mean = window.Numerator(at, 0) / divisor;
      VXp_Store(at.out + line * kBytes<Sample>, static_cast<float>(mean));
    });
  }

  // Stores the values that are repeated outside of the lines. For a single line, a block of
  // positions is filled with the same value.
  static void Hold(const Sample* row, int32_t lines, Sample* block) {
    if (lines > 1) {
      std::copy_n(row, lines, block);
    } else {
      std::fill_n(block, kBlock, *row);
    }
  }

  BoxQuotient<Sample> QuotientOf(const VXp_BoxSpan& span) const {
    return {pass_.window.unit, pass_.window.outer, span.divisor};
  }

  VXp_SampleSum<Sample> FirstSum(int32_t line) {
    const VXp_BoxRange range = VXp_BoxFirstSum(pass_);
    const auto repeated = [&](const VXp_BoxOutside& outside, const Sample* block) {
      return outside.edge == VXp_BoxEdge::kRepeated ? block[line] : Sample{0};
    };
    VXp_SampleSum<Sample> sum;
    sum.Enter(repeated(pass_.before, before_), range.before);
    const char* at = pass_.in.data + (range.start - pass_.in.start) * pass_.in.stride;
    for (int64_t p = range.start; p < range.end; ++p, at += pass_.in.stride) {
      Inspect(Samples<Sample>(at) + line, 1);
      sum.Enter(Samples<Sample>(at)[line], 1);
    }
    sum.Enter(repeated(pass_.after, after_), range.after);
    return sum;
  }

  void Along() {
    VXp_SampleSum<Sample> state = FirstSum(0);
    Sum sums[kBlock];
    Sample samples[kBlock];
    for (int64_t p = pass_.out.start; p < pass_.out.end;) {
      VXp_BoxSpan span = VXp_BoxSpanAt(pass_, p);
      const BoxQuotient<Sample> quotient = QuotientOf(span);
      for (int64_t left = span.count; left > 0; left -= kBlock) {
        const auto count = static_cast<int32_t>(std::min<int64_t>(left, kBlock));
        const Sample* const entering = Samples<Sample>(span.entering.data);
        const Sample* const leaving = Samples<Sample>(span.leaving.data);
        Inspect(entering, count);
        VXp_SlideAlong(entering, leaving, count, state, sums);
        quotient(sums, leaving, Samples<Sample>(span.leading.data), count, samples);
        std::memcpy(span.out, samples, static_cast<size_t>(count * kBytes<Sample>));
        span.out += count * kBytes<Sample>;
        for (auto* part : {&span.entering, &span.leaving, &span.leading}) {
          part->data += part->stride * count;
        }
      }
      p += span.count;
    }
  }

  // kLines is the number of lines, or 0 for any number.
  template <int32_t kLines>
  void Across() {
    const int32_t lines = kLines != 0 ? kLines : pass_.lines;
    Sum sums[kBlock];
    double nonzero[kBlock];
    for (int32_t l = 0; l < lines; ++l) {
      const VXp_SampleSum<Sample> first = FirstSum(l);
      sums[l] = first.sum;
      nonzero[l] = first.nonzero;
    }
    Sample samples[kBlock];
    for (int64_t p = pass_.out.start; p < pass_.out.end;) {
      const VXp_BoxSpan span = VXp_BoxSpanAt(pass_, p);
      const BoxQuotient<Sample> quotient = QuotientOf(span);
      VXp_ForBoxPositions(span, pass_.out.stride, [&](const VXp_BoxPosition& at) {
        const Sample* const entering = Samples<Sample>(at.entering);
        const Sample* const leaving = Samples<Sample>(at.leaving);
        Inspect(entering, lines);
        VXp_SlideAcross(entering, leaving, lines, sums, nonzero);
        quotient(sums, leaving, Samples<Sample>(at.leading), lines, samples);
        std::memcpy(at.out, samples, static_cast<size_t>(lines * kBytes<Sample>));
      });
      p += span.count;
    }
  }

  VXp_BoxPass pass_;
  Sample before_[kBlock], after_[kBlock];
  bool extremes_ = false;
};

// --- Gaussian ------------------------------------------------------------------------------------

// Returns the weights for sums. Normalised weights are at most 765: for a radius close to 0 the
// centre has the weight of all three positions. So the products of 32 distances of 16-bit samples
// (65 * 765 * 32768 < 2^31) and of 4096 distances of bytes fit 32 bits.
template <class Sample>
VXp_Taps TapsOf(const VXp_ScanKernel& kernel) {
  return {kernel.Weights(), kernel.reach, kernel.sum, sizeof(Sample) == 1 ? 4096 : 32};
}

// Computes the means of `count` adjacent windows in blocks. If the last block is not full, it
// begins earlier and overlaps the one before, because full blocks are faster.
template <class Sample, class Write>
void GaussianMeans(const Sample* c, ptrdiff_t step, const VXp_Taps& taps, int64_t count,
                   const Write& write) {
  constexpr int32_t kSums = kVXp_SumBlock<Sample>;
  const VXp_GaussianQuotient<Sample> quotient(taps.total);
  for (int64_t i = 0; i < count; i += kSums) {
    const int64_t at = std::max<int64_t>(std::min(i, count - kSums), 0);
    const auto size = static_cast<int32_t>(std::min<int64_t>(count, kSums));
    VXp_GaussianSum<Sample> sums[kSums];
    Sample samples[kSums];
    VXp_GaussianSums<Sample>(c + at, step, taps, size, sums);
    for (int32_t j = 0; j < size; ++j) {
      if constexpr (std::is_same_v<Sample, float>) {
        samples[j] = static_cast<float>(quotient(sums[j]));
      } else {
        samples[j] = static_cast<Sample>(static_cast<int32_t>(quotient(sums[j])));
      }
    }
    write(at, samples, size);
  }
}

// Stores the Gaussian means of the positions plan.first to plan.last - 1 at `out`. `in` contains
// the positions plan.first - plan.half to plan.last - 1 + plan.half.
template <class Sample>
void GaussianScan(const VXp_ScanPlan& plan, const VXp_Taps& taps, const Sample* in, int32_t lines,
                  char* out, ptrdiff_t stride) {
  const Sample* const first = in + plan.half * lines;
  const int64_t positions = plan.last - plan.first;
  // A run is a sequence of values that are adjacent in `out`: those of a single line, or those of
  // all lines at one position.
  const bool along = lines == 1 && stride == kBytes<Sample>;
  const int64_t runs = along ? 1 : positions, length = along ? positions : lines;
  for (int64_t run = 0; run < runs; ++run) {
    char* const to = out + run * stride;
    GaussianMeans(first + run * lines, lines, taps, length,
                  [to](int64_t at, const Sample* samples, int32_t count) {
                    std::memcpy(to + at * kBytes<Sample>, samples,
                                static_cast<size_t>(count * kBytes<Sample>));
                  });
  }
}

// --- scratch -------------------------------------------------------------------------------------

// Copies the positions from..to - 1 of a plan.
template <class Sample>
void CopyPositions(const VXp_ScanPlan& plan, const VXp_ScanLines& lines, Sample* scratch) {
  const ptrdiff_t bytes = lines.lines * kBytes<Sample>;
  const char* position = lines.data + plan.from * lines.stride;
  const int64_t count = plan.to - plan.from;
  if (lines.stride == bytes) {
    std::memcpy(scratch, position, static_cast<size_t>(bytes * count));
    return;
  }
  for (int64_t i = 0; i < count; ++i, position += lines.stride, scratch += lines.lines) {
    std::memcpy(scratch, position, static_cast<size_t>(bytes));
  }
}

// Copies the positions that a Gaussian window reads; outside of the line its end values are
// repeated.
template <class Sample>
void CopyRepeatedPositions(const VXp_ScanPlan& plan, const VXp_ScanLines& lines, Sample* scratch) {
  const int32_t n = lines.lines;
  const auto repeat = [n](const Sample* row, int64_t times, Sample* to) {
    for (int64_t i = 0; i < times; ++i) std::copy_n(row, n, to + i * n);
  };
  const int64_t before = plan.from - (plan.first - plan.half);
  const int64_t after = plan.last + plan.half - plan.to;
  Sample* const first = scratch + before * n;
  Sample* const end = first + (plan.to - plan.from) * n;
  CopyPositions(plan, lines, first);
  repeat(first, before, scratch);
  repeat(end - n, after, end);
}

}  // namespace

template <class Sample>
void VXp_RunScan(const VXp_ScanPlan& plan, const VXp_ScanKernel* kernel, const VXp_ScanLines& lines,
                 Sample* scratch, Sample* second) {
  char* const out = lines.data + plan.first * lines.stride;
  if (plan.kind == VXp_ScanKind::kNone) return;
  if (plan.kind == VXp_ScanKind::kGaussian) {
    CopyRepeatedPositions(plan, lines, scratch);
    GaussianScan(plan, TapsOf<Sample>(*kernel), scratch, lines.lines, out, lines.stride);
    return;
  }
  for (int32_t pass = 1; pass <= plan.passes; ++pass) {
    if (pass == 1 || second == nullptr) CopyPositions(plan, lines, scratch);
    if (pass == plan.passes || second == nullptr) {
      BoxScan<Sample>(plan, scratch, lines.lines, out, lines.stride).Run();
    } else {
      BoxScan<Sample>(plan, scratch, lines.lines, reinterpret_cast<char*>(second),
                      lines.lines * kBytes<Sample>)
          .Run();
      std::swap(scratch, second);
    }
  }
}

#define VX_SCAN(Sample)                                                                       \
  template void VXp_RunScan(const VXp_ScanPlan&, const VXp_ScanKernel*, const VXp_ScanLines&, \
                            Sample*, Sample*);
VX_SCAN(uint8_t)
VX_SCAN(uint16_t)
VX_SCAN(float)
#undef VX_SCAN

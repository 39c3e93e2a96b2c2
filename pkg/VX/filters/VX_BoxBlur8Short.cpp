// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The 8-bit box pass for short windows with a whole radius.

#include "filters/VX_BoxBlurT.h"

namespace {

constexpr int32_t kGroup = kVXp_TargetLanes;  // lines, with one pixel in each 32-bit lane
constexpr int32_t kLongestShort = 127;
using Halves = VXp_Lanes<uint16_t, 2 * kGroup>;
using Ints = VXp_Lanes<int32_t, kGroup>;
using Words = VXp_Lanes<uint32_t, kGroup>;

// Returns whether ShortRun supports a pass: the weights are 1 and the sums fit 16 bits.
bool IsShort(const VXp_BoxPass& pass) {
  const int64_t total = pass.window.Total();
  return pass.window.outer == 0 && total > 1 && total <= kLongestShort &&
         (pass.flags & VX_Blur_AllChannels) == VX_Blur_AllChannels;
}

// Divides sums by d, 1..127, and rounds to nearest, half up. This is the mean of VXp_BoxMean: the
// exact quotient plus 1/2 is an integer or at least 1 / (2 d) below the next integer, which is more
// than the rounding errors in single precision. With n = sum + d / 2, the quotient n / d is
// computed as (n m) >> (16 + k), where m is 2^(16 + k) / d rounded up, and 2^k < d <= 2^(k + 1).
// This product is too large by less than n / 2^(16 + k), which is below 255.5 d / (2^15 d), so
// below 1 / d if d < 128.
struct ShortDivisor {
  explicit ShortDivisor(uint32_t d) : half(static_cast<uint16_t>(d / 2)) {
    while (d > 2u << shift) ++shift;
    factor = static_cast<uint16_t>(((0x10000u << shift) + d - 1) / d);
    one = d == 1;
  }
  Halves operator()(Halves sums) const {
    return one ? sums : VXp_MulHigh(sums + half, Halves{} + factor) >> shift;
  }

  uint16_t half, factor;
  int32_t shift = 0;
  bool one;
};

// A pass over groups of lines, with sums in 16-bit lanes: `even` of alpha and green, `odd` of red
// and blue.
class ShortRun {
 public:
  ShortRun(const VXp_BoxPass& pass, int32_t groups) : pass_(pass), groups_(groups) {}

  void operator()() {
    const VXp_BoxRange range = VXp_BoxFirstSum(pass_);
    const char* pixel = pass_.in.data + (range.start - pass_.in.start) * pass_.in.stride;
    for (int64_t p = range.start; p < range.end; ++p, pixel += pass_.in.stride) {
      for (int32_t g = 0; g < groups_; ++g) {
        const auto entering = VXp_Load<Halves>(pixel + g * kBytes);
        sums_[g].even += entering & kLow;
        sums_[g].odd += entering >> 8;
      }
    }
    for (int64_t p = pass_.out.start; p < pass_.out.end;) {
      const VXp_BoxSpan span = VXp_BoxSpanAt(pass_, p);
      pass_.premultiplied ? Span<false>(span) : Span<true>(span);
      p += span.count;
    }
  }

 private:
  static constexpr ptrdiff_t kBytes = sizeof(Halves);
  static constexpr uint16_t kLow = 0xFF;
  struct Sums {
    Halves even{}, odd{};
  };

  // A position outside of the line has zeros, so nothing is tested inside the loop.
  template <bool kStraight>
  void Span(const VXp_BoxSpan& span) {
    const VXp_BoxPrefetch prefetch(pass_, span, sizeof(VX_Pixel8));
    uint32_t total = span.blank ? 1 : static_cast<uint32_t>(span.divisor);
    ShortDivisor divide(total);
    VXp_ForBoxPositions(span, pass_.out.stride, [&](const VXp_BoxPosition& at) {
      prefetch(at);
      for (int32_t g = 0; g < groups_; ++g) {
        const auto entering = VXp_Load<Halves>(at.entering + g * kBytes);
        const auto leaving = VXp_Load<Halves>(at.leaving + g * kBytes);
        Sums& sums = sums_[g];
        sums.even += (entering & kLow) - (leaving & kLow);
        sums.odd += (entering >> 8) - (leaving >> 8);
        char* const out = at.out + g * kGroup * pass_.out.line_stride;
        if constexpr (kStraight) {
          Store(out, Straight(sums, divide(sums.even)));
        } else {
          Store(out, divide(sums.even) | divide(sums.odd) << 8);
        }
      }
      if (span.divisor_step == 0 || span.blank) return;
      total += static_cast<uint32_t>(span.divisor_step);
      if (total > 0) divide = ShortDivisor(total);
    });
  }

  // Returns straight pixels: alpha is the mean, colours are (255 c + a / 2) / a with the sums c and
  // a, at most 255; 0 if a is 0.
  static Halves Straight(const Sums& sums, Halves means) {
    const auto even = reinterpret_cast<Words>(sums.even), odd = reinterpret_cast<Words>(sums.odd);
    const auto a = reinterpret_cast<Ints>(even & 0xFFFFu);
    const VXp_FloatsLike<Ints> inverse = 1.0f / VXp_AsFloat(a);
    const auto color = [&](Words sum) {
      return reinterpret_cast<Words>(Quotient(reinterpret_cast<Ints>(sum), a, inverse));
    };
    const Words pixels = (reinterpret_cast<Words>(means) & 0xFFu) | color(odd & 0xFFFFu) << 8 |
                         color(even >> 16) << 16 | color(odd >> 16) << 24;
    return reinterpret_cast<Halves>(a == 0 ? Words{} : pixels);
  }

  // Up to 256, the quotient in single precision is exact or too small by 1, which its remainder
  // shows (compared for all sums). Sums are below 2^15 and 255 c is below 2^23, so the products of
  // integers are exact.
  static Ints Quotient(Ints c, Ints a, VXp_FloatsLike<Ints> inverse) {
    const Ints n = VXp_MulAdjacent(c, Ints{} + 255) + (a >> 1);
    Ints q = VXp_Truncated(VXp_AsFloat(n) * inverse);
    q = q < 256 ? q : Ints{} + 256;
    const Ints remainder = n - VXp_MulAdjacent(q, a);
    q -= remainder >= a;  // a comparison that is true gives -1
    return q < 255 ? q : Ints{} + 255;
  }

  void Store(char* out, Halves pixels) const {
    if (pass_.out.line_stride == sizeof(VX_Pixel8)) return VXp_Store(out, pixels);
    VX_Pixel8 each[kGroup];
    std::memcpy(each, &pixels, sizeof each);
    for (int32_t i = 0; i < kGroup; ++i) VXp_Store(out + i * pass_.out.line_stride, each[i]);
  }

  const VXp_BoxPass& pass_;
  const int32_t groups_;
  Sums sums_[kVXp_MostBoxLines<VX_Pixel8> / kGroup];
};

}  // namespace

int32_t VXp_BoxBlurShort8(const VXp_BoxPass& pass) {
  const int32_t groups = IsShort(pass) ? pass.lines / kGroup : 0;
  if (groups > 0) ShortRun(pass, groups)();
  return groups * kGroup;
}

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Convolution.
//
// A row of the destination is computed in strips. Rows of the kernels that overlap the source are
// collected until their taps fill a buffer. The source pixels that they read are copied, with zeros
// outside of the source; float pixels inside of it are read in place. Then the taps are added for a
// few pixels at a time, whose sums stay in registers. Therefore inner loops do not test for edges,
// and floats are summed in the order of the kernel.

#include "VX/VX_Convolve.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <numeric>

#include "VX/VX_OverrideTable.h"
#include "VX/VX_World.h"
#include "filters/VXp_ConvolveLanes.h"
#include "filters/VXp_FiltersBirth.h"
#include "frame/VXp_Bands.h"
#include "frame/VXp_Dispatch.h"
#include "frame/VXp_Report.h"
#include "frame/VXp_RowMemory.h"

namespace {

constexpr uint32_t kConvolveNumber = 8;

// The window around a pixel. The radius is stored in 16 bits: for sizes above 65535 it wraps, and a
// negative radius gives a window without taps.
struct Window {
  Window(int32_t flags, int32_t kernel_size) {
    const int32_t half = static_cast<int16_t>(kernel_size >> 1);
    const bool one_dimensional = (flags & VX_Kernel_OneDimensional) != 0;
    const bool vertical = (flags & VX_Kernel_Vertical) != 0;
    x_radius = one_dimensional && vertical ? 0 : half;
    y_radius = one_dimensional && !vertical ? 0 : half;
  }
  int64_t Width() const { return 2 * int64_t{x_radius} + 1; }
  int64_t Taps() const {
    return std::min(x_radius, y_radius) < 0 ? 0 : Width() * (2 * int64_t{y_radius} + 1);
  }
  int64_t Index(int64_t dx, int64_t dy) const { return (dy + y_radius) * Width() + dx + x_radius; }

  int32_t x_radius, y_radius;
};

// The offsets low..high of taps, within -radius..radius, that are inside the source (0..size - 1)
// for at least one of the positions first..last.
struct Reach {
  Reach() = default;
  Reach(int32_t radius, int32_t first, int32_t last, int32_t size)
      : low(std::max(-radius, -last)), high(std::min(radius, std::max(size, 0) - 1 - first)) {}
  bool operator==(const Reach&) const = default;

  int32_t low = 0, high = 0;
};

// Returns the divisor: 256 times the number of taps, or, with VX_Kernel_Normalize, the sum of the
// kernel, or 1 if that sum is 0.
int64_t Divisor(const Window& window, int32_t flags, const int32_t* kernel) {
  int64_t divisor = 256 * window.Taps();
  if ((flags & VX_Kernel_Normalize) != 0) {
    divisor = std::accumulate(kernel, kernel + window.Taps(), int64_t{0});
  }
  return divisor == 0 ? 1 : divisor;
}

// Computes the sums for up to kPixels neighbouring pixels of a destination row.
template <class TapSums>
class Strip {
 public:
  using Pixel = typename TapSums::Pixel;
  static constexpr int32_t kPixels = 256;

  Strip(const VX_LayerDef& src, const Window& window, const VXp_FourKernels& kernels)
      : src_(src), window_(window), kernels_(kernels) {}

  // Returns the sums of the pixels (x, y) to (x + count - 1, y).
  const typename TapSums::Sum* Sums(int32_t x, int32_t y, int32_t count) {
    blocks_ = (count + kBlock - 1) / kBlock;
    first_ = true;
    const Reach down(window_.y_radius, y, y, src_.height);
    const Reach across(window_.x_radius, x, x + count - 1, src_.width);
    // A strip with the same taps as the one before reuses the weights, if the buffer has all of
    // them.
    const bool known = known_ && down == down_ && across == across_;
    known_ = true;
    down_ = down;
    across_ = across;
    if (!known) bias_ = typename TapSums::Sum{};
    for (int32_t dy = down.low; dy <= down.high; dy += TapSums::kRows) {
      const bool pair = dy < down.high;
      for (int32_t dx = across.low; dx <= across.high; dx += kTaps) {
        const int32_t taps = std::min(kTaps, across.high - dx + 1);
        if (rows_ == kRows || taps_ + taps > kTaps) {
          AddRows();
          known_ = false;
        }
        if (!known) TakeWeights(dx, dy, pair, taps);
        const char* const entries = TakePixels(x + dx, y + dy, pair, taps);
        for (int32_t i = 0; i < taps; ++i) tap_entries_[taps_ + i] = entries + i * kStep;
        taps_ += taps;
        ++rows_;
      }
    }
    AddRows();
    for (int32_t i = 0; TapSums::kBiased && i < count; ++i) sums_[i] += bias_;
    return sums_;
  }

 private:
  using Vector = typename TapSums::Vector;
  using Entry = typename TapSums::Entry;
  static constexpr int32_t kAtOnce = TapSums::kAtOnce;
  static constexpr int32_t kBlock = 8 * kAtOnce;  // pixels whose sums are in registers
  static constexpr int32_t kTaps = 64;
  static constexpr int32_t kRows = 8;
  static constexpr auto kStep = static_cast<ptrdiff_t>(sizeof(Entry));

  void TakeWeights(int32_t dx, int32_t dy, bool pair, int32_t taps) {
    for (int32_t i = 0; i < taps; ++i) {
      const int64_t below = pair ? window_.Index(dx + i, dy + 1) : kVXp_NoTap;
      const auto weights = TapSums::WeightsAt(kernels_, window_.Index(dx + i, dy), below);
      std::fill_n(weights_ + (taps_ + i) * kAtOnce, kAtOnce, weights);
      TapSums::AddBias(bias_, weights);
    }
  }

  // Returns the source pixels that the taps read, from column x on. Row y is inside the source; if
  // `pair` is set, row y + 1 is too.
  const char* TakePixels(int32_t x, int32_t y, bool pair, int32_t taps) {
    const int32_t count = blocks_ * kBlock + taps - 1;
    const int32_t before = std::clamp(-x, 0, count);
    const int32_t end = std::clamp(src_.width - x, before, count);
    if (TapSums::kInPlace && end - before == count) return VXp_PixelAddress<Pixel>(src_, x, y);
    Entry* const entries = entries_[rows_];
    std::fill(entries, entries + before, TapSums::Outside());
    if (end > before) {
      const char* pixel = VXp_PixelAddress<Pixel>(src_, x + before, y);
      if constexpr (TapSums::kInPlace) {
        std::memcpy(entries + before, pixel, static_cast<size_t>((end - before) * kStep));
      } else {
        const char* below = pair ? pixel + src_.rowbytes : pixel;
        for (int32_t i = before; i < end; ++i) {
          entries[i] = TapSums::Take(pixel, below);
          pixel += sizeof(Pixel);
          below += sizeof(Pixel);
        }
      }
    }
    std::fill(entries + end, entries + count, TapSums::Outside());
    return reinterpret_cast<const char*>(entries);
  }

  // Adds the taps of the collected rows to the sums.
  void AddRows() {
    constexpr int32_t kVectors = kBlock / kAtOnce;
    for (int32_t b = 0; b < blocks_; ++b) {
      Vector block[kVectors];
      for (int32_t i = 0; i < kVectors; ++i) {
        block[i] = first_ ? Vector{} : VXp_Load<Vector>(sums_ + b * kBlock + i * kAtOnce);
      }
      for (int32_t t = 0; t < taps_; ++t) {
        const char* entry = tap_entries_[t] + b * kBlock * kStep;
        // Hides the pointer's value. Else GCC keeps entries in registers for later taps, which
        // read them too, and the sums no longer fit.
        asm("" : "+r"(entry));
        const auto weights = VXp_Load<typename TapSums::Operand>(weights_ + t * kAtOnce);
        for (int32_t i = 0; i < kVectors; ++i) {
          const auto operand = VXp_Load<typename TapSums::Operand>(entry + i * kAtOnce * kStep);
          block[i] = TapSums::Add(block[i], operand, weights);
        }
      }
      std::memcpy(sums_ + b * kBlock, block, sizeof block);
    }
    rows_ = taps_ = 0;
    first_ = false;
  }

  const VX_LayerDef& src_;
  const Window& window_;
  const VXp_FourKernels& kernels_;
  int32_t blocks_ = 0;
  int32_t rows_ = 0, taps_ = 0;     // collected, and the number of their taps
  bool first_ = true;               // no taps have been added to the sums
  bool known_ = false;              // the weights are those of all taps of the last strip
  Reach down_, across_;             // the taps of the last strip
  const char* tap_entries_[kTaps];  // what a tap reads, for the first pixel of the strip
  typename TapSums::Sum bias_;
  typename TapSums::Sum sums_[kPixels];
  typename TapSums::Weights weights_[kTaps * kAtOnce];
  Entry entries_[kRows][kPixels + kTaps];
};

template <class TapSums>
VX_Err ConvolveRows(const VX_ProgressInfo* progress, const VX_LayerDef& src, const Window& window,
                    const VXp_FourKernels& kernels,
                    const VXp_Quotient<typename TapSums::Pixel>& quotient, const VX_LayerDef& dst) {
  using Pixel = typename TapSums::Pixel;
  constexpr int64_t kTapsBetweenPolls = 2048;
  const int64_t row_taps = window.Taps() * dst.width;
  const VXp_RowMemory to = VXp_MemoryOf(dst, sizeof(Pixel));
  const bool independent =
      VXp_RowsAreIndependent(to) && !VXp_ShareMemory(to, VXp_MemoryOf(src, sizeof(Pixel)));
  int64_t taps = 0;
  const auto report = [&](int32_t y) -> VX_Err {
    taps += row_taps;
    if (taps <= kTapsBetweenPolls) return VX_Ok;
    taps = 0;
    return progress->progress_func(progress->progress_refcon, y + 1, dst.height);
  };
  const auto convolve_row = [&](int32_t, int32_t y) -> VX_Err {
    Strip<TapSums> strip(src, window, kernels);
    for (int32_t x = 0, count = 0; x < dst.width; x += count) {
      count = std::min(strip.kPixels, dst.width - x);
      quotient.Store(strip.Sums(x, y, count), count, VXp_PixelAddress<Pixel>(dst, x, y));
    }
    return VX_Ok;
  };
  return VXp_ForBands(VXp_PlanBands(dst.height, row_taps, independent), VXp_HasProgress(progress),
                      report, convolve_row);
}

// Returns whether all weights that are used fit signed 16 bits.
bool FitWords(const VX_LayerDef& src, const Window& window, const VXp_FourKernels& kernels,
              const VX_LayerDef& dst) {
  const Reach down(window.y_radius, 0, dst.height - 1, src.height);
  const Reach across(window.x_radius, 0, dst.width - 1, src.width);
  for (const int32_t* weights : kernels.weights) {
    for (int32_t dy = down.low; dy <= down.high; ++dy) {
      for (int32_t dx = across.low; dx <= across.high; ++dx) {
        const int32_t weight = weights[window.Index(dx, dy)];
        if (weight != static_cast<int16_t>(weight)) return false;
      }
    }
  }
  return true;
}

// Returns whether the integer sums of all channels fit 32 bits, whatever the pixels are.
template <class Pixel>
bool FitSums(const Window& window, const VXp_FourKernels& kernels) {
  constexpr int64_t kLargest = std::numeric_limits<VX_ChannelOf<Pixel>>::max();
  constexpr int64_t kMost = std::numeric_limits<int32_t>::max() / kLargest;
  for (const int32_t* weights : kernels.weights) {
    int64_t sum = 0;
    for (int64_t i = 0; i < window.Taps(); ++i) {
      sum += std::abs(int64_t{weights[i]});
      if (sum > kMost) return false;
    }
  }
  return true;
}

// Divides the weights of each channel and its divisor by their common factor, which does not change
// the quotients, so that sums fit 32 bits. Returns the memory of the new kernels. Changes nothing
// and returns null if the sums do not fit even so, or without memory.
template <class Pixel>
std::unique_ptr<int32_t[]> Reduce(const Window& window, VXp_FourKernels* kernels,
                                  int64_t (&divisors)[4]) {
  const int64_t taps = window.Taps();
  std::unique_ptr<int32_t[]> memory(new (std::nothrow) int32_t[static_cast<size_t>(4 * taps)]);
  if (memory == nullptr) return nullptr;
  VXp_FourKernels reduced{};
  int64_t factors[4];
  for (int32_t c = 0; c < 4; ++c) {
    const int32_t* const weights = kernels->weights[c];
    factors[c] = std::accumulate(weights, weights + taps, divisors[c],
                                 [](int64_t a, int32_t b) { return std::gcd(a, int64_t{b}); });
    int32_t* const quotients = memory.get() + c * taps;
    for (int64_t i = 0; i < taps; ++i) quotients[i] = static_cast<int32_t>(weights[i] / factors[c]);
    reduced.weights[c] = quotients;
  }
  if (!FitSums<Pixel>(window, reduced)) return nullptr;
  *kernels = reduced;
  for (int32_t c = 0; c < 4; ++c) divisors[c] /= factors[c];
  return memory;
}

template <class Pixel>
VX_Err Convolve(VX_ProgressInfo* progress, const VX_WorldX<Pixel>* src, const M_Rect* /*rect*/,
                int32_t flags, int32_t kernel_size, const int32_t* alpha_kernel,
                const int32_t* red_kernel, const int32_t* green_kernel, const int32_t* blue_kernel,
                VX_WorldX<Pixel>* dst) {
  VXp_FourKernels kernels{{alpha_kernel, red_kernel, green_kernel, blue_kernel}};
  const auto& weights = kernels.weights;
  if (src->data == nullptr || dst->data == nullptr || src->data == dst->data || kernel_size < 0 ||
      kernel_size % 2 == 0 || std::find(weights, weights + 4, nullptr) != weights + 4) {
    return VXp_BadParameter(kConvolveNumber);
  }
  if (dst->width <= 0 || dst->height <= 0) return VX_Ok;
  const Window window(flags, kernel_size);
  int64_t divisors[4];
  for (int32_t c = 0; c < 4; ++c) divisors[c] = Divisor(window, flags, weights[c]);
  std::unique_ptr<int32_t[]> reduced;
  bool wide = false;
  if constexpr (!kVXp_IsFloat<Pixel>) {
    if (!FitSums<Pixel>(window, kernels)) {
      reduced = Reduce<Pixel>(window, &kernels, divisors);
      wide = reduced == nullptr;
    }
  }
  const VXp_Quotient<Pixel> quotient(divisors, (flags & VX_Kernel_NoClamp) == 0);
  if constexpr (!kVXp_IsFloat<Pixel>) {
    if (wide) {
      return ConvolveRows<VXp_WideTaps<Pixel>>(progress, *src, window, kernels, quotient, *dst);
    }
  }
#ifdef __SSE2__
  if constexpr (!kVXp_IsFloat<Pixel>) {
    if (FitWords(*src, window, kernels, *dst)) {
      return ConvolveRows<VXp_TapsInPairs<Pixel>>(progress, *src, window, kernels, quotient, *dst);
    }
  }
#endif
  return ConvolveRows<VXp_TapByTap<Pixel>>(progress, *src, window, kernels, quotient, *dst);
}

}  // namespace

VX_Err VXp_Convolve_S(VX_ProgressInfo* progress, const VX_LayerDef* src, const M_Rect* rect,
                      int32_t flags, int32_t kernel_size, const int32_t* alpha_kernel,
                      const int32_t* red_kernel, const int32_t* green_kernel,
                      const int32_t* blue_kernel, VX_LayerDef* dst) {
  return VXp_Guarded([&]() -> VX_Err {
    if (src == nullptr || dst == nullptr) return VXp_BadParameter(kConvolveNumber);
    const int32_t depth = VXp_WorldDepth(src);
    if (depth != VXp_WorldDepth(dst)) {
      return VXp_FailVerification("VX_Convolve requires source and dst worlds to be same depth");
    }
    const auto convolve = [&](const auto& from, auto& to) -> VX_Err {
      return Convolve(progress, &from, rect, flags, kernel_size, alpha_kernel, red_kernel,
                      green_kernel, blue_kernel, &to);
    };
    return VXp_WithWorldsOfDepth(depth, kVXp_UnknownDepthText, convolve, src, dst);
  });
}

VX_Err VX_Convolve(VX_ProgressInfo* progress, const VX_LayerDef* src, const M_Rect* rect,
                   int32_t flags, int32_t kernel_size, const int32_t* alpha_kernel,
                   const int32_t* red_kernel, const int32_t* green_kernel,
                   const int32_t* blue_kernel, VX_LayerDef* dst) {
  return VXp_G_OverFuncs.VX_Convolve(progress, src, rect, flags, kernel_size, alpha_kernel,
                                     red_kernel, green_kernel, blue_kernel, dst);
}

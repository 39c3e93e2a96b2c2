// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Sums of weighted pixels and their quotients, with one lane for each channel; lane 0 is alpha.
//
// There are three classes of sums: VXp_TapByTap for floats and 32-bit sums, VXp_TapsInPairs, a
// faster one for integers, and VXp_WideTaps with 64-bit sums, for integers whose sums may not fit
// 32 bits. Each defines the number of kernel rows that it processes at once, the types of its
// pixels and weights, whether pixels in memory have the type of entries, the addition of their
// product, and a bias that is added to the sums.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "frame/VXp_LaneTraits.h"
#include "frame/VXp_Rows.h"
#include "indep/VXp_ChannelLanes.h"

// One kernel for each channel.
struct VXp_FourKernels {
  template <class Value>
  Value Of(int32_t channel, int64_t index) const {
    return static_cast<Value>(weights[channel][index]);
  }

  const int32_t* weights[4];
};
inline constexpr int64_t kVXp_NoTap = -1;  // the index of a tap whose weights are 0

template <class Pixel>
inline constexpr bool kVXp_IsFloat = std::is_same_v<VX_ChannelOf<Pixel>, float>;

// The number of pixels with lanes of 32 bits in a vector of the target.
inline constexpr int32_t kVXp_PixelsAtOnce = kVXp_TargetLanes / 4;

// Sums at every depth; integer sums must fit 32 bits. Floats are added in the order of the taps.
template <class PixelType>
struct VXp_TapByTap {
  using Pixel = PixelType;
  using Lane = std::conditional_t<kVXp_IsFloat<Pixel>, float, uint32_t>;
  using Sum = std::conditional_t<kVXp_IsFloat<Pixel>, VXp_FloatLanes, VXp_WordLanes>;
  using Entry = Sum;
  using Weights = Sum;
  using Vector = VXp_Lanes<Lane, kVXp_TargetLanes>;
  using Operand = Vector;
  static constexpr int32_t kRows = 1, kAtOnce = kVXp_PixelsAtOnce;
  static constexpr bool kInPlace = kVXp_IsFloat<Pixel>, kBiased = false;

  static Entry Outside() { return Entry{}; }
  static Entry Take(const char* pixel, const char* /*below*/) {
    if constexpr (kVXp_IsFloat<Pixel>) {
      return VXp_Load<VXp_FloatLanes>(pixel);
    } else {
      using Raw = std::conditional_t<sizeof(Pixel) == 4, uint32_t, uint64_t>;
      return reinterpret_cast<VXp_WordLanes>(VXp_Ints(VXp_Load<Raw>(pixel)));
    }
  }
  static Weights WeightsAt(const VXp_FourKernels& kernels, int64_t index, int64_t /*below*/) {
    return Sum{kernels.Of<Lane>(0, index), kernels.Of<Lane>(1, index), kernels.Of<Lane>(2, index),
               kernels.Of<Lane>(3, index)};
  }
  static Vector Add(const Vector& sum, const Vector& entries, const Vector& weights) {
    return sum + entries * weights;
  }
  static void AddBias(Sum& /*bias*/, const Weights& /*weights*/) {}
};

// Sums of 64 bits for integer depths and any weights: the sums of 65535 taps fit.
template <class PixelType>
struct VXp_WideTaps {
  using Pixel = PixelType;
  using Sum = VXp_Lanes<uint64_t, 4>;  // modulo 2^64
  using Entry = Sum;
  using Weights = Sum;
  static constexpr int32_t kRows = 1, kAtOnce = std::max(kVXp_TargetDoubles / 4, 1);
  using Vector = VXp_Lanes<uint64_t, 4 * kAtOnce>;
  using Operand = Vector;
  static constexpr bool kInPlace = false, kBiased = false;

  static Entry Outside() { return Entry{}; }
  static Entry Take(const char* pixel, const char* /*below*/) {
    const auto p = VXp_Load<Pixel>(pixel);
    return Entry{p.alpha, p.red, p.green, p.blue};
  }
  static Weights WeightsAt(const VXp_FourKernels& kernels, int64_t index, int64_t /*below*/) {
    const auto weight = [&](int32_t c) {
      return static_cast<uint64_t>(kernels.Of<int64_t>(c, index));
    };
    return Weights{weight(0), weight(1), weight(2), weight(3)};
  }
  static Vector Add(const Vector& sum, const Vector& entries, const Vector& weights) {
    return sum + VXp_WideProduct(entries, weights);
  }
  static void AddBias(Sum& /*bias*/, const Weights& /*weights*/) {}
};

#ifdef __SSE2__
// Sums for integer depths and weights of 16 bits. Processes two rows of the kernel at once: a
// 32-bit lane contains a 16-bit word of each row. Channels of 16 bits do not fit signed words, so
// 32768 is subtracted from them, and the bias is 32768 times the sum of all weights.
template <class PixelType>
struct VXp_TapsInPairs {
  using Pixel = PixelType;
  using Sum = VXp_WordLanes;
  using Entry = __m128i;
  using Weights = __m128i;
  using Vector = VXp_Lanes<uint32_t, kVXp_TargetLanes>;
  using Operand = Vector;
  static constexpr int32_t kRows = 2, kAtOnce = kVXp_PixelsAtOnce;
  static constexpr bool kInPlace = false;
  static constexpr bool kBiased = sizeof(Pixel) == 8;

  static Entry Outside() { return kBiased ? _mm_set1_epi16(INT16_MIN) : _mm_setzero_si128(); }
  static Entry Take(const char* pixel, const char* below) {
    if constexpr (kBiased) {
      const __m128i a = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(pixel));
      const __m128i b = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(below));
      return _mm_xor_si128(_mm_unpacklo_epi16(a, b), Outside());
    } else {
      const __m128i a = _mm_cvtsi32_si128(VXp_Load<int32_t>(pixel));
      const __m128i b = _mm_cvtsi32_si128(VXp_Load<int32_t>(below));
      return _mm_unpacklo_epi8(_mm_unpacklo_epi8(a, b), _mm_setzero_si128());
    }
  }
  static Weights WeightsAt(const VXp_FourKernels& kernels, int64_t index, int64_t below) {
    alignas(16) int16_t words[8] = {};
    for (int32_t c = 0; c < 4; ++c) {
      words[2 * c] = kernels.Of<int16_t>(c, index);
      if (below != kVXp_NoTap) words[2 * c + 1] = kernels.Of<int16_t>(c, below);
    }
    return _mm_load_si128(reinterpret_cast<const __m128i*>(words));
  }
  static Vector Add(const Vector& sum, const Vector& entries, const Vector& weights) {
    return sum + VXp_MulAdjacent(entries, weights);
  }
  static void AddBias(Sum& bias, const Weights& weights) {
    if constexpr (kBiased) {
      bias += reinterpret_cast<Sum>(_mm_madd_epi16(weights, _mm_set1_epi16(1))) << 15;
    }
  }
};
#endif

// --- quotients -----------------------------------------------------------------------------------

// Divides sums by the divisor of each channel and stores pixels. Integer quotients are truncated
// and then clamped to 0..full scale; without clamping, their low bits are stored.
template <class Pixel>
class VXp_Quotient {
 public:
  VXp_Quotient(const int64_t (&divisors)[4], bool limited)
      : divisors_{divisors[0], divisors[1], divisors[2], divisors[3]}, limited_(limited) {
    const auto factor = [&](int32_t c) { return 1.0 / static_cast<double>(divisors[c]); };
    const auto half = [&](int32_t c) { return 0.5 * std::abs(factor(c)); };
    for (int32_t i = 0; i < kVXp_TargetLanes; ++i) {
      factor_[i] = factor(i % 4);
      half_[i] = half(i % 4);
    }
  }

  void Store(const VXp_WordLanes* sums, int32_t count, char* out) const {
    int32_t i = 0;
    for (; limited_ && i + kAtOnce <= count; i += kAtOnce)
      StoreGroup(sums + i, out + i * kPixelSize);
    if (limited_ && i < count) {
      const auto rest = static_cast<size_t>(count - i);
      VXp_WordLanes padded[kAtOnce]{};
      char pixels[kAtOnce * kPixelSize];
      std::copy_n(sums + i, rest, padded);
      StoreGroup(padded, pixels);
      std::memcpy(out + i * kPixelSize, pixels, rest * kPixelSize);
    }
    for (; !limited_ && i < count; ++i) {
      VXp_Store(out + i * kPixelSize, LowBits(reinterpret_cast<VXp_IntLanes>(sums[i])));
    }
  }

  void Store(const typename VXp_WideTaps<Pixel>::Sum* sums, int32_t count, char* out) const {
    const auto channel = [this](uint64_t sum, int32_t c) {
      // -2^63 / -1 does not fit 64 bits.
      const auto quotient = divisors_[c] == -1 ? static_cast<int64_t>(-sum)
                                               : static_cast<int64_t>(sum) / divisors_[c];
      constexpr int64_t kFull = VXp_PixelTraits<Pixel>::kFull;
      return static_cast<Channel>(limited_ ? std::clamp<int64_t>(quotient, 0, kFull) : quotient);
    };
    for (int32_t i = 0; i < count; ++i) {
      const auto& lanes = sums[i];
      VXp_Store(out + i * kPixelSize, Pixel{channel(lanes[0], 0), channel(lanes[1], 1),
                                            channel(lanes[2], 2), channel(lanes[3], 3)});
    }
  }

 private:
  using Channel = VX_ChannelOf<Pixel>;
  using Ints = VXp_Lanes<int32_t, kVXp_TargetLanes>;
  using Reals = VXp_Lanes<double, kVXp_TargetLanes>;
  static constexpr auto kPixelSize = static_cast<ptrdiff_t>(sizeof(Pixel));
  static constexpr int32_t kAtOnce = kVXp_TargetLanes;
  static constexpr int32_t kFull = VXp_PixelTraits<Pixel>::kFull;
  static constexpr uint16_t kPackedZero = sizeof(Pixel) == sizeof(VX_Pixel16) ? 32768 : 0;

  // Stores as many pixels as there are lanes: four vectors of sums.
  void StoreGroup(const VXp_WordLanes* sums, char* out) const {
    const auto limited = [&](int32_t part) {
      return Limited(VXp_Load<Ints>(sums + part * kVXp_PixelsAtOnce));
    };
    const auto low = VXp_PackedHalves(limited(0), limited(1));
    const auto high = VXp_PackedHalves(limited(2), limited(3));
    if constexpr (kPixelSize == sizeof(VX_Pixel8)) {
      VXp_Store(out, VXp_Unsectioned<4>(VXp_PackedBytes(low, high)));
    } else {
      VXp_Store(out, VXp_Unsectioned<2>(low) + kPackedZero);
      VXp_Store(out + sizeof low, VXp_Unsectioned<2>(high) + kPackedZero);
    }
  }

  // A quotient that is not an integer is at least 1 / divisor from the next integer. Half of this
  // is added, so that rounding errors do not make an integer quotient smaller. Negative quotients
  // become 0 in any case. Sums are above -2^31, so quotients fit 32 bits. 16-bit results are
  // returned minus 32768, because packing is signed.
  Ints Limited(Ints sum) const {
    const Reals n = __builtin_convertvector(sum, Reals);
    const Ints quotient = __builtin_convertvector(n * factor_ + half_, Ints);
    const Ints positive = quotient > 0 ? quotient : Ints{};
    return (positive < kFull ? positive : Ints{} + kFull) - kPackedZero;
  }

  // Stores the low bits of the quotients. Divides in 64 bits, because -2^31 / -1 does not fit 32
  // bits.
  Pixel LowBits(VXp_IntLanes sum) const {
    const auto low = [&](int32_t c) { return static_cast<Channel>(sum[c] / divisors_[c]); };
    return {low(0), low(1), low(2), low(3)};
  }

  int64_t divisors_[4];
  bool limited_;
  Reals factor_, half_;
};

// Float: alpha is always clamped to 0..1, colours only if `limited` is set. Alpha below 1e-30
// becomes 0. NaN remains NaN, because all comparisons with it are false.
template <>
class VXp_Quotient<VX_PixelFloat> {
 public:
  VXp_Quotient(const int64_t (&divisors)[4], bool limited) {
    constexpr float kLeastAlpha = 1e-30f, kInfinity = std::numeric_limits<float>::infinity();
    const float low = limited ? 0.0f : -kInfinity, high = limited ? 1.0f : kInfinity;
    for (int32_t i = 0; i < kVXp_TargetLanes; ++i) {
      const bool alpha = i % 4 == 0;
      divisors_[i] = static_cast<float>(divisors[i % 4]);
      below_[i] = alpha ? kLeastAlpha : low;
      above_[i] = alpha ? 1.0f : high;
    }
  }

  void Store(const VXp_FloatLanes* sums, int32_t count, char* out) const {
    const int32_t whole = count / kVXp_PixelsAtOnce * kVXp_PixelsAtOnce;
    for (int32_t i = 0; i < whole; i += kVXp_PixelsAtOnce) {
      VXp_Store(out + i * kPixelSize, Limited(VXp_Load<Floats>(sums + i)));
    }
    if (whole == count) return;
    const auto rest = static_cast<size_t>(count - whole) * kPixelSize;
    Floats last{};
    std::memcpy(&last, sums + whole, rest);
    last = Limited(last);
    std::memcpy(out + whole * kPixelSize, &last, rest);
  }

 private:
  using Floats = VXp_Lanes<float, kVXp_TargetLanes>;
  static constexpr ptrdiff_t kPixelSize = sizeof(VX_PixelFloat);

  Floats Limited(Floats sum) const {
    const Floats quotient = sum / divisors_;
    const Floats from_zero = quotient < below_ ? Floats{} : quotient;
    return from_zero > above_ ? above_ : from_zero;
  }

  Floats divisors_, below_, above_;
};

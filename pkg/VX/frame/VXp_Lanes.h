// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Vectors of the compiler with any number of lanes, and the few operations on them that the
// language does not have. A comparison of vectors gives all ones (true) or zero in each lane; `?:`
// with such a condition selects by lane.
//
// The library is compiled once per processor level, and the loader chooses a build. Code that
// processes neighbouring pixels in lanes uses kVXp_TargetLanes; it has no other dispatch by
// processor. Everything here is a template over the number of lanes or the type of a vector, so
// that objects of different levels have no function in common that differs.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#if defined(__AVX2__)
#include <immintrin.h>
#elif defined(__SSE2__)
#include <emmintrin.h>
#endif

// The number of 32-bit lanes in the widest vector that the compiler may use.
#if defined(__AVX512BW__) && defined(__AVX512VL__) && defined(__AVX512DQ__)
inline constexpr int32_t kVXp_TargetLanes = 16;
#elif defined(__AVX2__)
inline constexpr int32_t kVXp_TargetLanes = 8;
#else
inline constexpr int32_t kVXp_TargetLanes = 4;
#endif

template <class Value, int32_t count>
struct VXp_LanesOf {
  typedef Value Type __attribute__((vector_size(sizeof(Value) * count)));
};
template <class Value, int32_t count>
using VXp_Lanes = typename VXp_LanesOf<Value, count>::Type;

// A vector of doubles has half as many lanes.
inline constexpr int32_t kVXp_TargetDoubles = kVXp_TargetLanes / 2;
using VXp_TargetDoubles = VXp_Lanes<double, kVXp_TargetDoubles>;

// The vectors of four lanes, for code that processes the four channels of one pixel.
inline constexpr int32_t kVXp_Lanes = 4;
using VXp_IntLanes = VXp_Lanes<int32_t, 4>;
using VXp_WordLanes = VXp_Lanes<uint32_t, 4>;
using VXp_FloatLanes = VXp_Lanes<float, 4>;

// The number of 32-bit lanes that have the size of a vector.
template <class Vector>
inline constexpr int32_t kVXp_LaneCount = static_cast<int32_t>(sizeof(Vector) / 4);

// The vectors with as many lanes as a vector of 32-bit lanes.
template <class Vector>
using VXp_IntsLike = VXp_Lanes<int32_t, kVXp_LaneCount<Vector>>;
template <class Vector>
using VXp_WordsLike = VXp_Lanes<uint32_t, kVXp_LaneCount<Vector>>;
template <class Vector>
using VXp_FloatsLike = VXp_Lanes<float, kVXp_LaneCount<Vector>>;

template <class Ints>
VXp_FloatsLike<Ints> VXp_AsFloat(Ints v) {
  return __builtin_convertvector(v, VXp_FloatsLike<Ints>);
}
template <class Floats>
VXp_IntsLike<Floats> VXp_Truncated(Floats v) {
  return __builtin_convertvector(v, VXp_IntsLike<Floats>);
}

// Sets all lanes to one value. (Adding the value to zero lanes would lose the sign of -0.)
template <class Vector, class Value>
Vector VXp_Splat(Value value) {
  using Lane = std::remove_cvref_t<decltype(Vector{}[0])>;
  return static_cast<Lane>(value) - Vector{};
}

// Returns the products a * b in 32-bit lanes, modulo 2^32.
template <class Ints>
Ints VXp_WrappedProduct(Ints a, Ints b) {
  using Words = VXp_WordsLike<Ints>;
  return reinterpret_cast<Ints>(reinterpret_cast<Words>(a) * reinterpret_cast<Words>(b));
}

// Prefetches the memory at `ahead` bytes after an address. Any address is allowed.
template <size_t bytes>
void VXp_PrefetchAt(const void* address, size_t ahead) {
  constexpr size_t kLine = 64;
  const uintptr_t at = reinterpret_cast<uintptr_t>(address) + ahead;
  for (size_t i = 0; i < bytes; i += kLine) {
    __builtin_prefetch(reinterpret_cast<const void*>(at + i));
  }
}

// --- operations with instructions of their own ---------------------------------------------------

// Returns the sums of adjacent products of signed 16-bit halves: low(a) * low(b) + high(a) *
// high(b) in each 32-bit lane.
template <class Vector>
Vector VXp_MulAdjacent(Vector a, Vector b) {
#ifdef __AVX512BW__
  if constexpr (sizeof(Vector) == 64) {
    return reinterpret_cast<Vector>(
        _mm512_madd_epi16(reinterpret_cast<__m512i>(a), reinterpret_cast<__m512i>(b)));
  }
#endif
#ifdef __AVX2__
  if constexpr (sizeof(Vector) == 32) {
    return reinterpret_cast<Vector>(
        _mm256_madd_epi16(reinterpret_cast<__m256i>(a), reinterpret_cast<__m256i>(b)));
  }
#endif
#ifdef __SSE2__
  if constexpr (sizeof(Vector) == 16) {
    return reinterpret_cast<Vector>(
        _mm_madd_epi16(reinterpret_cast<__m128i>(a), reinterpret_cast<__m128i>(b)));
  }
#endif
  using Ints = VXp_IntsLike<Vector>;
  using Words = VXp_WordsLike<Vector>;
  const auto low = [](Vector v) {
    return reinterpret_cast<Ints>(reinterpret_cast<Words>(v) << 16) >> 16;
  };
  const auto high = [](Vector v) { return reinterpret_cast<Ints>(v) >> 16; };
  const Ints even = VXp_WrappedProduct(low(a), low(b)), odd = VXp_WrappedProduct(high(a), high(b));
  return reinterpret_cast<Vector>(reinterpret_cast<Words>(even) + reinterpret_cast<Words>(odd));
}

// Returns the products of 64-bit lanes that contain signed 32-bit numbers.
template <class Longs>
Longs VXp_WideProduct(Longs a, Longs b) {
#ifdef __AVX512BW__
  if constexpr (sizeof(Longs) == 64) {
    return reinterpret_cast<Longs>(
        _mm512_maskz_mul_epi32(0xFF, reinterpret_cast<__m512i>(a), reinterpret_cast<__m512i>(b)));
  }
#endif
#ifdef __AVX2__
  if constexpr (sizeof(Longs) == 32) {
    return reinterpret_cast<Longs>(
        _mm256_mul_epi32(reinterpret_cast<__m256i>(a), reinterpret_cast<__m256i>(b)));
  }
#endif
  return a * b;
}

// Returns the upper halves of the products of unsigned 16-bit lanes.
template <class Halves>
Halves VXp_MulHigh(Halves a, Halves b) {
#ifdef __AVX512BW__
  if constexpr (sizeof(Halves) == 64) {
    return reinterpret_cast<Halves>(
        _mm512_mulhi_epu16(reinterpret_cast<__m512i>(a), reinterpret_cast<__m512i>(b)));
  }
#endif
#ifdef __AVX2__
  if constexpr (sizeof(Halves) == 32) {
    return reinterpret_cast<Halves>(
        _mm256_mulhi_epu16(reinterpret_cast<__m256i>(a), reinterpret_cast<__m256i>(b)));
  }
#endif
#ifdef __SSE2__
  if constexpr (sizeof(Halves) == 16) {
    return reinterpret_cast<Halves>(
        _mm_mulhi_epu16(reinterpret_cast<__m128i>(a), reinterpret_cast<__m128i>(b)));
  }
#endif
  using Words = VXp_Lanes<uint32_t, sizeof(Halves) / 2>;
  const Words product = __builtin_convertvector(a, Words) * __builtin_convertvector(b, Words);
  return __builtin_convertvector(product >> 16, Halves);
}

// Returns a < b ? a : b, and a > b ? a : b, so b if one of them is NaN. GCC does not generate the
// instructions for `?:`.
template <class Floats>
Floats VXp_MinFloats(Floats a, Floats b) {
#ifdef __AVX512BW__
  if constexpr (sizeof(Floats) == 64) {
    return reinterpret_cast<Floats>(
        _mm512_maskz_min_ps(0xFFFF, reinterpret_cast<__m512>(a), reinterpret_cast<__m512>(b)));
  }
#endif
#ifdef __AVX2__
  if constexpr (sizeof(Floats) == 32) {
    return reinterpret_cast<Floats>(
        _mm256_min_ps(reinterpret_cast<__m256>(a), reinterpret_cast<__m256>(b)));
  }
#endif
#ifdef __SSE2__
  if constexpr (sizeof(Floats) == 16) {
    return reinterpret_cast<Floats>(
        _mm_min_ps(reinterpret_cast<__m128>(a), reinterpret_cast<__m128>(b)));
  }
#endif
  return a < b ? a : b;
}
template <class Floats>
Floats VXp_MaxFloats(Floats a, Floats b) {
#ifdef __AVX512BW__
  if constexpr (sizeof(Floats) == 64) {
    return reinterpret_cast<Floats>(
        _mm512_maskz_max_ps(0xFFFF, reinterpret_cast<__m512>(a), reinterpret_cast<__m512>(b)));
  }
#endif
#ifdef __AVX2__
  if constexpr (sizeof(Floats) == 32) {
    return reinterpret_cast<Floats>(
        _mm256_max_ps(reinterpret_cast<__m256>(a), reinterpret_cast<__m256>(b)));
  }
#endif
#ifdef __SSE2__
  if constexpr (sizeof(Floats) == 16) {
    return reinterpret_cast<Floats>(
        _mm_max_ps(reinterpret_cast<__m128>(a), reinterpret_cast<__m128>(b)));
  }
#endif
  return a > b ? a : b;
}

// Whether VXp_MulAdd rounds once for vectors of the target.
#ifdef __AVX2__
inline constexpr bool kVXp_FusesMulAdd = true;
#else
inline constexpr bool kVXp_FusesMulAdd = false;
#endif

// Returns a * b + c, rounded once if the processor can, else twice. Only for results that do not
// depend on it, such as integers whose error bound is known.
template <class Floats>
Floats VXp_MulAdd(Floats a, Floats b, Floats c) {
#ifdef __AVX512BW__
  if constexpr (sizeof(Floats) == 64) {
    return reinterpret_cast<Floats>(_mm512_fmadd_ps(
        reinterpret_cast<__m512>(a), reinterpret_cast<__m512>(b), reinterpret_cast<__m512>(c)));
  }
#endif
#ifdef __AVX2__
  if constexpr (sizeof(Floats) == 32) {
    return reinterpret_cast<Floats>(_mm256_fmadd_ps(
        reinterpret_cast<__m256>(a), reinterpret_cast<__m256>(b), reinterpret_cast<__m256>(c)));
  }
#endif
  return a * b + c;
}

// Adds 1 to the lanes for which a condition is true.
template <class Vector, class Ints>
Vector VXp_Incremented(Vector v, Ints condition) {
#ifdef __AVX512BW__
  return condition ? v + 1 : v;  // one instruction, because conditions are masks
#else
  return v - reinterpret_cast<Vector>(condition);  // true is -1
#endif
}

// Returns an amount, which is not negative, with the signs of floats or doubles. (GCC computes `?:`
// one lane at a time if a vector is wider than a register.)
template <class Reals, class Real>
Reals VXp_WithSignOf(Reals signs, Real amount) {
  using Word = std::conditional_t<sizeof(Real) == 8, uint64_t, uint32_t>;
  using Words = VXp_Lanes<Word, sizeof(Reals) / sizeof(Real)>;
  constexpr Word kSign = Word{1} << (8 * sizeof(Real) - 1);
  return reinterpret_cast<Reals>(reinterpret_cast<Words>(Reals{} + amount) |
                                 (reinterpret_cast<Words>(signs) & kSign));
}

// Returns byte c of each 32-bit lane, 0 for the lowest to 3.
template <class Words>
Words VXp_ByteOf(Words v, int32_t c) {
  if (c == 0) return v & 0xFFu;
  if (c == 3) return v >> 24;
  [[maybe_unused]] const auto from = [c](uint32_t lane) {
    return static_cast<int>(0x80808000u + 4 * lane + static_cast<uint32_t>(c));
  };
#ifdef __AVX512BW__
  if constexpr (sizeof(Words) == 64) {
    return reinterpret_cast<Words>(_mm512_shuffle_epi8(
        reinterpret_cast<__m512i>(v), _mm512_set4_epi32(from(3), from(2), from(1), from(0))));
  }
#endif
#ifdef __AVX2__
  if constexpr (sizeof(Words) == 32) {
    return reinterpret_cast<Words>(_mm256_shuffle_epi8(
        reinterpret_cast<__m256i>(v),
        _mm256_broadcastsi128_si256(_mm_set_epi32(from(3), from(2), from(1), from(0)))));
  }
#endif
  return v >> (8 * c) & 0xFFu;
}

// Returns `low` in the even lanes of 16 bits and `high` in the odd ones.
template <class Words>
Words VXp_AlternateHalves(Words low, Words high) {
#ifdef __AVX512BW__
  if constexpr (sizeof(Words) == 64) {
    return reinterpret_cast<Words>(_mm512_mask_blend_epi16(
        0xAAAAAAAA, reinterpret_cast<__m512i>(low), reinterpret_cast<__m512i>(high)));
  }
#endif
#ifdef __AVX2__
  if constexpr (sizeof(Words) == 32) {
    return reinterpret_cast<Words>(
        _mm256_blend_epi16(reinterpret_cast<__m256i>(low), reinterpret_cast<__m256i>(high), 0xAA));
  }
#endif
  return (low & 0xFFFFu) | (high & 0xFFFF0000u);
}

// Joins the low or the high halves of two words: that of the first is the low half of the result.
template <class Words>
Words VXp_JoinedLow(Words first, Words second) {
  if constexpr (kVXp_TargetLanes > 4) return VXp_AlternateHalves(first, second << 16);
  return (first & 0xFFFFu) | second << 16;
}
template <class Words>
Words VXp_JoinedHigh(Words first, Words second) {
  if constexpr (kVXp_TargetLanes > 4) return VXp_AlternateHalves(first >> 16, second);
  return first >> 16 | (second & 0xFFFF0000u);
}

// VXp_MinFloats and VXp_MulAdd for vectors of doubles of the target.
inline VXp_TargetDoubles VXp_MinDoubles(VXp_TargetDoubles a, VXp_TargetDoubles b) {
#if defined(__AVX512BW__)
  return _mm512_maskz_min_pd(0xFF, a, b);
#elif defined(__AVX2__)
  return _mm256_min_pd(a, b);
#elif defined(__SSE2__)
  return _mm_min_pd(a, b);
#else
  return a < b ? a : b;
#endif
}
inline VXp_TargetDoubles VXp_MulAddDoubles(VXp_TargetDoubles a, VXp_TargetDoubles b,
                                           VXp_TargetDoubles c) {
#if defined(__AVX512BW__)
  return _mm512_fmadd_pd(a, b, c);
#elif defined(__AVX2__)
  return _mm256_fmadd_pd(a, b, c);
#else
  return a * b + c;
#endif
}

// Conversions to wider lanes. For __builtin_convertvector, GCC converts halves and joins them, or
// converts one lane at a time.

// Converts 32-bit integers or floats.
template <class Vector>
VXp_Lanes<double, kVXp_LaneCount<Vector>> VXp_ToDoubles(Vector v) {
  [[maybe_unused]] constexpr bool kInts = std::is_same_v<decltype(v[0] + 0), int32_t>;
#ifdef __AVX512BW__
  if constexpr (kVXp_LaneCount<Vector> == 8 && kInts) {
    return _mm512_maskz_cvtepi32_pd(0xFF, reinterpret_cast<__m256i>(v));
  } else if constexpr (kVXp_LaneCount<Vector> == 8) {
    return _mm512_maskz_cvtps_pd(0xFF, v);
  }
#endif
#ifdef __AVX2__
  if constexpr (kVXp_LaneCount<Vector> == 4 && kInts) {
    return _mm256_cvtepi32_pd(reinterpret_cast<__m128i>(v));
  } else if constexpr (kVXp_LaneCount<Vector> == 4) {
    return _mm256_cvtps_pd(v);
  }
#endif
  return __builtin_convertvector(v, VXp_Lanes<double, kVXp_LaneCount<Vector>>);
}

// Loads `count` unsigned integers of 8 or 16 bits.
template <int32_t count, class Channel>
VXp_Lanes<int32_t, count> VXp_LoadAsInts(const Channel* from) {
  [[maybe_unused]] constexpr bool kBytes = sizeof(Channel) == 1;
  using Ints = VXp_Lanes<int32_t, count>;
#ifdef __AVX512BW__
  if constexpr (count == 16 && kBytes) {
    return reinterpret_cast<Ints>(_mm512_maskz_cvtepu8_epi32(
        0xFFFF, _mm_loadu_si128(reinterpret_cast<const __m128i*>(from))));
  } else if constexpr (count == 16) {
    return reinterpret_cast<Ints>(_mm512_maskz_cvtepu16_epi32(
        0xFFFF, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from))));
  }
#endif
#ifdef __AVX2__
  if constexpr (count == 8 && kBytes) {
    return reinterpret_cast<Ints>(
        _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(from))));
  } else if constexpr (count == 8) {
    return reinterpret_cast<Ints>(
        _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from))));
  }
#endif
#ifdef __SSE2__
  if constexpr (count == 4) {
    const __m128i zero{};
    if constexpr (kBytes) {
      const __m128i words = _mm_unpacklo_epi8(_mm_loadu_si32(from), zero);
      return reinterpret_cast<Ints>(_mm_unpacklo_epi16(words, zero));
    } else {
      return reinterpret_cast<Ints>(
          _mm_unpacklo_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(from)), zero));
    }
  }
#endif
  VXp_Lanes<Channel, count> channels;
  std::memcpy(&channels, from, sizeof channels);
  return __builtin_convertvector(channels, Ints);
}

// Converts bytes to integers of 16 bits.
inline VXp_Lanes<int16_t, 2 * kVXp_TargetLanes> VXp_ToWords(
    VXp_Lanes<uint8_t, 2 * kVXp_TargetLanes> v) {
  using Words = VXp_Lanes<int16_t, 2 * kVXp_TargetLanes>;
#if defined(__AVX512BW__)
  return reinterpret_cast<Words>(_mm512_cvtepu8_epi16(reinterpret_cast<__m256i>(v)));
#elif defined(__AVX2__)
  return reinterpret_cast<Words>(_mm256_cvtepu8_epi16(reinterpret_cast<__m128i>(v)));
#else
  return __builtin_convertvector(v, Words);
#endif
}

// Returns the products of the low 16 bits of each lane, which are unsigned. Combined from the lower
// and upper halves of the products: this is not slower than an instruction for 32-bit products.
template <class Vector>
VXp_WordsLike<Vector> VXp_ShortProduct(Vector a, Vector b) {
  using Words = VXp_WordsLike<Vector>;
  using Halves = VXp_Lanes<uint16_t, 2 * kVXp_LaneCount<Vector>>;
  const auto x = reinterpret_cast<Halves>(a), y = reinterpret_cast<Halves>(b);
  return reinterpret_cast<Words>(x * y) | reinterpret_cast<Words>(VXp_MulHigh(x, y)) << 16;
}

// Packs lanes to half of their width, within sections of 16 bytes: the result's section has the
// lanes of that section of a, then of b. The values must be -32768..32767, and 0..255 for bytes.
template <class Ints>
VXp_Lanes<uint16_t, 2 * kVXp_LaneCount<Ints>> VXp_PackedHalves(Ints a, Ints b) {
  using Halves = VXp_Lanes<uint16_t, 2 * kVXp_LaneCount<Ints>>;
#ifdef __AVX512BW__
  if constexpr (sizeof(Ints) == 64) {
    return reinterpret_cast<Halves>(
        _mm512_packs_epi32(reinterpret_cast<__m512i>(a), reinterpret_cast<__m512i>(b)));
  }
#endif
#ifdef __AVX2__
  if constexpr (sizeof(Ints) == 32) {
    return reinterpret_cast<Halves>(
        _mm256_packs_epi32(reinterpret_cast<__m256i>(a), reinterpret_cast<__m256i>(b)));
  }
#endif
#ifdef __SSE2__
  if constexpr (sizeof(Ints) == 16) {
    return reinterpret_cast<Halves>(
        _mm_packs_epi32(reinterpret_cast<__m128i>(a), reinterpret_cast<__m128i>(b)));
  }
#endif
  Halves packed;
  for (int32_t i = 0; i < 2 * kVXp_LaneCount<Ints>; ++i) {
    const int32_t lane = i / 8 * 4 + i % 4;
    packed[i] = static_cast<uint16_t>(i % 8 < 4 ? a[lane] : b[lane]);
  }
  return packed;
}
template <class Halves>
VXp_Lanes<uint8_t, sizeof(Halves)> VXp_PackedBytes(Halves a, Halves b) {
  using Bytes = VXp_Lanes<uint8_t, sizeof(Halves)>;
#ifdef __AVX512BW__
  if constexpr (sizeof(Halves) == 64) {
    return reinterpret_cast<Bytes>(
        _mm512_packus_epi16(reinterpret_cast<__m512i>(a), reinterpret_cast<__m512i>(b)));
  }
#endif
#ifdef __AVX2__
  if constexpr (sizeof(Halves) == 32) {
    return reinterpret_cast<Bytes>(
        _mm256_packus_epi16(reinterpret_cast<__m256i>(a), reinterpret_cast<__m256i>(b)));
  }
#endif
#ifdef __SSE2__
  if constexpr (sizeof(Halves) == 16) {
    return reinterpret_cast<Bytes>(
        _mm_packus_epi16(reinterpret_cast<__m128i>(a), reinterpret_cast<__m128i>(b)));
  }
#endif
  Bytes packed;
  for (size_t i = 0; i < sizeof(Bytes); ++i) {
    const size_t lane = i / 16 * 8 + i % 8;
    packed[i] = static_cast<uint8_t>(i % 16 < 8 ? a[lane] : b[lane]);
  }
  return packed;
}

// Returns whether a condition, of lanes of 16 or 32 bits, is true in any lane.
template <class Ints>
bool VXp_AnyLane(Ints condition) {
#ifdef __AVX512BW__
  if constexpr (sizeof(Ints) == 64 && sizeof(condition[0]) == 2) {
    return _mm512_movepi16_mask(reinterpret_cast<__m512i>(condition)) != 0;
  } else if constexpr (sizeof(Ints) == 64) {
    return _mm512_movepi32_mask(reinterpret_cast<__m512i>(condition)) != 0;
  }
#endif
#ifdef __AVX2__
  if constexpr (sizeof(Ints) == 32) {
    return _mm256_movemask_epi8(reinterpret_cast<__m256i>(condition)) != 0;
  }
#endif
#ifdef __SSE2__
  if constexpr (sizeof(Ints) == 16) {
    return _mm_movemask_epi8(reinterpret_cast<__m128i>(condition)) != 0;
  }
#endif
  const auto words = reinterpret_cast<VXp_IntsLike<Ints>>(condition);
  int32_t any = 0;
  for (int32_t i = 0; i < kVXp_LaneCount<Ints>; ++i) any |= words[i];
  return any != 0;
}

// Returns whether any lane, of 16 or 32 bits, is zero. (GCC converts the result of a comparison to
// a vector and back if it is passed to VXp_AnyLane.)
template <class Vector>
bool VXp_AnyZero(Vector v) {
#ifdef __AVX512BW__
  using Lane = std::remove_cvref_t<decltype(v[0])>;
  if constexpr (sizeof(Vector) == 64 && !std::is_floating_point_v<Lane>) {
    const auto lanes = reinterpret_cast<__m512i>(v);
    if constexpr (sizeof(Lane) == 2) return _mm512_testn_epi16_mask(lanes, lanes) != 0;
    return _mm512_testn_epi32_mask(lanes, lanes) != 0;
  }
#endif
  return VXp_AnyLane(v == Vector{});
}

// Returns whether any bit is set.
template <class Vector>
bool VXp_AnyBit(Vector v) {
#ifdef __AVX512BW__
  if constexpr (sizeof(Vector) == 64) {
    const auto words = reinterpret_cast<__m512i>(v);
    return _mm512_test_epi32_mask(words, words) != 0;
  }
#endif
#ifdef __AVX2__
  if constexpr (sizeof(Vector) == 32) {
    const auto words = reinterpret_cast<__m256i>(v);
    return _mm256_testz_si256(words, words) == 0;
  }
#endif
  return VXp_AnyLane(reinterpret_cast<VXp_IntsLike<Vector>>(v) != 0);
}

// Loads a 32-bit word at base + size * index for each lane.
template <int32_t size, class Ints>
Ints VXp_Gathered(const void* base, Ints index) {
  const char* const from = static_cast<const char*>(base);
#ifdef __AVX512BW__
  if constexpr (sizeof(Ints) == 64) {
    return reinterpret_cast<Ints>(_mm512_mask_i32gather_epi32(
        _mm512_setzero_si512(), 0xFFFF, reinterpret_cast<__m512i>(index), from, size));
  }
#endif
#ifdef __AVX2__
  if constexpr (sizeof(Ints) == 32) {
    return reinterpret_cast<Ints>(_mm256_i32gather_epi32(reinterpret_cast<const int*>(from),
                                                         reinterpret_cast<__m256i>(index), size));
  }
#endif
  Ints words;
  for (int32_t i = 0; i < kVXp_LaneCount<Ints>; ++i) {
    int32_t word;
    std::memcpy(&word, from + static_cast<ptrdiff_t>(index[i]) * size, sizeof word);
    words[i] = word;
  }
  return words;
}

// Returns a condition as bits, lane 0 in the lowest.
template <class Ints>
unsigned VXp_LaneBits(Ints condition) {
#ifdef __AVX512BW__
  if constexpr (sizeof(Ints) == 64) {
    return _mm512_movepi32_mask(reinterpret_cast<__m512i>(condition));
  }
#endif
#ifdef __AVX2__
  if constexpr (sizeof(Ints) == 32) {
    return static_cast<unsigned>(_mm256_movemask_ps(reinterpret_cast<__m256>(condition)));
  }
#endif
#ifdef __SSE2__
  if constexpr (sizeof(Ints) == 16) {
    return static_cast<unsigned>(_mm_movemask_ps(reinterpret_cast<__m128>(condition)));
  }
#endif
  unsigned bits = 0;
  for (int32_t i = 0; i < kVXp_LaneCount<Ints>; ++i) bits |= (condition[i] & 1u) << i;
  return bits;
}

// --- shuffles ------------------------------------------------------------------------------------

// Returns the index, for a shuffle of vectors of `count` lanes, of lane `from` (of eight) in the
// section of lane i.
constexpr int32_t VXp_LaneInSection(size_t i, int32_t from, size_t count) {
  const size_t section = i / 4 * 4;
  return static_cast<int32_t>(from < 4 ? section + from : section + count + from - 4);
}

template <int32_t... from, class Vector, size_t... i>
Vector VXp_ShuffleLanes(Vector x, Vector y, std::index_sequence<i...>) {
  constexpr int32_t kFrom[] = {from...};
  return __builtin_shufflevector(x, y, VXp_LaneInSection(i, kFrom[i % 4], sizeof...(i))...);
}

// Shuffles the lanes of x and y within each section of four lanes: the result's section has the
// lanes a, b, c, d of the same section; 0..3 are lanes of x and 4..7 are lanes of y. (Processors
// shuffle within 16 bytes faster than across a whole vector.)
template <int32_t a, int32_t b, int32_t c, int32_t d, class Vector>
Vector VXp_Shuffled(Vector x, Vector y) {
  using Lane = std::remove_cvref_t<decltype(x[0])>;
  constexpr size_t kCount = sizeof(Vector) / sizeof(Lane);
  return VXp_ShuffleLanes<a, b, c, d>(x, y, std::make_index_sequence<kCount>());
}

// Returns a vector with the lanes of a, then those of b.
template <class Vector, size_t... i>
auto VXp_Joined(Vector a, Vector b, std::index_sequence<i...>) {
  return __builtin_shufflevector(a, b, static_cast<int32_t>(i)...);
}
template <class Vector>
auto VXp_Joined(Vector a, Vector b) {
  using Lane = std::remove_cvref_t<decltype(a[0])>;
  constexpr size_t kCount = 2 * sizeof(Vector) / sizeof(Lane);
  // GCC moves and shuffles more than is needed if it may not use the instructions directly.
#ifdef __AVX512BW__
  if constexpr (sizeof(Vector) == 32) {
    return reinterpret_cast<VXp_Lanes<Lane, kCount>>(
        _mm512_maskz_inserti64x4(0xFF, _mm512_castsi256_si512(reinterpret_cast<__m256i>(a)),
                                 reinterpret_cast<__m256i>(b), 1));
  }
#endif
#ifdef __AVX2__
  if constexpr (sizeof(Vector) == 16) {
    return reinterpret_cast<VXp_Lanes<Lane, kCount>>(_mm256_inserti128_si256(
        _mm256_castsi128_si256(reinterpret_cast<__m128i>(a)), reinterpret_cast<__m128i>(b), 1));
  }
#endif
  return VXp_Joined(a, b, std::make_index_sequence<kCount>());
}

// Orders the result of packing `parts` vectors into one (2, or 4 by packing twice): all lanes of
// the first vector, then all lanes of the second, and so on.
template <int32_t parts, class Ints, size_t... i>
Ints VXp_Unsectioned(Ints v, std::index_sequence<i...>) {
  constexpr size_t kWords = 4 / parts, kSpan = sizeof...(i) / parts;  // of a part, of a vector
  return __builtin_shufflevector(
      v, v, static_cast<int32_t>(i % kSpan / kWords * 4 + i / kSpan * kWords + i % kWords)...);
}
template <int32_t parts, class Vector>
Vector VXp_Unsectioned(Vector v) {
  using Ints = VXp_IntsLike<Vector>;
  return reinterpret_cast<Vector>(VXp_Unsectioned<parts>(
      reinterpret_cast<Ints>(v), std::make_index_sequence<kVXp_LaneCount<Vector>>()));
}

// The inverse of VXp_Unsectioned.
template <int32_t parts, class Ints, size_t... i>
Ints VXp_Sectioned(Ints v, std::index_sequence<i...>) {
  constexpr size_t kWords = 4 / parts, kSpan = sizeof...(i) / parts;
  return __builtin_shufflevector(
      v, v, static_cast<int32_t>(i % 4 / kWords * kSpan + i / 4 * kWords + i % kWords)...);
}
template <int32_t parts, class Vector>
Vector VXp_Sectioned(Vector v) {
  using Ints = VXp_IntsLike<Vector>;
  return reinterpret_cast<Vector>(VXp_Sectioned<parts>(
      reinterpret_cast<Ints>(v), std::make_index_sequence<kVXp_LaneCount<Vector>>()));
}

// Interleaves the lower (half = 0) or the upper (half = 1) four lanes of 16 bits of each section of
// 16 bytes: x, y, x, y, ...
template <int32_t half, class Halves, size_t... i>
Halves VXp_Interleaved(Halves x, Halves y, std::index_sequence<i...>) {
  return __builtin_shufflevector(
      x, y, static_cast<int32_t>(i / 8 * 8 + half * 4 + i % 8 / 2 + i % 2 * sizeof...(i))...);
}
template <int32_t half, class Halves>
Halves VXp_Interleaved(Halves x, Halves y) {
  return VXp_Interleaved<half>(x, y, std::make_index_sequence<sizeof(Halves) / 2>());
}

// Returns the lower (part = 0) or the upper (part = 1) half of the lanes.
template <int32_t part, class Vector, size_t... i>
auto VXp_HalfOf(Vector v, std::index_sequence<i...>) {
  return __builtin_shufflevector(v, v, static_cast<int32_t>(part * sizeof...(i) + i)...);
}
template <int32_t part, class Vector>
auto VXp_HalfOf(Vector v) {
  return VXp_HalfOf<part>(v, std::make_index_sequence<sizeof(Vector) / sizeof(v[0]) / 2>());
}

// Returns each lane of the lower (part = 0) or the upper (part = 1) half twice: a condition for
// lanes of twice the width.
template <int32_t part, class Vector, size_t... i>
Vector VXp_Twice(Vector v, std::index_sequence<i...>) {
  return __builtin_shufflevector(v, v, static_cast<int32_t>((part * sizeof...(i) + i) / 2)...);
}
template <int32_t part, class Vector>
Vector VXp_Twice(Vector v) {
  return VXp_Twice<part>(v, std::make_index_sequence<sizeof(Vector) / sizeof(v[0])>());
}

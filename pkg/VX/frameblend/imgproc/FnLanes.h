// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Neighbouring pixels of textures in lanes, as many as the target has. The results are those of the
// functions for one position.

#include <array>
#include <cstring>
#include <utility>

#include "frame/VXp_Lanes.h"
#include "frameblend/imgproc/FnTexture.h"

inline constexpr int32_t kFnLanes = kVXp_TargetLanes;
using FnInts = VXp_Lanes<int32_t, kFnLanes>;
using FnWords = VXp_Lanes<uint32_t, kFnLanes>;
using FnFloats = VXp_Lanes<float, kFnLanes>;

// Loads the 32-bit words at base + offset and base + offset + 4 for each lane: first those of the
// lower half of the lanes, then those of the upper half. Faster than two calls of VXp_Gathered.
template <class Ints>
std::array<Ints, 2> FnGatheredPairs(const void* base, Ints offset) {
  const char* const from = static_cast<const char*>(base);
#ifdef __AVX512BW__
  if constexpr (sizeof(Ints) == 64) {
    const auto at = reinterpret_cast<__m512i>(offset);
    const auto half = [from](__m256i part) {
      return reinterpret_cast<Ints>(
          _mm512_mask_i32gather_epi64(_mm512_setzero_si512(), 0xFF, part, from, 1));
    };
    return {half(_mm512_maskz_extracti64x4_epi64(0xFF, at, 0)),
            half(_mm512_maskz_extracti64x4_epi64(0xFF, at, 1))};
  }
#endif
#ifdef __AVX2__
  if constexpr (sizeof(Ints) == 32) {
    const auto at = reinterpret_cast<__m256i>(offset);
    const auto half = [from](__m128i part) {
      return reinterpret_cast<Ints>(
          _mm256_i32gather_epi64(reinterpret_cast<const long long*>(from), part, 1));
    };
    return {half(_mm256_castsi256_si128(at)), half(_mm256_extracti128_si256(at, 1))};
  }
#endif
  std::array<Ints, 2> pairs;
  constexpr int32_t kHalf = kVXp_LaneCount<Ints> / 2;
  for (int32_t i = 0; i < 2 * kHalf; ++i) {
    int32_t words[2];
    std::memcpy(words, from + offset[i], sizeof words);
    Ints& pair = pairs[static_cast<size_t>(i / kHalf)];
    pair[i % kHalf * 2] = words[0];
    pair[i % kHalf * 2 + 1] = words[1];
  }
  return pairs;
}

template <int32_t first, class Vector, size_t... i>
Vector FnEveryOther(const std::array<Vector, 2>& v, std::index_sequence<i...>) {
  return __builtin_shufflevector(v[0], v[1], (2 * static_cast<int32_t>(i) + first)...);
}
// Returns the lanes `first`, first + 2, ... of two vectors.
template <int32_t first, class Vector>
Vector FnEveryOther(const std::array<Vector, 2>& v) {
  return FnEveryOther<first>(v, std::make_index_sequence<kFnLanes>());
}
// Interleaves the lower (half = 0) or the upper (half = 1) lanes of two vectors.
template <int32_t half, class Vector, size_t... i>
Vector FnInterleaved(const Vector& a, const Vector& b, std::index_sequence<i...>) {
  return __builtin_shufflevector(
      a, b, static_cast<int32_t>(half * kFnLanes / 2 + i / 2 + i % 2 * kFnLanes)...);
}
template <int32_t half, class Vector>
Vector FnInterleaved(const Vector& a, const Vector& b) {
  return FnInterleaved<half>(a, b, std::make_index_sequence<kFnLanes>());
}

// The components of neighbouring vectors.
struct FnVectorLanes {
  FnFloats x, y;

  static FnVectorLanes Load(const HvVec2* vectors) {
    std::array<FnFloats, 2> loaded;
    std::memcpy(&loaded, vectors, sizeof loaded);
    return {FnEveryOther<0>(loaded), FnEveryOther<1>(loaded)};
  }
  // Stores the vectors for which a condition is true.
  void Store(FnInts condition, HvVec2* vectors) const {
    std::array<FnFloats, 2> v;
    std::memcpy(&v, vectors, sizeof v);
    v = {FnInterleaved<0>(condition, condition) ? FnInterleaved<0>(x, y) : v[0],
         FnInterleaved<1>(condition, condition) ? FnInterleaved<1>(x, y) : v[1]};
    std::memcpy(static_cast<void*>(vectors), &v, sizeof v);
  }
  // Where a condition is true, the vectors become those of `other`.
  void Replace(FnInts condition, const FnVectorLanes& other) {
    x = condition ? other.x : x;
    y = condition ? other.y : y;
  }
  FnInts Differs(const FnVectorLanes& other) const { return (x != other.x) | (y != other.y); }
  FnInts AreValid() const { return x != FLT_MAX; }
  FnFloats L1() const { return Abs(x) + Abs(y); }

  static FnFloats Abs(FnFloats v) {
    return reinterpret_cast<FnFloats>(reinterpret_cast<FnWords>(v) & 0x7FFFFFFFu);
  }
};

// Neighbouring colours of 8 or 16 bits: alpha, red, green, blue.
template <class Color>
std::array<FnFloats, 4> FnLoadColors(const Color* colors) {
  constexpr size_t kWords = sizeof(Color) / 4;
  std::array<FnFloats, kWords> loaded, words;
  std::memcpy(&loaded, colors, sizeof loaded);
  if constexpr (kWords == 1) {
    words = loaded;
  } else {
    words = {FnEveryOther<0>(loaded), FnEveryOther<1>(loaded)};
  }
  constexpr uint32_t kBits = 32 * kWords / 4, kMask = (1u << kBits) - 1;
  std::array<FnFloats, 4> channels;
  for (size_t c = 0; c < 4; ++c) {
    const auto word = reinterpret_cast<FnWords>(words[c * kBits / 32]);
    channels[c] = VXp_AsFloat(reinterpret_cast<FnInts>((word >> (c * kBits % 32)) & kMask));
  }
  return channels;
}

// The centres of kFnLanes pixels from x on.
inline FnFloats FnCentres(int32_t x) {
  FnFloats centres;
  for (int32_t i = 0; i < kFnLanes; ++i) centres[i] = static_cast<float>(x + i) + 0.5f;
  return centres;
}

// As FnSplit.
inline void FnSplitLanes(FnFloats position, FnInts* whole, FnFloats* fraction) {
  constexpr float kLimit = 0x1p30f;
  const FnFloats zero{}, least = zero - kLimit, most = zero + kLimit;
  const FnFloats low = position > least ? position : position < zero ? least : zero;
  const FnFloats limited = low < most ? low : most;
  FnInts below = VXp_Truncated(limited);
  below += VXp_AsFloat(below) > limited;
  *whole = below;
  *fraction = limited - VXp_AsFloat(below);
}

// Positions split into the pairs of elements between which they lie.
struct FnPairLanes {
  FnInts column, line;
  FnFloats fx, fy;

  FnPairLanes(FnFloats px, FnFloats py) {
    FnSplitLanes(px - 0.5f, &column, &fx);
    FnSplitLanes(py - 0.5f, &line, &fy);
  }

  // Where the pairs on both axes are inside the texture, whose origin must be 0.
  FnInts Inside(const FnTexIndexer& texture) const {
    return HasPair(texture.x, column) & HasPair(texture.y, line);
  }

 private:
  // As unsigned numbers, coordinates before the first one are above the last one.
  static FnInts HasPair(const FnTexAxis& axis, FnInts coordinate) {
    return reinterpret_cast<FnWords>(coordinate - axis.lo) < static_cast<uint32_t>(axis.count - 1);
  }
};

// Whether the elements of a texture can be addressed by 32-bit offsets in bytes.
template <class Texture>
bool FnHasLaneOffsets(const Texture& texture) {
  constexpr int64_t kMost = 0x7fffffff;
  const int64_t bytes = int64_t{texture.rowBytes} * texture.height();
  return !texture.isEmpty() && bytes > -kMost && bytes < kMost && texture.x.origin == 0 &&
         texture.y.origin == 0;
}

// Returns `from` where `part` is not above 0, and otherwise the value at `part` of the way to `to`.
inline FnFloats FnMixed(FnFloats from, FnFloats to, FnFloats part) {
  return part > 0.0f ? from + (to - from) * part : from;
}

// The bilinear samples of a float texture at positions inside; undefined in lanes that are not
// `inside`, which read the first pixels of the first two rows: the texture has at least two rows.
// As FnTexture::sampleAt.
inline FnFloats FnSampleLanes(const FnFloatMap& texture, const FnPairLanes& at, FnInts inside) {
  const FnInts offset = (at.line & inside) * texture.rowBytes + (at.column & inside) * 4;
  const auto line = [&](ptrdiff_t bytes) {
    const auto pairs =
        FnGatheredPairs(reinterpret_cast<const char*>(texture.pixels) + bytes, offset);
    return FnMixed(reinterpret_cast<FnFloats>(FnEveryOther<0>(pairs)),
                   reinterpret_cast<FnFloats>(FnEveryOther<1>(pairs)), at.fx);
  };
  return FnMixed(line(0), line(texture.rowBytes), at.fy);
}

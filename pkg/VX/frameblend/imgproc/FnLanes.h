// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Neighbouring pixels of textures in lanes, as many as the target has. The results are those of the
// functions for one position.

#include <cstring>
#include <utility>

#include "frame/VXp_Lanes.h"
#include "frameblend/imgproc/FnTexture.h"

inline constexpr int32_t kFnLanes = kVXp_TargetLanes;
using FnInts = VXp_Lanes<int32_t, kFnLanes>;
using FnWords = VXp_Lanes<uint32_t, kFnLanes>;
using FnFloats = VXp_Lanes<float, kFnLanes>;

template <int32_t first, size_t... i>
FnFloats FnEveryOther(const FnFloats& low, const FnFloats& high, std::index_sequence<i...>) {
  return __builtin_shufflevector(low, high, (2 * static_cast<int32_t>(i) + first)...);
}

// The components of neighbouring vectors.
struct FnVectorLanes {
  FnFloats x, y;

  static FnVectorLanes Load(const HvVec2* vectors) {
    FnFloats low, high;
    std::memcpy(&low, vectors, sizeof low);
    std::memcpy(&high, vectors + kFnLanes / 2, sizeof high);
    constexpr auto kIndices = std::make_index_sequence<kFnLanes>();
    return {FnEveryOther<0>(low, high, kIndices), FnEveryOther<1>(low, high, kIndices)};
  }
  FnInts Differs(const FnVectorLanes& other) const { return (x != other.x) | (y != other.y); }
  FnInts AreValid() const { return x != FLT_MAX; }
  FnFloats L1() const { return Abs(x) + Abs(y); }

  static FnFloats Abs(FnFloats v) {
    return reinterpret_cast<FnFloats>(reinterpret_cast<FnWords>(v) & 0x7FFFFFFFu);
  }
};

// The centres of kFnLanes pixels from x on.
inline FnFloats FnCentres(int32_t x) {
  FnFloats centres;
  for (int32_t i = 0; i < kFnLanes; ++i) centres[i] = static_cast<float>(x + i) + 0.5f;
  return centres;
}

// Positions split into the pairs of elements between which they lie.
struct FnPairLanes {
  FnInts column, line;
  FnFloats fx, fy;

  FnPairLanes(FnFloats px, FnFloats py) {
    Split(px - 0.5f, &column, &fx);
    Split(py - 0.5f, &line, &fy);
  }

  // Where the pairs on both axes are inside the texture, whose origin must be 0.
  FnInts Inside(const FnTexIndexer& texture) const {
    return HasPair(texture.x, column) & HasPair(texture.y, line);
  }

 private:
  // As FnSplit.
  static void Split(FnFloats position, FnInts* whole, FnFloats* fraction) {
    constexpr float kLimit = 0x1p30f;
    const FnFloats zero{}, least = zero - kLimit, most = zero + kLimit;
    const FnFloats low = position > least ? position : position < zero ? least : zero;
    const FnFloats limited = low < most ? low : most;
    FnInts below = VXp_Truncated(limited);
    below += VXp_AsFloat(below) > limited;
    *whole = below;
    *fraction = limited - VXp_AsFloat(below);
  }
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

// The bilinear samples of a float texture at positions inside; undefined in lanes that are not
// `inside`. As FnTexture::sampleAt.
inline FnFloats FnSampleLanes(const FnFloatMap& texture, const FnPairLanes& at, FnInts inside) {
  const FnInts offset = (at.line & inside) * texture.rowBytes + (at.column & inside) * 4;
  const auto element = [&](ptrdiff_t bytes) {
    const char* const base = reinterpret_cast<const char*>(texture.pixels) + bytes;
    return reinterpret_cast<FnFloats>(VXp_Gathered<1>(base, offset));
  };
  const auto mix = [](FnFloats from, FnFloats to, FnFloats part) {
    const FnFloats mixed = from + (to - from) * part;
    return part > 0.0f ? mixed : from;
  };
  const ptrdiff_t below = texture.rowBytes;
  return mix(mix(element(0), element(4), at.fx), mix(element(below), element(below + 4), at.fx),
             at.fy);
}

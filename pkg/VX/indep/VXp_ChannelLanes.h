// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The four channels of one pixel as lanes, lane 0 being alpha: conversion of stored pixels to lanes
// of numbers, and back.

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

#include "VX/VX_Types.h"
#include "frame/VXp_LaneTraits.h"

using VXp_DoublePair = double __attribute__((vector_size(16)));

// Four doubles in two registers of 16 bytes, which every supported machine has.
struct VXp_DoubleLanes {
  double Alpha() const { return first[0]; }

  VXp_DoublePair first, second;
};
inline VXp_DoubleLanes operator+(const VXp_DoubleLanes& a, const VXp_DoubleLanes& b) {
  return {a.first + b.first, a.second + b.second};
}
inline VXp_DoubleLanes operator+(const VXp_DoubleLanes& a, double b) {
  return {a.first + b, a.second + b};
}
inline VXp_DoubleLanes operator*(double a, const VXp_DoubleLanes& b) {
  return {a * b.first, a * b.second};
}

// --- from pixels ---------------------------------------------------------------------------------

inline VXp_IntLanes VXp_Ints(uint32_t pixel8) {
#ifdef __SSE2__
  const __m128i bytes = _mm_cvtsi32_si128(static_cast<int32_t>(pixel8)), zero{};
  const __m128i words = _mm_unpacklo_epi8(bytes, zero);
  return reinterpret_cast<VXp_IntLanes>(_mm_unpacklo_epi16(words, zero));
#else
  const auto p = std::bit_cast<VX_Pixel8>(pixel8);
  return VXp_IntLanes{p.alpha, p.red, p.green, p.blue};
#endif
}

inline VXp_IntLanes VXp_Ints(uint64_t pixel16) {
#ifdef __SSE2__
  const __m128i words = _mm_cvtsi64_si128(static_cast<int64_t>(pixel16)), zero{};
  return reinterpret_cast<VXp_IntLanes>(_mm_unpacklo_epi16(words, zero));
#else
  const auto p = std::bit_cast<VX_Pixel16>(pixel16);
  return VXp_IntLanes{p.alpha, p.red, p.green, p.blue};
#endif
}

inline VXp_FloatLanes VXp_Floats(uint32_t pixel8) { return VXp_AsFloat(VXp_Ints(pixel8)); }
inline VXp_FloatLanes VXp_Floats(uint64_t pixel16) { return VXp_AsFloat(VXp_Ints(pixel16)); }
inline VXp_FloatLanes VXp_Floats(VXp_FloatLanes pixel) { return pixel; }

inline VXp_DoubleLanes VXp_AsDouble(VXp_IntLanes v) {
#ifdef __SSE2__
  const auto low = reinterpret_cast<__m128i>(v);
  const __m128i high = _mm_shuffle_epi32(low, _MM_SHUFFLE(1, 0, 3, 2));
  return {reinterpret_cast<VXp_DoublePair>(_mm_cvtepi32_pd(low)),
          reinterpret_cast<VXp_DoublePair>(_mm_cvtepi32_pd(high))};
#else
  return {VXp_DoublePair{static_cast<double>(v[0]), static_cast<double>(v[1])},
          VXp_DoublePair{static_cast<double>(v[2]), static_cast<double>(v[3])}};
#endif
}

inline VXp_DoubleLanes VXp_AsDouble(VXp_FloatLanes v) {
#ifdef __SSE2__
  const auto low = reinterpret_cast<__m128>(v);
  return {reinterpret_cast<VXp_DoublePair>(_mm_cvtps_pd(low)),
          reinterpret_cast<VXp_DoublePair>(_mm_cvtps_pd(_mm_movehl_ps(low, low)))};
#else
  return {VXp_DoublePair{v[0], v[1]}, VXp_DoublePair{v[2], v[3]}};
#endif
}

template <class Raw>
VXp_DoubleLanes VXp_Doubles(Raw pixel) {
  return VXp_AsDouble(VXp_Ints(pixel));
}

// Returns the pixel with its colours multiplied by alpha.
inline VXp_FloatLanes VXp_TimesAlpha(VXp_FloatLanes p) {
  VXp_FloatLanes product = VXp_Splat<VXp_FloatLanes>(p[0]) * p;
  product[0] = p[0];
  return product;
}

// --- to pixels -----------------------------------------------------------------------------------

// Rounds by the rounding mode of the thread; the default is to nearest, ties to even.
inline VXp_IntLanes VXp_Rounded(const VXp_DoubleLanes& v) {
#ifdef __SSE2__
  return reinterpret_cast<VXp_IntLanes>(
      _mm_unpacklo_epi64(_mm_cvtpd_epi32(v.first), _mm_cvtpd_epi32(v.second)));
#else
  return VXp_IntLanes{
      static_cast<int32_t>(std::lrint(v.first[0])), static_cast<int32_t>(std::lrint(v.first[1])),
      static_cast<int32_t>(std::lrint(v.second[0])), static_cast<int32_t>(std::lrint(v.second[1]))};
#endif
}

inline VXp_IntLanes VXp_Truncated(const VXp_DoubleLanes& v) {
#ifdef __SSE2__
  return reinterpret_cast<VXp_IntLanes>(
      _mm_unpacklo_epi64(_mm_cvttpd_epi32(v.first), _mm_cvttpd_epi32(v.second)));
#else
  return VXp_IntLanes{static_cast<int32_t>(v.first[0]), static_cast<int32_t>(v.first[1]),
                      static_cast<int32_t>(v.second[0]), static_cast<int32_t>(v.second[1])};
#endif
}

// Clamps to 0..255; NaN becomes 0.
inline VXp_FloatLanes VXp_ClampedToByte(VXp_FloatLanes v) {
#ifdef __SSE2__
  return reinterpret_cast<VXp_FloatLanes>(
      _mm_min_ps(_mm_max_ps(reinterpret_cast<__m128>(v), _mm_setzero_ps()), _mm_set1_ps(255.0f)));
#else
  const VXp_FloatLanes positive = v > 0.0f ? v : VXp_FloatLanes{};
  return positive < 255.0f ? positive : VXp_Splat<VXp_FloatLanes>(255.0f);
#endif
}

// Converts lanes to a pixel. The lanes must be within the range of the channel.
inline uint32_t VXp_Packed8(VXp_IntLanes v) {
#ifdef __SSE2__
  const auto ints = reinterpret_cast<__m128i>(v);
  const __m128i words = _mm_packs_epi32(ints, ints);
  return static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_packus_epi16(words, words)));
#else
  using Bytes = uint8_t __attribute__((vector_size(4)));
  return std::bit_cast<uint32_t>(__builtin_convertvector(v, Bytes));
#endif
}

inline uint64_t VXp_Packed16(VXp_IntLanes v) {
  using Words = uint16_t __attribute__((vector_size(8)));
  return std::bit_cast<uint64_t>(__builtin_convertvector(v, Words));
}

template <class Pixel>
auto VXp_Packed(VXp_IntLanes v) {
  if constexpr (sizeof(Pixel) == sizeof(VX_Pixel8)) {
    return VXp_Packed8(v);
  } else {
    static_assert(sizeof(Pixel) == sizeof(VX_Pixel16));
    return VXp_Packed16(v);
  }
}

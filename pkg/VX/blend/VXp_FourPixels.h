// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Four neighbouring pixels of a row with their channels in lanes, and loops over rows in steps of
// four. Pixels are loaded and stored by memcpy, because a row may start at any byte.

#include <cstring>

#include "VX/VX_Types.h"
#include "blend/modes/VXp_Mode.h"
#include "frame/VXp_LaneTraits.h"

static_assert(kVXp_Lanes == 4);

template <class Pixel>
using VXp_FourOf = VXp_Argb<VXp_LaneTraits<Pixel>>;

// Loads 16 bytes as lanes of any type: item `index` of an array that may start at any byte.
// VXp_StoreLanes is the counterpart.
template <class Lanes>
Lanes VXp_LoadLanes(const void* from, ptrdiff_t index = 0) {
  Lanes v;
  std::memcpy(&v, static_cast<const char*>(from) + index * 16, sizeof v);
  return v;
}
template <class Lanes>
void VXp_StoreLanes(void* to, ptrdiff_t index, Lanes v) {
  std::memcpy(static_cast<char*>(to) + index * 16, &v, sizeof v);
}

inline VXp_FourOf<VX_Pixel8> VXp_LoadFour(const VX_Pixel8* p) {
  const auto word = VXp_LoadLanes<VXp_WordLanes>(p);
  const auto byte = [&](int32_t shift) {
    return reinterpret_cast<VXp_IntLanes>((word >> shift) & 0xFFu);
  };
  return {byte(0), byte(8), byte(16), byte(24)};
}
inline void VXp_StoreFour(VX_Pixel8* p, const VXp_FourOf<VX_Pixel8>& v) {
  VXp_StoreLanes(p, 0,
                 (v.alpha & 0xFF) | (v.red & 0xFF) << 8 | (v.green & 0xFF) << 16 | v.blue << 24);
}

// Loads four 16-bit pixels. A pixel is two 32-bit words: alpha and red, then green and blue.
inline VXp_FourOf<VX_Pixel16> VXp_LoadFour(const VX_Pixel16* p) {
  const auto first = VXp_LoadLanes<VXp_WordLanes>(p, 0);
  const auto second = VXp_LoadLanes<VXp_WordLanes>(p, 1);
  const auto ar = __builtin_shufflevector(first, second, 0, 2, 4, 6);
  const auto gb = __builtin_shufflevector(first, second, 1, 3, 5, 7);
  const auto low = [](VXp_WordLanes v) { return reinterpret_cast<VXp_IntLanes>(v & 0xFFFFu); };
  const auto high = [](VXp_WordLanes v) { return reinterpret_cast<VXp_IntLanes>(v >> 16); };
  return {low(ar), high(ar), low(gb), high(gb)};
}
inline void VXp_StoreFour(VX_Pixel16* p, const VXp_FourOf<VX_Pixel16>& v) {
  const VXp_IntLanes ar = (v.alpha & 0xFFFF) | v.red << 16;
  const VXp_IntLanes gb = (v.green & 0xFFFF) | v.blue << 16;
  VXp_StoreLanes(p, 0, __builtin_shufflevector(ar, gb, 0, 4, 1, 5));
  VXp_StoreLanes(p, 1, __builtin_shufflevector(ar, gb, 2, 6, 3, 7));
}

// Transposes four pixels to four vectors of one channel each.
inline VXp_FourOf<VX_PixelFloat> VXp_Turned(VXp_FloatLanes p0, VXp_FloatLanes p1, VXp_FloatLanes p2,
                                            VXp_FloatLanes p3) {
  const auto ar01 = __builtin_shufflevector(p0, p1, 0, 4, 1, 5);
  const auto gb01 = __builtin_shufflevector(p0, p1, 2, 6, 3, 7);
  const auto ar23 = __builtin_shufflevector(p2, p3, 0, 4, 1, 5);
  const auto gb23 = __builtin_shufflevector(p2, p3, 2, 6, 3, 7);
  return {__builtin_shufflevector(ar01, ar23, 0, 1, 4, 5),
          __builtin_shufflevector(ar01, ar23, 2, 3, 6, 7),
          __builtin_shufflevector(gb01, gb23, 0, 1, 4, 5),
          __builtin_shufflevector(gb01, gb23, 2, 3, 6, 7)};
}
inline VXp_FourOf<VX_PixelFloat> VXp_LoadFour(const VX_PixelFloat* p) {
  return VXp_Turned(VXp_LoadLanes<VXp_FloatLanes>(p, 0), VXp_LoadLanes<VXp_FloatLanes>(p, 1),
                    VXp_LoadLanes<VXp_FloatLanes>(p, 2), VXp_LoadLanes<VXp_FloatLanes>(p, 3));
}
inline void VXp_StoreFour(VX_PixelFloat* p, const VXp_FourOf<VX_PixelFloat>& v) {
  const auto turned = VXp_Turned(v.alpha, v.red, v.green, v.blue);
  VXp_StoreLanes(p, 0, turned.alpha);
  VXp_StoreLanes(p, 1, turned.red);
  VXp_StoreLanes(p, 2, turned.green);
  VXp_StoreLanes(p, 3, turned.blue);
}

// Calls step(x) for x = 0, 4, 8 ..., the first pixel of each group of four. Returns the number of
// processed pixels; the last count % 4 are not processed.
template <class Step>
int32_t VXp_ForFours(int32_t count, Step&& step) {
  ptrdiff_t x = 0;
  for (; x + kVXp_Lanes <= count; x += kVXp_Lanes) step(x);
  return static_cast<int32_t>(x);
}

// Calls row(src, mask, dst) once for the last count - done pixels, of which there are fewer than
// four. They are copied to arrays of four pixels, padded with zeros. A null mask stays null.
template <class Pixel, class Row>
void VXp_ForRest(int32_t done, int32_t count, const Pixel* src, const Pixel* mask, Pixel* dst,
                 Row&& row) {
  if (done >= count) return;
  const size_t bytes = static_cast<size_t>(count - done) * sizeof(Pixel);
  Pixel s[kVXp_Lanes]{}, m[kVXp_Lanes]{}, d[kVXp_Lanes]{};
  std::memcpy(static_cast<void*>(s), src + done, bytes);
  std::memcpy(static_cast<void*>(d), dst + done, bytes);
  if (mask != nullptr) std::memcpy(static_cast<void*>(m), mask + done, bytes);
  row(s, mask != nullptr ? m : nullptr, d);
  std::memcpy(static_cast<void*>(dst + done), d, bytes);
}

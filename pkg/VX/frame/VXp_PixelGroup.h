// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// A group of neighbouring pixels of a row with their channels in lanes, and loops over rows in
// steps of a group. Pixels are loaded and stored by memcpy, because a row may start at any byte.
//
// The order of the pixels in the lanes is the same for all groups of one pixel type and one number
// of lanes. It is the order in the row if there are four lanes, and for 8-bit pixels. For others,
// the sections of four lanes are those that shuffles within 16 bytes give.

#include <cstring>

#include "VX/VX_Types.h"
#include "frame/VXp_Argb.h"
#include "frame/VXp_LaneTraits.h"

template <class Pixel, int32_t lanes = kVXp_TargetLanes>
using VXp_GroupOf = VXp_Argb<VXp_LaneTraits<Pixel, lanes>>;

// Loads a vector of any type: item `index` of an array that may start at any byte. VXp_StoreLanes
// is the counterpart.
template <class Vector>
Vector VXp_LoadLanes(const void* from, ptrdiff_t index = 0) {
  Vector v;
  std::memcpy(&v, static_cast<const char*>(from) + index * ptrdiff_t{sizeof v}, sizeof v);
  return v;
}
template <class Vector>
void VXp_StoreLanes(void* to, ptrdiff_t index, Vector v) {
  std::memcpy(static_cast<char*>(to) + index * ptrdiff_t{sizeof v}, &v, sizeof v);
}

template <int32_t lanes = kVXp_TargetLanes>
VXp_GroupOf<VX_Pixel8, lanes> VXp_LoadGroup(const VX_Pixel8* p) {
  using L = VXp_LaneTraits<VX_Pixel8, lanes>;
  const auto word = VXp_LoadLanes<typename L::Words>(p);
  const auto byte = [&](int32_t shift) {
    return reinterpret_cast<typename L::Work>((word >> shift) & 0xFFu);
  };
  return {byte(0), byte(8), byte(16), byte(24)};
}
template <int32_t lanes>
void VXp_StoreGroup(VX_Pixel8* p, const VXp_Argb<VXp_LaneTraits<VX_Pixel8, lanes>>& v) {
  VXp_StoreLanes(p, 0,
                 (v.alpha & 0xFF) | (v.red & 0xFF) << 8 | (v.green & 0xFF) << 16 | v.blue << 24);
}

// Two vectors of 8-bit pixels in lanes of 16 bits: the pixels of the first vector are in the even
// lanes, those of the second in the odd ones.
template <int32_t lanes = 2 * kVXp_TargetLanes>
VXp_Argb<VXp_ShortTraits<lanes>> VXp_LoadShorts(const VX_Pixel8* p) {
  using L = VXp_ShortTraits<lanes>;
  using Words = typename L::Words;
  using Halves = typename L::Halves;
  const auto first = VXp_LoadLanes<Words>(p, 0), second = VXp_LoadLanes<Words>(p, 1);
  const Halves ar = reinterpret_cast<Halves>(VXp_JoinedLow(first, second));
  const Halves gb = reinterpret_cast<Halves>(VXp_JoinedHigh(first, second));
  const auto low = [](Halves v) { return reinterpret_cast<typename L::Work>(v & uint16_t{0xFF}); };
  const auto high = [](Halves v) { return reinterpret_cast<typename L::Work>(v >> 8); };
  return {low(ar), high(ar), low(gb), high(gb)};
}
template <int32_t lanes>
void VXp_StoreGroup(VX_Pixel8* p, const VXp_Argb<VXp_ShortTraits<lanes>>& v) {
  using Words = typename VXp_ShortTraits<lanes>::Words;
  const auto ar = reinterpret_cast<Words>((v.alpha & 0xFF) | v.red << 8);
  const auto gb = reinterpret_cast<Words>((v.green & 0xFF) | v.blue << 8);
  VXp_StoreLanes(p, 0, VXp_JoinedLow(ar, gb));
  VXp_StoreLanes(p, 1, VXp_JoinedHigh(ar, gb));
}

// A 16-bit pixel is two 32-bit words: alpha and red, then green and blue.
template <int32_t lanes = kVXp_TargetLanes>
VXp_GroupOf<VX_Pixel16, lanes> VXp_LoadGroup(const VX_Pixel16* p) {
  using L = VXp_LaneTraits<VX_Pixel16, lanes>;
  using Words = typename L::Words;
  const auto first = VXp_LoadLanes<Words>(p, 0);
  const auto second = VXp_LoadLanes<Words>(p, 1);
  const auto ar = VXp_Shuffled<0, 2, 4, 6>(first, second);
  const auto gb = VXp_Shuffled<1, 3, 5, 7>(first, second);
  const auto low = [](Words v) { return reinterpret_cast<typename L::Work>(v & 0xFFFFu); };
  const auto high = [](Words v) { return reinterpret_cast<typename L::Work>(v >> 16); };
  return {low(ar), high(ar), low(gb), high(gb)};
}
template <int32_t lanes>
void VXp_StoreGroup(VX_Pixel16* p, const VXp_Argb<VXp_LaneTraits<VX_Pixel16, lanes>>& v) {
  const auto ar = (v.alpha & 0xFFFF) | v.red << 16;
  const auto gb = (v.green & 0xFFFF) | v.blue << 16;
  VXp_StoreLanes(p, 0, VXp_Shuffled<0, 4, 1, 5>(ar, gb));
  VXp_StoreLanes(p, 1, VXp_Shuffled<2, 6, 3, 7>(ar, gb));
}

// Transposes each section of four lanes. The transpose of a transposed group is the group.
template <int32_t lanes, class Floats>
VXp_GroupOf<VX_PixelFloat, lanes> VXp_Turned(Floats p0, Floats p1, Floats p2, Floats p3) {
  const auto ar01 = VXp_Shuffled<0, 4, 1, 5>(p0, p1);
  const auto gb01 = VXp_Shuffled<2, 6, 3, 7>(p0, p1);
  const auto ar23 = VXp_Shuffled<0, 4, 1, 5>(p2, p3);
  const auto gb23 = VXp_Shuffled<2, 6, 3, 7>(p2, p3);
  return {VXp_Shuffled<0, 1, 4, 5>(ar01, ar23), VXp_Shuffled<2, 3, 6, 7>(ar01, ar23),
          VXp_Shuffled<0, 1, 4, 5>(gb01, gb23), VXp_Shuffled<2, 3, 6, 7>(gb01, gb23)};
}
template <int32_t lanes = kVXp_TargetLanes>
VXp_GroupOf<VX_PixelFloat, lanes> VXp_LoadGroup(const VX_PixelFloat* p) {
  using Floats = VXp_Lanes<float, lanes>;
  return VXp_Turned<lanes>(VXp_LoadLanes<Floats>(p, 0), VXp_LoadLanes<Floats>(p, 1),
                           VXp_LoadLanes<Floats>(p, 2), VXp_LoadLanes<Floats>(p, 3));
}
template <int32_t lanes>
void VXp_StoreGroup(VX_PixelFloat* p, const VXp_Argb<VXp_LaneTraits<VX_PixelFloat, lanes>>& v) {
  const auto turned = VXp_Turned<lanes>(v.alpha, v.red, v.green, v.blue);
  VXp_StoreLanes(p, 0, turned.alpha);
  VXp_StoreLanes(p, 1, turned.red);
  VXp_StoreLanes(p, 2, turned.green);
  VXp_StoreLanes(p, 3, turned.blue);
}

// Loads a group for the traits L.
template <class L>
VXp_Argb<L> VXp_LoadAs(const typename L::Pixel* p) {
  if constexpr (std::is_same_v<L, VXp_ShortTraits<L::kLanes>>) {
    return VXp_LoadShorts<L::kLanes>(p);
  } else {
    return VXp_LoadGroup<L::kLanes>(p);
  }
}

// Prefetches a later group of a row, 1024 bytes ahead, 2048 for float pixels. Hardware prefetch
// alone is not enough: the body of a loop is so long that the processor does not reach the next
// loads before it waits for those of this group. Any address is allowed, so the end of the row is
// not tested.
template <int32_t lanes, class Pixel>
void VXp_PrefetchAhead(const Pixel* group) {
  VXp_PrefetchAt<lanes * sizeof(Pixel)>(group,
                                        sizeof(Pixel) == sizeof(VX_PixelFloat) ? 2048 : 1024);
}

// Calls step(x) for the first pixel of each whole group of a row. Returns the number of processed
// pixels; the rest, fewer than a group, is not processed.
template <int32_t lanes, class Step>
int32_t VXp_ForGroups(int32_t count, Step&& step) {
  ptrdiff_t x = 0;
  for (; x + lanes <= count; x += lanes) step(x);
  return static_cast<int32_t>(x);
}

// Calls row(src, mask, dst) once for the last count - done pixels, of which there are fewer than a
// group. They are copied to arrays of one group, padded with zeros. A null mask stays null.
template <int32_t lanes, class Pixel, class Row>
void VXp_ForRest(int32_t done, int32_t count, const Pixel* src, const Pixel* mask, Pixel* dst,
                 Row&& row) {
  if (done >= count) return;
  const size_t bytes = static_cast<size_t>(count - done) * sizeof(Pixel);
  Pixel s[lanes]{}, m[lanes]{}, d[lanes]{};
  std::memcpy(static_cast<void*>(s), src + done, bytes);
  std::memcpy(static_cast<void*>(d), dst + done, bytes);
  if (mask != nullptr) std::memcpy(static_cast<void*>(m), mask + done, bytes);
  row(s, mask != nullptr ? m : nullptr, d);
  std::memcpy(static_cast<void*>(dst + done), d, bytes);
}

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Interpolates one channel of a row toward a constant.

#include "VX/VX_Mask.h"
#include "frame/VXp_PixelTraits.h"
#include "frame/VXp_Rows.h"

namespace {

// Returns c + (target - c) weight. Positive and negative differences round symmetrically, unlike in
// the interpolation of the transfer modes.
template <class Pixel>
VX_ChannelOf<Pixel> Moved(typename VXp_PixelTraits<Pixel>::Work c,
                          typename VXp_PixelTraits<Pixel>::Work target,
                          typename VXp_PixelTraits<Pixel>::Work w) {
  using T = VXp_PixelTraits<Pixel>;
  using Channel = VX_ChannelOf<Pixel>;
  if constexpr (T::kDepth == 8) {
    const int32_t t = w * (target - c) - (target < c ? 1 : 0) + 128;
    return static_cast<Channel>(c + ((t + (t >> 8)) >> 8));
  } else if constexpr (T::kDepth == 16) {
    const int32_t up = T::Mul(w, target - c), down = T::Mul(w, c - target);
    return static_cast<Channel>(target > c ? c + up : c - down);
  } else {
    return c + w * (target - c);
  }
}

template <class Pixel>
[[gnu::flatten]] void BlendRow(int32_t count, VX_ChannelOf<Pixel> opacity,
                               VX_ChannelOf<Pixel> target, const VX_ChannelOf<Pixel>* values,
                               Pixel* row) {
  using Channel = VX_ChannelOf<Pixel>;
  for (ptrdiff_t i = 0; i < count; ++i) {
    const auto w = VXp_PixelTraits<Pixel>::Mul(VXp_Load<Channel>(values + i), opacity);
    VXp_Store(row + i, Moved<Pixel>(VXp_Load<Channel>(row + i), target, w));
  }
}

}  // namespace

template <>
void VX_BlendSingleChannel<VX_Pixel8, uint8_t>(int32_t count, uint8_t opacity, uint8_t target,
                                               const uint8_t* values, VX_Pixel8* row) {
  BlendRow(count, opacity, target, values, row);
}
template <>
void VX_BlendSingleChannel<VX_Pixel16, uint16_t>(int32_t count, uint16_t opacity, uint16_t target,
                                                 const uint16_t* values, VX_Pixel16* row) {
  BlendRow(count, opacity, target, values, row);
}
template <>
void VX_BlendSingleChannel<VX_PixelFloat, float>(int32_t count, float opacity, float target,
                                                 const float* values, VX_PixelFloat* row) {
  BlendRow(count, opacity, target, values, row);
}

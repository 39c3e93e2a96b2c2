// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Fading and inverting.
//
// The row loops compute in the narrowest type that holds their values and have no branch, so that
// the compiler takes eight or sixteen samples at once.

#include <algorithm>
#include <cstring>

#include "filters/uno/VXp_UnoBuffer.h"
#include "filters/uno/VXp_UnoRows.h"
#include "frame/VXp_PixelTraits.h"

namespace {

// 0..1 to the depth's scale, to the nearest, half up. Not a number is 0.
template <class Pixel>
VX_ChannelOf<Pixel> ScaledOpacity(double opacity) {
  const double positive = opacity > 0.0 ? opacity : 0.0;
  const double unit = positive < 1.0 ? positive : 1.0;
  if constexpr (sizeof(Pixel) == sizeof(VX_PixelFloat)) {
    return static_cast<float>(unit);
  } else {
    return static_cast<VX_ChannelOf<Pixel>>(unit * VXp_PixelTraits<Pixel>::kFull + 0.5);
  }
}

VX_UnoFadeFunc<uint8_t> FadeRow(VXp_PixelTag<VX_Pixel8>) { return VXp_G_OverFuncs.VX_UnoFadeRow; }
VX_UnoFadeFunc<uint16_t> FadeRow(VXp_PixelTag<VX_Pixel16>) {
  return VXp_G_OverFuncs.VX_UnoFadeRow16;
}
VX_UnoFadeFunc<float> FadeRow(VXp_PixelTag<VX_PixelFloat>) { return &VXp_UnoFadeRowFloat; }

VX_Err InvertAndFade(bool invert, double opacity, VX_UnoBuffer* buffer,
                     int32_t line = __builtin_LINE()) {
  const VX_Err error = VXp_CheckUno(buffer, line);
  if (error != VX_Ok) return error;
  return VXp_WithPixel(buffer->depth, {kVXp_UnknownDepthText, line}, [&](auto tag) -> VX_Err {
    using Pixel = typename decltype(tag)::Pixel;
    using Sample = VX_ChannelOf<Pixel>;
    const Sample scaled = ScaledOpacity<Pixel>(opacity);
    const bool fade = scaled != VXp_PixelTraits<Pixel>::kFull;
    const M_LRect whole = VXp_UnoWhole(*buffer);
    if (whole.right == 0 || (!fade && !invert)) return VX_Ok;
    const auto fade_row = FadeRow(tag);
    return VXp_ForUnoRows(nullptr, whole.bottom, [&](int32_t, int32_t y) -> VX_Err {
      Sample* const row = VXp_UnoRow<Sample>(*buffer, 0, y);
      if (invert) VXp_UnoInvertRow(whole.right, row);
      return fade ? fade_row(whole.right, scaled, row) : VX_Ok;
    });
  });
}

}  // namespace

VX_Err VX_FadeUnoBuffer(double opacity, VX_UnoBuffer* buffer) {
  return InvertAndFade(false, opacity, buffer);
}

VX_Err VX_InvertUnoBuffer(void* ref, VX_UnoBuffer* buffer) {
  constexpr VX_Fixed kOne = 65536;
  return VX_InvertAndFadeUnoBuffer(ref, kOne, buffer);
}

VX_Err VX_InvertAndFadeUnoBuffer(void*, VX_Fixed opacity, VX_UnoBuffer* buffer) {
  return InvertAndFade(true, opacity / 65536.0, buffer);
}

// --- rows ----------------------------------------------------------------------------------------

VX_Err VXp_UnoFadeRow8(int32_t count, uint8_t opacity, uint8_t* row) {
  for (int32_t i = 0; i < count; ++i) {
    const auto t = static_cast<uint16_t>(row[i] * opacity + 128);
    row[i] = static_cast<uint8_t>(static_cast<uint16_t>(t + (t >> 8)) >> 8);
  }
  return VX_Ok;
}

// v a + 16383 >> 15 as 2 v a + 32766 >> 16, from the two halves of the product: the sum carries
// where half of the lower one and 16383 reach 32768.
VX_Err VXp_UnoFadeRow16(int32_t count, uint16_t opacity, uint16_t* row) {
  constexpr uint16_t kFull = 32768;
  if (opacity >= kFull) return VX_Ok;  // and twice of it would be no word
  const auto twice = static_cast<uint16_t>(2 * opacity);
  for (int32_t i = 0; i < count; ++i) {
    const auto v = VXp_Load<uint16_t>(row + i);
    const auto high = static_cast<uint16_t>((uint32_t{v} * twice) >> 16);
    const auto low = static_cast<uint16_t>(v * twice);
    const int carry = static_cast<uint16_t>((low >> 1) + 16383) >> 15;
    VXp_Store(row + i, static_cast<uint16_t>(high + carry));
  }
  return VX_Ok;
}

VX_Err VXp_UnoFadeRowFloat(int32_t count, float opacity, float* row) {
  for (int32_t i = 0; i < count; ++i) VXp_Store(row + i, VXp_Load<float>(row + i) * opacity);
  return VX_Ok;
}

void VXp_UnoInvertRow(int32_t count, uint8_t* row) {
  for (int32_t i = 0; i < count; ++i) row[i] = static_cast<uint8_t>(255 - row[i]);
}

void VXp_UnoInvertRow(int32_t count, uint16_t* row) {
  constexpr uint16_t kFull = 32768;
  for (int32_t i = 0; i < count; ++i) {
    const auto v = VXp_Load<uint16_t>(row + i);
    VXp_Store(row + i, static_cast<uint16_t>(kFull - std::min(v, kFull)));
  }
}

void VXp_UnoInvertRow(int32_t count, float* row) {
  for (int32_t i = 0; i < count; ++i) VXp_Store(row + i, 1.0f - VXp_Load<float>(row + i));
}

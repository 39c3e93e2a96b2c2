// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Computes rows of mask values from rows of a mask world.

#include <algorithm>

#include "VX/VX_Transfer.h"
#include "blend/modes/VXp_Mode.h"
#include "frame/VXp_Rows.h"

// Returns the mask value of one pixel for a use (VX_MaskUse_...) other than plain alpha.
template <class T, int32_t use>
typename T::Work VXp_MaskValue(const VXp_Argb<T>& p) {
  using Work = typename T::Work;
  if constexpr (use == VX_MaskUse_InverseAlpha) return T::Inv(p.alpha);
  const Work v = T::Mul(VXp_Color<T>::Of(p).Luma(), p.alpha);
  return use == VX_MaskUse_InverseLuma ? T::Inv(v) : v;
}

template <class Pixel, int32_t use>
void VXp_MaskValues(int32_t count, const Pixel* mask, Pixel* out) {
  using T = VXp_PixelTraits<Pixel>;
  for (ptrdiff_t i = 0; i < count; ++i) {
    const auto v = VXp_MaskValue<T, use>(VXp_Argb<T>::Of(VXp_Load<Pixel>(mask + i)));
    VXp_Store(out + i, static_cast<VX_ChannelOf<Pixel>>(v));
  }
}

template <class Pixel>
void VXp_FillMaskValues(int32_t count, VX_ChannelOf<Pixel> value, Pixel* out) {
  for (ptrdiff_t i = 0; i < count; ++i) VXp_Store(out + i, value);
}

// Writes mask values to the alpha of `count` pixels of `out`. The columns from `left` on get the
// values of the `available` mask pixels; the columns before and after them get the value outside
// the mask. If `left` is negative, the first -left mask pixels are skipped. For plain alpha and
// unknown uses, no mask values are written, and the value outside the mask is written from column
// `left` on.
template <class Pixel>
void VXp_TrackMatteRow(int32_t count, const Pixel* mask, int32_t left, int32_t available,
                       int32_t use, Pixel* out) {
  using T = VXp_PixelTraits<Pixel>;
  using Channel = VX_ChannelOf<Pixel>;
  const auto outside = static_cast<Channel>((use & 1) != 0 ? T::kFull : 0);
  if (left < 0) {
    const int64_t cut = -int64_t{left};
    if (cut < available) mask += cut;
    available = static_cast<int32_t>(std::max<int64_t>(available - cut, 0));
    left = 0;
  }
  const int32_t before = std::clamp(left, 0, std::max(count, 0));
  VXp_FillMaskValues(before, outside, out);
  out += before;
  count -= before;
  const int32_t inside = std::clamp(available, 0, std::max(count, 0));
  switch (use) {
    case VX_MaskUse_InverseAlpha:
      VXp_MaskValues<Pixel, VX_MaskUse_InverseAlpha>(inside, mask, out);
      out += inside;
      break;
    case VX_MaskUse_Luma:
      VXp_MaskValues<Pixel, VX_MaskUse_Luma>(inside, mask, out);
      out += inside;
      break;
    case VX_MaskUse_InverseLuma:
      VXp_MaskValues<Pixel, VX_MaskUse_InverseLuma>(inside, mask, out);
      out += inside;
      break;
    default: break;
  }
  VXp_FillMaskValues(count - inside, outside, out);
}

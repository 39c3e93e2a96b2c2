// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The transfer modes, one pixel at a time.

#include <span>

#include "RefArithmetic.h"
#include "VX/VX_Transfer.h"

namespace vxref {

// The colour that a matted mode leaves unchanged under a transparent source.
enum class Neutral { None, Black, White, Gray };
Neutral NeutralOf(int mode);

// True for modes that change alpha only.
bool IsAlphaOnly(int mode);

// Matte blends one colour channel over the neutral colour by alpha; Unmatte is its inverse.
template <class D>
typename D::Wide Matte(Neutral neutral, typename D::Wide d, typename D::Wide da);
template <class D>
typename D::Wide Unmatte(Neutral neutral, typename D::Wide r, typename D::Wide a);

// The formula of a matted mode; m is a destination channel after Matte. Row loops and single pixels
// round the product of overlay at different steps.
enum class Overlay { OfPixel, OfRow };
template <class D>
typename D::Wide MattedColor(int mode, typename D::Wide s, typename D::Wide m, typename D::Wide sa,
                             Overlay overlay);

// MixNonSeparable: hue, saturation, color and luminosity. The source must already be blended behind
// the destination. MixChosen: the last step of lighter color and darker color, if the source pixel
// is chosen: a copy at full weight, otherwise a mix.
template <class D>
void MixNonSeparable(int mode, const WidePixel<D>& s, typename D::Wide sa, WidePixel<D>* d);
template <class D>
void MixChosen(const WidePixel<D>& s, typename D::Wide sa, WidePixel<D>* d);

// The complete formula of a mode, with sa as the source's alpha. sa = 0 is not treated specially:
// callers skip such pixels, if the mode does.
template <class D>
void BlendPixel(int mode, const WidePixel<D>& s, typename D::Wide sa, WidePixel<D>* d);

// The function of an entry in the per-pixel tables. `opacities` has 0 to 2 values, depending on the
// table.
template <class Pixel>
void Xfer1(int mode, const Pixel& src, const VX_LinearBlendingTables* tables,
           std::span<const decltype(Pixel::alpha)> opacities, Pixel* dst);

}  // namespace vxref

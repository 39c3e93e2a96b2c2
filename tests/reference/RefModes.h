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

// Modes that change alpha only.
bool IsAlphaOnly(int mode);

// One colour channel onto the neutral colour by alpha, and off again.
template <class D>
typename D::Wide Matte(Neutral neutral, typename D::Wide d, typename D::Wide da);
template <class D>
typename D::Wide Unmatte(Neutral neutral, typename D::Wide r, typename D::Wide a);

// The formula of a matted mode on a destination channel m that is matted already. Rows round the
// product of overlay at another place than single pixels do.
enum class Overlay { OfPixel, OfRow };
template <class D>
typename D::Wide MattedColor(int mode, typename D::Wide s, typename D::Wide m, typename D::Wide sa,
                             Overlay overlay);

// Hue, saturation, color and luminosity on a destination that has taken the source behind it, and
// the copy or mix that ends the two modes that choose a whole pixel.
template <class D>
void MixNonSeparable(int mode, const WidePixel<D>& s, typename D::Wide sa, WidePixel<D>* d);
template <class D>
void MixChosen(const WidePixel<D>& s, typename D::Wide sa, WidePixel<D>* d);

// The whole rule of a mode, with sa in place of the source's alpha. Does not look for sa at 0.
template <class D>
void BlendPixel(int mode, const WidePixel<D>& s, typename D::Wide sa, WidePixel<D>* d);

// What an entry of the per-pixel tables does. As many opacities as the table has, 0 to 2.
template <class Pixel>
void Xfer1(int mode, const Pixel& src, const VX_LinearBlendingTables* tables,
           std::span<const decltype(Pixel::alpha)> opacities, Pixel* dst);

}  // namespace vxref

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Telling from the pixels how colour and alpha were combined.

#include "VX/VX_Types.h"

enum : int32_t {
  VX_Alpha_Straight = 1,
  VX_Alpha_PremulBlack = 2,  // multiplied against black
  VX_Alpha_PremulWhite = 3   // multiplied against white
};

struct VX_AlphaGuess {
  int32_t kind;          // VX_Alpha_..., or 0 when nothing decides
  int64_t partial;       // pixels with 0 < alpha < full
  int64_t beyond_black;  // of those, pixels with a colour above alpha: not multiplied against black
  int64_t beyond_white;  // of those, pixels with a colour below full - alpha: not against white;
                         // a code below (float: 2^-11) is still taken for rounding
};

// Looks at the pixels that are partly transparent. Where none contradicts black, and some
// contradict white, the picture is multiplied against black, and the other way round; where some
// contradict each, it is straight. When there are no such pixels, or none contradicts either,
// nothing decides: "Unable to guess alpha channel." is reported, the kind is 0, and 3 comes back
// with the counts. 0, or 3, also after a report for a null argument or a world without pixels.
// Float colours above 1 contradict black like any colour above alpha. `ref` is not read.
VX_API VX_Err VX_GuessAlpha(void* ref, const VX_LayerDef* world, VX_AlphaGuess* out);

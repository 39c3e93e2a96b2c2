// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Detects whether a picture has straight alpha or was composited onto black or white.

#include "VX/VX_Types.h"

enum : int32_t {
  VX_Alpha_Straight = 1,
  VX_Alpha_PremulBlack = 2,  // composited onto black
  VX_Alpha_PremulWhite = 3   // composited onto white
};

struct VX_AlphaGuess {
  int32_t kind;          // VX_Alpha_..., or 0 if undecided
  int64_t partial;       // number of pixels with 0 < alpha < full scale
  int64_t beyond_black;  // of these: a colour is above alpha, which excludes black
  int64_t beyond_white;  // of these: a colour is below (full scale - alpha) by more than 1 code
                         // value (float: 2^-11), which excludes white
};

// Examines the partly transparent pixels.
//
//   black excluded   white excluded   kind
//   no               yes              VX_Alpha_PremulBlack
//   yes              no               VX_Alpha_PremulWhite
//   yes              yes              VX_Alpha_Straight
//   no               no               0 (undecided); also if there are no such pixels
//
// For kind 0 "Unable to guess alpha channel." is reported and VX_ErrBadParameter is returned, with
// the counts set. Also returns VX_ErrBadParameter, with a report, for a null argument or a world
// without pixels. Float colours above 1 exclude black. `ref` is ignored.
VX_API VX_Err VX_GuessAlpha(void* ref, const VX_LayerDef* world, VX_AlphaGuess* out);

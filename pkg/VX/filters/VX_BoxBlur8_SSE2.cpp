// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "filters/VX_BoxBlurT.h"
#include "frame/VXp_Report.h"

void VXp_BoxBlurPass8_SSE2(const VXp_BoxPass& pass) {
  if (!pass.premultiplied) {
    VXp_Throw(VXp_FailVerification("untested SSE2 codepath in blur"));
  }
  VXp_RunBoxPass<VX_Pixel8>(pass);
}

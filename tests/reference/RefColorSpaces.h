// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The slow twins of the colour spaces: real numbers, neither scaled nor rounded. Colours have red,
// green and blue of 0..1.

#include <array>

namespace vxref {

using Triple = std::array<long double, 3>;

// H in degrees 0..360, L and S 0..1. Greys have no hue and no saturation: both are 0.
Triple HlsOf(const Triple& rgb);
Triple RgbOfHls(const Triple& hls);

Triple YiqOf(const Triple& rgb);
Triple RgbOfYiq(const Triple& yiq);  // what YiqOf gives that result for

}  // namespace vxref

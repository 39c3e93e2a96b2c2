// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The slow twins of the colour spaces, in real numbers without scaling and rounding. Red, green and
// blue are 0..1.

#include <array>

namespace vxref {

using Triple = std::array<long double, 3>;

// H is 0..360 degrees, L and S are 0..1. For greys H and S are 0.
Triple HlsOf(const Triple& rgb);
Triple RgbOfHls(const Triple& hls);

Triple YiqOf(const Triple& rgb);
Triple RgbOfYiq(const Triple& yiq);  // the inverse of YiqOf

}  // namespace vxref

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The slow twins of kernels and convolution, one destination pixel and one tap at a time.
//
// All arguments are good: worlds with pixels, of the depth that the template argument says, an odd
// size of at most 65535. Results go where `dst` points.

#include <vector>

#include "VX/VX_Convolve.h"

namespace vxref {

// The weights in the order of alpha, red, green, blue.
template <class Pixel>
void Convolve(const VX_LayerDef& src, int32_t flags, int32_t kernel_size,
              const int32_t* const kernels[4], const VX_LayerDef& dst);

std::vector<int32_t> GaussianKernel(double radius, int32_t flags, double multiplier);

}  // namespace vxref

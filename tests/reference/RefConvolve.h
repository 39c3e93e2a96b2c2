// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The slow twins of kernels and convolution: one destination pixel and one kernel element at a
// time.
//
// Arguments must be valid; they are not checked: worlds with pixels of the depth of the template
// argument, and an odd kernel size of at most 65535. Results are written to `dst`.

#include <vector>

#include "VX/VX_Convolve.h"

namespace vxref {

// `kernels` are those of alpha, red, green, blue.
template <class Pixel>
void Convolve(const VX_LayerDef& src, int32_t flags, int32_t kernel_size,
              const int32_t* const kernels[4], const VX_LayerDef& dst);

std::vector<int32_t> GaussianKernel(double radius, int32_t flags, double multiplier);

}  // namespace vxref

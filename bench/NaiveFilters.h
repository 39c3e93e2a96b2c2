// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// A convolution as a programmer writes it who needs only this kernel: a double loop over the kernel
// for each pixel, in the library's order, divided by the sum of the weights.

#include "Content.h"

// Applies one kernel of `size` x `size` to all channels. `dst` has the size of the picture.
template <class Pixel>
void NaiveConvolve(const Frame<Pixel>& src, int32_t size, const int32_t* kernel, Pixel* dst);

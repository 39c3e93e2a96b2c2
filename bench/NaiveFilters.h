// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// A convolution as somebody writes it who needs no other: the taps of each pixel summed in a double
// loop, in the library's order and with its division by the sum of the weights.

#include "Content.h"

// One kernel for all channels, `size` by `size`. `dst` takes as many pixels as the picture has.
template <class Pixel>
void NaiveConvolve(const Frame<Pixel>& src, int32_t size, const int32_t* kernel, Pixel* dst);

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Loops over one channel as a programmer writes them from the formulas: in int, with an `if` if the
// formula has two cases. Samples are uint8_t, uint16_t or float.

#include <cstddef>

template <class Sample>
void NaiveUnoFill(Sample value, Sample* dst, size_t count);
template <class Sample>
void NaiveUnoFade(Sample opacity, Sample* dst, size_t count);
template <class Sample>
void NaiveUnoInvert(Sample* dst, size_t count);
template <class Sample>
void NaiveUnoTransfer(const Sample* src, const Sample* mask, Sample* dst, size_t count);
// Multiplies the first of the four channels of each pixel by the mask.
template <class Sample>
void NaiveUnoMerge(const Sample* mask, Sample* pixels, size_t count);

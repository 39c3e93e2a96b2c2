// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Loops over one channel as somebody writes them from the formulas, in ints, with an `if` where the
// formula has two cases. Samples are uint8_t, uint16_t and float.

#include <cstddef>

template <class Sample>
void NaiveUnoFill(Sample value, Sample* dst, size_t count);
template <class Sample>
void NaiveUnoFade(Sample opacity, Sample* dst, size_t count);
template <class Sample>
void NaiveUnoInvert(Sample* dst, size_t count);
template <class Sample>
void NaiveUnoTransfer(const Sample* src, const Sample* mask, Sample* dst, size_t count);
// The first channel of each pixel, which has four.
template <class Sample>
void NaiveUnoMerge(const Sample* mask, Sample* pixels, size_t count);

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Converts a row of pixels between depths, several channels at once, with the same results as
// VXp_ConvertChannel.

#include <cstddef>
#include <cstdint>

#include "VX/VX_Types.h"

// Converts a number of channels, four for each pixel. All channels are converted by the same rule.
// Rows may start at any byte. They must not overlap unless the depths are equal.
using VXp_ConvertRowFunc = void (*)(const char* from, char* to, size_t channels);

// The conversion between two depths. Instantiated for each pair of pixel types.
template <class To, class From>
void VXp_ConvertRow(const char* from, char* to, size_t channels);

// Converts 16-bit or float pixels to 8 bits with dither: (c * 255 + noise) >> 15, with one noise
// word (0..32767) per channel. Floats are converted to 16 bits first.
template <class From>
void VXp_DitherRow(const char* from, char* bytes, size_t channels, const uint16_t* noise);

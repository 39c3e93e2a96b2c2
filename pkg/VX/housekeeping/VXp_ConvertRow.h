// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// A row of pixels from one depth to another, as VXp_ConvertChannel has it, several channels at
// once.

#include <cstddef>
#include <cstdint>

#include "VX/VX_Types.h"

// All four channels convert alike, so a row is a line of channels. Rows may start at any address;
// they must not overlap unless the depths are equal.
using VXp_ConvertRowFunc = void (*)(const char* from, char* to, size_t channels);

// For each pair of pixel types.
template <class To, class From>
void VXp_ConvertRow(const char* from, char* to, size_t channels);

// To 8 bits with noise in place of the half that rounds: (c * 255 + noise) >> 15 with a word of
// noise, 0..32767, a channel. Floats come down to 16 bits first. For the two deeper pixel types.
template <class From>
void VXp_DitherRow(const char* from, char* bytes, size_t channels, const uint16_t* noise);

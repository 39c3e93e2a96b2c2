// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// One channel out of interleaved pixels into a plane of its own, and back.
//
// Both work on raw memory, not on worlds, and clip nothing: every sample that is named must exist.
// Source and destination must not overlap. Rows may start at any byte. They may run on any number
// of threads on parts that do not overlap.

#include "VX/VX_Types.h"

// Copies one channel of interleaved pixels to a plane. Channel is uint8_t, uint16_t or float.
//
//   src            the channel to take, in the first pixel: &pixels->red takes the reds
//   src_rowbytes   distance between rows of pixels in bytes; negative where rows run upwards
//   dst_rowbytes   the same of the plane
//   channels       samples in a pixel, 4 in all worlds
//   size           columns and rows to copy; with either below 1 nothing is done and 0 returned
//   src_offset     first pixel to take, in columns and rows from `src`; may be negative
//   dst_offset     first sample to store, in columns and rows from `dst`; may be negative
//   dst            the first sample of the plane
//
// Sample (src_offset.x + i, src_offset.y + j) of the channel goes to (dst_offset.x + i,
// dst_offset.y + j) of the plane. 0, or 3 after a report for a null pointer or channels below 1.
template <class Channel>
VX_API VX_Err VX_Deinterleave1(const Channel* src, int32_t src_rowbytes, int32_t dst_rowbytes,
                               int32_t channels, M_Vector2T<int32_t> size,
                               M_Vector2T<int32_t> src_offset, M_Vector2T<int32_t> dst_offset,
                               Channel* dst);

// The inverse: a plane into one channel of interleaved pixels; their other channels stay. `src` is
// the plane, `dst` the channel to store in the first pixel, and `channels` counts the samples in a
// pixel of the destination. All else as above.
template <class Channel>
VX_API VX_Err VX_Interleave1to4(const Channel* src, int32_t src_rowbytes, int32_t dst_rowbytes,
                                int32_t channels, M_Vector2T<int32_t> size,
                                M_Vector2T<int32_t> src_offset, M_Vector2T<int32_t> dst_offset,
                                Channel* dst);

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Copies one channel of interleaved pixels to a plane, and a plane to one channel; or the four
// channels of pixels to four planes, and back.
//
// All work on memory, not on worlds, and do not clip: every addressed sample must exist. Source
// and destination must not overlap. Rows may start at any byte. Thread-safe on areas that do not
// overlap.

#include "VX/VX_Types.h"

// Copies one channel of interleaved pixels to a plane. Channel is uint8_t, uint16_t or float.
//
//   src            address of the channel in the first pixel, for example &pixels->red
//   src_rowbytes   bytes from row to row of pixels; negative if rows are stored upwards
//   dst_rowbytes   bytes from row to row of the plane
//   channels       samples per pixel, 4 for worlds
//   size           columns and rows to copy; if one is below 1, nothing is copied
//   src_offset     first pixel to copy, in columns and rows from `src`; may be negative
//   dst_offset     first sample to write, in columns and rows from `dst`; may be negative
//   dst            the first sample of the plane
//
// Sample (src_offset.x + i, src_offset.y + j) is copied to (dst_offset.x + i, dst_offset.y + j).
// Returns VX_ErrBadParameter with a report for a null pointer or channels below 1.
template <class Channel>
VX_API VX_Err VX_Deinterleave1(const Channel* src, int32_t src_rowbytes, int32_t dst_rowbytes,
                               int32_t channels, M_Vector2T<int32_t> size,
                               M_Vector2T<int32_t> src_offset, M_Vector2T<int32_t> dst_offset,
                               Channel* dst);

// The inverse of VX_Deinterleave1: copies a plane to one channel of interleaved pixels; their other
// channels are unchanged. `src` is the plane, `dst` the channel in the first pixel, `channels` the
// samples per pixel of the destination.
template <class Channel>
VX_API VX_Err VX_Interleave1to4(const Channel* src, int32_t src_rowbytes, int32_t dst_rowbytes,
                                int32_t channels, M_Vector2T<int32_t> size,
                                M_Vector2T<int32_t> src_offset, M_Vector2T<int32_t> dst_offset,
                                Channel* dst);

// Copies the four channels of pixels to four planes in one pass. Channel is uint8_t, uint16_t or
// float.
//
//   src             the alpha of the first pixel; samples are alpha, red, green, blue
//   src_rowbytes    bytes from row to row of pixels; negative if rows are stored upwards
//   plane_rowbytes  bytes from row to row of each plane; negative if rows are stored upwards
//   size            columns and rows to copy; if one is below 1, nothing is copied
//   planes          the first samples of the planes of alpha, red, green and blue
//
// Returns VX_ErrBadParameter with a report for a null pointer, also within `planes`.
template <class Channel>
VX_API VX_Err VX_SplitPlanes(const Channel* src, int32_t src_rowbytes, int32_t plane_rowbytes,
                             M_Vector2T<int32_t> size, Channel* const (&planes)[4]);

// The inverse of VX_SplitPlanes: `dst` is the alpha of the first pixel to write.
template <class Channel>
VX_API VX_Err VX_JoinPlanes(const Channel* const (&planes)[4], int32_t plane_rowbytes,
                            int32_t dst_rowbytes, M_Vector2T<int32_t> size, Channel* dst);

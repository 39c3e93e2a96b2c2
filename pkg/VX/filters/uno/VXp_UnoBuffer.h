// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Functions that all operations on one-channel buffers use: the check of a buffer, addresses,
// areas, the iteration over rows, and the row routines.
//
// A sample has the type of a channel of the pixels of its depth, so VXp_WithPixel selects it:
//
//   VX_Err error = VXp_CheckUno(buffer);
//   if (error != VX_Ok) return error;
//   return VXp_WithPixel(buffer->depth, kVXp_UnknownDepthText, [&](auto tag) -> VX_Err {
//     using Sample = VX_ChannelOf<typename decltype(tag)::Pixel>;
//     ...
//   });

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "VX/VX_OverrideTable.h"
#include "VX/VX_UnoBuffer.h"
#include "frame/VXp_Bands.h"
#include "frame/VXp_Dispatch.h"
#include "frame/VXp_Rects.h"
#include "frame/VXp_Report.h"
#include "frame/VXp_Rows.h"

inline constexpr uint32_t kVXp_UnoNumber = 0x52;
inline constexpr int32_t kVXp_DamagedMaskText = 12;  // entries of the string table
inline constexpr int32_t kVXp_MaskMemoryText = 11;

// --- checks --------------------------------------------------------------------------------------

// Reports a buffer that is null, has a wrong magic or no samples. Returns VX_ErrBadParameter for
// null or missing samples, VX_Ok for a wrong magic alone.
VX_Err VXp_CheckUno(const VX_UnoBuffer* buffer, int32_t line = __builtin_LINE());

// Like VXp_CheckUno. Also returns VX_ErrBadParameter, after a report, if the depth is not `depth`.
VX_Err VXp_CheckUnoOfDepth(const VX_UnoBuffer* buffer, int32_t depth,
                           int32_t line = __builtin_LINE());

// --- positions -----------------------------------------------------------------------------------

// Returns the address of sample (x, y). Buffers in a caller's memory may start at any byte, so use
// VXp_Load and VXp_Store to read and write samples.
template <class Sample>
char* VXp_UnoAddress(const VX_UnoBuffer& buffer, int32_t x, int32_t y) {
  const ptrdiff_t index = ptrdiff_t{y} * buffer.width + x;
  return static_cast<char*>(*buffer.data) + index * static_cast<ptrdiff_t>(sizeof(Sample));
}

// Returns the address of sample (x, y) in the type that row routines accept. These use VXp_Load and
// VXp_Store too.
template <class Sample>
Sample* VXp_UnoRow(const VX_UnoBuffer& buffer, int32_t x, int32_t y) {
  return reinterpret_cast<Sample*>(VXp_UnoAddress<Sample>(buffer, x, y));
}

inline M_LRect VXp_UnoWhole(const VX_UnoBuffer& buffer) {
  return {0, 0, std::max(buffer.width, 0), std::max(buffer.height, 0)};
}

// Returns the intersection of two rectangles. If it is empty, right may be less than left, or
// bottom less than top.
inline M_LRect VXp_Section(const M_LRect& a, const M_LRect& b) {
  return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
          std::min(a.bottom, b.bottom)};
}

// Returns `rect` clipped to the buffer; null is the whole buffer.
inline M_LRect VXp_UnoArea(const M_Rect* rect, const VX_UnoBuffer& buffer) {
  const M_LRect whole = VXp_UnoWhole(buffer);
  return rect == nullptr ? whole : VXp_Section(VXp_LRectOf(*rect), whole);
}

// Returns the area of a copy: `rect` of the source (null: the whole source), with its top left
// corner at `point` of the destination (null: the corner of `rect`). The area is clipped to the
// source, to `bounds` in coordinates of the source, and to the destination. Clipping does not shift
// the samples.
inline VXp_CopyArea VXp_UnoCopyArea(const VX_UnoBuffer& src, const M_LRect& bounds,
                                    const M_Rect* rect, const M_Point* point,
                                    const VX_UnoBuffer& dst) {
  const M_LRect area = VXp_Section(VXp_UnoArea(rect, src), bounds);
  const M_LRect to = VXp_UnoWhole(dst);
  const int32_t dx = point == nullptr ? 0 : point->h - (rect == nullptr ? 0 : rect->left);
  const int32_t dy = point == nullptr ? 0 : point->v - (rect == nullptr ? 0 : rect->top);
  const int64_t left = std::max<int64_t>(area.left, -dx);
  const int64_t top = std::max<int64_t>(area.top, -dy);
  const int64_t right = std::min<int64_t>(area.right, int64_t{to.right} - dx);
  const int64_t bottom = std::min<int64_t>(area.bottom, int64_t{to.bottom} - dy);
  if (right <= left || bottom <= top) return {};
  return {static_cast<int32_t>(left),         static_cast<int32_t>(top),
          static_cast<int32_t>(left + dx),    static_cast<int32_t>(top + dy),
          static_cast<int32_t>(right - left), static_cast<int32_t>(bottom - top)};
}

// --- row routines --------------------------------------------------------------------------------

// The built-in routines of the override table. A count below 1 does nothing. Rows may start at any
// byte. They return VX_Ok unless noted.

// Multiplies each sample by `opacity`, which is 0..full scale of the depth.
VX_Err VXp_UnoFadeRow8(int32_t count, uint8_t opacity, uint8_t* row);
VX_Err VXp_UnoFadeRow16(int32_t count, uint16_t opacity, uint16_t* row);
VX_Err VXp_UnoFadeRowFloat(int32_t count, float opacity, float* row);

// Replaces each sample v by full scale - v; a 16-bit sample above full scale becomes 0.
void VXp_UnoInvertRow(int32_t count, uint8_t* row);
void VXp_UnoInvertRow(int32_t count, uint16_t* row);
void VXp_UnoInvertRow(int32_t count, float* row);

// Replaces d by d + m (s - d). A null mask means m = full scale. Source and destination may be the
// same row.
VX_Err VXp_UnoTransferRow8(int32_t count, const uint8_t* src, const uint8_t* mask, uint8_t* dst);
VX_Err VXp_UnoTransferRow16(int32_t count, const uint16_t* src, const uint16_t* mask,
                            uint16_t* dst);
VX_Err VXp_UnoTransferRowFloat(int32_t count, const float* src, const float* mask, float* dst);

// Converts between any two depths, and inverts afterwards if `flag` is not 0. Returns
// VX_ErrBadParameter after a report for an unknown depth.
VX_Err VXp_UnoConvertRow(int32_t count, int32_t src_depth, const void* src, int16_t flag,
                         int32_t dst_depth, void* dst);

// Processes one row of VX_AccumulateUnoBuffers. Gains are 0 or above, at the scale of the source.
// Returns VX_ErrBadParameter after a report for an unknown mode or an unsupported pair of depths.
VX_Err VXp_UnoAccumulateRow(int32_t count, int32_t mode, int32_t src_depth, const void* src,
                            int32_t gain_src, int32_t gain_dst, int32_t dst_depth, void* dst);

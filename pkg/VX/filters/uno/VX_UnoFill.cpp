// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include <cstring>

#include "filters/uno/VXp_UnoBuffer.h"
#include "housekeeping/VXp_Repeat.h"

namespace {

// Calls `fill(first, bytes)` for each row of the area, or for several rows that are contiguous.
template <class Sample, class Fill>
VX_Err ForRuns(const VX_UnoBuffer& buffer, const M_LRect& area, const Fill& fill) {
  if (area.right <= area.left || area.bottom <= area.top) return VX_Ok;
  const int32_t width = area.right - area.left;
  const auto row_bytes = static_cast<size_t>(width) * sizeof(Sample);
  const VXp_Bands bands =
      VXp_PlanBands(area.bottom - area.top, VXp_MoveWork(width), /*independent=*/true);
  return VXp_ForBands(bands, [&](int32_t, int32_t first, int32_t count) -> VX_Err {
    const int32_t step = width == buffer.width ? count : 1;
    for (int32_t y = area.top + first; y < area.top + first + count; y += step) {
      fill(VXp_UnoAddress<Sample>(buffer, area.left, y), row_bytes * static_cast<size_t>(step));
    }
    return VX_Ok;
  });
}

template <class Sample>
VX_Err FillArea(Sample value, const VX_UnoBuffer& buffer, const M_LRect& area) {
  if constexpr (sizeof(Sample) == 1) {
    return ForRuns<Sample>(
        buffer, area, [value](char* first, size_t bytes) { std::memset(first, value, bytes); });
  } else {
    alignas(64) char pattern[VXp_PatternBytes(sizeof(Sample))];
    for (size_t i = 0; i < sizeof pattern; i += sizeof value) VXp_Store(pattern + i, value);
    return ForRuns<Sample>(buffer, area, [&pattern](char* first, size_t bytes) {
      VXp_Repeat(pattern, sizeof pattern, sizeof(Sample), first, bytes);
    });
  }
}

template <class Sample>
VX_Err Fill(Sample value, const M_Rect* rect, VX_UnoBuffer* buffer,
            int32_t line = __builtin_LINE()) {
  constexpr int32_t kDepth = sizeof(Sample) * 8;
  const VX_Err error = VXp_CheckUnoOfDepth(buffer, kDepth, line);
  if (error != VX_Ok) return error;
  return FillArea(value, *buffer, VXp_UnoArea(rect, *buffer));
}

}  // namespace

VX_Err VX_FillUnoBuffer(uint8_t value, const M_Rect& rect, VX_UnoBuffer* buffer) {
  return Fill(value, &rect, buffer);
}

VX_Err VX_FillUnoBuffer(uint8_t value, VX_UnoBuffer* buffer) {
  return Fill(value, nullptr, buffer);
}

VX_Err VX_FillDeepUnoBuffer(uint16_t value, const M_Rect& rect, VX_UnoBuffer* buffer) {
  return Fill(value, &rect, buffer);
}

VX_Err VX_FillDeepUnoBuffer(uint16_t value, VX_UnoBuffer* buffer) {
  return Fill(value, nullptr, buffer);
}

VX_Err VX_FillFloatUnoBuffer(float value, VX_UnoBuffer* buffer) {
  return Fill(value, nullptr, buffer);
}

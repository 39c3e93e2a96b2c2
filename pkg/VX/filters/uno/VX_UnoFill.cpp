// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include <cstring>

#include "filters/uno/VXp_UnoBuffer.h"
#include "housekeeping/VXp_Repeat.h"

namespace {

// Calls `fill(first, bytes)` for each row of the area, or once for rows that are contiguous.
template <class Sample, class Fill>
void ForRuns(const VX_UnoBuffer& buffer, const M_LRect& area, const Fill& fill) {
  if (area.right <= area.left || area.bottom <= area.top) return;
  const auto rows = static_cast<size_t>(area.bottom - area.top);
  const auto row_bytes = static_cast<size_t>(area.right - area.left) * sizeof(Sample);
  if (area.right - area.left == buffer.width) {
    fill(VXp_UnoAddress<Sample>(buffer, 0, area.top), rows * row_bytes);
    return;
  }
  for (int32_t y = area.top; y < area.bottom; ++y) {
    fill(VXp_UnoAddress<Sample>(buffer, area.left, y), row_bytes);
  }
}

template <class Sample>
void FillArea(Sample value, const VX_UnoBuffer& buffer, const M_LRect& area) {
  if constexpr (sizeof(Sample) == 1) {
    ForRuns<Sample>(buffer, area,
                    [value](char* first, size_t bytes) { std::memset(first, value, bytes); });
  } else {
    alignas(64) char pattern[VXp_PatternBytes(sizeof(Sample))];
    for (size_t i = 0; i < sizeof pattern; i += sizeof value) VXp_Store(pattern + i, value);
    ForRuns<Sample>(buffer, area, [&pattern](char* first, size_t bytes) {
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
  FillArea(value, *buffer, VXp_UnoArea(rect, *buffer));
  return VX_Ok;
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

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include <algorithm>

#include "VX/VX_Iterate.h"
#include "VX/VX_OverrideTable.h"
#include "frame/VXp_Bands.h"
#include "frame/VXp_Report.h"
#include "frame/VXp_RowMemory.h"
#include "frame/VXp_Rows.h"
#include "housekeeping/VXp_Area.h"
#include "housekeeping/VXp_HousekeepingBirth.h"
#include "housekeeping/VXp_RowProgress.h"

namespace {

// For each channel (alpha first), a table of words that contain the result at the position of the
// channel in a pixel. A pixel is combined from four words, so that no single bytes are extracted
// and stored.
struct Tables {
  void Set(int32_t channel, const uint8_t* table) {
    for (uint32_t v = 0; v < 256; ++v) {
      const uint32_t result = table != nullptr ? table[v] : v;
      words[channel][v] = result << 8 * channel;
    }
  }

  uint32_t words[4][256];
};

void MapRow(const char* in, char* out, int32_t count, const Tables& tables) {
  const auto& words = tables.words;
  for (int32_t x = 0; x < count; ++x, in += sizeof(VX_Pixel8), out += sizeof(VX_Pixel8)) {
    const auto p = VXp_Load<uint32_t>(in);
    VXp_Store(out, words[0][p & 0xFF] | words[1][p >> 8 & 0xFF] | words[2][p >> 16 & 0xFF] |
                       words[3][p >> 24]);
  }
}

// Returns whether a world has pixels and is not marked as 16-bit (bit 0 of world_flags). The depth
// code is ignored.
bool IsDrawable(const VX_LayerDef* world) {
  constexpr uint32_t kDeep = 1;
  return world != nullptr && world->data != nullptr && (world->world_flags & kDeep) == 0;
}

VX_Err MapRows(const VX_LayerDef& src, const M_LRect& area, const Tables& tables,
               VXp_RowProgress progress, const VX_LayerDef& dst) {
  if (VXp_IsEmpty(area)) return VX_Ok;
  const int32_t width = area.right - area.left, height = area.bottom - area.top;
  const auto row_of = [&](const VX_LayerDef& world, int32_t row) {
    return VXp_PixelAddress<VX_Pixel8>(world, area.left, area.top + row);
  };
  const auto memory = [&](const VX_LayerDef& world) {
    return VXp_RowMemory{row_of(world, 0), world.rowbytes, ptrdiff_t{width} * 4, height};
  };
  const VXp_Bands bands =
      VXp_PlanBands(height, width, VXp_RowsAreIndependent(memory(dst), {memory(src)}));
  return VXp_ForBands(bands, progress, [&](int32_t, int32_t row) -> VX_Err {
    MapRow(row_of(src, row), row_of(dst, row), width, tables);
    return VX_Ok;
  });
}

}  // namespace

VX_Err VX_IterateLUT_S(VX_ProgressInfo* progress, int32_t progress_base, int32_t progress_final,
                       const VX_LayerDef* src, const M_Rect* area, const uint8_t* alpha_table,
                       const uint8_t* red_table, const uint8_t* green_table,
                       const uint8_t* blue_table, VX_LayerDef* dst) {
  if (!IsDrawable(src) || !IsDrawable(dst)) return VXp_BadParameter(kVXp_IteratorNumber);
  Tables tables;
  tables.Set(0, alpha_table);
  tables.Set(1, red_table);
  tables.Set(2, green_table);
  tables.Set(3, blue_table);
  M_LRect part = VXp_ClippedArea(area, *dst);
  part.right = std::min(part.right, src->width);
  part.bottom = std::min(part.bottom, src->height);
  return VXp_Guarded([&] {
    return MapRows(*src, part, tables, {progress, progress_base, progress_final}, *dst);
  });
}

VX_Err VX_IterateLUT(VX_ProgressInfo* progress, int32_t progress_base, int32_t progress_final,
                     const VX_LayerDef* src, const M_Rect* area, const uint8_t* alpha_table,
                     const uint8_t* red_table, const uint8_t* green_table,
                     const uint8_t* blue_table, VX_LayerDef* dst) {
  return VXp_G_OverFuncs.VX_IterateLUT_S(progress, progress_base, progress_final, src, area,
                                         alpha_table, red_table, green_table, blue_table, dst);
}

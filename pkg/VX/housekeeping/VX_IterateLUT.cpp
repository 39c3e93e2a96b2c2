// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include <algorithm>
#include <array>
#include <numeric>

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

struct Tables {
  const uint8_t* alpha;
  const uint8_t* red;
  const uint8_t* green;
  const uint8_t* blue;
};

// Loads and stores single bytes, which is faster here than extracting bytes from words.
void MapRow(const char* in, char* out, int32_t count, const Tables& tables) {
  const Tables t = tables;
  for (int32_t x = 0; x < count; ++x, in += sizeof(VX_Pixel8), out += sizeof(VX_Pixel8)) {
    const auto p = VXp_Load<VX_Pixel8>(in);
    VXp_Store(out, VX_Pixel8{t.alpha[p.alpha], t.red[p.red], t.green[p.green], t.blue[p.blue]});
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
  std::array<uint8_t, 256> identity;
  std::iota(identity.begin(), identity.end(), uint8_t{0});
  const auto or_identity = [&](const uint8_t* table) {
    return table != nullptr ? table : identity.data();
  };
  const Tables tables{or_identity(alpha_table), or_identity(red_table), or_identity(green_table),
                      or_identity(blue_table)};
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

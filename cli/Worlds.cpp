// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "Worlds.h"

namespace vxcli {

VXIO_WorldPtr NewWorld(int32_t width, int32_t height, int32_t depth) {
  VXIO_WorldPtr world(
      VX_World::New(width, height, static_cast<int16_t>(depth), VX_WorldFlag_Clear));
  if (!world) throw VX_Err{VX_ErrOutOfMemory};
  return world;
}

VXIO_WorldPtr ViewOf(VX_World* world, const M_Rect& rect) {
  VXIO_WorldPtr view(VX_World::NewReference(world, rect));
  if (!view) throw VX_Err{VX_ErrOutOfMemory};
  return view;
}

bool IsInside(const M_Rect& rect, const VX_LayerDef& world) {
  return rect.left >= 0 && rect.top >= 0 && rect.right <= world.width &&
         rect.bottom <= world.height;
}

}  // namespace vxcli

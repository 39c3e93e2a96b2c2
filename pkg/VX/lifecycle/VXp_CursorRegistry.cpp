// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "lifecycle/VXp_CursorRegistry.h"

#include <map>

#include "VX/VX_Cursor.h"
#include "frame/VXp_Report.h"

namespace {

using Registry = std::map<void*, VX_OffscreenCursorHandler>;

// A plain pointer, so that no destructor runs if the process ends without VX_Death.
constinit Registry* registry = nullptr;

}  // namespace

void VXp_BirthCursorRegistry() {
  VXp_DeathCursorRegistry();
  registry = new Registry;
}

void VXp_DeathCursorRegistry() {
  Registry* const old = registry;
  registry = nullptr;
  delete old;
}

VX_Err VX_RegisterOffsreenCURMOUSEHandler(void* port, const VX_OffscreenCursorHandler& handler) {
  if (registry == nullptr || port == nullptr || handler.empty()) return VX_ErrBadParameter;
  return VXp_Guarded([&] { registry->insert_or_assign(port, handler); });
}

VX_Err VX_UnRegisterOffsreenCURMOUSEHandler(void* port) {
  if (registry == nullptr || registry->erase(port) == 0) return VX_ErrBadParameter;
  return VX_Ok;
}

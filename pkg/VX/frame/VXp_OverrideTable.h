// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Storage of the override table and access to its slots by number and by depth. Only VX_Birth and
// VX_SetOverrideFunc write the table.

#include "VX/VX_OverrideTable.h"

// Sets all slots to null. The first write of VX_Birth.
void VXp_ClearOverrideTable();

// Records the routines that the slots now hold as the built-in ones. The last write of VX_Birth.
void VXp_RememberBuiltInRoutines();

// Returns the content of one slot of a table; `slot` is in range.
void* VXp_ReadSlot(const VXp_OverrideTable& table, int32_t slot);

// --- slots by depth ------------------------------------------------------------------------------

// The families of the list of slots, for VXp_SlotOf.
namespace vxp_slot {
#define VX_SLOT(number, name, type, routine)
#define VX_NULL_SLOT(number)
#define VX_DEPTH_SLOT(number, name, family, element, type, routine) struct family;
#include "VX/VX_OverrideSlots.def"
#undef VX_SLOT
#undef VX_NULL_SLOT
}  // namespace vxp_slot

template <class Family, class Element>
struct VXp_SlotMember;

#define VX_SLOT(number, name, type, routine)
#define VX_NULL_SLOT(number)
#define VX_DEPTH_SLOT(number, name, family, element, type, routine) \
  template <>                                                       \
  struct VXp_SlotMember<vxp_slot::family, element> {                \
    static constexpr auto kMember = &VXp_OverrideTable::name;       \
  };
#include "VX/VX_OverrideSlots.def"
#undef VX_SLOT
#undef VX_NULL_SLOT

// Returns the routine that a family's slot for a pixel or channel type now holds:
//   VXp_SlotOf<vxp_slot::AlphaUnion, VX_Pixel16>()
template <class Family, class Element>
auto VXp_SlotOf() {
  return VXp_G_OverFuncs.*VXp_SlotMember<Family, Element>::kMember;
}

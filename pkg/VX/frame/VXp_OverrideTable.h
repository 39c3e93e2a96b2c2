// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Storage of the override table, and access to its slots by number and by pixel type. In the
// library, only VX_Birth and VX_SetOverrideFunc write the table.

#include "VX/VX_OverrideTable.h"

// Sets all slots to null. VX_Birth calls it first.
void VXp_ClearOverrideTable();

// Records the current routines as the built-in ones. VX_Birth calls it after the last slot was set.
void VXp_RememberBuiltInRoutines();

// Stores the recorded routines again in all slots that are not null. VX_Death calls it, so that no
// slot contains a routine of a module afterwards.
void VXp_RestoreBuiltInRoutines();

// Returns the content of one slot of a table. `slot` must be in range.
void* VXp_ReadSlot(const VXp_OverrideTable& table, int32_t slot);

// --- slots by depth ------------------------------------------------------------------------------

// One tag type for each family of slots in VX_OverrideSlots.def, for VXp_SlotOf.
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

// Returns the routine that is currently in the slot of a family for a pixel or channel type:
//   VXp_SlotOf<vxp_slot::AlphaUnion, VX_Pixel16>()
template <class Family, class Element>
auto VXp_SlotOf() {
  return VXp_G_OverFuncs.*VXp_SlotMember<Family, Element>::kMember;
}

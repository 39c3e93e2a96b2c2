// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "frame/VXp_OverrideTable.h"

#include <cstring>

#include "VX/VX_Package.h"
#include "frame/VXp_Report.h"

constinit VXp_OverrideTable VXp_G_OverFuncs{};

namespace {

// The routines that VX_Birth stored. A slot that differs from this table was replaced.
constinit VXp_OverrideTable built_in{};

struct SlotText {
  const char* name;
  const char* signature;
};

constexpr SlotText kSlots[] = {
#define VX_SLOT(number, name, type, routine) {#name, #type},
#define VX_NULL_SLOT(number) {nullptr, nullptr},
#include "VX/VX_OverrideSlots.def"
#undef VX_SLOT
#undef VX_NULL_SLOT
};
static_assert(sizeof(kSlots) / sizeof(kSlots[0]) == VX_OverrideSlotCount);

bool InTable(int32_t slot) { return slot >= 0 && slot < VX_OverrideSlotCount; }

size_t OffsetOf(int32_t slot) { return static_cast<size_t>(slot) * sizeof(void*); }

void WriteSlot(int32_t slot, void* routine) {
  std::memcpy(reinterpret_cast<char*>(&VXp_G_OverFuncs) + OffsetOf(slot), &routine,
              sizeof(routine));
}

int32_t StateOf(int32_t slot) {
  void* const now = VXp_ReadSlot(VXp_G_OverFuncs, slot);
  if (now == nullptr) return VX_SlotState_Null;
  return now == VXp_ReadSlot(built_in, slot) ? VX_SlotState_BuiltIn : VX_SlotState_Replaced;
}

}  // namespace

// Returns the content of a slot. Copies its bytes, because the members are function pointers of
// many types.
void* VXp_ReadSlot(const VXp_OverrideTable& table, int32_t slot) {
  void* routine;
  std::memcpy(&routine, reinterpret_cast<const char*>(&table) + OffsetOf(slot), sizeof(routine));
  return routine;
}

void VXp_ClearOverrideTable() {
  std::memset(static_cast<void*>(&VXp_G_OverFuncs), 0, sizeof(VXp_G_OverFuncs));
}

void VXp_RememberBuiltInRoutines() {
  std::memcpy(static_cast<void*>(&built_in), &VXp_G_OverFuncs, sizeof(built_in));
}

void VXp_RestoreBuiltInRoutines() {
  for (int32_t slot = 0; slot < VX_OverrideSlotCount; ++slot) {
    if (VXp_ReadSlot(VXp_G_OverFuncs, slot) == nullptr) continue;
    WriteSlot(slot, VXp_ReadSlot(built_in, slot));
  }
}

VX_Err VX_SetOverrideFunc(int32_t slot, void* routine) {
  if (!InTable(slot) || kSlots[slot].name == nullptr) {
    return VXp_FailVerification("No such slot in VX_SetOverrideFunc()");
  }
  if (routine == nullptr) return VXp_FailVerification("Null routine in VX_SetOverrideFunc()");
  WriteSlot(slot, routine);
  return VX_Ok;
}

VX_Err VX_OverrideStdFuncs() {
  constexpr int32_t kObsoleteText = 9;
  return VXp_ReportEntry(0x2F, kObsoleteText, VX_ErrObsolete);
}

VX_Err VX_DescribeSlot(int32_t slot, VX_SlotDescription* out) {
  if (!InTable(slot) || out == nullptr) return VX_ErrBadParameter;
  *out = {slot, kSlots[slot].name, kSlots[slot].signature, StateOf(slot),
          VXp_ReadSlot(VXp_G_OverFuncs, slot)};
  return VX_Ok;
}

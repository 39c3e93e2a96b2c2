// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// What stands in a slot whose routine does not exist yet, so that no listed slot is null.

#include "VX/VX_OverrideTable.h"
#include "frame/VXp_Report.h"

// Name, signature and failure text of a slot. Numbers without a routine have none.
template <int32_t number>
struct VXp_SlotTraits;

#define VX_SLOT(number, name, type)                                  \
  template <>                                                        \
  struct VXp_SlotTraits<number> {                                    \
    using Signature = type;                                          \
    static constexpr const char* kNotBuilt = #name " not built yet"; \
  };
#define VX_NULL_SLOT(number)
#include "VX/VX_OverrideSlots.def"
#undef VX_SLOT
#undef VX_NULL_SLOT

template <int32_t number, class Signature = typename VXp_SlotTraits<number>::Signature>
struct VXp_NotBuilt;

template <int32_t number, class... Arguments>
struct VXp_NotBuilt<number, VX_Err (*)(Arguments...)> {
  // Reports "<name> not built yet" and gives 3. Touches no argument.
  static VX_Err Call(Arguments...) {
    return VXp_FailVerification(VXp_SlotTraits<number>::kNotBuilt);
  }
};

// Puts these in every listed slot and zero in the others.
void VXp_FillNotBuilt(VXp_OverrideTable& table);

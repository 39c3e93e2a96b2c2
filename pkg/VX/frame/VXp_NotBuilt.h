// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Placeholders for slots without a routine, so that no slot of the list is null.

#include "VX/VX_OverrideTable.h"
#include "frame/VXp_Report.h"

// Signature and failure text of a slot. Numbers without a slot have none.
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
  // Reports "<name> not built yet" and returns VX_ErrBadParameter. Uses no argument.
  static VX_Err Call(Arguments...) {
    return VXp_FailVerification(VXp_SlotTraits<number>::kNotBuilt);
  }
};

// Sets every slot of the list to its placeholder, the others to null.
void VXp_FillNotBuilt(VXp_OverrideTable& table);

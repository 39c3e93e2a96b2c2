// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The routine of each slot of the override table as an operation. A slot whose type has no Run does
// not compile.

#include "FilterCalls.h"
#include "Operations.h"
#include "UnoCalls.h"

std::vector<Operation> SlotOperations() {
  return {
#define VX_SLOT(number, name, ...) \
  {"slot " #name, [](Command& c) { return Run(c, VXp_G_OverFuncs.name); }},
#define VX_NULL_SLOT(number)
#include "VX/VX_OverrideSlots.def"
#undef VX_SLOT
#undef VX_NULL_SLOT
  };
}

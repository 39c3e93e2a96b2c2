// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The properties of a mode by its number. VXp_Mode.h describes each property.

#include "blend/modes/VXp_Mode.h"

struct VXp_ModeTraits {
  VXp_Stages stages = VXp_Stages::kScan;
  bool skips_transparent = false;  // a source pixel of alpha 0 changes nothing
  bool writes_color = false;
  bool uses_color = false;
  bool clears_outside = false;
  bool draws_transparent_rows = false;
  bool needs_mask = false;
  bool transfer_flag = false;
};

// Returns the properties of a mode. For an unknown mode, all properties are false.
VXp_ModeTraits VXp_TraitsOfMode(int32_t mode);

// Reports an unknown mode. Returns VX_ErrUnsupported.
VX_Err VXp_UnknownMode();

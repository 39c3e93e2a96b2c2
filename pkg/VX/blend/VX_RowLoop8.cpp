// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The row loops of 8-bit pixels.

#include "blend/VXp_SelectRowLoop.h"

VXP_INSTANTIATE_ROW_LOOPS(VX_Pixel8)

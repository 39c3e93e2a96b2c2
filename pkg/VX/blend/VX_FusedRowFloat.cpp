// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "blend/VXp_FusedRow.h"

template VXp_FusedRowFunc<VX_PixelFloat> VXp_FindFusedRow(
    const VX_BlendModeDescriptor<VX_PixelFloat>&, bool);

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "VX/VX_LinearBlendingTables.h"
#include "VXIO/VXIO_Picture.h"

namespace vxcli {

// The tone curve as a picture: stored values to the right, linear light upwards, the diagonal of a
// profile that is linear already, a grid of quarters.
VXIO_WorldPtr PlotCurve(const VX_LinearBlendingTables& tables);

}  // namespace vxcli

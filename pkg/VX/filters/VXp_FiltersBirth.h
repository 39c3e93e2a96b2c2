// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// What the package's start and end take from this room.

#include "VX/VX_OverrideTable.h"

// Puts this room's routines in their slots.
void VXp_FillFiltersSlots(VXp_OverrideTable& table);

// Built-in routines of slots that carry the name of an exported call.
VX_Err VXp_Convolve_S(VX_ProgressInfo* progress, const VX_LayerDef* src, const M_Rect* rect,
                      int32_t flags, int32_t kernel_size, const int32_t* alpha_kernel,
                      const int32_t* red_kernel, const int32_t* green_kernel,
                      const int32_t* blue_kernel, VX_LayerDef* dst);
VX_Err VXp_BoxBlurUnoScan_S(int32_t kind, int32_t length, int32_t start, int32_t end,
                            VX_Fixed radius, uint8_t* scratch, uint8_t* line);
VX_Err VXp_BoxBlurDeepUnoScan_S(int32_t kind, int32_t length, int32_t start, int32_t end,
                                VX_Fixed radius, uint16_t* scratch, uint16_t* line);
VX_Err VXp_GBlurUnoScan_S(int32_t kind, int32_t length, int32_t start, int32_t end, VX_Fixed radius,
                          uint8_t* scratch, uint8_t* line);
VX_Err VXp_GBlurDeepUnoScan_S(int32_t kind, int32_t length, int32_t start, int32_t end,
                              VX_Fixed radius, uint16_t* scratch, uint16_t* line);

// Gives up the kernel that the Gaussian scans keep. Does nothing when there is none.
void VXp_FiltersDeathScanKernel();

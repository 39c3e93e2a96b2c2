// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The functions of this component that VX_Birth and VX_Death use: built-in routines of slots that
// no public header declares, and the function that frees the cached kernel of the Gaussian scans.

#include "VX/VX_OverrideTable.h"
#include "filters/uno/VXp_UnoBuffer.h"

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

// Frees the cached kernel of the Gaussian scans, if there is one.
void VXp_FiltersDeathScanKernel();

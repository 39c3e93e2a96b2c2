// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The exported tables of the per-pixel blend functions for 8-bit pixels, one entry per mode,
// generated from the list of modes.

#include "blend/VXp_Xfer1.h"

const VX_Xfer1Func<VX_Pixel8> VXp_G_Xfer1_table8[] = {
#define VX_ROW_MODE(number, constant, name, piece, ...)
#define VX_MODE(number, constant, name, piece, ...) &VXp_Xfer1<piece, VX_Pixel8>::Blend,
#include "VX/VX_TransferModes.def"
#undef VX_MODE
};

const VX_Xfer1OpacityFunc<VX_Pixel8> VXp_G_Xfer1_Opacity_table8[] = {
#define VX_ROW_MODE(number, constant, name, piece, ...)
#define VX_MODE(number, constant, name, piece, ...) &VXp_Xfer1<piece, VX_Pixel8, uint8_t>::Blend,
#include "VX/VX_TransferModes.def"
#undef VX_MODE
};

const VX_Xfer1Opacity2Func<VX_Pixel8> VXp_G_Xfer1_Opacity2_table8[] = {
#define VX_ROW_MODE(number, constant, name, piece, ...)
#define VX_MODE(number, constant, name, piece, ...) \
  &VXp_Xfer1<piece, VX_Pixel8, uint8_t, uint8_t>::Blend,
#include "VX/VX_TransferModes.def"
#undef VX_MODE
};

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The exported tables of the per-pixel blend functions for float pixels, one entry per mode,
// generated from the list of modes.

#include "blend/VXp_Xfer1.h"

const VX_Xfer1Func<VX_PixelFloat> VXp_G_Xfer1_tableF[] = {
#define VX_ROW_MODE(number, constant, name, piece, ...)
#define VX_MODE(number, constant, name, piece, ...) &VXp_Xfer1<piece, VX_PixelFloat>::Blend,
#include "VX/VX_TransferModes.def"
#undef VX_MODE
};

const VX_Xfer1OpacityFunc<VX_PixelFloat> VXp_G_Xfer1_Opacity_tableF[] = {
#define VX_ROW_MODE(number, constant, name, piece, ...)
#define VX_MODE(number, constant, name, piece, ...) &VXp_Xfer1<piece, VX_PixelFloat, float>::Blend,
#include "VX/VX_TransferModes.def"
#undef VX_MODE
};

const VX_Xfer1Opacity2Func<VX_PixelFloat> VXp_G_Xfer1_Opacity2_tableF[] = {
#define VX_ROW_MODE(number, constant, name, piece, ...)
#define VX_MODE(number, constant, name, piece, ...) \
  &VXp_Xfer1<piece, VX_PixelFloat, float, float>::Blend,
#include "VX/VX_TransferModes.def"
#undef VX_MODE
};

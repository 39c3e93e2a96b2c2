// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Converts worlds to frames for an encoder, by the rules of VXIO_ClipWriter.h.

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/pixdesc.h>
}

#include "VX/VX.hpp"

// How the samples of a frame are made.
struct VXIOp_PlaneRule {
  AVPixelFormat format = AV_PIX_FMT_NONE;  // RGB, or planar YUV with 4:4:4 or 4:2:0
  AVColorSpace matrix = AVCOL_SPC_RGB;     // of YUV
  bool full_range = true;
  bool alpha = false;  // the format has alpha
};

// Fills the planes of a frame, whose size is that of the world. The planes must be 0.
void VXIOp_FillPlanes(const VX_LayerDef& world, const VXIOp_PlaneRule& rule, AVFrame* frame);

// Returns true if every pixel has full alpha.
bool VXIOp_IsOpaque(const VX_LayerDef& world);

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Other libraries at the same work, on the same memory: they take a world as an image of four
// channels and know nothing of alpha. Each runs on one thread. A build that does not find one goes
// without it, and its columns say so.

#include "VX/VX_Types.h"
#include "VX/VX_UnoBuffer.h"
#include "host/M.h"

// Of the bell that, cut at radius + 1, has the variance of VX_GaussianValue.
inline double SigmaOf(int32_t radius) { return 0.3965 * (radius + 1); }

struct OpenCvPeer {
  // One value a channel, at the scale of the world.
  void (*fill)(const VX_LayerDef& dst, const double (&channels)[4]);
  void (*copy)(const VX_LayerDef& src, const VX_LayerDef& dst);
  // Every channel times `scale`, rounded to the nearest.
  void (*convert)(const VX_LayerDef& src, const VX_LayerDef& dst, double scale);
  // Whole to whole.
  void (*nearest)(const VX_LayerDef& src, const VX_LayerDef& dst);
  void (*linear)(const VX_LayerDef& src, const VX_LayerDef& dst);
  void (*area)(const VX_LayerDef& src, const VX_LayerDef& dst);
  // Over both axes, 2 * radius + 1 taps on each; zero beyond the border.
  void (*gaussian)(const VX_LayerDef& src, const VX_LayerDef& dst, int32_t radius);
  void (*box)(const VX_LayerDef& src, const VX_LayerDef& dst, int32_t radius, int32_t iterations);
  // A kernel of `size` by `size`, divided by its sum; zero beyond the border.
  void (*convolve)(const VX_LayerDef& src, const VX_LayerDef& dst, int32_t size,
                   const int32_t* kernel);

  // Bilinear, zero beyond the border. `back` maps the destination to the source, without w.
  void (*warp)(const VX_LayerDef& src, const VX_LayerDef& dst, const M_Matrix3& back);
  // The mean of `count` such warps.
  void (*warps)(const VX_LayerDef& src, const VX_LayerDef& dst, const M_Matrix3* backs,
                int32_t count);

  // One channel, in place: a value at the scale of the depth; every sample times `scale`; `full`
  // minus the sample; src * weight + dst * rest with two float buffers that make 1 in sum (8 bits
  // and float only).
  void (*uno_fill)(const VX_UnoBuffer& dst, double value);
  void (*uno_fade)(const VX_UnoBuffer& dst, double scale);
  void (*uno_invert)(const VX_UnoBuffer& dst, double full);
  void (*uno_blend)(const VX_UnoBuffer& src, const VX_UnoBuffer& weight, const VX_UnoBuffer& rest,
                    const VX_UnoBuffer& dst);
  // One channel over both axes, the border repeated: boxes of `width` taps, or a bell as above.
  void (*uno_box)(const VX_UnoBuffer& src, const VX_UnoBuffer& dst, int32_t width, int32_t times);
  void (*uno_gaussian)(const VX_UnoBuffer& src, const VX_UnoBuffer& dst, int32_t radius);
};
const OpenCvPeer* OpenCv();  // null: not installed

struct VipsPeer {
  // Channels of `src` as those of the type of `dst`: shifted by 8 between 8 and 16 bits, not scaled
  // to and from float. The result is memory of its own, taken anew each time.
  void (*cast)(const VX_LayerDef& src, const VX_LayerDef& dst);
  // As OpenCV's, but the border pixel is repeated beyond. The result is copied to `dst`.
  void (*gaussian)(const VX_LayerDef& src, const VX_LayerDef& dst, int32_t radius);
  void (*convolve)(const VX_LayerDef& src, const VX_LayerDef& dst, int32_t size,
                   const int32_t* kernel);
  // As OpenCV's. The result is copied to `dst`.
  void (*warp)(const VX_LayerDef& src, const VX_LayerDef& dst, const M_Matrix3& back);
  // Means of `factor` by `factor` pixels. The result is copied to `dst`.
  void (*shrink)(const VX_LayerDef& src, const VX_LayerDef& dst, int32_t factor);
};
const VipsPeer* Vips();  // null: not installed

struct OiioPeer {
  // As OpenCV's where nothing is reduced, else the triangle widens.
  void (*warp)(const VX_LayerDef& src, const VX_LayerDef& dst, const M_Matrix3& back);
  // Means of what a destination pixel covers, where that is whole pixels.
  void (*box)(const VX_LayerDef& src, const VX_LayerDef& dst, const M_Matrix3& back);
};
const OiioPeer* Oiio();  // null: not installed

// The way back; a benchmark has no matrix without one.
M_Matrix3 Inverse(const M_Matrix3& matrix);

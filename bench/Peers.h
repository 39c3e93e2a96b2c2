// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The operations of the benchmarks by other libraries, on the same memory. These process a world as
// an image of four channels and ignore alpha. Each uses one thread. If a library is not installed,
// its columns are empty.

#include "VX/VX_Types.h"
#include "VX/VX_UnoBuffer.h"
#include "host/M.h"

// The standard deviation of a normal distribution that is cut off at radius + 1 and has the
// variance of VXp_GaussianValue.
inline double SigmaOf(int32_t radius) { return 0.3965 * (radius + 1); }

struct OpenCvPeer {
  // One value per channel, at the scale of the depth.
  void (*fill)(const VX_LayerDef& dst, const double (&channels)[4]);
  void (*copy)(const VX_LayerDef& src, const VX_LayerDef& dst);
  // Multiplies every channel by `scale`, rounded to nearest.
  void (*convert)(const VX_LayerDef& src, const VX_LayerDef& dst, double scale);
  // Scales the whole of `src` to the whole of `dst`.
  void (*nearest)(const VX_LayerDef& src, const VX_LayerDef& dst);
  void (*linear)(const VX_LayerDef& src, const VX_LayerDef& dst);
  void (*area)(const VX_LayerDef& src, const VX_LayerDef& dst);
  // Blurs along both axes with 2 * radius + 1 weights. Pixels outside the picture are 0.
  void (*gaussian)(const VX_LayerDef& src, const VX_LayerDef& dst, int32_t radius);
  void (*box)(const VX_LayerDef& src, const VX_LayerDef& dst, int32_t radius, int32_t iterations);
  // Applies a kernel of `size` x `size`, divided by its sum. Pixels outside the picture are 0.
  void (*convolve)(const VX_LayerDef& src, const VX_LayerDef& dst, int32_t size,
                   const int32_t* kernel);

  // Bilinear; pixels outside the picture are 0. `to_src` maps the destination to the source; its
  // third column is 0, 0, 1.
  void (*warp)(const VX_LayerDef& src, const VX_LayerDef& dst, const M_Matrix3& to_src);
  // The mean of `count` such warps.
  void (*warps)(const VX_LayerDef& src, const VX_LayerDef& dst, const M_Matrix3* inverses,
                int32_t count);

  // One channel, in place: fill with a value at the scale of the depth; multiply by `scale`; `full`
  // minus the sample; src * weight + dst * rest, where the float buffers weight and rest add up to
  // 1 (8 bits and float only).
  void (*uno_fill)(const VX_UnoBuffer& dst, double value);
  void (*uno_fade)(const VX_UnoBuffer& dst, double scale);
  void (*uno_invert)(const VX_UnoBuffer& dst, double full);
  void (*uno_blend)(const VX_UnoBuffer& src, const VX_UnoBuffer& weight, const VX_UnoBuffer& rest,
                    const VX_UnoBuffer& dst);
  // One channel along both axes, with border samples repeated: boxes of `width` samples, or a
  // Gaussian of SigmaOf(radius).
  void (*uno_box)(const VX_UnoBuffer& src, const VX_UnoBuffer& dst, int32_t width, int32_t times);
  void (*uno_gaussian)(const VX_UnoBuffer& src, const VX_UnoBuffer& dst, int32_t radius);
};
const OpenCvPeer* OpenCv();  // null if not installed

struct FlowPeer {
  // Dense optical flow by DIS between two pictures of one byte per pixel. The presets are 0
  // ultrafast, 1 fast, 2 medium.
  void (*dis)(const uint8_t* from, const uint8_t* to, int32_t width, int32_t height, int preset);
};
const FlowPeer* OpenCvFlow();  // null if not installed

struct VipsPeer {
  // Converts channels to the type of `dst`: shifted by 8 between 8 and 16 bits, not scaled to or
  // from float. The result is allocated by each call and freed, not stored in `dst`.
  void (*cast)(const VX_LayerDef& src, const VX_LayerDef& dst);
  // Like OpenCV's, but border pixels are repeated outside. The result is copied to `dst`.
  void (*gaussian)(const VX_LayerDef& src, const VX_LayerDef& dst, int32_t radius);
  void (*convolve)(const VX_LayerDef& src, const VX_LayerDef& dst, int32_t size,
                   const int32_t* kernel);
  // Like OpenCV's. The result is copied to `dst`.
  void (*warp)(const VX_LayerDef& src, const VX_LayerDef& dst, const M_Matrix3& to_src);
  // The mean of each block of `factor` x `factor` pixels. The result is copied to `dst`.
  void (*shrink)(const VX_LayerDef& src, const VX_LayerDef& dst, int32_t factor);
};
const VipsPeer* Vips();  // null if not installed

struct OiioPeer {
  // Like OpenCV's for enlargements. For reductions, the triangle filter is widened.
  void (*warp)(const VX_LayerDef& src, const VX_LayerDef& dst, const M_Matrix3& to_src);
  // The mean of the source pixels that a destination pixel covers, if it covers whole pixels.
  void (*box)(const VX_LayerDef& src, const VX_LayerDef& dst, const M_Matrix3& to_src);
};
const OiioPeer* Oiio();  // null if not installed

// The inverse of a matrix, which must have one.
M_Matrix3 Inverse(const M_Matrix3& matrix);

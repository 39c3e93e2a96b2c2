// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Samples at many positions: what the library's own bilinear samplers give there, bit for bit,
// without a call and a look at the rounding mode for each pixel.

#include "VX/VX_Sampling.h"
#include "indep/VXp_Neighbours.h"

// Stores the samples at (x[0], y[0]), (x[1], y[1]) and so on. All their neighbours lie in the
// world, as for the samplers that do not clip.
template <class Pixel>
using VXp_SamplePointsCall = void(const VX_SampPB& record, const VX_Fixed* x, const VX_Fixed* y,
                                  int32_t count, Pixel* out);
template <class Pixel>
using VXp_SamplePointsFunc = VXp_SamplePointsCall<Pixel>*;

// The form for points of a bilinear sampler of straight alpha, be it one that clips, one that does
// not, or one that tells what it found. Null for one that is not the library's own. For each pixel
// type.
template <class Pixel>
VXp_SamplePointsFunc<Pixel> VXp_PointsForm(VX_SampleFunc<Pixel> sample);
template <class Pixel>
VXp_SamplePointsFunc<Pixel> VXp_PointsForm(VX_SampleAllInFunc<Pixel> sample);

// --- the forms themselves ------------------------------------------------------------------------

// Double precision, at 8 and 16 bits.
template <class Pixel>
VXp_SamplePointsCall<Pixel> VXp_StraightPoints;
// Single precision at 8 bits, the rule of machines with SSE2.
VXp_SamplePointsCall<VX_Pixel8> VXp_SinglePoints;
VXp_SamplePointsCall<VX_PixelFloat> VXp_PortablePoints;

// Where the left neighbours of a position lie.
template <class Pixel>
class VXp_Origin {
 public:
  explicit VXp_Origin(const VX_LayerDef& src)
      : VXp_Origin(static_cast<const char*>(src.data), src.rowbytes) {}
  VXp_Origin(const char* first, ptrdiff_t rowbytes) : first_(first), rowbytes_(rowbytes) {}

  const char* Upper(VX_Fixed x, VX_Fixed y) const {
    return first_ + (y >> 16) * rowbytes_ + (x >> 16) * static_cast<ptrdiff_t>(sizeof(Pixel));
  }
  const char* Lower(const char* upper) const { return upper + rowbytes_; }
  ptrdiff_t rowbytes() const { return rowbytes_; }

 private:
  const char* first_;
  ptrdiff_t rowbytes_;
};

// `mix(quad, fx, fy)` gives the raw pixel.
template <class Pixel, class Mixing>
void VXp_MixPoints(const VX_SampPB& record, const VX_Fixed* x, const VX_Fixed* y, int32_t count,
                   Pixel* out, const Mixing& mix) {
  const VXp_Origin<Pixel> origin(*record.src);
  const int32_t rowbytes = record.src->rowbytes;
  for (ptrdiff_t i = 0; i < count; ++i) {
    const auto quad = VXp_Unclipped::Four<Pixel>(origin.Upper(x[i], y[i]), rowbytes);
    VXp_Store(out + i, mix(quad, static_cast<uint32_t>(x[i]) & 0xFFFF,
                           static_cast<uint32_t>(y[i]) & 0xFFFF));
  }
}

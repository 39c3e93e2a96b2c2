// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Bilinear samples for straight alpha at many positions, with the results of the exported samplers.
// Faster than these, because there is no call and no check of the rounding mode for each pixel.

#include "VX/VX_Sampling.h"
#include "indep/VXp_Neighbours.h"

// Stores the samples at (x[0], y[0]), (x[1], y[1]) and so on. All neighbours must be in the world.
// If `ahead` is not 0, prefetches the memory at this distance in bytes from the neighbours, because
// hardware prefetch does not follow rows that are not horizontal.
template <class Pixel>
using VXp_SamplePointsCall = void(const VX_SampPB& record, const VX_Fixed* x, const VX_Fixed* y,
                                  int32_t count, ptrdiff_t ahead, Pixel* out);
template <class Pixel>
using VXp_SamplePointsFunc = VXp_SamplePointsCall<Pixel>*;

// Samples points with the results of the clipped samplers, and of the samplers that report whether
// all neighbours are inside the world.
template <class Pixel>
VXp_SamplePointsCall<Pixel> VXp_StraightPoints;

// Samples a span: `count` positions in steps of one pixel from (x, y) on. All neighbours must be in
// the world. For `ahead` see above.
template <class Pixel>
using VXp_SampleSpanCall = void(const VX_SampPB& record, VX_Fixed x, VX_Fixed y, int32_t count,
                                ptrdiff_t ahead, Pixel* out);

// Gives the results of the built-in span sampler of the set.
template <class Pixel>
VXp_SampleSpanCall<Pixel> VXp_StraightSpan;

// Returns the function with the results of the set's unclipped sampler: VXp_StraightPoints or, if
// that slot holds the SSE2 sampler, VXp_SinglePoints. Returns null if a slot of the set or the slot
// that computes weights was replaced; the operation must then call the slots for every pixel. Call
// it once per operation, since slots may be replaced between operations. Defined for each pixel
// type.
template <class Pixel>
VXp_SamplePointsFunc<Pixel> VXp_OwnPoints(const VX_SamplerSet<Pixel>& set);

// Gives the results of VX_SubpixelSampleNoClip_Straight_SSE2.
VXp_SamplePointsCall<VX_Pixel8> VXp_SinglePoints;

// Computes the addresses of the left neighbours of positions in a world.
template <class Pixel>
class VXp_Origin {
 public:
  explicit VXp_Origin(const VX_LayerDef& src)
      : VXp_Origin(static_cast<const char*>(src.data), src.rowbytes) {}
  VXp_Origin(const char* first, int32_t rowbytes) : first_(first), rowbytes_(rowbytes) {}

  const char* Upper(VX_Fixed x, VX_Fixed y) const {
    return first_ + static_cast<ptrdiff_t>(y >> 16) * rowbytes_ +
           (x >> 16) * static_cast<ptrdiff_t>(sizeof(Pixel));
  }
  int32_t rowbytes() const { return rowbytes_; }

 private:
  const char* first_;
  int32_t rowbytes_;
};

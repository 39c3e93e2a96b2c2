// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "indep/VXp_Neighbours.h"

namespace {

// Returns the column or row of the nearest pixel. Computed in 64 bits, since the sum may exceed 32
// bits.
int32_t Nearest(VX_Fixed position) {
  return static_cast<int32_t>((int64_t{position} + 32768) >> 16);
}

template <class Pixel>
VX_Err Sample(VX_Fixed x, VX_Fixed y, const VX_SampPB* record, Pixel* out) {
  VXp_Store(out, VXp_Clipped::One<Pixel>(*record->src, Nearest(x), Nearest(y)));
  return VX_Ok;
}

}  // namespace

VX_Err VX_NNSample(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                   VX_Pixel8* out) {
  return Sample(x, y, record, out);
}

VX_Err VX_NNSample16(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                     VX_Pixel16* out) {
  return Sample(x, y, record, out);
}

VX_Err VX_NNSampleFloat(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                        VX_PixelFloat* out) {
  return Sample(x, y, record, out);
}

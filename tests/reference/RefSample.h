// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The slow twins of the samplers, a function for each rule and form.
//
// They look at the bounds always: a form that does not is compared where all that it reads lies in
// the world. The floating-point unit rounds to nearest when they are called. `progress` is not
// read; the result is 0.

#include "VX/VX_Sampling.h"

namespace vxref {

// A pixel of any column and row: zero outside.
template <class Pixel>
Pixel PixelAt(const VX_LayerDef& world, int64_t column, int64_t row);

template <class Pixel>
VX_Err Nearest(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record, Pixel* out);

// Double weights, and shortcuts for whole positions, equal pixels and equal alphas: 8 and 16 bits.
template <class Pixel>
VX_Err Scalar(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record, Pixel* out);
template <class Pixel>
VX_Err ScalarAllIn(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                   uint8_t* all_in, Pixel* out);
template <class Pixel>
VX_Err ScalarWeighted(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SubpixelWeights* weights,
                      const VX_SampPB* record, Pixel* out);
template <class Pixel>
VX_Err ScalarSpan(VX_ProgressInfo*, int32_t count, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                  uint32_t* alpha_sum, Pixel* out);

// Float weights, and a shortcut for equal alphas: three depths; the second and third for float.
template <class Pixel>
VX_Err Portable(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record, Pixel* out);
VX_SampleAllInCall<VX_PixelFloat> PortableAllIn;
VX_SampleWeightedCall<VX_PixelFloat> PortableWeighted;
template <class Pixel>
VX_Err PortableSpan(VX_ProgressInfo*, int32_t count, VX_Fixed x, VX_Fixed y,
                    const VX_SampPB* record, VX_AlphaSumOf<Pixel>* alpha_sum, Pixel* out);

// Single precision: that of the slot where the processor has SSE2, and of the _4 forms.
VX_SampleCall<VX_Pixel8> SinglePrecision;
VX_SampleFourCall Four;
VX_SampleFourWeightedCall FourWeighted;

// The four channels alike: integer weights at 8 bits, double ones at 16, float ones at float.
template <class Pixel>
VX_Err Premultiplied(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record, Pixel* out);

VX_ComputeWeightCall ComputeWeight;

// Boxes, by alpha and plain. Integers come from exact sums. Float is a long double rounded once,
// and may therefore differ from double sums in the last place.
template <class Pixel>
VX_Err BoxStraight(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record, Pixel* out);
template <class Pixel>
VX_Err BoxPremultiplied(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                        Pixel* out);

}  // namespace vxref

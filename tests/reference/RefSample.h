// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The slow twins of the samplers: a function for each interpolation rule and each signature.
//
// They always check bounds. A sampler of the product that does not is compared only at positions
// where all pixels that it reads are inside the world. The caller must set the floating-point unit
// to round to nearest. `progress` is ignored; the result is 0.
// read; the result is 0.

#include "VX/VX_Sampling.h"

namespace vxref {

// The pixel at any column and row; the zero pixel outside of the world.
template <class Pixel>
Pixel PixelAt(const VX_LayerDef& world, int64_t column, int64_t row);

template <class Pixel>
VX_Err Nearest(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record, Pixel* out);

// Samplers with weights in double precision, at 8 and 16 bits. Positions on a pixel, four equal
// pixels and four equal alphas are treated specially.
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

// Samplers with weights in single precision. Four equal alphas are treated specially. Portable and
// PortableSpan exist at all depths, the other two at float.
template <class Pixel>
VX_Err Portable(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record, Pixel* out);
VX_SampleAllInCall<VX_PixelFloat> PortableAllIn;
VX_SampleWeightedCall<VX_PixelFloat> PortableWeighted;
template <class Pixel>
VX_Err PortableSpan(VX_ProgressInfo*, int32_t count, VX_Fixed x, VX_Fixed y,
                    const VX_SampPB* record, VX_AlphaSumOf<Pixel>* alpha_sum, Pixel* out);

// 8-bit samplers in single precision: the sampler slot on processors with SSE2, and the samplers of
// four pixels (_4).
VX_SampleCall<VX_Pixel8> SinglePrecision;
VX_SampleFourCall Four;
VX_SampleFourWeightedCall FourWeighted;

// Interpolates colours like alpha, for premultiplied worlds. Weights are integers at 8 bits,
// doubles at 16 bits, and single precision at float.
template <class Pixel>
VX_Err Premultiplied(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record, Pixel* out);

VX_ComputeWeightCall ComputeWeight;

// The mean over a box, for straight alpha (colours weighted by alpha) and for premultiplied worlds.
// Integer depths use exact sums. Float uses long double sums that are rounded once, so that the
// product's double sums may differ in the last place.
template <class Pixel>
VX_Err BoxStraight(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record, Pixel* out);
template <class Pixel>
VX_Err BoxPremultiplied(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                        Pixel* out);

}  // namespace vxref

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Bilinear for premultiplied pixels: the four channels mixed alike, clipped.
//
// At 8 and 16 bits value + 0.5, truncated; there every weight and every sum is exact.

#include "indep/VXp_Weights.h"

namespace {

// The 8-bit weights: integers on a scale of 65536. Three are cut, the first gets what is left. Sums
// with bytes stay below 2^24, so single precision loses nothing.
struct ByteWeights {
  explicit ByteWeights(const VXp_Place& at) {
    const uint32_t i11 = at.fx * at.fy >> 16;
    const uint32_t i10 = at.fx * (65536 - at.fy) >> 16;
    const uint32_t i01 = at.fy * (65536 - at.fx) >> 16;
    w00 = static_cast<float>(65536 - i10 - i01 - i11);
    w10 = static_cast<float>(i10);
    w01 = static_cast<float>(i01);
    w11 = static_cast<float>(i11);
  }

  float w00, w10, w01, w11;
};

template <class Weights, class Lanes>
Lanes Mixed(const Weights& w, const Lanes& p00, const Lanes& p10, const Lanes& p01,
            const Lanes& p11) {
  return w.w00 * p00 + w.w10 * p10 + w.w01 * p01 + w.w11 * p11;
}

uint32_t MixedQuad(const VXp_Quad<VX_Pixel8>& q, const VXp_Place& at) {
  const VXp_FloatLanes sum = Mixed(ByteWeights(at), VXp_Floats(q.p00), VXp_Floats(q.p10),
                                   VXp_Floats(q.p01), VXp_Floats(q.p11));
  return VXp_Packed8(VXp_Truncated((sum + 32768.0f) * 0x1p-16f));
}

uint64_t MixedQuad(const VXp_Quad<VX_Pixel16>& q, const VXp_Place& at) {
  const VXp_DoubleLanes value = Mixed(VXp_DoubleWeights(at.fx, at.fy), VXp_Doubles(q.p00),
                                      VXp_Doubles(q.p10), VXp_Doubles(q.p01), VXp_Doubles(q.p11));
  return VXp_Packed16(VXp_Truncated(value + 0.5));
}

// A whole position is its pixel and four equal pixels are that pixel by the arithmetic too; telling
// them apart saves it.
template <class Pixel>
VX_Err Sample(VX_Fixed x, VX_Fixed y, const VX_SampPB* record, Pixel* out) {
  const VXp_Place at(x, y);
  if (at.IsWhole()) {
    VXp_Store(out, VXp_Clipped::One<Pixel>(*record->src, at.column, at.row));
    return VX_Ok;
  }
  const auto quad = VXp_Clipped::Four<Pixel>(*record->src, at);
  VXp_Store(out, quad.SamePixels() ? quad.p00 : MixedQuad(quad, at));
  return VX_Ok;
}

}  // namespace

VX_Err VX_SubpixelSample_Premul(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                                VX_Pixel8* out) {
  return Sample(x, y, record, out);
}

VX_Err VX_SubpixelSample_Premul16(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                                  VX_Pixel16* out) {
  return Sample(x, y, record, out);
}

// Single precision and no rounding; a whole position is computed as any.
VX_Err VX_SubpixelSample_PremulFloat(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y,
                                     const VX_SampPB* record, VX_PixelFloat* out) {
  const VXp_Place at(x, y);
  const auto q = VXp_Clipped::Four<VX_PixelFloat>(*record->src, at);
  VXp_Store(out, Mixed(VXp_SingleWeights(at.fx, at.fy), q.p00, q.p10, q.p01, q.p11));
  return VX_Ok;
}

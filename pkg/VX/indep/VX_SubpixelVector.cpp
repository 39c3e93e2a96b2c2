// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Bilinear samplers for straight alpha at 8 bits in single precision, unclipped: the sampler that
// VX_Birth stores in the slot of VX_SubpixelSampleNoClip_Straight with the embedded host, and the
// samplers that compute four positions per call. By definition their results differ from those of
// the samplers in double precision. They need no SSE2.
//
// Every channel is value + 0.5, truncated and clamped to 0..255.

#include "indep/VXp_BytePairs.h"
#include "indep/VXp_MixFour.h"
#include "indep/VXp_Weights.h"

namespace {

uint32_t Finished(VXp_FloatLanes v) {
  return VXp_Packed8(VXp_Truncated(VXp_ClampedToByte(v + 0.5f)));
}

// Mixes all channels, alpha included, first vertically in each column, then horizontally.
VXp_FloatLanes InTwoSteps(const VXp_SingleQuad& quad, const VXp_Position& at) {
  const float a = static_cast<float>(at.fx) * 0x1p-16f, b = static_cast<float>(at.fy) * 0x1p-16f;
  const VXp_FloatLanes left = quad.p00 + (quad.p01 - quad.p00) * b;
  const VXp_FloatLanes right = quad.p10 + (quad.p11 - quad.p10) * b;
  return left + (right - left) * a;
}

// If the sum of alphas is 0, the colours become NaN, which the conversion to bytes converts to 0,
// so this case needs no test.
void SampleOneOfFour(const VX_LayerDef& src, const VXp_Position& at, const VXp_SingleWeights& w,
                     VX_Pixel8* out) {
  const VXp_SingleQuad quad(VXp_Unclipped::Four<VX_Pixel8>(src, at));
  VXp_Store(out, Finished(quad.ByAlpha(w)));
}

// Like InTwoSteps above, for columns that were already mixed vertically, in units of 1/65536. Only
// the horizontal step rounds. The rounding does not depend on the unit, and no value overflows.
uint32_t InTwoSteps(const VXp_ByteColumns& columns, uint32_t fx) {
  const float a = static_cast<float>(fx) * 0x1p-16f;
  const VXp_FloatLanes mixed =
      VXp_AsFloat(columns.left) + VXp_AsFloat(columns.right - columns.left) * a;
  return VXp_Packed8(VXp_Truncated(mixed + 32768.0f) >> 16);
}

VXp_WordLanes FourFinished(const VXp_FourMixed& mixed) {
  VXp_IntLanes pixels{};
  for (int c = 0; c < 4; ++c) pixels |= VXp_Truncated(mixed.channel[c] + 0.5f) << (8 * c);
  return reinterpret_cast<VXp_WordLanes>(pixels);
}

struct SingleRule {
  static uint32_t One(const VXp_BytePairs& pairs, uint32_t fx, uint32_t fy) {
    if ((fx | fy) == 0) return pairs.First();
    if (pairs.SameAlphas()) return InTwoSteps(VXp_ByteColumns(pairs, fy), fx);
    const VXp_FloatLanes mixed = VXp_SingleQuad(pairs.Quad()).ByAlpha(VXp_SingleWeights(fx, fy));
    return mixed[0] < 0.5f ? 0u : Finished(mixed);
  }

  static unsigned Four(const VXp_FourQuads& quads, const VXp_FourFractions& f, VX_Pixel8* out) {
    const VXp_IntLanes alike = (quads.Differences() & 0xFFu) == 0;
    if (VXp_LaneBits(alike) == 0xF) {
      VXp_Store(out, FourFinished(VXp_FourAlike(quads, f)));
      return 0;
    }
    const VXp_FourMixed mixed = VXp_FourByAlpha(quads, VXp_FourSingleWeights(f));
    const VXp_IntLanes nothing = mixed.channel[0] < 0.5f;
    const VXp_WordLanes sample = nothing ? VXp_WordLanes{} : FourFinished(mixed);
    VXp_Store(out, f.Whole() ? quads.p00 : sample);
    const unsigned bits = VXp_LaneBits(alike);
    if (bits == 0) return 0;
    // For lanes with equal alphas, One uses another formula. If the alpha is above 0, its result
    // differs from `mixed` by rounding only. So of these lanes, only those with alpha 0 and those
    // with a colour close to a rounding step have to be computed again.
    const VXp_FourRounded rounded(mixed);
    return bits & VXp_LaneBits(nothing | rounded.color_is_near);
  }
};

}  // namespace

[[gnu::flatten]] void VXp_SinglePoints(const VX_SampPB& record, const VX_Fixed* x,
                                       const VX_Fixed* y, int32_t count, VX_Pixel8* out) {
  VXp_MixPointsByFour<SingleRule>(VXp_Origin<VX_Pixel8>(*record.src), x, y, count, out);
}

VX_Err VX_SubpixelSampleNoClip_Straight_SSE2(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y,
                                             const VX_SampPB* record, VX_Pixel8* out) {
  const VXp_Position at(x, y);
  if (at.IsWhole()) {
    VXp_Store(out, VXp_Unclipped::One<VX_Pixel8>(*record->src, at.column, at.row));
    return VX_Ok;
  }
  const auto raw = VXp_Unclipped::Four<VX_Pixel8>(*record->src, at);
  const VXp_SingleQuad quad(raw);
  if (raw.SameAlphas()) {
    VXp_Store(out, Finished(InTwoSteps(quad, at)));
    return VX_Ok;
  }
  const VXp_FloatLanes mixed = quad.ByAlpha(VXp_SingleWeights(at.fx, at.fy));
  VXp_Store(out, mixed[0] < 0.5f ? 0u : Finished(mixed));
  return VX_Ok;
}

VX_Err VX_SubpixelSampleNoClip_Straight_4(VX_ProgressInfo*, const VX_Fixed* positions,
                                          const VX_SampPB* record, VX_Pixel8* out) {
  for (int32_t i = 0; i < kVXp_Lanes; ++i) {
    const VXp_Position at(positions[2 * i], positions[2 * i + 1]);
    SampleOneOfFour(*record->src, at, VXp_SingleWeights(at.fx, at.fy), out + i);
  }
  return VX_Ok;
}

VX_Err VX_SubpixelSampleTranslateNoClip_Straight_4(VX_ProgressInfo*, const VX_Fixed* positions,
                                                   const VX_SubpixelWeights* weights,
                                                   const VX_SampPB* record, VX_Pixel8* out) {
  const VXp_SingleWeights w(*weights);
  for (int32_t i = 0; i < kVXp_Lanes; ++i) {
    SampleOneOfFour(*record->src, VXp_Position(positions[2 * i], positions[2 * i + 1]), w, out + i);
  }
  return VX_Ok;
}

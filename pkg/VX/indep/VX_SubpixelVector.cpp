// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Bilinear samplers for straight alpha at 8 bits in single precision, unclipped: the sampler that
// VX_Birth stores in the slot of VX_SubpixelSampleNoClip_Straight with the embedded host, and the
// samplers that compute four positions per call. By definition their results differ from those of
// the samplers in double precision. They need no SSE2.
//
// Every channel is value + 0.5, truncated and clamped to 0..255.

#include "indep/VXp_MixBytes.h"
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

VXp_PointWords FinishedColors(const VXp_ByteMix& mixed) {
  VXp_PointInts pixels{};
  for (int32_t c = 1; c < 4; ++c) pixels |= VXp_Truncated(mixed.channel[c] + 0.5f) << (8 * c);
  return reinterpret_cast<VXp_PointWords>(pixels);
}

struct SingleRule {
  struct Weights : VXp_SingleWeightLanes {
    explicit Weights(const VXp_Fractions& f)
        : VXp_SingleWeightLanes(f), fractions(f), whole(f.Whole()) {}

    VXp_FloatFractions fractions;
    VXp_PointInts whole;
  };

  static void Mix(const VXp_Quads<VX_Pixel8>& stored, const Weights& w, VX_Pixel8* out) {
    const VXp_ByteQuads quads(stored);
    const VXp_PointWords differences = quads.Differences() & 0xFFu;
    const auto mix_alike = [&] {
      return FinishedColors(VXp_MixAlike(quads, w.fractions)) | (quads.p00 & 0xFFu);
    };
    if (!VXp_AnyBit(differences)) {
      VXp_StoreLanes(out, 0, mix_alike());
      return;
    }
    const VXp_ByteMix mixed = VXp_MixByAlpha(quads, w);
    const VXp_PointInts alpha = VXp_Truncated(mixed.channel[0] + 0.5f);
    const VXp_PointWords sample = FinishedColors(mixed) | reinterpret_cast<VXp_PointWords>(alpha);
    VXp_PointWords pixels = alpha == 0 ? VXp_PointWords{} : sample;
    const VXp_PointInts alike = differences == 0;
    if (VXp_AnyLane(alike)) pixels = alike ? mix_alike() : pixels;
    VXp_StoreLanes(out, 0, w.whole ? quads.p00 : pixels);
  }
};

}  // namespace

[[gnu::flatten]] void VXp_SinglePoints(const VX_SampPB& record, const VX_Fixed* x,
                                       const VX_Fixed* y, int32_t count, ptrdiff_t ahead,
                                       VX_Pixel8* out) {
  VXp_MixPoints<SingleRule>(VXp_Origin<VX_Pixel8>(*record.src), x, y, count, ahead, out);
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

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "blend/VX_RowLoop8Pairs.h"

#include "blend/VXp_RowLoop.h"

namespace {

constexpr int32_t kLanes = kVXp_TargetLanes;
using L = VXp_LaneTraits<VX_Pixel8>;
using Words = L::Words;  // a pixel, or two channels of it
using Ints = L::Ints;
using Floats = L::Floats;
using Halves = VXp_Lanes<uint16_t, 2 * kLanes>;  // two channels in each word
using Signed = VXp_Lanes<int16_t, 2 * kLanes>;

Halves AsHalves(Words v) { return reinterpret_cast<Halves>(v); }
Words AsWords(Halves v) { return reinterpret_cast<Words>(v); }
Ints AsInts(Words v) { return reinterpret_cast<Ints>(v); }

bool All(Ints condition) { return !L::Any(~condition); }

// Copies the low half of each word to its high half.
Halves Both(Words v) { return AsHalves(v | v << 16); }

// Returns t / 255 rounded to nearest; t is at most 255 * 255. With u = t + 128, the result
// (u + (u >> 8)) >> 8 is the upper half of 257 u.
Halves By255(Halves t) { return VXp_MulHigh(t + uint16_t{128}, Halves{} + uint16_t{257}); }
Halves Mul(Halves a, Halves b) { return By255(a * b); }

// Returns k + (x - k) w / 255, with iw = 255 - w and the rounding of VXp_PixelTraits: if x < k, 1
// is added to the sum. (The comparison gives -1, which is subtracted.)
Halves Lerp(Halves k, Halves x, Halves w, Halves iw) {
  const auto falls =
      reinterpret_cast<Halves>(Signed(reinterpret_cast<Signed>(k) > reinterpret_cast<Signed>(x)));
  return By255(k * iw + x * w - falls);
}

// Returns 255 n / a, rounded to nearest; n <= a, and `scale` is 255 / a in single precision. A
// rounding error could move the sum n scale + 0.5 below an integer. Therefore 1/1024 is added. A
// sum that is not an integer is at least 1/510 below the next one, so it is not changed by this.
Words Div(Words n, Floats scale) {
  const Floats sum = VXp_MulAdd(VXp_AsFloat(AsInts(n)), scale, Floats{} + (0.5f + 1.0f / 1024.0f));
  return reinterpret_cast<Words>(VXp_Truncated(sum));
}

// Green is paired with a constant of full scale: interpolating toward full scale by the source
// alpha gives the union of the alphas.
Words InFront(Words s, Words w, Words d) {
  constexpr uint32_t kPairs = 0x00FF00FF;
  const Words da = d & 0xFFu;
  const Halves ww = Both(w), iw = uint16_t{255} - ww;
  const Words dd = AsWords(Both(da));
  const Halves s_rb = AsHalves(s >> 8 & kPairs), d_rb = AsHalves(d >> 8 & kPairs);
  const Halves s_ag = AsHalves((s | 0xFFu) & kPairs), d_ag = AsHalves(d & kPairs);
  const Words rb = AsWords(Lerp(Mul(d_rb, AsHalves(dd)), s_rb, ww, iw));
  const Words ag = AsWords(Lerp(Mul(d_ag, AsHalves(dd | 0xFFu)), s_ag, ww, iw));

  Words over = ag | rb << 8;
  if (!All(AsInts(da) == 255)) {
    const Words a = ag & 0xFFFFu;
    const Floats scale = 255.0f / VXp_AsFloat(AsInts(a));
    over =
        a | Div(rb & 0xFFFFu, scale) << 8 | Div(ag >> 16, scale) << 16 | Div(rb >> 16, scale) << 24;
  }
  const Ints no_dest = AsInts(da) == 0, no_weight = AsInts(w) == 0;
  if (L::Any(no_dest | no_weight)) {
    over = no_dest ? (s & ~0xFFu) | w : over;
    over = no_weight ? d : over;
  }
  return over;
}

Words Load(const VX_Pixel8* p) { return VXp_LoadLanes<Words>(p); }
Words Alpha(Words pixels) { return pixels & 0xFFu; }
// Both factors are in the low halves of the words.
Words Weighted(Words a, Words b) { return AsWords(Mul(AsHalves(a), AsHalves(b))); }

}  // namespace

template <bool hasMask>
VX_Err VXp_ScanCopyPairs(int32_t count, const VX_BlendingMode<VX_Pixel8>* mode,
                         const VX_LinearBlendingTables* tables, const VX_Pixel8* src,
                         const VX_Pixel8* mask, VX_Pixel8* dst) {
  const Words opacity = Words{} + uint32_t{mode->opacity};
  const bool keep = mode->keepDstAlpha != 0;
  const bool whole = !hasMask && !keep && mode->opacity == 255;  // the plain loop copies the memory
  const int32_t done = VXp_ForGroups<kLanes>(whole ? 0 : count, [&](ptrdiff_t x) {
    const Words s = Load(src + x);
    Words a = Alpha(Load(dst + x));
    if (!keep) {
      a = Weighted(Alpha(s), opacity);
      if constexpr (hasMask) a = Weighted(Alpha(Load(mask + x)), a);
    }
    VXp_StoreLanes(dst + x, 0, (s & ~0xFFu) | a);
  });
  return VXp_RowLoop<VXp_ModeCopy, VX_Pixel8, false>::Scan(
      count - done, mode, tables, src + done, hasMask ? mask + done : nullptr, dst + done);
}

template <bool hasMask>
VX_Err VXp_ScanInFrontPairs(int32_t count, const VX_BlendingMode<VX_Pixel8>* mode,
                            const VX_LinearBlendingTables* tables, const VX_Pixel8* src,
                            const VX_Pixel8* mask, VX_Pixel8* dst) {
  const Words opacity = Words{} + uint32_t{mode->opacity};
  const bool faded = mode->opacity < 255;
  const int32_t done = VXp_ForGroups<kLanes>(count, [&](ptrdiff_t x) {
    const Words s = Load(src + x);
    Words w = Alpha(s);
    if constexpr (hasMask) w = Weighted(w, Alpha(Load(mask + x)));
    if (faded) w = Weighted(w, opacity);
    if (!L::Any(AsInts(w) != 0)) return;
    const bool covers = All(AsInts(w) == 255);
    VXp_StoreLanes(dst + x, 0, covers ? s : InFront(s, w, Load(dst + x)));
  });
  return VXp_RowLoop<VXp_ModeInFront, VX_Pixel8, false>::Scan(
      count - done, mode, tables, src + done, hasMask ? mask + done : nullptr, dst + done);
}

#define VXP_INSTANTIATE(scan)                                                                     \
  template VX_Err scan<false>(int32_t, const VX_BlendingMode<VX_Pixel8>*,                         \
                              const VX_LinearBlendingTables*, const VX_Pixel8*, const VX_Pixel8*, \
                              VX_Pixel8*);                                                        \
  template VX_Err scan<true>(int32_t, const VX_BlendingMode<VX_Pixel8>*,                          \
                             const VX_LinearBlendingTables*, const VX_Pixel8*, const VX_Pixel8*,  \
                             VX_Pixel8*);
VXP_INSTANTIATE(VXp_ScanCopyPairs)
VXP_INSTANTIATE(VXp_ScanInFrontPairs)

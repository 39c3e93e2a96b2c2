// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// All stages of a row in one pass, for modes with a stage before or after the scan: matte, scan,
// union of alphas and unmatte, or the pass behind the destination and the scan. VX_BlendPipeline
// uses it in place of the stages if these are the library's own; the result has the same bits.

#include "blend/VXp_FindFusedRow.h"
#include "blend/VXp_MatteColor.h"
#include "blend/VXp_ModeTraits.h"
#include "blend/VXp_RowLoop.h"
#include "blend/VXp_RowStages.h"

// Returns the pixels as a store and a load would give them: integers are truncated to a channel.
template <class L>
VXp_Argb<L> VXp_AsStored(const VXp_Argb<L>& p) {
  if constexpr (L::kDepth == 32) {
    return p;
  } else {
    constexpr typename L::Element kBits = L::kDepth == 8 ? 0xFF : 0xFFFF;
    return {p.alpha & kBits, p.red & kBits, p.green & kBits, p.blue & kBits};
  }
}

template <class L>
VXp_Argb<L> VXp_Selected(typename L::Ints condition, const VXp_Argb<L>& yes,
                         const VXp_Argb<L>& no) {
  return {condition ? yes.alpha : no.alpha, condition ? yes.red : no.red,
          condition ? yes.green : no.green, condition ? yes.blue : no.blue};
}

template <template <class> class Mode, class Pixel>
struct VXp_FusedRow {
  using V = VXp_RowVariant<Pixel, false>;
  using L = typename V::L;
  using Lanes = typename L::Work;
  using Argb = VXp_Argb<L>;
  using Color = VXp_Color<L>;
  using Piece = Mode<L>;

  [[gnu::flatten, gnu::noinline]] static void Run(int32_t count, const VX_BlendingMode<Pixel>& mode,
                                                  const Pixel* src, const Pixel* mask, Pixel* dst) {
    const VXp_WeightFactors<V, VXp_WeightOrder::kMaskFirst, Pixel> factors(mode.opacity, mask);
    const VXp_UnionFactors<L, Pixel> union_factors(mode.opacity, mask);
    const bool keep = mode.keepDstAlpha != 0;
    const int32_t done = VXp_ForGroups<L::kLanes>(count, [&](ptrdiff_t x) {
      VXp_PrefetchAhead<L::kLanes>(src + x);
      VXp_PrefetchAhead<L::kLanes>(dst + x);
      const Argb s = VXp_LoadAs<L>(src + x);
      const Argb d = VXp_LoadAs<L>(dst + x);
      const Lanes w = factors.Apply(s.alpha, x);
      if constexpr (Piece::kStages == VXp_Stages::kBehind) {
        if (L::AnyNonzero(w)) VXp_StoreGroup(dst + x, BlendOverBehind(s, w, keep, d));
      } else {
        const Lanes joining = union_factors.Apply(s.alpha, x);
        const auto changes = (w != Lanes{}) | (joining != Lanes{}) | (d.alpha != L::kFull);
        if (L::Any(changes)) VXp_StoreGroup(dst + x, BlendMatted(s, w, joining, keep, d));
      }
    });
    VXp_ForRest<L::kLanes>(
        done, count, src, mask, dst,
        [&](const Pixel* s, const Pixel* m, Pixel* d) { Run(L::kLanes, mode, s, m, d); });
  }

 private:
  // The weights are `w` in the scan and `joining` in the union of alphas.
  static Argb BlendMatted(const Argb& s, Lanes w, Lanes joining, bool keep, const Argb& d) {
    using Neutral = typename Piece::Neutral;
    Argb below = d;
    VXp_MatteColor<L, Neutral, VXp_Direction::kMatte>(Color::Of(d), d.alpha).StoreTo(below);
    if constexpr (L::kDepth != 8) below = VXp_AsStored(below);
    Argb blended = below;
    Piece::BlendInRow(s, w, keep, blended);
    blended = VXp_AsStored(VXp_Selected<L>(w != Lanes{}, blended, below));
    const Lanes joined = L::Union(joining, d.alpha);
    VXp_MatteColor<L, Neutral, VXp_Direction::kUnmatte>(Color::Of(blended), joined)
        .StoreTo(blended);
    blended.alpha = keep ? d.alpha : joined;
    return blended;
  }

  static Argb BlendOverBehind(const Argb& s, Lanes w, bool keep, const Argb& d) {
    using Behind = VXp_ModeBehind<L>;
    Argb below = d;
    if (const auto acts = Behind::Acts(w, d.alpha); L::Any(acts)) {
      Behind::BlendInRow(s, w, keep, below);
      below = VXp_AsStored(VXp_Selected<L>(acts, below, d));
    }
    Argb blended = below;
    Piece::BlendInRow(s, w, keep, blended);
    blended = VXp_Selected<L>(w != Lanes{}, blended, below);
    if (keep) blended.alpha = d.alpha;
    return blended;
  }
};

// Not defined for modes with one stage only.
template <template <class> class Mode, class Pixel>
constexpr VXp_FusedRowFunc<Pixel> VXp_FusedRowOf() {
  constexpr VXp_Stages kStages = Mode<VXp_PixelTraits<Pixel>>::kStages;
  if constexpr (kStages == VXp_Stages::kScan || kStages == VXp_Stages::kKeepAlpha) {
    return nullptr;
  } else {
    return &VXp_FusedRow<Mode, Pixel>::Run;
  }
}

template <class Pixel>
VXp_FusedRowFunc<Pixel> VXp_FusedRowOfMode(int32_t mode, bool masked) {
  if constexpr (kVXp_HasMaskedMultiply<Pixel>) {
    if (mode == VX_Xfer_Multiply && masked) return VXp_FusedRowOf<VXp_MaskedMultiply, Pixel>();
  }
  switch (mode) {
#define VX_MODE(number, constant, name, piece, ...) \
  case number:                                      \
    return VXp_FusedRowOf<piece, Pixel>();
#include "VX/VX_TransferModes.def"
#undef VX_MODE
    default: return nullptr;
  }
}

// Returns whether the stages before and after the scan are the library's own, and those of the
// mode.
template <class Pixel>
bool VXp_HasOwnStages(const VX_BlendModeDescriptor<Pixel>& d) {
  const VXp_Stages stages = VXp_TraitsOfMode(d.blendingMode.mode).stages;
  const bool behind = stages == VXp_Stages::kBehind, matted = stages >= VXp_Stages::kMatteBlack;
  if ((d.usesBehindPass != 0) != behind || (d.usesMatte != 0) != matted) return false;
  if ((d.usesAlphaUnion != 0) != matted) return false;
  if (!matted) return true;
  if (d.alphaUnionStage != &VXp_AlphaUnionRow<Pixel>) return false;
  const auto own = [&d](VX_MatteStage<Pixel> matte, VX_MatteStage<Pixel> unmatte) {
    return d.matteStage == matte && d.unmatteStage == unmatte;
  };
  if (stages == VXp_Stages::kMatteBlack) {
    return own(VXp_MatteBlackRow<Pixel>, VXp_UnmatteBlackRow<Pixel>);
  }
  if (stages == VXp_Stages::kMatteWhite) {
    return own(VXp_MatteWhiteRow<Pixel>, VXp_UnmatteWhiteRow<Pixel>);
  }
  return own(VXp_MatteGrayRow<Pixel>, VXp_UnmatteGrayRow<Pixel>);
}

template <class Pixel>
VXp_FusedRowFunc<Pixel> VXp_FindFusedRow(const VX_BlendModeDescriptor<Pixel>& d, bool masked) {
  const VX_BlendingMode<Pixel>& mode = d.blendingMode;
  // With an opacity of 0, the union of alphas is skipped.
  if (d.tables != nullptr || mode.opacity == VX_ChannelOf<Pixel>{0}) return nullptr;
  if (!VXp_HasOwnStages(d)) return nullptr;
  const auto own = [masked](int32_t number, VX_ScanFunc<Pixel> used) {
    VX_InnerBlendingFunc<Pixel> found{};
    const VX_Err error = masked ? VX_GetInnerBlendingFunc<Pixel, true, false>(number, &found)
                                : VX_GetInnerBlendingFunc<Pixel, false, false>(number, &found);
    return error == VX_Ok && found.scan == used;
  };
  if (!own(mode.mode, d.scan)) return nullptr;
  if (d.usesBehindPass != 0 && !own(VX_Xfer_Behind, d.behindScan)) return nullptr;
  return VXp_FusedRowOfMode<Pixel>(mode.mode, masked);
}

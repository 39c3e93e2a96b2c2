// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The slow twins of the stages of a row, in the order in which they run.

#include <algorithm>
#include <initializer_list>
#include <vector>

#include "RefModes.h"
#include "RefScan.h"
#include "RefSpace.h"
#include "VX/VX_Blend.h"

namespace vxref {

// The stages that a mode uses.
struct Plan {
  bool keeps_alpha;   // keepDstAlpha restores the alpha of the row
  bool behind_first;  // the source is blended behind the destination before the scan
  bool matted;        // stages: matte, scan, union of alphas, unmatte
};

inline Plan PlanOf(int mode) {
  const auto is_one_of = [mode](std::initializer_list<int> modes) {
    return std::find(modes.begin(), modes.end(), mode) != modes.end();
  };
  const bool plain =
      is_one_of({VX_Xfer_Scale, VX_Xfer_MaskMix, VX_Xfer_Copy, VX_Xfer_Behind, VX_Xfer_Dissolve});
  const bool behind_first =
      is_one_of({VX_Xfer_Hue, VX_Xfer_Saturation, VX_Xfer_Color, VX_Xfer_Luminosity,
                 VX_Xfer_LighterColor, VX_Xfer_DarkerColor});
  return {.keeps_alpha = !plain && !IsAlphaOnly(mode),
          .behind_first = behind_first,
          .matted = NeutralOf(mode) != Neutral::None};
}

// `rule(neutral colour, colour, alpha)` for each colour channel: Matte or Unmatte.
template <class Pixel, class Rule>
void EachColor(int mode, int32_t count, Pixel* dst, Rule rule) {
  const StoredSpace<Pixel> space;
  for (int32_t i = 0; i < count; ++i) {
    auto d = space.In(dst[i]);
    for (auto& c : d.c) c = rule(NeutralOf(mode), c, d.alpha);
    space.OutColor(d, &dst[i]);
  }
}

template <class Pixel>
void AlphaUnionRow(int32_t count, const Pixel* src, VX_ChannelOf<Pixel> opacity, const Pixel* mask,
                   Pixel* dst) {
  using D = typename DepthOf<Pixel>::D;
  if (opacity == 0) return;
  const StoredSpace<Pixel> space;
  for (int32_t i = 0; i < count; ++i) {
    typename D::Wide w = src[i].alpha;
    if (opacity < D::full) w = D::Mul(w, opacity);
    if (mask != nullptr) w = D::Mul(w, mask[i].alpha);
    space.OutAlpha(Union<D>(w, dst[i].alpha), &dst[i]);
  }
}

// Blends in linear light if `tables` is not null, through a mask if `mask` is not null.
template <class Pixel>
VX_Err Pipeline(const VX_BlendingMode<Pixel>& mode, const VX_LinearBlendingTables* tables,
                int32_t count, const Pixel* src, const Pixel* mask, Pixel* dst) {
  using D = typename DepthOf<Pixel>::D;
  const Plan plan = PlanOf(mode.mode);
  const bool has_mask = mask != nullptr;
  const bool linear = tables != nullptr;
  std::vector<VX_ChannelOf<Pixel>> alphas;
  for (int32_t i = 0; i < count; ++i) alphas.push_back(dst[i].alpha);

  if (plan.matted) {
    EachColor(mode.mode, count, dst, Matte<D>);
  } else if (plan.behind_first) {
    Scan(VX_Xfer_Behind, has_mask, linear, count, &mode, tables, src, mask, dst);
  }
  const VX_Err err = Scan(mode.mode, has_mask, linear, count, &mode, tables, src, mask, dst);
  if (err != VX_Ok) return err;
  if (plan.matted) {
    AlphaUnionRow(count, src, mode.opacity, mask, dst);
    EachColor(mode.mode, count, dst, Unmatte<D>);
  }
  if (plan.keeps_alpha && mode.keepDstAlpha != 0) {
    for (int32_t i = 0; i < count; ++i) dst[i].alpha = alphas[static_cast<size_t>(i)];
  }
  return VX_Ok;
}

}  // namespace vxref

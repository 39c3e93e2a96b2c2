// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "RefPipeline.h"

#include <vector>

#include "RefModes.h"
#include "RefScan.h"
#include "RefSpace.h"

namespace vxref {

Plan PlanOf(int mode) {
  switch (mode) {
    case VX_Xfer_Scale:
    case VX_Xfer_MaskMix:
    case VX_Xfer_Copy:
    case VX_Xfer_Behind:
    case VX_Xfer_Dissolve:
    case VX_Xfer_StencilAlpha:
    case VX_Xfer_StencilLuma:
    case VX_Xfer_SilhouetteAlpha:
    case VX_Xfer_SilhouetteLuma:
      return {.keeps_alpha = false, .behind_first = false, .matted = false};
    case VX_Xfer_Hue:
    case VX_Xfer_Saturation:
    case VX_Xfer_Color:
    case VX_Xfer_Luminosity:
    case VX_Xfer_LighterColor:
    case VX_Xfer_DarkerColor: return {.keeps_alpha = true, .behind_first = true, .matted = false};
    default:
      return {
          .keeps_alpha = true, .behind_first = false, .matted = NeutralOf(mode) != Neutral::None};
  }
}

template <class Pixel>
void MatteRow(int mode, int32_t count, Pixel* dst) {
  using D = typename DepthOf<Pixel>::D;
  const StoredSpace<Pixel> space;
  for (int32_t i = 0; i < count; ++i) {
    WidePixel<D> d = space.In(dst[i]);
    for (auto& c : d.c) c = Matte<D>(NeutralOf(mode), c, d.alpha);
    space.OutColor(d, &dst[i]);
  }
}

template <class Pixel>
void UnmatteRow(int mode, int32_t count, Pixel* dst) {
  using D = typename DepthOf<Pixel>::D;
  const StoredSpace<Pixel> space;
  for (int32_t i = 0; i < count; ++i) {
    WidePixel<D> d = space.In(dst[i]);
    for (auto& c : d.c) c = Unmatte<D>(NeutralOf(mode), c, d.alpha);
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

template <class Pixel>
VX_Err Pipeline(const VX_BlendingMode<Pixel>& mode, const VX_LinearBlendingTables* tables,
                int32_t count, const Pixel* src, const Pixel* mask, Pixel* dst) {
  const Plan plan = PlanOf(mode.mode);
  const bool has_mask = mask != nullptr;
  const bool linear = tables != nullptr;
  std::vector<VX_ChannelOf<Pixel>> alphas;
  for (int32_t i = 0; i < count; ++i) alphas.push_back(dst[i].alpha);

  if (plan.matted) {
    MatteRow(mode.mode, count, dst);
  } else if (plan.behind_first) {
    Scan(VX_Xfer_Behind, has_mask, linear, count, &mode, tables, src, mask, dst);
  }
  const VX_Err err = Scan(mode.mode, has_mask, linear, count, &mode, tables, src, mask, dst);
  if (err != VX_Ok) return err;
  if (plan.matted) {
    AlphaUnionRow(count, src, mode.opacity, mask, dst);
    UnmatteRow(mode.mode, count, dst);
  }
  if (plan.keeps_alpha && mode.keepDstAlpha != 0) {
    for (int32_t i = 0; i < count; ++i) dst[i].alpha = alphas[static_cast<size_t>(i)];
  }
  return VX_Ok;
}

#define VXREF_PIXEL(Pixel)                                                                       \
  template void MatteRow<Pixel>(int, int32_t, Pixel*);                                           \
  template void UnmatteRow<Pixel>(int, int32_t, Pixel*);                                         \
  template void AlphaUnionRow<Pixel>(int32_t, const Pixel*, VX_ChannelOf<Pixel>, const Pixel*,   \
                                     Pixel*);                                                    \
  template VX_Err Pipeline<Pixel>(const VX_BlendingMode<Pixel>&, const VX_LinearBlendingTables*, \
                                  int32_t, const Pixel*, const Pixel*, Pixel*);
VXREF_PIXEL(VX_Pixel8)
VXREF_PIXEL(VX_Pixel16)
VXREF_PIXEL(VX_PixelFloat)
#undef VXREF_PIXEL

}  // namespace vxref

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "blend/VXp_RowStages.h"

#include "blend/VXp_MatteColor.h"

namespace {

template <class Pixel, template <class> class Neutral, VXp_Direction direction>
[[gnu::flatten, gnu::noinline]] VX_Err MatteRow(int32_t count, const Pixel* src, Pixel* dst) {
  using L = VXp_LaneTraits<Pixel>;
  const Pixel* const none = nullptr;
  if (src == nullptr) src = dst;
  const int32_t done = VXp_ForGroups<L::kLanes>(count, [=](ptrdiff_t x) {
    VXp_Argb<L> p = VXp_LoadGroup(src + x);
    if (src == dst && !L::Any(p.alpha < L::kFull)) return;
    VXp_MatteColor<L, Neutral<L>, direction>(VXp_Color<L>::Of(p), p.alpha).StoreTo(p);
    VXp_StoreGroup(dst + x, p);
  });
  VXp_ForRest<L::kLanes>(done, count, src, none, dst,
                         [](const Pixel* from, const Pixel*, Pixel* to) {
                           MatteRow<Pixel, Neutral, direction>(L::kLanes, from, to);
                         });
  return VX_Ok;
}

}  // namespace

template <class Pixel>
[[gnu::flatten, gnu::noinline]] VX_Err VXp_AlphaUnionRow(int32_t count, const Pixel* src,
                                                         VX_ChannelOf<Pixel> opacity,
                                                         const Pixel* mask, Pixel* dst) {
  using L = VXp_LaneTraits<Pixel>;
  if (opacity == VX_ChannelOf<Pixel>{0}) return VX_Ok;
  const VXp_UnionFactors<L, Pixel> factors(opacity, mask);
  const int32_t done = VXp_ForGroups<L::kLanes>(count, [=](ptrdiff_t x) {
    VXp_Argb<L> p = VXp_LoadGroup(dst + x);
    p.alpha = L::Union(factors.Apply(VXp_LoadGroup(src + x).alpha, x), p.alpha);
    VXp_StoreGroup(dst + x, p);
  });
  VXp_ForRest<L::kLanes>(done, count, src, mask, dst,
                         [=](const Pixel* s, const Pixel* m, Pixel* d) {
                           VXp_AlphaUnionRow(L::kLanes, s, opacity, m, d);
                         });
  return VX_Ok;
}

template <class Pixel>
VX_Err VXp_MatteBlackRow(int32_t count, const Pixel* src, Pixel* dst) {
  return MatteRow<Pixel, VXp_NeutralBlack, VXp_Direction::kMatte>(count, src, dst);
}
template <class Pixel>
VX_Err VXp_UnmatteBlackRow(int32_t count, const Pixel* src, Pixel* dst) {
  return MatteRow<Pixel, VXp_NeutralBlack, VXp_Direction::kUnmatte>(count, src, dst);
}
template <class Pixel>
VX_Err VXp_MatteWhiteRow(int32_t count, const Pixel* src, Pixel* dst) {
  return MatteRow<Pixel, VXp_NeutralWhite, VXp_Direction::kMatte>(count, src, dst);
}
template <class Pixel>
VX_Err VXp_UnmatteWhiteRow(int32_t count, const Pixel* src, Pixel* dst) {
  return MatteRow<Pixel, VXp_NeutralWhite, VXp_Direction::kUnmatte>(count, src, dst);
}
template <class Pixel>
VX_Err VXp_MatteGrayRow(int32_t count, const Pixel* src, Pixel* dst) {
  return MatteRow<Pixel, VXp_NeutralGray, VXp_Direction::kMatte>(count, src, dst);
}
template <class Pixel>
VX_Err VXp_UnmatteGrayRow(int32_t count, const Pixel* src, Pixel* dst) {
  return MatteRow<Pixel, VXp_NeutralGray, VXp_Direction::kUnmatte>(count, src, dst);
}

#define VXP_INSTANTIATE(Pixel)                                                                \
  template VX_Err VXp_MatteBlackRow(int32_t, const Pixel*, Pixel*);                           \
  template VX_Err VXp_UnmatteBlackRow(int32_t, const Pixel*, Pixel*);                         \
  template VX_Err VXp_MatteWhiteRow(int32_t, const Pixel*, Pixel*);                           \
  template VX_Err VXp_UnmatteWhiteRow(int32_t, const Pixel*, Pixel*);                         \
  template VX_Err VXp_MatteGrayRow(int32_t, const Pixel*, Pixel*);                            \
  template VX_Err VXp_UnmatteGrayRow(int32_t, const Pixel*, Pixel*);                          \
  template VX_Err VXp_AlphaUnionRow(int32_t, const Pixel*, VX_ChannelOf<Pixel>, const Pixel*, \
                                    Pixel*);
VXP_INSTANTIATE(VX_Pixel8)
VXP_INSTANTIATE(VX_Pixel16)
VXP_INSTANTIATE(VX_PixelFloat)

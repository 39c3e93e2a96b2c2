// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "blend/VXp_RowStages.h"

#include "blend/VXp_PixelGroup.h"
#include "blend/modes/VXp_Matted.h"

namespace {

enum class Direction { kMatte, kUnmatte };

// Composites the colours c with alpha a onto the mode's neutral colour (matte), or undoes this
// (unmatte). The colours of opaque pixels are not changed.
template <class L, class Neutral, Direction direction>
VXp_Color<L> MatteColor(const VXp_Color<L>& c, typename L::Work a) {
  using Work = typename L::Work;
  const auto partial = a < L::kFull;
  if (!L::Any(partial)) return c;
  return VXp_Each(c, [=](Work x) {
    const Work matted =
        direction == Direction::kMatte ? Neutral::Matte(x, a) : Neutral::Unmatte(x, a);
    return partial ? matted : x;
  });
}

template <class Pixel, template <class> class Neutral, Direction direction>
[[gnu::flatten, gnu::noinline]] VX_Err MatteRow(int32_t count, const Pixel* src, Pixel* dst) {
  using L = VXp_LaneTraits<Pixel>;
  const Pixel* const none = nullptr;
  if (src == nullptr) src = dst;
  const int32_t done = VXp_ForGroups<L::kLanes>(count, [=](ptrdiff_t x) {
    VXp_Argb<L> p = VXp_LoadGroup(src + x);
    if (src == dst && !L::Any(p.alpha < L::kFull)) return;
    MatteColor<L, Neutral<L>, direction>(VXp_Color<L>::Of(p), p.alpha).StoreTo(p);
    VXp_StoreGroup(dst + x, p);
  });
  VXp_ForRest<L::kLanes>(done, count, src, none, dst,
                         [](const Pixel* from, const Pixel*, Pixel* to) {
                           MatteRow<Pixel, Neutral, direction>(L::kLanes, from, to);
                         });
  return VX_Ok;
}

// Computes the weight of the source alpha for the union of alphas. Opacity is multiplied before the
// mask, unlike in a scan; each product is rounded, so the order matters.
template <class L, class Pixel>
typename L::Work UnionWeight(typename L::Work sa, typename L::Work opacity, const Pixel* mask) {
  const typename L::Work w = L::Mul(sa, opacity);
  return mask != nullptr ? L::Mul(w, VXp_LoadGroup(mask).alpha) : w;
}

}  // namespace

template <class Pixel>
[[gnu::flatten, gnu::noinline]] VX_Err VXp_AlphaUnionRow(int32_t count, const Pixel* src,
                                                         VX_ChannelOf<Pixel> opacity,
                                                         const Pixel* mask, Pixel* dst) {
  using L = VXp_LaneTraits<Pixel>;
  using Work = typename L::Work;
  using Element = typename L::Element;
  if (opacity == VX_ChannelOf<Pixel>{0}) return VX_Ok;
  const Work factor = VXp_Splat<Work>(std::min<Element>(opacity, L::kFull));
  const int32_t done = VXp_ForGroups<L::kLanes>(count, [=](ptrdiff_t x) {
    const Pixel* const m = mask != nullptr ? mask + x : nullptr;
    VXp_Argb<L> p = VXp_LoadGroup(dst + x);
    p.alpha = L::Union(UnionWeight<L>(VXp_LoadGroup(src + x).alpha, factor, m), p.alpha);
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
  return MatteRow<Pixel, VXp_NeutralBlack, Direction::kMatte>(count, src, dst);
}
template <class Pixel>
VX_Err VXp_UnmatteBlackRow(int32_t count, const Pixel* src, Pixel* dst) {
  return MatteRow<Pixel, VXp_NeutralBlack, Direction::kUnmatte>(count, src, dst);
}
template <class Pixel>
VX_Err VXp_MatteWhiteRow(int32_t count, const Pixel* src, Pixel* dst) {
  return MatteRow<Pixel, VXp_NeutralWhite, Direction::kMatte>(count, src, dst);
}
template <class Pixel>
VX_Err VXp_UnmatteWhiteRow(int32_t count, const Pixel* src, Pixel* dst) {
  return MatteRow<Pixel, VXp_NeutralWhite, Direction::kUnmatte>(count, src, dst);
}
template <class Pixel>
VX_Err VXp_MatteGrayRow(int32_t count, const Pixel* src, Pixel* dst) {
  return MatteRow<Pixel, VXp_NeutralGray, Direction::kMatte>(count, src, dst);
}
template <class Pixel>
VX_Err VXp_UnmatteGrayRow(int32_t count, const Pixel* src, Pixel* dst) {
  return MatteRow<Pixel, VXp_NeutralGray, Direction::kUnmatte>(count, src, dst);
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

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The row loops: one for each mode, depth, and variant with or without mask, encoded or linear.
//
// A row goes four pixels at a time: their channels are put into lanes (and brought to linear light
// where asked), the weights are made, the mode's piece runs, and the pixels go back. Four pixels of
// weight 0 are passed over in the modes that skip. Nothing that is constant is tested per pixel.

#include "VX/VX_Blend.h"
#include "blend/VXp_FourPixels.h"
#include "blend/VXp_LinearLanes.h"
#include "blend/modes/VXp_AllModes.h"
#include "frame/VXp_Random.h"
#include "frame/VXp_Report.h"
#include "frame/VXp_Rows.h"

// Rows of one variant: their pixel, and the pixel that they compute with.
template <class Pixel, bool hasMask, bool linear>
struct VXp_RowVariant {
  static constexpr bool kLinear = linear;
  static constexpr bool kHasMask = hasMask;
  using Light = VXp_LinearLight<Pixel>;
  using Working = std::conditional_t<linear, typename Light::Working, Pixel>;
  using T = VXp_PixelTraits<Working>;
  using L = VXp_LaneTraits<Working>;
  using Work = typename T::Work;
  using Lanes = typename L::Work;
  using Channel = VX_ChannelOf<Pixel>;
  using RoundTrip =
      std::conditional_t<linear, typename VXp_LinearLanes<Pixel>::RoundTrip, VXp_NoRoundTrip>;

  static Work Scaled(Channel c) {
    if constexpr (linear) return Light::ToWorking(c);
    return c;
  }

  static void NeedTables(const VX_LinearBlendingTables* tables) {
    if (!linear || tables != nullptr) return;
    VXp_ThrowIf(VXp_FailVerification("Invalid tables for linearized blending"));
  }

  static VXp_Argb<L> Load(const Pixel* from, const VX_LinearBlendingTables* tables) {
    if constexpr (linear) {
      return VXp_LinearLanes<Pixel>::Load(from, *tables);
    } else {
      return VXp_LoadFour(from);
    }
  }

  // Alphas alone: colours need no light.
  static Lanes LoadAlpha(const Pixel* from) {
    const auto alpha = VXp_LoadFour(from).alpha;
    if constexpr (linear) return VXp_LinearLanes<Pixel>::AlphaToWorking(alpha);
    return alpha;
  }

  // What a piece finds under a source of weight w; colours that it does not look at are left out
  // where they are dear to get.
  template <class Piece>
  static VXp_Argb<L> LoadUnder(Lanes w, const Pixel* from, const VX_LinearBlendingTables* tables) {
    if constexpr (linear) {
      const VXp_Argb<L> alone = {LoadAlpha(from), {}, {}, {}};
      if (!Piece::kWritesColor || Piece::Covers(w, alone.alpha)) return alone;
    }
    return Load(from, tables);
  }

  // Stores what the piece wrote where it acted.
  template <class Piece>
  static void Store(const VXp_Argb<L>& p, VXp_IntLanes acts, const VX_LinearBlendingTables* tables,
                    Pixel* to) {
    if constexpr (!linear) {
      VXp_StoreWhere(acts, p, to);
    } else if constexpr (Piece::kWritesColor) {
      VXp_LinearLanes<Pixel>::Store(p, acts, *tables, to);
    } else {
      VXp_StoreAlphaWhere(acts, VXp_LinearLanes<Pixel>::AlphaBack(p.alpha), to);
    }
  }
};

// The order in which the factors of a weight are multiplied; each rounding is fixed.
enum class VXp_WeightOrder { kMaskFirst, kOpacityFirst };

// A product with full scale is exact at every depth, so without `faded` there is none.
template <class V, VXp_WeightOrder order, class Pixel>
typename V::Lanes VXp_Weight(typename V::Lanes sa, const Pixel* mask, bool faded,
                             typename V::Lanes opacity) {
  using L = typename V::L;
  constexpr bool kMaskFirst = order == VXp_WeightOrder::kMaskFirst;
  typename V::Lanes w = sa;
  if constexpr (V::kHasMask && kMaskFirst) w = L::Mul(w, V::LoadAlpha(mask));
  if (faded) w = L::Mul(w, opacity);
  if constexpr (V::kHasMask && !kMaskFirst) w = L::Mul(V::LoadAlpha(mask), w);
  return w;
}

// The loop of a mode with a weight.
template <template <class> class Mode, class V, class Pixel, VXp_WeightOrder order>
struct VXp_WeightedLoop {
  using L = typename V::L;
  using Lanes = typename L::Work;
  using Piece = Mode<L>;

  [[gnu::flatten]] static VX_Err Scan(int32_t count, const VX_BlendingMode<Pixel>* mode,
                                      const VX_LinearBlendingTables* tables, const Pixel* src,
                                      const Pixel* mask, Pixel* dst) {
    if (count <= 0) return VX_Ok;
    V::NeedTables(tables);
    const Lanes opacity = VXp_Splat<Lanes>(V::Scaled(mode->opacity));
    const bool faded = mode->opacity != VXp_PixelTraits<Pixel>::kFull;
    const bool keep = mode->keepDstAlpha != 0;
    typename V::RoundTrip trip;
    const bool trips = trip.Serves(count);
    VXp_ForFours(count, src, V::kHasMask ? mask : nullptr, dst,
                 [&](const Pixel* s, const Pixel* m, Pixel* d) {
                   const Lanes w = VXp_Weight<V, order>(V::LoadAlpha(s), m, faded, opacity);
                   if (Piece::kRowSkipsZero && !L::Any(w != Lanes{})) return;
                   if (!trips || !StepCovering(s, w, keep, tables, &trip, d)) {
                     Step(V::Load(s, tables), w, keep, tables, d);
                   }
                 });
    return VX_Ok;
  }

 private:
  static void Step(const VXp_Argb<L>& s, Lanes w, bool keep, const VX_LinearBlendingTables* tables,
                   Pixel* dst) {
    VXp_Argb<L> d = V::template LoadUnder<Piece>(w, dst, tables);
    VXp_IntLanes acts = ~VXp_IntLanes{};
    if constexpr (Piece::kRowSkipsZero) {
      acts = Piece::Acts(w, d.alpha);
      if (!L::Any(acts)) return;
    }
    Piece::BlendInRow(s, w, keep, d);
    V::template Store<Piece>(d, acts, tables, dst);
  }

  // Four pixels that take the source's colours. False, and nothing done, where they do not.
  static bool StepCovering(const Pixel* src, Lanes w, bool keep,
                           const VX_LinearBlendingTables* tables, typename V::RoundTrip* trip,
                           Pixel* dst) {
    VXp_Argb<L> d = {V::LoadAlpha(dst), {}, {}, {}};
    if (!Piece::Covers(w, d.alpha)) return false;
    const VXp_IntLanes acts = Piece::kRowSkipsZero ? Piece::Acts(w, d.alpha) : ~VXp_IntLanes{};
    Piece::BlendInRow(VXp_Argb<L>{}, w, keep, d);
    trip->Store(src, d.alpha, acts, *tables, dst);
    return true;
  }
};

template <template <class> class Mode, class Pixel, bool hasMask, bool linear>
struct VXp_RowLoop : VXp_WeightedLoop<Mode, VXp_RowVariant<Pixel, hasMask, linear>, Pixel,
                                      VXp_WeightOrder::kMaskFirst> {};

// --- masked multiply -----------------------------------------------------------------------------

// With a mask, deep pixels multiply directly where the weight is full.
template <class T>
struct VXp_MaskedMultiply : VXp_ModeMultiply<T> {
  using Work = typename T::Work;
  static void BlendInRow(const VXp_Argb<T>& s, Work w, bool /*keep*/, VXp_Argb<T>& d) {
    VXp_Each(VXp_Color<T>::Of(s), VXp_Color<T>::Of(d), [=](Work x, Work y) {
      const Work full = T::Mul(x, y);
      const Work part = VXp_ModeMultiply<T>::Part(x, y, w);
      return w == T::kFull ? full : part;
    }).StoreTo(d);
  }
};

template <>
struct VXp_RowLoop<VXp_ModeMultiply, VX_Pixel16, true, false>
    : VXp_RowLoop<VXp_MaskedMultiply, VX_Pixel16, true, false> {};
template <>
struct VXp_RowLoop<VXp_ModeMultiply, VX_PixelFloat, true, false>
    : VXp_RowLoop<VXp_MaskedMultiply, VX_PixelFloat, true, false> {};

// --- copies --------------------------------------------------------------------------------------

// A plain copy of a whole row is one move.
template <template <class> class Mode, class Pixel, bool hasMask, bool linear>
struct VXp_CopyLoop {
  using V = VXp_RowVariant<Pixel, hasMask, linear>;
  using Loop = VXp_WeightedLoop<Mode, V, Pixel, VXp_WeightOrder::kOpacityFirst>;

  static VX_Err Scan(int32_t count, const VX_BlendingMode<Pixel>* mode,
                     const VX_LinearBlendingTables* tables, const Pixel* src, const Pixel* mask,
                     Pixel* dst) {
    const bool whole = !linear && !hasMask && mode->keepDstAlpha == 0 &&
                       mode->opacity == VXp_PixelTraits<Pixel>::kFull;
    if (!whole || count <= 0) return Loop::Scan(count, mode, tables, src, mask, dst);
    std::memmove(static_cast<void*>(dst), src, static_cast<size_t>(count) * sizeof(Pixel));
    return VX_Ok;
  }
};

// Copies do not change colours, so light makes no difference to them, but for two whose linear
// forms go through the tables and back.
template <class Pixel, bool hasMask, bool linear>
struct VXp_RowLoop<VXp_ModeCopy, Pixel, hasMask, linear>
    : VXp_CopyLoop<VXp_ModeCopy, Pixel, hasMask, linear && std::is_same_v<Pixel, VX_Pixel8>> {};

template <class Pixel, bool hasMask, bool linear>
struct VXp_RowLoop<VXp_ModeScale, Pixel, hasMask, linear>
    : VXp_CopyLoop<VXp_ModeScale, Pixel, hasMask, linear && std::is_same_v<Pixel, VX_PixelFloat>> {
};

// --- one pixel after the other -------------------------------------------------------------------

// What the two loops below share: blend(source, mask, destination) decides and blends by itself.
template <class Pixel, class Blend>
void VXp_ForPixels(int32_t count, const Pixel* src, const Pixel* mask, Pixel* dst, Blend&& blend) {
  for (ptrdiff_t x = 0; x < count; ++x) {
    Pixel d = VXp_Load<Pixel>(dst + x);
    const Pixel m = mask != nullptr ? VXp_Load<Pixel>(mask + x) : Pixel{};
    if (blend(VXp_Load<Pixel>(src + x), m, d)) VXp_Store(dst + x, d);
  }
}

// blend(source, destination) on the working pixels of a variant.
template <class V, class Pixel, class Blend>
void VXp_BlendInVariant(const Pixel& s, const VX_LinearBlendingTables* tables, Pixel& d,
                        Blend&& blend) {
  using Argb = VXp_Argb<typename V::T>;
  if constexpr (!V::kLinear) {
    Argb to = Argb::Of(d);
    blend(Argb::Of(s), to);
    d = to.Pixel();
  } else {
    VXp_BlendLinear<true>(s, *tables, d, blend);
  }
}

// The mix of two images by the mask, which is the operand, so every variant needs it; opacity is
// not read.
template <class Pixel, bool hasMask, bool linear>
struct VXp_RowLoop<VXp_ModeMaskMix, Pixel, hasMask, linear> {
  using V = VXp_RowVariant<Pixel, true, linear>;
  using Argb = VXp_Argb<typename V::T>;
  using Work = typename V::Work;
  using Piece = VXp_ModeMaskMix<typename V::T>;

  static VX_Err Scan(int32_t count, const VX_BlendingMode<Pixel>* /*mode*/,
                     const VX_LinearBlendingTables* tables, const Pixel* src, const Pixel* mask,
                     Pixel* dst) {
    if (count <= 0) return VX_Ok;
    V::NeedTables(tables);
    if (mask == nullptr) return VX_ErrBadParameter;
    VXp_ForPixels(count, src, mask, dst, [=](const Pixel& s, const Pixel& m, Pixel& d) {
      const Work t = V::Scaled(m.alpha);
      if (!Piece::Mixes(V::Scaled(s.alpha), t, V::Scaled(d.alpha))) return false;
      VXp_BlendInVariant<V>(s, tables, d,
                            [=](const Argb& from, Argb& to) { Piece::Mix(from, t, to); });
      return true;
    });
    return VX_Ok;
  }
};

// The running seed moves on by one a pixel, and by a draw where the weight is partial.
template <class Pixel, bool hasMask, bool linear>
struct VXp_RowLoop<VXp_ModeDissolve, Pixel, hasMask, linear> {
  using V = VXp_RowVariant<Pixel, hasMask, linear>;
  using T = typename V::T;
  using Argb = VXp_Argb<T>;
  using Work = typename T::Work;
  using Piece = VXp_ModeDissolve<T>;

  static VX_Err Scan(int32_t count, const VX_BlendingMode<Pixel>* mode,
                     const VX_LinearBlendingTables* tables, const Pixel* src, const Pixel* mask,
                     Pixel* dst) {
    if (count <= 0) return VX_Ok;
    V::NeedTables(tables);
    const Work opacity = V::Scaled(mode->opacity);
    const bool keep = mode->keepDstAlpha != 0;
    auto running = static_cast<uint32_t>(mode->seed);
    const Pixel* const used_mask = hasMask ? mask : nullptr;
    VXp_ForPixels(count, src, used_mask, dst, [&](const Pixel& s, const Pixel& m, Pixel& d) {
      Work w = V::Scaled(s.alpha);
      if constexpr (hasMask) w = T::Mul(w, V::Scaled(m.alpha));
      w = T::Mul(w, opacity);
      const bool taken = w == T::kFull || (w != Work{0} && Piece::Passes(w, VXp_Random(&running)));
      ++running;
      if (!taken) return false;
      VXp_BlendInVariant<V>(s, tables, d,
                            [=](const Argb& from, Argb& to) { Piece::Take(from, keep, to); });
      return true;
    });
    return VX_Ok;
  }
};

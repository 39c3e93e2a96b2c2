// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The row loops: one for each mode, pixel type and encoding (stored or linear). A null mask is full
// scale everywhere.
//
// A row is processed in groups of as many pixels as there are lanes. Their channels are loaded
// into lanes (and converted to linear light in a linear loop), the weights are computed, the
// arithmetic of the mode (its "piece") is applied, and the pixels are stored. If the mode does not
// change pixels of weight 0, groups whose weights are all 0 are skipped. The last pixels of a row,
// fewer than a group, are copied to an array of one group, for which the loop calls itself, so that
// the code of the mode is compiled only once per loop.

#include "VX/VX_Blend.h"
#include "blend/VXp_LinearLanes.h"
#include "blend/modes/VXp_AllModes.h"
#include "frame/VXp_PixelGroup.h"
#include "frame/VXp_Random.h"
#include "frame/VXp_Report.h"
#include "frame/VXp_Rows.h"

// Defines the type in which pixels are blended, the loads and the stores, for a pixel type and an
// encoding (stored or linear).
template <class Pixel, bool linear>
struct VXp_RowVariant {
  static constexpr bool kLinear = linear;
  using Light = VXp_LinearLight<Pixel>;
  using Working = std::conditional_t<linear, typename Light::Working, Pixel>;
  using T = VXp_PixelTraits<Working>;
  using L = std::conditional_t<linear, VXp_LaneTraits<Working>, VXp_MostLanes<Working>>;
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
      return VXp_LinearLanes<Pixel>::ToLinear(VXp_LoadGroup(from), *tables);
    } else {
      return VXp_LoadAs<L>(from);
    }
  }

  // Loads alpha only. This needs no table, because alpha is not encoded.
  static Lanes LoadAlpha(const Pixel* from) {
    if constexpr (linear) {
      return VXp_LinearLanes<Pixel>::AlphaToWorking(VXp_LoadGroup(from).alpha);
    } else {
      return VXp_LoadAs<L>(from).alpha;
    }
  }

  // Loads the destination for a source of weight w. In a linear loop, only alpha is loaded if the
  // mode does not read the colours, because the lookup of colours is slow.
  template <class Piece>
  static VXp_Argb<L> LoadUnder(Lanes w, const Pixel* from, const VX_LinearBlendingTables* tables) {
    if constexpr (linear) {
      const VXp_Argb<L> alone = {LoadAlpha(from), {}, {}, {}};
      if (!Piece::kWritesColor || Piece::Covers(w, alone.alpha)) return alone;
    }
    return Load(from, tables);
  }

  // Stores the result of the mode in the pixels for which `acts` is set.
  template <class Piece>
  static void Store(const VXp_Argb<L>& p, typename L::Ints acts,
                    const VX_LinearBlendingTables* tables, Pixel* to) {
    if constexpr (!linear) {
      VXp_StoreWhere(acts, p, to);
    } else if constexpr (Piece::kWritesColor) {
      VXp_StoreWhere(acts, VXp_LinearLanes<Pixel>::FromLinear(p, *tables), to);
    } else {
      auto old = VXp_LoadGroup(to);
      old.alpha = acts ? VXp_LinearLanes<Pixel>::AlphaBack(p.alpha) : old.alpha;
      VXp_StoreGroup(to, old);
    }
  }
};

// The order in which mask and opacity are multiplied into a weight. Each product is rounded, so the
// order is part of the result.
enum class VXp_WeightOrder { kMaskFirst, kOpacityFirst };

// The factors of a row's weights: mask and opacity. A product with full scale is exact at every
// depth, so an opacity of full scale is not multiplied. Each factor is tested where it is applied,
// because one test before both made the loops of fast modes slower.
template <class V, VXp_WeightOrder order, class Pixel>
struct VXp_WeightFactors {
  using L = typename V::L;
  using Lanes = typename V::Lanes;
  const Pixel* mask;
  Lanes opacity;
  bool faded;

  VXp_WeightFactors(VX_ChannelOf<Pixel> row_opacity, const Pixel* row_mask)
      : mask(row_mask),
        opacity(VXp_Splat<Lanes>(V::Scaled(row_opacity))),
        faded(row_opacity != VXp_PixelTraits<Pixel>::kFull) {}

  // Returns the weights of the group that starts at x. `w` contains their source alphas.
  Lanes Apply(Lanes w, ptrdiff_t x) const {
    constexpr bool kMaskFirst = order == VXp_WeightOrder::kMaskFirst;
    if (mask != nullptr) VXp_PrefetchAhead<L::kLanes>(mask + x);
    if (kMaskFirst && mask != nullptr) w = L::Mul(w, V::LoadAlpha(mask + x));
    if (faded) w = L::Mul(w, opacity);
    if (!kMaskFirst && mask != nullptr) w = L::Mul(V::LoadAlpha(mask + x), w);
    return w;
  }
};

// The loop of modes whose result depends on a weight (source alpha times mask times opacity).
template <template <class> class Mode, class Pixel, bool linear,
          VXp_WeightOrder order = VXp_WeightOrder::kMaskFirst>
struct VXp_WeightedLoop {
  using V = VXp_RowVariant<Pixel, linear>;
  using L = typename V::L;
  using Lanes = typename L::Work;
  using Ints = typename L::Ints;
  using Piece = Mode<L>;

  [[gnu::flatten, gnu::noinline]] static VX_Err Scan(int32_t count,
                                                     const VX_BlendingMode<Pixel>* mode,
                                                     const VX_LinearBlendingTables* tables,
                                                     const Pixel* src, const Pixel* mask,
                                                     Pixel* dst) {
    if (count <= 0) return VX_Ok;
    V::NeedTables(tables);
    const VXp_WeightFactors<V, order, Pixel> factors(mode->opacity, mask);
    const bool keep = mode->keepDstAlpha != 0;
    typename V::RoundTrip trip;
    const bool trips = trip.Serves(count);
    const int32_t done = VXp_ForGroups<L::kLanes>(count, [&](ptrdiff_t x) {
      VXp_PrefetchAhead<L::kLanes>(src + x);
      VXp_PrefetchAhead<L::kLanes>(dst + x);
      const Lanes w = factors.Apply(V::LoadAlpha(src + x), x);
      if (Piece::kRowSkipsZero && !L::AnyNonzero(w)) return;
      if (!trips || !StepCovering(src + x, w, keep, tables, &trip, dst + x)) {
        Step(V::Load(src + x, tables), w, keep, tables, dst + x);
      }
    });
    VXp_ForRest<L::kLanes>(
        done, count, src, mask, dst,
        [&](const Pixel* s, const Pixel* m, Pixel* d) { Scan(L::kLanes, mode, tables, s, m, d); });
    return VX_Ok;
  }

 private:
  static void Step(const VXp_Argb<L>& s, Lanes w, bool keep, const VX_LinearBlendingTables* tables,
                   Pixel* dst) {
    if constexpr (!V::kLinear) {
      if (Piece::Replaces(w)) {
        VXp_StoreGroup(dst, VXp_Argb<L>{w, s.red, s.green, s.blue});
        return;
      }
    }
    VXp_Argb<L> d = V::template LoadUnder<Piece>(w, dst, tables);
    Ints acts = ~Ints{};
    if constexpr (Piece::kRowSkipsZero) {
      if (!Piece::ActsAnywhere(w, d.alpha)) return;
      acts = Piece::Acts(w, d.alpha);
    }
    // In linear light, pixels that the mode does not change are not converted back.
    if constexpr (V::kLinear && Piece::kChoosesPixels) {
      acts &= Piece::ActsOn(s, d);
      if (!L::Any(acts)) return;
    }
    Piece::BlendInRow(s, w, keep, d);
    V::template Store<Piece>(d, acts, tables, dst);
  }

  // If the mode replaces the colours of the whole group by those of the source (Piece::Covers),
  // stores these and the new alphas without loading the destination's colours, and returns true.
  // Otherwise does nothing and returns false.
  static bool StepCovering(const Pixel* src, Lanes w, bool keep,
                           const VX_LinearBlendingTables* tables, typename V::RoundTrip* trip,
                           Pixel* dst) {
    VXp_Argb<L> d = {V::LoadAlpha(dst), {}, {}, {}};
    if (!Piece::Covers(w, d.alpha)) return false;
    const Ints acts = Piece::kRowSkipsZero ? Piece::Acts(w, d.alpha) : ~Ints{};
    Piece::BlendInRow(VXp_Argb<L>{}, w, keep, d);
    trip->Store(src, d.alpha, acts, *tables, dst);
    return true;
  }
};

template <template <class> class Mode, class Pixel, bool linear>
struct VXp_RowLoop : VXp_WeightedLoop<Mode, Pixel, linear> {};

// --- masked multiply -----------------------------------------------------------------------------

// The loop for rows with a mask. Multiply specializes it.
template <template <class> class Mode, class Pixel, bool linear>
struct VXp_MaskedRowLoop : VXp_RowLoop<Mode, Pixel, linear> {};

// Multiply with a mask: 16-bit and float pixels that are not in linear light use the product s m if
// the weight is full scale, instead of m - (F - s) m.
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

template <class Pixel>
inline constexpr bool kVXp_HasMaskedMultiply = !std::is_same_v<Pixel, VX_Pixel8>;

template <class Pixel>
struct VXp_MaskedRowLoop<VXp_ModeMultiply, Pixel, false>
    : std::conditional_t<kVXp_HasMaskedMultiply<Pixel>,
                         VXp_WeightedLoop<VXp_MaskedMultiply, Pixel, false>,
                         VXp_RowLoop<VXp_ModeMultiply, Pixel, false>> {};

// --- copies --------------------------------------------------------------------------------------

// The loop of copy and scale. A row without mask and with full opacity is one memory copy.
template <template <class> class Mode, class Pixel, bool linear>
struct VXp_CopyLoop {
  static VX_Err Scan(int32_t count, const VX_BlendingMode<Pixel>* mode,
                     const VX_LinearBlendingTables* tables, const Pixel* src, const Pixel* mask,
                     Pixel* dst) {
    using Loop = VXp_WeightedLoop<Mode, Pixel, linear, VXp_WeightOrder::kOpacityFirst>;
    const bool whole = !linear && mask == nullptr && mode->keepDstAlpha == 0 &&
                       mode->opacity == VXp_PixelTraits<Pixel>::kFull;
    if (!whole || count <= 0) return Loop::Scan(count, mode, tables, src, mask, dst);
    std::memmove(static_cast<void*>(dst), src, static_cast<size_t>(count) * sizeof(Pixel));
    return VX_Ok;
  }
};

// A copy does not change colours, so its linear loop is the loop for stored values. There are two
// exceptions, which convert to linear light and back with rounding: copy at 8 bits, and scale of
// float pixels.
template <class Pixel, bool linear>
struct VXp_RowLoop<VXp_ModeCopy, Pixel, linear>
    : VXp_CopyLoop<VXp_ModeCopy, Pixel, linear && std::is_same_v<Pixel, VX_Pixel8>> {};

template <class Pixel, bool linear>
struct VXp_RowLoop<VXp_ModeScale, Pixel, linear>
    : VXp_CopyLoop<VXp_ModeScale, Pixel, linear && std::is_same_v<Pixel, VX_PixelFloat>> {};

// --- one pixel at a time -------------------------------------------------------------------------

// Calls blend(source, mask, destination) for each pixel of a row, and stores the destination if
// `blend` returns true. If the mask row is null, the mask is a zero pixel.
template <class Pixel, class Blend>
void VXp_ForPixels(int32_t count, const Pixel* src, const Pixel* mask, Pixel* dst, Blend&& blend) {
  for (ptrdiff_t x = 0; x < count; ++x) {
    Pixel d = VXp_Load<Pixel>(dst + x);
    const Pixel m = mask != nullptr ? VXp_Load<Pixel>(mask + x) : Pixel{};
    if (blend(VXp_Load<Pixel>(src + x), m, d)) VXp_Store(dst + x, d);
  }
}

// Calls blend(source, destination) on one pixel. In a linear variant, both are converted to linear
// light before, and the destination is converted back.
template <class V, class Pixel, class Blend>
void VXp_BlendInVariant(const Pixel& s, const VX_LinearBlendingTables* tables, Pixel& d,
                        Blend&& blend) {
  using Argb = VXp_Argb<typename V::T>;
  if constexpr (!V::kLinear) {
    Argb to = Argb::Of(d);
    blend(Argb::Of(s), to);
    d = to.Pixel();
  } else {
    VXp_BlendLinear<true>(s, *tables, d, [&](const Argb& from, Argb& to) {
      blend(from, to);
      return true;
    });
  }
}

// Mixes two images by the alpha of the mask. The mask is an operand of the mode, so it is required
// in every variant; opacity is ignored.
template <class Pixel, bool linear>
struct VXp_RowLoop<VXp_ModeMaskMix, Pixel, linear> {
  using V = VXp_RowVariant<Pixel, linear>;
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

// Dissolve. The seed increases by one for each pixel. For a pixel whose weight is neither 0 nor
// full scale, a random number is also generated from the seed.
template <class Pixel, bool linear>
struct VXp_RowLoop<VXp_ModeDissolve, Pixel, linear> {
  using V = VXp_RowVariant<Pixel, linear>;
  using T = typename V::T;
  using Argb = VXp_Argb<T>;
  using Work = typename T::Work;
  using Piece = VXp_ModeDissolve<T>;

  static VX_Err Scan(int32_t count, const VX_BlendingMode<Pixel>* mode,
                     const VX_LinearBlendingTables* tables, const Pixel* src, const Pixel* mask,
                     Pixel* dst) {
    if (count <= 0) return VX_Ok;
    V::NeedTables(tables);
    if (mask != nullptr) {
      Dissolve<true>(count, *mode, tables, src, mask, dst);
    } else {
      Dissolve<false>(count, *mode, tables, src, mask, dst);
    }
    return VX_Ok;
  }

 private:
  template <bool masked>
  [[gnu::flatten]] static void Dissolve(int32_t count, const VX_BlendingMode<Pixel>& mode,
                                        const VX_LinearBlendingTables* tables, const Pixel* src,
                                        const Pixel* mask, Pixel* dst) {
    const Work opacity = V::Scaled(mode.opacity);
    const bool keep = mode.keepDstAlpha != 0;
    auto running = static_cast<uint32_t>(mode.seed);
    const Pixel* const used_mask = masked ? mask : nullptr;
    VXp_ForPixels(count, src, used_mask, dst, [&](const Pixel& s, const Pixel& m, Pixel& d) {
      Work w = V::Scaled(s.alpha);
      if constexpr (masked) w = T::Mul(w, V::Scaled(m.alpha));
      w = T::Mul(w, opacity);
      const bool taken = w == T::kFull || (w != Work{0} && Piece::Passes(w, VXp_Random(&running)));
      ++running;
      if (!taken) return false;
      VXp_BlendInVariant<V>(s, tables, d,
                            [=](const Argb& from, Argb& to) { Piece::Take(from, keep, to); });
      return true;
    });
  }
};

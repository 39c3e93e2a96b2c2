// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The row loops: one for each mode, depth, and variant with or without mask, encoded or linear.
// Each has the arithmetic of its mode inline; past the loop's head nothing is tested that is
// constant.
//
// Loads and stores copy, because a caller's rowbytes may put a row at any address.

#include <cstring>

#include "VX/VX_Blend.h"
#include "blend/VXp_LinearLight.h"
#include "blend/VXp_Random.h"
#include "blend/modes/VXp_AllModes.h"
#include "frame/VXp_Report.h"
#include "frame/VXp_Rows.h"

// What all variants of a loop share: their pixel, the pixel that they compute with, and the weight.
template <class Pixel, bool hasMask, bool linear>
struct VXp_RowVariant {
  using Light = VXp_LinearLight<Pixel>;
  using Working = std::conditional_t<linear, typename Light::Working, Pixel>;
  using T = VXp_PixelTraits<Working>;
  using Work = typename T::Work;
  using Channel = VX_ChannelOf<Pixel>;

  static Work Scaled(Channel c) {
    if constexpr (linear) return Light::ToWorking(c);
    return c;
  }

  // The mask comes before the opacity.
  static Work Weight(const Pixel& s, const Pixel* mask, ptrdiff_t i, Work opacity) {
    Work w = Scaled(s.alpha);
    if constexpr (hasMask) w = T::Mul(w, Scaled(VXp_Load<Pixel>(mask + i).alpha));
    return T::Mul(w, opacity);
  }

  // The copies take them in the other order; both roundings are fixed.
  static Work CopyWeight(const Pixel& s, const Pixel* mask, ptrdiff_t i, Work opacity) {
    const Work w = T::Mul(Scaled(s.alpha), opacity);
    if constexpr (hasMask) return T::Mul(Scaled(VXp_Load<Pixel>(mask + i).alpha), w);
    return w;
  }

  static void NeedTables(const VX_LinearBlendingTables* tables) {
    if (!linear || tables != nullptr) return;
    VXp_ThrowIf(VXp_FailVerification("Invalid tables for linearized blending"));
  }

  // blend(source, destination) on working pixels.
  template <bool kWritesColor, class Blend>
  static void Apply(const Pixel& s, const VX_LinearBlendingTables* tables, Pixel& d,
                    Blend&& blend) {
    if constexpr (linear) {
      VXp_BlendLinear<kWritesColor>(s, *tables, d, blend);
    } else {
      blend(s, d);
    }
  }
};

// The loop of a mode with a weight.
template <template <class> class Mode, class Pixel, bool hasMask, bool linear>
struct VXp_RowLoop {
  using V = VXp_RowVariant<Pixel, hasMask, linear>;
  using T = typename V::T;
  using Work = typename T::Work;
  using Piece = Mode<T>;

  static VX_Err Scan(int32_t count, const VX_BlendingMode<Pixel>* mode,
                     const VX_LinearBlendingTables* tables, const Pixel* src, const Pixel* mask,
                     Pixel* dst) {
    if (count <= 0) return VX_Ok;
    V::NeedTables(tables);
    const Work opacity = V::Scaled(mode->opacity);
    const bool keep = mode->keepDstAlpha != 0;
    for (ptrdiff_t i = 0; i < count; ++i) {
      const Pixel s = VXp_Load<Pixel>(src + i);
      const Work w = V::Weight(s, mask, i, opacity);
      if (Piece::kRowSkipsZero && w == Work{0}) continue;
      Pixel d = VXp_Load<Pixel>(dst + i);
      V::template Apply<Piece::kWritesColor>(
          s, tables, d, [=](const auto& from, auto& to) { Piece::BlendInRow(from, w, keep, to); });
      VXp_Store(dst + i, d);
    }
    return VX_Ok;
  }
};

// A pixel behind one that covers is skipped before anything is converted.
template <class Pixel, bool hasMask>
struct VXp_RowLoop<VXp_ModeBehind, Pixel, hasMask, true> {
  using V = VXp_RowVariant<Pixel, hasMask, true>;
  using Work = typename V::Work;
  using Piece = VXp_ModeBehind<typename V::T>;

  static VX_Err Scan(int32_t count, const VX_BlendingMode<Pixel>* mode,
                     const VX_LinearBlendingTables* tables, const Pixel* src, const Pixel* mask,
                     Pixel* dst) {
    if (count <= 0) return VX_Ok;
    V::NeedTables(tables);
    const Work opacity = V::Scaled(mode->opacity);
    const bool keep = mode->keepDstAlpha != 0;
    for (ptrdiff_t i = 0; i < count; ++i) {
      const Pixel s = VXp_Load<Pixel>(src + i);
      const Work w = V::Weight(s, mask, i, opacity);
      Pixel d = VXp_Load<Pixel>(dst + i);
      if (w == Work{0} || d.alpha == VXp_PixelTraits<Pixel>::kFull) continue;
      V::template Apply<true>(
          s, tables, d, [=](const auto& from, auto& to) { Piece::BlendInRow(from, w, keep, to); });
      VXp_Store(dst + i, d);
    }
    return VX_Ok;
  }
};

// --- copies --------------------------------------------------------------------------------------

// Whether the row of a copy takes part in linear light. Copies of integers do not change colours,
// so for them light makes no difference, but for 8-bit Copy, whose linear form goes through the
// tables.
template <template <class> class Mode, class Pixel>
inline constexpr bool VXp_CopiesInLight = false;
template <>
inline constexpr bool VXp_CopiesInLight<VXp_ModeCopy, VX_Pixel8> = true;
template <>
inline constexpr bool VXp_CopiesInLight<VXp_ModeScale, VX_PixelFloat> = true;

template <template <class> class Mode, class Pixel, bool hasMask, bool linear>
struct VXp_CopyLoop {
  using V = VXp_RowVariant<Pixel, hasMask, linear>;
  using Work = typename V::Work;
  using Piece = Mode<typename V::T>;

  static VX_Err Scan(int32_t count, const VX_BlendingMode<Pixel>* mode,
                     const VX_LinearBlendingTables* tables, const Pixel* src, const Pixel* mask,
                     Pixel* dst) {
    if (count <= 0) return VX_Ok;
    V::NeedTables(tables);
    const Work opacity = V::Scaled(mode->opacity);
    const bool keep = mode->keepDstAlpha != 0;
    if (!linear && !hasMask && !keep && opacity == V::T::kFull) {
      std::memmove(static_cast<void*>(dst), src, static_cast<size_t>(count) * sizeof(Pixel));
      return VX_Ok;
    }
    for (ptrdiff_t i = 0; i < count; ++i) {
      const Pixel s = VXp_Load<Pixel>(src + i);
      Pixel d = VXp_Load<Pixel>(dst + i);
      const Work w = V::CopyWeight(s, mask, i, opacity);
      V::template Apply<true>(
          s, tables, d, [=](const auto& from, auto& to) { Piece::BlendInRow(from, w, keep, to); });
      VXp_Store(dst + i, d);
    }
    return VX_Ok;
  }
};

template <class Pixel, bool hasMask, bool linear>
struct VXp_RowLoop<VXp_ModeCopy, Pixel, hasMask, linear>
    : VXp_CopyLoop<VXp_ModeCopy, Pixel, hasMask, linear && VXp_CopiesInLight<VXp_ModeCopy, Pixel>> {
};

template <class Pixel, bool hasMask, bool linear>
struct VXp_RowLoop<VXp_ModeScale, Pixel, hasMask, linear>
    : VXp_CopyLoop<VXp_ModeScale, Pixel, hasMask,
                   linear && VXp_CopiesInLight<VXp_ModeScale, Pixel>> {};

// --- mask mix ------------------------------------------------------------------------------------

// The mask is the operand, so every variant needs it; opacity is not read.
template <class Pixel, bool hasMask, bool linear>
struct VXp_RowLoop<VXp_ModeMaskMix, Pixel, hasMask, linear> {
  using V = VXp_RowVariant<Pixel, hasMask, linear>;
  using Work = typename V::Work;
  using Piece = VXp_ModeMaskMix<typename V::T>;

  static VX_Err Scan(int32_t count, const VX_BlendingMode<Pixel>* /*mode*/,
                     const VX_LinearBlendingTables* tables, const Pixel* src, const Pixel* mask,
                     Pixel* dst) {
    if (count <= 0) return VX_Ok;
    V::NeedTables(tables);
    if (mask == nullptr) return VX_ErrBadParameter;
    for (ptrdiff_t i = 0; i < count; ++i) {
      const Work t = V::Scaled(VXp_Load<Pixel>(mask + i).alpha);
      const Pixel s = VXp_Load<Pixel>(src + i);
      Pixel d = VXp_Load<Pixel>(dst + i);
      if (!Piece::Mixes(V::Scaled(s.alpha), t, V::Scaled(d.alpha))) continue;
      V::template Apply<true>(s, tables, d,
                              [=](const auto& from, auto& to) { Piece::Mix(from, t, to); });
      VXp_Store(dst + i, d);
    }
    return VX_Ok;
  }
};

// --- dissolve ------------------------------------------------------------------------------------

// The running seed moves on by one a pixel, and by a draw where the weight is partial.
template <class Pixel, bool hasMask, bool linear>
struct VXp_RowLoop<VXp_ModeDissolve, Pixel, hasMask, linear> {
  using V = VXp_RowVariant<Pixel, hasMask, linear>;
  using T = typename V::T;
  using Work = typename T::Work;
  using Piece = VXp_ModeDissolve<T>;

  static VX_Err Scan(int32_t count, const VX_BlendingMode<Pixel>* mode,
                     const VX_LinearBlendingTables* tables, const Pixel* src, const Pixel* mask,
                     Pixel* dst) {
    if (count <= 0) return VX_Ok;
    V::NeedTables(tables);
    const Work opacity = V::Scaled(mode->opacity);
    const bool keep = mode->keepDstAlpha != 0;
    auto seed = static_cast<uint32_t>(mode->seed);
    for (ptrdiff_t i = 0; i < count; ++i, ++seed) {
      const Pixel s = VXp_Load<Pixel>(src + i);
      const Work w = V::Weight(s, mask, i, opacity);
      if (w == Work{0}) continue;
      if (w != T::kFull && !Piece::Passes(w, VXp_Random(&seed))) continue;
      Pixel d = VXp_Load<Pixel>(dst + i);
      V::template Apply<true>(s, tables, d,
                              [=](const auto& from, auto& to) { Piece::Take(from, keep, to); });
      VXp_Store(dst + i, d);
    }
    return VX_Ok;
  }
};

// --- masked multiply -----------------------------------------------------------------------------

// With a mask, deep pixels multiply directly where the weight is full.
template <class Pixel>
struct VXp_MaskedMultiplyLoop {
  using T = VXp_PixelTraits<Pixel>;
  using Work = typename T::Work;
  using V = VXp_RowVariant<Pixel, true, false>;

  static VX_Err Scan(int32_t count, const VX_BlendingMode<Pixel>* mode,
                     const VX_LinearBlendingTables*, const Pixel* src, const Pixel* mask,
                     Pixel* dst) {
    const Work opacity = mode->opacity;
    for (ptrdiff_t i = 0; i < count; ++i) {
      const Pixel s = VXp_Load<Pixel>(src + i);
      const Work w = V::Weight(s, mask, i, opacity);
      if (w == Work{0}) continue;
      Pixel d = VXp_Load<Pixel>(dst + i);
      VXp_Each(VXp_Color<T>::Of(s), VXp_Color<T>::Of(d), [=](Work x, Work y) {
        return w == T::kFull ? T::Mul(x, y) : VXp_ModeMultiply<T>::Part(x, y, w);
      }).StoreTo(d);
      VXp_Store(dst + i, d);
    }
    return VX_Ok;
  }
};

template <>
struct VXp_RowLoop<VXp_ModeMultiply, VX_Pixel16, true, false> : VXp_MaskedMultiplyLoop<VX_Pixel16> {
};
template <>
struct VXp_RowLoop<VXp_ModeMultiply, VX_PixelFloat, true, false>
    : VXp_MaskedMultiplyLoop<VX_PixelFloat> {};

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Copy, scale, mask-mix and dissolve. Mask-mix and dissolve have separate row loops
// (VXp_RowLoop.h).

#include <type_traits>

#include "blend/modes/VXp_Mode.h"

// Copies the colours; alpha becomes the weight.
template <class T>
struct VXp_ModeCopy : VXp_CommonMode<T> {
  using Argb = VXp_Argb<T>;
  using Work = typename T::Work;
  static constexpr bool kRowSkipsZero = false;
  static constexpr bool kUsesColor = false;
  static constexpr bool Covers(Work /*w*/, Work /*da*/) { return true; }

  static void BlendPixel(const Argb& s, Work sa, Argb& d) {
    d = s;
    d.alpha = sa;
  }
  static void BlendInRow(const Argb& s, Work w, bool keep, Argb& d) {
    const Work da = d.alpha;
    BlendPixel(s, keep ? da : w, d);
  }
};

// The arithmetic of Copy, as a row form only.
template <class T>
struct VXp_ModeScale : VXp_ModeCopy<T> {
  static constexpr bool kDrawsTransparentRows = true;
};

// Mixes two images by the alpha t of the mask. With the products a1 = sa * t, a2 = (F - t) * da,
// which are not divided by F, and q = a1 + a2, each colour is the mean of s and d weighted by a1
// and a2, and the alpha is q divided by F. Has a row form only.
template <class T>
struct VXp_ModeMaskMix : VXp_CommonMode<T> {
  using Argb = VXp_Argb<T>;
  using Work = typename T::Work;
  static constexpr bool kNeedsMask = true;
  static constexpr bool kTransferFlag = false;
  // The type of q and of the sums. At 16 bits, q is at most 2^30 and the sums at most 2^45.
  using Wide = std::conditional_t<T::kDepth == 8, int32_t,
                                  std::conditional_t<T::kDepth == 16, int64_t, float>>;

  // Returns whether the pixel changes. It does not if q is 0, because the mean is then undefined.
  static bool Mixes(Work sa, Work t, Work da) {
    if (t == Work{} || t == T::kFull) return t != Work{};
    return Wide{sa} * t + Wide{T::kFull - t} * da != 0;
  }

  // Computes a pixel for which Mixes is true.
  static void Mix(const Argb& s, Work t, Argb& d) {
    if (t == T::kFull) {
      d = s;
      return;
    }
    if constexpr (VXp_IsFloat<T>) {
      const float a1 = s.alpha * t;
      const float a2 = (1.0f - t) * d.alpha;
      const float q = a1 + a2;
      VXp_Each(VXp_Color<T>::Of(s), VXp_Color<T>::Of(d), [=](float x, float y) {
        return (x * a1 + y * a2) / q;
      }).StoreTo(d);
      d.alpha = q;
    } else {
      MixIntegers(s, t, d);
    }
  }

 private:
  static void MixIntegers(const Argb& s, Work t, Argb& d) {
    const Wide a1 = Wide{s.alpha} * t;
    const Wide a2 = Wide{T::kFull - t} * d.alpha;
    const Wide q = a1 + a2;
    VXp_Each(VXp_Color<T>::Of(s), VXp_Color<T>::Of(d), [=](Work x, Work y) {
      return static_cast<Work>((x * a1 + y * a2 + (q >> 1)) / q);
    }).StoreTo(d);
    d.alpha = static_cast<Work>(T::kDepth == 8 ? (q + 128) / 255 : (q + 16384) >> 15);
  }
};

// Replaces randomly selected pixels by the source; the weight is the probability. The per-pixel
// form has no seed and does nothing.
template <class T>
struct VXp_ModeDissolve : VXp_CommonMode<T> {
  using Argb = VXp_Argb<T>;
  using Work = typename T::Work;
  static constexpr bool kUsesColor = false;
  static constexpr bool kTransferFlag = false;

  static void BlendPixel(const Argb&, Work, Argb&) {}

  // Returns whether a pixel is replaced. w is its weight, neither 0 nor F; `random` is in 0..32767.
  static bool Passes(Work w, uint32_t random) {
    if constexpr (VXp_IsFloat<T>) {
      return w >= static_cast<float>(random) * 3.0518509447574615e-05f;
    } else {
      return static_cast<uint32_t>(w) >= (T::kDepth == 8 ? random & 0xFF : random);
    }
  }

  static void Take(const Argb& s, bool keep, Argb& d) {
    const Work da = d.alpha;
    d = s;
    d.alpha = keep ? da : T::kFull;
  }
};

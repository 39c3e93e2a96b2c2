// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Modes that use the three channels together: hue, saturation, color and luminosity, and the
// selection of the lighter or darker colour. If the destination is not opaque, the source is first
// drawn behind it. The per-pixel form does this itself; for rows, a stage before the scan does it.

#include "blend/modes/VXp_Composition.h"

// Moves the channels of a colour of luminance l toward l until all are in range. If the
// smallest or largest channel is out of range but equals l (float pixels only), it cannot be moved
// toward l, and the colour is not changed.
template <class T>
VXp_Color<T> VXp_ClipToRange(VXp_Color<T> c, typename T::Work l) {
  using Work = typename T::Work;
  const Work n = c.Min();
  const auto below = (n < Work{}) & (n != l);
  if (T::Any(below)) {
    c = VXp_Each(c, [=](Work x) {
      const Work raised = l + T::Fraction(x - l, l, l - n);
      return below ? raised : x;
    });
  }
  const Work m = c.Max();
  const auto above = (m > T::kFull) & (m != l);
  if (T::Any(above)) {
    c = VXp_Each(c, [=](Work x) {
      const Work lowered = l + T::Fraction(x - l, T::kFull - l, m - l);
      return above ? lowered : x;
    });
  }
  return c;
}

// A mode of this family defines Candidate(s, d, l), the colour for an opaque destination of
// luminance l.
template <class T, class Mode>
struct VXp_NonSeparable : VXp_CommonMode<T> {
  using Argb = VXp_Argb<T>;
  using Color = VXp_Color<T>;
  using Work = typename T::Work;
  static constexpr VXp_Stages kStages = VXp_Stages::kBehind;

  static void BlendPixel(const Argb& s, Work sa, Argb& d) {
    if (d.alpha < T::kFull) VXp_ModeBehind<T>::BlendPixel(s, sa, d);
    BlendInRow(s, sa, false, d);
  }

  static void BlendInRow(const Argb& s, Work w, bool /*keep*/, Argb& d) {
    const Color cd = Color::Of(d);
    const Work l = cd.Luma();
    const Color c = VXp_ClipToRange<T>(Mode::Candidate(Color::Of(s), cd, l), l);
    VXp_Each(cd, c, [=](Work x, Work y) {
      const Work mixed = T::Lerp(x, y, w);
      return w == T::kFull ? y : mixed;
    }).StoreTo(d);
  }

 protected:
  static VXp_Color<T> Shift(const VXp_Color<T>& c, Work by) {
    return VXp_Each(c, [=](Work x) { return x + by; });
  }

  // Returns the colour with the hue of `c` whose largest channel is `range` and whose smallest is
  // 0. If channels are equal, the first counts as the largest and the last as the smallest, so grey
  // becomes red.
  static VXp_Color<T> Spread(const VXp_Color<T>& c, Work range) {
    const Work top = c.Max();
    const Work low = c.Min();
    const Work mid = T::Max(T::Min(c.r, c.g), T::Min(T::Max(c.r, c.g), c.b));
    const Work span = top - low;
    const Work fraction = T::Fraction(mid - low, range, span);
    const Work between = span == Work{} ? Work{} : fraction;
    const auto elsewhere = [=](Work x) { return x == low ? Work{} : between; };
    const auto red = c.r == top;
    const auto green = (c.r != top) & (c.g == top);
    const auto blue = (c.r != top) & (c.g != top);
    const Work r = elsewhere(c.r), g = elsewhere(c.g), b = elsewhere(c.b);
    return {red ? range : r, green ? range : g, blue ? range : b};
  }
};

// The colour with the hue of the source, and with the range (largest minus smallest channel) and
// luminance of the destination.
template <class T>
struct VXp_ModeHue : VXp_NonSeparable<T, VXp_ModeHue<T>> {
  using Work = typename T::Work;
  static VXp_Color<T> Candidate(const VXp_Color<T>& s, const VXp_Color<T>& d, Work l) {
    const VXp_Color<T> c = VXp_ModeHue::Spread(s, d.Max() - d.Min());
    return VXp_ModeHue::Shift(c, l - c.Luma());
  }
};

// The colour with the range of the source, and with the hue and luminance of the destination.
template <class T>
struct VXp_ModeSaturation : VXp_NonSeparable<T, VXp_ModeSaturation<T>> {
  using Work = typename T::Work;
  static VXp_Color<T> Candidate(const VXp_Color<T>& s, const VXp_Color<T>& d, Work l) {
    const VXp_Color<T> c = VXp_ModeSaturation::Spread(d, s.Max() - s.Min());
    return VXp_ModeSaturation::Shift(c, l - c.Luma());
  }
};

// s - luma(s) + l: the source colour with the luminance l of the destination
template <class T>
struct VXp_ModeColor : VXp_NonSeparable<T, VXp_ModeColor<T>> {
  using Work = typename T::Work;
  static VXp_Color<T> Candidate(const VXp_Color<T>& s, const VXp_Color<T>&, Work l) {
    const Work ls = s.Luma();
    return VXp_Each(s, [=](Work x) { return x - ls + l; });
  }
};

// d + luma(s) - l: the destination colour with the luminance of the source
template <class T>
struct VXp_ModeLuminosity : VXp_NonSeparable<T, VXp_ModeLuminosity<T>> {
  using Work = typename T::Work;
  static VXp_Color<T> Candidate(const VXp_Color<T>& s, const VXp_Color<T>& d, Work l) {
    const Work ls = s.Luma();
    return VXp_Each(d, [=](Work x) { return x + ls - l; });
  }
};

// --- selection of a whole colour -----------------------------------------------------------------

// A mode of this family defines Chosen(ls, ld): whether the source's colour is used, for the
// luminances ls of the source and ld of the destination. In the per-pixel form, ld has full
// precision and is that of the destination before the source was drawn behind it. In the row form,
// ld is that of the destination after this stage, and both luminances are rounded to 8 bits.
template <class T, class Mode>
struct VXp_ColorChoice : VXp_CommonMode<T> {
  using Argb = VXp_Argb<T>;
  using Color = VXp_Color<T>;
  using Work = typename T::Work;
  static constexpr VXp_Stages kStages = VXp_Stages::kBehind;
  static constexpr bool kTransferFlag = false;
  static constexpr bool kChoosesPixels = true;

  static bool ActsOnPixel(const Argb& s, const Argb& d) {
    return Mode::Chosen(Color::Of(s).Luma(), Color::Of(d).Luma());
  }

  static void BlendPixel(const Argb& s, Work sa, Argb& d) {
    const bool chosen = ActsOnPixel(s, d);
    if (d.alpha < T::kFull) VXp_ModeBehind<T>::BlendPixel(s, sa, d);
    Take(chosen, s, sa, d);
  }

  static auto ActsOn(const Argb& s, const Argb& d) {
    return Mode::Chosen(T::LumaAsByte(Color::Of(s).Luma()), T::LumaAsByte(Color::Of(d).Luma()));
  }

  static void BlendInRow(const Argb& s, Work w, bool /*keep*/, Argb& d) {
    Take(ActsOn(s, d), s, w, d);
  }

 private:
  template <class Condition>
  static void Take(Condition chosen, const Argb& s, Work w, Argb& d) {
    if (!T::Any(chosen)) return;
    VXp_Each(Color::Of(d), Color::Of(s), [=](Work x, Work y) {
      const Work mixed = T::Lerp(x, y, w);
      const Work taken = w == T::kFull ? y : mixed;
      return chosen ? taken : x;
    }).StoreTo(d);
  }
};

// all channels of the colour with the higher luminance; d if the luminances are equal
template <class T>
struct VXp_ModeLighterColor : VXp_ColorChoice<T, VXp_ModeLighterColor<T>> {
  template <class Luma>
  static auto Chosen(Luma s, Luma d) {
    return s > d;
  }
};

// all channels of the colour with the lower luminance; d if the luminances are equal
template <class T>
struct VXp_ModeDarkerColor : VXp_ColorChoice<T, VXp_ModeDarkerColor<T>> {
  template <class Luma>
  static auto Chosen(Luma s, Luma d) {
    return s < d;
  }
};

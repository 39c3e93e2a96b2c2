// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Modes that look at a whole colour: hue, saturation, colour and luminosity, and the choice of the
// lighter or darker colour. Where the destination does not cover, the source first goes behind it;
// per pixel that is done here, in a row by the pass before the scan.

#include "blend/modes/VXp_Composition.h"

// The depths at which products of two differences fit differ, so the fraction a b / c has its own
// form: integers wrap in the product and truncate in the quotient.
template <class T>
typename T::Work VXp_Fraction(typename T::Work a, typename T::Work b, typename T::Work c) {
  if constexpr (VXp_IsFloat<T>) {
    return a * b / c;
  } else {
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b)) / c;
  }
}

// Brings a colour of luminance l back into range by moving its channels toward l. A channel that
// lies at l itself, outside the range, cannot be moved: then the colour stays, as only float pixels
// have it.
template <class T>
VXp_Color<T> VXp_ClipToRange(VXp_Color<T> c, typename T::Work l) {
  using Work = typename T::Work;
  const Work n = c.Min();
  if (n < Work{0} && n != l) {
    c = VXp_Each(c, [=](Work x) { return l + VXp_Fraction<T>(x - l, l, l - n); });
  }
  const Work x = c.Max();
  if (x > T::kFull && x != l) {
    c = VXp_Each(c, [=](Work y) { return l + VXp_Fraction<T>(y - l, T::kFull - l, x - l); });
  }
  return c;
}

// A mode of this family gives Candidate(s, d, l), with l the luminance of d.
template <class T, class Mode>
struct VXp_NonSeparable {
  using Pixel = typename T::Pixel;
  using Work = typename T::Work;
  static constexpr bool kPixelSkipsZero = true;
  static constexpr bool kRowSkipsZero = true;
  static constexpr bool kWritesColor = true;

  static void BlendPixel(const Pixel& s, Work sa, Pixel& d) {
    if (d.alpha < T::kFull) VXp_ModeBehind<T>::BlendPixel(s, sa, d);
    BlendInRow(s, sa, false, d);
  }

  static void BlendInRow(const Pixel& s, Work w, bool /*keep*/, Pixel& d) {
    const VXp_Color<T> cd = VXp_Color<T>::Of(d);
    const Work l = cd.Luma();
    VXp_Color<T> c = VXp_ClipToRange<T>(Mode::Candidate(VXp_Color<T>::Of(s), cd, l), l);
    if (w != T::kFull) c = VXp_Each(cd, c, [=](Work x, Work y) { return T::Lerp(x, y, w); });
    c.StoreTo(d);
  }

 protected:
  static VXp_Color<T> Shift(const VXp_Color<T>& c, Work by) {
    return VXp_Each(c, [=](Work x) { return x + by; });
  }

  // The colour with the hue of `c` whose channels span `range`: the largest channel gets the range,
  // the smallest 0. Among equals the first is the largest and the last the smallest, so a grey goes
  // red.
  static VXp_Color<T> Spread(const VXp_Color<T>& c, Work range) {
    const Work top = c.Max();
    const Work low = c.Min();
    const Work mid = std::max(std::min(c.r, c.g), std::min(std::max(c.r, c.g), c.b));
    const Work span = top - low;
    const Work between = span == Work{0} ? Work{0} : VXp_Fraction<T>(mid - low, range, span);
    const auto other = [=](Work x) { return x == low ? Work{0} : between; };
    if (c.r == top) return {range, other(c.g), other(c.b)};
    if (c.g == top) return {other(c.r), range, other(c.b)};
    return {other(c.r), other(c.g), range};
  }
};

// hue of the source, range of the destination
template <class T>
struct VXp_ModeHue : VXp_NonSeparable<T, VXp_ModeHue<T>> {
  using Work = typename T::Work;
  static VXp_Color<T> Candidate(const VXp_Color<T>& s, const VXp_Color<T>& d, Work l) {
    const VXp_Color<T> c = VXp_ModeHue::Spread(s, d.Max() - d.Min());
    return VXp_ModeHue::Shift(c, l - c.Luma());
  }
};

// range of the source, hue of the destination
template <class T>
struct VXp_ModeSaturation : VXp_NonSeparable<T, VXp_ModeSaturation<T>> {
  using Work = typename T::Work;
  static VXp_Color<T> Candidate(const VXp_Color<T>& s, const VXp_Color<T>& d, Work l) {
    const VXp_Color<T> c = VXp_ModeSaturation::Spread(d, s.Max() - s.Min());
    return VXp_ModeSaturation::Shift(c, l - c.Luma());
  }
};

// s - luma(s) + l
template <class T>
struct VXp_ModeColor : VXp_NonSeparable<T, VXp_ModeColor<T>> {
  using Work = typename T::Work;
  static VXp_Color<T> Candidate(const VXp_Color<T>& s, const VXp_Color<T>&, Work l) {
    const Work ls = s.Luma();
    return VXp_Each(s, [=](Work x) { return x - ls + l; });
  }
};

// d + luma(s) - l
template <class T>
struct VXp_ModeLuminosity : VXp_NonSeparable<T, VXp_ModeLuminosity<T>> {
  using Work = typename T::Work;
  static VXp_Color<T> Candidate(const VXp_Color<T>& s, const VXp_Color<T>& d, Work l) {
    const Work ls = s.Luma();
    return VXp_Each(d, [=](Work x) { return x + ls - l; });
  }
};

// --- choice of a whole colour --------------------------------------------------------------------

// A luminance at 8 bits, the scale at which rows compare.
template <class T>
int32_t VXp_LumaAs8(typename T::Work luma) {
  if constexpr (T::kDepth == 8) {
    return luma;
  } else if constexpr (T::kDepth == 16) {
    return static_cast<int32_t>((static_cast<uint32_t>(luma) * 255u + 16384u) >> 15);
  } else {
    if (!(luma > 0.0f)) return 0;  // also not-a-number
    return luma > 1.0f ? 255 : static_cast<int32_t>(static_cast<double>(luma) * 255.0 + 0.5);
  }
}

// A mode of this family tells whether the source is Chosen by the two luminances. Per pixel they
// are those before the source goes behind the destination, at full precision; in a row those after
// it, as 8-bit values.
template <class T, class Mode>
struct VXp_ColorChoice {
  using Pixel = typename T::Pixel;
  using Work = typename T::Work;
  static constexpr bool kPixelSkipsZero = true;
  static constexpr bool kRowSkipsZero = true;
  static constexpr bool kWritesColor = true;

  static void BlendPixel(const Pixel& s, Work sa, Pixel& d) {
    const bool chosen = Mode::Chosen(VXp_Color<T>::Of(s).Luma(), VXp_Color<T>::Of(d).Luma());
    if (d.alpha < T::kFull) VXp_ModeBehind<T>::BlendPixel(s, sa, d);
    if (chosen) Take(s, sa, d);
  }

  static void BlendInRow(const Pixel& s, Work w, bool /*keep*/, Pixel& d) {
    const int32_t ls = VXp_LumaAs8<T>(VXp_Color<T>::Of(s).Luma());
    const int32_t ld = VXp_LumaAs8<T>(VXp_Color<T>::Of(d).Luma());
    if (Mode::Chosen(ls, ld)) Take(s, w, d);
  }

 private:
  static void Take(const Pixel& s, Work w, Pixel& d) {
    VXp_Color<T> c = VXp_Color<T>::Of(s);
    if (w != T::kFull) {
      c = VXp_Each(VXp_Color<T>::Of(d), c, [=](Work x, Work y) { return T::Lerp(x, y, w); });
    }
    c.StoreTo(d);
  }
};

template <class T>
struct VXp_ModeLighterColor : VXp_ColorChoice<T, VXp_ModeLighterColor<T>> {
  template <class Luma>
  static bool Chosen(Luma s, Luma d) {
    return s > d;
  }
};

template <class T>
struct VXp_ModeDarkerColor : VXp_ColorChoice<T, VXp_ModeDarkerColor<T>> {
  template <class Luma>
  static bool Chosen(Luma s, Luma d) {
    return s < d;
  }
};

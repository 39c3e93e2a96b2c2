// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "NaiveArithmetic.h"

namespace {

// The source is blended behind the destination. Then the colours get the source's luminance.
template <class Pixel>
struct Luminosity : NaiveBase<Pixel> {
  using Base = NaiveBase<Pixel>;
  using A = typename Base::A;
  using Work = typename Base::Work;
  using Channel = typename Base::Channel;
  static constexpr Work F = Base::F;

  template <bool masked>
  static void Run(const NaiveJob<Pixel>& job) {
    const int64_t count = Base::Count(job);
    for (int64_t i = 0; i < count; ++i) {
      const Pixel s = job.src[i];
      const Work w = Base::template Weight<masked>(job, i);
      if (w == 0) continue;
      Pixel d = job.dst[i];
      if (d.alpha != F) PutBehind(s, w, d);
      const Work l = A::Luma(d.red, d.green, d.blue);
      const Work by = A::Luma(s.red, s.green, s.blue) - l;
      Work r = d.red + by, g = d.green + by, b = d.blue + by;
      ClipToRange(l, r, g, b);
      d.red = static_cast<Channel>(w == F ? r : A::Mix(d.red, r, w));
      d.green = static_cast<Channel>(w == F ? g : A::Mix(d.green, g, w));
      d.blue = static_cast<Channel>(w == F ? b : A::Mix(d.blue, b, w));
      job.dst[i] = d;
    }
  }

 private:
  static void PutBehind(const Pixel& s, Work w, Pixel& d) {
    const Work da = d.alpha;
    if (da == 0) {
      d = s;
      d.alpha = static_cast<Channel>(w);
      return;
    }
    const Work a = Base::Union(w, da);
    d.alpha = static_cast<Channel>(a);
    d.red = static_cast<Channel>(A::Div(A::Mix(A::Mul(s.red, w), d.red, da), a));
    d.green = static_cast<Channel>(A::Div(A::Mix(A::Mul(s.green, w), d.green, da), a));
    d.blue = static_cast<Channel>(A::Div(A::Mix(A::Mul(s.blue, w), d.blue, da), a));
  }

  static void ClipToRange(Work l, Work& r, Work& g, Work& b) {
    const Work low = std::min({r, g, b});
    if (low < 0) {
      r = l + (r - l) * l / (l - low);
      g = l + (g - l) * l / (l - low);
      b = l + (b - l) * l / (l - low);
    }
    const Work high = std::max({r, g, b});
    if (high > F) {
      r = l + (r - l) * (F - l) / (high - l);
      g = l + (g - l) * (F - l) / (high - l);
      b = l + (b - l) * (F - l) / (high - l);
    }
  }
};

}  // namespace

template <class Pixel>
NaiveLoop<Pixel> NaiveLuminosity(bool masked) {
  return masked ? &Luminosity<Pixel>::template Run<true> : &Luminosity<Pixel>::template Run<false>;
}

template NaiveLoop<VX_Pixel8> NaiveLuminosity<VX_Pixel8>(bool);
template NaiveLoop<VX_Pixel16> NaiveLuminosity<VX_Pixel16>(bool);
template NaiveLoop<VX_PixelFloat> NaiveLuminosity<VX_PixelFloat>(bool);

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "Naive.h"

#include <array>
#include <cmath>

#include "NaiveArithmetic.h"

namespace {

template <class Pixel>
struct InFront : NaiveBase<Pixel> {
  using Base = NaiveBase<Pixel>;
  using A = typename Base::A;
  using Work = typename Base::Work;
  using Channel = typename Base::Channel;

  template <bool masked>
  static void Run(const NaiveJob<Pixel>& job) {
    const int64_t count = Base::Count(job);
    for (int64_t i = 0; i < count; ++i) {
      const Pixel s = job.src[i];
      Pixel& d = job.dst[i];
      const Work w = Base::template Weight<masked>(job, i);
      if (w == 0) continue;
      const Work da = d.alpha;
      if (w == Base::F || da == 0) {
        d = s;
        d.alpha = static_cast<Channel>(w);
        continue;
      }
      const Work a = Base::Union(w, da);
      d.alpha = static_cast<Channel>(a);
      d.red = static_cast<Channel>(A::Div(A::Mix(A::Mul(d.red, da), s.red, w), a));
      d.green = static_cast<Channel>(A::Div(A::Mix(A::Mul(d.green, da), s.green, w), a));
      d.blue = static_cast<Channel>(A::Div(A::Mix(A::Mul(d.blue, da), s.blue, w), a));
    }
  }
};

template <class Pixel>
struct Dissolve : NaiveBase<Pixel> {
  using Base = NaiveBase<Pixel>;
  using Work = typename Base::Work;

  static bool Passes(Work w, uint32_t random) {
    if constexpr (sizeof(Pixel) == 16) {
      return w >= static_cast<float>(random) * 3.0518509447574615e-05f;
    } else {
      return static_cast<uint32_t>(w) >= (sizeof(Pixel) == 4 ? random & 0xFF : random);
    }
  }

  template <bool masked>
  static void Run(const NaiveJob<Pixel>& job) {
    uint32_t row_seed = job.seed;
    int64_t i = 0;
    for (int32_t y = 0; y < job.height; ++y) {
      uint32_t seed = row_seed;
      for (int32_t x = 0; x < job.width; ++x, ++i, ++seed) {
        const Work w = Base::template Weight<masked>(job, i);
        if (w == 0) continue;
        if (w != Base::F) {
          seed = 48271u * (seed % 44488u) + 3399u * (seed / 44488u);
          if (seed == 0) seed = 0x7FFFFFFFu;
          if (!Passes(w, (seed >> 7) & 0x7FFFu)) continue;
        }
        job.dst[i] = job.src[i];
        job.dst[i].alpha = Base::F;
      }
      row_seed += 12281u * static_cast<uint32_t>(y);
    }
  }
};

// A mode that blends the destination over its neutral colour, applies its formula, and removes the
// neutral colour again.
template <class Pixel, template <class> class Mode>
struct Matted : NaiveBase<Pixel> {
  using Base = NaiveBase<Pixel>;
  using Work = typename Base::Work;
  using Channel = typename Base::Channel;
  using M = Mode<Arithmetic<Pixel>>;

  template <bool masked>
  static void Run(const NaiveJob<Pixel>& job) {
    const int64_t count = Base::Count(job);
    for (int64_t i = 0; i < count; ++i) {
      const Pixel s = job.src[i];
      Pixel& d = job.dst[i];
      const Work w = Base::template Weight<masked>(job, i);
      if (w == 0) continue;
      const Work da = d.alpha;
      const Work a = Base::Union(w, da);
      d.alpha = static_cast<Channel>(a);
      d.red = Blend(s.red, d.red, w, da, a);
      d.green = Blend(s.green, d.green, w, da, a);
      d.blue = Blend(s.blue, d.blue, w, da, a);
    }
  }

 private:
  static Channel Blend(Work s, Work d, Work w, Work da, Work a) {
    const Work m = da < Base::F ? M::Matte(d, da) : d;
    const Work r = M::Blend(s, m, w);
    return static_cast<Channel>(a < Base::F ? M::Unmatte(r, a) : r);
  }
};

template <class A>
struct Multiply {
  using Work = typename A::Work;
  static constexpr Work F = A::kFull;
  static Work Matte(Work c, Work a) { return F - A::Mul(F - c, a); }
  static Work Unmatte(Work c, Work a) { return F - A::Div(F - c, a); }
  static Work Blend(Work s, Work m, Work w) {
    const Work t = A::Mul(F - s, m);
    return m - (w == F ? t : A::Mul(t, w));
  }
};

template <class A>
struct Screen {
  using Work = typename A::Work;
  static constexpr Work F = A::kFull;
  static Work Matte(Work c, Work a) { return A::Mul(c, a); }
  static Work Unmatte(Work c, Work a) { return A::Div(c, a); }
  static Work Blend(Work s, Work m, Work w) { return F - A::Mul(F - A::Mul(s, w), F - m); }
};

float SoftLightUp(float x) {
  const float curve = x <= 0.25f ? ((16.0f * x - 12.0f) * x + 4.0f) * x : std::sqrt(x);
  return curve - x;
}
float SoftLightDown(float x) { return x * (1.0f - x); }

// At 8 bits the curves are tables; at other depths they are computed per pixel.
struct ByteCurves {
  std::array<uint8_t, 256> up, down;
  ByteCurves() {
    for (size_t i = 0; i < 256; ++i) {
      const float x = static_cast<float>(i) / 255.0f;
      up[i] = static_cast<uint8_t>(255.0f * SoftLightUp(x) + 0.5f);
      down[i] = static_cast<uint8_t>(255.0f * SoftLightDown(x) + 0.5f);
    }
  }
};
const ByteCurves g_byte_curves;

template <class A>
struct SoftLight {
  using Work = typename A::Work;
  static constexpr Work F = A::kFull;
  static constexpr Work H = A::kHalf;

  static Work Matte(Work c, Work a) {
    return c < H ? c + A::Mul(H - c, F - a) : A::Mul(c - H, a) + H;
  }
  static Work Unmatte(Work c, Work a) {
    const Work t = A::Div(c < H ? H - c : c - H, a);
    if (t >= H) return c < H ? Work{0} : F;
    return c < H ? H - t : H + t;
  }
  static Work Blend(Work s, Work m, Work w) {
    const Work u = Doubled(s);
    const Work step = s >= H ? A::Mul(u, Up(m)) : A::Mul(F - u, Down(m));
    const Work weighed = w == F ? step : A::Mul(step, w);
    return s >= H ? m + weighed : m - weighed;
  }

 private:
  static Work Doubled(Work s) {
    if constexpr (sizeof(typename A::Channel) == 1) return (2 * s) & 0xFF;
    return s >= H ? Work{2} * s - F : Work{2} * s;
  }
  static Work Up(Work m) {
    if constexpr (sizeof(typename A::Channel) == 1) return g_byte_curves.up[m & 0xFF];
    if constexpr (sizeof(typename A::Channel) == 4) return SoftLightUp(m);
    return static_cast<Work>(32768.0f * SoftLightUp(static_cast<float>(m) / 32768.0f) + 0.5f);
  }
  static Work Down(Work m) {
    if constexpr (sizeof(typename A::Channel) == 1) return g_byte_curves.down[m & 0xFF];
    if constexpr (sizeof(typename A::Channel) == 4) return SoftLightDown(m);
    return static_cast<Work>(32768.0f * SoftLightDown(static_cast<float>(m) / 32768.0f) + 0.5f);
  }
};

template <class Loops, class Pixel>
NaiveLoop<Pixel> Choose(bool masked) {
  return masked ? &Loops::template Run<true> : &Loops::template Run<false>;
}

}  // namespace

template <class Pixel>
NaiveLoop<Pixel> NaiveLoopOf(int32_t mode, bool masked) {
  switch (mode) {
    case VX_Xfer_InFront: return Choose<InFront<Pixel>, Pixel>(masked);
    case VX_Xfer_Dissolve: return Choose<Dissolve<Pixel>, Pixel>(masked);
    case VX_Xfer_Multiply: return Choose<Matted<Pixel, Multiply>, Pixel>(masked);
    case VX_Xfer_Screen: return Choose<Matted<Pixel, Screen>, Pixel>(masked);
    case VX_Xfer_SoftLight: return Choose<Matted<Pixel, SoftLight>, Pixel>(masked);
    case VX_Xfer_Luminosity: return NaiveLuminosity<Pixel>(masked);
    default: return nullptr;
  }
}

template NaiveLoop<VX_Pixel8> NaiveLoopOf<VX_Pixel8>(int32_t, bool);
template NaiveLoop<VX_Pixel16> NaiveLoopOf<VX_Pixel16>(int32_t, bool);
template NaiveLoop<VX_PixelFloat> NaiveLoopOf<VX_PixelFloat>(int32_t, bool);

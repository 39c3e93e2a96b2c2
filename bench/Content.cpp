// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "Content.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

// The product of a wave along each axis, with noise like that of a camera; 0..1.
class Waves {
 public:
  Waves(int32_t width, int32_t height, double period, double phase, uint32_t grain_seed)
      : across_(Wave(width, period, phase)),
        down_(Wave(height, 0.7 * period, 2.0 * phase)),
        state_(grain_seed) {}

  double At(int32_t x, int32_t y) {
    state_ = state_ * 1664525u + 1013904223u;
    const double grain = static_cast<double>(state_ >> 16) / 65536.0 - 0.5;
    const double wave =
        0.5 + 0.47 * across_[static_cast<size_t>(x)] * down_[static_cast<size_t>(y)];
    return std::clamp(wave + 0.06 * grain, 0.0, 1.0);
  }

 private:
  static std::vector<double> Wave(int32_t count, double period, double phase) {
    std::vector<double> wave(static_cast<size_t>(count));
    for (size_t i = 0; i < wave.size(); ++i) {
      wave[i] = std::sin(phase + static_cast<double>(i) * 6.2831853 / period);
    }
    return wave;
  }

  std::vector<double> across_, down_;
  uint32_t state_;
};

// Discs: 1 inside, 0 outside, with a soft edge of twelve pixels.
double Discs(int32_t x, int32_t y) {
  constexpr int32_t kTile = 160;
  constexpr double kRadius = 64.0;
  const double dx = x % kTile - kTile / 2;
  const double dy = y % kTile - kTile / 2;
  return std::clamp((kRadius - std::sqrt(dx * dx + dy * dy)) / 12.0 + 0.5, 0.0, 1.0);
}

double Ellipse(int32_t x, int32_t y, int32_t width, int32_t height) {
  const double dx = 2.0 * x / width - 1.0;
  const double dy = 2.0 * y / height - 1.0;
  return std::clamp((0.9 - std::sqrt(dx * dx + dy * dy)) * 12.0, 0.0, 1.0);
}

// Maps 0..1 to 1/16 .. 15/16. Neither such a value nor the product of two of them is rounded to 0
// or 1.
double InnerRange(double v) { return 0.0625 + 0.875 * v; }

// Fills a frame with waves; `alpha(x, y)` returns the alpha 0..1.
template <class Pixel, class Alpha>
void Paint(Frame<Pixel>* frame, double period, double phase, uint32_t seed, Alpha&& alpha) {
  Waves red(frame->width, frame->height, period, phase, seed);
  Waves green(frame->width, frame->height, 1.9 * period, phase + 1.0, seed + 1);
  Waves blue(frame->width, frame->height, 3.1 * period, phase + 2.0, seed + 2);
  size_t i = 0;
  for (int32_t y = 0; y < frame->height; ++y) {
    for (int32_t x = 0; x < frame->width; ++x, ++i) {
      frame->pixels[i] = {ToChannel<Pixel>(alpha(x, y)), ToChannel<Pixel>(red.At(x, y)),
                          ToChannel<Pixel>(green.At(x, y)), ToChannel<Pixel>(blue.At(x, y))};
    }
  }
}

}  // namespace

const char* ContentName(Content content) {
  return content == Content::kPartly ? "partly" : "sprite";
}

template <class Pixel>
Scene<Pixel>::Scene(Content content, int32_t width, int32_t height)
    : src(width, height), mask(width, height), background(width, height), dst(width, height) {
  if (content == Content::kPartly) {
    const auto smooth = [=](double period, uint32_t seed) {
      return [wave = Waves(width, height, period, 0.3, seed)](int32_t x, int32_t y) mutable {
        return InnerRange(wave.At(x, y));
      };
    };
    Paint(&src, 97.0, 0.0, 1, smooth(211.0, 11));
    Paint(&mask, 61.0, 0.5, 2, smooth(307.0, 12));
    Paint(&background, 173.0, 1.5, 3, smooth(149.0, 13));
  } else {
    Paint(&src, 97.0, 0.0, 1, Discs);
    Paint(&mask, 61.0, 0.5, 2, [=](int32_t x, int32_t y) { return Ellipse(x, y, width, height); });
    Paint(&background, 173.0, 1.5, 3, [](int32_t, int32_t) { return 1.0; });
  }
}

template <class Pixel>
void Scene<Pixel>::ResetDestination() {
  std::memcpy(static_cast<void*>(dst.pixels.data()), background.pixels.data(), dst.Bytes());
}

template struct Scene<VX_Pixel8>;
template struct Scene<VX_Pixel16>;
template struct Scene<VX_PixelFloat>;

template <class Pixel>
Frame<Pixel> MakePicture(Picture picture, int32_t width, int32_t height) {
  Frame<Pixel> frame(width, height);
  if (picture == Picture::kFlat) {
    const Pixel one{kFullScaleOf<Pixel>, ToChannel<Pixel>(0.7), ToChannel<Pixel>(0.2),
                    ToChannel<Pixel>(0.4)};
    std::fill(frame.pixels.begin(), frame.pixels.end(), one);
  } else if (picture == Picture::kOpaque) {
    Paint(&frame, 97.0, 0.0, 1, [](int32_t, int32_t) { return 1.0; });
  } else {
    Waves alpha(width, height, 211.0, 0.3, 11);
    Paint(&frame, 97.0, 0.0, 1, [&](int32_t x, int32_t y) { return InnerRange(alpha.At(x, y)); });
  }
  return frame;
}

template Frame<VX_Pixel8> MakePicture(Picture, int32_t, int32_t);
template Frame<VX_Pixel16> MakePicture(Picture, int32_t, int32_t);
template Frame<VX_PixelFloat> MakePicture(Picture, int32_t, int32_t);

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Applies a function to every pixel: a vignette, which makes a picture darker towards its corners.
// It works at any depth, reports its progress and can be stopped.

#include <VX/VX.hpp>
#include <cstdio>

namespace {

// The factor is 1 in the middle and 1/4 in the corners; it decreases with the square of the
// distance.
void Vignette(vx::AnyView picture, vx::Progress progress) {
  const float middle_x = static_cast<float>(picture.width() - 1) / 2;
  const float middle_y = static_cast<float>(picture.height() - 1) / 2;
  const float corner = middle_x * middle_x + middle_y * middle_y;
  const auto darken = [=](int32_t x, int32_t y, auto& pixel) {
    const float dx = static_cast<float>(x) - middle_x;
    const float dy = static_cast<float>(y) - middle_y;
    const float light = 1 - 0.75f * (dx * dx + dy * dy) / corner;
    using Channel = decltype(pixel.red);
    pixel.red = static_cast<Channel>(static_cast<float>(pixel.red) * light);
    pixel.green = static_cast<Channel>(static_cast<float>(pixel.green) * light);
    pixel.blue = static_cast<Channel>(static_cast<float>(pixel.blue) * light);
  };
  vx::for_each_pixel(picture, darken, {.progress = std::move(progress)});
}

}  // namespace

int main() try {
  const vx::Library library;
  vx::Image picture(321, 181, 8);
  vx::fill(picture, vx::Pixel8{255, 240, 160, 80});

  // A program with a window would draw a progress bar here, and return false to stop.
  int percent = 0;
  Vignette(picture, [&](int step, int total) { percent = 100 * step / total; });

  const auto view = picture.view<vx::Pixel8>();
  const vx::Pixel8 corner = view.row(0)[320], middle = view.row(90)[160];
  std::printf("%d %% done, corner %d %d %d, middle %d %d %d\n", percent, corner.red, corner.green,
              corner.blue, middle.red, middle.green, middle.blue);
} catch (const vx::Error& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}

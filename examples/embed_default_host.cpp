// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// A short program that composites with the embedded host: two images are filled, and one is drawn
// over the other in mode screen at half opacity.

#include <VX/VX.hpp>
#include <cstdio>

int main() try {
  const vx::Library library;
  vx::Image canvas(3, 2, 8), light(3, 2, 8);
  vx::fill(canvas, vx::Pixel8{255, 200, 100, 128});
  vx::fill(light, vx::Pixel8{255, 255, 185, 0});
  vx::composite(canvas, light, {.mode = vx::Mode::screen, .opacity = 0.5});

  const vx::Pixel8 middle = canvas.view<vx::Pixel8>().row(0)[1];
  std::printf("%d x %d pixels, middle: alpha %d red %d green %d blue %d\n", canvas.width(),
              canvas.height(), middle.alpha, middle.red, middle.green, middle.blue);
} catch (const vx::Error& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Runs the C++ blocks of docs/cpp.md in their order, with the variables that the page does not
// declare.

#include <VX/VX.hpp>
#include <VXIO/VXIO.hpp>
#include <cstdio>
#include <vector>

int main() try {
  const vx::Library for_the_images_below;
  vx::Image canvas(320, 200, 8), title(100, 60, 8), matte(50, 60, 8), out(320, 200, 8);
  vx::Image first(320, 200, 8), second(320, 200, 8), colors(320, 200, 8);
  const int32_t width = 120, height = 60;
  std::vector<vx::Pixel16> buffer(size_t{width} * height);
  vx::Pixel16* const pixels = buffer.data();
  const int32_t pitch_in_bytes = width * static_cast<int32_t>(sizeof(vx::Pixel16));
  struct {
    void show(int, int) {}
  } bar;
  int shown = 0;
  const auto show = [&](int64_t, const vx::Image& image) { shown += image.width() == 100; };
  vx::write("plate.png", title);
  vx::write("shot.0001.png", title);

#include CPP_PAGE_BLOCKS

  return pixels[0].alpha == 32768 && small.width() == 480 && shown == 1 ? 0 : 1;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}

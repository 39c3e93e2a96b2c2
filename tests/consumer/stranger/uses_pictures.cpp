// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include <VXIO/VXIO.hpp>
#include <cstdio>

// A picture written, read as a sequence of one frame, and the error for a missing file.
int main() {
  const vx::Library library;
  vx::Image image(3, 2, 8);
  vx::fill(image, vx::Pixel8{255, 9, 8, 7});
  vx::write("used.0042.png", image);
  int64_t number = 0;
  int32_t red = 0;
  for (vx::Frame& frame : vx::frames("used.####.png", {.depth = 16})) {
    number = frame.number;
    red = frame.picture.image.view<vx::Pixel16>().row(1)[2].red;
  }
  std::remove("used.0042.png");
  std::printf("frame %d, red %d\n", static_cast<int>(number), red);
  if (number != 42 || red != (9 * 32768 + 128) / 255) return 1;
  try {
    vx::read("there is no such picture.png");
  } catch (const vx::FileError& error) {
    std::printf("%s\n", error.what());
    return error.kind() == VXIO_ErrorKind::Input ? 0 : 1;
  }
  return 1;
}

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// vx_make_clips FOLDER: makes clips for the command tests. The sample of frame f, component c
// (red, green, blue, alpha) at x, y is f * 50 + c * 20 + x * 3 + y * 7, times 256 at 16 bits.

#include <cstdio>
#include <stdexcept>

#include "ClipMaker.h"

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const std::string folder = std::string(argv[1]) + '/';
  auto code = [](int f, int c, int x, int y) { return (f * 50 + c * 20 + x * 3 + y * 7) & 255; };
  auto wide = [&](int f, int c, int x, int y) { return code(f, c, x, y) * 256; };
  ClipPlan movie{folder + "movie.mov", AV_PIX_FMT_RGBA, "png", code};
  movie.rate = {30000, 1001};
  movie.stamps = {0, 2, 3};
  ClipPlan sound{folder + "sound.mkv"};
  sound.frames = 0;
  sound.sound = true;
  try {
    MakeClip({folder + "plain.mkv", AV_PIX_FMT_BGR0, "ffv1", code});
    MakeClip({folder + "deep.mkv", AV_PIX_FMT_GBRAP16, "ffv1", wide});
    MakeClip(movie);
    MakeClip(sound);
  } catch (const std::runtime_error& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
  return 0;
}

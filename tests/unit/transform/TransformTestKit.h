// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Pictures, paths and calls for the tests of the transform.

#include <algorithm>
#include <vector>

#include "../PixelTestKit.h"
#include "VX/VX_OverrideTable.h"

// A world and its pixels.
template <class Pixel>
struct Picture {
  Picture(int32_t width, int32_t height, const Pixel& color = {})
      : pixels(static_cast<size_t>(width * height), color) {
    world.width = width;
    world.height = height;
    world.rowbytes = width * static_cast<int32_t>(sizeof(Pixel));
    world.data = pixels.data();
    VXp_SetWorldDepth(&world, kDepth<Pixel>);
  }
  Picture(const Picture& other) : pixels(other.pixels), world(other.world) {
    world.data = pixels.data();
  }
  // For pictures of one size.
  Picture& operator=(const Picture& other) {
    std::copy(other.pixels.begin(), other.pixels.end(), pixels.begin());
    return *this;
  }

  Pixel& At(int32_t x, int32_t y) { return pixels[static_cast<size_t>(y * world.width + x)]; }
  bool operator==(const Picture& other) const { return FirstDifference(pixels, other.pixels) < 0; }

  std::vector<Pixel> pixels;
  VX_LayerDef world{};
};

// Channels are 0 to full scale. Unless opaque, alphas are 0, full scale or any.
template <class Pixel>
Picture<Pixel> RandomPicture(int32_t width, int32_t height, uint32_t salt, bool opaque = false) {
  Picture<Pixel> picture(width, height);
  Operands<Pixel> o(salt);
  const auto any = [&] {
    return static_cast<VX_ChannelOf<Pixel>>(o.Below(257) / 256.0 * kFull<Pixel>);
  };
  for (Pixel& p : picture.pixels) {
    p = {any(), any(), any(), any()};
    if (opaque || o.Below(3) == 0) p.alpha = kFull<Pixel>;
    if (!opaque && o.Below(8) == 0) p.alpha = 0;
  }
  return picture;
}

template <class Pixel>
constexpr Pixel kWhite{kFull<Pixel>, kFull<Pixel>, kFull<Pixel>, kFull<Pixel>};

inline M_Matrix3 MatrixOf(const VX_TransformParts& parts) {
  M_Matrix3 m;
  EXPECT_EQ(VX_MatrixOfParts(&parts, &m), VX_Ok);
  return m;
}
inline std::vector<M_Matrix3> Between(const VX_TransformParts& from, const VX_TransformParts& to,
                                      int32_t count) {
  std::vector<M_Matrix3> path(static_cast<size_t>(count));
  EXPECT_EQ(VX_MatricesBetween(&from, &to, count, path.data()), VX_Ok);
  return path;
}
inline M_Matrix3 Moved(double x, double y) { return {{1, 0, 0, 0, 1, 0, x, y, 1}}; }
inline VX_CompositeModePlus ModeOf(int32_t mode) { return {mode, 1, nullptr, false, 0}; }

// The arguments besides source, destination and matrices. The default draws in high quality.
struct Manner {
  VX_CompositeModePlus mode = ModeOf(VX_Xfer_InFront);
  int32_t quality = 1;
  int32_t field = 0;
  const VX_TransformMask* mask = nullptr;
  const M_Rect* rect = nullptr;
  uint8_t src2dst = 1;
  VX_ProgressInfo* progress = nullptr;
};

template <class Pixel>
VX_Err Draw(const Manner& manner, const Picture<Pixel>& src, const std::vector<M_Matrix3>& matrices,
            Picture<Pixel>* dst) {
  return VX_TransformWorld(manner.progress, manner.quality, 0, manner.field, &src.world,
                           &manner.mode, nullptr, manner.mask, matrices.data(),
                           static_cast<int32_t>(matrices.size()), manner.src2dst, manner.rect,
                           &dst->world);
}

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The same scene for pixman. It works on premultiplied pixels: the picture is multiplied, and put
// into the order that pixman is fastest with, before anything is timed. It has no division by alpha
// to do, which is a good part of the work on straight pixels.

#include <memory>

#include "Content.h"

// An image of the formats a8r8g8b8 and rgba_float; there is none for 16 bits.
template <class Pixel>
inline constexpr bool kPixmanKnows = kDepthOf<Pixel> != 16;

class PixmanScene {
 public:
  template <class Pixel>
  static std::unique_ptr<PixmanScene> Make(const Scene<Pixel>& scene);  // null at 16 bits
  ~PixmanScene();

  // Whether pixman has an operator for the mode.
  static bool Knows(int32_t mode);

  void ResetDestination();
  void Composite(int32_t mode, bool masked);

  // A pixel of the result, premultiplied, 0..1.
  VX_PixelFloat ResultAt(size_t i) const;

 private:
  struct Images;
  explicit PixmanScene(std::unique_ptr<Images> images);
  std::unique_ptr<Images> images_;
};

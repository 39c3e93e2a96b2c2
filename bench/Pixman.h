// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// A scene for pixman, which uses premultiplied pixels. Before the measurement the pictures are
// multiplied by alpha and converted to pixman's fastest channel order. Pixman does not divide by
// alpha, which is a large part of the work on straight pixels.

#include <memory>

#include "Content.h"

// Pixman has the formats a8r8g8b8 and rgba_float, and none of 16 bits.
template <class Pixel>
inline constexpr bool kPixmanSupports = kDepthOf<Pixel> != 16;

class PixmanScene {
 public:
  template <class Pixel>
  static std::unique_ptr<PixmanScene> Make(const Scene<Pixel>& scene);  // null at 16 bits
  ~PixmanScene();

  // True if pixman has an operator for the mode.
  static bool Supports(int32_t mode);

  void ResetDestination();
  void Composite(int32_t mode, bool masked);

  // Pixel i of the result, premultiplied, 0..1.
  VX_PixelFloat ResultAt(size_t i) const;

 private:
  struct Images;
  explicit PixmanScene(std::unique_ptr<Images> images);
  std::unique_ptr<Images> images_;
};

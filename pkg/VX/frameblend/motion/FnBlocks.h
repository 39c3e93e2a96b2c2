// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The blocks of a frame that have one vector each, and reads of a displaced frame.

#include "frameblend/imgproc/FnTexture.h"

// The size of blocks. Neighbours share `overlap` pixels, which is less than width and height.
struct FnBlockSize {
  int32_t width, height, overlap;

  int32_t StepX() const { return width - overlap; }
  int32_t StepY() const { return height - overlap; }
  // The size of the map of vectors of a frame.
  int32_t Columns(int32_t frameWidth) const {
    return std::max((frameWidth - overlap) / StepX(), 0);
  }
  int32_t Rows(int32_t frameHeight) const { return std::max((frameHeight - overlap) / StepY(), 0); }
};

// Pixels x0..x1 - 1 of rows y0..y1 - 1.
struct FnBlock {
  int32_t x0, y0, x1, y1;

  int32_t Area() const { return (x1 - x0) * (y1 - y0); }
};

// The block of vector (i, j). A block that exceeds the frame is moved into it.
inline FnBlock FnBlockAt(int32_t i, int32_t j, const FnBlockSize& size, const FnTexIndexer& frame) {
  const auto place = [](int32_t from, int32_t length, int32_t limit, int32_t* low, int32_t* high) {
    const int32_t excess = std::max(from + length - limit, 0);
    *low = std::max(from - excess, 0);
    *high = from + length - excess;
  };
  FnBlock block;
  place(size.StepX() * i, size.width, frame.x.size, &block.x0, &block.x1);
  place(size.StepY() * j, size.height, frame.y.size, &block.y0, &block.y1);
  return block;
}

// A frame that is read at the positions to which one vector refers. Positions whose bilinear
// neighbours are not all inside the frame are outside.
class FnDisplacedFrame {
 public:
  FnDisplacedFrame(const FnFloatMap& frame, const HvVec2& v) : frame_(frame) {
    FnSplit(-v.x, &dx_, &fx_);
    FnSplit(v.y, &dy_, &fy_);
  }

  // The part of a block whose displaced positions are inside; it may be empty.
  FnBlock Inside(const FnBlock& block) const {
    const auto limit = [](int32_t offset, float fraction, int32_t size, int32_t* low,
                          int32_t* high) {
      const int64_t end = int64_t{size} - (fraction > 0 ? 1 : 0) - offset;
      *low = static_cast<int32_t>(std::clamp<int64_t>(-int64_t{offset}, *low, *high));
      *high = static_cast<int32_t>(std::clamp<int64_t>(end, *low, *high));
    };
    FnBlock part = block;
    limit(dx_, fx_, frame_.width(), &part.x0, &part.x1);
    limit(dy_, fy_, frame_.height(), &part.y0, &part.y1);
    return part;
  }

  // Returns the samples of pixels x0..x1 - 1 of row y, all inside: interpolated along x first, in
  // `buffer`, or the pixels of the frame if the vector has no fraction.
  const float* Row(int32_t y, int32_t x0, int32_t x1, float* buffer) const {
    const float* const upper = frame_.row(y + dy_) + x0 + dx_;
    if (fx_ == 0 && fy_ == 0) return upper;
    const float* const lower = fy_ > 0 ? frame_.row(y + dy_ + 1) + x0 + dx_ : upper;
    const int32_t next = fx_ > 0 ? 1 : 0;
    for (int32_t i = 0; i < x1 - x0; ++i) {
      buffer[i] = FnBilinear(upper[i], upper[i + next], lower[i], lower[i + next], fx_, fy_);
    }
    return buffer;
  }

 private:
  const FnFloatMap& frame_;
  int32_t dx_, dy_;
  float fx_, fy_;
};

// Mask values above this exclude a pixel.
inline constexpr float kFnMaskLimit = 0.5f;

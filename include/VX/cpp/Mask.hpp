// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Masks: one-channel buffers, feathered and merged into the alpha of pictures.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <type_traits>

#include "VX/VX_Mask.h"
#include "VX/cpp/Filters.hpp"
#include "VX/cpp/Image.hpp"
#include "VX/cpp/Pixels.hpp"
#include "VX/cpp/Progress.hpp"
#include "VX/cpp/View.hpp"

namespace vx {

// A one-channel image: samples of uint8_t (0..255), uint16_t (0..32768) or float (0..1), in rows
// without padding. Movable. A mask that was moved from has no samples; operations throw Error for
// it.
class MaskBuffer {
 public:
  //   width, height  1 or more
  //   depth          8, 16 or 32
  // The samples are 0. Throws Error: bad_parameter, out_of_memory.
  MaskBuffer(int32_t width, int32_t height, int32_t depth) {
    if (depth != 8 && depth != 16 && depth != 32) detail::refuse("the depth is 8, 16 or 32");
    detail::run([&] {
      VX_UnoBuffer* buffer = nullptr;
      const VX_Err code = VX_NewUnoBufferOfDepth(width, height, depth, &buffer);
      buffer_.reset(buffer);
      return code;
    });
    fill(0);
  }

  int32_t width() const { return buffer_ ? buffer_->width : 0; }
  int32_t height() const { return buffer_ ? buffer_->height : 0; }
  int32_t depth() const { return buffer_ ? buffer_->depth : 0; }

  // Returns row y, 0..height - 1. Throws Error (bad_parameter) if Channel is not the sample type of
  // the depth.
  template <class Channel>
  std::span<Channel> row(int32_t y) {
    if (depth() != static_cast<int32_t>(sizeof(Channel)) * 8) {
      detail::refuse("the sample type is not that of the depth");
    }
    return {static_cast<Channel*>(*buffer_->data) + ptrdiff_t{y} * width(),
            static_cast<size_t>(width())};
  }

  // Sets all samples to a value of 0..1, rounded to the depth. Throws Error (bad_parameter).
  void fill(double value) {
    if (!(value >= 0 && value <= 1)) detail::refuse("the value of a mask is 0..1");
    detail::run([&] {
      const double scaled = value * full_scale(depth());
      if (depth() == 8) return VX_FillUnoBuffer(static_cast<uint8_t>(scaled + 0.5), buffer());
      if (depth() == 16) return VX_FillDeepUnoBuffer(static_cast<uint16_t>(scaled + 0.5), buffer());
      return VX_FillFloatUnoBuffer(static_cast<float>(value), buffer());
    });
  }

  // The struct for the functions of VX_UnoBuffer.h.
  VX_UnoBuffer* buffer() { return buffer_.get(); }
  const VX_UnoBuffer* buffer() const { return buffer_.get(); }

 private:
  struct Dispose {
    void operator()(VX_UnoBuffer* buffer) const { static_cast<void>(VX_DisposeUnoBuffer(buffer)); }
  };
  std::unique_ptr<VX_UnoBuffer, Dispose> buffer_;
};

// The quantity of a picture that matte() stores.
enum class Matte : int32_t {
  alpha = VX_Matte_Alpha,
  inverse_alpha = VX_Matte_InverseAlpha,
  luma = VX_Matte_Luma,  // luminance times alpha
  inverse_luma = VX_Matte_InverseLuma,
  red = VX_Matte_Red,  // not weighted by alpha
  green = VX_Matte_Green,
  blue = VX_Matte_Blue
};

// Returns a mask of the size and depth of a picture, with the selected quantity of each pixel
// (VX_MatteFromWorld). Throws Error: bad_parameter, out_of_memory, stopped.
inline MaskBuffer matte(AnyConstView picture, Matte quantity, const Progress& progress = {}) {
  MaskBuffer mask(picture.width(), picture.height(), picture.depth());
  detail::run(progress, [&](VX_ProgressInfo* info) {
    return VX_MatteFromWorld(info, picture.descriptor(), static_cast<int32_t>(quantity),
                             mask.buffer());
  });
  return mask;
}

// Returns an opaque image of the mask's size and depth, with the samples as grey values
// (VX_WorldFromMatte). Throws Error: bad_parameter, out_of_memory, stopped.
inline Image to_image(const MaskBuffer& mask, const Progress& progress = {}) {
  Image out = Image::uninitialized(mask.width(), mask.height(), mask.depth());
  detail::run(progress, [&](VX_ProgressInfo* info) {
    return VX_WorldFromMatte(info, mask.buffer(), out.world());
  });
  return out;
}

enum class Feather : int32_t {
  box = VX_Feather_Box,
  soft = VX_Feather_Soft,  // three boxes
  gaussian = VX_Feather_Gaussian
};

struct FeatherOptions {
  Radius radius = 1;  // 0..32767; 0 leaves an axis unchanged
  Feather kind = Feather::gaussian;
  Progress progress = {};
};

// Blurs a mask in place; the samples at its border are repeated outside (VX_FeatherUnoBuffer).
// Throws Error: bad_parameter, out_of_memory, stopped.
inline void feather(MaskBuffer& mask, const FeatherOptions& options) {
  detail::run(options.progress, [&](VX_ProgressInfo* progress) {
    return VX_FeatherUnoBuffer(progress, static_cast<int32_t>(options.kind), options.radius.x,
                               options.radius.y, mask.buffer());
  });
}

// Multiplies all samples by an opacity, 0..1 (VX_FadeUnoBuffer). Throws Error (bad_parameter).
inline void fade(MaskBuffer& mask, double opacity) {
  if (!(opacity >= 0 && opacity <= 1)) detail::refuse("the opacity is 0..1");
  detail::run([&] { return VX_FadeUnoBuffer(opacity, mask.buffer()); });
}

// Replaces each sample v by full scale - v (VX_InvertUnoBuffer). Throws Error (bad_parameter).
inline void invert(MaskBuffer& mask) {
  detail::run([&] { return VX_InvertUnoBuffer(nullptr, mask.buffer()); });
}

struct MergeOptions {
  Point at = {};                  // the mask's top left corner in the picture, -32768..32767
  std::optional<Rect> area = {};  // of the picture; none: all of it. Edges -32768..32767
  Progress progress = {};
};

// Multiplies the alpha of a picture by a mask of any depth. Where the mask or the area does not
// cover the picture, alpha becomes 0 (VX_MergeMaskAlpha). Throws Error: bad_parameter, stopped.
inline void merge(AnyView dst, const MaskBuffer& mask, const MergeOptions& options = {}) {
  const detail::ShortRect area(options.area);
  constexpr const char* report = "the place of a mask is -32768..32767";
  const int16_t h = detail::to_int16(options.at.x, report);
  const int16_t v = detail::to_int16(options.at.y, report);
  visit_depth(dst.depth(), [&]<class Pixel>() {
    VX_WorldX<Pixel> world(dst.descriptor(), true);
    detail::run(options.progress, [&](VX_ProgressInfo* progress) {
      return VX_MergeMaskAlpha(progress, h, v, area.get(), mask.buffer(), nullptr, &world);
    });
  });
}

}  // namespace vx

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Images that own their pixels.

#include <cstdint>
#include <memory>
#include <new>
#include <utility>

#include "VX/VX_Copy.h"
#include "VX/cpp/View.hpp"

namespace vx {

// Owns the pixels of a picture. Movable; clone() makes a copy. An image that was moved from, or was
// made without arguments, has no pixels; operations throw Error for it.
class Image {
 public:
  Image() = default;

  //   width, height  1..30,000
  //   depth          8, 16 or 32
  // The pixels are transparent black. Throws Error: bad_parameter for another depth, reported for
  // another size, out_of_memory.
  Image(int32_t width, int32_t height, int32_t depth)
      : world_(make(width, height, depth, VX_WorldFlag_Clear)) {}

  // Makes an image whose pixels are not initialised, for a picture that is written completely.
  static Image uninitialized(int32_t width, int32_t height, int32_t depth) {
    return Image(make(width, height, depth, 0));
  }

  // Takes ownership of a world of the C-style interface.
  explicit Image(std::unique_ptr<VX_World> world) : world_(std::move(world)) {}

  bool empty() const { return world_ == nullptr; }
  int32_t width() const { return empty() ? 0 : world_->width; }
  int32_t height() const { return empty() ? 0 : world_->height; }
  int32_t depth() const { return empty() ? 0 : world_->PixelSize() * 2; }  // 8, 16, 32; 0 if empty
  ptrdiff_t pitch() const { return empty() ? 0 : world_->rowbytes; }       // bytes

  // A typed view. Throws Error (bad_parameter) for the pixel type of another depth.
  template <PixelType Pixel>
  View<Pixel> view() {
    return AnyView(*this).as<Pixel>();
  }
  template <PixelType Pixel>
  ConstView<Pixel> view() const {
    return AnyConstView(*this).as<Pixel>();
  }

  // Returns a view of a part. Throws Error (bad_parameter) for a rectangle that is not inside the
  // image.
  AnyView part(const Rect& rect) { return AnyView(*this).part(rect); }
  AnyConstView part(const Rect& rect) const { return AnyConstView(*this).part(rect); }

  operator AnyView() & {  // NOLINT(google-explicit-constructor)
    return empty() ? AnyView() : AnyView(static_cast<VX_LayerDef&>(*world_));
  }
  operator AnyConstView() const {  // NOLINT(google-explicit-constructor)
    return empty() ? AnyConstView() : AnyConstView(static_cast<const VX_LayerDef&>(*world_));
  }

  // Returns the world of the C-style interface; null for an empty image. release() also transfers
  // ownership to the caller.
  VX_World* world() { return world_.get(); }
  const VX_World* world() const { return world_.get(); }
  std::unique_ptr<VX_World> release() { return std::move(world_); }

 private:
  static std::unique_ptr<VX_World> make(int32_t width, int32_t height, int32_t depth,
                                        uint32_t flags) {
    std::unique_ptr<VX_World> world;
    detail::run([&] {
      if (depth != 8 && depth != 16 && depth != 32) return VX_Err{VX_ErrBadParameter};
      world.reset(VX_World::New(width, height, static_cast<int16_t>(depth), flags));
      return world != nullptr ? VX_Err{VX_Ok} : VX_Err{VX_ErrOutOfMemory};
    });
    return world;
  }

  std::unique_ptr<VX_World> world_;
};

// Returns an image with a copy of the pixels. Throws Error like the constructor of Image, and
// bad_parameter for a picture without pixels.
inline Image clone(AnyConstView picture) {
  Image copy = Image::uninitialized(picture.width(), picture.height(), picture.depth());
  AnyView target = copy;
  detail::run([&] {
    return VX_CopyBits_Draft(nullptr, picture.descriptor(), target.descriptor(), nullptr, nullptr);
  });
  return copy;
}

}  // namespace vx

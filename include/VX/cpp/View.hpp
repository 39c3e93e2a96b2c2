// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Pixels, rectangles, and views of pixels that the view does not own.

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <type_traits>
#include <utility>

#include "VX/VX_World.h"
#include "VX/cpp/Error.hpp"

namespace vx {

// --- pixels --------------------------------------------------------------------------------------

using Pixel8 = VX_Pixel8;          // alpha, red, green, blue: 0..255
using Pixel16 = VX_Pixel16;        // 0..32768; white is 32768
using PixelFloat = VX_PixelFloat;  // 0..1 nominal; values outside are kept

template <class Pixel>
struct PixelTraits;
template <>
struct PixelTraits<Pixel8> {
  using Channel = uint8_t;
  static constexpr int32_t depth = 8;  // bits in a channel
  static constexpr Channel full_scale = 255;
};
template <>
struct PixelTraits<Pixel16> {
  using Channel = uint16_t;
  static constexpr int32_t depth = 16;
  static constexpr Channel full_scale = 32768;
};
template <>
struct PixelTraits<PixelFloat> {
  using Channel = float;
  static constexpr int32_t depth = 32;
  static constexpr Channel full_scale = 1;
};

template <class Type>
concept PixelType = requires {
  PixelTraits<Type>::depth;
};

// Calls f.operator()<Pixel>() with the pixel type of a depth, and returns its result:
//   vx::visit_depth(depth, []<class Pixel>() { return sizeof(Pixel); })
// Throws Error (bad_parameter) for a depth other than 8, 16, 32.
template <class Function>
decltype(auto) visit_depth(int32_t depth, Function&& f) {
  switch (depth) {
    case 8: return f.template operator()<Pixel8>();
    case 16: return f.template operator()<Pixel16>();
    case 32: return f.template operator()<PixelFloat>();
    default: detail::refuse("the depth is 8, 16 or 32");
  }
}

// Full scale of a channel of that depth: 255, 32768 or 1.
inline double full_scale(int32_t depth) {
  return visit_depth(depth, []<class Pixel>() -> double { return PixelTraits<Pixel>::full_scale; });
}

// --- points and rectangles -----------------------------------------------------------------------

struct Point {
  int32_t x = 0, y = 0;
};

// Right and bottom are exclusive.
struct Rect {
  int32_t left = 0, top = 0, right = 0, bottom = 0;

  constexpr int32_t width() const { return right - left; }
  constexpr int32_t height() const { return bottom - top; }
};

namespace detail {

inline int16_t to_int16(int32_t value, const char* report) {
  if (value < std::numeric_limits<int16_t>::min() || value > std::numeric_limits<int16_t>::max()) {
    refuse(report);
  }
  return static_cast<int16_t>(value);
}

// Checks the size and the pitch of a view. Throws Error (bad_parameter) for rows that overlap, and
// for a size or a pitch that does not fit VX_LayerDef.
inline void check_shape(int64_t width, int64_t height, int64_t pitch, int64_t pixel_bytes) {
  constexpr int64_t most = std::numeric_limits<int32_t>::max();
  if (width < 0 || height < 0 || width * pixel_bytes > most) refuse("a view of an impossible size");
  if (pitch < -most || pitch > most) refuse("the pitch of a view exceeds 32 bits");
  if (height > 1 && (pitch < 0 ? -pitch : pitch) < width * pixel_bytes) {
    refuse("the pitch of a view is shorter than its rows");
  }
}

inline void check_part(const Rect& part, int32_t width, int32_t height) {
  if (part.left < 0 || part.top < 0 || part.right > width || part.bottom > height ||
      part.right < part.left || part.bottom < part.top) {
    refuse("the part is not inside the picture");
  }
}

}  // namespace detail

// --- views ---------------------------------------------------------------------------------------

// A rectangle of pixels in memory that the view does not own; View<const Pixel8> only reads.
// Copying a view copies no pixels. The memory must exist as long as the view is used.
template <class P>
class View {
  static_assert(PixelType<std::remove_const_t<P>>);

 public:
  using Pixel = std::remove_const_t<P>;
  using Traits = PixelTraits<Pixel>;

  View() = default;  // no pixels

  //   first   the first pixel of the first row
  //   width, height  in pixels, 0 and above
  //   pitch   bytes from a row to the next; negative if the first row is the last in memory. Its
  //           absolute value is at least the size of a row. If omitted, the rows are contiguous.
  // Throws Error (bad_parameter).
  View(P* first, int32_t width, int32_t height, ptrdiff_t pitch)
      : first_(first), width_(width), height_(height), pitch_(pitch) {
    detail::check_shape(width, height, pitch, sizeof(Pixel));
  }
  View(P* first, int32_t width, int32_t height)
      : View(first, width, height, ptrdiff_t{width} * static_cast<ptrdiff_t>(sizeof(Pixel))) {}
  // Converts a writable view to a read-only view.
  template <std::same_as<Pixel> Writable>
  View(const View<Writable>& other)  // NOLINT(google-explicit-constructor)
      : View(other.data(), other.width(), other.height(), other.pitch()) {}

  P* data() const { return first_; }
  int32_t width() const { return width_; }
  int32_t height() const { return height_; }
  ptrdiff_t pitch() const { return pitch_; }  // bytes

  // Row y, 0..height - 1, unchecked. Rows of 16-bit and float pixels must be aligned for access
  // through the span; the operations of the library accept rows at any byte.
  std::span<P> row(int32_t y) const {
    using Byte = std::conditional_t<std::is_const_v<P>, const std::byte, std::byte>;
    return {reinterpret_cast<P*>(reinterpret_cast<Byte*>(first_) + y * pitch_),
            static_cast<size_t>(width_)};
  }

  // Returns a view of a part. Throws Error (bad_parameter) for a rectangle that is not inside the
  // view.
  View part(const Rect& rect) const {
    detail::check_part(rect, width_, height_);
    return View(row(rect.top).data() + rect.left, rect.width(), rect.height(), pitch_);
  }

 private:
  P* first_ = nullptr;
  int32_t width_ = 0, height_ = 0;
  ptrdiff_t pitch_ = 0;
};

template <class Pixel>
using ConstView = View<const Pixel>;

namespace detail {

template <class P>
View<P> typed(const VX_LayerDef& layer, int32_t depth) {
  if (depth != View<P>::Traits::depth) refuse("the pixel type is not that of the depth");
  return View<P>(static_cast<P*>(layer.data), layer.width, layer.height, layer.rowbytes);
}

}  // namespace detail

// A read-only view of any depth, used as the type of source parameters. Image, View and VX_World
// convert to it.
class AnyConstView {
 public:
  AnyConstView() = default;  // no pixels
  template <class P>
  AnyConstView(View<P> view)  // NOLINT(google-explicit-constructor)
      : depth_(View<P>::Traits::depth) {
    layer_.data = const_cast<typename View<P>::Pixel*>(view.data());
    layer_.rowbytes = static_cast<int32_t>(view.pitch());
    layer_.width = view.width();
    layer_.height = view.height();
    VXp_SetWorldDepth(&layer_, depth_);
  }
  AnyConstView(const VX_LayerDef& world)  // NOLINT(google-explicit-constructor)
      : layer_(world), depth_(VXp_WorldDepth(&world)) {}

  int32_t width() const { return layer_.width; }
  int32_t height() const { return layer_.height; }
  int32_t depth() const { return depth_; }             // 8, 16 or 32
  ptrdiff_t pitch() const { return layer_.rowbytes; }  // bytes
  bool empty() const { return layer_.data == nullptr || width() <= 0 || height() <= 0; }

  // Returns the typed view. Throws Error (bad_parameter) for the pixel type of another depth.
  template <PixelType Pixel>
  ConstView<Pixel> as() const {
    return detail::typed<const Pixel>(layer_, depth_);
  }

  // Returns a view of a part. Throws Error (bad_parameter) for a rectangle that is not inside the
  // view.
  AnyConstView part(const Rect& rect) const { return AnyConstView(*this, rect); }

  // The descriptor for C-style calls; valid as long as this view exists.
  const VX_LayerDef* descriptor() const { return &layer_; }

 protected:
  AnyConstView(const AnyConstView& whole, const Rect& rect) : depth_(whole.depth_) {
    detail::check_part(rect, whole.width(), whole.height());
    layer_.data = static_cast<char*>(whole.layer_.data) + rect.top * whole.pitch() +
                  ptrdiff_t{rect.left} * (depth_ / 2);
    layer_.rowbytes = whole.layer_.rowbytes;
    layer_.width = rect.width();
    layer_.height = rect.height();
    VXp_SetWorldDepth(&layer_, depth_);
  }

  VX_LayerDef layer_{};
  int32_t depth_ = 8;
};

// A writable view of any depth, used as the type of destination parameters.
class AnyView : public AnyConstView {
 public:
  AnyView() = default;
  template <PixelType Pixel>
  AnyView(View<Pixel> view) : AnyConstView(view) {}     // NOLINT(google-explicit-constructor)
  AnyView(VX_LayerDef& world) : AnyConstView(world) {}  // NOLINT(google-explicit-constructor)

  template <PixelType Pixel>
  View<Pixel> as() const {
    return detail::typed<Pixel>(layer_, depth_);
  }
  AnyView part(const Rect& rect) const { return AnyView(*this, rect); }
  using AnyConstView::descriptor;
  VX_LayerDef* descriptor() { return &layer_; }

 private:
  AnyView(const AnyView& whole, const Rect& rect) : AnyConstView(whole, rect) {}
};

// Calls f with the typed view of a picture of any depth, and returns its result:
//   vx::visit(image, [](auto view) { for (auto& pixel : view.row(0)) pixel.alpha = 0; })
// f receives a View<Pixel>, or a ConstView<Pixel> if the picture is read-only, and has to compile
// for all three pixel types. `typename decltype(view)::Pixel` names the pixel type.
template <class Picture, class Function>
decltype(auto) visit(Picture&& picture, Function&& f) {
  using Any = std::conditional_t<std::is_convertible_v<Picture&&, AnyView>, AnyView, AnyConstView>;
  const Any view = std::forward<Picture>(picture);
  return visit_depth(view.depth(),
                     [&]<class Pixel>() -> decltype(auto) { return f(view.template as<Pixel>()); });
}

}  // namespace vx

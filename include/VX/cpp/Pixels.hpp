// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Fills, copies, conversions of depth, and operations on alpha.

#include <cstdint>
#include <optional>
#include <variant>

#include "VX/VX_Copy.h"
#include "VX/VX_DepthConvert.h"
#include "VX/VX_Fill.h"
#include "VX/VX_ForEachPixel.h"
#include "VX/VX_GuessAlpha.h"
#include "VX/VX_Premul.h"
#include "VX/cpp/Image.hpp"
#include "VX/cpp/Mode.hpp"
#include "VX/cpp/Progress.hpp"
#include "VX/cpp/View.hpp"

namespace vx {

// A colour at any depth; it is converted to the depth of the destination.
using Color = std::variant<Pixel8, Pixel16, PixelFloat>;

namespace detail {

// Converts an optional rectangle to the 16-bit rectangle of the C-style calls; none becomes null.
class ShortRect {
 public:
  explicit ShortRect(const std::optional<Rect>& rect) : given_(rect.has_value()) {
    if (!given_) return;
    constexpr const char* report = "the edges of a rectangle are -32768..32767";
    rect_ = {to_int16(rect->top, report), to_int16(rect->left, report),
             to_int16(rect->bottom, report), to_int16(rect->right, report)};
  }
  const M_Rect* get() const { return given_ ? &rect_ : nullptr; }

 private:
  bool given_;
  M_Rect rect_{};
};

// Combines the functions of a C-style call for the three pixel types, so that std::visit selects
// one by the type of the colour.
template <class... Functions>
struct Overloaded : Functions... {
  using Functions::operator()...;
};
template <class... Functions>
Overloaded(Functions...) -> Overloaded<Functions...>;

}  // namespace detail

// --- fill ----------------------------------------------------------------------------------------

struct FillOptions {
  // The filled rectangle; none: everything. Edges are -32768..32767 and are clipped to the
  // destination. If right is before left, or bottom above top, the two are exchanged.
  std::optional<Rect> area = {};
};

// Stores one colour, alpha included (VX_Fill, VX_Fill16, VX_FillFloat).
//   dst    any depth
//   color  in 8-bit and 16-bit destinations, float colours are clamped and rounded, and their alpha
//          must be in 0..1
// Throws Error (bad_parameter).
inline void fill(AnyView dst, const Color& color, const FillOptions& options = {}) {
  const detail::ShortRect area(options.area);
  detail::run([&] {
    return std::visit(
        detail::Overloaded{
            [&](const Pixel8& c) { return VX_Fill(nullptr, &c, area.get(), dst.descriptor()); },
            [&](const Pixel16& c) { return VX_Fill16(nullptr, &c, area.get(), dst.descriptor()); },
            [&](const PixelFloat& c) {
              return VX_FillFloat(nullptr, &c, area.get(), dst.descriptor());
            }},
        color);
  });
}

// --- any function --------------------------------------------------------------------------------

struct ForEachPixelOptions {
  std::optional<Rect> area = {};  // none: everything. Edges -32768..32767; clipped
  Progress progress = {};
};

// Calls f(x, y, pixel) for each pixel, row by row, on the calling thread (VX_ForEachPixel). `pixel`
// is a reference to a Pixel8, Pixel16 or PixelFloat; f is a generic lambda. An exception of f ends
// the iteration and propagates unchanged. Rows of 16-bit and float pixels must be aligned. Throws
// Error: bad_parameter, stopped.
template <class Function>
void for_each_pixel(AnyView dst, Function&& f, const ForEachPixelOptions& options = {}) {
  const detail::ShortRect area(options.area);
  const auto visit_pixel = [&](int32_t x, int32_t y, auto* pixel) { f(x, y, *pixel); };
  detail::run(options.progress, [&](VX_ProgressInfo* progress) {
    return VX_ForEachPixel(
        dst.descriptor(), visit_pixel,
        {.area = area.get(), .progress = progress, .progress_final = dst.height()});
  });
}

// --- copy and resize -----------------------------------------------------------------------------

struct CopyOptions {
  std::optional<Rect> from = {};    // of the source; none: all of it. Edges -32768..32767
  std::optional<Rect> to = {};      // of the destination; none: all of it
  Quality quality = Quality::high;  // draft also converts between depths
  bool premultiplied = false;       // high quality: mix the channels without weighting by alpha
};

// Copies a rectangle onto another, and scales if their sizes differ (VX_CopyBits_...). Rectangles
// are clipped without shifting the picture; VX_Copy.h gives the rules. At high quality the area
// outside of the source is transparent black, so enlarged pictures fade at their edges; see resize.
//   dst, src  have the same depth at high quality. Their pixels must not overlap, except to copy
//             upwards within one picture.
// Throws Error (bad_parameter).
inline void copy(AnyView dst, AnyConstView src, const CopyOptions& options = {}) {
  const detail::ShortRect from(options.from), to(options.to);
  const auto call = options.quality == Quality::draft ? VX_CopyBits_Draft
                    : options.premultiplied           ? VX_CopyBits_HQ_Premul
                                                      : VX_CopyBits_HQ_Straight;
  detail::run(
      [&] { return call(nullptr, src.descriptor(), dst.descriptor(), from.get(), to.get()); });
}

struct ResizeOptions {
  Quality quality = Quality::high;  // draft also converts between depths
  Progress progress = {};
};

// Scales the whole source onto the whole destination, with the border pixels repeated outside of
// the source, so that an opaque picture stays opaque (VX_ResizeWorld).
//   dst, src  have the same depth at high quality
// Throws Error: bad_parameter, stopped.
inline void resize(AnyView dst, AnyConstView src, const ResizeOptions& options = {}) {
  detail::run(options.progress, [&](VX_ProgressInfo* progress) {
    return VX_ResizeWorld(progress, static_cast<int32_t>(options.quality), src.descriptor(),
                          dst.descriptor());
  });
}

// Scales the source to a new image of the given size, 1..30,000, with the depth of the source.
inline Image resize(AnyConstView src, int32_t width, int32_t height,
                    const ResizeOptions& options = {}) {
  Image out(width, height, src.depth());
  resize(out, src, options);
  return out;
}

// --- depth ---------------------------------------------------------------------------------------

struct ConvertOptions {
  Point at = {};        // the source's top left corner in the destination
  bool dither = false;  // conversion to 8 bits adds noise in place of the rounding constant
  Progress progress = {};
};

// Copies a picture to a destination of any depth (VX_DepthConvertWorld). Pixels outside of the
// destination are ignored. Throws Error: bad_parameter, stopped.
inline void convert(AnyView dst, AnyConstView src, const ConvertOptions& options = {}) {
  detail::run(options.progress, [&](VX_ProgressInfo* progress) {
    return VX_DepthConvertWorld(progress, src.descriptor(), nullptr, options.dither ? 1 : 0,
                                options.at.x, options.at.y, dst.descriptor());
  });
}

// Converts a picture to a new image of the same size, of depth 8, 16 or 32.
inline Image convert(AnyConstView src, int32_t depth, const ConvertOptions& options = {}) {
  Image out(src.width(), src.height(), depth);
  convert(out, src, options);
  return out;
}

// --- alpha ---------------------------------------------------------------------------------------

struct PremultiplyOptions {
  std::optional<Rect> area = {};    // none: everything. Edges -32768..32767
  std::optional<Color> matte = {};  // the colour onto which the picture is matted; none: black
};

namespace detail {

inline void premultiply(AnyView& dst, int32_t forward, const PremultiplyOptions& options) {
  const ShortRect area(options.area);
  VX_LayerDef* const world = dst.descriptor();
  run([&]() -> VX_Err {
    if (!options.matte) return VX_PremulRect(nullptr, forward, area.get(), world);
    return std::visit(
        Overloaded{[&](const Pixel8& c) {
                     return VX_PremulColorRect(nullptr, forward, &c, area.get(), world);
                   },
                   [&](const Pixel16& c) {
                     return VX_PremulColorRect16(nullptr, forward, &c, area.get(), world);
                   },
                   [&](const PixelFloat& c) {
                     return VX_PremulColorRectFloat(nullptr, forward, &c, area.get(), world);
                   }},
        *options.matte);
  });
}

}  // namespace detail

// Multiplies colour by alpha in place; the next function divides by alpha (VX_PremulRect,
// VX_PremulColorRect and so on). Throws Error (bad_parameter).
inline void premultiply(AnyView dst, const PremultiplyOptions& options = {}) {
  detail::premultiply(dst, 1, options);
}
inline void unpremultiply(AnyView dst, const PremultiplyOptions& options = {}) {
  detail::premultiply(dst, 0, options);
}

enum class AlphaKind : int32_t {
  unknown = 0,  // the pixels match more than one kind
  straight = VX_Alpha_Straight,
  premultiplied_black = VX_Alpha_PremulBlack,
  premultiplied_white = VX_Alpha_PremulWhite
};

struct AlphaGuess {
  AlphaKind kind = AlphaKind::unknown;
  int64_t partial = 0;       // pixels that are neither opaque nor transparent
  int64_t beyond_black = 0;  // of those, pixels that exclude a composite onto black
  int64_t beyond_white = 0;  // of those, pixels that exclude a composite onto white
};

// Guesses from the pixels whether a picture has straight alpha or was composited onto black or
// white (VX_GuessAlpha). Throws Error (bad_parameter) for a picture without pixels.
inline AlphaGuess guess_alpha(AnyConstView picture) {
  if (picture.empty()) detail::refuse("the picture has no pixels");
  VX_AlphaGuess guess{};
  const VX_Err code =
      detail::code_of([&] { return VX_GuessAlpha(nullptr, picture.descriptor(), &guess); });
  // An undecided guess also returns VX_ErrBadParameter. It is not an error here, because the
  // picture was checked above.
  if (code != VX_ErrBadParameter) detail::check(code);
  return {static_cast<AlphaKind>(guess.kind), guess.partial, guess.beyond_black,
          guess.beyond_white};
}

}  // namespace vx

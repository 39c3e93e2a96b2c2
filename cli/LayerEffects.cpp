// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "LayerEffects.h"

#include <algorithm>
#include <cmath>
#include <variant>

#include "Console.h"
#include "VX/cpp/Filters.hpp"
#include "VX/cpp/Pixels.hpp"

namespace vxcli {

namespace {

// Largest coordinate of --at: larger than any picture, and sums of positions fit in 32 bits.
constexpr int64_t kFarthest = 1000000;
constexpr double kLargestBlur = 2000;
constexpr int64_t kLargestOffset = 30000;
constexpr const char* kShadowColor = "#000000";
constexpr double kShadowSoftness = 8, kShadowOpacity = 0.7;

int32_t RadiusOf(const ShadowOptions& shadow) {
  return static_cast<int32_t>(std::ceil(shadow.softness.value_or(kShadowSoftness)));
}

Coordinate ParseCoordinate(const std::string& option, const std::string& all,
                           const std::string& text, const std::string& low,
                           const std::string& high) {
  if (text == low) return {0, 0.0};
  if (text == "center") return {0, 0.5};
  if (text == high) return {0, 1.0};
  if (text.ends_with('%')) {
    constexpr double kMost = 10000;
    return {0, ParseNumber(option, text.substr(0, text.size() - 1), -kMost, kMost) / 100};
  }
  if (text.find_first_not_of("+-0123456789") != std::string::npos) {
    throw UsageError(option + " '" + all +
                     "': must be center, or X,Y in whole pixels, in percent " +
                     "(50%,100%) or as left, center, right and top, center, bottom");
  }
  return {static_cast<int32_t>(ParseInteger(option, text, -kFarthest, kFarthest)), std::nullopt};
}

struct Box {
  double left = INFINITY, top = INFINITY, right = -INFINITY, bottom = -INFINITY;
};

// Returns the area that a layer covers after an affine map. Pixel centres have whole coordinates;
// `border` is the distance between the centre of an outer pixel and the edge of the area.
Box BoxOf(const vx::Matrix& matrix, Size size, double border) {
  Box box;
  for (const double x : {-border, size.width - 1 + border}) {
    for (const double y : {-border, size.height - 1 + border}) {
      const M_Vector3 corner = M_TransformVector3(matrix, {x, y, 1});
      box.left = std::min(box.left, corner.x / corner.w);
      box.right = std::max(box.right, corner.x / corner.w);
      box.top = std::min(box.top, corner.y / corner.w);
      box.bottom = std::max(box.bottom, corner.y / corner.w);
    }
  }
  return box;
}

// Returns the map that applies `matrix` and then moves by (x, y) pixels of the background.
vx::Matrix Moved(vx::Matrix matrix, double x, double y) {
  for (size_t row = 0; row < 9; row += 3) {
    matrix.m[row] += x * matrix.m[row + 2];
    matrix.m[row + 1] += y * matrix.m[row + 2];
  }
  return matrix;
}

bool IsWholeTranslation(const vx::Matrix& matrix) {
  const auto& m = matrix.m;
  return m[0] == 1 && m[1] == 0 && m[2] == 0 && m[3] == 0 && m[4] == 1 && m[5] == 0 && m[8] == 1 &&
         m[6] == std::floor(m[6]) && m[7] == std::floor(m[7]);
}

// A picture and the position of its upper left corner on the background.
struct PlacedImage {
  vx::Image image;
  vx::Point at;
};

// Returns the part of a layer, placed by a matrix, that is inside of `area`; an empty image if it
// has no part there.
PlacedImage Place(vx::AnyConstView layer, const vx::Matrix& matrix, const vx::Rect& area,
                  const vx::Progress& progress) {
  // The interpolation fades the layer out over one pixel outside of it.
  const Box box =
      BoxOf(matrix, {layer.width(), layer.height()}, IsWholeTranslation(matrix) ? 0 : 1);
  const auto limit = [](double value, int32_t least, int32_t largest) {
    return static_cast<int32_t>(std::clamp<double>(value, least, largest));
  };
  const vx::Rect part{limit(std::floor(box.left), area.left, area.right),
                      limit(std::floor(box.top), area.top, area.bottom),
                      limit(std::ceil(box.right) + 1, area.left, area.right),
                      limit(std::ceil(box.bottom) + 1, area.top, area.bottom)};
  PlacedImage placed{{}, {part.left, part.top}};
  if (part.width() <= 0 || part.height() <= 0) return placed;
  placed.image = vx::Image(part.width(), part.height(), layer.depth());
  vx::transform(placed.image, layer, Moved(matrix, -part.left, -part.top), {.progress = progress});
  return placed;
}

// Returns a blurred picture, larger on each side by the reach of the blur.
PlacedImage Blurred(const PlacedImage& from, double radius, const vx::Channels& channels,
                    const vx::Progress& progress) {
  vx::BlurOptions blur{
      .radius = radius, .channels = channels, .hold_level = false, .progress = progress};
  const vx::Point reach = vx::blur_reach(blur);
  blur.at = reach;
  PlacedImage to{vx::Image(from.image.width() + 2 * reach.x, from.image.height() + 2 * reach.y,
                           from.image.depth()),
                 {from.at.x - reach.x, from.at.y - reach.y}};
  vx::blur(to.image, from.image, blur);
  return to;
}

// Returns the blurred alpha of a layer with the colour of the shadow, at the position of the
// shadow.
PlacedImage ShadowOf(const PlacedImage& layer, const ShadowOptions& options, const vx::Color& color,
                     const vx::Progress& progress) {
  PlacedImage shadow =
      Blurred(layer, options.softness.value_or(kShadowSoftness),
              {.alpha = true, .red = false, .green = false, .blue = false}, progress);
  vx::for_each_pixel(shadow.image, [&](int32_t, int32_t, auto& pixel) {
    const auto alpha = pixel.alpha;
    pixel = std::get<std::remove_cvref_t<decltype(pixel)>>(color);
    pixel.alpha = alpha;
  });
  shadow.at.x += options.offset->x;
  shadow.at.y += options.offset->y;
  return shadow;
}

double AlphaOf(const vx::Color& color) {
  return std::visit(
      [](const auto& pixel) {
        return static_cast<double>(pixel.alpha) /
               vx::PixelTraits<std::remove_cvref_t<decltype(pixel)>>::full_scale;
      },
      color);
}

}  // namespace

// --- options -------------------------------------------------------------------------------------

double Coordinate::In(double below, double size) const {
  return share ? std::floor(*share * (below - size)) : pixels;
}

Position ParsePosition(const std::string& option, const std::string& text) {
  const std::vector<std::string> parts = SplitAtCommas(text == "center" ? "center,center" : text);
  const std::string y = parts.size() == 2 ? parts[1] : "-";
  return {ParseCoordinate(option, text, parts.size() == 2 ? parts[0] : "?", "left", "right"),
          ParseCoordinate(option, text, y, "top", "bottom")};
}

int32_t EffectOptions::Reach() const {
  int32_t reach = static_cast<int32_t>(std::ceil(blur));
  if (!shadow.offset) return reach;
  return reach + RadiusOf(shadow) +
         std::max(std::abs(shadow.offset->x), std::abs(shadow.offset->y));
}

OptionList EffectOptionList(EffectOptions* to) {
  const auto offset = [](const std::string& option, const std::string& text) {
    return ParsePoint(option, text, -kLargestOffset, kLargestOffset);
  };
  // The scale of the numbers depends on the depth of the picture; only the form is checked here.
  const auto color = [](const std::string& option, const std::string& text) {
    ParseColor(option, text, 32);
    return text;
  };
  return Join({PlacementOptionList(&to->placement),
               {
                   Option{"--blur", "R", Number(&to->blur, 0, kLargestBlur),
                          "Blur the layer: radius in pixels of the background, %r, as of vx blur "
                          "--gaussian; its edges become soft"}
                       .Default("0"),
                   Option{"--shadow", "X,Y", Parsed(&to->shadow.offset, offset),
                          "Draw the layer's shadow below it, moved by X,Y pixels"}
                       .Without("no shadow"),
                   Option{"--shadow-color", "COLOR", Parsed(&to->shadow.color, color),
                          "'#RRGGBB', or A,R,G,B in the scale of the depth"}
                       .Without(kShadowColor),
                   Option{"--shadow-softness", "R", Number(&to->shadow.softness, 0, kLargestBlur),
                          "Blur of the shadow: radius in pixels, %r"}
                       .Without(Plain(kShadowSoftness)),
                   Option{"--shadow-opacity", "NUMBER", Share(&to->shadow.opacity),
                          "%r; multiplied by the opacity of the layer"}
                       .Without(Plain(kShadowOpacity)),
               }});
}

void CheckEffects(const EffectOptions& options) {
  const ShadowOptions& shadow = options.shadow;
  if (!shadow.offset && (shadow.color || shadow.softness || shadow.opacity)) {
    throw UsageError(
        "--shadow-color, --shadow-softness, --shadow-opacity: have no effect without --shadow X,Y");
  }
  if (!options.placement.matrix) return;
  const auto& m = options.placement.matrix->m;
  if (options.at) {
    throw UsageError("--at: not together with --matrix, which contains the position");
  }
  if (options.HasEffects() && (m[2] != 0 || m[5] != 0 || m[8] == 0)) {
    throw UsageError("--blur, --shadow: not together with a --matrix that is a perspective");
  }
}

// --- placement -----------------------------------------------------------------------------------

vx::Matrix MatrixOf(const EffectOptions& options, Size size, Size below) {
  Placement placement = options.placement;
  const auto matrix = [&] {
    return MatricesOf({placement, std::nullopt}, {}, vx::Quality::high, size.width, size.height)
        .front();
  };
  if (!options.at) return matrix();
  const auto [x, y] = *options.at;
  if (placement.anchor) {
    return Moved(matrix(), x.In(below.width, size.width), y.In(below.height, size.height));
  }
  placement.parts.translate_x = placement.parts.translate_y = 0;
  const Box box = BoxOf(matrix(), size, 0.5);
  return Moved(matrix(),
               x.In(below.width, box.right - box.left) - 0.5 - box.left +
                   options.placement.parts.translate_x,
               y.In(below.height, box.bottom - box.top) - 0.5 - box.top +
                   options.placement.parts.translate_y);
}

vx::Matrix After(vx::Point translation, const vx::Matrix& matrix) {
  vx::Matrix after = matrix;
  for (size_t i = 0; i < 3; ++i) {
    after.m[6 + i] += translation.x * matrix.m[i] + translation.y * matrix.m[3 + i];
  }
  return after;
}

// --- effects -------------------------------------------------------------------------------------

bool DrawWithEffects(const EffectOptions& effects, vx::AnyConstView layer, const vx::Matrix& matrix,
                     const vx::CompositeOptions& drawing, vx::AnyView below) {
  const int32_t reach = effects.Reach();
  PlacedImage placed =
      Place(layer, matrix, {-reach, -reach, below.width() + reach, below.height() + reach},
            drawing.progress);
  if (placed.image.empty()) return false;
  if (effects.blur > 0) placed = Blurred(placed, effects.blur, {}, drawing.progress);
  if (effects.shadow.offset) {
    const vx::Color color = ParseColor(
        "--shadow-color", effects.shadow.color.value_or(kShadowColor), placed.image.depth());
    const PlacedImage shadow = ShadowOf(placed, effects.shadow, color, drawing.progress);
    vx::CompositeOptions options = drawing;
    options.mode = vx::Mode::in_front;
    options.at = shadow.at;
    options.opacity *=
        effects.shadow.opacity.value_or(kShadowOpacity) * std::clamp(AlphaOf(color), 0.0, 1.0);
    vx::composite(below, shadow.image, options);
  }
  vx::CompositeOptions options = drawing;
  options.at = placed.at;
  vx::composite(below, placed.image, options);
  return true;
}

}  // namespace vxcli

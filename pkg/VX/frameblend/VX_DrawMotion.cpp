// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Vectors as colours and arrows.

#include <algorithm>
#include <cmath>

#include "VX/VX_FrameBlending.h"
#include "frame/VXp_Convert.h"
#include "frame/VXp_Dispatch.h"
#include "frame/VXp_Report.h"
#include "frame/VXp_Rows.h"

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kHeadAngle = 0.5;     // between an arrow and each line of its head, in radians
constexpr double kHeadPart = 0.35;     // length of the lines of the head as a part of the arrow
constexpr double kLongestPart = 0.95;  // length of the longest arrow as a part of the distance
constexpr double kShortest = 1.5;      // shorter arrows are not drawn, in pixels
constexpr int32_t kPenPart = 20;       // the distance has so many times the width of the lines

struct Vector {
  double u, v;
  bool known;
};

class Field {
 public:
  Field(const float* vectors, ptrdiff_t rowbytes) : vectors_(vectors), rowbytes_(rowbytes) {}

  Vector At(int32_t x, int32_t y) const {
    const char* const element =
        reinterpret_cast<const char*>(vectors_) + y * rowbytes_ + ptrdiff_t{x} * 8;
    const auto u = VXp_Load<float>(element), v = VXp_Load<float>(element + 4);
    return {u, v, std::isfinite(u) && std::isfinite(v)};
  }
  double Longest(int32_t width, int32_t height) const {
    double longest = 0;
    for (int32_t y = 0; y < height; ++y) {
      for (int32_t x = 0; x < width; ++x) {
        const Vector w = At(x, y);
        if (w.known) longest = std::max(longest, std::hypot(w.u, w.v));
      }
    }
    return longest;
  }

 private:
  const float* vectors_;
  ptrdiff_t rowbytes_;
};

// A colour with full saturation. `hue` is 0..6 in steps of 60 degrees.
VX_PixelFloat HueColor(double hue, double value) {
  const auto channel = [&](double offset) {
    const double k = std::fmod(offset + hue, 6);
    return static_cast<float>(value * (1 - std::clamp(std::min(k, 4 - k), 0.0, 1.0)));
  };
  return {1, channel(5), channel(3), channel(1)};
}

VX_PixelFloat ColorOf(const Vector& w, double longest) {
  if (!w.known) return {0, 0, 0, 0};
  const double length = std::hypot(w.u, w.v);
  double hue = std::atan2(w.v, w.u) * 3 / kPi;
  if (hue < 0) hue += 6;
  return HueColor(hue, longest > 0 ? std::min(length / longest, 1.0) : 0);
}

template <class Pixel>
class Canvas {
 public:
  explicit Canvas(VX_WorldX<Pixel>& world) : world_(world) {}

  void Set(int32_t x, int32_t y, const VX_PixelFloat& c) {
    if (x < 0 || y < 0 || x >= world_.width || y >= world_.height) return;
    const Pixel p = {VXp_ConvertChannel<Pixel, VX_PixelFloat>(c.alpha),
                     VXp_ConvertChannel<Pixel, VX_PixelFloat>(c.red),
                     VXp_ConvertChannel<Pixel, VX_PixelFloat>(c.green),
                     VXp_ConvertChannel<Pixel, VX_PixelFloat>(c.blue)};
    VXp_Store(world_.Row(y) + x, p);
  }
  // Draws with a square pen.
  void Line(double x0, double y0, double x1, double y1, int32_t pen, const VX_PixelFloat& color) {
    const double reach = std::max({std::abs(x1 - x0), std::abs(y1 - y0), 1.0});
    const auto steps = static_cast<int32_t>(std::ceil(reach));
    for (int32_t i = 0; i <= steps; ++i) {
      const double t = static_cast<double>(i) / steps;
      const auto x = static_cast<int32_t>(std::floor(x0 + t * (x1 - x0))) - pen / 2;
      const auto y = static_cast<int32_t>(std::floor(y0 + t * (y1 - y0))) - pen / 2;
      for (int32_t dy = 0; dy < pen; ++dy) {
        for (int32_t dx = 0; dx < pen; ++dx) Set(x + dx, y + dy, color);
      }
    }
  }
  void Arrow(double x, double y, double dx, double dy, int32_t pen, const VX_PixelFloat& color) {
    Line(x, y, x + dx, y + dy, pen, color);
    const double angle = std::atan2(dy, dx) + kPi;
    const double head = std::max(kHeadPart * std::hypot(dx, dy), 2.0);
    for (const double side : {-kHeadAngle, kHeadAngle}) {
      Line(x + dx, y + dy, x + dx + head * std::cos(angle + side),
           y + dy + head * std::sin(angle + side), pen, color);
    }
  }

 private:
  VX_WorldX<Pixel>& world_;
};

// Draws arrows in white with a black border, which is visible on all colours.
template <class Pixel>
void DrawArrows(const Field& field, double longest, int32_t distance, Canvas<Pixel>* canvas,
                int32_t width, int32_t height) {
  const int32_t pen = std::max(1, distance / kPenPart);
  for (int32_t y = distance / 2; y < height; y += distance) {
    for (int32_t x = distance / 2; x < width; x += distance) {
      const Vector w = field.At(x, y);
      const double length = w.known ? std::hypot(w.u, w.v) : 0;
      if (!(length > 0)) continue;
      const double drawn = kLongestPart * distance * std::min(length / longest, 1.0);
      if (drawn < kShortest) continue;
      const double dx = w.u / length * drawn, dy = w.v / length * drawn;
      canvas->Arrow(x + 0.5, y + 0.5, dx, dy, pen + 2, {1, 0, 0, 0});
      canvas->Arrow(x + 0.5, y + 0.5, dx, dy, pen, {1, 1, 1, 1});
    }
  }
}

template <class Pixel>
void Draw(const Field& field, double longest, int32_t arrows, VX_WorldX<Pixel>& dst) {
  Canvas<Pixel> canvas(dst);
  for (int32_t y = 0; y < dst.height; ++y) {
    for (int32_t x = 0; x < dst.width; ++x) canvas.Set(x, y, ColorOf(field.At(x, y), longest));
  }
  if (arrows > 0) DrawArrows(field, longest, arrows, &canvas, dst.width, dst.height);
}

}  // namespace

VX_Err VX_DrawMotion(const float* vectors, ptrdiff_t rowbytes, float longest, int32_t arrows,
                     VX_LayerDef* dst) {
  return VXp_Guarded([&]() -> VX_Err {
    if (dst == nullptr || dst->data == nullptr || vectors == nullptr) {
      return VXp_FailVerification("drawing motion without pixels or vectors");
    }
    if (rowbytes < ptrdiff_t{dst->width} * 8 || arrows < 0 || !(longest >= 0)) {
      return VXp_FailVerification("drawing motion with arguments out of range");
    }
    const Field field(vectors, rowbytes);
    return VXp_WithWorlds(
        dst, kVXp_UnknownDepthText,
        [&](auto& world) -> VX_Err {
          Draw(field, longest > 0 ? longest : field.Longest(world.width, world.height), arrows,
               world);
          return VX_Ok;
        },
        dst);
  });
}

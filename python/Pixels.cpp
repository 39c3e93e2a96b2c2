// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Fills, premultiplication, depth conversion, copies and scaling.

#include <pybind11/stl.h>

#include "Arguments.h"
#include "Errors.h"
#include "Pictures.h"
#include "Subjects.h"
#include "VX/VX_CompositeRect.h"
#include "VX/VX_Copy.h"
#include "VX/VX_DepthConvert.h"
#include "VX/VX_Fill.h"
#include "VX/VX_GuessAlpha.h"
#include "VX/VX_Iterate.h"
#include "VX/VX_Numeric.h"
#include "VX/VX_Premul.h"

namespace vxpy {

namespace {

const M_Rect* Pointer(const std::optional<M_Rect>& rect) { return rect ? &*rect : nullptr; }

// An optional colour, converted to the pixel type of a depth.
struct AnyColor {
  AnyColor(const py::object& color, Order order, int32_t depth) {
    if (depth == 8) bytes = ParseColor<VX_Pixel8>(color, order);
    if (depth == 16) words = ParseColor<VX_Pixel16>(color, order);
    if (depth == 32) floats = ParseColor<VX_PixelFloat>(color, order);
  }
  VX_Pixel8 bytes{};
  VX_Pixel16 words{};
  VX_PixelFloat floats{};
};

py::object Fill(const py::object& picture, const py::object& color, const py::object& rect,
                const py::object& out, const py::object& order_arg) {
  const Order order = ParseOrder(order_arg);
  const std::optional<M_Rect> area = ParseRect("rect", rect);
  const Source source(picture, order, "picture", out);
  const AnyColor fill(color, order, source.depth());
  Target target = Target::CopyOf(source, out);
  VX_World* const world = target.world();
  Run([&] {
    if (world->Depth() == 8) return VX_Fill(nullptr, &fill.bytes, Pointer(area), world);
    if (world->Depth() == 16) return VX_Fill16(nullptr, &fill.words, Pointer(area), world);
    return VX_FillFloat(nullptr, &fill.floats, Pointer(area), world);
  });
  return target.Finish();
}

py::object ClearAlphaOutside(const py::object& picture, const py::object& rect,
                             const py::object& out, const py::object& order_arg) {
  const std::optional<M_Rect> area = ParseRect("rect", rect);
  const Source source(picture, ParseOrder(order_arg), "picture", out);
  Target target = Target::CopyOf(source, out);
  Run([&] { return VX_ClearAlphaExceptRect(nullptr, Pointer(area), target.world()); });
  return target.Finish();
}

// Applies `change` to a copy of the picture or to `out`.
template <class Change>
py::object Changed(const py::object& picture, const py::object& out, const py::object& order_arg,
                   Change&& change) {
  const Source source(picture, ParseOrder(order_arg), "picture", out);
  Target target = Target::CopyOf(source, out);
  Run([&] {
    change(*target.world());
    return VX_Ok;
  });
  return target.Finish();
}

py::object FillAlpha(const py::object& picture, const py::object& out, const py::object& order) {
  return Changed(picture, out, order, [](VX_World& world) { world.FillAlpha(); });
}

py::object InvertAlpha(const py::object& picture, const py::object& out, const py::object& order) {
  return Changed(picture, out, order, [](VX_World& world) { world.InvertAlpha(); });
}

py::object ClearOutside(const py::object& picture, const py::object& rect, const py::object& out,
                        const py::object& order) {
  const std::optional<M_Rect> area = ParseRect("rect", rect);
  return Changed(picture, out, order, [&](VX_World& world) {
    if (area) world.ClearExceptRect(*area);
  });
}

py::object Premultiply(const py::object& picture, bool forward, const py::object& color,
                       const py::object& rect, const py::object& out, const py::object& order_arg) {
  const Order order = ParseOrder(order_arg);
  const std::optional<M_Rect> area = ParseRect("rect", rect);
  const Source source(picture, order, "picture", out);
  std::optional<AnyColor> matte;
  if (!color.is_none()) matte.emplace(color, order, source.depth());
  Target target = Target::CopyOf(source, out);
  VX_World* const world = target.world();
  const int32_t direction = forward ? 1 : 0;
  Run([&] {
    if (!matte) return VX_PremulRect(nullptr, direction, Pointer(area), world);
    if (world->Depth() == 8) {
      return VX_PremulColorRect(nullptr, direction, &matte->bytes, Pointer(area), world);
    }
    if (world->Depth() == 16) {
      return VX_PremulColorRect16(nullptr, direction, &matte->words, Pointer(area), world);
    }
    return VX_PremulColorRectFloat(nullptr, direction, &matte->floats, Pointer(area), world);
  });
  return target.Finish();
}

py::object Convert(const py::object& picture, const py::object& depth_arg,
                   const py::object& dither_arg, const py::object& progress, const py::object& out,
                   const py::object& order_arg) {
  const bool dither = ParseFlag("dither", dither_arg);
  const int32_t depth = ParseDepth(depth_arg);
  const Source source(picture, ParseOrder(order_arg), "picture");
  const VX_World& from = *source.world();
  Progress polled(progress);
  Target target = Target::Sized(source, out, from.width, from.height, depth);
  const WorldPtr apart = target.WithoutOverlap(source);
  Run(polled, [&] {
    return VX_DepthConvertWorld(polled.info(), apart->get(), nullptr, dither ? 1 : 0, 0, 0,
                                target.world());
  });
  return target.Finish();
}

py::object Copy(const py::object& dst, const py::object& src, const py::object& src_rect,
                const py::object& dst_rect, const py::object& quality,
                const py::object& premultiplied_arg, const py::object& out,
                const py::object& order_arg) {
  const bool premultiplied = ParseFlag("premultiplied", premultiplied_arg);
  const Order order = ParseOrder(order_arg);
  const bool high = ParseQuality(quality) != 0;
  const std::optional<M_Rect> from = ParseRect("src_rect", src_rect);
  const std::optional<M_Rect> to = ParseRect("dst_rect", dst_rect);
  const Source below(dst, order, "dst", out), above(src, order, "src");
  if (high) RequireSameDepth(*below.world(), *above.world(), "dst", "src");
  Target target = Target::CopyOf(below, out);
  const WorldPtr source = target.WithoutOverlap(above);
  const auto copy = !high           ? VX_CopyBits_Draft
                    : premultiplied ? VX_CopyBits_HQ_Premul
                                    : VX_CopyBits_HQ_Straight;
  Run([&] { return copy(nullptr, source->get(), target.world(), Pointer(from), Pointer(to)); });
  return target.Finish();
}

py::object Resize(const py::object& picture, const py::object& width, const py::object& height,
                  const py::object& quality, const py::object& progress, const py::object& out,
                  const py::object& order_arg) {
  const auto wide = ParseSide("width", width);
  const auto high = ParseSide("height", height);
  const int32_t level = ParseQuality(quality);
  const Source source(picture, ParseOrder(order_arg), "picture");
  Progress polled(progress);
  Target target = Target::Sized(source, out, wide, high, source.depth());
  const WorldPtr apart = target.WithoutOverlap(source);
  Run(polled, [&] { return VX_ResizeWorld(polled.info(), level, apart->get(), target.world()); });
  return target.Finish();
}

py::object Mix(const py::object& a, const py::object& b, const py::object& ratio,
               const py::object& premultiplied_arg, const py::object& progress,
               const py::object& out, const py::object& order_arg) {
  const bool premultiplied = ParseFlag("premultiplied", premultiplied_arg);
  const Order order = ParseOrder(order_arg);
  const auto share = static_cast<VX_Fixed>(ParseNumber("ratio", ratio, 0, 1) * 65536 + 0.5);
  const Source first(a, order, "a", out), second(b, order, "b");
  RequireSameDepth(*first.world(), *second.world(), "a", "b");
  Progress polled(progress);
  Target target = Target::CopyOf(first, out);
  const WorldPtr from = target.WithoutOverlap(first), to = target.WithoutOverlap(second);
  const auto mix = premultiplied ? VX_Blend_Premul : VX_Blend_Straight;
  Run(polled, [&] { return mix(polled.info(), from->get(), to->get(), share, target.world()); });
  return target.Finish();
}

// Parses four numbers, or three with alpha 1. None gives `none` for each channel.
VX_PixelFloat ParseLevels(const char* name, const py::object& levels, float none, Order order) {
  if (levels.is_none()) return {none, none, none, none};
  return ParsePixel<VX_PixelFloat>(name, levels, order);
}

py::object Blit(const py::object& dst, const py::object& src, const py::object& at,
                const py::object& rect, const py::object& low_arg, const py::object& high_arg,
                const py::object& invert_alpha_arg, const py::object& out,
                const py::object& order_arg) {
  const Order order = ParseOrder(order_arg);
  const Position position = ParsePosition("at", at);
  const std::optional<M_Rect> area = ParseRect("rect", rect);
  const VX_PixelFloat low = ParseLevels("low", low_arg, 0, order);
  const VX_PixelFloat high = ParseLevels("high", high_arg, 1, order);
  const bool lookup = !low_arg.is_none() || !high_arg.is_none();
  const bool invert_alpha = ParseFlag("invert_alpha", invert_alpha_arg);
  const Source below(dst, order, "dst", out), above(src, order, "src");
  if (below.depth() != 8) throw py::value_error("dst: needs 8 bits a channel");
  Target target = Target::CopyOf(below, out);
  const WorldPtr source = target.WithoutOverlap(above);
  const VX_World& from = *source->get();
  M_LPoint corner{};
  corner.h = position.x;
  corner.v = position.y;
  M_Rect whole{};
  whole.right = static_cast<int16_t>(from.width);
  whole.bottom = static_cast<int16_t>(from.height);
  Run([&] {
    VX_WorldX<VX_Pixel8> to(target.world(), /*keep_all=*/true);
    return VX_SpecialCasePixelBlit(&from, corner, lookup, invert_alpha, low, high,
                                   area ? *area : whole, &to);
  });
  return target.Finish();
}

// Returns the data of a table of 256 bytes, or null for None.
const uint8_t* Table(const char* name, const py::object& table) {
  if (table.is_none()) return nullptr;
  if (!py::isinstance<py::array_t<uint8_t, py::array::c_style>>(table)) {
    throw py::type_error(std::string(name) + ": needs a contiguous array of 256 uint8, or None");
  }
  const auto& array = static_cast<const py::array&>(table);
  if (array.ndim() != 1 || array.size() != 256) {
    throw py::value_error(std::string(name) + ": " + Describe(array) + "; needs 256 entries");
  }
  return static_cast<const uint8_t*>(array.data());
}

py::object LookUp(const py::object& picture, const py::object& alpha, const py::object& red,
                  const py::object& green, const py::object& blue, const py::object& rect,
                  const py::object& out, const py::object& order_arg) {
  const std::optional<M_Rect> area = ParseRect("rect", rect);
  const uint8_t* const tables[4] = {Table("alpha", alpha), Table("red", red), Table("green", green),
                                    Table("blue", blue)};
  const Source source(picture, ParseOrder(order_arg), "picture", out);
  if (source.depth() != 8) throw py::value_error("picture: tables are for 8 bits a channel");
  Target target = Target::CopyOf(source, out);
  VX_World* const world = target.world();
  Run([&] {
    return VX_IterateLUT(nullptr, 0, 0, world, Pointer(area), tables[0], tables[1], tables[2],
                         tables[3], world);
  });
  return target.Finish();
}

py::tuple GuessAlpha(const py::object& picture, const py::object& order_arg) {
  const Source source(picture, ParseOrder(order_arg), "picture");
  VX_AlphaGuess guess{};
  const VX_World* const world = source.world();
  VX_Err code = VX_Ok;
  Run([&] {
    code = VX_GuessAlpha(nullptr, world, &guess);
    return VX_Ok;  // undecided is a valid result
  });
  constexpr const char* kKinds[] = {nullptr, "straight", "premultiplied-black",
                                    "premultiplied-white"};
  const py::object kind =
      guess.kind == 0 ? py::object(py::none()) : py::object(py::str(kKinds[guess.kind]));
  return py::make_tuple(kind, guess.partial, guess.beyond_black, guess.beyond_white);
}

py::tuple Rand(const py::object& state) {
  auto next = static_cast<uint32_t>(ParseWhole("state", state, 0, UINT32_MAX));
  const uint32_t value = VX_Rand(&next);
  return py::make_tuple(value, next);
}

}  // namespace

void AddPixels(py::module_& module) {
  module.def("fill", &Fill);
  module.def("clear_alpha_outside", &ClearAlphaOutside);
  module.def("clear_outside", &ClearOutside);
  module.def("fill_alpha", &FillAlpha);
  module.def("invert_alpha", &InvertAlpha);
  module.def("blit", &Blit);
  module.def("premultiply", &Premultiply);
  module.def("convert", &Convert);
  module.def("copy", &Copy);
  module.def("resize", &Resize);
  module.def("mix", &Mix);
  module.def("look_up", &LookUp);
  module.def("guess_alpha", &GuessAlpha);
  module.def("rand", &Rand);
  module.def("hypot", [](const py::object& x, const py::object& y) {
    return VX_Hypot(ParseDouble("x", x), ParseDouble("y", y));
  });
  module.def("reset_dither", &VX_ResetDitherRandomIndex);
}

}  // namespace vxpy

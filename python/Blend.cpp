// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Transfer modes for whole pictures and for single pixels.

#include <pybind11/stl.h>

#include <optional>
#include <type_traits>

#include "Arguments.h"
#include "Errors.h"
#include "Layer.h"
#include "Pictures.h"
#include "Subjects.h"
#include "VX/VX_Blend.h"
#include "VX/VX_CompositeRect.h"
#include "VX/VX_OverrideTable.h"
#include "VX/VX_Transfer.h"

namespace vxpy {

namespace {

py::object Transfer(const py::object& dst, const py::object& src, const py::tuple& layer_args,
                    const py::object& at, const py::object& rect, const py::object& progress,
                    const py::object& out, const py::object& order_arg) {
  const Order order = ParseOrder(order_arg);
  const Position position = ParsePosition("at", at);
  const std::optional<M_Rect> area = ParseRect("rect", rect);
  const Source below(dst, order, "dst", out), above(src, order, "src");
  RequireSameDepth(*below.world(), *above.world(), "dst", "src");
  Layer layer(LayerArguments(layer_args), below, order);
  Progress polled(progress);
  Target target = Target::CopyOf(below, out);
  const WorldPtr source = target.WithoutOverlap(above);
  const VX_MaskSpec* const mask = layer.MaskFor(target);
  Run(polled, [&] {
    if (layer.curves() != nullptr) {
      return VX_TransferRectLinear(polled.info(), layer.field(), area ? &*area : nullptr,
                                   source->get(), &layer.mode(), layer.curves(), mask, position.x,
                                   position.y, target.world());
    }
    return VX_TransferRect(polled.info(), /*quality=*/1, /*flags=*/0, layer.field(),
                           area ? &*area : nullptr, source->get(), &layer.mode(), layer.tables(),
                           mask, position.x, position.y, target.world());
  });
  return target.Finish();
}

// Implements vx.composite_rect by the functions VX_CompositeRect..., which also accept
// premultiplied sources.
py::object CompositeRect(const py::object& dst, const py::object& src, const py::object& mode_arg,
                         const py::object& opacity_arg, const py::object& at,
                         const py::object& rect, const py::object& field_arg,
                         const py::object& premultiplied_arg, const py::object& quality,
                         const py::object& progress, const py::object& out,
                         const py::object& order_arg) {
  const Order order = ParseOrder(order_arg);
  const int32_t mode = ParseMode(mode_arg);
  const auto opacity = static_cast<int32_t>(ParseWhole("opacity", opacity_arg, 0, 255));
  const Position position = ParsePosition("at", at);
  const std::optional<M_Rect> area = ParseRect("rect", rect);
  const int32_t field = ParseField(field_arg);
  const bool premultiplied = ParseFlag("premultiplied", premultiplied_arg);
  const bool high = ParseQuality(quality) != 0;
  const Source below(dst, order, "dst", out), above(src, order, "src");
  RequireSameDepth(*below.world(), *above.world(), "dst", "src");
  Progress polled(progress);
  Target target = Target::CopyOf(below, out);
  const WorldPtr source = target.WithoutOverlap(above);
  const VX_CompositeRectFunc forms[2][2] = {
      {VX_CompositeRectDraft_Straight, VX_CompositeRectDraft_Premul},
      {VX_CompositeRectBest_Straight, VX_CompositeRectBest_Premul}};
  const auto composite = forms[high ? 1 : 0][premultiplied ? 1 : 0];
  Run(polled, [&] {
    return composite(polled.info(), area ? &*area : nullptr, opacity, source->get(), position.x,
                     position.y, field, mode, target.world());
  });
  return target.Finish();
}

int32_t TransferFlags(const py::object& mode) { return VX_GetTransferFlags(ParseMode(mode)); }

std::vector<std::pair<int32_t, std::string>> ListModes() {
  std::vector<std::pair<int32_t, std::string>> list;
  for (const vx::ModeInfo& info : vx::modes()) {
    list.emplace_back(static_cast<int32_t>(info.mode), info.name);
  }
  return list;
}

// --- single pixels -------------------------------------------------------------------------------

template <class Pixel>
struct PixelTables;
template <>
struct PixelTables<VX_Pixel8> {
  static constexpr auto& plain = VXp_G_Xfer1_table8;
  static constexpr auto& faded = VXp_G_Xfer1_Opacity_table8;
  static constexpr auto& twice = VXp_G_Xfer1_Opacity2_table8;
};
template <>
struct PixelTables<VX_Pixel16> {
  static constexpr auto& plain = VXp_G_Xfer1_table16;
  static constexpr auto& faded = VXp_G_Xfer1_Opacity_table16;
  static constexpr auto& twice = VXp_G_Xfer1_Opacity2_table16;
};
template <>
struct PixelTables<VX_PixelFloat> {
  static constexpr auto& plain = VXp_G_Xfer1_tableF;
  static constexpr auto& faded = VXp_G_Xfer1_Opacity_tableF;
  static constexpr auto& twice = VXp_G_Xfer1_Opacity2_tableF;
};

// Two optional opacities, which are multiplied. A missing one is 1.
struct Opacities {
  std::optional<double> first, second;
};

// Rounds to float before the scale is applied, like VX_TransferRect, which gets a float.
template <class Pixel>
VX_ChannelOf<Pixel> Weight(std::optional<double> opacity) {
  const auto single = static_cast<float>(opacity.value_or(1));
  if constexpr (std::is_same_v<Pixel, VX_PixelFloat>) return single;
  return static_cast<VX_ChannelOf<Pixel>>(double{single} * vx::PixelTraits<Pixel>::full_scale +
                                          0.5);
}

// Blends `s` into `d`. Both are contiguous arrays of ... x 4 in the order ARGB.
template <class Pixel>
void BlendAll(const py::array& s, const py::array& d, int32_t mode, const Opacities& opacities,
              const VX_LinearBlendingTables* tables) {
  using Tables = PixelTables<Pixel>;
  const auto plain = Tables::plain[mode];
  const auto faded = Tables::faded[mode];
  const auto twice = Tables::twice[mode];
  const auto first = Weight<Pixel>(opacities.first), second = Weight<Pixel>(opacities.second);
  const auto* from = static_cast<const Pixel*>(s.data());
  auto* to = static_cast<Pixel*>(const_cast<void*>(d.data()));
  const py::ssize_t count = d.size() / 4;
  Run([&] {
    for (py::ssize_t i = 0; i < count; ++i) {
      if (opacities.second) {
        twice(from + i, tables, first, second, to + i);
      } else if (opacities.first) {
        faded(from + i, tables, first, to + i);
      } else {
        plain(from + i, tables, to + i);
      }
    }
    return VX_Ok;
  });
}

std::optional<double> ParseOpacity(const char* name, const py::object& opacity) {
  if (opacity.is_none()) return std::nullopt;
  return ParseNumber(name, opacity, 0, 1);
}

void BlendPixels(const py::array& s, const py::array& d, const py::object& mode_arg,
                 const py::object& opacity, const py::object& opacity2,
                 const py::object& tables_arg) {
  const int32_t mode = ParseMode(mode_arg);
  if (mode < 0)
    throw py::value_error("mode: is not available for single pixels, only for pictures");
  const Opacities opacities{ParseOpacity("opacity", opacity), ParseOpacity("opacity2", opacity2)};
  const LinearTablesPtr tables = ParseTables(tables_arg);
  vx::visit_depth(DepthOf(d, "d"),
                  [&]<class Pixel> { BlendAll<Pixel>(s, d, mode, opacities, tables.get()); });
}

}  // namespace

void AddBlend(py::module_& module) {
  module.def("transfer", &Transfer);
  module.def("composite_rect", &CompositeRect);
  module.def("transfer_flags", &TransferFlags);
  module.def("modes", &ListModes);
  module.def("blend_pixels", &BlendPixels);
}

}  // namespace vxpy

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Transfer modes: whole pictures, and single pixels.

#include <pybind11/stl.h>

#include "Arguments.h"
#include "Errors.h"
#include "Layer.h"
#include "Pictures.h"
#include "Subjects.h"
#include "VX/VX_Blend.h"
#include "VX/VX_Transfer.h"

namespace vxpy {

namespace {

py::object Transfer(const py::object& dst, const py::object& src, const py::tuple& layer_words,
                    const py::object& at, const py::object& rect, const py::object& progress,
                    const py::object& out, const py::object& order_word) {
  const Order order = ParseOrder(order_word);
  const Place place = ParsePlace("at", at);
  const std::optional<M_Rect> area = ParseRect("rect", rect);
  const Source below(dst, order, "dst"), above(src, order, "src");
  RequireSameDepth(*below.world(), *above.world(), "dst", "src");
  Layer layer(LayerWords(layer_words), below, order);
  Progress polled(progress);
  Target target = Target::CopyOf(below, out);
  const WorldPtr source = target.Apart(above);
  const VX_MaskSpec* const mask = layer.MaskFor(target);
  Run(polled, [&] {
    return VX_TransferRect(polled.info(), /*quality=*/1, /*flags=*/0, layer.field(),
                           area ? &*area : nullptr, source->get(), &layer.mode(), layer.tables(),
                           mask, place.x, place.y, target.world());
  });
  return target.Finish();
}

std::vector<std::pair<int32_t, std::string>> ListModes() {
  std::vector<std::pair<int32_t, std::string>> list;
  for (const ModeName& mode : Modes()) list.emplace_back(mode.number, mode.name);
  return list;
}

// --- single pixels -------------------------------------------------------------------------------

template <class Pixel>
struct PixelTables;
template <>
struct PixelTables<VX_Pixel8> {
  static VX_Xfer1OpacityFunc<VX_Pixel8> Of(int32_t mode) {
    return VXp_G_Xfer1_Opacity_table8[mode];
  }
  static uint8_t Opacity(double o) { return static_cast<uint8_t>(o * 255 + 0.5); }
};
template <>
struct PixelTables<VX_Pixel16> {
  static VX_Xfer1OpacityFunc<VX_Pixel16> Of(int32_t mode) {
    return VXp_G_Xfer1_Opacity_table16[mode];
  }
  static uint16_t Opacity(double o) { return static_cast<uint16_t>(o * 32768 + 0.5); }
};
template <>
struct PixelTables<VX_PixelFloat> {
  static VX_Xfer1OpacityFunc<VX_PixelFloat> Of(int32_t mode) {
    return VXp_G_Xfer1_Opacity_tableF[mode];
  }
  static float Opacity(double o) { return static_cast<float>(o); }
};

// Both are contiguous arrays of ... x 4 in the order ARGB; the second is updated.
template <class Pixel>
void BlendAll(const py::array& s, const py::array& d, int32_t mode, double opacity,
              const VX_LinearBlendingTables* tables) {
  const auto function = PixelTables<Pixel>::Of(mode);
  const auto weight = PixelTables<Pixel>::Opacity(opacity);
  const auto* from = static_cast<const Pixel*>(s.data());
  auto* to = static_cast<Pixel*>(const_cast<void*>(d.data()));
  const py::ssize_t count = d.size() / 4;
  Run([&] {
    for (py::ssize_t i = 0; i < count; ++i) function(from + i, tables, weight, to + i);
    return VX_Ok;
  });
}

void BlendPixels(const py::array& s, const py::array& d, const py::object& mode_word,
                 const py::object& opacity_word, const py::object& tables_word) {
  const int32_t mode = ParseMode(mode_word);
  if (mode < 0) throw py::value_error("mode: only whole pictures have it, not single pixels");
  const double opacity = ParseNumber("opacity", opacity_word, 0, 1);
  const LinearTablesPtr tables = ParseTables(tables_word);
  switch (DepthOf(d, "d")) {
    case 8: return BlendAll<VX_Pixel8>(s, d, mode, opacity, tables.get());
    case 16: return BlendAll<VX_Pixel16>(s, d, mode, opacity, tables.get());
    default: return BlendAll<VX_PixelFloat>(s, d, mode, opacity, tables.get());
  }
}

}  // namespace

void AddBlend(py::module_& module) {
  module.def("transfer", &Transfer);
  module.def("modes", &ListModes);
  module.def("blend_pixels", &BlendPixels);
}

}  // namespace vxpy

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Transfer modes: whole pictures and single pixels.

#include <pybind11/stl.h>

#include "Arguments.h"
#include "Errors.h"
#include "LinearTables.h"
#include "Pictures.h"
#include "Subjects.h"
#include "VX/VX_Blend.h"
#include "VX/VX_Transfer.h"

namespace vxpy {

namespace {

int32_t ParseMaskUse(const py::object& word) {
  return ParseChoice("mask_use", word, {"alpha", "inverse-alpha", "luma", "inverse-luma"});
}

int16_t ParseShort(const char* name, int32_t number) {
  return static_cast<int16_t>(ParseWhole(name, py::int_(number), INT16_MIN, INT16_MAX));
}

py::object Transfer(const py::object& dst, const py::object& src, const py::object& mode,
                    const py::object& opacity, const py::object& at, const py::object& rect,
                    const py::object& mask, const py::object& mask_use, const py::object& mask_at,
                    const py::object& tables, bool keep_alpha, const py::object& seed,
                    const py::object& field, const py::object& progress, const py::object& out,
                    const py::object& order_word) {
  const Order order = ParseOrder(order_word);
  const LinearTablesPtr linear = ParseTables(tables);
  const VX_CompositeModePlus plus(
      ParseMode(mode), static_cast<float>(ParseNumber("opacity", opacity, 0, 1)), linear.get(),
      keep_alpha, static_cast<int32_t>(ParseWhole("seed", seed, INT32_MIN, INT32_MAX)));
  const int32_t rows = ParseField(field);
  const Place place = ParsePlace("at", at);
  const std::optional<M_Rect> area = ParseRect("rect", rect);
  const Source below(dst, order, "dst"), above(src, order, "src");
  RequireSameDepth(*below.world(), *above.world(), "dst", "src");
  std::optional<Source> matte;
  VX_MaskSpec spec{};
  if (!mask.is_none()) {
    matte.emplace(mask, order, "mask");
    RequireSameDepth(*below.world(), *matte->world(), "dst", "mask");
    const Place mask_place = ParsePlace("mask_at", mask_at);
    spec.offsetH = ParseShort("mask_at", mask_place.x);
    spec.offsetV = ParseShort("mask_at", mask_place.y);
    spec.what = ParseMaskUse(mask_use);
  }
  Progress polled(progress);
  Target target = Target::CopyOf(below, out);
  const WorldPtr source = target.Apart(above);
  const WorldPtr mask_world = matte ? target.Apart(*matte) : nullptr;
  if (mask_world) spec.world = mask_world->get();
  Run(polled, [&] {
    return VX_TransferRect(polled.info(), /*quality=*/1, /*flags=*/0, rows, area ? &*area : nullptr,
                           source->get(), &plus, linear.get(), mask_world ? &spec : nullptr,
                           place.x, place.y, target.world());
  });
  return target.Finish();
}

std::vector<std::pair<int32_t, std::string>> ListModes() {
  std::vector<std::pair<int32_t, std::string>> list;
  for (const ModeName& mode : Modes()) list.emplace_back(mode.number, mode.name);
  return list;
}

}  // namespace

void AddBlend(py::module_& module) {
  py::class_<LinearTables>(module, "LinearTables");
  module.def("transfer", &Transfer);
  module.def("modes", &ListModes);
}

}  // namespace vxpy

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Drawing of pictures through matrices.

#include "VX/VX_Transform.h"

#include <cstring>
#include <vector>

#include "Arguments.h"
#include "Errors.h"
#include "Layer.h"
#include "Pictures.h"
#include "Subjects.h"

namespace vxpy {

namespace {

// Parses one 3 x 3 matrix, or n x 3 x 3 matrices in time order.
std::vector<M_Matrix3> ParseMatrices(const py::object& object) {
  const auto array = py::array_t<double, py::array::c_style | py::array::forcecast>::ensure(object);
  if (!array) {
    PyErr_Clear();
    throw py::type_error("matrices: needs an array of numbers");
  }
  const py::ssize_t n = array.ndim();
  if ((n != 2 && n != 3) || array.shape(n - 1) != 3 || array.shape(n - 2) != 3 ||
      array.size() < 9 || array.size() > 9 * VX_Transform_MaxMatrices) {
    throw py::value_error("matrices: " + Describe(array) + "; needs 3 x 3 or n x 3 x 3, n 1..257");
  }
  std::vector<M_Matrix3> list(static_cast<size_t>(array.size() / 9));
  std::memcpy(list.data(), array.data(), list.size() * sizeof(M_Matrix3));
  return list;
}

py::object Transform(const py::object& dst, const py::object& src, const py::object& matrices,
                     const py::tuple& layer_args, const py::object& quality,
                     const py::object& inverse_arg, const py::object& rect,
                     const py::object& progress, const py::object& out,
                     const py::object& order_arg) {
  const bool inverse = ParseFlag("inverse", inverse_arg);
  const Order order = ParseOrder(order_arg);
  const std::vector<M_Matrix3> path = ParseMatrices(matrices);
  const int32_t level = ParseQuality(quality);
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
      return VX_TransformMotionLinear(polled.info(), level, layer.field(), source->get(),
                                      &layer.mode(), layer.curves(), mask, path.data(),
                                      static_cast<int32_t>(path.size()), inverse ? 0 : 1,
                                      area ? &*area : nullptr, target.world());
    }
    return VX_TransformMotion(polled.info(), level, layer.field(), source->get(), &layer.mode(),
                              layer.tables(), mask, path.data(), static_cast<int32_t>(path.size()),
                              inverse ? 0 : 1, area ? &*area : nullptr, target.world());
  });
  return target.Finish();
}

VX_TransformParts ParseParts(const py::tuple& args) {
  constexpr const char* kNames[] = {"anchor", "anchor", "scale",     "scale",    "skew",
                                    "skew",   "rotate", "translate", "translate"};
  double numbers[9];
  for (size_t i = 0; i < 9; ++i) {
    numbers[i] = ParseNumber(kNames[i], py::object(args[i]), -1e9, 1e9);
  }
  return {numbers[0], numbers[1], numbers[2], numbers[3], numbers[4],
          numbers[5], numbers[6], numbers[7], numbers[8]};
}

py::array_t<double> MatrixOfParts(const py::tuple& args) {
  const VX_TransformParts parts = ParseParts(args);
  M_Matrix3 matrix{};
  Run([&] { return VX_MatrixOfParts(&parts, &matrix); });
  return py::array_t<double>({3, 3}, matrix.m);
}

py::array_t<double> MatricesBetween(const py::tuple& from_words, const py::tuple& to_words,
                                    const py::object& count_arg) {
  const VX_TransformParts from = ParseParts(from_words), to = ParseParts(to_words);
  const auto count =
      static_cast<int32_t>(ParseWhole("count", count_arg, 1, VX_Transform_MaxMatrices));
  std::vector<M_Matrix3> list(static_cast<size_t>(count));
  Run([&] { return VX_MatricesBetween(&from, &to, count, list.data()); });
  return py::array_t<double>({count, 3, 3}, list[0].m);
}

}  // namespace

void AddTransform(py::module_& module) {
  module.def("transform", &Transform);
  module.def("matrix_of_parts", &MatrixOfParts);
  module.def("matrices_between", &MatricesBetween);
}

}  // namespace vxpy

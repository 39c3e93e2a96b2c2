// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Kernels, convolution and blurs.

#include <vector>

#include "Arguments.h"
#include "Errors.h"
#include "Pictures.h"
#include "Subjects.h"
#include "VX/VX_Blur.h"
#include "VX/VX_Convolve.h"

namespace vxpy {

namespace {

py::array_t<int32_t> GaussianKernel(const py::object& radius_arg,
                                    const py::object& one_dimensional_arg,
                                    const py::object& normalize_arg,
                                    const py::object& multiplier_arg) {
  const bool one_dimensional = ParseFlag("one_dimensional", one_dimensional_arg);
  const bool normalize = ParseFlag("normalize", normalize_arg);
  const double radius = ParseNumber("radius", radius_arg, 0, 4096);
  const double multiplier = ParseNumber("multiplier", multiplier_arg, -1e6, 1e6);
  const int32_t flags =
      (one_dimensional ? VX_Kernel_OneDimensional : 0) | (normalize ? VX_Kernel_Normalize : 0);
  std::vector<int32_t> weights(static_cast<size_t>(VX_GaussianKernelSize(radius, flags)));
  int32_t diameter = 0;
  Run([&] {
    return VX_GaussianKernel(nullptr, radius, flags, multiplier, &diameter, weights.data());
  });
  if (one_dimensional) return py::array_t<int32_t>(diameter, weights.data());
  return py::array_t<int32_t>({diameter, diameter}, weights.data());
}

// An integer kernel: two dimensions of odd size, or one dimension of odd length.
struct Kernel {
  std::vector<int32_t> weights;
  int32_t diameter = 0;
  bool one_dimensional = false;
};

Kernel ParseKernel(const char* name, const py::handle& object) {
  const py::array given = py::array::ensure(object);
  if (!given || (given.dtype().kind() != 'i' && given.dtype().kind() != 'u')) {
    PyErr_Clear();
    throw py::type_error(std::string(name) + ": needs an array of whole numbers (256 is 1)");
  }
  const bool line = given.ndim() == 1;
  if (!(line || (given.ndim() == 2 && given.shape(0) == given.shape(1))) ||
      given.shape(0) % 2 == 0 || given.shape(0) > 1023) {
    throw py::value_error(std::string(name) + ": " + Describe(given) +
                          "; a kernel is odd x odd or of one dimension, at most 1023 a side");
  }
  for (const char* extreme : {"min", "max"}) {
    ParseWhole(name, given.attr(extreme)(), INT32_MIN, INT32_MAX);
  }
  const auto array = py::array_t<int32_t, py::array::c_style | py::array::forcecast>(given);
  return {{array.data(), array.data() + array.size()}, static_cast<int32_t>(array.shape(0)), line};
}

py::object Convolve(const py::object& picture, const py::object& kernels,
                    const py::object& normalize_arg, const py::object& clamp_arg,
                    const py::object& axis, const py::object& progress, const py::object& out,
                    const py::object& order_arg) {
  const bool normalize = ParseFlag("normalize", normalize_arg);
  const bool clamp = ParseFlag("clamp", clamp_arg);
  const Order order = ParseOrder(order_arg);
  Kernel list[4];
  if (py::isinstance<py::tuple>(kernels)) {
    const auto four = kernels.cast<py::tuple>();
    if (four.size() != 4) {
      throw py::value_error("kernel: one, or a tuple of four in the order of the channels");
    }
    for (size_t i = 0; i < 4; ++i) {
      const size_t channel = order == Order::Argb ? i : (i + 1) % 4;
      list[channel] = ParseKernel("kernel", four[i]);
    }
  } else {
    list[0] = list[1] = list[2] = list[3] = ParseKernel("kernel", kernels);
  }
  for (const Kernel& kernel : list) {
    if (kernel.diameter != list[0].diameter || kernel.one_dimensional != list[0].one_dimensional) {
      throw py::value_error("kernel: the four kernels must have one shape");
    }
  }
  const bool down = ParseChoice("axis", axis, {"x", "y"}) == 1;
  const int32_t flags = (list[0].one_dimensional ? VX_Kernel_OneDimensional : 0) |
                        (normalize ? VX_Kernel_Normalize : 0) | (clamp ? 0 : VX_Kernel_NoClamp) |
                        (down ? VX_Kernel_Vertical : 0);
  const Source source(picture, order, "picture");
  const VX_World& from = *source.world();
  Progress polled(progress);
  Target target = Target::Sized(source, out, from.width, from.height, source.depth());
  const WorldPtr apart = target.WithoutOverlap(source);
  Run(polled, [&] {
    return VX_Convolve(polled.info(), apart->get(), nullptr, flags, list[0].diameter,
                       list[0].weights.data(), list[1].weights.data(), list[2].weights.data(),
                       list[3].weights.data(), target.world());
  });
  return target.Finish();
}

float ParseRadius(const char* name, const py::object& radius) {
  return static_cast<float>(ParseNumber(name, radius, 0, VX_Blur_MaxRadius));
}

int32_t ParseBlurFlags(const py::object& channels, const py::object& edge) {
  return ParseChannels(channels) |
         (ParseChoice("edge", edge, {"fade", "hold-level"}) == 1 ? VX_Blur_HoldLevel : 0);
}

py::object Blur(const py::object& picture, const py::object& radius_x, const py::object& radius_y,
                const py::object& kind, const py::object& iterations, const py::object& channels,
                const py::object& edge, const py::object& grow_arg, const py::object& progress,
                const py::object& out, const py::object& order_arg) {
  const bool grow = ParseFlag("grow", grow_arg);
  VX_BlurSpec spec{};
  spec.kind =
      ParseChoice("kind", kind, {"gaussian", "box"}) == 1 ? VX_BlurKind_Box : VX_BlurKind_Gaussian;
  spec.radius_x = ParseRadius("radius", radius_x);
  spec.radius_y = ParseRadius("radius", radius_y);
  spec.iterations = static_cast<int32_t>(ParseWhole("iterations", iterations, 1, INT32_MAX));
  spec.flags = ParseBlurFlags(channels, edge);
  const Source source(picture, ParseOrder(order_arg), "picture");
  int32_t reach_x = 0, reach_y = 0;
  if (grow) Run([&] { return VX_BlurReach(&spec, &reach_x, &reach_y); });
  const VX_World& from = *source.world();
  const int64_t wide = from.width + 2 * int64_t{reach_x};
  const int64_t high = from.height + 2 * int64_t{reach_y};
  if (wide > 30000 || high > 30000) {
    throw py::value_error("grow: the result has " + std::to_string(wide) + " x " +
                          std::to_string(high) + " pixels; at most 30000 a side");
  }
  Progress polled(progress);
  Target target = Target::Sized(source, out, static_cast<int32_t>(wide), static_cast<int32_t>(high),
                                source.depth());
  const WorldPtr apart = target.WithoutOverlap(source);
  VX_LayerDef placed = *target.world();
  placed.origin_x = apart->get()->origin_x - reach_x;
  placed.origin_y = apart->get()->origin_y - reach_y;
  Run(polled, [&] { return VX_BlurWorld(polled.info(), apart->get(), &spec, &placed); });
  return target.Finish();
}

// Implements vx.blur_pass: one pass along one axis, with all options.
py::object BlurPass(const py::object& picture, const py::object& radius_arg, const py::object& kind,
                    const py::object& iterations_arg, const py::object& channels,
                    const py::object& edge, const py::object& axis, const py::object& transpose_arg,
                    const py::object& src_premultiplied_arg,
                    const py::object& dst_premultiplied_arg, const py::object& progress,
                    const py::object& out, const py::object& order_arg) {
  const bool transpose = ParseFlag("transpose", transpose_arg);
  const bool src_premultiplied = ParseFlag("src_premultiplied", src_premultiplied_arg);
  const bool dst_premultiplied = ParseFlag("dst_premultiplied", dst_premultiplied_arg);
  const bool box = ParseChoice("kind", kind, {"gaussian", "box"}) == 1;
  const float radius = ParseRadius("radius", radius_arg);
  const auto iterations =
      static_cast<int32_t>(ParseWhole("iterations", iterations_arg, 1, INT32_MAX));
  const int32_t flags = ParseBlurFlags(channels, edge);
  const int32_t from_way =
      ParseChoice("axis", axis, {"x", "y"}) == 0 ? VX_Blur_AlongRows : VX_Blur_DownColumns;
  const int32_t to_way = transpose ? 1 - from_way : from_way;
  const Source source(picture, ParseOrder(order_arg), "picture");
  const VX_World& from = *source.world();
  Progress polled(progress);
  Target target = Target::Sized(source, out, transpose ? from.height : from.width,
                                transpose ? from.width : from.height, source.depth());
  const WorldPtr apart = target.WithoutOverlap(source);
  const int32_t src_mul = src_premultiplied ? 1 : 0, dst_mul = dst_premultiplied ? 1 : 0;
  Run(polled, [&] {
    if (box) {
      VX_BoxBlur1D(polled.info(), apart->get(), radius, iterations, flags, from_way, src_mul,
                   to_way, dst_mul, /*force_copy=*/0, target.world());
    } else {
      VX_GaussianBlur1D(polled.info(), apart->get(), radius, flags, from_way, src_mul, to_way,
                        dst_mul, /*force_copy=*/0, target.world());
    }
    return VX_Ok;
  });
  return target.Finish();
}

}  // namespace

void AddFilters(py::module_& module) {
  module.def("gaussian_kernel", &GaussianKernel);
  module.def("gaussian_value",
             [](const py::object& d) { return VXp_GaussianValue(ParseDouble("d", d)); });
  module.def("convolve", &Convolve);
  module.def("blur", &Blur);
  module.def("blur_pass", &BlurPass);
}

}  // namespace vxpy

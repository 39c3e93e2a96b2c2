// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Samplers, selected by name, at arrays of positions.

#include <pybind11/stl.h>

#include <algorithm>
#include <cmath>
#include <tuple>
#include <vector>

#include "Arguments.h"
#include "Errors.h"
#include "Pictures.h"
#include "Subjects.h"
#include "VX/VX_Sampling.h"

namespace vxpy {

namespace {

// The functions of a sampler at the three depths; null if it does not exist at a depth.
struct Sampler {
  const char* name;
  std::tuple<VX_SampleFunc<VX_Pixel8>, VX_SampleFunc<VX_Pixel16>, VX_SampleFunc<VX_PixelFloat>>
      routines;
  bool unclipped;  // requires all four neighbours inside the picture
};

template <class Pixel, VX_SampleWeightedFunc<Pixel> sampler>
VX_Err Weighted(VX_ProgressInfo* progress, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                Pixel* out) {
  VX_SubpixelWeights weights;
  VX_SubpixelSampleComputeWeight(static_cast<uint16_t>(x), static_cast<uint16_t>(y), &weights);
  return sampler(progress, x, y, &weights, record, out);
}

template <class Pixel, VX_SampleSpanFunc<Pixel> sampler>
VX_Err SpanOfOne(VX_ProgressInfo* progress, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                 Pixel* out) {
  VX_AlphaSumOf<Pixel> sum = 0;
  return sampler(progress, 1, x, y, record, &sum, out);
}

VX_Err OneOfFour(VX_ProgressInfo* progress, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                 VX_Pixel8* out) {
  const VX_Fixed positions[8] = {x, y, x, y, x, y, x, y};
  VX_Pixel8 four[4];
  const VX_Err code = VX_SubpixelSampleNoClip_Straight_4(progress, positions, record, four);
  *out = four[0];
  return code;
}

VX_Err OneOfFourWeighted(VX_ProgressInfo* progress, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                         VX_Pixel8* out) {
  const VX_Fixed positions[8] = {x, y, x, y, x, y, x, y};
  VX_SubpixelWeights weights;
  VX_SubpixelSampleComputeWeight(static_cast<uint16_t>(x), static_cast<uint16_t>(y), &weights);
  VX_Pixel8 four[4];
  const VX_Err code =
      VX_SubpixelSampleTranslateNoClip_Straight_4(progress, positions, &weights, record, four);
  *out = four[0];
  return code;
}

const Sampler kSamplers[] = {
    {"nearest", {VX_NNSample, VX_NNSample16, VX_NNSampleFloat}, false},
    {"bilinear",
     {VX_SubpixelSample_Straight, VX_SubpixelSample_Straight16, VX_SubpixelCPlusPlusFloat},
     false},
    {"bilinear-premultiplied",
     {VX_SubpixelSample_Premul, VX_SubpixelSample_Premul16, VX_SubpixelSample_PremulFloat},
     false},
    {"bilinear-portable",
     {VX_SubpixelCPlusPlus, VX_SubpixelCPlusPlus16, VX_SubpixelCPlusPlusFloat},
     false},
    {"box",
     {VX_AreaSample_Straight, VX_AreaSample_Straight16, VX_AreaSample_CPlusPlus<VX_PixelFloat>},
     false},
    {"box-premultiplied",
     {VX_AreaSample_Premul, VX_AreaSample_Premul16, VX_AreaSample_PremulFloat},
     false},
    {"inside",
     {VX_SubpixelSampleNoClip_Straight, VX_SubpixelSampleNoClip_Straight16,
      VX_SubpixelCPlusPlusNoClipFloat},
     true},
    {"inside-sse2", {VX_SubpixelSampleNoClip_Straight_SSE2, nullptr, nullptr}, true},
    {"inside-four", {OneOfFour, nullptr, nullptr}, true},
    {"inside-portable",
     {VX_SubpixelCPlusPlusNoClip, VX_SubpixelCPlusPlusNoClip16, VX_SubpixelCPlusPlusNoClipFloat},
     true},
    {"inside-weighted",
     {Weighted<VX_Pixel8, VX_SubpixelSampleTranslateNoClip_Straight>,
      Weighted<VX_Pixel16, VX_SubpixelSampleTranslateNoClip_Straight16>,
      Weighted<VX_PixelFloat, VX_SubpixelSampleTranslateNoClipCPlusPlusFloat>},
     true},
    {"inside-four-weighted", {OneOfFourWeighted, nullptr, nullptr}, true},
    {"inside-span",
     {SpanOfOne<VX_Pixel8, VX_SubpixelSpanSampleTranslateNoClip_Straight>,
      SpanOfOne<VX_Pixel16, VX_SubpixelSpanSampleTranslateNoClip_Straight16>,
      SpanOfOne<VX_PixelFloat, VX_SubpixelSpanSampleCPlusPlusFloat>},
     true},
    {"inside-span-portable",
     {SpanOfOne<VX_Pixel8, VX_SubpixelSpanSampleCPlusPlus>,
      SpanOfOne<VX_Pixel16, VX_SubpixelSpanSampleCPlusPlus16>,
      SpanOfOne<VX_PixelFloat, VX_SubpixelSpanSampleCPlusPlusFloat>},
     true},
};

const Sampler& Named(const py::object& word) {
  std::string all;
  for (const Sampler& sampler : kSamplers) {
    if (py::isinstance<py::str>(word) && std::string(py::str(word)) == sampler.name) {
      return sampler;
    }
    all += std::string(all.empty() ? "" : ", ") + sampler.name;
  }
  throw py::value_error("sampler: no " + std::string(py::repr(word)) + "; there are " + all);
}

// Positions in 16.16.
struct Positions {
  std::vector<VX_Fixed> x, y;
};

VX_Fixed ParseCoordinate(double value, int32_t side, bool unclipped) {
  if (!(value > -32768 && value < 32767)) {
    if (value != value) throw py::value_error("x, y: not a number");
    throw py::value_error("x, y: positions are -32768..32767");
  }
  const auto fixed = static_cast<VX_Fixed>(std::floor(value * 65536 + 0.5));
  if (unclipped && (fixed < 0 || (fixed >> 16) + 1 >= side)) {
    throw py::value_error("x, y: this sampler needs all four neighbours inside the picture");
  }
  return fixed;
}

Positions ParsePositions(const py::array_t<double>& x, const py::array_t<double>& y,
                         const VX_World& world, bool unclipped) {
  const auto count = static_cast<size_t>(x.size());
  Positions positions{std::vector<VX_Fixed>(count), std::vector<VX_Fixed>(count)};
  for (size_t i = 0; i < count; ++i) {
    positions.x[i] = ParseCoordinate(x.data()[i], world.width, unclipped);
    positions.y[i] = ParseCoordinate(y.data()[i], world.height, unclipped);
  }
  return positions;
}

template <class Pixel>
void SampleAll(VX_SampleFunc<Pixel> sampler, const VX_SampPB& record, const Positions& positions,
               const py::array& out) {
  auto* const pixels = static_cast<Pixel*>(const_cast<void*>(out.data()));
  Run([&] {
    for (size_t i = 0; i < positions.x.size(); ++i) {
      sampler(nullptr, positions.x[i], positions.y[i], &record, pixels + i);
    }
    return VX_Ok;
  });
}

// Samples at the positions x, y (contiguous 1-D arrays of equal length). Returns count x 4 in ARGB.
py::array Sample(const py::object& picture, const py::array_t<double>& x,
                 const py::array_t<double>& y, const py::object& name, const py::object& radius_x,
                 const py::object& radius_y, const py::object& order_arg) {
  const Sampler& sampler = Named(name);
  const double wide = ParseNumber("radius", radius_x, 0, 127);
  const double high = ParseNumber("radius", radius_y, 0, 127);
  const Source source(picture, ParseOrder(order_arg), "picture");
  VX_World* const world = source.world();
  const Positions positions = ParsePositions(x, y, *world, sampler.unclipped);
  VX_SampPB record{};
  record.x_radius = static_cast<VX_Fixed>(wide * 65536 + 0.5);
  record.y_radius = static_cast<VX_Fixed>(high * 65536 + 0.5);
  record.area = static_cast<VX_Fixed>(std::min(4 * wide * high * 65536, 2147483647.0));
  record.src = world;
  return vx::visit_depth(source.depth(), [&]<class Pixel> {
    const auto routine = std::get<VX_SampleFunc<Pixel>>(sampler.routines);
    if (routine == nullptr) {
      throw py::value_error("sampler: \"" + std::string(sampler.name) + "\" is for 8 bits only");
    }
    py::array out(TypeOf(source.depth()), {x.size(), py::ssize_t{4}});
    SampleAll(routine, record, positions, out);
    return out;
  });
}

template <class Pixel>
void SampleAllIn(VX_SampleAllInFunc<Pixel> sampler, VX_World* world, const Positions& positions,
                 const py::array& out, uint8_t* inside) {
  VX_SampPB record{};
  record.src = world;
  auto* const pixels = static_cast<Pixel*>(const_cast<void*>(out.data()));
  Run([&] {
    for (size_t i = 0; i < positions.x.size(); ++i) {
      sampler(nullptr, positions.x[i], positions.y[i], &record, inside + i, pixels + i);
    }
    return VX_Ok;
  });
}

// Returns (count x 4 in ARGB, count bytes: 1 if all four neighbours are inside).
py::tuple SampleWithInside(const py::object& picture, const py::array_t<double>& x,
                           const py::array_t<double>& y, const py::object& order_arg) {
  const Source source(picture, ParseOrder(order_arg), "picture");
  VX_World* const world = source.world();
  const Positions positions = ParsePositions(x, y, *world, /*unclipped=*/false);
  py::array out(TypeOf(source.depth()), {x.size(), py::ssize_t{4}});
  py::array_t<uint8_t> inside(x.size());
  uint8_t* const flags = inside.mutable_data();
  constexpr std::tuple<VX_SampleAllInFunc<VX_Pixel8>, VX_SampleAllInFunc<VX_Pixel16>,
                       VX_SampleAllInFunc<VX_PixelFloat>>
      routines{&VX_SubpixelSamplePlus_Straight, &VX_SubpixelSamplePlus_Straight16,
               &VX_SubpixelSpanSampleAllInCPlusPlusFloat};
  vx::visit_depth(source.depth(), [&]<class Pixel> {
    SampleAllIn(std::get<VX_SampleAllInFunc<Pixel>>(routines), world, positions, out, flags);
  });
  return py::make_tuple(out, inside);
}

std::vector<std::string> Names() {
  std::vector<std::string> names;
  for (const Sampler& sampler : kSamplers) names.emplace_back(sampler.name);
  return names;
}

}  // namespace

void AddSamples(py::module_& module) {
  module.def("sample", &Sample);
  module.def("sample_all_in", &SampleWithInside);
  module.def("samplers", &Names);
}

}  // namespace vxpy

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Random commands of convolution, blurs and transforms.

#include <array>

#include "WorldCalls.h"

// --- filters -------------------------------------------------------------------------------------

inline VX_Err Run(Command& c, VX_ConvolveFunc f) {
  int32_t flags = c.Below(64);
  const bool row = (flags & VX_Kernel_OneDimensional) != 0;
  int32_t size = row ? c.Pick({1, 3, 5, 9, 65}) : c.Pick({1, 3, 3, 5, 9});
  const bool wide = c.OneIn(4), alike = c.Flag();
  const int32_t* kernels[4];
  for (int i = 0; i < 4; ++i) {
    if (i > 0 && alike) {
      kernels[i] = kernels[0];
      continue;
    }
    std::vector<int32_t> kernel(static_cast<size_t>(row ? size : size * size));
    for (int32_t& weight : kernel) {
      weight = wide ? static_cast<int32_t>(c.Word()) : c.Between(-200, 400);
    }
    kernels[i] = c.Sometimes(c.Input(kernel));
    if (kernels[i] == nullptr) c.must_be_refused = true;
  }
  if (c.OneIn(40)) {
    size = c.Pick({-1, 0, 2, 4});
    c.must_be_refused = true;
  }
  c.Log("flags %d, size %d, wide %d\n", flags, size, wide);
  return With(f, std::tuple{c.Progress(), c.Hostile(c.Source()), c.Rect(), flags, size, kernels[0],
                            kernels[1], kernels[2], kernels[3], c.Hostile(c.Destination())});
}

inline VX_Err Run(Command& c, VX_FastBlurFunc f) {
  return With(f, std::tuple{nullptr, c.Source(), static_cast<float>(c.Real(0, 9)),
                            int32_t{VX_Blur_AllChannels}, c.Destination()});
}

// Source and destination of a blur are placed by their origins.
inline void PlaceAnywhere(Command& c, VX_LayerDef* world) {
  if (c.Flag()) return;
  world->origin_x = c.Between(-5, 5);
  world->origin_y = c.OneIn(30) ? 1000000 : c.Between(-4, 4);
}
inline float AnyRadius(Command& c) {
  const double radius = c.OneIn(3)    ? c.Pick({0.0, 0.5, 1.0, 2.0, 3.0})
                        : c.OneIn(20) ? c.Pick({-1.0, 1e9, 300.0, static_cast<double>(NAN)})
                                      : c.Real(0, c.OneIn(4) ? 40 : 6);
  c.Log("radius %g\n", radius);
  return static_cast<float>(radius);
}

// A pass of a Gaussian, or of boxes: the arguments after the radius, drawn in their order.
template <class Function>
VX_Err BlurPass(Command& c, Function f, VX_LayerDef* src, VX_LayerDef* dst, float radius,
                int32_t iterations, std::array<int32_t, 2> direction) {
  // Some code serves blurs of all channels only.
  const int32_t channels = c.Flag() ? VX_Blur_AllChannels : 0;
  const std::array<int32_t, 4> d = {c.Below(32) | channels, c.Below(2), c.Below(2), c.Below(2)};
  const auto force_copy = static_cast<uint8_t>(d[3]);
  VX_ProgressInfo* const progress = c.FreeProgress();
  return AsObject(src, [&](auto& in) {
    return AsObject(dst, [&](auto& out) {
      if constexpr (std::is_same_v<Function, decltype(&VX_BoxBlur1D)>) {
        f(progress, &in, radius, iterations, d[0], direction[0], d[1], direction[1], d[2],
          force_copy, &out);
      } else {
        f(progress, &in, radius, d[0], direction[0], d[1], direction[1], d[2], force_copy, &out);
      }
      return VX_Ok;
    });
  });
}
template <class Function>
VX_Err AnyPass(Command& c, Function f) {
  VX_LayerDef* const src = c.Source();
  VX_LayerDef* const dst = c.Destination();
  PlaceAnywhere(c, src), PlaceAnywhere(c, dst);
  const float radius = AnyRadius(c);
  const int32_t iterations = c.OneIn(30) ? 0 : 1 + c.Below(3);
  return BlurPass(c, f, src, dst, radius, iterations, {c.Below(2), c.Below(2)});
}
inline VX_Err Run(Command& c, decltype(&VX_GaussianBlur1D) f) { return AnyPass(c, f); }
inline VX_Err Run(Command& c, decltype(&VX_BoxBlur1D) f) { return AnyPass(c, f); }
// One pass over sizes that small worlds do not reach: numbers of lines around full tiles of
// columns, or radii up to the largest with lines as long as their windows.
template <class Function>
VX_Err LargePass(Command& c, Function f) {
  const bool many = c.Flag(), longest = !many && c.OneIn(10);
  const int32_t row = c.depth / 2, tile = c.Pick({4, 256 / row, 512 / row});
  const int32_t lines = many ? c.Pick({16, 16, 18}) * tile + c.Between(-1, 1) : c.Between(1, 9);
  const float radius = many      ? c.Pick({1.0f, 2.0f, 63.0f, 64.0f, 3.4f})
                       : longest ? c.Pick({1400.75f, 4400.5f})
                                 : c.Pick({5000.5f, VX_Blur_MaxRadius});
  const int32_t iterations = longest ? 1 : c.Between(1, 2), from = c.Below(2), to = c.Below(2);
  const auto world = [&](Use use, bool down, int32_t length) {
    return c.World(use, c.depth, down ? lines : length, down ? length : lines);
  };
  VX_LayerDef* const src = world(Use::kInput, from != 0, longest ? 9001 : c.Between(1, 40));
  VX_LayerDef* const dst = world(Use::kOutput, to != 0, c.Between(1, 9));
  (to != 0 ? dst->origin_y : dst->origin_x) = longest ? 4496 : c.Between(-4, 4);
  c.Log("radius %g, iterations %d, directions %d%d\n", static_cast<double>(radius), iterations,
        from, to);
  return BlurPass(c, f, src, dst, radius, iterations, {from, to});
}

inline VX_Err Run(Command& c, decltype(&VX_BlurWorld) f) {
  const int32_t kind = c.OneIn(40) ? c.Pick({-1, 2}) : c.Below(2);
  const float radius_x = AnyRadius(c), radius_y = AnyRadius(c);
  const VX_BlurSpec spec{kind, radius_x, radius_y, c.OneIn(40) ? 0 : 1 + c.Below(3), c.Below(32)};
  VX_LayerDef* const src = c.Source();
  VX_LayerDef* const dst = c.Destination();
  PlaceAnywhere(c, src), PlaceAnywhere(c, dst);
  return With(f, std::tuple{c.FreeProgress(), c.Hostile(src), c.Sometimes(&spec), c.Hostile(dst)});
}

// --- transforms ----------------------------------------------------------------------------------

inline VX_TransformParts AnyParts(Command& c, int32_t kind) {
  VX_TransformParts p;
  p.translate_x = c.Real(-30, 30);
  p.translate_y = c.Real(-6, 6);
  if (c.Flag()) p.translate_x = std::floor(p.translate_x);
  if (c.Flag()) p.translate_y = std::floor(p.translate_y);
  if (kind == 0) return p;
  p.anchor_x = c.Real(0, 20);
  p.anchor_y = c.Real(0, 10);
  if (kind != 2) p.scale_x = kind == 1 ? c.Real(0.1, 1) : c.Real(-3, 3);
  if (kind != 2) p.scale_y = kind == 1 ? c.Real(0.1, 1) : c.Real(-3, 3);
  if (kind >= 2) p.rotation = kind == 2 ? 45 * c.Below(8) : c.Real(-180, 180);
  if (kind == 4) p.skew_x = c.Real(-1, 1);
  return p;
}

// Makes a path curved or very long, or lets it stay at one matrix but for a rounding error or
// slightly more. A step that differs by 0.9 pixels from the one before it makes a curve.
inline void Bend(Command& c, std::vector<M_Matrix3>* path) {
  const double last = static_cast<double>(path->size()) - 1;
  const double change = c.Pick({0.0, 0.0, 0.85, 0.95, 0.95, 0.95, c.Real(0, 16 / (last * last))});
  const int32_t axis = c.OneIn(3) ? 7 : 6;
  for (double i = 0; i <= last; ++i) {
    (*path)[static_cast<size_t>(i)].m[axis] += change / 2 * i * (last - i);
  }
  if (c.OneIn(16)) {  // also where positions of 32 bits would wrap
    path->front().m[6 + c.Below(2)] += 65536.0 * c.Between(-2, 2) * c.Pick({1, 10000});
  }
  if (!c.OneIn(8)) return;
  path->assign(path->size(), path->front());
  path->back().m[6] += c.Flag() ? 1e-13 : 1e-11;
}

// Fills a path with quarter turns and mirrors that move pixels to pixels: in equal steps, or not.
inline void MoveExactly(Command& c, std::vector<M_Matrix3>* path) {
  const int32_t step = c.Pick({0, 1, 16, 32});
  for (size_t i = 0; i < path->size(); ++i) {
    VX_TransformParts p;
    p.scale_x = c.Pick({-1.0, 1.0});
    p.rotation = 90 * c.Below(4);
    p.translate_x = c.Between(-4, 30);
    p.translate_y = c.Between(-4, 12);
    VX_MatrixOfParts(&p, &(*path)[i]);
    if (step == 0 || i == 0) continue;
    (*path)[i] = (*path)[i - 1];
    (*path)[i].m[6] += step;
  }
}

// One matrix, or several of a motion; some with a slight perspective or another last number than 1,
// the first sometimes without an inverse.
inline std::vector<M_Matrix3> AnyMatrices(Command& c, int32_t count) {
  const int32_t kind = c.Below(5);
  const VX_TransformParts from = AnyParts(c, kind);
  VX_TransformParts to = AnyParts(c, kind);
  if (count > 1 && c.Flag()) {  // a picture that keeps its shape
    const double x = to.translate_x, y = to.translate_y;
    to = from;
    to.translate_x = x;
    to.translate_y = y;
  }
  std::vector<M_Matrix3> matrices(static_cast<size_t>(count));
  VX_MatricesBetween(&from, &to, count, matrices.data());
  if (count > 1) Bend(c, &matrices);
  const bool perspective = c.OneIn(16);
  for (M_Matrix3& matrix : matrices) {
    if (perspective) matrix.m[2] = 0.002, matrix.m[5] = -0.001;
  }
  if (c.OneIn(6)) MoveExactly(c, &matrices);
  if (c.OneIn(8) && matrices[0].m[2] == 0) {
    for (M_Matrix3& matrix : matrices) {
      const double factor = c.Pick({0.5, 3.0, -2.0});
      for (double& entry : matrix.m) entry *= factor;
    }
  }
  if (c.OneIn(32)) matrices.front() = M_Matrix3{{1, 1, 0, 1, 1, 0, 0, 0, 1}};
  for (const double number : matrices[0].m) c.Log("  %.17g\n", number);
  return matrices;
}

inline VX_Err Transform(Command& c, VX_TransformWorldFunc f, int32_t count) {
  const VX_CompositeModePlus mode = ModePlus(c);
  const VX_MaskSpec mask = Mask(c);
  const bool masked = c.OneIn(3) || (mode.mode == VX_Xfer_MaskMix && !c.OneIn(20));
  std::vector<M_Matrix3> matrices = AnyMatrices(c, count);
  const auto src2dst = static_cast<uint8_t>(c.Below(2));
  for (M_Matrix3& m : matrices) {
    bool has_inverse = false;
    if (src2dst == 0) M_InverseMatrixQuiet(m, &m, &has_inverse);
  }
  return With(f,
              std::tuple{c.FreeProgress(), c.Below(4) == 0 ? 0 : 1, 0, c.OneIn(3) ? c.Below(3) : 0,
                         c.Hostile(c.Source()), &mode, Tables(c), masked ? &mask : nullptr,
                         matrices.data(), count, src2dst, c.Rect(), c.Hostile(c.Destination())});
}
inline VX_Err Run(Command& c, VX_TransformWorldFunc f) { return Transform(c, f, 1); }
inline VX_Err Motion(Command& c, VX_TransformWorldFunc f) {
  return Transform(c, f, 2 + c.Below(c.Flag() ? 2 : 18));
}

// --- kernels -------------------------------------------------------------------------------------

inline VX_Err Run(Command& c, VX_GaussianKernelFunc f) {
  const double radius =
      c.OneIn(8) ? c.Pick({0.0, 1.0, -1.0, static_cast<double>(NAN), 65537.0}) : c.Real(0, 9);
  const int32_t flags = c.Below(4);
  const double multiplier =
      c.OneIn(8) ? c.Pick({0.0, -1.0, static_cast<double>(INFINITY), 300.0}) : c.Real(0, 2);
  c.Log("radius %g, flags %d, multiplier %g\n", radius, flags, multiplier);
  std::vector<int32_t> kernel(1024, 7);
  int32_t diameter = -7;
  const VX_Err error = f(nullptr, radius, flags, multiplier, &diameter, kernel.data());
  c.GaveNumbers("diameter", &diameter, 1);
  c.GaveNumbers("kernel", kernel.data(), kernel.size());
  return error;
}

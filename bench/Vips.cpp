// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "Peers.h"

#ifdef VX_BENCH_VIPS

#include <vips/vips.h>

#include <cmath>
#include <cstring>
#include <numeric>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

VipsBandFormat FormatOf(const VX_LayerDef& world) {
  const int32_t depth = VXp_WorldDepth(&world);
  if (depth == 8) return VIPS_FORMAT_UCHAR;
  return depth == 16 ? VIPS_FORMAT_USHORT : VIPS_FORMAT_FLOAT;
}

void Expect(bool good) {
  if (!good) throw std::runtime_error(std::string("libvips: ") + vips_error_buffer());
}

VipsImage* Wrap(const VX_LayerDef& world) {
  const size_t size = static_cast<size_t>(world.rowbytes) * static_cast<size_t>(world.height);
  VipsImage* const image =
      vips_image_new_from_memory(world.data, size, world.width, world.height, 4, FormatOf(world));
  Expect(image != nullptr);
  return image;
}

// Computes and frees an image. If `dst` is null, its pixels are discarded.
void Compute(VipsImage* image, const VX_LayerDef* dst) {
  size_t written = 0;
  void* const pixels = vips_image_write_to_memory(image, &written);
  g_object_unref(image);
  Expect(pixels != nullptr);
  if (dst != nullptr) {
    const size_t size = static_cast<size_t>(dst->rowbytes) * static_cast<size_t>(dst->height);
    if (written != size) throw std::runtime_error("libvips gave another type");
    std::memcpy(dst->data, pixels, size);
  }
  g_free(pixels);
}

void Cast(const VX_LayerDef& src, const VX_LayerDef& dst) {
  VipsImage* const in = Wrap(src);
  VipsImage* out = nullptr;
  const bool floats = FormatOf(src) == VIPS_FORMAT_FLOAT || FormatOf(dst) == VIPS_FORMAT_FLOAT;
  const bool cast =
      vips_cast(in, &out, FormatOf(dst), "shift", floats ? FALSE : TRUE, nullptr) == 0;
  g_object_unref(in);
  Expect(cast);
  Compute(out, nullptr);
}

VipsPrecision PrecisionOf(const VX_LayerDef& world) {
  return FormatOf(world) == VIPS_FORMAT_FLOAT ? VIPS_PRECISION_FLOAT : VIPS_PRECISION_INTEGER;
}

void Gaussian(const VX_LayerDef& src, const VX_LayerDef& dst, int32_t radius) {
  VipsImage* const in = Wrap(src);
  VipsImage* out = nullptr;
  // libvips ends the kernel where the Gaussian is below `min_ampl`. This value is between the last
  // weight of the window and the next one.
  const double end = (radius + 0.5) / SigmaOf(radius);
  const bool good =
      vips_gaussblur(in, &out, SigmaOf(radius), "min_ampl", std::exp(-0.5 * end * end), "precision",
                     PrecisionOf(src), nullptr) == 0;
  g_object_unref(in);
  Expect(good);
  Compute(out, &dst);
}

void Convolve(const VX_LayerDef& src, const VX_LayerDef& dst, int32_t size, const int32_t* kernel) {
  const std::vector<double> weights(kernel, kernel + size * size);
  VipsImage* const mask = vips_image_new_matrix_from_array(size, size, weights.data(), size * size);
  Expect(mask != nullptr);
  vips_image_set_double(mask, "scale", std::accumulate(weights.begin(), weights.end(), 0.0));
  VipsImage* const in = Wrap(src);
  VipsImage* out = nullptr;
  const bool good = vips_conv(in, &out, mask, "precision", PrecisionOf(src), nullptr) == 0;
  g_object_unref(in);
  g_object_unref(mask);
  Expect(good);
  Compute(out, &dst);
}

void Warp(const VX_LayerDef& src, const VX_LayerDef& dst, const M_Matrix3& to_src) {
  const M_Matrix3 matrix = Inverse(to_src);
  const double(&m)[9] = matrix.m;
  VipsImage* const in = Wrap(src);
  VipsImage* out = nullptr;
  VipsArrayInt* const area = vips_array_int_newv(4, 0, 0, dst.width, dst.height);
  VipsInterpolate* const bilinear = vips_interpolate_new("bilinear");
  // "premultiplied" prevents libvips from weighting colours by the fourth channel as alpha.
  const bool good = vips_affine(in, &out, m[0], m[3], m[1], m[4], "odx", m[6], "ody", m[7], "oarea",
                                area, "interpolate", bilinear, "premultiplied", TRUE, nullptr) == 0;
  g_object_unref(bilinear);
  vips_area_unref(VIPS_AREA(area));
  g_object_unref(in);
  Expect(good);
  Compute(out, &dst);
}

void Shrink(const VX_LayerDef& src, const VX_LayerDef& dst, int32_t factor) {
  VipsImage* const in = Wrap(src);
  VipsImage* out = nullptr;
  const bool good = vips_shrink(in, &out, factor, factor, nullptr) == 0;
  g_object_unref(in);
  Expect(good);
  Compute(out, &dst);
}

}  // namespace

const VipsPeer* Vips() {
  static const VipsPeer peer = [] {
    Expect(vips_init("vx_bench") == 0);
    vips_concurrency_set(1);
    vips_cache_set_max(0);  // every call computes its result anew
    return VipsPeer{&Cast, &Gaussian, &Convolve, &Warp, &Shrink};
  }();
  return &peer;
}

#else

const VipsPeer* Vips() { return nullptr; }

#endif

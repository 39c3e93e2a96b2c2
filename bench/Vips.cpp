// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "Peers.h"

#ifdef VX_BENCH_VIPS

#include <vips/vips.h>

#include <stdexcept>
#include <string>

namespace {

VipsBandFormat FormatOf(const VX_LayerDef& world) {
  const int32_t depth = VXp_WorldDepth(&world);
  if (depth == 8) return VIPS_FORMAT_UCHAR;
  return depth == 16 ? VIPS_FORMAT_USHORT : VIPS_FORMAT_FLOAT;
}

void Expect(bool good) {
  if (!good) throw std::runtime_error(std::string("libvips: ") + vips_error_buffer());
}

void Cast(const VX_LayerDef& src, const VX_LayerDef& dst) {
  const size_t size = static_cast<size_t>(src.rowbytes) * static_cast<size_t>(src.height);
  VipsImage* const in =
      vips_image_new_from_memory(src.data, size, src.width, src.height, 4, FormatOf(src));
  Expect(in != nullptr);
  VipsImage* out = nullptr;
  const bool floats = FormatOf(src) == VIPS_FORMAT_FLOAT || FormatOf(dst) == VIPS_FORMAT_FLOAT;
  const bool cast =
      vips_cast(in, &out, FormatOf(dst), "shift", floats ? FALSE : TRUE, nullptr) == 0;
  g_object_unref(in);
  Expect(cast);
  size_t written = 0;
  void* const pixels = vips_image_write_to_memory(out, &written);
  g_object_unref(out);
  Expect(pixels != nullptr);
  g_free(pixels);
}

}  // namespace

const VipsPeer* Vips() {
  static const VipsPeer peer = [] {
    Expect(vips_init("vx_bench") == 0);
    vips_concurrency_set(1);
    vips_cache_set_max(0);  // every call does its work
    return VipsPeer{&Cast};
  }();
  return &peer;
}

#else

const VipsPeer* Vips() { return nullptr; }

#endif

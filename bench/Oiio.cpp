// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "Peers.h"

#ifdef VX_BENCH_OIIO

#include <OpenImageIO/imagebuf.h>
#include <OpenImageIO/imagebufalgo.h>

#include <stdexcept>

#include "VX/cpp/View.hpp"

namespace {

// An image that uses the memory of the world.
OIIO::ImageBuf Wrap(const VX_LayerDef& world) {
  const auto type = vx::visit_depth(VXp_WorldDepth(&world), []<class Pixel>() -> OIIO::TypeDesc {
    return OIIO::BaseTypeFromC<VX_ChannelOf<Pixel>>::value;
  });
  return OIIO::ImageBuf(OIIO::ImageSpec(world.width, world.height, 4, type), world.data);
}

// The matrix for OpenImageIO: from source to destination, with pixel centres at .5.
struct Corners {
  explicit Corners(const M_Matrix3& to_src) {
    const M_Matrix3 to_dst = Inverse(to_src);
    const M_Matrix3 before{{1, 0, 0, 0, 1, 0, -0.5, -0.5, 1}},
        after{{1, 0, 0, 0, 1, 0, 0.5, 0.5, 1}};
    M_Matrix3 all{};
    M_ConcatMatrix(before, to_dst, &all);
    M_ConcatMatrix(all, after, &all);
    for (int i = 0; i < 9; ++i) m[i / 3][i % 3] = static_cast<float>(all.m[i]);
  }
  float m[3][3];
};

void Filtered(const char* filter, float width, const VX_LayerDef& src, const VX_LayerDef& dst,
              const M_Matrix3& to_src) {
  const Corners corners(to_src);
  OIIO::ImageBuf to = Wrap(dst);
  if (!OIIO::ImageBufAlgo::warp(to, Wrap(src), corners.m, filter, width, false,
                                OIIO::ImageBuf::WrapBlack, {}, 1)) {
    throw std::runtime_error("OpenImageIO: " + to.geterror());
  }
  if (to.localpixels() != dst.data) {
    throw std::runtime_error("OpenImageIO did not write to the destination");
  }
}

void Warp(const VX_LayerDef& src, const VX_LayerDef& dst, const M_Matrix3& to_src) {
  Filtered("triangle", 2.0f, src, dst, to_src);
}

void Box(const VX_LayerDef& src, const VX_LayerDef& dst, const M_Matrix3& to_src) {
  Filtered("box", 1.0f, src, dst, to_src);
}

}  // namespace

const OiioPeer* Oiio() {
  static const OiioPeer peer = [] {
    OIIO::attribute("threads", 1);
    return OiioPeer{&Warp, &Box};
  }();
  return &peer;
}

#else

const OiioPeer* Oiio() { return nullptr; }

#endif

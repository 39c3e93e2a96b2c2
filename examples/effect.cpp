// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// An effect that finds suites by name and draws with them, and the program that calls it. The
// effect calls no function of the library by name, so an effect in a file of its own does not link
// to the library.

#include <VX/VX_Suites.h>
#include <host/VXHost.h>

#include <VX/VX.hpp>
#include <cstdio>

namespace {

// --- the effect ----------------------------------------------------------------------------------

using FindSuite = const void* (*)(const char* name, int32_t version, int32_t* members);

// Returns a suite; null if the application does not have it.
template <class Suite>
const Suite* Find(FindSuite find) {
  int32_t members = 0;
  const void* const table = find(Suite::kName, Suite::kVersion, &members);
  return static_cast<const Suite*>(table);
}

// Makes the world red, and divides the lightness in column x by 1 + 2 x.
VX_Err DrawRamp(FindSuite find, VX_LayerDef* world) {
  const auto* const fill = Find<VX_FillMatteSuite2>(find);
  const auto* const walk = Find<VX_Iterate8Suite1>(find);
  const auto* const color = Find<VX_ColorSuite1>(find);
  if (fill == nullptr || walk == nullptr || color == nullptr) return VX_ErrUnsupported;

  const VX_Pixel8 red{255, 255, 0, 0};
  if (const VX_Err error = fill->fill(nullptr, &red, nullptr, world)) return error;
  const auto darken = [](void* refcon, int32_t x, int32_t, void* in, void* out) -> VX_Err {
    const auto& suite = *static_cast<const VX_ColorSuite1*>(refcon);
    VX_Fixed hls[3];
    if (const VX_Err error = suite.rgb_to_hls(nullptr, static_cast<VX_Pixel8*>(in), hls)) {
      return error;
    }
    hls[1] /= 1 + 2 * x;
    return suite.hls_to_rgb(nullptr, hls, static_cast<VX_Pixel8*>(out));
  };
  return walk->iterate(nullptr, 0, 0, world, nullptr, const_cast<VX_ColorSuite1*>(color), darken,
                       world);
}

}  // namespace

// --- the application -----------------------------------------------------------------------------

int main() {
  const vx::Library library;
  vx::Image image(3, 1, 8);
  const VX_Err error = DrawRamp(VXHost_FindSuite, image.world());
  const auto row = image.view<vx::Pixel8>().row(0);
  std::printf("%zu suites, red %d %d %d\n", VXHost_ListSuites().size(), row[0].red, row[1].red,
              row[2].red);
  return error;
}

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The cost of the C++20 interface: vx::composite against the call of the C-style interface with the
// same arguments.

#include <VX/VX.hpp>
#include <cstdio>
#include <string>

#include "Sections.h"
#include "Versus.h"

namespace {

constexpr int kCalls = 100;  // one call on the smallest picture is too short to be measured

bool RunSize(int32_t side, int rounds) {
  vx::Image modern(side, side, 8), classic(side, side, 8), layer(side, side, 8);
  vx::fill(modern, vx::Pixel8{255, 10, 20, 30});
  vx::fill(classic, vx::Pixel8{255, 10, 20, 30});
  vx::fill(layer, vx::Pixel8{128, 110, 120, 130});
  const auto run = [&] {
    for (int i = 0; i < kCalls; ++i) {
      vx::composite(modern, layer, {.mode = vx::Mode::screen, .opacity = 0.8});
    }
  };
  const auto run_classic = [&] {
    for (int i = 0; i < kCalls; ++i) {
      const VX_CompositeModePlus mode(VX_Xfer_Screen, 0.8f, nullptr, false, 0);
      VX_TransferRect(nullptr, 1, 0, VX_Field_Both, nullptr, layer.world(), &mode, nullptr, nullptr,
                      0, 0, classic.world());
    }
  };
  run();
  run_classic();
  const vx::Pixel8 a = modern.view<vx::Pixel8>().row(0)[0];
  const vx::Pixel8 b = classic.view<vx::Pixel8>().row(0)[0];
  const bool agree = a.red == b.red && a.green == b.green && a.blue == b.blue;
  const double pixels = static_cast<double>(side) * side * kCalls / 1e6;
  RunVersus("composite " + std::to_string(side) + " x " + std::to_string(side), pixels, run,
            {{run_classic}}, rounds);
  return agree;
}

}  // namespace

bool RunCpp(const Options& options) {
  PrintVersusHead("Mpixel/s", {"classic"});
  bool agree = true;
  for (const int32_t side : {8, 64, 512}) agree &= RunSize(side, options.rounds);
  return agree;
}

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// What the tests of blending share beyond pixels: the modes, and curves of linear light.

#include <cmath>
#include <vector>

#include "../../reference/RefTables.h"
#include "../GuardedWorld.h"
#include "../PixelTestKit.h"
#include "VX/VX_Blend.h"

struct ModeName {
  int32_t mode;
  const char* name;
};
inline const std::vector<ModeName>& AllModes() {
  static const std::vector<ModeName> modes = {
#define VX_MODE(number, constant, name, piece, ...) {number, name},
#include "VX/VX_TransferModes.def"
#undef VX_MODE
  };
  return modes;
}

// A film-like curve, a plain power, and one that is flat, falls and jumps.
inline const std::vector<VX_LinearBlendingTables>& LinearTables() {
  static const std::vector<VX_LinearBlendingTables> tables = {
      vxref::BuildTables(
          [](double x) { return x <= 0.04045 ? x / 12.92 : std::pow((x + 0.055) / 1.055, 2.4); },
          2.2f),
      vxref::BuildTables([](double x) { return std::pow(x, 1.8); }, 1.8f),
      vxref::BuildTables(
          [](double x) {
            if (x < 0.1) return 0.0;
            if (x < 0.4) return x;
            if (x < 0.6) return 0.4 - 0.2 * (x - 0.4);
            return x < 0.9 ? x : 1.0;
          },
          0.45f)};
  return tables;
}

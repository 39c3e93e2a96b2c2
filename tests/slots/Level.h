// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The processor levels that the host's record can tell, and the package born at one of them.

#include <stdexcept>
#include <string>
#include <vector>

#include "VX/VX_Package.h"
#include "host/VXHost.h"

struct Level {
  const char* name;
  std::vector<int32_t> flags;  // true words of the processor record
};

// The plain level first, then upwards, as far as this machine goes.
inline std::vector<Level> LevelsOfThisMachine() {
  const std::vector<Level> all = {
      {"none", {}},
      {"sse2", {U_CPU_HAS_MMX, U_CPU_HAS_SSE, U_CPU_HAS_SSE2}},
      {"ssse3", {U_CPU_HAS_MMX, U_CPU_HAS_SSE, U_CPU_HAS_SSE2, U_CPU_HAS_SSE3, U_CPU_HAS_SSSE3}}};
  VXHost_ResetProcessor();
  std::vector<Level> levels;
  for (const Level& level : all) {
    bool present = true;
    for (const int32_t flag : level.flags) present = present && U_G_CPU_DataP[flag] != 0;
    if (present) levels.push_back(level);
  }
  return levels;
}

inline void SetProcessor(const Level& level) {
  uint32_t words[U_CPU_WORDS] = {};
  for (const int32_t flag : level.flags) words[flag] = 1;
  VXHost_SetProcessor(words);
}

// From construction to destruction the package is alive at the level.
class Life {
 public:
  explicit Life(const Level& level) {
    SetProcessor(level);
    const VX_Err error = VX_Birth();
    if (error != VX_Ok) throw std::runtime_error("VX_Birth gave " + std::to_string(error));
  }
  ~Life() { VX_Death(); }
  Life(const Life&) = delete;
};

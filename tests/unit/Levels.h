// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The processor levels that tests run at, and the library born at one of them.

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "VX/VX_Package.h"
#include "host/VXHost.h"

// Limits the host's processor record to "none", "sse2" or "all". False for another name. The
// sampling rule of the record stays.
inline bool LimitProcessor(const std::string& level) {
  VXHost_ResetProcessor();
  if (level == "none") {
    VXHost_SetProcessor({});
  } else if (level == "sse2") {
    U_G_CPU_DataP[U_CPU_HAS_SSSE3] = 0;
  }
  return level == "none" || level == "sse2" || level == "all";
}

// Compares the build of the library that was loaded with the one that the environment variable
// VX_TEST_BUILD names. Prints a message if they differ.
inline bool IsExpectedBuild() {
  const char* const wanted = std::getenv("VX_TEST_BUILD");
  if (wanted == nullptr || std::string(wanted) == VX_BuildLevel()) return true;
  std::fprintf(stderr, "the build for %s was loaded, not the one for %s\n", VX_BuildLevel(),
               wanted);
  return false;
}

// The library is alive at the level from construction to destruction.
class BornAtLevel {
 public:
  explicit BornAtLevel(const std::string& level) {
    if (!LimitProcessor(level)) throw std::invalid_argument("no processor level " + level);
    const VX_Err error = VX_Birth();
    if (error != VX_Ok) throw std::runtime_error("VX_Birth gave " + std::to_string(error));
  }
  ~BornAtLevel() { VX_Death(); }
  BornAtLevel(const BornAtLevel&) = delete;
};

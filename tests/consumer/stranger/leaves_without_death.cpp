// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Ends with the library alive and a world in a static object.

#include <VX/VX.h>

#include <memory>

namespace {
std::unique_ptr<VX_World> kept;
}

int main() {
  if (VX_Birth() != VX_Ok) return 1;
  kept.reset(VX_World::New(8, 8, 16, VX_WorldFlag_Clear));
  return 0;
}

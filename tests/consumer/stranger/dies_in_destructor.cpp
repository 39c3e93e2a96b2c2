// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Ends the library from a static destructor, once main is over.

#include <VX/VX.h>

#include <cstdlib>

namespace {

struct Session {
  VX_World* world = nullptr;
  ~Session() {
    delete world;
    if (VX_Death() != VX_Ok) std::_Exit(1);
  }
};
Session session;

}  // namespace

int main() {
  if (VX_Birth() != VX_Ok) return 1;
  session.world = VX_World::New(8, 8, 32, VX_WorldFlag_Clear);
  const VX_PixelFloat white{1, 1, 1, 1};
  return VX_FillFloat(nullptr, &white, nullptr, session.world);
}

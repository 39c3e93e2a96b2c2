// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// An acceleration module that puts a routine of its own before the built-in one: it counts the
// calls of a slot and prints the number when the library unloads it.
//
//   vx composite --modules FOLDER plate.png --layer title.png -o out.png

#include <VX/VX_Accel.h>

#include <atomic>
#include <cstdio>

namespace {

VX_TransferRectFunc before = nullptr;  // the routine that was in the slot
std::atomic<int> calls = 0;            // operations may run on several threads

template <class... Arguments>
VX_Err Counted(Arguments... arguments) {
  ++calls;
  return before(arguments...);
}

VX_Err Entry(int32_t selector, int32_t*, void* block, const uint16_t*) {
  if (selector == VX_ModuleSelector_Unload) {
    std::fprintf(stderr, "VX_TransferRect: %d calls\n", calls.load());
    return VX_Ok;
  }
  VXp_OverrideTable& slots = *static_cast<VX_ModuleBlock*>(block)->slots;
  before = slots.VX_TransferRect_S;
  slots.VX_TransferRect_S = Counted;
  calls = 0;
  return VX_Ok;
}

}  // namespace

VX_MODULE("count calls of VX_TransferRect", Entry)

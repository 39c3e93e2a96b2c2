// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "host/EMUL.h"

#include <cstring>

#include "HostInternal.h"

namespace host {

constinit PairCount window_modes;

}  // namespace host

void EMUL_BeginGdiMinimalisticWindowCreationMode() { host::window_modes.Begin(); }

void EMUL_EndGdiMinimalisticWindowCreationMode() { host::window_modes.End(); }

void BlockMove(const void* from, void* to, size_t size) {
  if (size > 0) std::memmove(to, from, size);
}

VXHost_Pairs VXHost_GetPairs() {
  return {host::byte_tables.Open(), host::trig_tables.Open(), host::window_modes.Open()};
}

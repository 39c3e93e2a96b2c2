// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "COR_Engine.h"

#include <cstring>

#include "host/COR.h"

namespace {

int32_t InterfaceVersion() { return host::kInterfaceVersion; }

void* EngineAddress(const char* name) {
  if (name && std::strcmp(name, host::kInterfaceVersionName) == 0) {
    return reinterpret_cast<void*>(&InterfaceVersion);
  }
  return nullptr;
}

}  // namespace

U_Err COR_GetQIBAddressProc(COR_AddressProc* out) {
  if (!out) return 3;
  *out = EngineAddress;
  return 0;
}

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include <atomic>
#include <cstring>

#include "host/COR.h"

namespace {

typedef int32_t (*InterfaceVersionProc)();

constexpr int32_t kInterfaceVersion = 1;
constexpr char kInterfaceVersionName[] = "COR_InterfaceVersion";

// ---- The embedded engine ----

int32_t EngineInterfaceVersion() { return kInterfaceVersion; }

void* EngineAddress(const char* name) {
  if (name && std::strcmp(name, kInterfaceVersionName) == 0) {
    return reinterpret_cast<void*>(&EngineInterfaceVersion);
  }
  return nullptr;
}

// ---- The client layer ----

constinit std::atomic<COR_AddressProc> engine{nullptr};

}  // namespace

U_Err COR_GetQIBAddressProc(COR_AddressProc* out) {
  if (!out) return 3;
  *out = EngineAddress;
  return 0;
}

bool COR_BindClient(COR_AddressProc proc) {
  void* version = proc ? proc(kInterfaceVersionName) : nullptr;
  if (!version || reinterpret_cast<InterfaceVersionProc>(version)() != kInterfaceVersion) {
    return false;
  }
  engine = proc;
  return true;
}

void COR_ReleaseClient() { engine = nullptr; }

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Counted birth and death, for several components of a program: the library is initialised while at
// least one component has acquired it.

#include <cstdint>
#include <mutex>

#include "VX/VX_Package.h"
#include "frame/VXp_Report.h"
#include "host/PLUG.h"

namespace {

// Locked during birth and death, so that every component that has acquired the library gets it
// completely initialised.
constinit std::mutex holders_mutex;
constinit int64_t holders = 0;

}  // namespace

VX_Err VX_AcquireLibrary(int32_t caller_version) {
  return VX_AcquireLibraryWith(caller_version, nullptr, nullptr);
}

VX_Err VX_AcquireLibraryWith(int32_t caller_version, VX_PrepareFunc prepare, void* refcon) {
  return VXp_Guarded([&]() -> VX_Err {
    const std::lock_guard lock(holders_mutex);
    VX_Err error = VX_CheckVersions(0, caller_version);
    if (error == VX_Ok && holders == 0) {
      if (prepare != nullptr) error = prepare(refcon);
      if (error != VX_Ok) return error;
      error = VX_Birth();
      if (error == VX_Ok) error = PLUG_RunScans();
      if (error != VX_Ok) static_cast<void>(VX_Death());
    }
    if (error == VX_Ok) ++holders;
    return error;
  });
}

VX_Err VX_ReleaseLibrary() {
  return VXp_Guarded([]() -> VX_Err {
    const std::lock_guard lock(holders_mutex);
    if (holders == 0) return VXp_FailVerification("The library was released too often");
    return --holders == 0 ? VX_Death() : VX_Ok;
  });
}

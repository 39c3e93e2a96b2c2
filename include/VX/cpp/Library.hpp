// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Starts and stops the library.

#include <cstdint>
#include <utility>

#include "VX/VX_FrameBlending.h"
#include "VX/VX_Package.h"
#include "VX/cpp/Error.hpp"

// Defined by the embedded host (host/VXHost.h). It is null in a program with another host, which
// decides itself what U_GetNumThreads returns.
[[gnu::weak]] VXHOST_API void VXHost_SetLibraryThreads(int32_t threads);

namespace vx {

struct LibraryOptions {
  // The most threads of one operation and of motion estimation, the calling thread included. 1: all
  // operations run on the calling thread. 0: as many as the process may use processors; for
  // operations, the number of VXHost_SetNumThreads if it was called.
  int threads = 0;
};

// The library is initialised as long as an object of this class exists. The objects of the whole
// process are counted: the first one initialises the library, and the destructor of the last one
// shuts it down, so every component of a program may have an object. A program that uses this class
// does not call VX_Birth or VX_Death. Operations may run only while an object exists; images may
// exist longer. Objects may be created and destroyed on any thread.
class Library {
 public:
  // Initialises the library if no other object exists, and loads the acceleration modules of the
  // host's folders. Options have no effect if another object exists. With a host other than the
  // embedded one, U_GetNumThreads of that host is the number of threads of an operation.
  //
  // Throws Error: bad_parameter, for a negative number of threads; version, if this header and the
  // library or its host differ; color_engine; or out_of_memory. If the initialisation fails,
  // everything that it allocated is freed.
  explicit Library(const LibraryOptions& options = {}) {
    if (options.threads < 0) throw Error(ErrorCode::bad_parameter, "threads: below 0");
    int32_t threads = options.threads;
    detail::run([&] { return VX_AcquireLibraryWith(VX_PKG_VERSION, &Prepare, &threads); });
  }
  Library(Library&& other) noexcept : holds_(std::exchange(other.holds_, false)) {}
  Library& operator=(Library&& other) noexcept {
    std::swap(holds_, other.holds_);
    return *this;
  }
  ~Library() {
    if (holds_) static_cast<void>(VX_ReleaseLibrary());
  }

 private:
  static VX_Err Prepare(void* refcon) {
    const int32_t threads = *static_cast<int32_t*>(refcon);
    if (VXHost_SetLibraryThreads != nullptr) VXHost_SetLibraryThreads(threads);
    if (threads > 0) VX_SetMotionThreads(threads < 256 ? threads : 256);
    return VX_Ok;
  }

  bool holds_ = true;
};

}  // namespace vx

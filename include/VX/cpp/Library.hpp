// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Starts and stops the library.

#include <utility>

#include "VX/cpp/Error.hpp"

namespace vx {

// The library is initialised as long as an object of this class exists. The objects of the whole
// process are counted: the first one initialises the library, and the destructor of the last one
// shuts it down, so every component of a program may have an object. A program that uses this class
// does not call VX_Birth or VX_Death. Operations may run only while an object exists; images may
// exist longer. Objects may be created and destroyed on any thread.
class Library {
 public:
  // Initialises the library if no other object exists. Throws Error: version, if this header and
  // the library or its host differ; color_engine; or out_of_memory. If the initialisation fails,
  // everything that it allocated is freed.
  Library() {
    detail::run([] { return VX_AcquireLibrary(VX_PKG_VERSION); });
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
  bool holds_ = true;
};

}  // namespace vx

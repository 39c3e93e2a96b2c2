// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Birth and death of the library, and the processor level that its routines are chosen for.

#include <cstdint>
#include <vector>

namespace vxcli {

// Sets the processor level for the next birth: 0 plain code, 1 SSE2, 2 all of this machine. Throws
// UsageError for a level that this machine does not have.
void SetProcessor(int32_t level);

struct ProcessorLevel {
  const char* option;  // value of --processor
  const char* name;    // "plain", "sse2", "sse2+ssse3"
  bool available;      // on this machine
  bool in_use;
};
std::vector<ProcessorLevel> ProcessorLevels();

// The library is initialised in the constructor, which also runs the host's scan for modules, and
// shut down in the destructor. The constructor throws LibraryError.
class Package {
 public:
  Package();
  ~Package();
  Package(const Package&) = delete;
  Package& operator=(const Package&) = delete;
};

}  // namespace vxcli

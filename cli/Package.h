// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The library's life inside the command, and the processor level that its routines are chosen for.

#include <string>
#include <vector>

namespace vxcli {

// Sets the processor level for the next birth: "none", "sse2" or "all" (what this machine has).
// Throws UsageError for another word or a level that this machine does not have.
void SetProcessor(const std::string& level);

struct ProcessorLevel {
  const char* option;  // word for --processor
  const char* name;    // "plain", "sse2", "sse2+ssse3"
  bool available;      // on this machine
  bool in_use;
};
std::vector<ProcessorLevel> ProcessorLevels();

// Born as long as it lives. The constructor throws LibraryError; the host's scan for modules runs
// too.
class Package {
 public:
  Package();
  ~Package();
  Package(const Package&) = delete;
  Package& operator=(const Package&) = delete;
};

}  // namespace vxcli

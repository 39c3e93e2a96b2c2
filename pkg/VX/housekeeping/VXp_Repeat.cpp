// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "housekeeping/VXp_Repeat.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

// The copies go to the C library, which has the widest stores of the machine; they begin where a
// cache line begins, or each store would cross two. In a file of its own, so that no caller's
// constant reaches them: of a size that it knows the compiler makes a loop that is far slower.
void VXp_Repeat(const char* pattern, size_t pattern_bytes, size_t period, char* to, size_t bytes) {
  constexpr size_t kLine = 64;
  const size_t head = std::min(bytes, (0 - reinterpret_cast<uintptr_t>(to)) % kLine);
  std::memcpy(to, pattern, head);
  pattern += head % period;
  const size_t run = pattern_bytes - period;
  for (size_t done = head; done < bytes;) {
    const size_t part = std::min(bytes - done, run);
    std::memcpy(to + done, pattern, part);
    done += part;
  }
}

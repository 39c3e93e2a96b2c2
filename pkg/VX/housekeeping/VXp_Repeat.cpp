// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "housekeeping/VXp_Repeat.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace {

constexpr size_t kLine = 64;

// Fills of this many bytes or more use plain stores, because these are faster than copies if the
// data exceed the caches.
constexpr size_t kLargerThanCache = size_t{24} << 20;

// Stores complete cache lines; `to` must be at the start of a line. Returns the number of bytes
// written.
size_t StoreLines(const char* pattern, char* to, size_t bytes) {
  using Lanes = uint64_t __attribute__((vector_size(16), may_alias));
  Lanes lanes;
  std::memcpy(&lanes, pattern, sizeof lanes);
  const size_t end = bytes / kLine * kLine;
  for (size_t done = 0; done < end; done += kLine) {
    auto* const line = reinterpret_cast<Lanes*>(to + done);
    line[0] = line[1] = line[2] = line[3] = lanes;
  }
  return end;
}

}  // namespace

// Copies the pattern with memcpy, which uses the widest stores of the machine. Starts at a cache
// line, so that no store crosses two lines. This function is in a separate file so that the
// compiler does not know the sizes: for constant sizes it generates a much slower loop.
void VXp_Repeat(const char* pattern, size_t pattern_bytes, size_t period, char* to, size_t bytes) {
  const size_t head = std::min(bytes, (0 - reinterpret_cast<uintptr_t>(to)) % kLine);
  std::memcpy(to, pattern, head);
  pattern += head % period;
  const size_t run = pattern_bytes - period;
  size_t done = head;
  if (bytes - head > kLargerThanCache) done += StoreLines(pattern, to + head, bytes - head);
  while (done < bytes) {
    const size_t part = std::min(bytes - done, run);
    std::memcpy(to + done, pattern, part);
    done += part;
  }
}

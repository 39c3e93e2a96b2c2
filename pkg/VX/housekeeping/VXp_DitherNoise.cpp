// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "housekeeping/VXp_DitherNoise.h"

#include <algorithm>
#include <atomic>
#include <memory>

#include "VX/VX_DepthConvert.h"
#include "host/RND.h"

namespace {

// The noise table. Only birth and death write it; conversions advance `position`.
constinit std::unique_ptr<uint16_t[]> kept;
constinit VXp_Noise noise{};
constinit std::atomic<size_t> position{0};

}  // namespace

VX_Err VXp_LoadNoise() {
  VXp_FreeNoise();
  uint32_t* words = nullptr;
  int32_t size = 0;
  const VX_Err error = RND_GetPrimeSizedTable(&words, &size);
  if (error != VX_Ok) return error;
  if (words == nullptr || size <= 0) return VX_ErrOutOfMemory;
  kept = std::make_unique_for_overwrite<uint16_t[]>(static_cast<size_t>(size));
  std::transform(words, words + size, kept.get(),
                 [](uint32_t word) { return static_cast<uint16_t>(word & 0x7FFF); });
  noise = {kept.get(), static_cast<size_t>(size)};
  VX_ResetDitherRandomIndex();
  return VX_Ok;
}

void VXp_FreeNoise() {
  noise = {};
  kept.reset();
}

VXp_Noise VXp_NoiseTable() { return noise; }

size_t VXp_ReserveNoise(size_t count) {
  size_t first = position.load(std::memory_order_relaxed);
  while (!position.compare_exchange_weak(first, (first + count) % noise.size,
                                         std::memory_order_relaxed)) {
  }
  return first;
}

void VXp_ReturnNoise(size_t first, size_t count, size_t used) {
  size_t end = (first + count) % noise.size;
  position.compare_exchange_strong(end, (first + used) % noise.size, std::memory_order_relaxed);
}

void VX_ResetDitherRandomIndex() { position.store(0, std::memory_order_relaxed); }

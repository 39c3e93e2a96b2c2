// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The record through which all stages of one render are stopped.

#include <atomic>
#include <cstdint>
#include <mutex>

#include "VX/VX_Types.h"

// Base class of everything that can be interrupted.
class FnInteruptable {
 public:
  virtual ~FnInteruptable() = default;
};

class FnInterruptState {
 public:
  void* refcon = nullptr;
  // Returns 0 to continue, else the code with which the render ends. Null: never stops.
  VX_Err (*abortFunc)(void* refcon) = nullptr;
  std::atomic<int32_t> tripped = 0;
  std::atomic<int32_t> error = 0;

  // Returns the recorded error, 0 to continue. Only thread 0 of a fan-out calls abortFunc, one call
  // at a time in the process; the other threads stop at their next poll. They may see the error
  // later than thread 0, which only delays them.
  VX_Err poll();

  void set(VX_Err code) {
    error.store(code, std::memory_order_relaxed);
    tripped.store(1, std::memory_order_relaxed);
  }
};

static_assert(sizeof(std::atomic<int32_t>) == sizeof(int32_t));

// Polls a record that may be null.
inline VX_Err FnPoll(FnInterruptState* interrupt) {
  return interrupt != nullptr ? interrupt->poll() : VX_Ok;
}

// Guards the abort function and the allocation of textures.
std::recursive_mutex& FnGlobalMutex();

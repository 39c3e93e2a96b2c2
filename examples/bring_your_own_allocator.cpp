// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The embedded host allocates frames (the pixels of images) from a pool of this program. The pool
// is limited, and the program prints the error of an allocation that exceeds it.

#include <host/VXHost.h>

#include <VX/VX.hpp>
#include <cstdio>
#include <cstdlib>

namespace {

// Frames are requested on each thread that makes images; this program has one thread.
struct Pool {
  size_t left = 1 << 20;
  int taken = 0;
  int refused = 0;
  int released = 0;
};

// The size of a block is stored before it. Frames must be 8-byte aligned; these are 16-byte
// aligned.
constexpr size_t kHead = 16;

void* Take(size_t size, void* context) {
  Pool& pool = *static_cast<Pool*>(context);
  void* const block = size <= pool.left ? std::malloc(kHead + size) : nullptr;
  if (block == nullptr) {
    ++pool.refused;
    return nullptr;
  }
  ++pool.taken;
  pool.left -= size;
  *static_cast<size_t*>(block) = size;
  return static_cast<char*>(block) + kHead;
}

void Release(void* frame, void* context) {
  Pool& pool = *static_cast<Pool*>(context);
  void* const block = static_cast<char*>(frame) - kHead;
  ++pool.released;
  pool.left += *static_cast<size_t*>(block);
  std::free(block);
}

void PrintReport(uint32_t, int32_t, int32_t, const char* text, void*) {
  std::printf("VX says: %s\n", text);
}

// True if an image of this size could be made.
bool CanMake(int32_t width, int32_t height, int32_t depth) {
  try {
    const vx::Image image(width, height, depth);
    std::printf("%d x %d at %d bits: made\n", width, height, depth);
    return true;
  } catch (const vx::Error& error) {
    std::printf("%d x %d at %d bits: %s\n", width, height, depth, error.what());
    return false;
  }
}

}  // namespace

int main() {
  Pool pool;
  const VXHost_Allocator frames{Take, Release, &pool};
  VXHost_SetFrameAllocator(&frames);
  VXHost_SetReportSink(PrintReport, nullptr);
  bool as_expected = false;
  try {
    const vx::Library library;
    as_expected = CanMake(100, 100, 8) && CanMake(100, 100, 16) &&
                  !CanMake(1920, 1080, 32) &&  // 32 MiB from a pool of 1 MiB
                  CanMake(100, 100, 32);
  } catch (const vx::Error& error) {
    std::printf("%s\n", error.what());
  }

  VXHost_SetReportSink(nullptr, nullptr);
  VXHost_SetFrameAllocator(nullptr);
  std::printf("frames: %d taken, %d refused, %d released\n", pool.taken, pool.refused,
              pool.released);
  return as_expected ? 0 : 1;
}

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// A world whose pixels end, or begin, where the process's memory does: one byte too far is a fault,
// with and without a sanitizer. Odd paddings make rows unaligned. All bytes around the pixels are
// random, so that comparing two worlds of one seed shows any stray write.

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <random>
#include <stdexcept>

#include "VX/VX_Types.h"

template <class Pixel>
class EdgeWorld {
 public:
  EdgeWorld(int32_t width, int32_t height, int32_t padding, bool at_end, uint32_t seed) {
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    world.width = width;
    world.height = height;
    world.rowbytes = width * static_cast<int32_t>(sizeof(Pixel)) + padding;
    VXp_SetWorldDepth(&world, static_cast<int32_t>(sizeof(Pixel)) * 2);
    const auto length = static_cast<size_t>(world.rowbytes) * static_cast<size_t>(height) -
                        static_cast<size_t>(padding);
    size_ = (length + page - 1) / page * page;
    whole_ = size_ + 2 * page;
    void* const map = mmap(nullptr, whole_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (map == MAP_FAILED) throw std::runtime_error("no memory for a test's world");
    map_ = static_cast<uint8_t*>(map);
    bytes_ = map_ + page;
    mprotect(bytes_, size_, PROT_READ | PROT_WRITE);
    world.data = bytes_ + (at_end ? size_ - length : 0);
    std::mt19937 random(seed);
    for (size_t i = 0; i < size_; i += 4) {
      const uint32_t word = static_cast<uint32_t>(random());
      std::memcpy(bytes_ + i, &word, sizeof word);
    }
  }
  EdgeWorld(const EdgeWorld&) = delete;
  ~EdgeWorld() { munmap(map_, whole_); }

  Pixel Get(int32_t x, int32_t y) const {
    Pixel p;
    std::memcpy(&p, Place(x, y), sizeof p);
    return p;
  }
  void Set(int32_t x, int32_t y, const Pixel& p) { std::memcpy(Place(x, y), &p, sizeof p); }

  // Paints pixel after pixel with `next()`.
  template <class Next>
  void Paint(Next next) {
    for (int32_t y = 0; y < world.height; ++y) {
      for (int32_t x = 0; x < world.width; ++x) Set(x, y, next());
    }
  }

  bool SameBytes(const EdgeWorld& other) const {
    return size_ == other.size_ && std::memcmp(bytes_, other.bytes_, size_) == 0;
  }
  // Takes the pixels, and what is around them, of a world of the same shape.
  void CopyBytes(const EdgeWorld& other) { std::memcpy(bytes_, other.bytes_, size_); }

  VX_LayerDef world{};

 private:
  uint8_t* Place(int32_t x, int32_t y) const {
    return static_cast<uint8_t*>(world.data) + static_cast<ptrdiff_t>(y) * world.rowbytes +
           static_cast<ptrdiff_t>(x) * static_cast<ptrdiff_t>(sizeof(Pixel));
  }

  uint8_t* map_;
  uint8_t* bytes_;
  size_t size_, whole_;
};

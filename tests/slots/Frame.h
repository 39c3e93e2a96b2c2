// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Pixels in memory whose surroundings are watched: painted guards on all sides, and pages beyond
// that nobody may touch. A row is a frame of height 1.

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <new>
#include <string>
#include <type_traits>
#include <vector>

#include "Trial.h"

// Drawn anew for each row, or patches of four by two pixels: alike, alike in alpha, or free.
enum class Look { kDrawn, kPatches };

// Where a frame begins or ends: 0..15 is its address modulo 16.
enum : int32_t { kAtPageEnd = -1, kAtPageStart = -2 };

inline std::string SpotName(int32_t spot) {
  if (spot == kAtPageEnd) return "page end";
  return spot == kAtPageStart ? "page start" : "+" + std::to_string(spot);
}

// Values where roundings and clips turn.
template <class Channel>
constexpr auto kCorners = [] {
  if constexpr (std::is_same_v<Channel, uint8_t>) {
    return std::array<uint8_t, 6>{0, 1, 127, 128, 254, 255};
  } else if constexpr (std::is_same_v<Channel, uint16_t>) {
    return std::array<uint16_t, 8>{0, 1, 128, 16383, 16384, 16385, 32767, 32768};
  } else {
    return std::array<float, 12>{0.0f, -0.0f, 1.0f,   0.5f,      0x1p-24f, 1 - 0x1p-24f,
                                 1.5f, -0.5f, 1e-40f, 1 / 255.f, 1e6f,     254 / 255.f};
  }
}();
template <class Channel>
constexpr Channel kFullScale = [] {
  if constexpr (std::is_same_v<Channel, uint8_t>) return 255;
  if constexpr (std::is_same_v<Channel, uint16_t>) return 32768;
  return 1;
}();

// One of eight is a corner, the others are spread over the range; floats reach a bit beyond it.
template <class Channel>
Channel AnyChannel(uint64_t bits16) {
  const auto& corners = kCorners<Channel>;
  if (bits16 % 8 == 0) return corners[bits16 / 8 % corners.size()];
  if constexpr (std::is_same_v<Channel, float>) {
    // Neither number is a short binary fraction, so that every bit of a channel takes part.
    return static_cast<float>(bits16) * (1.5f / 65537) - 0.1f;
  } else {
    return static_cast<Channel>((bits16 * (uint64_t{kFullScale<Channel>} + 1)) >> 16);
  }
}

template <class Pixel>
class Frame {
 public:
  using Channel = VX_ChannelOf<Pixel>;

  explicit Frame(size_t pages)
      : page_(static_cast<size_t>(sysconf(_SC_PAGESIZE))), size_(pages * page_), before_(size_) {
    map_ = mmap(nullptr, size_ + 2 * page_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (map_ == MAP_FAILED) throw std::bad_alloc();
    bytes_ = static_cast<uint8_t*>(map_) + page_;
    if (mprotect(bytes_, size_, PROT_READ | PROT_WRITE) != 0) throw std::bad_alloc();
  }
  ~Frame() { munmap(map_, size_ + 2 * page_); }
  Frame(const Frame&) = delete;

  // New pixels in a new place. `padding` bytes lie between rows, and none after the last.
  void Lay(Trial& trial, int32_t width, int32_t height, int32_t padding, int32_t spot,
           Look look = Look::kDrawn) {
    const size_t row = static_cast<size_t>(width) * sizeof(Pixel);
    const size_t stride = row + static_cast<size_t>(padding);
    const size_t extent = height > 0 ? stride * (static_cast<size_t>(height) - 1) + row : 0;
    size_t first = spot == kAtPageEnd ? size_ - extent : 0;
    if (spot >= 0) first = 64 + static_cast<size_t>(spot);
    if (extent > size_ || first + extent > size_) trial.Fail("the checker's buffer is too small");
    world = {};
    world.data = bytes_ + first;
    world.rowbytes = static_cast<int32_t>(stride);
    world.width = width;
    world.height = height;
    VXp_SetWorldDepth(&world, static_cast<int32_t>(sizeof(Pixel)) * 2);
    std::memset(bytes_, static_cast<int>(trial.random() & 0xFF), size_);
    for (int32_t y = 0; y < height; ++y) {
      FillRow(trial, y, look);
      if (look == Look::kPatches) PatchRow(y);
    }
    std::memcpy(before_.data(), bytes_, size_);
  }

  Pixel* data() const { return static_cast<Pixel*>(world.data); }

  // Guards and the bytes between rows are as they were; the pixels go to the trial.
  void Give(Trial& trial) const {
    size_t kept = 0;
    for (int32_t y = 0; y < world.height; ++y) {
      const size_t row = RowOffset(y);
      ExpectKept(trial, kept, row, "wrote beside the rows");
      trial.Gave(bytes_ + row, RowSize(), sizeof(Pixel));
      kept = row + RowSize();
    }
    ExpectKept(trial, kept, size_, "wrote beside the rows");
  }
  void ExpectUntouched(Trial& trial) const { ExpectKept(trial, 0, size_, "wrote to an input"); }
  void Restore() { std::memcpy(bytes_, before_.data(), size_); }

  VX_LayerDef world{};

 private:
  size_t RowSize() const { return static_cast<size_t>(world.width) * sizeof(Pixel); }
  size_t RowOffset(int32_t y) const {
    return static_cast<size_t>(static_cast<uint8_t*>(world.data) - bytes_) +
           static_cast<size_t>(y) * static_cast<size_t>(world.rowbytes);
  }

  void ExpectKept(Trial& trial, size_t from, size_t to, const char* what) const {
    if (std::memcmp(bytes_ + from, before_.data() + from, to - from) == 0) return;
    while (bytes_[from] == before_[from]) ++from;
    trial.Fail(std::string(what) + ", at byte " +
               std::to_string(static_cast<ptrdiff_t>(from) - static_cast<ptrdiff_t>(RowOffset(0))) +
               " from the first pixel");
  }

  uint8_t* At(int32_t x, int32_t y) const {
    return bytes_ + RowOffset(y) + static_cast<size_t>(x) * sizeof(Pixel);
  }

  // The first pixel of a patch tells by its bytes what the patch is.
  void PatchRow(int32_t y) {
    for (int32_t x = 0; x < world.width; ++x) {
      const uint8_t* const first = At(x - x % 4, y - y % 2);
      const int32_t kind = first[sizeof(Pixel) - 1] % 4;
      if (kind < 2) std::memmove(At(x, y), first, kind == 0 ? sizeof(Pixel) : sizeof(Channel));
    }
  }

  // Rows that are transparent or opaque throughout or in stretches find the short ways of loops
  // that take several pixels at once.
  void FillRow(Trial& trial, int32_t y, Look look) {
    enum { kFree, kTransparent, kOpaque, kStretches };
    const int32_t style = look == Look::kPatches ? kFree : trial.Draw(4);
    Pixel stretch{};
    for (int32_t x = 0; x < world.width; ++x) {
      const uint64_t r = trial.random();
      Pixel p{};
      p.alpha = AnyChannel<Channel>(r & 0xFFFF);
      if constexpr (sizeof(Pixel) > sizeof(Channel)) {
        p.red = AnyChannel<Channel>(r >> 16 & 0xFFFF);
        p.green = AnyChannel<Channel>(r >> 32 & 0xFFFF);
        p.blue = AnyChannel<Channel>(r >> 48);
      }
      if (style == kTransparent) p.alpha = 0;
      if (style == kOpaque) p.alpha = kFullScale<Channel>;
      if (style == kStretches) {
        if (x % 6 == 0) stretch.alpha = r % 3 == 0 ? Channel{} : kFullScale<Channel>;
        if (x % 6 != 5) p.alpha = stretch.alpha;
      }
      std::memcpy(At(x, y), &p, sizeof p);
    }
  }

  size_t page_;
  size_t size_;
  std::vector<uint8_t> before_;
  void* map_;
  uint8_t* bytes_;
};

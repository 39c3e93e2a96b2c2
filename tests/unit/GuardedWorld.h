// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Functions that the tests of worlds share: painted memory with a descriptor, reports, thrown
// codes.

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "VX/VX_OverrideTable.h"
#include "VX/VX_World.h"
#include "host/VXHost.h"

// A world in memory of its own, random everywhere: pixels, padding, and guards before and behind.
// The pixels begin at an odd address when `padding` is odd. Comparing `bytes` with an expected copy
// checks the guards as well.
template <class Pixel>
struct GuardedWorld {
  using Channel = VX_ChannelOf<Pixel>;
  static constexpr size_t kGuard = 32;

  GuardedWorld(int32_t width, int32_t height, int32_t padding, uint32_t seed) {
    const int32_t rowbytes = width * static_cast<int32_t>(sizeof(Pixel)) + padding;
    bytes.resize(2 * kGuard + static_cast<size_t>(rowbytes * height + padding % 2));
    std::mt19937 random(seed);
    for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random());
    world.data = bytes.data() + kGuard + padding % 2;
    world.rowbytes = rowbytes;
    world.width = width;
    world.height = height;
    VXp_SetWorldDepth(&world, static_cast<int32_t>(sizeof(Pixel)) * 2);
    for (int32_t y = 0; y < height; ++y) {
      for (int32_t x = 0; x < width; ++x) Set(bytes, x, y, RandomPixel(random));
    }
  }
  GuardedWorld(const GuardedWorld&) = delete;

  // Full scale, nothing, and values between; floats also beyond.
  static Pixel RandomPixel(std::mt19937& random) {
    const auto channel = [&random]() -> Channel {
      const uint32_t r = random();
      if constexpr (std::is_same_v<Channel, float>) {
        return r % 8 == 0 ? static_cast<float>(r / 8 % 2) : static_cast<float>(r) * 0x1p-31f - 0.5f;
      } else {
        const uint32_t full = sizeof(Channel) == 1 ? 255 : 32768;
        return static_cast<Channel>(r % 8 == 0 ? r / 8 % 2 * full : r / 8 % (full + 1));
      }
    };
    return {channel(), channel(), channel(), channel()};
  }

  size_t Offset(int32_t x, int32_t y) const {
    return static_cast<size_t>(static_cast<uint8_t*>(world.data) - bytes.data()) +
           static_cast<size_t>(y * world.rowbytes) + static_cast<size_t>(x) * sizeof(Pixel);
  }
  Pixel Get(const std::vector<uint8_t>& from, int32_t x, int32_t y) const {
    Pixel p;
    std::memcpy(&p, from.data() + Offset(x, y), sizeof p);
    return p;
  }
  Pixel Get(int32_t x, int32_t y) const { return Get(bytes, x, y); }
  void Set(int32_t x, int32_t y, const Pixel& p) { Set(bytes, x, y, p); }
  void Set(std::vector<uint8_t>& to, int32_t x, int32_t y, const Pixel& p) const {
    std::memcpy(to.data() + Offset(x, y), &p, sizeof p);
  }

  // Paints pixel after pixel with `next()`.
  template <class Next>
  void Paint(Next next) {
    for (int32_t i = 0; i < world.width * world.height; ++i) {
      Set(i % world.width, i / world.width, next());
    }
  }

  // A copy of the bytes with `change(pixel)` applied where `inside(x, y)` holds.
  template <class Inside, class Change>
  std::vector<uint8_t> Expected(Inside inside, Change change) const {
    std::vector<uint8_t> expected = bytes;
    for (int32_t y = 0; y < world.height; ++y) {
      for (int32_t x = 0; x < world.width; ++x) {
        if (inside(x, y)) Set(expected, x, y, change(Get(x, y)));
      }
    }
    return expected;
  }

  std::vector<uint8_t> bytes;
  VX_LayerDef world{};
};

// The table of slots is as it was after the life of this object.
struct KeptSlots {
  KeptSlots() { std::memcpy(static_cast<void*>(&kept), &VXp_G_OverFuncs, sizeof kept); }
  ~KeptSlots() { std::memcpy(static_cast<void*>(&VXp_G_OverFuncs), &kept, sizeof kept); }
  VXp_OverrideTable kept;
};

// A world whose depth is none of the three.
class OddDepthWorld : public VX_WorldX<VX_Pixel8> {
 public:
  explicit OddDepthWorld(VX_LayerDef* descriptor) : VX_WorldX(descriptor, true) {}
  int32_t Depth() const override { return 24; }
};

// The code that `work` throws, 0 when it throws nothing.
template <class Work>
int32_t Thrown(Work&& work) {
  try {
    work();
    return 0;
  } catch (int32_t code) {
    return code;
  }
}

using ReportList = std::vector<std::pair<uint32_t, std::string>>;

// The texts reported on this thread since the last call, each with its check number.
inline ReportList Reports() {
  ReportList reports;
  for (const VXHost_Report& report : VXHost_TakeReports()) {
    reports.emplace_back(report.check, report.text);
  }
  return reports;
}

inline constexpr char kBadParameterText[] = "bad parameter passed to effect callback";

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Lists of candidate vectors.

#include <array>
#include <utility>

#include "frameblend/imgproc/FnTexture.h"

// The generator of the shuffles. Every pixel starts with its own state, so that the result does not
// depend on the order of the pixels.
class FnRandom {
 public:
  // The start of pixel (x, y) of a map.
  FnRandom(int32_t x, int32_t y, int32_t width)
      : state_(static_cast<uint32_t>(y) * static_cast<uint32_t>(width) + static_cast<uint32_t>(x)) {
  }

  // A number of 15 bits.
  uint32_t Next() {
    const uint32_t a = state_ * 0x41C64E6Du + 0x3039u;
    state_ = a * 0x41C64E6Du + 0x3039u;
    return ((state_ >> 16) & 0xFF) ^ (((a >> 16) & 0xFF) << 7);
  }
  // Next() modulo n, for n of 1..256. The product with 2^32 / n, rounded up, has the exact quotient
  // of numbers of up to 24 bits.
  uint32_t Below(uint32_t n) {
    const uint32_t number = Next();
    return number - static_cast<uint32_t>(number * kInverses[n] >> 32) * n;
  }

 private:
  static constexpr std::array<uint64_t, 257> kInverses = [] {
    std::array<uint64_t, 257> inverses{};
    for (uint64_t n = 1; n < inverses.size(); ++n) inverses[n] = ((uint64_t{1} << 32) + n - 1) / n;
    return inverses;
  }();
  uint32_t state_;
};

// Up to kMost different vectors, in the order in which they were added.
template <int32_t kMost>
class FnCandidates {
 public:
  int32_t count() const { return count_; }
  const HvVec2& operator[](int32_t i) const { return items_[static_cast<size_t>(i)]; }
  const HvVec2* begin() const { return items_.data(); }
  const HvVec2* end() const { return items_.data() + count_; }

  // Does nothing if the vector is in the list.
  void Add(const HvVec2& v) {
    for (const HvVec2& other : *this) {
      if (other == v) return;
    }
    items_[static_cast<size_t>(count_++)] = v;
  }
  // Swaps (count - 1) / 2 + 1 random pairs.
  void Shuffle(FnRandom random) {
    const auto n = static_cast<uint32_t>(count_);
    for (uint32_t swaps = (n - 1) / 2 + 1; swaps > 0; --swaps) {
      const size_t a = random.Below(n);
      const size_t b = random.Below(n);
      std::swap(items_[a], items_[b]);
    }
  }

 private:
  std::array<HvVec2, kMost> items_;
  int32_t count_ = 0;
};

// The candidate of the lowest cost. Among several with the lowest cost, it is the first in the
// shuffled order; the shuffle is only necessary then.
template <class Value>
class FnLowest {
 public:
  // The value that is chosen if no candidate has a lower cost. `tied` states that it depends on the
  // order of the candidates itself.
  FnLowest(const Value& value, float cost, bool tied = false)
      : value_(value), cost_(cost), tied_(tied) {}

  float cost() const { return cost_; }
  const Value& value() const { return value_; }
  // True if the order of the candidates may matter.
  bool IsTied() const { return tied_; }

  void Offer(const Value& value, float cost) {
    if (cost < cost_) {
      cost_ = cost;
      value_ = value;
      tied_ = false;
    } else if (cost == cost_) {
      tied_ = true;
    }
  }

 private:
  Value value_;
  float cost_;
  bool tied_;
};

// The eight neighbours in the order in which they become candidates.
inline constexpr std::array<std::array<int32_t, 2>, 8> kFnNeighbours = {
    {{-1, 1}, {0, 1}, {1, 1}, {-1, 0}, {1, 0}, {-1, -1}, {0, -1}, {1, -1}}};

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The vectors that were projected to each pixel of the in-between picture.

#include <vector>

#include "frameblend/imgproc/FnTexture.h"

// A list of different valid vectors for each pixel of a map, in one array. Vectors are added in any
// order of pixels; those of one pixel keep their order. At most kFnMostCandidates are kept for each
// pixel.
inline constexpr int32_t kFnMostCandidates = 200;

class FnTweenCandidates {
 public:
  FnTweenCandidates(int32_t width, int32_t height)
      : width_(width),
        starts_(static_cast<size_t>(width) * static_cast<size_t>(height) + 1),
        counts_(starts_.size() - 1) {}

  struct List {
    const HvVec2* items;
    int32_t count;
  };
  List At(int32_t x, int32_t y) const {
    const size_t i = Index(x, y);
    return {items_.data() + starts_[i], counts_[i]};
  }

  // Collects a vector; it is in the list after Sort.
  void Add(int32_t x, int32_t y, const HvVec2& v) { added_.push_back({Index(x, y), v}); }
  // Appends the collected vectors to their lists.
  void Sort();
  void Clear(int32_t x, int32_t y) { counts_[Index(x, y)] = 0; }
  // Replaces a list by one vector.
  void Replace(int32_t x, int32_t y, const HvVec2& v) {
    const size_t i = Index(x, y);
    items_[starts_[i]] = v;
    counts_[i] = 1;
  }
  void ClearAll() { std::fill(counts_.begin(), counts_.end(), 0); }

 private:
  struct Added {
    size_t pixel;
    HvVec2 vector;
  };
  size_t Index(int32_t x, int32_t y) const {
    return static_cast<size_t>(y) * static_cast<size_t>(width_) + static_cast<size_t>(x);
  }

  int32_t width_;
  std::vector<Added> added_;
  std::vector<HvVec2> items_;
  std::vector<size_t> starts_;  // a list has room for one vector more than it was sorted with
  std::vector<int32_t> counts_;
};

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "frameblend/tween/FnTweenCandidates.h"

void FnTweenCandidates::Sort() {
  const size_t pixels = counts_.size();
  std::vector<size_t> starts(pixels + 1, 0);
  for (const Added& added : added_) ++starts[added.pixel + 1];
  for (size_t i = 0; i < pixels; ++i) {
    starts[i + 1] += starts[i] + static_cast<size_t>(counts_[i]) + 1;
  }
  std::vector<HvVec2> items(starts[pixels]);
  for (size_t i = 0; i < pixels; ++i) {
    std::copy_n(items_.data() + (counts_[i] > 0 ? starts_[i] : 0), counts_[i],
                items.data() + starts[i]);
  }
  for (const Added& added : added_) {
    HvVec2* const list = items.data() + starts[added.pixel];
    int32_t& count = counts_[added.pixel];
    if (count == kFnMostCandidates || std::find(list, list + count, added.vector) != list + count) {
      continue;
    }
    list[count++] = added.vector;
  }
  items_ = std::move(items);
  starts_ = std::move(starts);
  added_.clear();
}

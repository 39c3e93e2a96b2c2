// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "host/RND.h"

#include <random>

namespace {

constexpr int32_t kWords = 65521;  // the largest prime below 65,536

struct Noise {
  uint32_t words[kWords];

  Noise() {
    std::mt19937 generator;  // the standard defines its default seed and sequence
    for (uint32_t& word : words) word = static_cast<uint32_t>(generator());
  }
};

}  // namespace

U_Err RND_GetPrimeSizedTable(uint32_t** table, int32_t* size) {
  if (!table || !size) return 3;
  static Noise noise;
  *table = noise.words;
  *size = kWords;
  return 0;
}

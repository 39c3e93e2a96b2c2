// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Comparing the results of two runs of a command, and digests.

#include <cmath>
#include <cstdio>
#include <cstring>

#include "Command.h"

namespace {

std::string Hex(const uint8_t* bytes, size_t size) {
  std::string text;
  char two[4];
  for (size_t i = 0; i < size; ++i) {
    std::snprintf(two, sizeof two, " %02x", bytes[i]);
    text += two;
  }
  return text;
}

bool Near(const uint8_t* a, const uint8_t* b, double tolerance) {
  float x, y;
  std::memcpy(&x, a, sizeof x);
  std::memcpy(&y, b, sizeof y);
  const double scale = std::max(1.0, std::abs(static_cast<double>(y)));
  return std::abs(static_cast<double>(x) - static_cast<double>(y)) <= tolerance * scale;
}

std::string PartDifference(const Part& got, const Part& want, double tolerance, int index) {
  const std::string place = got.name + " (part " + std::to_string(index) + ")";
  if (got.name != want.name || got.bytes.size() != want.bytes.size()) return place + ": other size";
  for (size_t i = 0; i < got.bytes.size(); i += 1) {
    if (got.bytes[i] == want.bytes[i]) continue;
    const size_t number = i - i % 4;
    if (got.is_float && Near(&got.bytes[number], &want.bytes[number], tolerance)) {
      i = number + 3;
      continue;
    }
    const size_t at = i - i % got.unit, size = std::min(got.unit, got.bytes.size() - at);
    return place + ", element " + std::to_string(at / got.unit) + ": got" +
           Hex(&got.bytes[at], size) + ", want" + Hex(&want.bytes[at], size);
  }
  return "";
}

}  // namespace

std::string Difference(const std::vector<Part>& got, const std::vector<Part>& want,
                       double tolerance, bool by_twin_only) {
  std::vector<const Part*> a, b;
  for (const Part& part : got) {
    if (part.by_twin || !by_twin_only) a.push_back(&part);
  }
  for (const Part& part : want) {
    if (part.by_twin || !by_twin_only) b.push_back(&part);
  }
  for (size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
    std::string text = PartDifference(*a[i], *b[i], tolerance, static_cast<int>(i));
    if (!text.empty()) return text;
  }
  return a.size() == b.size() ? "" : "another number of results";
}

void AddToDigest(const std::vector<Part>& parts, uint64_t* digest) {
  for (const Part& part : parts) {
    *digest = AddByte(*digest, static_cast<uint8_t>(part.bytes.size()));
    for (const uint8_t byte : part.bytes) *digest = AddByte(*digest, byte);
  }
}

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Creates tables for linear light from 256 values or from a curve, and reads such tables.

#include <cmath>
#include <functional>
#include <vector>

#include "VX/VX_LinearBlendingTables.h"

namespace vxref {

inline int64_t WordToLinear(const VX_LinearBlendingTables& tables, int64_t c) {
  const int64_t p = 255 * (c > 32768 ? 32768 : c);
  const int64_t j = p >> 15;
  const int64_t f = p & 32767;
  int64_t v = tables.linearize[j];
  if (f != 0) v += (f * (tables.linearize[j + 1] - v) + 16384) >> 15;
  return v;
}

inline constexpr int kLast = 4096;

// The linear values of 4,097 evenly spaced stored values. A value below its predecessor is raised
// to it, so that the sequence can be inverted.
inline std::vector<int64_t> Expand(const VX_LinearBlendingTables& tables) {
  std::vector<int64_t> e(kLast + 1);
  for (int i = 0; i <= kLast; ++i) {
    const int64_t x = ((static_cast<int64_t>(i) << 15) + 2048) >> 12;
    e[i] = WordToLinear(tables, x);
    if (i > 0 && e[i] < e[i - 1]) e[i] = e[i - 1];
  }
  return e;
}

// Returns the stored value, 0..32768, whose linear value is x.
inline int64_t Invert(const std::vector<int64_t>& e, int64_t x) {
  for (int k = 0; k < kLast; ++k) {
    if (e[k + 1] <= x) continue;
    if (x < e[k]) return 8 * k;
    const int64_t width = e[k + 1] - e[k];
    return 8 * k + ((width >> 1) + ((x - e[k]) << 3)) / width;
  }
  return 8 * kLast;
}

// `linearize` may have any values 0..32768, increasing or not.
inline VX_LinearBlendingTables TablesOf(const uint16_t (&linearize)[256], float gamma) {
  VX_LinearBlendingTables tables{};
  for (int i = 0; i < 256; ++i) tables.linearize[i] = linearize[i];
  const std::vector<int64_t> e = Expand(tables);
  for (int i = 0; i <= kLast; ++i) {
    const int64_t x = ((static_cast<int64_t>(i) << 15) + 2048) >> 12;
    tables.delinearize[i] = static_cast<uint16_t>(Invert(e, x));
  }
  tables.gamma = gamma;
  tables.invGamma = static_cast<float>(1.0 / gamma);
  return tables;
}

// `curve` maps stored 0..1 to linear 0..1 and is evaluated at 256 stored values. It may decrease.
inline VX_LinearBlendingTables BuildTables(const std::function<double(double)>& curve,
                                           float gamma) {
  uint16_t linearize[256];
  for (int64_t i = 0; i < 256; ++i) {
    const int64_t stored = (i * 8421504 + 33200) >> 16;
    const double linear = curve(static_cast<double>(stored) / 32768);
    linearize[i] = static_cast<uint16_t>(linear * 32768 + 0.5);
  }
  return TablesOf(linearize, gamma);
}

inline int64_t ByteToLinear(const VX_LinearBlendingTables& tables, int64_t c) {
  return tables.linearize[c];
}

inline int64_t LinearToWord(const VX_LinearBlendingTables& tables, int64_t x) {
  const int64_t position = x > 32768 ? 32768 : x;
  const int64_t i = position >> 3;
  const int64_t rest = position & 7;
  int64_t v = tables.delinearize[i];
  if (rest != 0) v += (rest * (tables.delinearize[i + 1] - v) + 4) >> 3;
  return v;
}

inline int64_t LinearToByte(const VX_LinearBlendingTables& tables, int64_t x) {
  return (LinearToWord(tables, x) * 255 + 16384) >> 15;
}

// v|^exponent with the sign of v.
inline float SignedPower(float v, float exponent) {
  if (v < 0.0f) return static_cast<float>(-std::pow(-static_cast<double>(v), exponent));
  return static_cast<float>(std::pow(static_cast<double>(v), exponent));
}

}  // namespace vxref

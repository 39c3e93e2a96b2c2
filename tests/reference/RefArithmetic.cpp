// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "RefArithmetic.h"

#include <cmath>

namespace vxref {
namespace {

// Curve::Up is W3C soft light's D(x) - x, Curve::Down is x (1 - x); x is 0..1.
double CurveAt(Curve curve, double x) {
  if (curve == Curve::Down) return x * (1 - x);
  return (x <= 0.25 ? ((16 * x - 12) * x + 4) * x : std::sqrt(x)) - x;
}

int64_t Entry16(Curve curve, int64_t i) {
  return static_cast<int64_t>(CurveAt(curve, static_cast<double>(i) / 4096) * 32768 + 0.5);
}

float EntryFloat(Curve curve, int64_t i) {
  return static_cast<float>(CurveAt(curve, static_cast<double>(i) / 4096));
}

int64_t Scaled(float v, double full) {
  if (!(v > 0.0f)) return 0;  // 0 for NaN too
  if (v > 1.0f) return static_cast<int64_t>(full);
  return static_cast<int64_t>(static_cast<double>(v) * full + 0.5);
}

}  // namespace

uint8_t UnitTo8(float v) { return static_cast<uint8_t>(Scaled(v, 255.0)); }
uint16_t UnitTo16(float v) { return static_cast<uint16_t>(Scaled(v, 32768.0)); }

uint32_t Random(uint32_t* state) {
  const uint32_t q = *state / 44488u;
  const uint32_t r = *state % 44488u;
  const uint32_t next = 48271u * r + 3399u * q;
  *state = next == 0 ? 0x7FFFFFFFu : next;
  return (*state >> 7) & 0x7FFFu;
}

int64_t SoftLight8(Curve curve, int64_t m) {
  const double v = 255 * CurveAt(curve, static_cast<double>(m) / 255);
  return static_cast<int64_t>(std::floor(v + 0.5));
}

int64_t SoftLight16(Curve curve, int64_t m) {
  const int64_t position = Min(m, int64_t{32768});
  const int64_t i = position >> 3;
  const int64_t rest = position & 7;
  int64_t v = Entry16(curve, i);
  if (rest != 0) v += (rest * (Entry16(curve, i + 1) - v) + 4) >> 3;
  return v;
}

float SoftLightFloat(Curve curve, float m) {
  float position = 4096.0f * m;
  if (!(position > 0.0f)) position = 0.0f;
  if (position > 4096.0f) position = 4096.0f;
  const int64_t i = static_cast<int64_t>(position);
  const float rest = position - static_cast<float>(i);
  float v = EntryFloat(curve, i);
  if (rest != 0.0f) v += rest * (EntryFloat(curve, i + 1) - v);
  return v;
}

}  // namespace vxref

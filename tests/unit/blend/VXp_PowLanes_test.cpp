// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Powers in lanes have the bits of std::pow: special values, random bits, and powers so near to the
// middle between two floats that the error of a power in lanes would decide the rounding.

#include "blend/VXp_PowLanes.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "unit/BornEnvironment.h"

namespace {

std::vector<float> Values() {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  std::vector<float> values{0.0f,      -0.0f,           1.0f,
                            -1.0f,     kInfinity,       -kInfinity,
                            0x1p-149f, 0x1p-126f,       -0x1p-63f,
                            0x1p64f,   0x1.fffffep127f, std::numeric_limits<float>::quiet_NaN()};
  std::mt19937 random(TestSeed());
  for (int32_t i = 0; i < 100000; ++i) {
    const auto bits = static_cast<uint32_t>(random());
    if (!std::isnan(std::bit_cast<float>(bits))) values.push_back(std::bit_cast<float>(bits));
    values.push_back(static_cast<float>(bits >> 8) * 0x1p-24f);
    values.push_back(static_cast<float>(2 * (bits >> 20) + 1) * 0x1p-12f);
  }
  return values;
}

// Returns values whose powers are within 2^-44 of the middle between two floats.
std::vector<float> ValuesNearMiddle(double exponent) {
  constexpr int64_t kMiddle = 1 << 28, kNear = 256;  // of the bits of a double that a float lacks
  std::vector<float> values;
  for (int32_t i = 1; i < 1 << 22; ++i) {
    const float x = static_cast<float>(i) * 0x1p-22f;
    const auto bits = std::bit_cast<int64_t>(std::pow(double{x}, exponent));
    if (std::abs((bits & (2 * kMiddle - 1)) - kMiddle) < kNear) values.push_back(x);
  }
  return values;
}

void ExpectBitsOfPow(double exponent, std::vector<float> values) {
  constexpr size_t kLanes = kVXp_TargetLanes;
  values.resize((values.size() + kLanes - 1) / kLanes * kLanes);
  const VXp_PowLanes power(exponent);
  for (size_t i = 0; i < values.size(); i += kLanes) {
    VXp_PowLanes::Floats x;
    std::memcpy(&x, &values[i], sizeof x);
    const VXp_PowLanes::Floats got = power(x);
    for (size_t k = 0; k < kLanes; ++k) {
      const double v = values[i + k];
      const auto want = static_cast<float>(v < 0 ? -std::pow(-v, exponent) : std::pow(v, exponent));
      ASSERT_EQ(std::bit_cast<uint32_t>(float{got[k]}), std::bit_cast<uint32_t>(want))
          << v << " to the power of " << exponent;
    }
  }
}

TEST(PowLanes, BitsOfPow) {
  const std::vector<float> values = Values();
  for (const double exponent : {2.0, 0.5, 1.0, 3.0, 8.0, 8.5, 1e-6, -1.0}) {
    ExpectBitsOfPow(exponent, values);
  }
  for (const double exponent : {2.2, 1 / 2.2, 2.4, 1 / 1.8}) {
    ExpectBitsOfPow(exponent, values);
    const std::vector<float> near_middle = ValuesNearMiddle(exponent);
    EXPECT_FALSE(near_middle.empty());
    ExpectBitsOfPow(exponent, near_middle);
  }
}

}  // namespace

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Powers in lanes have the bits of std::pow: special values, powers in the middle between two
// floats, which squares have, powers next to it, and random bits.

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
    values.push_back(std::bit_cast<float>(bits));
    values.push_back(static_cast<float>(bits >> 8) * 0x1p-24f);
    values.push_back(static_cast<float>(2 * (bits >> 20) + 1) * 0x1p-12f);
  }
  return values;
}

TEST(PowLanes, BitsOfPow) {
  constexpr int32_t kLanes = kVXp_TargetLanes;
  std::vector<float> values = Values();
  values.resize(values.size() / kLanes * kLanes);
  for (const double exponent :
       {2.2, 1 / 2.2, 2.4, 1 / 1.8, 2.0, 0.5, 1.0, 3.0, 8.0, 8.5, 1e-6, -1.0}) {
    const VXp_PowLanes power(exponent);
    for (size_t i = 0; i < values.size(); i += kLanes) {
      VXp_PowLanes::Floats x;
      std::memcpy(&x, &values[i], sizeof x);
      const VXp_PowLanes::Floats got = power(x);
      for (int32_t k = 0; k < kLanes; ++k) {
        const double v = values[i + static_cast<size_t>(k)];
        const auto want =
            static_cast<float>(v < 0 ? -std::pow(-v, exponent) : std::pow(v, exponent));
        if (std::isnan(want) && std::isnan(got[k])) continue;
        ASSERT_EQ(std::bit_cast<uint32_t>(float{got[k]}), std::bit_cast<uint32_t>(want))
            << v << " to the power of " << exponent;
      }
    }
  }
}

}  // namespace

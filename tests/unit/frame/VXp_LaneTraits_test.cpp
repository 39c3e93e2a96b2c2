// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// All lanes of a vector give the bits of one pixel at a time: at 8 bits for all operands, at 16
// bits for the neighbours of every place where a rounding turns and for random ones.

#include "frame/VXp_LaneTraits.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <vector>

#include "unit/BornEnvironment.h"

namespace {

template <class L>
void ExpectSame(int32_t a, int32_t b, int32_t c) {
  using T = VXp_PixelTraits<typename L::Pixel>;
  // The lanes between hold other operands, so that a lane that leaks shows.
  const int32_t operands[4][3] = {{a, b, c}, {b, a, c}, {a, c, b}, {c, a, b}};
  typename L::Ints x, y, z;
  for (int32_t i = 0; i < L::kLanes; ++i) {
    const int32_t* const of_lane = operands[i % 4];
    x[i] = static_cast<typename L::Element>(of_lane[0]);
    y[i] = static_cast<typename L::Element>(of_lane[1]);
    z[i] = static_cast<typename L::Element>(of_lane[2]);
  }
  const auto expect = [&](const char* what, typename L::Ints got, int32_t want) {
    EXPECT_EQ(got[0], want) << what << " of " << a << ", " << b << ", " << c;
    EXPECT_EQ(got[L::kLanes - 4], want) << what << " of " << a << ", " << b << ", " << c;
  };
  expect("Mul", L::Mul(x, y), T::Mul(a, b));
  expect("SignedMul", L::SignedMul(x - z, y), T::SignedMul(a - c, b));
  expect("Lerp", L::Lerp(x, y, z), T::Lerp(a, b, c));
  expect("Union", L::Union(x, y), T::Union(a, b));
  expect("Div", L::Div(x, y), T::Div(a, b));
  expect("Luma", L::Luma(x, y, z), T::Luma(a, b, c));
  expect("LumaAsByte", L::LumaAsByte(x), T::LumaAsByte(a));
  if (a <= b && b > 0) expect("DivWithin", L::DivWithin(x, y), T::Div(a, b));
  const int32_t fraction = T::Fraction(a - c, b, c);
  if (T::kDepth == 16 || std::abs(fraction) <= 510) {
    expect("Fraction", L::Fraction(x - z, y, z), fraction);
  }
}

template <class Lanes>
class EightBitLanes : public testing::Test {};
using EightBitTraits = testing::Types<VXp_LaneTraits<VX_Pixel8>, VXp_ShortTraits<>>;
TYPED_TEST_SUITE(EightBitLanes, EightBitTraits);

TYPED_TEST(EightBitLanes, AllOperands) {
  std::mt19937 random(TestSeed());
  for (int32_t a = 0; a < 256; ++a) {
    for (int32_t b = 0; b < 256; ++b) {
      for (int32_t c : {0, 1, 127, 128, 254, 255}) ExpectSame<TypeParam>(a, b, c);
      ExpectSame<TypeParam>(a, b, static_cast<int32_t>(random() % 256));
      if (this->HasFailure()) return;
    }
  }
}

TEST(LaneTraits, SixteenBitsAroundEveryTurn) {
  std::mt19937 random(TestSeed());
  for (int32_t i = 0; i < 100000; ++i) {
    const auto a = static_cast<int32_t>(i < 10000 ? 32768 - i % 4 : random() % 32769);
    // A quotient of k + 1/2 turns at n = a (2k + 1) / 65536.
    const int64_t turn = int64_t{a} * (2 * static_cast<int64_t>(random() % 32768) + 1) / 65536;
    for (int64_t n = turn - 1; n <= turn + 1; ++n) {
      const auto within = static_cast<int32_t>(std::clamp<int64_t>(n, 0, 32768));
      ExpectSame<VXp_LaneTraits<VX_Pixel16>>(within, a, static_cast<int32_t>(random() % 32769));
    }
    if (HasFailure()) return;
  }
}

}  // namespace

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Linear-light tables of profiles against their definition: the light of each code, the inverse by
// the slow twin, the profile's exponent. The test of the colour engine checks the curves.

#include <algorithm>
#include <cstring>

#include "VX/VX_ColorSettings.h"
#include "reference/RefTables.h"
#include "unit/ColorKit.h"

using namespace colorkit;

namespace {

TEST(LinearTables, AreTheCurveAndItsInverse) {
  const auto constant_segment = [](double x) {
    return x < 0.3 ? x : std::max(0.3, 1.75 * x - 0.75);
  };
  const auto steps = [](double x) { return x < 0.35 ? 0.05 : x < 0.7 ? 0.25 : 0.9; };
  for (const COR_QCE_ProfilePtr& profile :
       {Named("sRGB"), Named("gamma 2.4"), Named("Rec.709"), Named("ProPhoto"),
        Opened(FileWith(TableOf(constant_segment, 256))), Opened(FileWith(TableOf(steps, 256)))}) {
    const auto tables = VX_MakeLinearizationTables(profile);
    const auto light = Through(profile, Linear(profile), Greys<uint16_t>(32768));
    for (size_t i = 0; i < 256; ++i) {
      const size_t code = i * 32768 / 255;  // or the next one
      const uint16_t next = light[4 * std::min<size_t>(code + 1, 32768) + 1];
      ASSERT_TRUE(tables->linearize[i] == light[4 * code + 1] || tables->linearize[i] == next) << i;
    }
    const VX_LinearBlendingTables want = vxref::TablesOf(tables->linearize, ExponentOf(profile));
    EXPECT_EQ(std::memcmp(tables.get(), &want, sizeof want), 0);
  }
}

}  // namespace

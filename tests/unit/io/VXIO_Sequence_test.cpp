// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO/VXIO_Sequence.h"

#include <gtest/gtest.h>

namespace {

TEST(Sequence, PatternsGiveNamesAndTakeThemBack) {
  struct Case {
    const char* pattern;
    int64_t frame;
    const char* name;
  };
  for (const Case& c : {Case{"a.####.png", 7, "a.0007.png"},
                        {"a.####.png", 12345, "a.12345.png"},
                        {"d#1/a_#.png", 0, "d#1/a_0.png"},
                        {"%04d", 42, "0042"},
                        {"100%a.%d.png", 10, "100%a.10.png"},
                        {"a%02d", 999999999999999, "a999999999999999"},
                        {"a%0d", 3, "a3"}}) {
    ASSERT_TRUE(VXIO_FramePattern::IsPattern(c.pattern)) << c.pattern;
    VXIO_FramePattern pattern(c.pattern);
    EXPECT_EQ(pattern.Name(c.frame), c.name);
    EXPECT_EQ(pattern.FrameOf(c.name), c.frame);
  }
  VXIO_FramePattern pattern("x/a.%03d.png");
  EXPECT_EQ(pattern.Canonical(), "x/a.###.png");
  for (const char* name : {"a.07.png", "a.0007.png", "a.-07.png", "a..png", "a.png", "a.007.pngx",
                           "b.007.png", "a.00a.png", "a.9999999999999999.png"}) {
    EXPECT_FALSE(pattern.FrameOf(name)) << name;
  }
  for (const char* name : {"a.png", "d.####/a.png", "100%.png", "%s.png"}) {
    EXPECT_FALSE(VXIO_FramePattern::IsPattern(name)) << name;
  }
  for (const char* name :
       {"a.png", "a#.##.png", "a%4d.png", "a%016d.png", "a%0999999999999d", "a################"}) {
    EXPECT_THROW(VXIO_FramePattern{name}, std::invalid_argument) << name;
  }
}

TEST(Sequence, SetsOfFrames) {
  const std::pair<const char*, std::vector<int64_t>> good[] = {{"7", {7}},
                                                               {"1-3,8", {1, 2, 3, 8}},
                                                               {"20-25x2", {20, 22, 24}},
                                                               {"20-26:3,20", {20, 23, 26}},
                                                               {"5-1x2", {5, 3, 1}},
                                                               {"3-4,1-5", {3, 4, 1, 2, 5}},
                                                               {"0007-08", {7, 8}},
                                                               {"4-4x9", {4}},
                                                               {"1-2x999999999999999", {1}}};
  for (const auto& [words, frames] : good) EXPECT_EQ(VXIO_ParseFrames(words), frames) << words;
  for (const char* words :
       {"", ",", "1,", ",1", "1-", "-1", "1--3", "1-3x", "1-3x0", "1-3:-1", "1x2", "1-3x2x2", " 1",
        "a", "1.5", "0-5000000", "1-3000000,4000000-7000000", "1000000000000000",
        "99999999999999999999"}) {
    EXPECT_THROW(VXIO_ParseFrames(words), std::invalid_argument) << words;
  }
  EXPECT_EQ(VXIO_ParseFrames("1-5000000").size(), 5000000u);
  EXPECT_EQ(VXIO_FormatFrames({1, 2, 3, 7, 9, 10}), "1-3,7,9-10");
  EXPECT_EQ(VXIO_FormatFrames({1, 3, 5, 6}, 2), "1,3 and 2 more");
}

}  // namespace

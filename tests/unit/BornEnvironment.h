// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The environment of all unit tests: a library that is initialised once, and the seed of random
// operands.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>

#include "VX/VX_Package.h"

class BornEnvironment : public testing::Environment {
 public:
  void SetUp() override { ASSERT_EQ(VX_Birth(), 0); }
  void TearDown() override { EXPECT_EQ(VX_Death(), 0); }
};

// Returns the seed from the environment variable VX_TEST_SEED, or a fixed seed. main prints it.
inline uint32_t TestSeed() {
  const char* text = std::getenv("VX_TEST_SEED");
  return text == nullptr ? 20260u : static_cast<uint32_t>(std::strtoul(text, nullptr, 0));
}

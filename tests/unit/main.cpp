// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include <cstdio>
#include <string>

#include "BornEnvironment.h"
#include "Levels.h"

// The environment variable VX_TEST_PROCESSOR limits what the processor record reports.
int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  const char* level = std::getenv("VX_TEST_PROCESSOR");
  if (!LimitProcessor(level == nullptr ? "all" : level)) {
    std::fprintf(stderr, "VX_TEST_PROCESSOR is none, sse2 or all, not %s\n", level);
    return 2;
  }
  if (!IsExpectedBuild()) return 2;
  testing::AddGlobalTestEnvironment(new BornEnvironment);
  std::printf("random seed: VX_TEST_SEED=%u\n", TestSeed());
  return RUN_ALL_TESTS();
}

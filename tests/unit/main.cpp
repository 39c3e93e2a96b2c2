// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include <cstdio>
#include <string>

#include "BornEnvironment.h"

namespace {

// Makes the processor record tell less than this machine has, as the environment variable
// VX_TEST_PROCESSOR asks: "none", "sse2", or "all" for all of it.
bool LimitProcessor(const std::string& level) {
  if (level == "none") {
    for (int i = 0; i < U_CPU_WORDS; ++i) U_G_CPU_DataP[i] = 0;
  } else if (level == "sse2") {
    U_G_CPU_DataP[U_CPU_HAS_SSSE3] = 0;
  }
  return level == "none" || level == "sse2" || level == "all";
}

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  const char* level = std::getenv("VX_TEST_PROCESSOR");
  if (!LimitProcessor(level == nullptr ? "all" : level)) {
    std::fprintf(stderr, "VX_TEST_PROCESSOR is none, sse2 or all, not %s\n", level);
    return 2;
  }
  testing::AddGlobalTestEnvironment(new BornEnvironment);
  std::printf("random seed: VX_TEST_SEED=%u\n", TestSeed());
  return RUN_ALL_TESTS();
}

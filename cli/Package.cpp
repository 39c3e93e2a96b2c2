// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "Package.h"

#include <cstring>

#include "Errors.h"
#include "VX/VX_Package.h"
#include "host/VXHost.h"

namespace vxcli {

namespace {

constexpr uint32_t kReportCode = 0x250000;

bool Has(int32_t word) { return U_G_CPU_DataP[word] != 0; }

// The vector levels of the machine, whatever level is set.
struct Machine {
  Machine() {
    uint32_t set[U_CPU_WORDS];
    std::memcpy(set, U_G_CPU_DataP, sizeof set);
    VXHost_ResetProcessor();
    sse2 = Has(U_CPU_HAS_SSE2);
    ssse3 = Has(U_CPU_HAS_SSSE3);
    VXHost_SetProcessor(set);
  }
  bool sse2, ssse3;
};

}  // namespace

void SetProcessor(int32_t level) {
  VXHost_ResetProcessor();
  if (level == 2) return;
  if (level == 1 && !Has(U_CPU_HAS_SSE2)) {
    throw UsageError("--processor 'sse2': this machine does not have it; use none");
  }
  uint32_t words[U_CPU_WORDS];
  std::memcpy(words, U_G_CPU_DataP, sizeof words);
  words[U_CPU_HAS_SSSE3] = 0;
  words[U_CPU_HAS_SSE3] = 0;
  if (level == 0) words[U_CPU_HAS_SSE2] = words[U_CPU_HAS_SSE] = words[U_CPU_HAS_MMX] = 0;
  VXHost_SetProcessor(words);
}

std::vector<ProcessorLevel> ProcessorLevels() {
  Machine machine;
  bool sse2 = Has(U_CPU_HAS_SSE2), ssse3 = sse2 && Has(U_CPU_HAS_SSSE3);
  return {{"none", "plain", true, !sse2},
          {"sse2", "sse2", machine.sse2, sse2 && !ssse3},
          {"all", "sse2+ssse3", machine.sse2 && machine.ssse3, ssse3}};
}

Package::Package() {
  Check(VX_CheckVersions(kReportCode, VX_PKG_VERSION), "start");
  VX_Err code = VX_Birth();
  if (code == VX_Ok) code = VXHost_RunPlugScan();
  if (code == VX_Ok) return;
  std::string text = TextOfCode(code);
  static_cast<void>(VX_Death());  // also needed after a failed birth
  throw LibraryError("start: " + text);
}

Package::~Package() { static_cast<void>(VX_Death()); }

}  // namespace vxcli

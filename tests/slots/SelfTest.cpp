// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Typical faults of vector routines, each put into a slot for one run.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "SlotRunner.h"
#include "VX/VX_OverrideTable.h"

namespace {

VXp_OverrideTable real;  // the routines that the faulty ones call

struct Fault {
  const char* what;
  const char* slot;
  std::function<void()> install;
};

std::vector<Fault> Faults() {
  static VXp_OverrideTable& slots = VXp_G_OverFuncs;
  return {
      {"one bit in the last pixels of a row", "slot VX_MatteGray",
       [] {
         slots.VX_MatteGray = [](int32_t count, const VX_Pixel8* src, VX_Pixel8* dst) {
           const VX_Err error = real.VX_MatteGray(count, src, dst);
           if (count > 4 && count % 4 == 3) dst[count - 1].blue ^= 1;
           return error;
         };
       }},
      {"a write after the row", "slot VX_AlphaUnion",
       [] {
         slots.VX_AlphaUnion = [](int32_t count, const VX_Pixel8* src, uint8_t opacity,
                                  const VX_Pixel8* mask, VX_Pixel8* dst) {
           const VX_Err error = real.VX_AlphaUnion(count, src, opacity, mask, dst);
           if (count == 13) reinterpret_cast<uint8_t*>(dst)[count * 4] ^= 0x80;
           return error;
         };
       }},
      {"a read after the row", "slot VX_UnmatteWhite16",
       [] {
         slots.VX_UnmatteWhite16 = [](int32_t count, const VX_Pixel16* src, VX_Pixel16* dst) {
           uint8_t group[32];
           if (src != nullptr && count % 4 == 3) std::memcpy(group, src + count - 3, 32);
           static_cast<void>(*const_cast<volatile uint8_t*>(group));
           return real.VX_UnmatteWhite16(count, src, dst);
         };
       }},
      {"the other rule of a sampler", "slot VX_SubpixelSampleNoClip_Straight",
       [] { slots.VX_SubpixelSampleNoClip_Straight = &VX_SubpixelSampleNoClip_Straight; }},
  };
}

// Runs in a child process, because the fault may crash.
bool Finds(const Operation& slot, const Fault& fault, Plan plan) {
  std::fflush(stdout);
  const pid_t child = fork();
  if (child == 0) {
    signal(SIGSEGV, [](int) { _exit(kCrashed); });
    plan.tamper = [&fault] {
      std::memcpy(static_cast<void*>(&real), &VXp_G_OverFuncs, sizeof real);
      fault.install();
    };
    _exit(CompareSlot(slot, plan).empty() ? 0 : 1);
  }
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status)) return false;
  return WEXITSTATUS(status) == 1 || WEXITSTATUS(status) == kCrashed;
}

}  // namespace

int SelfTest(const Plan& plan) {
  int missed = 0;
  for (const Fault& fault : Faults()) {
    for (const Operation& slot : SlotOperations()) {
      if (slot.name != fault.slot) continue;
      const bool found = Finds(slot, fault, plan);
      std::printf("%s: %s\n", found ? "found" : "MISSED", fault.what);
      if (!found) ++missed;
    }
  }
  return missed;
}

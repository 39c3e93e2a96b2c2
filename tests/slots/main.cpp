// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// vx_slots: the routine of every slot of the override table gives the bits of the plain level at
// every processor level.

#include <cstdio>
#include <stdexcept>

#include "SlotRunner.h"
#include "VX/VX_OverrideTable.h"
#include "commands/Options.h"

namespace {

constexpr char kUsage[] =
    "usage: vx_slots [OPTIONS]\n"
    "\n"
    "  --list         the slots with their types\n"
    "  --self-test    checks that wrong routines are found\n"
    "  --slot NAME    only this slot, by name or number\n"
    "  --level LEVEL  only this level against the plain one: sse2 or all\n"
    "  --seed N       of the random commands, 1 without it\n"
    "  --count N      commands a slot, 400 without it\n"
    "\n"
    "Ends with 0 when all is good, 1 after a difference, 2 for wrong options. Repeat a command by\n"
    "vx_commands --op 'slot NAME' --seed N --at COMMAND.\n";

int Run(int count, char** words) {
  Plan plan;
  std::string only, level = "all";
  bool list = false, self_test = false;
  ParseOptions(count, words,
               {{"--list", &list},
                {"--self-test", &self_test},
                {"--slot", &only},
                {"--level", &level},
                {"--seed", &plan.seed},
                {"--count", &plan.count}});
  plan.levels = {level};
  if (self_test) return SelfTest(plan) == 0 ? 0 : 1;
  const std::vector<Operation> slots = SlotOperations();
  size_t next = 0;
  int chosen = 0, wrong = 0;
  for (int32_t number = 0; number < VX_OverrideSlotCount; ++number) {
    VX_SlotDescription slot{};
    VX_DescribeSlot(number, &slot);
    if (slot.name == nullptr) continue;
    const Operation& operation = slots[next++];
    if (!only.empty() && only != slot.name && only != std::to_string(number)) continue;
    ++chosen;
    std::printf("%4d  %-46s", number, slot.name);
    if (list) {
      std::printf(" %s\n", slot.signature);
      continue;
    }
    std::fflush(stdout);
    const std::string text = CompareSlot(operation, plan);
    std::printf(" %s\n", text.empty() ? "good" : ("WRONG\n      " + text).c_str());
    if (!text.empty()) ++wrong;
  }
  if (chosen == 0) throw std::invalid_argument("no slot " + only);
  if (!list) {
    std::printf("%d slots, %d wrong; seed %llu\n", chosen, wrong,
                static_cast<unsigned long long>(plan.seed));
  }
  return wrong == 0 ? 0 : 1;
}

}  // namespace

int main(int count, char** words) {
  return RunProgram("vx_slots", kUsage, count, words, [&] { return Run(count, words); });
}

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "SlotRunner.h"

#include "VX/VX_OverrideTable.h"
#include "commands/RowCalls.h"
#include "unit/Levels.h"

namespace {

// The one slot whose results differ between levels by intention: double precision, but single
// precision where the processor record reports SSE2. Projects were rendered with both, so both
// rules have to stay. Each level is compared with the routine of its rule, and the operations that
// call this slot are compared under one rule.
constexpr char kTwoRules[] = "slot VX_SubpixelSampleNoClip_Straight";

Runner Expected(const Operation& slot) {
  if (slot.name != kTwoRules) return slot.run;
  const bool single = U_G_CPU_DataP[U_CPU_HAS_SSE2] != 0;
  return [single](Command& c) {
    return Run(c,
               single ? &VX_SubpixelSampleNoClip_Straight_SSE2 : &VX_SubpixelSampleNoClip_Straight);
  };
}

using Results = std::vector<std::vector<Part>>;

// The results of all commands. Faults of a command, such as a write to an input, go to `wrong`.
Results Collect(const Operation& slot, const Runner& runner, const Plan& plan, std::string* wrong) {
  if (slot.name != kTwoRules) {
    VXp_G_OverFuncs.VX_SubpixelSampleNoClip_Straight = &VX_SubpixelSampleNoClip_Straight;
  }
  Results results;
  for (uint32_t i = 0; i < plan.count; ++i) {
    Command command(slot.name.c_str(), plan.seed, i);
    Execute(command, runner, slot.keeps_on_refusal);
    if (wrong->empty() && !command.fault().empty()) {
      *wrong = "command " + std::to_string(i) + ": " + command.fault() + "\n" + command.log();
    }
    results.push_back(command.parts());
  }
  return results;
}

}  // namespace

std::string CompareSlot(const Operation& slot, const Plan& plan) {
  std::string wrong;
  Results plain;
  {
    const BornAtLevel born("none");
    plain = Collect(slot, slot.run, plan, &wrong);
  }
  for (const std::string& level : plan.levels) {
    const BornAtLevel born(level);
    if (slot.name == kTwoRules) plain = Collect(slot, Expected(slot), plan, &wrong);
    plan.tamper();
    const Results results = Collect(slot, slot.run, plan, &wrong);
    for (uint32_t i = 0; i < plan.count && wrong.empty(); ++i) {
      const std::string text =
          Difference(results[i], plain[i], /*tolerance=*/0, /*by_twin_only=*/false);
      if (!text.empty()) wrong = "level " + level + ", command " + std::to_string(i) + ": " + text;
    }
  }
  return wrong;
}

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "SlotRunner.h"

#include "VX/VX_OverrideTable.h"
#include "commands/RowCalls.h"
#include "unit/Levels.h"

namespace {

using Results = std::vector<std::vector<Part>>;

// The results of all commands. Faults of a command, such as a write to an input, go to `wrong`.
Results Collect(const Operation& slot, const Plan& plan, std::string* wrong) {
  Results results;
  for (uint32_t i = 0; i < plan.count; ++i) {
    Command command(slot.name.c_str(), plan.seed, i);
    Execute(command, slot.run, slot.keeps_on_refusal);
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
    plain = Collect(slot, plan, &wrong);
  }
  for (const std::string& level : plan.levels) {
    const BornAtLevel born(level);
    plan.tamper();
    const Results results = Collect(slot, plan, &wrong);
    for (uint32_t i = 0; i < plan.count && wrong.empty(); ++i) {
      const std::string text =
          Difference(results[i], plain[i], /*tolerance=*/0, /*by_twin_only=*/false);
      if (!text.empty()) wrong = "level " + level + ", command " + std::to_string(i) + ": " + text;
    }
  }
  return wrong;
}

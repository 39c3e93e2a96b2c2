// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "Checker.h"

#include <cstdio>
#include <cstring>

#include "CheckCopies.h"
#include "CheckFilters.h"
#include "CheckIterators.h"
#include "CheckMasks.h"
#include "CheckRows.h"
#include "CheckSamplers.h"
#include "CheckTransform.h"
#include "CheckUno.h"
#include "CheckWorlds.h"
#include "VX/VX_OverrideTable.h"

namespace {

template <class Signature>
constexpr bool kHasChecker = requires(Trial& trial, Signature routine) {
  CheckSlot(trial, routine);
};
// Nobody lists the slots that are checked: the type of a slot decides. `Held::Routine()` is what
// the slot holds.
template <class Signature, class Held>
constexpr Slot MakeSlot(int32_t number, const char* name, const char* signature) {
  Slot slot{number, name, signature, nullptr};
  if constexpr (kHasChecker<Signature>) {
    slot.check = [](Trial& trial) { CheckSlot(trial, Held::Routine()); };
  }
  return slot;
}
template <auto member>
struct HeldBy {
  static auto Routine() { return VXp_G_OverFuncs.*member; }
};

constexpr Slot kSlots[] = {
#define VX_SLOT(number, name, type) \
  MakeSlot<type, HeldBy<&VXp_OverrideTable::name>>(number, #name, #type),
#define VX_NULL_SLOT(number)
#include "VX/VX_OverrideSlots.def"
#undef VX_SLOT
#undef VX_NULL_SLOT
};

void RunCases(void (*check)(Trial&), Trial& trial) {
  try {
    check(trial);
  } catch (int32_t code) {
    trial.Fail("throws " + std::to_string(code));
  }
}

// Slots whose results differ by level on purpose. Each is held against the routine of its rule.
struct OwnRule {
  const char* slot;
  int32_t flag;  // of the processor record, from which on the rule holds
  void (*check)(Trial&);
};
constexpr OwnRule kOwnRules[] = {
    // Double precision and ties to even, but single precision and 0.5 added where the record tells
    // of SSE2: projects were rendered with both, so both roundings have to stay.
    {"VX_SubpixelSampleNoClip_Straight", U_CPU_HAS_SSE2,
     [](Trial& trial) { CheckSlot(trial, &VX_SubpixelSampleNoClip_Straight_SSE2); }},
};

const OwnRule* OwnRuleOf(const Slot& slot, const Level& level) {
  for (const OwnRule& rule : kOwnRules) {
    const bool holds =
        std::find(level.flags.begin(), level.flags.end(), rule.flag) != level.flags.end();
    if (holds && std::strcmp(rule.slot, slot.name) == 0) return &rule;
  }
  return nullptr;
}

// What every level is held against: the cases at the plain one.
Verdict CheckAtLevel(const Slot& slot, const Plan& plan, const Level& level, bool plain,
                     Record& record) {
  const Life life(level);
  if (!plain) plan.tamper();
  const int32_t state = StateOf(slot);
  if (state == VX_SlotState_NotBuilt) return Verdict::kNotBuilt;
  if (state == VX_SlotState_Null) throw Mismatch{"the slot is empty after birth"};
  if (slot.check == nullptr)
    throw Mismatch{"no checker for slots of type " + std::string(slot.signature)};
  const uint64_t seed = plan.seed + static_cast<uint64_t>(slot.number);
  const auto run = [&](void (*check)(Trial&), Trial::Kind kind, Record& against) {
    Trial trial(slot.name, level.name, seed, plan.rounds, kind, against);
    RunCases(check, trial);
  };
  if (const OwnRule* const rule = OwnRuleOf(slot, level)) {
    Record by_rule;
    run(rule->check, Trial::Kind::kRecord, by_rule);
    run(slot.check, Trial::Kind::kCompare, by_rule);
  } else {
    run(slot.check, plain ? Trial::Kind::kRecord : Trial::Kind::kCompare, record);
  }
  return Verdict::kGood;
}

}  // namespace

std::span<const Slot> AllSlots() { return kSlots; }

Slot SlotOfUnknownType() {
  struct Unknown;
  using Signature = VX_Err (*)(Unknown*);
  return MakeSlot<Signature, HeldBy<&VXp_OverrideTable::VX_NNSample>>(2, "VX_NNSample",
                                                                      "a type nobody knows");
}

int32_t StateOf(const Slot& slot) {
  VX_SlotDescription description{};
  VX_DescribeSlot(slot.number, &description);
  return description.state;
}

Verdict CheckAtAllLevels(const Slot& slot, const Plan& plan) {
  std::printf("%4d  %-46s", slot.number, slot.name);
  std::fflush(stdout);
  Record record;
  Verdict verdict = Verdict::kGood;
  try {
    for (size_t i = 0; i < plan.levels.size(); ++i) {
      const Verdict here = CheckAtLevel(slot, plan, plan.levels[i], i == 0, record);
      if (i > 0 && here != verdict) throw Mismatch{"built at some levels only"};
      verdict = here;
    }
    std::printf(" %s\n", verdict == Verdict::kGood ? "good" : "not built yet");
  } catch (const Mismatch& mismatch) {
    std::printf(" BAD\n      %s\n", mismatch.text.c_str());
    verdict = Verdict::kBad;
  }
  return verdict;
}

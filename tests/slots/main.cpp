// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// vx_slots, the variant checker: every slot of the override table, at every processor level, gives
// the bits of the plain level.

#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <exception>
#include <stdexcept>

#include "Checker.h"
#include "VX/VX_OverrideTable.h"

namespace {

constexpr char kUsage[] =
    "usage: vx_slots [OPTIONS]\n"
    "\n"
    "  --list         the slots, with their types and whether they are checked\n"
    "  --self-test    whether routines that are wrong on purpose are found\n"
    "  --slot NAME    only this slot, by name or number\n"
    "  --level LEVEL  only this level against the plain one: none, sse2, ssse3\n"
    "  --seed N       repeat a run; without it every run draws other cases\n"
    "  --rounds N     how many cases, 4 without it\n"
    "\n"
    "Ends with 0 when all is good, 1 after a mismatch, 2 for wrong options, 3 after a crash.\n";

enum class Task { kCheck, kList, kSelfTest };

struct Options {
  Task task = Task::kCheck;
  std::string slot;
  Plan plan;
};

uint64_t Number(const std::string& text) {
  uint64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) {
    throw std::invalid_argument("not a number: " + text);
  }
  return value;
}

void KeepLevel(std::vector<Level>& levels, const std::string& name) {
  std::vector<Level> kept = {levels.front()};
  for (size_t i = 1; i < levels.size(); ++i) {
    if (levels[i].name == name) kept.push_back(levels[i]);
  }
  if (kept.size() == 1 && name != kept[0].name) {
    throw std::invalid_argument("this machine has no level " + name);
  }
  levels = kept;
}

Options Parse(int count, char** words) {
  Options options;
  options.plan.levels = LevelsOfThisMachine();
  options.plan.seed = static_cast<uint64_t>(std::chrono::system_clock::now().time_since_epoch() /
                                            std::chrono::milliseconds(1));
  for (int i = 1; i < count; ++i) {
    const std::string word = words[i];
    const auto value = [&]() -> std::string {
      if (++i >= count) throw std::invalid_argument(word + " needs a value");
      return words[i];
    };
    if (word == "--list") {
      options.task = Task::kList;
    } else if (word == "--self-test") {
      options.task = Task::kSelfTest;
    } else if (word == "--slot") {
      options.slot = value();
    } else if (word == "--level") {
      KeepLevel(options.plan.levels, value());
    } else if (word == "--seed") {
      options.plan.seed = Number(value());
    } else if (word == "--rounds") {
      options.plan.rounds = static_cast<int>(std::clamp<uint64_t>(Number(value()), 1, 10000));
    } else {
      throw std::invalid_argument("no option " + word);
    }
  }
  return options;
}

std::vector<Slot> Chosen(const std::string& name) {
  std::vector<Slot> slots;
  for (const Slot& slot : AllSlots()) {
    if (name.empty() || name == slot.name || name == std::to_string(slot.number)) {
      slots.push_back(slot);
    }
  }
  if (slots.empty()) throw std::invalid_argument("no slot " + name);
  return slots;
}

void List(const std::vector<Slot>& slots, const Plan& plan) {
  const Life life(plan.levels.front());
  for (const Slot& slot : slots) {
    const char* state = slot.check != nullptr ? "checked" : "no checker";
    if (StateOf(slot) == VX_SlotState_NotBuilt) state = "not built yet";
    std::printf("%4d  %-46s %-40s %s\n", slot.number, slot.name, slot.signature, state);
  }
}

int Check(const std::vector<Slot>& slots, const Plan& plan) {
  int count[3] = {};
  for (const Slot& slot : slots) ++count[static_cast<int>(CheckAtAllLevels(slot, plan))];
  const int bad = count[static_cast<int>(Verdict::kBad)];
  std::printf(
      "%d good, %d bad, %d not built yet; seed %llu\n", count[static_cast<int>(Verdict::kGood)],
      bad, count[static_cast<int>(Verdict::kNotBuilt)], static_cast<unsigned long long>(plan.seed));
  return bad == 0 ? 0 : 1;
}

int Run(const Options& options) {
  const std::vector<Slot> slots = Chosen(options.slot);
  if (options.task == Task::kList) {
    List(slots, options.plan);
    return 0;
  }
  std::printf("seed %llu, %d rounds, levels:", static_cast<unsigned long long>(options.plan.seed),
              options.plan.rounds);
  for (const Level& level : options.plan.levels) std::printf(" %s", level.name);
  std::printf("\n");
  ReportCrashes();
  if (options.task == Task::kSelfTest) return SelfTest(options.plan) == 0 ? 0 : 1;
  return Check(slots, options.plan);
}

}  // namespace

int main(int count, char** words) {
  try {
    if (count == 2 && std::strcmp(words[1], "--help") == 0) {
      std::fputs(kUsage, stdout);
      return 0;
    }
    return Run(Parse(count, words));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "vx_slots: %s\n%s", error.what(), kUsage);
    return 2;
  }
}

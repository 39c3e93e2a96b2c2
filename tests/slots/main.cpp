// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// vx_slots: the routine of every slot of the override table gives the bits of the plain level at
// every processor level.

#include <charconv>
#include <cstdio>
#include <cstring>
#include <exception>
#include <stdexcept>

#include "SlotRunner.h"
#include "VX/VX_OverrideTable.h"

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

struct Options {
  Plan plan;
  std::string slot;
  bool list = false, self_test = false;
};

uint64_t Number(const std::string& text) {
  uint64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) {
    throw std::invalid_argument("not a number: " + text);
  }
  return value;
}

Options Parse(int count, char** words) {
  Options options;
  for (int i = 1; i < count; ++i) {
    const std::string word = words[i];
    const auto value = [&]() -> std::string {
      if (++i >= count) throw std::invalid_argument(word + " needs a value");
      return words[i];
    };
    if (word == "--list") {
      options.list = true;
    } else if (word == "--self-test") {
      options.self_test = true;
    } else if (word == "--slot") {
      options.slot = value();
    } else if (word == "--level") {
      options.plan.levels = {value()};
    } else if (word == "--seed") {
      options.plan.seed = Number(value());
    } else if (word == "--count") {
      options.plan.count = static_cast<uint32_t>(Number(value()));
    } else {
      throw std::invalid_argument("no option " + word);
    }
  }
  return options;
}

int Run(const Options& options) {
  const std::vector<Operation> slots = SlotOperations();
  size_t next = 0;
  int chosen = 0, wrong = 0;
  for (int32_t number = 0; number < VX_OverrideSlotCount; ++number) {
    VX_SlotDescription slot{};
    VX_DescribeSlot(number, &slot);
    if (slot.name == nullptr) continue;
    const Operation& operation = slots[next++];
    if (!options.slot.empty() && options.slot != slot.name &&
        options.slot != std::to_string(number)) {
      continue;
    }
    ++chosen;
    std::printf("%4d  %-46s", number, slot.name);
    if (options.list) {
      std::printf(" %s\n", slot.signature);
      continue;
    }
    std::fflush(stdout);
    const std::string text = CompareSlot(operation, options.plan);
    std::printf(" %s\n", text.empty() ? "good" : ("WRONG\n      " + text).c_str());
    if (!text.empty()) ++wrong;
  }
  if (chosen == 0) throw std::invalid_argument("no slot " + options.slot);
  if (!options.list) {
    std::printf("%d slots, %d wrong; seed %llu\n", chosen, wrong,
                static_cast<unsigned long long>(options.plan.seed));
  }
  return wrong == 0 ? 0 : 1;
}

}  // namespace

int main(int count, char** words) {
  try {
    if (count == 2 && std::strcmp(words[1], "--help") == 0) {
      std::fputs(kUsage, stdout);
      return 0;
    }
    const Options options = Parse(count, words);
    return options.self_test ? (SelfTest(options.plan) == 0 ? 0 : 1) : Run(options);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "vx_slots: %s\n%s", error.what(), kUsage);
    return 2;
  }
}

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "Options.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <iterator>
#include <stdexcept>
#include <string_view>

#include "Sections.h"

namespace {

int ParseRounds(std::string_view text) {
  int rounds = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), rounds);
  if (error != std::errc() || end != text.data() + text.size() || rounds < 1 || rounds > 1000) {
    throw std::invalid_argument("--rounds wants a number from 1 to 1000");
  }
  return rounds;
}

bool IsSection(std::string_view name) {
  return std::any_of(std::begin(kSections), std::end(kSections),
                     [name](const Section& section) { return name == section.name; });
}

}  // namespace

std::string UsageText() {
  std::string text = "usage: vx_bench [SECTION...] [options]\n\n";
  for (const Section& section : kSections) {
    text += "  " + std::string(section.name) + std::string(15 - std::strlen(section.name), ' ') +
            section.what + "\n";
  }
  return text +
         "\n"
         "  --filter TEXT  only rows whose name contains TEXT, such as 8/in-front/partly\n"
         "  --rounds N     times that each contestant of a row runs (9)\n"
         "  --quick        1920x1080 only, three rounds\n"
         "  --plain        without the library's vector routines\n"
         "\n"
         "Without a section: all of them. Rows are named SIZE/DEPTH/MODE/CONTENT/MASK in "
         "composite,\n"
         "DEPTH/MODE/ in modes, as they are printed in the others.\n"
         "The exit code is 1 when contestants disagree on a result or a call takes more scratch\n"
         "than one row; times never decide it.\n";
}

Options ParseOptions(int count, const char* const* arguments) {
  Options options;
  bool any_rounds = false;
  for (int i = 1; i < count; ++i) {
    const std::string_view argument = arguments[i];
    const auto value = [&]() -> const char* {
      if (i + 1 == count) throw std::invalid_argument(std::string(argument) + " wants a value");
      return arguments[++i];
    };
    if (argument == "--filter") {
      options.filter = value();
    } else if (argument == "--rounds") {
      options.rounds = ParseRounds(value());
      any_rounds = true;
    } else if (argument == "--quick") {
      options.quick = true;
    } else if (argument == "--plain") {
      options.plain = true;
    } else if (argument == "--help" || argument == "-h") {
      options.help = true;
    } else if (IsSection(argument)) {
      options.sections.emplace_back(argument);
    } else {
      throw std::invalid_argument("unknown argument \"" + std::string(argument) + "\"");
    }
  }
  if (options.quick && !any_rounds) options.rounds = 3;
  return options;
}

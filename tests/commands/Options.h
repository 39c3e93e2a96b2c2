// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The command line of a test program.

#include <charconv>
#include <cstdio>
#include <exception>
#include <map>
#include <stdexcept>
#include <string>
#include <variant>

// The variable that an option sets. An option with a bool takes no value.
using OptionTarget = std::variant<bool*, uint64_t*, std::string*>;

inline void ParseOptions(int count, char** words,
                         const std::map<std::string, OptionTarget>& options) {
  for (int i = 1; i < count; ++i) {
    const std::string word = words[i];
    const auto option = options.find(word);
    if (option == options.end()) throw std::invalid_argument("no option " + word);
    if (bool* const* const flag = std::get_if<bool*>(&option->second)) {
      **flag = true;
      continue;
    }
    if (++i >= count) throw std::invalid_argument(word + " needs a value");
    const std::string value = words[i];
    if (std::string* const* const text = std::get_if<std::string*>(&option->second)) {
      **text = value;
      continue;
    }
    const char* const last = value.data() + value.size();
    const auto [end, error] =
        std::from_chars(value.data(), last, *std::get<uint64_t*>(option->second));
    if (error != std::errc() || end != last) throw std::invalid_argument("not a number: " + value);
  }
}

// Calls run() for the exit code. `--help` prints the usage; an exception is printed with it and
// gives 2.
template <class Run>
int RunProgram(const char* name, const char* usage, int count, char** words, Run run) {
  try {
    if (count == 2 && words[1] == std::string("--help")) {
      std::fputs(usage, stdout);
      return 0;
    }
    return run();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n%s", name, error.what(), usage);
    return 2;
  }
}

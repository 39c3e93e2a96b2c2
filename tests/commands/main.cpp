// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// vx_commands: seeded random commands of all operations, against their slow twins and into digests.

#include <signal.h>
#include <unistd.h>

#include <charconv>
#include <cstdio>
#include <cstring>
#include <exception>
#include <stdexcept>

#include "Operations.h"
#include "unit/Levels.h"

namespace {

constexpr char kUsage[] =
    "usage: vx_commands [OPTIONS]\n"
    "\n"
    "  --seed N       of the random numbers, 1 without it\n"
    "  --count N      commands of each operation, 200 without it\n"
    "  --op NAME      only this operation\n"
    "  --at N         only the command of this number, with all that it draws\n"
    "  --digest       a line for each operation with the digest of its results\n"
    "  --level LEVEL  what the processor record reports: none, sse2 or all (the default)\n"
    "  --list         the operations\n"
    "\n"
    "Ends with 0 when all is good, 1 after a wrong result, 2 for wrong options, 3 after a crash.\n";

struct Options {
  uint64_t seed = 1;
  uint32_t first = 0, count = 200;
  std::string operation, level = "all";
  bool digest = false, list = false;
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
    if (word == "--seed") {
      options.seed = Number(value());
    } else if (word == "--count") {
      options.count = static_cast<uint32_t>(Number(value()));
    } else if (word == "--at") {
      options.first = static_cast<uint32_t>(Number(value()));
      options.count = 1;
      Command::logs = true;
    } else if (word == "--op") {
      options.operation = value();
    } else if (word == "--level") {
      options.level = value();
    } else if (word == "--digest") {
      options.digest = true;
    } else if (word == "--list") {
      options.list = true;
    } else {
      throw std::invalid_argument("no option " + word);
    }
  }
  return options;
}

char running[160];  // the current command, for a signal handler

void OnCrash(int) {
  const char text[] = "CRASH in ";
  if (write(STDOUT_FILENO, text, sizeof text - 1) < 0) _exit(3);
  if (write(STDOUT_FILENO, running, std::strlen(running)) < 0) _exit(3);
  _exit(3);
}

// Returns the number of operations with a wrong result. The first wrong command is repeated with
// its draws, because commands do not depend on each other.
int RunAll(const std::vector<Operation>& operations, const Options& options) {
  int wrong = 0;
  for (const Operation& operation : operations) {
    uint64_t digest = 14695981039346656037u;
    std::string failure;
    for (uint32_t i = options.first; i < options.first + options.count && failure.empty(); ++i) {
      std::snprintf(running, sizeof running, "--op '%s' --seed %llu --at %u --level %s\n",
                    operation.name.c_str(), static_cast<unsigned long long>(options.seed), i,
                    options.level.c_str());
      if (Check(operation, options.seed, i, &digest).empty()) continue;
      Command::logs = true;
      failure = Check(operation, options.seed, i, nullptr);
      Command::logs = false;
    }
    if (!failure.empty()) {
      std::printf("WRONG: %s%s\n", running, failure.c_str());
      ++wrong;
    }
    if (options.digest && operation.in_digest) {
      std::printf("%016llx %s\n", static_cast<unsigned long long>(digest), operation.name.c_str());
    }
  }
  return wrong;
}

int Run(const Options& options) {
  std::vector<Operation> operations;
  for (const Operation& operation : AllOperations()) {
    if (options.operation.empty() || options.operation == operation.name) {
      operations.push_back(operation);
    }
  }
  if (operations.empty()) throw std::invalid_argument("no operation " + options.operation);
  if (options.list) {
    for (const Operation& operation : operations) {
      std::printf("%s%s\n", operation.name.c_str(), operation.twin ? "" : " (no twin)");
    }
    return 0;
  }
  struct sigaction action = {};
  action.sa_handler = OnCrash;
  for (const int signal : {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT}) {
    sigaction(signal, &action, nullptr);
  }
  const BornAtLevel born(options.level);
  const int wrong = RunAll(operations, options);
  if (!options.digest) {
    std::printf("%zu operations, %d wrong; seed %llu\n", operations.size(), wrong,
                static_cast<unsigned long long>(options.seed));
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
    return Run(Parse(count, words));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "vx_commands: %s\n%s", error.what(), kUsage);
    return 2;
  }
}

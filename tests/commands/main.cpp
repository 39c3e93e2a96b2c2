// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// vx_commands: seeded random commands of operations on pixels, against their slow twins, against
// another processor level or several threads, and into digests.

#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <utility>

#include "Operations.h"
#include "Options.h"
#include "host/PLUG.h"
#include "unit/Levels.h"
#include "unit/ThreadIterator.h"

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
    "  --against LEVEL  compares the results bit for bit with those at this level, not with twins\n"
    "  --iterator N   processes rows on N threads, and compares the results bit for bit with "
    "those\n"
    "                 of the built-in iterator; after a stop only codes and progress\n"
    "  --modules DIR  the iterator is that of the module parallel in this folder\n"
    "  --list         the operations\n"
    "\n"
    "Ends with 0 when all is good, 1 after a wrong result, 2 for wrong options, 3 after a crash.\n";

constexpr uint64_t kAll = UINT64_MAX;

struct Options {
  uint64_t seed = 1, count = 200, at = kAll, iterator = 0;
  std::string operation, level = "all", against, modules;
  bool digest = false, list = false;
};

char running[160];  // the current command, for a signal handler

void OnCrash(int) {
  const char text[] = "CRASH in ";
  if (write(STDOUT_FILENO, text, sizeof text - 1) < 0) _exit(3);
  if (write(STDOUT_FILENO, running, std::strlen(running)) < 0) _exit(3);
  _exit(3);
}

void SetRunning(const Operation& operation, const Options& options, uint32_t at) {
  std::snprintf(running, sizeof running, "--op '%s' --seed %llu --at %u --level %s\n",
                operation.name.c_str(), static_cast<unsigned long long>(options.seed), at,
                options.level.c_str());
}

// The numbers of the commands: from the first to the one before the second.
std::pair<uint32_t, uint32_t> Range(const Options& options) {
  if (options.at != kAll) return {static_cast<uint32_t>(options.at), options.at + 1};
  return {0, static_cast<uint32_t>(options.count)};
}

using Results = std::vector<std::vector<Part>>;

void LoadIterator(const std::string& folder) {
  VXHost_SetModuleFolders({folder});
  if (PLUG_RunScans() != VX_Ok ||
      VXp_G_OverFuncs.VX_IterateGeneric_Static == &VX_IterateGeneric_Static) {
    throw std::runtime_error("no iterator was loaded from " + folder);
  }
}

// Returns the results of the operation's commands with the library born at a level. With an
// iterator, the pixels of stopped commands are left out, because threads stop at other rows.
Results ResultsAt(const std::string& level, uint64_t iterator, const Operation& operation,
                  const Options& options) {
  const BornAtLevel born(level);
  if (iterator > 0 && !options.modules.empty()) LoadIterator(options.modules);
  std::optional<ThreadIterator> threads;
  if (iterator > 0) threads.emplace(static_cast<int32_t>(iterator));
  const auto [first, end] = Range(options);
  Results results;
  for (uint32_t i = first; i < end; ++i) {
    SetRunning(operation, options, i);
    Command command(operation.name.c_str(), options.seed, i);
    Execute(command, operation.run, operation.keeps_on_refusal);
    results.push_back(command.parts());
    if (options.iterator > 0 && command.WasStopped()) {
      std::erase_if(results.back(), [](const Part& part) { return part.name == "pixels"; });
    }
  }
  return results;
}

// Returns the number of operations whose results depend on the level or the iterator.
int Compare(const std::vector<Operation>& operations, const Options& options) {
  const std::string other = options.against.empty() ? options.level : options.against;
  int wrong = 0;
  for (const Operation& operation : operations) {
    if (!operation.in_digest) continue;
    const Results want = ResultsAt(other, 0, operation, options);
    const Results got = ResultsAt(options.level, options.iterator, operation, options);
    for (uint32_t i = 0; i < want.size(); ++i) {
      const std::string text = Difference(got[i], want[i], 0, false);
      if (text.empty()) continue;
      SetRunning(operation, options, i + Range(options).first);
      std::printf("WRONG: %s%s\n", running, text.c_str());
      ++wrong;
      break;
    }
  }
  if (options.iterator > 1 && ThreadIterator::OtherItems() == 0) {
    std::printf("WRONG: all rows were processed on one thread\n");
    ++wrong;
  }
  return wrong;
}

// Returns the number of operations with a wrong result. The first wrong command is repeated with
// its draws, because commands do not depend on each other.
int RunAll(const std::vector<Operation>& operations, const Options& options) {
  int wrong = 0;
  for (const Operation& operation : operations) {
    uint64_t digest = 14695981039346656037u;
    std::string failure;
    const auto [first, end] = Range(options);
    for (uint32_t i = first; i < end && failure.empty(); ++i) {
      SetRunning(operation, options, i);
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

int Run(int count, char** words) {
  Options options;
  ParseOptions(count, words,
               {{"--seed", &options.seed},
                {"--count", &options.count},
                {"--at", &options.at},
                {"--op", &options.operation},
                {"--level", &options.level},
                {"--against", &options.against},
                {"--digest", &options.digest},
                {"--iterator", &options.iterator},
                {"--modules", &options.modules},
                {"--list", &options.list}});
  Command::logs = options.at != kAll;
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
  if (!IsExpectedBuild()) return 1;
  const auto run_all = [&] {
    const BornAtLevel born(options.level);
    return RunAll(operations, options);
  };
  const int wrong =
      options.against.empty() && options.iterator == 0 ? run_all() : Compare(operations, options);
  if (!options.digest) {
    std::printf("%zu operations, %d wrong; seed %llu\n", operations.size(), wrong,
                static_cast<unsigned long long>(options.seed));
  }
  return wrong == 0 ? 0 : 1;
}

}  // namespace

int main(int count, char** words) {
  return RunProgram("vx_commands", kUsage, count, words, [&] { return Run(count, words); });
}

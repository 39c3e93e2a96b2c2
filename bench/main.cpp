// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The benchmark. It prints ratios of speeds that were measured alternately in one run.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <stdexcept>

#include "Options.h"
#include "Sections.h"
#include "VX/VX_Package.h"
#include "host/VXHost.h"

namespace {

void PrintMachine(const Options& options) {
  const benchmark::CPUInfo& cpu = benchmark::CPUInfo::Get();
  std::printf("%d processors of %.2f GHz;", cpu.num_cpus, 1e-9 * cpu.cycles_per_second);
  for (const auto& cache : cpu.caches) {
    if (cache.type != "Instruction") std::printf(" L%d %d KiB", cache.level, cache.size / 1024);
  }
  if (!cpu.load_avg.empty()) std::printf("; load %.1f", cpu.load_avg[0]);
  std::printf("; build for %s; %d rounds%s\n", VX_BuildLevel(), options.rounds,
              options.plain ? "; without vector routines" : "");
}

bool RunSections(const Options& options) {
  bool good = true;
  for (const Section& section : kSections) {
    const auto& wanted = options.sections;
    if (wanted.empty() || std::find(wanted.begin(), wanted.end(), section.name) != wanted.end()) {
      good = section.run(options) && good;
    }
  }
  return good;
}

int RunBorn(const Options& options) {
  CountAllocations();
  if (options.plain) VXHost_SetProcessor({});
  if (const VX_Err error = VX_Birth(); error != VX_Ok) {
    std::fprintf(stderr, "vx_bench: the library could not start (%d)\n", error);
    VX_Death();
    return 1;
  }
  PrintMachine(options);
  const bool good = RunSections(options);
  return VX_Death() == VX_Ok && good ? 0 : 1;
}

}  // namespace

int main(int count, char** arguments) {
  Options options;
  try {
    options = ParseOptions(count, arguments);
  } catch (const std::invalid_argument& error) {
    std::fprintf(stderr, "vx_bench: %s\n\n%s", error.what(), UsageText().c_str());
    return 2;
  }
  if (options.help) {
    std::fputs(UsageText().c_str(), stdout);
    return 0;
  }
  try {
    return RunBorn(options);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "vx_bench: %s\n", error.what());
    return 1;
  }
}

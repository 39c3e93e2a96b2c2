// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx bench: measures the speed of the library on this machine.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "Bench.h"
#include "Console.h"
#include "Job.h"
#include "VX/VX_Package.h"
#include "VXIO/VXIO_Picture.h"
#include "Values.h"
#include "Verbs.h"
#include "host/VXHost.h"

namespace vxcli {

namespace {

using Json = nlohmann::ordered_json;

struct BenchOptions {
  double seconds = 0;
  std::optional<int32_t> threads;
  std::optional<Size> size;
  std::string plot;
  bool json = false;
};

std::string LevelInUse() {
  for (const ProcessorLevel& level : ProcessorLevels()) {
    if (level.in_use) return level.name;
  }
  return "unknown";
}

double Rounded(double value) { return std::round(value * 1000) / 1000; }

Json JsonOf(const std::optional<Speed>& speed) {
  if (!speed) return nullptr;
  return {{"mpixels_per_second", Rounded(speed->mpixels)},
          {"spread", Rounded(speed->spread)},
          {"of_memcpy", Rounded(speed->of_memcpy)},
          {"repetitions", speed->repetitions}};
}

double Speedup(const BenchRow& row) { return row.all_threads->mpixels / row.one_thread.mpixels; }

void PrintRecord(const BenchSettings& settings, const std::vector<BenchRow>& rows) {
  Json results = Json::array();
  for (const BenchRow& row : rows) {
    results.push_back({{"work", row.work},
                       {"depth", row.depth},
                       {"one_thread", JsonOf(row.one_thread)},
                       {"all_threads", JsonOf(row.all_threads)},
                       {"speedup", row.all_threads ? Json(Rounded(Speedup(row))) : Json()}});
  }
  PrintJson({{"version", VX_PROJECT_VERSION},
             {"build", VX_BuildLevel()},
             {"processor_level", LevelInUse()},
             {"threads", settings.threads},
             {"width", settings.width},
             {"height", settings.height},
             {"results", std::move(results)}});
}

// Returns "   184.2  0.42   3%": speed, share of memcpy, spread.
std::string Cells(const Speed& speed) {
  char text[64];
  std::snprintf(text, sizeof text, "%10.1f %7.2f %5.0f%%", speed.mpixels, speed.of_memcpy,
                speed.spread * 100);
  return text;
}

void PrintTable(const std::string& title, const BenchSettings& settings,
                const std::vector<BenchRow>& rows) {
  const std::string columns = "  Mpixel/s /memcpy spread";
  const bool several = settings.threads > 1;
  char line[200];
  std::cout << title << "\n\n";
  std::snprintf(line, sizeof line, "%-26s%-6s  %-24s", "", "", "1 thread");
  std::cout << line;
  if (several) {
    std::snprintf(line, sizeof line, "  %-24s",
                  (std::to_string(settings.threads) + " threads").c_str());
    std::cout << line;
  }
  std::snprintf(line, sizeof line, "\n%-26s%5s %s", "operation", "depth", columns.c_str());
  std::cout << line << (several ? " " + columns + "  speedup" : "") << '\n';
  for (const BenchRow& row : rows) {
    std::snprintf(line, sizeof line, "%-26s%5s %s", row.work.c_str(),
                  row.depth == 32 ? "float" : std::to_string(row.depth).c_str(),
                  Cells(row.one_thread).c_str());
    std::cout << line;
    if (several) {
      std::snprintf(line, sizeof line, " %s %8.2f", Cells(*row.all_threads).c_str(), Speedup(row));
      std::cout << line;
    }
    std::cout << '\n';
  }
}

int Run(const BenchOptions& options) {
  BenchSettings settings;
  settings.threads =
      options.threads ? *options.threads : std::min(VXHost_AllowedProcessors(), kMostThreads);
  const Size size = options.size.value_or(Size{1920, 1080});
  settings.width = size.width;
  settings.height = size.height;
  settings.seconds = options.seconds;
  if (!options.plot.empty()) {
    const bool svg = std::filesystem::path(options.plot).extension() == ".svg";
    (svg ? VXIO_CheckFile : VXIO_CheckOutput)(options.plot, VXIO_Clobber::Overwrite);
  }
  Progress progress(ProgressStyle::Auto);
  progress.Start("bench", 1, options.plot);
  const std::vector<BenchRow> rows = WithContext("bench", [&] {
    return RunBench(settings, [&](int index, int count, const std::string& name) {
      progress.Begin(index, count, name);
    });
  });
  const std::string title =
      "vx " VX_PROJECT_VERSION ", build for " + std::string(VX_BuildLevel()) +
      ", processor level " + LevelInUse() + ", " + std::to_string(settings.threads) +
      (settings.threads == 1 ? " thread, " : " threads, ") + std::to_string(settings.width) +
      " x " + std::to_string(settings.height) + " pixels";
  if (!options.plot.empty()) Warn(WriteBenchChart(options.plot, title, rows, settings.threads));
  progress.Done();
  if (options.json) {
    PrintRecord(settings, rows);
  } else {
    PrintTable(title, settings, rows);
  }
  return kDone;
}

}  // namespace

Verb BenchVerb() {
  auto to = std::make_shared<BenchOptions>();
  OptionList options = {
      Option{"--seconds", "S", Number(&to->seconds, 0.01, 3600),
             "Time for all measurements together, %r; slow operations take longer"}
          .Default("30"),
      Option{"--threads", "N", Integer(&to->threads, 1, kMostThreads),
             "Number of threads, %r, to compare with one thread"}
          .Without("the number of processors available to the command"),
      Option{"--size", "WxH", SizeValue(&to->size), "Size of the pictures"}.Without("1920x1080"),
      Option{"--plot", "FILE", Text(&to->plot),
             "Draw the speeds as bars into an .svg file or a picture such as a .png"},
      {"--json", "", Flag(&to->json), "Print JSON"}};
  return {"bench", "Measure the speed of operations on this machine", std::move(options),
          "Speeds are in millions of pixels per second, the median of all repetitions. spread is "
          "the distance\nbetween the quartiles of the times, divided by the median. /memcpy is the "
          "speed divided by that of\ncopying memory with the same depth and threads. In-between "
          "pictures have a third of each side.\n"
          "Example:\n  vx bench --plot speed.svg",
          [to](const Verb&) { return Run(*to); }};
}

}  // namespace vxcli

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "JobOptions.h"

#include <sched.h>

#include <algorithm>
#include <cstdio>
#include <thread>

#include "Errors.h"
#include "VXIO/VXIO_Sequence.h"
#include "Values.h"

namespace vxcli {

namespace {

constexpr int32_t kMostThreads = 512;  // each may have a temporary file; see VXIO_OutputFile.cpp

int32_t AllowedProcessors() {
  cpu_set_t set;
  CPU_ZERO(&set);
  int count = sched_getaffinity(0, sizeof set, &set) == 0
                  ? CPU_COUNT(&set)
                  : static_cast<int>(std::thread::hardware_concurrency());
  return std::clamp(count, 1, kMostThreads);
}

void AddOutputOptions(CLI::App* app, JobWords* words) {
  app->add_option("-o,--output", words->output,
                  "Picture to write, a pattern for a sequence; the extension decides the format")
      ->type_name("OUT")
      ->required();
  auto* overwrite =
      app->add_flag("--overwrite", words->overwrite, "Replace outputs that exist [yes]");
  auto* no_clobber = app->add_flag("--no-clobber", words->no_clobber,
                                   "Refuse, before any work, when an output exists");
  auto* resume = app->add_flag("--resume", words->resume,
                               "Leave alone what an earlier run with --resume wrote from the same "
                               "inputs and settings; its record is a hidden file beside OUT");
  no_clobber->excludes(overwrite);
  resume->excludes(no_clobber);
}

}  // namespace

void AddJobOptions(CLI::App* app, JobWords* words, JobOutput output) {
  if (output == JobOutput::Picture) AddOutputOptions(app, words);
  app->add_option("--frames", words->frames,
                  "Frames of a sequence (shot.####.png, shot.%04d.png): 1-10,20-40x2,55 "
                  "[from the first to the last on the disk]")
      ->type_name("SET");
  app->add_option("--missing", words->missing,
                  "A frame that is not there: error, skip, hold (the nearest earlier one) or black "
                  "(transparent where its neighbours have alpha) [error]")
      ->type_name("HOW");
  app->add_flag("--keep-going", words->keep_going,
                "Go on after a frame that fails; exit code 5 when some did");
  app->add_option("--failed-list", words->failed_list,
                  "Write the numbers of the frames that failed, one a line; empty when none did")
      ->type_name("FILE");
  app->add_flag("--dry-run", words->dry_run,
                "Check everything and print what would be done, but write nothing");
  app->add_flag("--strict", words->strict,
                "A warning is an error of its frame, which is then not written");
  app->add_option("--threads", words->threads,
                  "Frames worked on at once, 1 to 512 [processors allowed to the command]")
      ->type_name("N");
  app->add_option("--memory", words->memory,
                  "Pixels of the frames in flight, as 800M or 2G [half of the machine's memory]")
      ->type_name("LIMIT");
  app->add_option("--progress", words->progress,
                  "auto, bar, plain, json or none, on the standard error; auto is bar on a "
                  "terminal [auto]")
      ->type_name("HOW");
  app->add_flag("--json", words->json,
                "Print what was done as JSON; for a sequence a line a frame and a summary");
}

JobOptions ParseJobOptions(const JobWords& words) {
  JobOptions options;
  if (!words.frames.empty()) {
    try {
      options.frames = VXIO_ParseFrames(words.frames);
    } catch (const std::invalid_argument& error) {
      throw UsageError(std::string("--frames ") + error.what());
    }
  }
  options.missing = static_cast<Missing>(
      ParseChoice("--missing", words.missing, {"error", "skip", "hold", "black"}));
  options.progress =
      static_cast<Progress::Style>(ParseChoice("--progress", words.progress, ProgressStyles()));
  options.threads_given = !words.threads.empty();
  options.threads =
      options.threads_given
          ? static_cast<int32_t>(ParseInteger("--threads", words.threads, 1, kMostThreads))
          : AllowedProcessors();
  if (!words.memory.empty()) options.memory = ParseBytes("--memory", words.memory);
  if (words.no_clobber) options.clobber = VXIO_Clobber::Refuse;
  return options;
}

int64_t ParseBytes(const std::string& option, const std::string& word) {
  static const std::string units = "KMGT";
  const size_t unit = word.empty() ? std::string::npos : units.find(word.back());
  const bool has_unit = unit != std::string::npos;
  const std::string digits = has_unit ? word.substr(0, word.size() - 1) : word;
  if (digits.empty() || digits.size() > 15 ||
      digits.find_first_not_of("0123456789") != std::string::npos) {
    throw UsageError(option + " '" + word + "': must be a number of bytes, or of K, M, G or T: 2G");
  }
  const int shift = has_unit ? 10 * (static_cast<int>(unit) + 1) : 0;
  const int64_t most = INT64_MAX >> shift;
  return ParseInteger(option, digits, 1, most) << shift;
}

std::string BytesText(int64_t bytes) {
  static constexpr const char* names[] = {"bytes", "KiB", "MiB", "GiB", "TiB"};
  double value = static_cast<double>(bytes);
  int unit = 0;
  while (value >= 1024 && unit < 4) {
    value /= 1024;
    ++unit;
  }
  char text[48];
  std::snprintf(text, sizeof text, unit == 0 ? "%.0f %s" : "%.1f %s", value, names[unit]);
  return text;
}

int64_t BytesOfWorld(int64_t width, int64_t height, int32_t depth) {
  return width * height * 4 * (depth / 8);
}

}  // namespace vxcli

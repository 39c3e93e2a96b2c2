// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include <stdexcept>

#include "Errors.h"
#include "Job.h"
#include "VXIO/VXIO_Sequence.h"

namespace vxcli {

namespace {

constexpr int32_t kMostThreads = 512;  // each may have a temporary file; see VXIO_OutputFile.cpp

std::vector<int64_t> ParseFrames(const std::string& option, const std::string& text) {
  try {
    return VXIO_ParseFrames(text);
  } catch (const std::invalid_argument& error) {
    throw UsageError(option + " " + error.what());
  }
}

OptionList OutputOptions(JobOptions* to) {
  return {
      Option{"-o,--output", "OUT", Text(&to->output),
             "Picture to write, a pattern for a sequence; the extension decides the format"}
          .Required(),
      Option{"--overwrite", "", Flag(&to->overwrite), "Replace outputs that exist"}.Without("yes"),
      Option{"--no-clobber", "", Flag(&to->no_clobber),
             "Refuse, before any work, when an output exists"}
          .Excludes("--overwrite"),
      Option{"--resume", "", Flag(&to->resume),
             "Leave alone what an earlier run with --resume wrote from the same inputs and "
             "settings; its record is a hidden file beside OUT"}
          .Excludes("--no-clobber"),
  };
}

}  // namespace

Option InputOption(std::string* to) {
  return Option{"IN", "FILE", Text(to), "A picture, or a pattern for a sequence"}.Required().For(
      Decides::Contents);
}

OptionList JobOptionList(JobOptions* to, JobOutput output) {
  OptionList options = output == JobOutput::Picture ? OutputOptions(to) : OptionList();
  options = Join(
      {std::move(options),
       {
           Option{"--frames", "SET", Parsed(&to->frames, ParseFrames),
                  "Frames of a sequence (shot.####.png, shot.%04d.png): 1-10,20-40x2,55"}
               .Without("from the first to the last on the disk"),
           Option{"--missing", "HOW", Choice(&to->missing, {"error", "skip", "hold", "black"}),
                  "A frame that is not there: error, skip, hold (the nearest earlier one) or black "
                  "(transparent where its neighbours have alpha)"}
               .Default("error"),
           {"--keep-going", "", Flag(&to->keep_going),
            "Go on after a frame that fails; exit code 5 when some did"},
           {"--failed-list", "FILE", Text(&to->failed_list),
            "Write the numbers of the frames that failed, one a line; empty when none did"},
           {"--dry-run", "", Flag(&to->dry_run),
            "Check everything and print what would be done, but write nothing"},
           {"--strict", "", Flag(&to->strict),
            "A warning is an error of its frame, which is then not written"},
           Option{"--threads", "N", Integer(&to->threads, 1, kMostThreads),
                  "Frames worked on at once, %r"}
               .Without("processors allowed to the command"),
           Option{"--memory", "LIMIT", Parsed(&to->memory, ParseBytes),
                  "Pixels of the frames in flight, as 800M or 2G"}
               .Without("half of the machine's memory"),
           Option{"--progress", "HOW", Choice(&to->progress, ProgressStyles()),
                  "%r, on the standard error; auto is bar on a terminal"}
               .Default("auto"),
           {"--json", "", Flag(&to->json),
            "Print what was done as JSON; for a sequence a line a frame and a summary"},
       }});
  for (Option& option : options) {
    if (option.name != "--strict") option.decides = Decides::Nothing;
  }
  return options;
}

int64_t BytesOfWorld(int64_t width, int64_t height, int32_t depth) {
  return width * height * 4 * (depth / 8);
}

}  // namespace vxcli

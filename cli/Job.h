// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// One piece of work on a picture or on every frame of a sequence. A verb says what happens to one
// frame; everything around it (frames and gaps, what may be overwritten, resuming, threads, memory,
// progress, what is told, the exit code) is the same for all verbs and stands here.
// docs/sequences.md tells users what the options mean.

#include <CLI/CLI.hpp>
#include <cstdint>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "VXIO/VXIO_Picture.h"

namespace vxcli {

// The words of the options that every verb with pictures has, as they were typed.
struct JobWords {
  std::string output, frames, missing = "error", failed_list, progress = "auto", threads, memory;
  bool overwrite = false, no_clobber = false, resume = false, keep_going = false, dry_run = false,
       json = false, strict = false;
};

// None: a verb that only tells; it has no -o, --overwrite, --no-clobber and --resume.
enum class JobOutput { Picture, None };

// Declares -o/--output, --frames, --missing and so on, with their help.
void AddJobOptions(CLI::App* app, JobWords* words, JobOutput output);

// One frame of a job. It belongs to the thread that the work runs on.
class JobFrame {
 public:
  struct State;
  explicit JobFrame(State* state) : state_(state) {}

  int64_t Number() const;                        // of the frame; 0 for a single file
  const std::string& Input(size_t input) const;  // the file that Read reads
  const std::string& Output() const;             // empty for a verb that only tells

  // The picture of an input at this frame, at 8, 16 or 32 bits or, with 0, at its own depth. Says
  // the warnings of the file. Under --missing black a missing frame is a picture of zeros (opaque
  // black when its neighbours have no alpha).
  VXIO_Picture Read(size_t input, int32_t depth = 0, VXIO_AlphaAs alpha = VXIO_AlphaAs::File);

  // Writes the output with the metadata of `model` and, when that has alpha, with alpha.
  void Write(const VX_LayerDef& world, const VXIO_Picture& model);
  // The same with options of the verb's own; whether it may overwrite and be strict is filled in.
  void Write(const VX_LayerDef& world, VXIO_WriteOptions options);

  // Say a line that begins with the name of the first input, or of the output when there is none.
  // Under --strict a warning throws, so give it before Write.
  void Warn(const std::string& text);
  // Lines that name their file already. `kind` decides the exit code under --strict.
  void Warn(const std::vector<std::string>& lines, VXIO_ErrorKind kind);
  void Note(const std::string& text);

  // A line on the standard output, in the order of the frames; nothing under --json.
  void Say(const std::string& line);

  // For calls of the library; null when nothing shows how far a frame is.
  VX_ProgressInfo* Progress();

  // What --json says about this frame. "frame", "status", "inputs" and "output" are there already.
  nlohmann::ordered_json& Told();

 private:
  State* state_;
};

struct Job {
  const JobWords* words = nullptr;
  std::vector<std::string> inputs;  // files, the same for each frame, and patterns; may be empty
  // The verb, a blank, and everything of its options that decides the pixels; --resume compares it.
  std::string settings;
  // Of a job whose inputs are single files, where the verb knows them: the output is a pattern
  // then.
  std::vector<int64_t> frames;
  // What decides the pixels of this one frame of a sequence alone, for --resume too. Called for all
  // of them before any work; what it throws stops the job.
  std::function<std::string(int64_t frame)> frame_settings;
  // False: frames one after the other on one thread, for work that changes what is process-wide.
  bool parallel = true;
  // Bytes that a frame holds at most, from the headers of its inputs, for --memory. Without it:
  // each input twice.
  std::function<int64_t(const std::vector<VXIO_Info>&)> bytes;
  // Called once a frame, on several threads at once. What it throws fails the frame.
  std::function<void(JobFrame&)> work;
};

// Gives the exit code. Throws what stops the whole job.
int RunJob(const Job& job);

// Bytes of the pixels of a world.
int64_t BytesOfWorld(int64_t width, int64_t height, int32_t depth);

}  // namespace vxcli

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// A job is the work on one picture or on every frame of a sequence. A verb defines the work on one
// frame. The job handles frames and gaps, overwriting, resuming, threads, memory, progress, records
// and the exit code in the same way for all verbs. docs/sequences.md explains the options to users.

#include <cstdint>
#include <functional>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "Console.h"
#include "Options.h"
#include "VXIO/VXIO_Picture.h"

namespace vxcli {

struct Verb;

enum class Missing { Error, Skip, Hold, Black };

// The options that every verb with pictures has.
struct JobOptions {
  std::string output, failed_list;
  std::optional<std::vector<int64_t>> frames;
  Missing missing = Missing::Error;
  Progress::Style progress = Progress::Auto;
  std::optional<int32_t> threads;  // of the whole command
  std::optional<int64_t> memory;   // bytes for the frames in flight
  bool overwrite = false, no_clobber = false, resume = false, keep_going = false, dry_run = false,
       json = false, strict = false;

  VXIO_Clobber Clobber() const {
    return no_clobber ? VXIO_Clobber::Refuse : VXIO_Clobber::Overwrite;
  }
};

// None: the verb writes no picture and has no -o, --overwrite, --no-clobber and --resume.
enum class JobOutput { Picture, None };

OptionList JobOptionList(JobOptions* to, JobOutput output);
// "IN", the one input of many verbs.
Option InputOption(std::string* to);

// One frame of a job. It belongs to the thread that the work runs on.
class JobFrame {
 public:
  struct State;
  explicit JobFrame(State* state) : state_(state) {}

  int64_t Number() const;                        // of the frame; 0 for a single file
  const std::string& Input(size_t input) const;  // the file that Read reads
  const std::string& Output() const;             // empty for a verb that writes no picture

  // Reads the picture of an input at this frame, at 8, 16 or 32 bits or, with 0, at its own depth.
  // Prints the warnings about the file. Under --missing black a missing frame is a picture of
  // zeros, or of opaque black if its neighbours have no alpha.
  VXIO_Picture Read(size_t input, int32_t depth = 0, VXIO_AlphaAs alpha = VXIO_AlphaAs::File);

  // Writes the output with the metadata of `model` and, if `model` has alpha, with alpha.
  void Write(vx::AnyConstView picture, const VXIO_Picture& model);
  // Writes the output with options of the verb; clobber and strict are set here.
  void Write(vx::AnyConstView picture, VXIO_WriteOptions options);

  // Print a line that begins with the name of the first input, or of the output if there is no
  // input. Under --strict a warning throws, so call Warn before Write.
  void Warn(const std::string& text);
  // Prints lines that contain the file already. `kind` selects the exit code under --strict.
  void Warn(const std::vector<std::string>& lines, VXIO_ErrorKind kind);
  void Note(const std::string& text);

  // Prints a line on the standard output, in the order of the frames; nothing under --json.
  void Print(const std::string& line);

  // For operations; empty if no progress of a frame is shown.
  vx::Progress Progress();

  // The record of this frame for --json. "frame", "status", "inputs" and "output" are added later.
  nlohmann::ordered_json& Record();

 private:
  State* state_;
};

struct Job {
  const Verb* verb = nullptr;  // its settings are part of the fingerprint of --resume
  const JobOptions* options = nullptr;
  std::vector<std::string> inputs;  // files, the same for each frame, and patterns; may be empty
  // The frames of a job whose inputs are single files, if the verb defines them; the output is a
  // pattern then.
  std::vector<int64_t> frames;
  // Settings of one frame of a sequence, for the fingerprint. Called for all frames before any
  // work; an exception stops the job.
  std::function<std::string(int64_t frame)> frame_settings;
  // False: frames run one after the other on one thread, because the work changes state of the
  // process.
  bool parallel = true;
  // The largest number of bytes that a frame holds, from the headers of its inputs, for --memory.
  // Without it: each input twice.
  std::function<int64_t(const std::vector<VXIO_Info>&)> bytes;
  // The work on one frame, called on several threads at once. An exception fails the frame.
  std::function<void(JobFrame&)> work;
};

// Returns the exit code. Throws errors that stop the whole job.
int RunJob(const Job& job);

// Runs a job of one input, or of none if `input` is empty.
int RunJob(const Verb& verb, const JobOptions& options, const std::string& input,
           std::function<void(JobFrame&)> work,
           std::function<int64_t(const std::vector<VXIO_Info>&)> bytes = nullptr);

// Bytes of the pixels of a world.
int64_t BytesOfWorld(int64_t width, int64_t height, int32_t depth);

}  // namespace vxcli

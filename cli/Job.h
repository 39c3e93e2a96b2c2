// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// A job processes one picture or all frames of a sequence. A verb defines how one frame is
// processed. The rest is the same for all verbs: frame numbers, missing frames, overwriting,
// --resume, threads, memory, progress, JSON records and the exit code. docs/sequences.md explains
// the options to users.

#include <cstdint>
#include <functional>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "Console.h"
#include "Options.h"
#include "VXIO/VXIO_ClipWriter.h"
#include "VXIO/VXIO_Memory.h"
#include "VXIO/VXIO_Motion.h"
#include "VXIO/VXIO_Picture.h"

namespace vxcli {

struct Verb;

enum class Missing { Error, Skip, Hold, Black };

// The options of an output that is a clip.
struct ClipArguments {
  std::string codec;               // empty: the default of the container
  std::optional<int32_t> quality;  // constant rate factor
  std::optional<VXIO_Rational> fps;
  std::optional<bool> alpha;
};

// The largest value of --threads. Each thread may have a temporary file; VXIO_OutputFile.cpp can
// store 1024 names.
inline constexpr int32_t kMostThreads = 512;

// The options of every verb that reads or writes pictures.
struct JobOptions {
  std::string output, failed_list;
  std::string format;  // extension of the format for the standard output; may be empty
  VXIO_Encoding encoding;
  ClipArguments clip;
  std::optional<std::vector<int64_t>> frames;
  std::optional<double> at_time;  // seconds; of a clip
  Missing missing = Missing::Error;
  ProgressStyle progress = ProgressStyle::Auto;
  std::optional<int32_t> threads;  // of the whole command
  std::optional<int64_t> memory;   // bytes for all frames that are processed at the same time
  bool overwrite = false, no_clobber = false, resume = false, keep_going = false, dry_run = false,
       json = false, strict = false;

  VXIO_Clobber Clobber() const {
    return no_clobber ? VXIO_Clobber::Refuse : VXIO_Clobber::Overwrite;
  }
};

// None: the verb writes no picture and does not have the options -o, --overwrite, --no-clobber and
// --resume.
enum class JobOutput { Picture, None };

// A verb with a --quality of its own (QualityOption) passes it as `quality`. The option then
// accepts its values as well as the quality of a JPEG.
OptionList JobOptionList(JobOptions* to, JobOutput output,
                         const std::optional<Option>& quality = std::nullopt);
// Returns a value of frame numbers: 1-10,20-40x2,55.
Value FramesValue(std::optional<std::vector<int64_t>>* to);

// Returns true for an existing file that is a clip or unknown, not a picture. Returns false for a
// file that cannot be read.
bool IsClip(const std::string& name);

// Returns the pattern of files whose names differ only in one number, "shot.####.png" if all
// numbers have four digits; empty for less than two names and for other names.
std::string PatternOfFiles(const std::vector<std::string>& names);

// Returns the option "IN": the input of verbs that have one input.
Option InputOption(std::string* to);

// One frame of a job. Used by one thread, the one that processes the frame.
class JobFrame {
 public:
  struct State;
  explicit JobFrame(State* state) : state_(state) {}

  int64_t Number() const;                        // frame number; 0 for a single file
  const std::string& Input(size_t input) const;  // path of the file that Read reads
  const std::string& Output() const;             // path; "-.EXTENSION" for the standard output;
                                                 // empty for a verb that writes no picture

  // Returns the header of the file or clip of an input. Throws VXIO_Error (Input) if a file cannot
  // be read.
  VXIO_Info Info(size_t input) const;

  // Reads the picture of an input for this frame. `depth` is 8, 16 or 32 bits, or 0 for the depth
  // of the file. Prints the warnings about the file. With --missing black the picture of a missing
  // frame is transparent black, or opaque black if the nearest existing frame has no alpha.
  VXIO_Picture Read(size_t input, int32_t depth = 0, VXIO_AlphaAs alpha = VXIO_AlphaAs::File);

  // Writes the output with the metadata of `model` and, if `model` has alpha, with alpha.
  void Write(vx::AnyConstView picture, const VXIO_Picture& model);
  // Writes the output with these options. The call sets the members clobber and strict.
  void Write(vx::AnyConstView picture, VXIO_WriteOptions options);
  // Writes the output as motion data; its extension is .flo or .exr.
  void Write(const vx::MotionField& field);

  // Print a warning or a note. The line begins with the name of the first input or, if there is no
  // input, of the output. With --strict Warn throws, so call it before Write.
  void Warn(const std::string& text);
  void Note(const std::string& text);
  // Prints warnings that contain a file name already. With --strict throws the first one; `kind`
  // selects the exit code.
  void Warn(const std::vector<std::string>& lines, VXIO_ErrorKind kind);

  // Calls `read`, which reads inputs of this frame, when all earlier frames of the job have
  // returned from theirs or have ended. Only for jobs with Job::retiming.
  void InOrder(const std::function<void()>& read);

  // Prints a line on the standard output, in frame order. Prints nothing with --json.
  void Print(const std::string& line);

  // Returns the progress function for operations; empty if the progress of a frame is not shown.
  vx::Progress Progress();

  // Returns the JSON record of this frame. The job adds "frame", "status", "inputs" and "output".
  nlohmann::ordered_json& Record();

 private:
  void WriteToClip(vx::AnyConstView picture, const VXIO_WriteOptions& options);
  // Writes the output by `write_file` or, for the standard output, by `encode`.
  void WriteOutput(const std::function<std::vector<std::string>()>& write_file,
                   const std::function<VXIO_Encoded()>& encode);
  std::vector<std::string> WriteToStandardOutput(const std::function<VXIO_Encoded()>& encode);

  State* state_;
};

// The input of a job whose output frames are not those of the input.
struct JobSource {
  std::string name;  // as given
  // The frames to read, in order: those of --frames or all, without those that --missing skip
  // leaves out.
  std::vector<int64_t> numbers;
  std::vector<int64_t> places;        // of each among the frames with those that are left out
  int64_t count = 0;                  // of the frames with those that are left out
  int64_t first = 0;                  // number of the first one, also of the output
  std::optional<VXIO_ClipInfo> clip;  // none: a sequence of files
  // Of all frames, in units of the time base of the clip, if they are unequal; else empty.
  std::vector<int64_t> durations;
  // Reads frame `i` of `numbers`, without its warnings. For plans that depend on the pictures.
  std::function<VXIO_Picture(size_t i)> read;
};

// Makes the frames of a job from other frames of its input. The output frames are numbered from the
// first frame of the input.
struct Retiming {
  // Returns the number of output frames. Called once, before the other functions.
  std::function<int64_t(const JobSource& source)> plan;
  // Returns the frames that an output frame reads, as indices of JobSource::numbers in the order of
  // JobFrame::Read. Called on several threads.
  std::function<std::vector<size_t>(int64_t output)> sources;
  // Returns a description of the instant that an output frame shows, for --dry-run and the
  // fingerprint of --resume.
  std::function<std::string(int64_t output)> describe;
  // Returns the frame rate of the output, for clips; none if it is unknown. Called after `plan`.
  std::function<std::optional<VXIO_Rational>()> rate;
  // False if the output shows the input at other times, so that sound does not fit.
  bool keeps_times = true;
  // The output frames to make; none: all.
  std::optional<std::vector<int64_t>> only = std::nullopt;
};

struct Job {
  const Verb* verb = nullptr;  // its option values are part of the fingerprint of --resume
  const JobOptions* options = nullptr;
  // The inputs of the job: patterns, clips, and single files that are used for all frames. May be
  // empty.
  std::vector<std::string> inputs;
  // Frame numbers that the verb defines. Used if no input is a pattern; the output must be a
  // pattern.
  std::vector<int64_t> frames;
  // Returns the settings of one frame of a sequence as text for the fingerprint of --resume
  // (JobRun.h). Called for all frames before the first one is processed; an exception stops the
  // job.
  std::function<std::string(int64_t frame)> frame_settings;
  // If set, there is one input, a sequence or a clip.
  const Retiming* retiming = nullptr;
  // Checks the name of an output before work begins. For outputs that are not pictures.
  void (*check_output)(const std::string& path, VXIO_Clobber clobber) = VXIO_CheckOutput;
  // False if all frames have to be processed on one thread, because the work changes global state.
  bool parallel = true;
  // Returns the largest number of bytes that are allocated at the same time while one frame is
  // processed, computed from the headers of its inputs. If the function is not set, twice the size
  // of each input is assumed.
  std::function<int64_t(const std::vector<VXIO_Info>&)> bytes;
  // Processes one frame. Called on several threads at once. After an exception the frame counts as
  // failed.
  std::function<void(JobFrame&)> work;
};

// Runs a job and returns the exit code. Throws errors that stop the whole job.
int RunJob(const Job& job);

// Runs a job with one input, or without an input if `input` is empty.
int RunJob(const Verb& verb, const JobOptions& options, const std::string& input,
           std::function<void(JobFrame&)> work,
           std::function<int64_t(const std::vector<VXIO_Info>&)> bytes = nullptr);

// Returns the number of bytes of the pixels of a world.
int64_t BytesOfWorld(int64_t width, int64_t height, int32_t depth);

}  // namespace vxcli

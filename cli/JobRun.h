// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The private classes of a job: the plan of its frames, the record file of --resume, the state of a
// frame while it is processed, and the outcome of a frame.

#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "ClipOutput.h"
#include "Console.h"
#include "Job.h"
#include "JobClip.h"
#include "StandardStreams.h"
#include "VXIO/VXIO_Memory.h"
#include "VXIO/VXIO_Sequence.h"

namespace vxcli {

// --- the plan ------------------------------------------------------------------------------------

struct InputFile {
  std::string path;                         // as shown to the user
  bool black = false;                       // true: all pixels of the file are replaced by zeros
  std::shared_ptr<JobClip> clip = nullptr;  // null for a picture
  int64_t clip_frame = 0;
  std::string stored = {};  // for the standard input: the file with its contents

  const std::string& File() const { return stored.empty() ? path : stored; }
  // Calls `work` and returns its result. In the text of a VXIO_Error, `path` replaces `stored`.
  template <class Work>
  auto WithName(Work&& work) const {
    try {
      return work();
    } catch (const VXIO_Error& error) {
      throw VXIO_Error(error.kind(), VXIO_Renamed(error.what(), stored, kStandardStream));
    }
  }
  // Returns the header of the file or of the clip. Throws VXIO_Error (Input).
  VXIO_Info Info() const;
  // Reads the picture for the frame `job_frame` (index) of the job. `black` is applied.
  VXIO_Picture Read(size_t job_frame, int32_t depth, VXIO_AlphaAs alpha) const;

  // Returns the path or, for a clip, "PATH frame N".
  std::string Text() const;
};

struct PlannedFrame {
  enum Action { Work, Skip, Fail };

  int64_t number = 0;
  std::string instant = {};  // with Job::retiming: what the frame shows
  Action action = Work;
  std::string error;  // for Fail
  std::vector<InputFile> inputs;
  std::string output;  // empty for a job that writes no picture
};

class JobPlan {
 public:
  // Makes the plan of a job. Lists directories but opens no pictures. Throws UsageError for options
  // that contradict each other. Throws VXIO_Error for missing frames, for outputs that exist and
  // may not be overwritten, and if no frame remains.
  explicit JobPlan(const Job& job);

  bool sequence() const { return sequence_; }
  size_t size() const { return frames_.size(); }
  // Returns the plan of one frame. Plans are computed on request, because a job may have millions
  // of frames.
  PlannedFrame Frame(size_t index) const;
  const std::vector<int64_t>& frames() const { return frames_; }
  // Returns the index of a frame among the output frames of Job::retiming.
  int64_t OutputIndex(size_t index) const { return frames_[index] - first_output_; }
  const std::string& output() const { return output_name_; }
  // Returns true if the output is a clip.
  bool clip() const { return clip_; }
  // Returns the output if it is a clip. Adds warnings to `warnings`.
  std::unique_ptr<ClipOutput> MakeClip(const Job& job, std::vector<std::string>* warnings) const;
  // Returns the clips among the inputs.
  std::vector<JobClip*> Clips() const;
  // Returns the inputs that are single files, used for all frames.
  std::vector<InputFile> SingleFiles() const;
  // Returns messages about missing frames.
  const std::vector<std::string>& notes() const { return notes_; }

 private:
  struct Input {
    std::string name;
    std::optional<VXIO_FramePattern> pattern = std::nullopt;
    std::shared_ptr<JobClip> clip = nullptr;
    std::vector<int64_t> on_disk = {};              // existing frames, ascending
    std::optional<int64_t> at_time = std::nullopt;  // frame of a clip that --at-time selects
    std::string stored = {};                        // for the standard input

    bool IsSequence() const { return pattern || clip; }
    // Returns the file of a frame. It may not exist.
    InputFile File(int64_t number) const;
  };

  void FindPatterns(const Job& job);
  void FindFrames(const Job& job);
  void CheckGaps(bool keep_going);
  void CheckOutputs(const Job& job) const;
  void CheckOverlap(bool resume) const;
  void CheckStandardOutput(const JobOptions& options) const;
  void CheckOutputName(const Job& job) const;
  void FindExisting(Input* input, int64_t last_needed) const;
  void FindTime(double seconds);
  void Retime();
  // Returns the numbers of the frames that the job reads.
  const std::vector<int64_t>& FramesToRead() const { return retiming_ ? read_ : frames_; }
  void NoteLengths();
  const Input* FirstSequence() const;
  // Sets the file of one input. Returns false if the frame is missing and has no substitute.
  bool Resolve(const Input& input, int64_t number, InputFile* file) const;

  std::vector<Input> inputs_;
  std::string output_name_;
  std::optional<VXIO_FramePattern> output_;
  bool clip_ = false;  // the output is a clip
  Missing missing_ = Missing::Error;
  bool sequence_ = false;
  std::vector<int64_t> frames_;
  const Retiming* retiming_ = nullptr;
  std::vector<int64_t> read_;  // with retiming: frames of the input
  int64_t first_output_ = 0;
  std::vector<std::string> notes_;
};

// --- the record of --resume ----------------------------------------------------------------------

// Return the fingerprint of the contents of a file, or of a text: 128 bits of XXH3 in hexadecimal.
// FingerprintOfFile throws VXIO_Error (Input) for a file that cannot be read.
std::string FingerprintOfFile(const std::string& path);
std::string FingerprintOfText(const std::string& text);

// The record file of --resume, which lists the outputs that were written. It is a text file in the
// directory of the outputs, ".NAME.vx-resume" for the output NAME, with one line for each output:
//
//   vx1 FRAME MADE-FROM WRITTEN CHECK
//
//   MADE-FROM  fingerprint of the contents of the input files, the settings and the version
//   WRITTEN    fingerprint of the contents of the output
//   CHECK      64 bits of XXH3 over the text of the line before CHECK
//
// A line is appended with a single write() after its output is complete, so a run that is killed
// leaves at most one incomplete line, the last one. Lines that do not match this form are ignored,
// and their frames are processed again. If a frame has several lines, the last one is used. Several
// runs may append to the same file at the same time if they process different frames.
class ResumeStore {
 public:
  enum Access { ReadOnly, ReadAndAdd };

  // Opens the record file for an output, which is a file name or the pattern of a sequence. Throws
  // VXIO_Error (Output) if the record file cannot be opened for writing.
  ResumeStore(const std::string& output, Access access);
  ~ResumeStore();
  ResumeStore(const ResumeStore&) = delete;
  ResumeStore& operator=(const ResumeStore&) = delete;

  const std::string& path() const { return path_; }

  // Returns true if MADE-FROM in the latest line of the frame is `made_from`, and the output file
  // has not changed since that line was written.
  bool IsDone(int64_t frame, const std::string& made_from, const std::string& output) const;

  // Adds a line for an output that was written. Returns false if the record file could not be
  // written; the output is not affected. Thread-safe.
  bool Add(int64_t frame, const std::string& made_from, const std::string& output);

 private:
  struct Entry {
    std::string made_from, written;
  };
  void Load();
  void Compact();

  std::string path_;
  std::map<int64_t, Entry> entries_;  // by frame; read when the file is opened, not updated later
  size_t lines_ = 0;
  bool incomplete_ = false;  // the last line of the file does not end with a line feed
  int descriptor_ = -1;
  std::mutex mutex_;
};

// --- a frame -------------------------------------------------------------------------------------

struct Outcome {
  enum Status { NotRun, Done, UpToDate, Planned, Missing, Failed };

  Status status = NotRun;
  Failure failure{kDone, ""};      // for Failed
  nlohmann::ordered_json record;   // printed with --json
  std::vector<std::string> lines;  // printed on the standard output without --json
};

struct JobFrame::State {
  FrameOrder* order;  // of the calls of JobFrame::InOrder
  const Job* job;
  const JobPlan* plan;
  size_t index;  // of the frame in the plan
  PlannedFrame frame;
  vxcli::Progress* progress;  // null if several frames are processed at once
  nlohmann::ordered_json record;
  nlohmann::ordered_json warnings;
  std::vector<std::string> lines;
  bool written = false;
  std::string output = {};  // as JobFrame::Output returns it
  ClipOutput* clip = nullptr;

  // Prints the warnings and adds them to `warnings`. With --strict, throws the first one as an
  // error instead.
  void ReportWarnings(const std::vector<std::string>& texts, VXIO_ErrorKind kind);
  // Shows the progress of a job that has one frame. Each input is a step that includes the
  // operation on it. Writing the output is the last step.
  void Begin(size_t step, const std::string& what) const;
};

// Limits the memory of the frames that are processed at the same time.
class MemoryBudget {
 public:
  explicit MemoryBudget(const Job& job);

  // Returns the number of bytes that a frame needs, computed from the headers of its inputs.
  // Returns 0 if a header cannot be read; processing the frame then reports the error. Throws
  // UsageError if the frame alone needs more than --memory.
  int64_t Need(const PlannedFrame& frame) const;
  // Waits until the acquired bytes plus `bytes` are within the limit, or until nothing is acquired.
  void Acquire(int64_t bytes);
  void Release(int64_t bytes);

 private:
  const Job& job_;
  int64_t limit_;
  int64_t acquired_ = 0;
  int frames_ = 0;
  std::mutex mutex_;
  std::condition_variable changed_;
};

}  // namespace vxcli

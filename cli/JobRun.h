// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The private parts of a job: the plan of its frames, the record of --resume, the state of a frame
// while it is worked on, and its outcome.

#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "Console.h"
#include "Job.h"
#include "VXIO/VXIO_Sequence.h"

namespace vxcli {

// --- the plan ------------------------------------------------------------------------------------

struct InputFile {
  std::string path;
  bool black = false;  // a picture of zeros, made like the file at this path
};

struct PlannedFrame {
  enum Fate { Work, Skip, Fail };

  int64_t number = 0;
  Fate fate = Work;
  std::string why;  // of Fail
  std::vector<InputFile> inputs;
  std::string output;  // empty for a job that writes no picture
};

class JobPlan {
 public:
  // Reads folders, not files. Throws UsageError for options that contradict each other, and
  // VXIO_Error for gaps, for outputs that exist and may not be overwritten, and if no frame is
  // left.
  explicit JobPlan(const Job& job);

  bool sequence() const { return sequence_; }
  size_t size() const { return frames_.size(); }
  PlannedFrame Frame(size_t index) const;  // computed by each call: there may be millions
  const std::vector<int64_t>& frames() const { return frames_; }
  const std::string& output() const { return output_name_; }
  // Inputs that are one file for all frames.
  std::vector<std::string> SingleFiles() const;
  // Lines about gaps, for the user.
  const std::vector<std::string>& notes() const { return notes_; }

 private:
  struct Input {
    std::string name;
    std::optional<VXIO_FramePattern> pattern;
    std::vector<int64_t> on_disk;  // frames, ascending
  };

  void FindPatterns(const Job& job);
  void FindFrames(const Job& job);
  void CheckGaps(bool keep_going);
  void CheckOutputs(VXIO_Clobber clobber) const;
  void CheckOverlap(bool resume) const;
  const Input* FirstPattern() const;
  // Sets the file of one input. Returns false if the frame is missing and has no substitute.
  bool Resolve(const Input& input, int64_t number, InputFile* file) const;

  std::vector<Input> inputs_;
  std::string output_name_;
  std::optional<VXIO_FramePattern> output_;
  Missing missing_ = Missing::Error;
  bool sequence_ = false;
  std::vector<int64_t> frames_;
  std::vector<std::string> notes_;
};

// --- the record of --resume ----------------------------------------------------------------------

// The fingerprint of a file's contents, or of a text. Throws VXIO_Error (Input) for a file that
// cannot be read.
std::string FingerprintOfFile(const std::string& path);
std::string FingerprintOfText(const std::string& text);

// The outputs that earlier runs with --resume wrote, with the fingerprints of their sources. They
// are stored in a text file beside the outputs, ".NAME.vx-resume" for the output NAME, with one
// line for each output:
//
//   vx1 FRAME MADE-FROM WRITTEN CHECK
//
//   MADE-FROM  fingerprint of the input files' contents, the settings and the version (128 bits of
//              XXH3 in hex)
//   WRITTEN    fingerprint of the output's contents
//   CHECK      64 bits of XXH3 over the line before it
//
// Each line is appended with one write after its output is in place, so a killed run leaves at most
// one incomplete last line. Lines that do not match this form are ignored and their frames are done
// again. If a frame has several lines, the last one counts. Several runs may append to the same
// file at once if they work on different frames.
class ResumeStore {
 public:
  enum Access { ReadOnly, ReadAndAdd };

  // Opens the record of an output file, or of a sequence by its pattern. Throws VXIO_Error
  // (Output) if it cannot be opened for writing.
  ResumeStore(const std::string& output, Access access);
  ~ResumeStore();
  ResumeStore(const ResumeStore&) = delete;
  ResumeStore& operator=(const ResumeStore&) = delete;

  const std::string& path() const { return path_; }

  // Returns true if the frame was made from these inputs and its output was not changed since.
  bool IsDone(int64_t frame, const std::string& made_from, const std::string& output) const;

  // Records an output that was written. Returns false if the record could not be written; the
  // output is not affected. Thread-safe.
  bool Add(int64_t frame, const std::string& made_from, const std::string& output);

 private:
  struct Entry {
    std::string made_from, written;
  };
  void Load();
  void Compact();

  std::string path_;
  std::map<int64_t, Entry> entries_;  // by frame, as they were when the file was opened
  size_t lines_ = 0;
  bool incomplete_ = false;  // the last line of the file
  int descriptor_ = -1;
  std::mutex mutex_;
};

// --- a frame -------------------------------------------------------------------------------------

struct Outcome {
  enum Status { NotRun, Done, UpToDate, Planned, Missing, Failed };

  Status status = NotRun;
  Failure failure{kDone, ""};      // of Failed
  nlohmann::ordered_json record;   // for --json
  std::vector<std::string> lines;  // for the standard output without it
};

struct JobFrame::State {
  const Job* job;
  const JobPlan* plan;
  PlannedFrame frame;
  vxcli::Progress* progress;  // null when several frames share the bar
  nlohmann::ordered_json record;
  nlohmann::ordered_json warnings;
  std::vector<std::string> lines;
  bool written = false;

  // Prints and records the warnings. Under --strict throws the first of them.
  void ReportWarnings(const std::vector<std::string>& texts, VXIO_ErrorKind kind);
  // Shows the progress of a job of one frame: one step for each input and its use, one for writing.
  void Begin(size_t step, const std::string& what) const;
};

// Limits the bytes of the frames in flight.
class MemoryBudget {
 public:
  explicit MemoryBudget(const Job& job);

  // The bytes that a frame needs, from the headers of its inputs; 0 if they cannot be read, which
  // the frame itself reports. Throws UsageError if --memory is too small for the frame alone.
  int64_t Need(const PlannedFrame& frame) const;
  // Waits until the bytes fit beside the frames in flight, or no frame is in flight.
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

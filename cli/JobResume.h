// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// What earlier runs with --resume wrote, and from what.
//
// The record is a text file beside the outputs, ".NAME.vx-resume" for the output NAME, with a line
// for each output that was written:
//
//   vx1 FRAME MADE-FROM WRITTEN CHECK
//
// MADE-FROM is the fingerprint of the input files' contents, the settings and the version, WRITTEN
// that of the output's contents (128 bits of XXH3 in hex each), CHECK 64 bits over the line before
// it. Lines are only ever added, each by one write after its output is in place, so that a run that
// is ended by force leaves at most a torn last line; that and anything else that does not fit is
// passed over, and its frame is done again. The last line of a frame counts. Runs on other frames
// of the same output may go on at the same time.

#include <cstdint>
#include <map>
#include <mutex>
#include <string>

namespace vxcli {

// The fingerprint of a file's contents, or of a text. Throws VXIO_Error (Input) for a file that
// cannot be read.
std::string FingerprintOfFile(const std::string& path);
std::string FingerprintOfText(const std::string& text);

class ResumeStore {
 public:
  enum Access { ReadOnly, ReadAndAdd };

  // The record of an output, or of a sequence by its spelled pattern. Throws VXIO_Error (Output)
  // when it cannot be opened for adding.
  ResumeStore(const std::string& output, Access access);
  ~ResumeStore();
  ResumeStore(const ResumeStore&) = delete;
  ResumeStore& operator=(const ResumeStore&) = delete;

  const std::string& path() const { return path_; }

  // Whether the frame was made from this and its output is still the file that was written.
  bool IsDone(int64_t frame, const std::string& made_from, const std::string& output) const;

  // Records an output that is in place. False when the record could not be written; the output
  // stands all the same. Safe on several threads.
  bool Add(int64_t frame, const std::string& made_from, const std::string& output);

 private:
  struct Entry {
    std::string made_from, written;
  };
  void Load();
  void Tidy();

  std::string path_;
  std::map<int64_t, Entry> entries_;  // as they were found
  size_t lines_ = 0;
  bool torn_ = false;  // the file does not end with a whole line
  int descriptor_ = -1;
  std::mutex mutex_;
};

}  // namespace vxcli

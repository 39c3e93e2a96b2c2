// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// What the command says on the standard error: warnings, notes, progress.

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "Errors.h"
#include "VX/VX_Types.h"

namespace vxcli {

// "vx: warning: ..." and "vx: note: ...", one line each.
void Warn(const std::vector<std::string>& warnings);
void Note(const std::string& text);
// "vx: ...", as an error that ends the command is told.
void Complain(const std::string& text);

// How far the work is. Its record is given to library calls, which poll it.
class Progress {
 public:
  // Auto is Bar on a terminal and None elsewhere.
  enum Style { Auto, Bar, Plain, Json, None };

  explicit Progress(Style style);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // Starts step `index` (from 0) of `count`; `what` names it.
  void Begin(int index, int count, const std::string& what);
  VX_ProgressInfo* Info() { return &info_; }

  // The final event, once.
  void Done(const std::string& output);
  void Failed(int exit_code, const std::string& text);

 private:
  static VX_Err Poll(void* refcon, int32_t step, int32_t final_step);
  void Show(double fraction);
  void ClearBar();

  Style style_;
  VX_ProgressInfo info_{};
  int index_ = 0, count_ = 1;
  std::string what_;
  int shown_ = -1;  // per cent of all the work
  bool finished_ = false;
};

// The words for --progress, in the order of Progress::Style.
const std::vector<std::string>& ProgressStyles();

// Calls `work`; a failure becomes the final event and goes on to the caller.
template <class Work>
void RunWith(Progress* progress, Work work) {
  try {
    work();
  } catch (...) {
    Failure failure = Describe(std::current_exception());
    progress->Failed(failure.exit_code, failure.text);
    // Describing took the library's reports, so their text travels on in the exception.
    if (failure.exit_code == kInternal) throw LibraryError(failure.text);
    throw;
  }
}

// Prints a record as one line of JSON on the standard output.
void PrintJson(const nlohmann::ordered_json& json);

}  // namespace vxcli

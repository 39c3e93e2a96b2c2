// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Output of the command: warnings, notes and progress on the standard error, JSON records.

#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "Errors.h"
#include "VX/VX_Types.h"

namespace vxcli {

// "vx: warning: ..." and "vx: note: ...", one line each.
void Warn(const std::vector<std::string>& warnings);
void Note(const std::string& text);
// "vx: ...", an error.
void PrintError(const std::string& text);

// Shows the progress of the work. Calls of the library report to Info().
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

// The values of --progress, in the order of Progress::Style.
const std::vector<std::string>& ProgressStyles();

// Calls `work`. A failure is shown as the final event and thrown again.
void RunWith(Progress* progress, const std::function<void()>& work);

// Prints a record as one line of JSON on the standard output.
void PrintJson(const nlohmann::ordered_json& json);

}  // namespace vxcli

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "Console.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <iostream>
#include <nlohmann/json.hpp>

namespace vxcli {

namespace {

constexpr int kBarWidth = 30;

std::atomic<bool> g_bar_shown{false};

// Writes a line in one call, because several threads may print. Erases the progress bar, which is
// drawn again by its next change.
void Line(const std::string& text) {
  std::string line = (g_bar_shown.exchange(false) ? "\r\033[K" : "") + text + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

// JSON is UTF-8, file names need not be: other bytes are replaced.
std::string Dump(const nlohmann::ordered_json& json) {
  return json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

}  // namespace

void Warn(const std::vector<std::string>& warnings) {
  for (const std::string& warning : warnings) Line("vx: warning: " + warning);
}

void PrintJson(const nlohmann::ordered_json& json) { std::cout << Dump(json) << '\n'; }

void Note(const std::string& text) { Line("vx: note: " + text); }

void PrintError(const std::string& text) { Line("vx: " + text); }

const std::vector<std::string>& ProgressStyles() {
  static const std::vector<std::string> styles = {"auto", "bar", "plain", "json", "none"};
  return styles;
}

Progress::Progress(Style style) : style_(style) {
  if (style_ == Auto) style_ = isatty(STDERR_FILENO) ? Bar : None;
  info_.progress_func = &Progress::Poll;
  info_.progress_refcon = this;
}

Progress::~Progress() { ClearBar(); }

void Progress::Begin(int index, int count, const std::string& what) {
  index_ = index;
  count_ = std::max(count, 1);
  what_ = what;
  if (style_ == Plain) {
    Line("vx: " + std::to_string(index + 1) + "/" + std::to_string(count) + " " + what);
  } else if (style_ == Json) {
    nlohmann::ordered_json event = {
        {"event", "step"}, {"step", index + 1}, {"of", count}, {"what", what}};
    Line(Dump(event));
  }
  Show(0);
}

VX_Err Progress::Poll(void* refcon, int32_t step, int32_t final_step) {
  static_cast<Progress*>(refcon)->Show(final_step > 0 ? static_cast<double>(step) / final_step : 0);
  return VX_Ok;
}

void Progress::Show(double fraction) {
  int percent = static_cast<int>((index_ + std::clamp(fraction, 0.0, 1.0)) / count_ * 100);
  if (percent == shown_) return;
  shown_ = percent;
  if (style_ == Bar) {
    int filled = percent * kBarWidth / 100;
    std::fprintf(stderr, "\r[%s%s] %3d%% %.40s\033[K", std::string(filled, '#').c_str(),
                 std::string(kBarWidth - filled, ' ').c_str(), percent, what_.c_str());
    std::fflush(stderr);
    g_bar_shown = true;
  } else if (style_ == Json) {
    nlohmann::ordered_json event = {{"event", "progress"}, {"percent", percent}};
    Line(Dump(event));
  }
}

void Progress::ClearBar() {
  if (style_ != Bar || shown_ < 0) return;
  std::fputs("\r\033[K", stderr);
  std::fflush(stderr);
  g_bar_shown = false;
  shown_ = -1;
}

void Progress::Done(const std::string& output) {
  ClearBar();
  if (finished_) return;
  finished_ = true;
  if (style_ == Plain) Line("vx: wrote " + output);
  if (style_ == Json) {
    nlohmann::ordered_json event = {{"event", "done"}, {"exit", 0}, {"output", output}};
    Line(Dump(event));
  }
}

void Progress::Failed(int exit_code, const std::string& text) {
  ClearBar();
  if (finished_) return;
  finished_ = true;
  if (style_ == Json) {
    nlohmann::ordered_json event = {{"event", "failed"}, {"exit", exit_code}, {"message", text}};
    Line(Dump(event));
  }
}

void RunWith(Progress* progress, const std::function<void()>& work) {
  try {
    work();
  } catch (...) {
    const Failure failure = Describe(std::current_exception());
    progress->Failed(failure.exit_code, failure.text);
    // Describe took the reports of the library, so their text must be in the exception.
    if (failure.exit_code == kInternal) throw LibraryError(failure.text);
    throw;
  }
}

}  // namespace vxcli

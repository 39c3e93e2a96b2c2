// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "Console.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <iostream>
#include <new>
#include <nlohmann/json.hpp>

#include "VXIO/VXIO_Picture.h"
#include "host/COR.h"
#include "host/VXHost.h"

namespace vxcli {

namespace {

constexpr int kBarWidth = 30;

std::atomic<bool> g_bar_shown{false};

// Writes a line with one call, because several threads may print at the same time. Erases the
// progress bar; the next change of the progress draws it again.
void Line(const std::string& text) {
  std::string line = (g_bar_shown.exchange(false) ? "\r\033[K" : "") + text + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

// Returns a record as JSON text. Bytes of file names that are not valid UTF-8 are replaced.
std::string Dump(const nlohmann::ordered_json& json) {
  return json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

// Returns a message for an error code. It contains the reports of the host on this thread; if there
// are none, the report of the library; if there is none, the meaning of the code. It ends with the
// code in parentheses. Removes the reports of the host.
std::string TextOfCode(VX_Err code, const std::string& own_report = {}) {
  std::string text;
  for (const VXHost_Report& report : VXHost_TakeReports()) {
    if (report.text.empty()) continue;
    if (!text.empty()) text += "; ";
    text += report.text;
  }
  if (text.empty()) text = own_report;
  const char* meaning = "failed";
  switch (code) {
    case VX_ErrBadParameter: meaning = "bad argument or failed check"; break;
    case VX_ErrOutOfMemory: meaning = "out of memory; use smaller pictures or a lower depth"; break;
    case VX_ErrUnsupported: meaning = "unsupported"; break;
    case VX_ErrVersion: meaning = "the library is of another version than the command"; break;
    case VX_ErrStopped: meaning = "stopped"; break;
    default: meaning = COR_QCE_StatusText(code); break;
  }
  return (text.empty() ? meaning : text) + " (code " + std::to_string(code) + ")";
}

}  // namespace

Failure Describe(const std::exception_ptr& error) {
  try {
    std::rethrow_exception(error);
  } catch (const DescribedFailure& described) {
    return {described.exit_code(), described.what()};
  } catch (const UsageError& usage) {
    return {kUsage, usage.what()};
  } catch (const VXIO_Error& io) {
    return {io.kind() == VXIO_ErrorKind::Input ? kInput : kOutput, io.what()};
  } catch (const vx::Error& library) {
    return {kInternal, TextOfCode(static_cast<VX_Err>(library.code()), library.report())};
  } catch (VX_Err code) {
    return {kInternal, TextOfCode(code)};
  } catch (const std::bad_alloc&) {
    return {kInternal, TextOfCode(VX_ErrOutOfMemory)};
  } catch (const std::exception& other) {
    return {kInternal, std::string("internal error: ") + other.what()};
  }
}

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
    throw DescribedFailure(failure);
  }
}

}  // namespace vxcli

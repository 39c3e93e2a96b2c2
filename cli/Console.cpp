// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "Console.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <mutex>
#include <new>
#include <nlohmann/json.hpp>
#include <optional>

#include "VXIO/VXIO_Picture.h"
#include "host/COR.h"
#include "host/VXHost.h"

namespace vxcli {

namespace {

using Json = nlohmann::ordered_json;

constexpr int kBarWidth = 30;

std::atomic<bool> g_bar_shown{false};
std::atomic<bool> g_output_used{false};
ProgressStyle g_style = ProgressStyle::Auto;
thread_local std::optional<int64_t> t_frame;

// Returns a record as JSON text. Bytes of file names that are not valid UTF-8 are replaced.
std::string Dump(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// Writes a line with one call, because several threads may print at the same time. Erases the
// progress bar; the next change of the progress draws it again.
void Line(const std::string& text) {
  std::string line = (g_bar_shown.exchange(false) ? "\r\033[K" : "") + text + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

// Prints events as lines of JSON on the standard error. Descriptor 2 is replaced by a file in
// memory, because libraries print on it too. Their lines become warnings before the next event.
class EventStream {
 public:
  EventStream() {
    const int memory = memfd_create("messages", MFD_CLOEXEC);
    const int standard_error = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
    if (memory < 0 || standard_error < 0 || dup2(memory, STDERR_FILENO) < 0) {
      throw vxcli::DescribedFailure({kInternal, "--progress json: the standard error is not open"});
    }
    close(memory);
    target_ = standard_error;
  }

  void Print(const Json& event) {
    std::lock_guard lock(mutex_);
    PrintOthers();
    Write(event);
  }

 private:
  void PrintOthers() {
    std::fflush(stderr);
    char buffer[4096];
    ssize_t count = 0;
    while ((count = pread(STDERR_FILENO, buffer, sizeof buffer, read_)) > 0) {
      read_ += count;
      text_.append(buffer, static_cast<size_t>(count));
    }
    for (size_t end = 0; (end = text_.find('\n')) != std::string::npos; text_.erase(0, end + 1)) {
      if (end > 0) Write({{"event", "warning"}, {"message", text_.substr(0, end)}});
    }
  }

  void Write(const Json& event) {
    const std::string line = Dump(event) + "\n";
    size_t done = 0;
    while (done < line.size()) {
      const ssize_t count = write(target_, line.data() + done, line.size() - done);
      if (count < 0 && errno != EINTR) return;
      if (count > 0) done += static_cast<size_t>(count);
    }
  }

  int target_ = -1;
  off_t read_ = 0;
  std::string text_;
  std::mutex mutex_;
};

EventStream& Events() {
  static EventStream events;
  return events;
}

// Prints a message as a line or as an event.
void Message(const char* kind, const std::string& prefix, const std::string& text,
             const Json& members = Json::object()) {
  if (g_style != ProgressStyle::Json) return Line(prefix + text);
  Json event = {{"event", kind}, {"message", text}};
  if (t_frame) event["frame"] = *t_frame;
  event.update(members);
  Events().Print(event);
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

const std::vector<std::string>& ProgressStyles() {
  static const std::vector<std::string> styles = {"auto", "bar", "plain", "json", "openjd", "none"};
  return styles;
}

void SetMessageStyle(ProgressStyle style) {
  if (style == ProgressStyle::Json) Events();
  g_style = style;
}

void Warn(const std::vector<std::string>& warnings) {
  for (const std::string& warning : warnings) Message("warning", "vx: warning: ", warning);
}

void Note(const std::string& text) { Message("note", "vx: note: ", text); }

void PrintError(const Failure& failure) {
  Json members;
  members["exit"] = failure.exit_code;
  Message("error", "vx: ", failure.text, members);
}

void PrintEnd(const Failure& result) {
  if (g_style == ProgressStyle::Json) {
    Events().Print({{"event", "done"}, {"exit", result.exit_code}});
  } else if (g_style == ProgressStyle::OpenJd && result.exit_code != kDone) {
    std::cout << "openjd_fail: " << result.text << std::endl;
  }
}

MessagesOfFrame::MessagesOfFrame(int64_t number) { t_frame = number; }
MessagesOfFrame::~MessagesOfFrame() { t_frame.reset(); }

nlohmann::ordered_json Finite(double value) {
  return std::isfinite(value) ? nlohmann::ordered_json(value) : nlohmann::ordered_json(nullptr);
}

void PrintJson(const Json& json) {
  g_output_used = true;
  std::cout << Dump(json) << '\n';
}

bool NeedsRecordOfFailure() { return !g_output_used; }

void ReserveStandardOutput() { g_output_used = true; }

Progress::Progress(ProgressStyle style) : style_(style) {
  if (style_ != ProgressStyle::Auto) return;
  style_ = isatty(STDERR_FILENO) ? ProgressStyle::Bar : ProgressStyle::None;
}

Progress::~Progress() { ClearBar(); }

void Progress::Start(const std::string& verb, size_t frames, const std::string& output) {
  output_ = output;
  frames_ = frames;
  start_ = std::chrono::steady_clock::now();
  if (style_ == ProgressStyle::Json) {
    Json event = {{"event", "start"},
                  {"verb", verb},
                  {"version", VX_PROJECT_VERSION},
                  {"frames", frames},
                  {"output", nullptr}};
    if (!output.empty()) event["output"] = output;
    Events().Print(event);
  }
}

void Progress::Begin(int index, int count, const std::string& what) {
  index_ = index;
  count_ = std::max(count, 1);
  what_ = what;
  if (style_ == ProgressStyle::Plain) {
    Line("vx: " + std::to_string(index + 1) + "/" + std::to_string(count) + " " + Text());
  } else if (style_ == ProgressStyle::OpenJd) {
    std::cout << "openjd_status: " << what << std::endl;
  }
  Show(0);
}

void Progress::Show(double fraction) {
  int percent = static_cast<int>((index_ + std::clamp(fraction, 0.0, 1.0)) / count_ * 100);
  if (percent == shown_) return;
  shown_ = percent;
  if (style_ == ProgressStyle::Bar) {
    int filled = percent * kBarWidth / 100;
    std::fprintf(stderr, "\r[%s%s] %3d%% %.50s\033[K", std::string(filled, '#').c_str(),
                 std::string(kBarWidth - filled, ' ').c_str(), percent, Text().c_str());
    std::fflush(stderr);
    g_bar_shown = true;
  } else if (style_ == ProgressStyle::Json) {
    Json event = {{"event", "progress"}, {"percent", percent}, {"text", what_}};
    if (const std::optional<Pace> pace = PaceOfFrames()) {
      event["frames_per_second"] = pace->frames_per_second;
      event["seconds_left"] = pace->seconds_left;
    }
    Events().Print(event);
  } else if (style_ == ProgressStyle::OpenJd) {
    std::cout << "openjd_progress: " << percent << std::endl;
  }
}

std::optional<Progress::Pace> Progress::PaceOfFrames() const {
  const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start_;
  if (frames_ < 2 || processed_ == 0 || spent.count() <= 0) return std::nullopt;
  const double pace = static_cast<double>(processed_) / spent.count();
  return Pace{pace, static_cast<double>(frames_ - ended_) / pace};
}

std::string Progress::Text() const {
  const std::optional<Pace> pace = PaceOfFrames();
  if (!pace) return what_;
  const auto left = static_cast<int64_t>(pace->seconds_left + 0.5);
  char text[80];
  std::snprintf(text, sizeof text, ", %.3g frames/s, %lld:%02d:%02d left", pace->frames_per_second,
                static_cast<long long>(left / 3600), static_cast<int>(left / 60 % 60),
                static_cast<int>(left % 60));
  return what_ + text;
}

void Progress::Frame(const Json& event) {
  ++ended_;
  if (event["status"] == "done" || event["status"] == "failed") ++processed_;
  if (style_ == ProgressStyle::Json) Events().Print(event);
}

void Progress::ClearBar() {
  if (style_ != ProgressStyle::Bar || shown_ < 0) return;
  std::fputs("\r\033[K", stderr);
  std::fflush(stderr);
  g_bar_shown = false;
  shown_ = -1;
}

void Progress::Done() {
  ClearBar();
  if (style_ == ProgressStyle::Plain) Line("vx: wrote " + output_);
  const bool shows = style_ == ProgressStyle::Json || style_ == ProgressStyle::OpenJd;
  index_ = count_;
  what_ = "done";
  if (shows) Show(0);
}

}  // namespace vxcli

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// Runs a job: processes frames on several threads and prints their records in frame order.

#include "JobRun.h"

#include <algorithm>
#include <chrono>
#include <iostream>
#include <map>
#include <system_error>
#include <thread>

#include "VX/VX_Package.h"
#include "VXIO/VXIO_Sequence.h"
#include "Verbs.h"
#include "host/VXHost.h"

namespace vxcli {

namespace {

constexpr const char* kStatusNames[] = {"not_run", "done",    "up_to_date",
                                        "planned", "missing", "failed"};
constexpr int kStatuses = 6;

// Throws UsageError if the format of the output does not have the encoding.
void CheckEncoding(const JobOptions& options) {
  try {
    if (VXIO_IsClipName(options.output)) return;  // MakeClipOutput checks it
    const bool stream = options.output == "-";
    VXIO_CheckEncoding(stream ? "-." + options.format : options.output, options.encoding);
  } catch (const std::invalid_argument& error) {
    throw UsageError(std::string("--") + error.what() + "; see 'vx list formats'");
  }
}

class Runner {
 public:
  // `clip` is null if the output is no clip.
  Runner(const Job& job, const JobPlan& plan, Progress* progress, ClipOutput* clip);

  // Returns the exit code. Throws DescribedFailure if a frame failed: the failure of the first such
  // frame or, with --keep-going, a summary.
  int Run();

 private:
  void Work();
  bool Next(size_t* index, PlannedFrame* frame, int64_t* bytes, Outcome* outcome);
  Outcome RunFrame(size_t index, PlannedFrame frame);
  void RunWork(size_t index, const PlannedFrame& frame, Outcome* outcome);
  std::string Fingerprint(const PlannedFrame& frame) const;
  void DescribePlan(const PlannedFrame& frame, Outcome* outcome) const;
  void Finish(size_t index, int64_t number, double seconds, Outcome outcome);
  void ShowFrame(const nlohmann::ordered_json& record, double seconds) const;
  void Print(const Outcome& outcome) const;
  void FinishClip();
  int Conclude();
  nlohmann::ordered_json Settings(RecordFor use) const;

  const Job& job_;
  const JobOptions& options_;
  const JobPlan& plan_;
  Progress* progress_;
  ClipOutput* clip_;
  int allowed_threads_, threads_;
  MemoryBudget budget_;
  std::unique_ptr<ResumeStore> store_;
  FrameOrder order_;

  std::mutex next_mutex_;  // frames are started, and acquire memory, in frame order
  size_t next_ = 0;
  std::mutex mutex_;  // protects the members below
  bool stop_ = false;
  std::map<size_t, Outcome> waiting_;  // finished frames that follow an unfinished one
  size_t printed_ = 0, begun_ = 0;
  size_t counts_[kStatuses] = {};
  std::vector<std::pair<size_t, int64_t>> failed_;  // index and number
  std::pair<size_t, Failure> first_failure_{SIZE_MAX, {kDone, ""}};
};

Runner::Runner(const Job& job, const JobPlan& plan, Progress* progress, ClipOutput* clip)
    : job_(job),
      options_(*job.options),
      plan_(plan),
      progress_(progress),
      clip_(clip),
      allowed_threads_(options_.threads ? *options_.threads
                                        : std::min(VXHost_AllowedProcessors(), kMostThreads)),
      threads_(static_cast<int>(
          std::min<size_t>(job.parallel ? static_cast<size_t>(allowed_threads_) : 1, plan.size()))),
      budget_(job) {
  // Frames first: threads that are not needed for frames divide the rows of a frame.
  const int threads_of_frame = std::max(allowed_threads_ / std::max(threads_, 1), 1);
  VXHost_SetNumThreads(threads_of_frame);
  VX_SetMotionThreads(std::min(threads_of_frame, 256));
  // One thread at a time encodes the frames of a clip.
  const int sharing = clip ? 1 : threads_;
  if (plan.sequence() || options_.threads) VXIO_SetThreads(allowed_threads_ / sharing);
  if (options_.resume) {
    const std::string& output = plan.output();
    store_ = std::make_unique<ResumeStore>(
        plan.sequence() ? VXIO_FramePattern(output).Canonical() : output,
        options_.dry_run ? ResumeStore::ReadOnly : ResumeStore::ReadAndAdd);
  }
}

int Runner::Run() {
  std::vector<std::thread> threads;
  try {
    while (static_cast<int>(threads.size()) + 1 < threads_) {
      threads.emplace_back([this] { Work(); });
    }
  } catch (const std::system_error&) {
    // No more threads can be created. The existing ones process all frames.
  }
  Work();
  for (std::thread& thread : threads) thread.join();
  if (clip_) FinishClip();
  return Conclude();
}

// Selects the next frame and acquires memory for it. Returns false if no frame remains or the job
// was stopped. An error in the computation of `*bytes` is stored in `*outcome`.
bool Runner::Next(size_t* index, PlannedFrame* frame, int64_t* bytes, Outcome* outcome) {
  std::lock_guard lock(next_mutex_);
  {
    std::lock_guard state(mutex_);
    if (stop_ || next_ == plan_.size()) return false;
    *index = next_++;
  }
  for (JobClip* clip : plan_.Clips()) clip->Announce(*index);
  order_.Announce(*index);
  *frame = plan_.Frame(*index);
  if (frame->action == PlannedFrame::Work && (options_.memory || threads_ > 1)) {
    try {
      *bytes = budget_.Need(*frame);
    } catch (...) {
      outcome->status = Outcome::Failed;
      outcome->failure = Describe(std::current_exception());
    }
  }
  budget_.Acquire(*bytes);
  std::lock_guard state(mutex_);
  if (plan_.sequence()) {
    progress_->Begin(static_cast<int>(begun_++), static_cast<int>(plan_.size()),
                     "frame " + std::to_string(frame->number));
  }
  return true;
}

void Runner::Work() {
  for (;;) {
    size_t index = 0;
    int64_t bytes = 0;
    PlannedFrame frame;
    Outcome outcome;
    if (!Next(&index, &frame, &bytes, &outcome)) return;
    const int64_t number = frame.number;
    const auto start = std::chrono::steady_clock::now();
    std::optional<MessagesOfFrame> messages;
    if (plan_.sequence()) messages.emplace(number);
    if (outcome.status == Outcome::NotRun) outcome = RunFrame(index, std::move(frame));
    for (JobClip* clip : plan_.Clips()) clip->Release(index);
    order_.Release(index);
    budget_.Release(bytes);
    const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start;
    Finish(index, number, spent.count(), std::move(outcome));
  }
}

Outcome Runner::RunFrame(size_t index, PlannedFrame frame) {
  Outcome outcome;
  nlohmann::ordered_json& record = outcome.record;
  if (frame.action == PlannedFrame::Skip) {
    outcome.status = Outcome::Missing;
    if (clip_) clip_->LeaveOut(index);
    return outcome;
  }
  record["inputs"] = nlohmann::ordered_json::array();
  for (const InputFile& file : frame.inputs) {
    record["inputs"].push_back(file.black ? "black like " + file.path : file.path);
    if (file.clip && job_.retiming) {
      record["clip_frames"][file.path].push_back(file.clip_frame);
    } else if (file.clip) {
      record["clip_frames"][file.path] = file.clip_frame;
    }
  }
  if (!frame.output.empty()) record["output"] = frame.output;
  try {
    if (frame.action == PlannedFrame::Fail) throw VXIO_Error(VXIO_ErrorKind::Input, frame.error);
    static_cast<void>(VXHost_TakeReports());  // discards reports about an earlier frame
    std::string made_from;
    if (store_) {
      // The fingerprint is computed before the inputs are read: if an input changes during the
      // work, the next run processes the frame again.
      made_from = Fingerprint(frame);
      if (store_->IsDone(frame.number, made_from, frame.output)) {
        outcome.status = Outcome::UpToDate;
      }
    }
    if (options_.dry_run) {
      DescribePlan(frame, &outcome);
    } else if (outcome.status != Outcome::UpToDate) {
      RunWork(index, frame, &outcome);
      if (store_ && !store_->Add(frame.number, made_from, frame.output)) {
        Warn({store_->path() + ": cannot be written; a later --resume will write " + frame.output +
              " again"});
      }
    }
  } catch (const ClipCancelled&) {
    outcome.status = Outcome::NotRun;
  } catch (...) {
    outcome.status = Outcome::Failed;
    outcome.failure = Describe(std::current_exception());
  }
  return outcome;
}

void Runner::RunWork(size_t index, const PlannedFrame& frame, Outcome* outcome) {
  JobFrame::State state{&order_, &job_, &plan_, index, frame, threads_ > 1 ? nullptr : progress_,
                        {},      {},    {},     false};
  state.output = frame.output;
  state.clip = clip_;
  if (frame.output == kStandardStream) state.output += "." + options_.format;
  JobFrame job_frame(&state);
  job_.work(job_frame);
  if (!frame.output.empty() && !state.written) throw std::logic_error("nothing was written");
  outcome->status = Outcome::Done;
  outcome->lines = std::move(state.lines);
  if (!state.record.is_null()) outcome->record.update(state.record);
  if (!state.warnings.is_null()) outcome->record["warnings"] = std::move(state.warnings);
}

// Returns the fingerprint of all data that affects the pixels of a frame: the version, the settings
// and the contents of the inputs.
std::string Runner::Fingerprint(const PlannedFrame& frame) const {
  std::string text = "vx " VX_PROJECT_VERSION " " + std::to_string(VX_PKG_VERSION) + "\n" +
                     Settings(RecordFor::Fingerprint).dump() + "\n" + std::to_string(frame.number);
  if (!frame.instant.empty()) text += "\n" + frame.instant;
  if (plan_.sequence() && job_.frame_settings) text += "\n" + job_.frame_settings(frame.number);
  for (const InputFile& file : frame.inputs) {
    text += file.black ? "\nblack " : "\n";
    text += file.clip ? file.clip->Fingerprint() + " " + std::to_string(file.clip_frame)
                      : FingerprintOfFile(file.File());
  }
  return FingerprintOfText(text);
}

void Runner::DescribePlan(const PlannedFrame& frame, Outcome* outcome) const {
  std::string line = plan_.sequence() ? "frame " + std::to_string(frame.number) + ":" : "would";
  for (size_t i = 0; i < frame.inputs.size(); ++i) {
    const InputFile& file = frame.inputs[i];
    static_cast<void>(file.Info());
    line +=
        (i == 0 ? " read " : " and ") + file.Text() + (file.black ? " for its size, black" : "");
  }
  if (!frame.instant.empty()) line += ", show " + frame.instant;
  if (!frame.output.empty()) {
    if (frame.output != kStandardStream && !plan_.clip())
      job_.check_output(frame.output, options_.Clobber());
    line += (frame.inputs.empty() ? " write " : ", write ") + frame.output;
  }
  const bool up_to_date = outcome->status == Outcome::UpToDate;
  if (up_to_date) line += " (up to date)";
  if (!up_to_date) outcome->status = Outcome::Planned;
  outcome->lines = {line};
}

// Stores the outcome of a frame. With --keep-going a failure is printed immediately. The record is
// printed when the records of all earlier frames have been printed.
void Runner::Finish(size_t index, int64_t number, double seconds, Outcome outcome) {
  if (outcome.status == Outcome::NotRun) return;
  if (outcome.status == Outcome::Failed && clip_) clip_->Cancel();
  nlohmann::ordered_json record;
  if (plan_.sequence()) record["frame"] = number;
  record["status"] = kStatusNames[outcome.status];
  if (outcome.status == Outcome::Failed) {
    record["exit"] = outcome.failure.exit_code;
    record["message"] = outcome.failure.text;
  }
  if (!outcome.record.is_null()) record.update(outcome.record);
  if (!plan_.sequence()) record["settings"] = Settings(RecordFor::Reader);
  outcome.record = std::move(record);

  std::lock_guard lock(mutex_);
  ShowFrame(outcome.record, seconds);
  ++counts_[outcome.status];
  if (outcome.status == Outcome::Failed) {
    if (plan_.sequence()) {
      outcome.failure.text = "frame " + std::to_string(number) + ": " + outcome.failure.text;
    }
    failed_.emplace_back(index, number);
    if (options_.keep_going && plan_.sequence()) PrintError(outcome.failure);
    if (!options_.keep_going) stop_ = true;
    if (index < first_failure_.first) first_failure_ = {index, outcome.failure};
  }
  waiting_[index] = std::move(outcome);
  for (auto next = waiting_.begin(); next != waiting_.end() && next->first == printed_;
       next = waiting_.erase(next), ++printed_) {
    Print(next->second);
  }
}

// Shows the outcome of a frame with its file names, without the details of its record.
void Runner::ShowFrame(const nlohmann::ordered_json& record, double seconds) const {
  nlohmann::ordered_json event = {{"event", "frame"}, {"frame", nullptr}};
  for (const char* member : {"frame", "status", "inputs", "output", "exit", "message"}) {
    if (record.contains(member)) event[member] = record[member];
  }
  event["seconds"] = seconds;
  progress_->Frame(event);
}

void Runner::Print(const Outcome& outcome) const {
  if (!options_.json) {
    for (const std::string& line : outcome.lines) {
      // The standard output is for the picture.
      if (plan_.output() == kStandardStream) {
        Note(line);
      } else {
        std::cout << line << '\n';
      }
    }
  } else {
    PrintJson(outcome.record);
  }
  std::cout.flush();
}

nlohmann::ordered_json Runner::Settings(RecordFor use) const {
  nlohmann::ordered_json record = {{"verb", job_.verb->name}};
  record.update(SettingsRecord(job_.verb->options, job_.verb->parts, use));
  return record;
}

// Completes the clip if all frames were written.
void Runner::FinishClip() {
  if (!failed_.empty()) return;
  try {
    Warn(clip_->Finish());
  } catch (...) {
    first_failure_ = {SIZE_MAX - 1, Describe(std::current_exception())};
  }
}

int Runner::Conclude() {
  for (const auto& [index, outcome] : waiting_)
    Print(outcome);  // frames that follow one that was not run
  std::sort(failed_.begin(), failed_.end());
  std::vector<int64_t> numbers;
  for (const auto& [index, number] : failed_) numbers.push_back(number);
  const bool some = options_.keep_going && plan_.sequence() && !failed_.empty();
  const Failure result =
      some ? Failure{kSomeFailed, std::to_string(failed_.size()) + " of " +
                                      std::to_string(plan_.size()) +
                                      " frames failed: " + VXIO_FormatFrames(numbers)}
           : first_failure_.second;
  if (options_.json && plan_.sequence()) {
    nlohmann::ordered_json record = {{"summary", true}, {"frames", plan_.size()}};
    size_t rest = plan_.size();
    for (int status = Outcome::Done; status < kStatuses; ++status) {
      record[kStatusNames[status]] = counts_[status];
      rest -= counts_[status];
    }
    record[kStatusNames[Outcome::NotRun]] = rest;
    if (clip_ && result.exit_code == kDone) {
      record["clip"] = {{"output", plan_.output()}, {"streams", clip_->Description()}};
    }
    record["exit"] = result.exit_code;
    record["settings"] = Settings(RecordFor::Reader);
    PrintJson(record);
  }
  if (!options_.failed_list.empty() && !options_.dry_run) {
    std::string list;
    for (int64_t number : numbers) list += std::to_string(number) + "\n";
    VXIO_WriteText(options_.failed_list, list);
  }
  if (result.exit_code != kDone) throw DescribedFailure(result);
  return kDone;
}

}  // namespace

int RunJob(const Job& job) {
  const JobOptions& options = *job.options;
  if (options.json && options.progress == ProgressStyle::OpenJd) {
    throw UsageError("--progress openjd: not together with --json; both use the standard output");
  }
  Progress progress(options.progress);
  CheckEncoding(options);
  const JobPlan plan(job);
  if (!options.failed_list.empty()) VXIO_CheckFile(options.failed_list, VXIO_Clobber::Overwrite);
  if (plan.sequence()) {
    if (job.frame_settings) {
      for (const int64_t frame : plan.frames()) static_cast<void>(job.frame_settings(frame));
    }
    for (const InputFile& file : plan.SingleFiles()) static_cast<void>(file.Info());
  }
  progress.Start(job.verb->name, plan.size(), plan.output());
  for (const std::string& note : plan.notes()) Note(note);
  std::vector<std::string> warnings;
  const std::unique_ptr<ClipOutput> clip = plan.clip() ? plan.MakeClip(job, &warnings) : nullptr;
  if (options.strict && !warnings.empty()) {
    throw VXIO_Error(VXIO_ErrorKind::Output, warnings[0] + " (--strict)");
  }
  Warn(warnings);
  const int code = Runner(job, plan, &progress, options.dry_run ? nullptr : clip.get()).Run();
  progress.Done();
  return code;
}

int RunJob(const Verb& verb, const JobOptions& options, const std::string& input,
           std::function<void(JobFrame&)> work,
           std::function<int64_t(const std::vector<VXIO_Info>&)> bytes) {
  Job job;
  job.verb = &verb;
  job.options = &options;
  if (!input.empty()) job.inputs = {input};
  job.work = std::move(work);
  job.bytes = std::move(bytes);
  return RunJob(job);
}

}  // namespace vxcli

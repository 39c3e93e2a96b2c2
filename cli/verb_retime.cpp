// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx retime: changes the speed or the frame rate of a sequence or a clip.

#include <algorithm>
#include <charconv>
#include <chrono>
#include <memory>
#include <nlohmann/json.hpp>
#include <numeric>
#include <set>

#include "ClipOutput.h"
#include "RetimeSources.h"
#include "VX/cpp/Image.hpp"
#include "Verbs.h"

namespace vxcli {

namespace {

using Json = nlohmann::ordered_json;

constexpr int64_t kShutterBytes = 32;  // for each pixel: the sum and a sample
constexpr const char* kMadeBy[] = {"copy", "hold", "mix", "motion"};

struct RetimeArguments {
  JobOptions job;
  std::string input, map, report;
  std::optional<Ratio> speed, fps, input_fps;
  std::optional<std::vector<int64_t>> output_frames;
  bool skip_duplicates = false;
  BetweenArguments between;
};

// Returns the shortest text that is this number.
std::string ExactText(double value) {
  char text[40];
  return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

Json JsonOf(const std::optional<Ratio>& rate) {
  if (!rate) return nullptr;
  return std::to_string(rate->num) + (rate->den == 1 ? "" : "/" + std::to_string(rate->den));
}

// Returns the mean frame rate of frames with unequal durations.
Ratio MeanRate(const JobSource& source) {
  constexpr int64_t kMost = 1'000'000'000;
  const int64_t duration =
      std::accumulate(source.durations.begin(), source.durations.end(), int64_t{0});
  int64_t num = source.count * source.clip->time_base.den;
  int64_t den = duration * source.clip->time_base.num;
  const int64_t divisor = std::gcd(num, den);
  for (num /= divisor, den /= divisor; num > kMost || den > kMost; num /= 2) den /= 2;
  return {num, std::max<int64_t>(den, 1)};
}

// How an output frame was made.
struct FrameReport {
  const char* status = "done";
  MadeBy by;
  bool cut;
  double seconds;
};

class Retimer {
 public:
  explicit Retimer(const RetimeArguments& arguments)
      : arguments_(arguments), sources_(arguments.between) {
    if (!arguments.map.empty()) map_ = ReadTimeMap(arguments.map);
    retiming_.plan = [this](const JobSource& source) { return Plan(source); };
    retiming_.sources = [this](int64_t output) { return SourcesOf(output); };
    retiming_.describe = [this](int64_t output) { return Describe(output); };
    retiming_.rate = [this]() -> std::optional<VXIO_Rational> {
      if (!output_rate_) return std::nullopt;
      return RateOf(*output_rate_);
    };
    retiming_.keeps_times = arguments.map.empty();
    retiming_.only = arguments.output_frames;
  }

  const Retiming* retiming() const { return &retiming_; }
  // Makes an output frame.
  void Make(JobFrame* frame);
  void WriteReport() const;

 private:
  int64_t Plan(const JobSource& source);
  bool UsesDurations(const JobSource& source) const;
  std::vector<double> TimesOf(const JobSource& source) const;
  void SkipDuplicates(const JobSource& source, std::vector<double>* times);
  std::vector<Instant> InstantsOf(int64_t output) const;
  std::vector<size_t> SourcesOf(int64_t output) const;
  std::string Describe(int64_t output) const;
  Json RecordOf(int64_t output) const;
  void Note(const std::vector<Instant>& instants, const std::vector<InstantSource>& sources);

  const RetimeArguments& arguments_;
  RetimeSources sources_;
  std::optional<TimeMap> map_;
  Retiming retiming_;
  // Of the plan:
  std::string name_;
  bool clip_ = false;
  std::optional<Ratio> input_rate_, output_rate_;
  int64_t input_frames_ = 0;
  std::vector<int64_t> numbers_;  // of the input frames that the timeline uses
  std::vector<size_t> used_;      // their indices in the job
  int64_t first_output_ = 0;
  std::optional<Timeline> timeline_;
  std::vector<int64_t> skipped_;
  // Of the frames that were made:
  std::mutex mutex_;
  std::map<int64_t, FrameReport> made_;
  std::map<size_t, double> cuts_;  // by the index of the first picture
  std::set<size_t> duplicates_;
};

// --- the plan ------------------------------------------------------------------------------------

int64_t Retimer::Plan(const JobSource& source) {
  name_ = source.name;
  clip_ = source.clip.has_value();
  numbers_ = source.numbers;
  first_output_ = source.first;
  input_frames_ = source.count;
  input_rate_ = arguments_.input_fps;
  if (UsesDurations(source)) {
    input_rate_ = MeanRate(source);
  } else if (!input_rate_ && clip_ && source.clip->frame_rate.num > 0) {
    input_rate_ = Ratio{source.clip->frame_rate.num, source.clip->frame_rate.den};
  }
  output_rate_ = input_rate_;
  if (arguments_.speed) {
    timeline_ = Timeline::Steps(source.count, *arguments_.speed);
  } else if (arguments_.fps) {
    if (!input_rate_) {
      throw UsageError("--fps: " + name_ +
                       (clip_ ? " does not contain its frame rate" : " has no frame rate") +
                       "; give it with --input-fps");
    }
    output_rate_ = arguments_.fps;
    timeline_ = Timeline::Steps(source.count, Quotient(*input_rate_, *arguments_.fps));
  } else {
    timeline_ = Timeline::Mapped(source.count, *map_, input_rate_);
  }
  used_.resize(numbers_.size());
  std::iota(used_.begin(), used_.end(), size_t{0});
  std::vector<double> times = TimesOf(source);
  if (arguments_.skip_duplicates) SkipDuplicates(source, &times);
  const bool all = static_cast<int64_t>(times.size()) == source.count;
  if (!all || UsesDurations(source)) timeline_->SetTimes(std::move(times));
  return timeline_->size();
}

// Returns true if the frames of the input have unequal durations, and no --input-fps says that they
// are equal.
bool Retimer::UsesDurations(const JobSource& source) const {
  return !source.durations.empty() && !arguments_.input_fps;
}

// Returns the times of the frames, in frames of the mean duration.
std::vector<double> Retimer::TimesOf(const JobSource& source) const {
  std::vector<double> times(source.places.begin(), source.places.end());
  if (!UsesDurations(source)) return times;
  std::vector<int64_t> begins(source.durations.size() + 1);
  std::partial_sum(source.durations.begin(), source.durations.end(), begins.begin() + 1);
  for (double& time : times) {
    const int64_t begin = begins[static_cast<size_t>(time)];
    time = static_cast<double>(begin) * static_cast<double>(source.count) /
           static_cast<double>(begins.back());
  }
  return times;
}

// Removes the frames that equal the frame before from the timeline.
void Retimer::SkipDuplicates(const JobSource& source, std::vector<double>* times) {
  std::string last;
  size_t kept = 0;
  for (size_t i = 0; i < numbers_.size(); ++i) {
    const VXIO_Picture picture = source.read(i);
    std::string digest = DigestOfPicture(*picture.world);
    if (digest == last) {
      skipped_.push_back(numbers_[i]);
      continue;
    }
    last = std::move(digest);
    (*times)[kept] = (*times)[i];
    used_[kept] = i;
    numbers_[kept++] = numbers_[i];
  }
  times->resize(kept);
  used_.resize(kept);
  numbers_.resize(kept);
}

// The instants whose mean an output frame is.
std::vector<Instant> Retimer::InstantsOf(int64_t output) const {
  const vx::TweenOptions& tween = arguments_.between.tween;
  const bool one = tween.shutter_samples == 1 || tween.shutter_angle == 0;
  const int32_t count = one ? 1 : tween.shutter_samples;
  std::vector<Instant> instants;
  for (int32_t k = 0; k < count; ++k) {
    const double offset = one ? 0 : tween.shutter_angle / 360 * ((k + 0.5) / count - 0.5);
    Instant instant = timeline_->At(output, offset);
    if (tween.method == vx::TweenMethod::copy) {
      instant.first += instant.position < 0.5 ? 0 : 1;
      instant.position = 0;
    }
    instants.push_back(instant);
  }
  return instants;
}

std::vector<size_t> Indices(const std::vector<Instant>& instants) {
  std::set<size_t> indices;
  for (const Instant& instant : instants) {
    indices.insert(instant.first);
    if (instant.position > 0) indices.insert(instant.first + 1);
  }
  return {indices.begin(), indices.end()};
}

std::vector<size_t> Retimer::SourcesOf(int64_t output) const {
  std::vector<size_t> sources = Indices(InstantsOf(output));
  for (size_t& source : sources) source = used_[source];
  return sources;
}

std::string Retimer::Describe(int64_t output) const {
  std::string text;
  for (const Instant& instant : InstantsOf(output)) {
    text += (text.empty() ? "frame " : ", ") + std::to_string(numbers_[instant.first]);
    if (instant.position > 0) text += " + " + ExactText(instant.position);
  }
  return text;
}

// --- a frame -------------------------------------------------------------------------------------

void Retimer::Make(JobFrame* frame) {
  const auto start = std::chrono::steady_clock::now();
  const int64_t output = frame->Number() - first_output_;
  const std::vector<Instant> instants = InstantsOf(output);
  std::vector<InstantSource> sources;
  frame->InOrder([&] {
    sources = sources_.Get(instants, Indices(instants), frame, [&](size_t index, size_t input) {
      return frame->Input(input) + (clip_ ? " frame " + std::to_string(numbers_[index]) : "");
    });
  });
  const VX_World& size = *sources[0].picture->picture.world;
  vx::Image to, sample;
  const auto made_image = [&](vx::Image* image) {
    if (image->width() == 0) {
      *image = vx::Image::uninitialized(size.width, size.height, size.Depth());
    }
    return image;
  };
  std::optional<vx::PictureSum> sum;
  if (instants.size() > 1) sum.emplace(size.width, size.height);
  const VX_World* result = nullptr;
  FrameReport report{"done", MadeBy::Copy, false, 0};
  WithContext(frame->Input(0), [&] {
    for (size_t i = 0; i < instants.size(); ++i) {
      SourcePair::Made made{sources[i].picture->picture.world.get(),
                            instants[i].held ? MadeBy::Hold : MadeBy::Copy, false};
      if (sources[i].pair) made = sources[i].pair->Make(instants[i].position, made_image(&sample));
      if (sum) sum->add(*made.world);
      result = made.world;
      report.by = std::max(report.by, made.by);
      report.cut |= made.cut;
    }
    if (!sum) return;
    sum->mean(*made_image(&to));
    result = to.world();
  });
  Note(instants, sources);
  const VXIO_Picture& a = sources[0].picture->picture;
  const VXIO_Picture& b =
      sources.back().pair ? sources.back().pair->b().picture : sources.back().picture->picture;
  frame->Record().update(RecordOf(output));
  frame->Record()["method"] = kMadeBy[static_cast<int>(report.by)];
  frame->Record()["cut"] = report.cut;
  frame->Write(*result, a.has_alpha || !b.has_alpha ? a : b);
  report.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  const std::lock_guard lock(mutex_);
  made_[output] = report;
}

// Stores the cuts and duplicates among the pairs of a frame.
void Retimer::Note(const std::vector<Instant>& instants,
                   const std::vector<InstantSource>& sources) {
  const std::lock_guard lock(mutex_);
  for (size_t i = 0; i < instants.size(); ++i) {
    if (!sources[i].pair) continue;
    if (sources[i].pair->Duplicates()) duplicates_.insert(instants[i].first);
    const std::optional<double> unexplained = sources[i].pair->Unexplained();
    if (arguments_.between.IsCut(unexplained)) cuts_[instants[i].first] = *unexplained;
  }
}

// --- the report ----------------------------------------------------------------------------------

Json Retimer::RecordOf(int64_t output) const {
  const Instant instant = timeline_->At(output);
  const size_t second = instant.first + (instant.position > 0 ? 1 : 0);
  return {
      {"time", output_rate_ ? Json(static_cast<double>(output) / output_rate_->Value()) : Json()},
      {"instant", instant.time},
      {"pair", {numbers_[instant.first], numbers_[second]}},
      {"position", instant.position}};
}

void Retimer::WriteReport() const {
  Json report = {{"input", name_},
                 {"input_frames", input_frames_},
                 {"input_rate", JsonOf(input_rate_)},
                 {"output", arguments_.job.output},
                 {"output_frames", timeline_->size()},
                 {"output_rate", JsonOf(output_rate_)}};
  report["cuts"] = Json::array();
  for (const auto& [first, unexplained] : cuts_) {
    report["cuts"].push_back(
        {{"pair", {numbers_[first], numbers_[first + 1]}}, {"unexplained", unexplained}});
  }
  std::set<int64_t> duplicates(skipped_.begin(), skipped_.end());
  for (const size_t first : duplicates_) duplicates.insert(numbers_[first + 1]);
  report["duplicates"] = duplicates;
  report["frames"] = Json::array();
  for (const auto& [output, made] : made_) {
    Json record = {{"frame", first_output_ + output}};
    record.update(RecordOf(output));
    record["method"] = kMadeBy[static_cast<int>(made.by)];
    record["cut"] = made.cut;
    record["seconds"] = made.seconds;
    report["frames"].push_back(std::move(record));
  }
  VXIO_WriteText(arguments_.report, report.dump(1) + "\n");
}

// --- the verb ------------------------------------------------------------------------------------

int Run(RetimeArguments arguments, const Verb& verb) {
  const int given = int{arguments.speed.has_value()} + int{arguments.fps.has_value()} +
                    int{!arguments.map.empty()};
  if (given == 0) throw UsageError("one of --speed, --fps and --map is required");
  if (given > 1) throw UsageError("--speed, --fps and --map: only one of them may be given");
  ResolveTween(&arguments.between, arguments.job);
  if (!arguments.report.empty()) VXIO_CheckFile(arguments.report, VXIO_Clobber::Overwrite);
  Retimer retimer(arguments);
  Job job;
  job.verb = &verb;
  job.options = &arguments.job;
  job.inputs = {arguments.input};
  job.retiming = retimer.retiming();
  const bool blurs = arguments.between.tween.shutter_samples > 1;
  job.bytes = [=](const auto& inputs) {
    return BytesOfPair(inputs, kTweenBytes + (blurs ? kShutterBytes : 0));
  };
  job.work = [&](JobFrame& frame) { retimer.Make(&frame); };
  const auto report = [&] {
    if (!arguments.report.empty() && !arguments.job.dry_run) retimer.WriteReport();
  };
  int code = kDone;
  try {
    code = RunJob(job);
  } catch (const DescribedFailure&) {  // frames failed
    report();
    throw;
  }
  report();
  return code;
}

OptionList OptionsOf(RetimeArguments* to) {
  const auto ratio = [](const std::string& hint) {
    return [hint](const std::string& option, const std::string& text) {
      return ParseRatio(option, text, hint);
    };
  };
  OptionList job = JobOptionList(&to->job, JobOutput::Picture, QualityOfTween(&to->between));
  std::erase_if(job, [](const Option& option) {
    return option.name == "--at-time" || option.name == "--fps";
  });
  Find(&job, "--frames")->help =
      "Frames of IN to use, as if the others did not exist: 1-10,20-40x2. Clips start at 0";
  return Join(
      {{Option{"IN", "FILE", Text(&to->input), "A pattern for a sequence, or a clip"}
            .Required()
            .For(Decides::Contents),
        Option{"--speed", "F",
               Parsed(&to->speed, ratio("; a map (--map) can stop and run backwards")),
               "Factor of the speed, a number or a fraction: 0.25 makes four frames of each"},
        Option{"--fps", "N", Parsed(&to->fps, ratio("")),
               "Frame rate of the output, such as 60, 23.976 or 24000/1001; the speed is kept"},
        Option{"--map", "FILE", Text(&to->map),
               "Pairs of times, of the output and of the input that is shown then: lines with two "
               "columns, or JSON. Seconds, or frames with the suffix f (60f). Linear between the "
               "pairs; may run backwards"}
            .For(Decides::Contents),
        Option{"--input-fps", "N", Parsed(&to->input_fps, ratio("")), "Frame rate of IN"}.Without(
            "that of the clip"),
        {"--skip-duplicates", "", Flag(&to->skip_duplicates),
         "Remove frames that equal the frame before; their time goes to the pictures between that "
         "frame and the next different one"}},
       BetweenOptionList(&to->between, "two frames of the output"),
       {Option{"--output-frames", "SET", FramesValue(&to->output_frames),
               "Make only these frames of the output. One frame may be written to a single file"}
            .Without("all")
            .For(Decides::Nothing),
        Option{"--report", "FILE", Text(&to->report),
               "Write a JSON report: how each frame was made, cuts, repeated frames"}
            .For(Decides::Nothing)},
       std::move(job)});
}

}  // namespace

Verb RetimeVerb() {
  auto arguments = std::make_shared<RetimeArguments>();
  return {"retime", "Change the speed or the frame rate of a sequence or a clip",
          OptionsOf(arguments.get()),
          "The output has (frames of IN) / F or * (rate of OUT) / (rate of IN) frames, rounded to\n"
          "nearest, halves up, with numbers from the first one of IN. After its last frame IN\n"
          "holds that frame.\n"
          "Examples:\n  vx retime 'shot.####.png' --speed 0.25 -o 'slow.####.png'\n"
          "  vx retime clip.mov --fps 60 -o 'out.####.png' --report report.json",
          [arguments](const Verb& verb) { return Run(*arguments, verb); }};
}

}  // namespace vxcli

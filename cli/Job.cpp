// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// The options of a job, one frame of a job, and the memory limit.

#include "Job.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <stdexcept>

#include "ClipOutput.h"
#include "JobRun.h"
#include "StandardStreams.h"
#include "VX/cpp/Pixels.hpp"
#include "VXIO/VXIO_Profile.h"
#include "VXIO/VXIO_Sequence.h"
#include "Verbs.h"

namespace vxcli {

namespace {

constexpr double kLongestClip = 1e9;  // largest time of a clip, in seconds

std::vector<int64_t> ParseFrames(const std::string& option, const std::string& text) {
  try {
    return VXIO_ParseFrames(text);
  } catch (const std::invalid_argument& error) {
    throw UsageError(option + " " + error.what());
  }
}

// Parses the name or an extension of a writable format. Returns its first extension.
std::string ParseFormat(const std::string& option, const std::string& text) {
  std::vector<std::string> names;
  for (const VXIO_FormatInfo& format : VXIO_ListFormats()) {
    if (!format.writes) continue;
    names.push_back(format.name);
    const bool named = std::count(format.extensions.begin(), format.extensions.end(), text) > 0;
    if (format.name == text || named) return format.extensions[0];
  }
  throw UsageError(option + " '" + text + "': must be " + JoinWords(names, " or "));
}

Value QualityValue(JobOptions* to, const std::optional<Option>& other) {
  return {Value::Text, [to, other](const std::string& option, const std::string& text) {
            const bool number = !text.empty() && std::isdigit(static_cast<unsigned char>(text[0]));
            if (other && !number) return other->value.set(option, text);
            to->encoding.quality = static_cast<int32_t>(ParseInteger(option, text, 1, 100));
          }};
}

OptionList EncodingOptions(JobOptions* to, const std::optional<Option>& quality) {
  static const std::vector<std::string> kBits = {"8", "10", "12", "16", "half", "float"};
  const auto parse_bits = [](const std::string& option, const std::string& text) {
    return kBits[static_cast<size_t>(ParseChoice(option, text, kBits))];
  };
  Option bits = {"--bits", "BITS", Parsed(&to->encoding.bits, parse_bits),
                 JoinWords(kBits, " or ") + ": bits per channel of OUT ('vx list formats')"};
  Option compression = {"--compression", "NAME[:LEVEL]", Text(&to->encoding.compression),
                        "Compression of OUT, such as zip:9 or dwaa:45 ('vx list formats')"};
  Option number = {"--quality", "N", QualityValue(to, quality),
                   (quality ? quality->help + ". Or " : "") + "1 to 100: quality of a JPEG [95]"};
  if (quality) number.fallback = quality->fallback;
  return {bits.Without("those of IN if it has the format of OUT, else those of the pixels"),
          compression.Without("that of IN if it has the format of OUT, else the first in the list; "
                              "frames of a sequence: png with zip:1"),
          std::move(number)};
}

OptionList OutputOptions(JobOptions* to) {
  return {
      Option{"-o,--output", "OUT", Text(&to->output),
             "Picture to write, a pattern for a sequence, or a clip (mkv, mov, webm, mp4); the "
             "extension "
             "decides the format. - writes to the standard output"}
          .Required(),
      Option{"--format", "NAME", Parsed(&to->format, ParseFormat),
             "Format of the picture that -o - writes (vx list formats)"}
          .Without("the extension of OUT"),
      Option{"--overwrite", "", Flag(&to->overwrite), "Replace outputs that exist"}.Without("yes"),
      Option{"--no-clobber", "", Flag(&to->no_clobber),
             "Fail before any frame is processed if an output exists"}
          .Excludes("--overwrite"),
      Option{
          "--resume", "", Flag(&to->resume),
          "Skip frames that an earlier run with --resume wrote from the same inputs and settings; "
          "they are recorded in a hidden file in the directory of OUT"}
          .Excludes("--no-clobber"),
  };
}

std::string BaseName(const std::string& path) { return path.substr(path.rfind('/') + 1); }

// Makes all pixels black: transparent if the picture has alpha, else opaque.
void Blacken(VXIO_Picture* picture) {
  const vx::Pixel8 black{static_cast<uint8_t>(picture->has_alpha ? 0 : 255), 0, 0, 0};
  vx::fill(*picture->world, black);
}

}  // namespace

Value FramesValue(std::optional<std::vector<int64_t>>* to) { return Parsed(to, ParseFrames); }

Option InputOption(std::string* to) {
  return Option{"IN", "FILE", Text(to),
                "A picture, a clip, a pattern for a sequence, or - for the standard input"}
      .Required()
      .For(Decides::Contents);
}

OptionList JobOptionList(JobOptions* to, JobOutput output, const std::optional<Option>& quality) {
  OptionList options = output == JobOutput::Picture ? OutputOptions(to) : OptionList();
  options = Join(
      {std::move(options),
       {
           Option{"--frames", "SET", FramesValue(&to->frames),
                  "Frames of a sequence (shot.####.png, shot.%04d.png) or of a clip (from 0): "
                  "1-10,20-40x2,55. One frame may be written to a single file"}
               .Without("from the first to the last existing frame"),
           Option{"--at-time", "SECONDS", Number(&to->at_time, 0, kLongestClip),
                  "The frame of a clip that is shown at this time since the start of the file"}
               .Excludes("--frames"),
           Option{
               "--missing", "HOW", Choice(&to->missing, {"error", "skip", "hold", "black"}),
               "How to treat a missing frame: error, skip, hold (use the nearest earlier frame) or "
               "black (transparent if the nearest frame has alpha)"}
               .Default("error"),
           {"--keep-going", "", Flag(&to->keep_going),
            "Continue after a frame fails; the exit code is 5 if any frame failed"},
           {"--failed-list", "FILE", Text(&to->failed_list),
            "Write the numbers of the failed frames, one per line; empty if none failed"},
           {"--dry-run", "", Flag(&to->dry_run),
            "Check the arguments and inputs, print the planned work, and write nothing"},
           {"--strict", "", Flag(&to->strict),
            "Treat warnings as errors: a frame with a warning fails and is not written"},
           Option{
               "--threads", "N", Integer(&to->threads, 1, kMostThreads),
               "Number of threads, %r: as many frames are processed at the same time; if there are "
               "fewer frames, several threads process a frame"}
               .Without("the number of processors available to the command"),
           Option{"--memory", "LIMIT", Parsed(&to->memory, ParseBytes),
                  "Largest size of the pixels of all frames processed at the same time, such as "
                  "800M or "
                  "2G"}
               .Without("half of the machine's memory"),
           Option{"--progress", "HOW", Choice(&to->progress, ProgressStyles()),
                  "%r: how to show progress; auto is bar on a terminal, else none. json: all "
                  "messages are JSON events on the standard error. openjd: lines of the Open Job "
                  "Description on the standard output"}
               .Default("auto"),
           {"--json", "", Flag(&to->json),
            "Print a record of the work as JSON; for a sequence one line per frame and a summary"},
       }});
  for (Option& option : options) {
    if (option.name != "--strict") option.decides = Decides::Nothing;
  }
  if (output == JobOutput::Picture) {
    options = Join({EncodingOptions(to, quality), ClipOptionList(to), std::move(options)});
  }
  return options;
}

int64_t BytesOfWorld(int64_t width, int64_t height, int32_t depth) {
  return width * height * 4 * (depth / 8);
}

VXIO_Picture InputFile::Read(size_t job_frame, int32_t depth, VXIO_AlphaAs alpha) const {
  VXIO_Picture picture = clip ? clip->Read(job_frame, clip_frame, depth, alpha)
                              : WithName([&] { return VXIO_Read(File(), depth, alpha); });
  for (std::string& text : picture.warnings) {
    text = VXIO_Renamed(std::move(text), stored, kStandardStream);
  }
  if (black) {
    Blacken(&picture);
    picture.warnings.clear();  // the warnings are about pixels that are not used
  }
  return picture;
}

// --- the frame -----------------------------------------------------------------------------------

int64_t JobFrame::Number() const { return state_->frame.number; }

const std::string& JobFrame::Input(size_t input) const {
  return state_->frame.inputs.at(input).path;
}

const std::string& JobFrame::Output() const { return state_->output; }

VXIO_Info JobFrame::Info(size_t input) const {
  const InputFile& file = state_->frame.inputs.at(input);
  return file.Info();
}

VXIO_Picture JobFrame::Read(size_t input, int32_t depth, VXIO_AlphaAs alpha) {
  const InputFile& file = state_->frame.inputs.at(input);
  state_->Begin(input, state_->job->verb->name + " " + BaseName(file.path));
  VXIO_Picture picture = file.Read(state_->index, depth, alpha);
  state_->ReportWarnings(picture.warnings, VXIO_ErrorKind::Input);
  return picture;
}

void JobFrame::InOrder(const std::function<void()>& read) {
  state_->order->InTurn(state_->index, read);
  for (JobClip* clip : state_->plan->Clips()) clip->Release(state_->index);
}

void JobFrame::Write(vx::AnyConstView picture, const VXIO_Picture& model) {
  VXIO_WriteOptions options;
  options.metadata = model.metadata;
  options.keep_alpha = model.has_alpha;
  Write(picture, std::move(options));
}

void JobFrame::Write(vx::AnyConstView picture, VXIO_WriteOptions options) {
  if (state_->clip) return WriteToClip(picture, options);
  options.clobber = state_->job->options->Clobber();
  options.strict = state_->job->options->strict;
  options.encoding = state_->job->options->encoding;
  options.encoding.fast = state_->plan->sequence();
  WriteOutput([&] { return VXIO_Write(Output(), *picture.descriptor(), options); },
              [&] { return VXIO_Encode(Output(), *picture.descriptor(), options); });
}

void JobFrame::WriteToClip(vx::AnyConstView picture, const VXIO_WriteOptions& options) {
  const auto srgb = [&](const VXIO_Metadata& metadata) {
    return VXIO_ProfileOf(Output(), metadata).profile;
  };
  if (state_->index == 0 && !VXIO_SameProfile(options.metadata, VXIO_Metadata()) &&
      !VXIO_SameColors(srgb(options.metadata), srgb(VXIO_Metadata()))) {
    Warn(std::vector{Output() + ": a clip stores no colour profile, so the colours (" +
                     VXIO_ProfileName(srgb(options.metadata)) +
                     ") will be taken for sRGB; see vx profile"},
         VXIO_ErrorKind::Output);
  }
  const VXIO_Windows windows = VXIO_WindowsOf(options.metadata);
  VXIO_Picture whole;  // with the area of the display window
  if (windows.Differ() && picture.width() == windows.data.width() &&
      picture.height() == windows.data.height()) {
    whole.world = vx::clone(picture).release();
    whole.metadata = options.metadata;
    whole.has_alpha = options.keep_alpha;
    VXIO_SetDataWindow(&whole, windows.display);
    picture = *whole.world;
  }
  state_->clip->Write(state_->index, picture, options.keep_alpha);
  state_->written = true;
}

void JobFrame::Write(const vx::MotionField& field) {
  WriteOutput(
      [&] {
        VXIO_WriteMotion(Output(), field, state_->job->options->Clobber());
        return std::vector<std::string>();
      },
      [&] {
        return VXIO_Encoded{VXIO_EncodeMotion(Output(), field), {}};
      });
}

void JobFrame::WriteOutput(const std::function<std::vector<std::string>()>& write_file,
                           const std::function<VXIO_Encoded()>& encode) {
  state_->Begin(state_->frame.inputs.size(), "write " + BaseName(Output()));
  const bool stream = state_->frame.output == kStandardStream;
  const std::vector<std::string> warnings = stream ? WriteToStandardOutput(encode) : write_file();
  state_->written = true;
  state_->ReportWarnings(warnings, VXIO_ErrorKind::Output);
}

std::vector<std::string> JobFrame::WriteToStandardOutput(
    const std::function<VXIO_Encoded()>& encode) {
  const std::string name = Output();  // "-.png"
  VXIO_Encoded encoded;
  try {
    encoded = encode();
  } catch (const VXIO_Error& error) {
    throw VXIO_Error(error.kind(), VXIO_Renamed(error.what(), name, kStandardStream));
  }
  vxcli::WriteToStandardOutput(encoded.bytes);
  for (std::string& text : encoded.warnings) {
    text = VXIO_Renamed(std::move(text), name, kStandardStream);
  }
  return encoded.warnings;
}

void JobFrame::Warn(const std::string& text) {
  const std::string& file = state_->frame.inputs.empty() ? Output() : Input(0);
  state_->ReportWarnings({file + ": " + text}, VXIO_ErrorKind::Output);
}

void JobFrame::Warn(const std::vector<std::string>& lines, VXIO_ErrorKind kind) {
  state_->ReportWarnings(lines, kind);
}

void JobFrame::Note(const std::string& text) {
  vxcli::Note((state_->frame.inputs.empty() ? Output() : Input(0)) + ": " + text);
}

void JobFrame::Print(const std::string& line) { state_->lines.push_back(line); }

vx::Progress JobFrame::Progress() {
  return state_->progress ? state_->progress->OfStep() : vx::Progress();
}

nlohmann::ordered_json& JobFrame::Record() { return state_->record; }

void JobFrame::State::ReportWarnings(const std::vector<std::string>& texts, VXIO_ErrorKind kind) {
  if (texts.empty()) return;
  if (job->options->strict) throw VXIO_Error(kind, texts[0] + " (--strict)");
  vxcli::Warn(texts);
  for (const std::string& text : texts) warnings.push_back(text);
}

void JobFrame::State::Begin(size_t step, const std::string& what) const {
  if (plan->sequence() || !progress) return;
  const int steps = static_cast<int>(frame.inputs.size()) + (frame.output.empty() ? 0 : 1);
  progress->Begin(static_cast<int>(step), steps, what);
}

// --- memory --------------------------------------------------------------------------------------

MemoryBudget::MemoryBudget(const Job& job)
    : job_(job),
      limit_(job.options->memory.value_or(int64_t{sysconf(_SC_PHYS_PAGES)} * sysconf(_SC_PAGESIZE) /
                                          2)) {}

int64_t MemoryBudget::Need(const PlannedFrame& frame) const {
  std::vector<VXIO_Info> infos;
  try {
    for (const InputFile& file : frame.inputs) infos.push_back(file.Info());
  } catch (const VXIO_Error&) {
    return 0;
  }
  int64_t bytes = 0;
  if (job_.bytes) {
    bytes = job_.bytes(infos);
  } else {
    for (const VXIO_Info& info : infos) {
      bytes += 2 * BytesOfWorld(info.width, info.height, info.depth);
    }
  }
  if (job_.options->memory && bytes > limit_) {
    throw UsageError("--memory: a frame needs about " + BytesText(bytes) + ", the limit is " +
                     BytesText(limit_) + "; raise it");
  }
  return bytes;
}

void MemoryBudget::Acquire(int64_t bytes) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return frames_ == 0 || acquired_ + bytes <= limit_; });
  acquired_ += bytes;
  ++frames_;
}

void MemoryBudget::Release(int64_t bytes) {
  std::lock_guard lock(mutex_);
  acquired_ -= bytes;
  --frames_;
  changed_.notify_all();
}

}  // namespace vxcli

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx flow: estimates the motion from one picture to another, writes it as colours or as data, and
// reports how well it predicts the picture.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>

#include "Job.h"
#include "MotionOptions.h"
#include "StandardStreams.h"
#include "VX/cpp/Image.hpp"
#include "VX/cpp/Motion.hpp"
#include "VXIO/VXIO_Compare.h"
#include "VXIO/VXIO_Motion.h"
#include "VXIO/VXIO_Sequence.h"
#include "Verbs.h"

namespace vxcli {

namespace {

constexpr int32_t kArrowsPerRow = 32;
constexpr int32_t kSmallestArrowDistance = 16;  // in pixels

struct FlowOptions {
  JobOptions job;
  std::string first, second, data;
  MotionArguments arguments;
  bool arrows = false;
  std::optional<double> longest;
};

struct Quality {
  double predicted, unmoved;  // PSNR
};

// Returns the PSNR of `picture` when it is predicted from `from`, and when `from` is taken as it
// is.
Quality QualityOf(const VX_World& picture, const VX_World& from, const vx::MotionField& field) {
  vx::Image predicted = vx::Image::uninitialized(picture.width, picture.height, picture.Depth());
  vx::predict(predicted, from, field);
  return {VXIO_Compare(picture, *predicted.world()).psnr, VXIO_Compare(picture, from).psnr};
}

std::string Decibels(double psnr) {
  if (psnr > 0 && std::isinf(psnr)) return "infinite (equal)";
  if (!std::isfinite(psnr)) return "undefined (the difference has NaN or infinite values)";
  char text[40];
  std::snprintf(text, sizeof text, "%.3f dB", psnr);
  return text;
}

void Report(const FlowOptions& options, const VXIO_MotionSummary& motion, const Quality& quality,
            const VX_World& picture, JobFrame* frame) {
  const bool backward = options.arguments.motion.backward;
  const std::string &from = frame->Input(backward ? 1 : 0), &to = frame->Input(backward ? 0 : 1);
  nlohmann::ordered_json& record = frame->Record();
  record["width"] = picture.width;
  record["height"] = picture.height;
  record["depth"] = picture.Depth();
  record["backward"] = backward;
  record["mean"] = {motion.mean_u, motion.mean_v};
  record["longest"] = motion.longest;
  record["unknown"] = motion.unknown;
  record["psnr"] = {{"predicted", Finite(quality.predicted)}, {"unmoved", Finite(quality.unmoved)}};
  char line[200];
  std::snprintf(line, sizeof line, "mean u %.3f, mean v %.3f, longest %.3f pixels", motion.mean_u,
                motion.mean_v, motion.longest);
  frame->Print("motion from " + from + " to " + to + ", " + SizeText(picture) + ": " + line);
  if (motion.unknown > 0) frame->Print("unknown vectors: " + std::to_string(motion.unknown));
  frame->Print("PSNR of " + from + " predicted from " + to + ": " + Decibels(quality.predicted) +
               "; of " + to + " unmoved: " + Decibels(quality.unmoved));
}

void WriteColors(const FlowOptions& options, const vx::MotionField& field, JobFrame* frame) {
  vx::Image colors = vx::Image::uninitialized(field.width(), field.height(), 8);
  const int32_t distance = std::max(kSmallestArrowDistance, field.width() / kArrowsPerRow);
  vx::draw_motion(
      colors, field,
      {.longest = options.longest.value_or(0), .arrows = options.arrows ? distance : 0});
  frame->Write(colors, VXIO_WriteOptions());
}

std::string DataFile(const FlowOptions& options, int64_t number) {
  const bool pattern = VXIO_FramePattern::IsPattern(options.job.output) &&
                       VXIO_FramePattern::IsPattern(options.data);
  return pattern ? VXIO_FramePattern(options.data).Name(number) : options.data;
}

void FlowFrame(const FlowOptions& options, JobFrame* frame) {
  const int32_t depth = std::max(frame->Info(0).depth, frame->Info(1).depth);
  const VXIO_Picture a = ReadDisplayWindow(0, depth, frame), b = ReadDisplayWindow(1, depth, frame);
  CheckSameSize(*frame, *a.world, *b.world);
  vx::MotionOptions motion = options.arguments.motion;
  motion.progress = frame->Progress();
  WithContext(frame->Input(0), [&] {
    const vx::MotionField field = vx::estimate_motion(*a.world, *b.world, motion);
    const VX_World& picture = motion.backward ? *b.world : *a.world;
    const VX_World& other = motion.backward ? *a.world : *b.world;
    Report(options, VXIO_SummarizeMotion(field), QualityOf(picture, other, field), picture, frame);
    const VXIO_Clobber clobber = options.job.Clobber();
    if (!options.data.empty()) {
      const std::string file = DataFile(options, frame->Number());
      VXIO_WriteMotion(file, field, clobber);
      frame->Record()["data"] = file;
    }
    if (!VXIO_IsMotionFile(frame->Output())) return WriteColors(options, field, frame);
    frame->Write(field);
  });
}

// Throws UsageError for --data that names another file of the job.
void CheckData(const FlowOptions& options) {
  const JobOptions& job = options.job;
  if (VXIO_FramePattern::IsPattern(options.data) != VXIO_FramePattern::IsPattern(job.output)) {
    throw UsageError("--data " + options.data + ": must be a pattern, such as flow.####.flo, if " +
                     job.output + " is one, and only then");
  }
  for (const std::string& other : {job.output, options.first, options.second}) {
    std::error_code none;
    const auto path = [](const std::string& name) {
      return std::filesystem::absolute(VXIO_FramePattern::IsPattern(name)
                                           ? VXIO_FramePattern(name).Canonical()
                                           : VXIO_FileOf(name))
          .lexically_normal();
    };
    if (path(other) == path(options.data) ||
        std::filesystem::equivalent(options.data, other, none)) {
      throw UsageError("--data " + options.data + ": would replace " + other +
                       "; write to another name");
    }
  }
  if (job.resume) {
    throw UsageError("--resume: not together with --data, because only the file of -o is recorded");
  }
}

void CheckOptions(const FlowOptions& options) {
  const JobOptions& job = options.job;
  const VXIO_Encoding& encoding = job.encoding;
  const std::string output = job.output == kStandardStream ? "-." + job.format : job.output;
  if (VXIO_IsMotionFile(output)) {
    const auto refuse = [&](const char* option) {
      throw UsageError(std::string(option) + ": belongs to a picture; " + output +
                       " is motion data");
    };
    if (options.arrows) refuse("--arrows");
    if (options.longest) refuse("--longest");
    if (!encoding.bits.empty()) refuse("--bits");
    if (!encoding.compression.empty()) refuse("--compression");
    if (encoding.quality) refuse("--quality");
  }
  if (!options.data.empty()) CheckData(options);
}

// Bytes for each pixel beside the pictures: the estimate, the field and two copies while it is
// written.
constexpr int64_t kMotionBytes = 12 + 3 * 8;

int Run(FlowOptions options, const Verb& verb) {
  ResolveMotion(&options.arguments);
  CheckOptions(options);
  const auto check_data = [&](const std::string& file) {
    VXIO_CheckMotionFile(file, options.job.Clobber());
  };
  if (!options.data.empty() && !VXIO_FramePattern::IsPattern(options.data))
    check_data(options.data);
  Job job;
  job.verb = &verb;
  job.options = &options.job;
  job.inputs = {options.first, options.second};
  job.check_output = [](const std::string& path, VXIO_Clobber clobber) {
    if (VXIO_IsMotionFile(path)) return VXIO_CheckMotionFile(path, clobber);
    VXIO_CheckOutput(path, clobber);
  };
  job.frame_settings = [&](int64_t frame) {
    if (!options.data.empty()) check_data(DataFile(options, frame));
    return std::string();
  };
  job.bytes = [](const auto& inputs) { return BytesOfPair(inputs, kMotionBytes); };
  job.work = [&](JobFrame& frame) { FlowFrame(options, &frame); };
  return RunJob(job);
}

OptionList OptionsOf(FlowOptions* to) {
  OptionList job = JobOptionList(&to->job, JobOutput::Picture);
  Find(&job, "--output")->help = "File to write, a pattern for sequences. .flo and .exr: the "
                                 "vectors as data; the extension of "
                                 "another format: as colours. - writes to the standard output";
  return Join(
      {{Option{"A", "FILE", Text(&to->first), "A picture, a pattern for a sequence, or a clip"}
            .Required()
            .For(Decides::Contents),
        Option{
            "B", "FILE", Text(&to->second),
            "A picture of the same size, usually the next one; of a sequence or a clip the frame "
            "with the same number"}
            .Required()
            .For(Decides::Contents),
        {"--data", "FILE", Text(&to->data),
         "Write the vectors to this .flo or .exr too; a pattern if OUT is one"}},
       MotionOptionList(&to->arguments),
       {{"--backward", "", Flag(&to->arguments.motion.backward),
         "The motion from B to A, on the pixels of B"},
        {"--arrows", "", Flag(&to->arrows),
         "Draw arrows over the colours, at most 32 in a row; the longest motion of the frame, or "
         "--longest, has the longest arrow"},
        Option{"--longest", "PIXELS",
               Number(&to->longest, 0.001, std::numeric_limits<float>::max()),
               "Length of the vectors that have full brightness; the same value for all frames "
               "makes them "
               "comparable"}
            .Without("the length of the longest one of the frame")},
       std::move(job)});
}

}  // namespace

Verb FlowVerb() {
  auto options = std::make_shared<FlowOptions>();
  return {
      "flow", "Estimate the motion between two pictures", OptionsOf(options.get()),
      "Pixel (x, y) of A matches the position (x + u, y + v) of B; u to the right, v downwards,\n"
      "in pixels. Colours: the hue is the direction (red right, yellow-green down, cyan left,\n"
      "violet up), the brightness the length. The PSNR of A predicted from B is printed beside\n"
      "that of B unmoved.\n"
      "Examples:\n  vx flow frame1.png frame2.png --arrows -o motion.png --data motion.flo\n"
      "  vx flow left.png right.png --resolution 50 -o motion.exr",
      [options](const Verb& verb) { return Run(*options, verb); }};
}

}  // namespace vxcli

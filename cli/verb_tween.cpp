// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx tween: makes the picture of an instant between two pictures.

#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>

#include "MotionOptions.h"
#include "VX/cpp/Image.hpp"
#include "Verbs.h"

namespace vxcli {

namespace {

constexpr const char* kMethods[] = {"copy", "mix", "motion"};

struct TweenArguments {
  JobOptions job;
  std::string first, second;
  double at = 0.5;
  int32_t method = static_cast<int32_t>(vx::TweenMethod::motion);
  int32_t quality = 0;
  MotionArguments motion;
  vx::TweenOptions tween;
};

void TweenFrame(const TweenArguments& arguments, JobFrame* frame) {
  const int32_t depth = std::max(frame->Info(0).depth, frame->Info(1).depth);
  const VXIO_Picture a = ReadDisplayWindow(0, depth, frame);
  const VXIO_Picture b = ReadDisplayWindow(1, depth, frame);
  CheckSameSize(*frame, *a.world, *b.world);
  vx::TweenOptions options = arguments.tween;
  options.motion.progress = frame->Progress();
  vx::Image out = vx::Image::uninitialized(a.world->width, a.world->height, a.world->Depth());
  WithContext(frame->Input(0), [&] { vx::tween(out, *a.world, *b.world, arguments.at, options); });
  frame->Record()["at"] = arguments.at;
  frame->Record()["method"] = kMethods[arguments.method];
  frame->Record()["width"] = out.width();
  frame->Record()["height"] = out.height();
  frame->Write(out, a.has_alpha || !b.has_alpha ? a : b);
}

constexpr int64_t kMotionBytes = 40;  // for each pixel, beside the pictures

int Run(TweenArguments arguments, const Verb& verb) {
  ResolveMotion(&arguments.motion, arguments.job);
  arguments.tween.motion = arguments.motion.motion;
  arguments.tween.method = static_cast<vx::TweenMethod>(arguments.method);
  arguments.tween.sinc = arguments.quality == 1;
  Job job;
  job.verb = &verb;
  job.options = &arguments.job;
  job.inputs = {arguments.first, arguments.second};
  job.bytes = [](const auto& inputs) { return BytesOfPair(inputs, kMotionBytes); };
  job.work = [&](JobFrame& frame) { TweenFrame(arguments, &frame); };
  return RunJob(job);
}

OptionList OptionsOf(TweenArguments* to) {
  return Join(
      {{Option{"A", "FILE", Text(&to->first), "A picture, a pattern for a sequence, or a clip"}
            .Required()
            .For(Decides::Contents),
        Option{"B", "FILE", Text(&to->second), "The next picture, of the same size"}.Required().For(
            Decides::Contents),
        Option{"--at", "T", Number(&to->at, 0, 1),
               "The instant, %r: 0 is A, 1 is B; both are copied exactly"}
            .Default("0.5"),
        Option{"--method", "HOW", Choice(&to->method, {"copy", "mix", "motion"}),
               "motion: pixels are moved along the motion between the pictures; mix: both are "
               "mixed by time; copy: the nearer one"}
            .Default("motion")},
       MotionOptionList(&to->motion),
       {Option{"--shutter-angle", "DEGREES", Number(&to->tween.shutter_angle, 0, 360),
               "%r: the part of the interval between A and B that --shutter-samples covers, around "
               "the instant; 360 is the whole interval"}
            .Default("180"),
        Option{"--shutter-samples", "N", Integer(&to->tween.shutter_samples, 1, 20),
               "Number of instants that are averaged, %r; 1: no motion blur"}
            .Default("1")},
       JobOptionList(&to->job, JobOutput::Picture,
                     Option{"--quality", "HOW", Choice(&to->quality, {"standard", "high"}),
                            "How the pictures are sampled. standard: bilinear; high: windowed "
                            "sinc, sharper and slower"}
                         .Default("standard"))});
}

}  // namespace

Verb TweenVerb() {
  auto arguments = std::make_shared<TweenArguments>();
  return {"tween", "Make the picture of an instant between two pictures",
          OptionsOf(arguments.get()),
          "Examples:\n  vx tween frame1.png frame2.png -o middle.png\n"
          "  vx tween frame1.png frame2.png --at 0.25 --resolution 50 -o quarter.png",
          [arguments](const Verb& verb) { return Run(*arguments, verb); }};
}

}  // namespace vxcli

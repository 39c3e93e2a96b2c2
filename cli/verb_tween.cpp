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

struct TweenArguments {
  JobOptions job;
  std::string first, second;
  double at = 0.5;
  BetweenArguments between;
};

// Makes the picture and records how.
void Make(const TweenArguments& arguments, const VX_World& a, const VX_World& b, JobFrame* frame,
          vx::Image* to) {
  const BetweenArguments& between = arguments.between;
  vx::TweenOptions options = between.tween;
  options.motion.progress = frame->Progress();
  vx::Tweener tweener(a, b, options);
  if (!between.cache.empty()) tweener.use_cache(between.cache);
  std::optional<double> unexplained;
  const bool ends = arguments.at == 0 || arguments.at == 1;
  if (options.method == vx::TweenMethod::motion && between.cut_threshold && !ends) {
    unexplained = tweener.unexplained();
    frame->Record()["unexplained"] = *unexplained;
  }
  const bool cut = between.IsCut(unexplained);
  if (cut) {
    const bool hold = between.on_cut == BetweenArguments::Hold;
    options.method = hold ? vx::TweenMethod::copy : vx::TweenMethod::mix;
    vx::tween(*to, a, b, arguments.at, options);
    frame->Note(std::string("a cut is between the pictures: ") +
                (hold ? "the nearer one is held" : "they are mixed"));
  } else {
    tweener.render(*to, arguments.at);
  }
  WarnAboutCache(tweener.cache_warning());
  frame->Record()["method"] = NameOf(options.method);
  frame->Record()["cut"] = cut;
}

void TweenFrame(const TweenArguments& arguments, JobFrame* frame) {
  const int32_t depth = std::max(frame->Info(0).depth, frame->Info(1).depth);
  const VXIO_Picture a = ReadDisplayWindow(0, depth, frame);
  const VXIO_Picture b = ReadDisplayWindow(1, depth, frame);
  CheckSameSize(*frame, *a.world, *b.world);
  vx::Image out = vx::Image::uninitialized(a.world->width, a.world->height, a.world->Depth());
  frame->Record()["at"] = arguments.at;
  WithContext(frame->Input(0), [&] { Make(arguments, *a.world, *b.world, frame, &out); });
  frame->Record()["width"] = out.width();
  frame->Record()["height"] = out.height();
  frame->Write(out, a.has_alpha || !b.has_alpha ? a : b);
}

int Run(TweenArguments arguments, const Verb& verb) {
  ResolveTween(&arguments.between, arguments.job);
  Job job;
  job.verb = &verb;
  job.options = &arguments.job;
  job.inputs = {arguments.first, arguments.second};
  job.bytes = [](const auto& inputs) { return BytesOfPair(inputs, kTweenBytes); };
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
            .Default("0.5")},
       BetweenOptionList(&to->between, "A and B"),
       JobOptionList(&to->job, JobOutput::Picture, QualityOfTween(&to->between))});
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

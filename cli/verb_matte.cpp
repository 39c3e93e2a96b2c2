// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx matte: makes a grey picture from one channel; feathers, inverts, fades and combines it.

#include <memory>
#include <nlohmann/json.hpp>

#include "Console.h"
#include "Layers.h"
#include "Values.h"
#include "Verbs.h"

namespace vxcli {

namespace {

struct MatteOptions {
  JobOptions job;
  std::string input, combine;
  vx::Matte from = vx::Matte::alpha;
  int32_t depth = 0;
  FeatherSettings feather;
  double fade = 1;
  bool invert = false;
  std::optional<int32_t> combine_mode;
};

void Combine(const MatteOptions& options, JobFrame* frame, vx::MaskBuffer* matte) {
  const std::string& file = frame->Input(1);
  const VXIO_Picture picture = frame->Read(1, matte->depth());
  const VX_World& other = *picture.world;
  if (other.width != matte->width() || other.height != matte->height()) {
    Note(file + ": is " + std::to_string(other.width) + " x " + std::to_string(other.height) +
         ", the matte " + std::to_string(matte->width()) + " x " + std::to_string(matte->height()) +
         "; their upper left corners are aligned, and the matte is not changed outside of the "
         "picture");
  }
  WithContext(file, [&] {
    const vx::MaskBuffer luma = vx::matte(other, vx::Matte::luma);
    Check(VX_AccumulateUnoBuffers(nullptr, luma.buffer(),
                                  options.combine_mode.value_or(VX_UnoAccumulate_Add), nullptr,
                                  nullptr, matte->buffer()));
  });
}

void MakeMatte(const MatteOptions& options, JobFrame* frame) {
  const std::string& file = frame->Input(0);
  VXIO_Picture picture = frame->Read(0, options.depth);
  const bool by_alpha =
      options.from == vx::Matte::alpha || options.from == vx::Matte::inverse_alpha;
  if (by_alpha && !picture.has_alpha) {
    frame->Warn("has no alpha, so that the matte is " +
                std::string(options.from == vx::Matte::alpha ? "full" : "empty") +
                "; --from luma uses its brightness");
  }
  vx::MaskBuffer matte = WithContext(file, [&] { return vx::matte(*picture.world, options.from); });
  picture.world.reset();
  WithContext(file, [&] {
    Soften(options.feather, frame->Progress(), &matte);
    if (options.invert) vx::invert(matte);
    if (options.fade != 1) vx::fade(matte, options.fade);
  });
  if (!options.combine.empty()) Combine(options, frame, &matte);
  const vx::Image grey = WithContext(file, [&] { return vx::to_image(matte); });
  frame->Record()["width"] = matte.width();
  frame->Record()["height"] = matte.height();
  frame->Record()["depth"] = matte.depth();
  VXIO_WriteOptions write;
  write.grey = true;
  frame->Write(grey, write);
}

int Run(const MatteOptions& options, const Verb& verb) {
  CheckFeather(options.feather);
  if (options.combine.empty() && options.combine_mode) {
    throw UsageError("--combine-mode: has no effect without --combine FILE");
  }
  Job job;
  job.verb = &verb;
  job.options = &options.job;
  job.inputs = {options.input};
  if (!options.combine.empty()) job.inputs.push_back(options.combine);
  job.work = [&](JobFrame& frame) { MakeMatte(options, &frame); };
  return RunJob(job);
}

OptionList OptionsOf(MatteOptions* to) {
  return {
      InputOption(&to->input),
      Option{"--from", "WHAT", Choice(&to->from, MatteUses()), "%r; luma is brightness times alpha"}
          .Default("alpha"),
      {"--feather", "R", Number(&to->feather.radius, 0, kLargestFeather),
       "First feather it: radius in pixels, %r"},
      Option{"--feather-kind", "KIND", Choice(&to->feather.kind, FeatherKinds()),
             "box: one box blur; soft: three box blurs; gaussian: slower for a large radius"}
          .Without("soft"),
      {"--invert", "", Flag(&to->invert), "Then invert it"},
      Option{"--fade", "NUMBER", Share(&to->fade), "Then multiply it by this factor, %r"}.Default(
          "1"),
      Option{"--combine", "FILE", Text(&to->combine),
             "Finally combine it with the brightness of this picture"}
          .For(Decides::Contents),
      Option{"--combine-mode", "HOW", Choice(&to->combine_mode, {"add", "replace", "subtract"}),
             "%r; the result is limited to 0..full"}
          .Without("add"),
      DepthOption(&to->depth, "%r: bits of the matte"),
  };
}

}  // namespace

Verb MatteVerb() {
  auto options = std::make_shared<MatteOptions>();
  return {"matte", "Make a matte: one channel as a grey picture",
          Join({OptionsOf(options.get()), JobOptionList(&options->job, JobOutput::Picture)}),
          "Examples:\n  vx matte plant.png --feather 6 -o soft.png\n"
          "  vx matte sky.jpg --from blue --combine soft.png --combine-mode subtract -o hole.png",
          [options](const Verb& verb) { return Run(*options, verb); }};
}

}  // namespace vxcli

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx blur: a Gaussian or a box over a picture.

#include <algorithm>
#include <cmath>
#include <memory>
#include <nlohmann/json.hpp>

#include "Errors.h"
#include "Job.h"
#include "VX/VX_Blur.h"
#include "Values.h"
#include "Verbs.h"
#include "Worlds.h"

namespace vxcli {

namespace {

constexpr int64_t kLargestSide = 30000;
constexpr int64_t kMostIterations = 100;

struct BlurOptions {
  JobOptions job;
  std::string input;
  std::optional<float> gaussian, box;
  std::optional<int32_t> iterations;
  int32_t axis = 0, channels = 0;
  std::optional<int32_t> edge;
  bool grow = false;
};

struct BlurPlan {
  VX_BlurSpec spec{};
  int32_t reach_x = 0, reach_y = 0;  // the growth of the canvas on each side
  bool holds_level = true;
};

BlurPlan MakePlan(const BlurOptions& options) {
  if (options.gaussian.has_value() == options.box.has_value()) {
    throw UsageError("blur: needs either --gaussian R or --box R");
  }
  if (!options.box && options.iterations) {
    throw UsageError("--iterations: belongs to --box; a Gaussian is one pass");
  }
  BlurPlan plan;
  VX_BlurSpec& spec = plan.spec;
  spec.kind = options.box ? VX_BlurKind_Box : VX_BlurKind_Gaussian;
  const float radius = options.box ? *options.box : *options.gaussian;
  spec.radius_x = options.axis == 2 ? 0 : radius;
  spec.radius_y = options.axis == 1 ? 0 : radius;
  spec.iterations = options.iterations.value_or(1);
  const int64_t reach = static_cast<int64_t>(std::ceil(radius)) * spec.iterations;
  if (reach > VX_Blur_MaxReach) {
    throw UsageError("--iterations: " + std::to_string(spec.iterations) + " times radius " +
                     Plain(radius) + " reaches " + std::to_string(reach) + " pixels; at most " +
                     std::to_string(VX_Blur_MaxReach));
  }
  plan.holds_level = options.edge ? *options.edge == 1 : !options.grow;
  // --channels has the bits of the blur's flags.
  spec.flags = options.channels | (plan.holds_level ? VX_Blur_HoldLevel : 0);
  if (options.grow) Check(VX_BlurReach(&spec, &plan.reach_x, &plan.reach_y), "blur");
  return plan;
}

Size CanvasFor(const BlurPlan& plan, const std::string& file, int32_t width, int32_t height) {
  const int64_t wide = width + 2 * int64_t{plan.reach_x};
  const int64_t high = height + 2 * int64_t{plan.reach_y};
  if (std::max(wide, high) > kLargestSide) {
    throw UsageError(file + ": --grow makes it " + std::to_string(wide) + " x " +
                     std::to_string(high) + " pixels; at most 30000 a side");
  }
  return {static_cast<int32_t>(wide), static_cast<int32_t>(high)};
}

void BlurFrame(const BlurPlan& plan, JobFrame* frame) {
  VXIO_Picture picture = frame->Read(0);
  const VX_World& from = *picture.world;
  const Size canvas = CanvasFor(plan, frame->Input(0), from.width, from.height);
  VXIO_WorldPtr to = NewWorld(canvas.width, canvas.height, from.Depth());
  to->origin_x = from.origin_x - plan.reach_x;
  to->origin_y = from.origin_y - plan.reach_y;
  Check(VX_BlurWorld(frame->Progress(), &from, &plan.spec, to.get()), frame->Input(0));
  const bool grown = plan.reach_x > 0 || plan.reach_y > 0;
  // In float the mean of ones may differ from 1 by rounding, and the writer would add an alpha
  // channel.
  if (!picture.has_alpha && plan.holds_level && !grown) to->FillAlpha();
  frame->Record()["width"] = canvas.width;
  frame->Record()["height"] = canvas.height;
  frame->Record()["at"] = {-plan.reach_x, -plan.reach_y};
  frame->Write(*to, picture);
}

int Run(const BlurOptions& options, const Verb& verb) {
  const BlurPlan plan = MakePlan(options);
  const auto bytes = [&](const std::vector<VXIO_Info>& inputs) {
    const VXIO_Info& input = inputs[0];
    const Size canvas = CanvasFor(plan, input.path, input.width, input.height);
    // The picture, the canvas, and the result of the first pass.
    return BytesOfWorld(input.width, input.height, input.depth) +
           2 * BytesOfWorld(canvas.width, canvas.height, input.depth);
  };
  return RunJob(
      verb, options.job, options.input, [&](JobFrame& frame) { BlurFrame(plan, &frame); }, bytes);
}

OptionList OptionsOf(BlurOptions* to) {
  return {
      InputOption(&to->input),
      {"--gaussian", "R", Number(&to->gaussian, 0, VX_Blur_MaxRadius),
       "Radius in pixels, %r, at which a bell ends; takes longer the larger it is"},
      {"--box", "R", Number(&to->box, 0, VX_Blur_MaxRadius),
       "In place of --gaussian: the mean over 2R + 1 pixels, R %r and not only whole; as fast for "
       "any radius"},
      Option{"--iterations", "N", Integer(&to->iterations, 1, kMostIterations),
             "How often the box runs, %r, and times the radius at most 262144; 3 look like a "
             "Gaussian of 2.5 times the radius"}
          .Without("1"),
      Option{"--axis", "AXIS", Choice(&to->axis, {"both", "x", "y"}),
             "x: along the rows, y: along the columns, or both"}
          .Default("both"),
      Option{"--channels", "LETTERS", Parsed(&to->channels, ParseChannels),
             "Letters of argb to blur; the others stay as they are"}
          .Default("argb"),
      Option{
          "--edge", "HOW", Choice(&to->edge, {"fade", "hold-level"}),
          "hold-level: only pixels of the picture are mixed, so that the border keeps its level; "
          "fade: pixels beyond the edge are transparent, so that the border fades"}
          .Without("hold-level; with --grow fade"),
      {"--grow", "", Flag(&to->grow),
       "Enlarge the canvas on each side by what the blur spreads: the radius rounded up, times the "
       "iterations"},
  };
}

}  // namespace

Verb BlurVerb() {
  auto options = std::make_shared<BlurOptions>();
  return {
      "blur", "Blur a picture, with a Gaussian or a box",
      Join({OptionsOf(options.get()), JobOptionList(&options->job, JobOutput::Picture)}),
      "Colours count by their alpha: hidden colour of transparent pixels never shows. A picture\n"
      "without alpha has none after it, unless its border fades or it grows.\n"
      "Examples:\n  vx blur photo.jpg --gaussian 12.5 -o soft.jpg\n"
      "  vx blur logo.png --box 8 --iterations 3 --grow -o glow.png",
      [options](const Verb& verb) { return Run(*options, verb); }};
}

}  // namespace vxcli

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx blur: a Gaussian or a box over a picture.

#include <algorithm>
#include <cmath>
#include <memory>

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

struct BlurWords {
  JobWords job;
  std::string input, gaussian, box, iterations, axis = "both", channels = "argb", edge;
  bool grow = false;
};

struct Wanted {
  VX_BlurSpec spec{};
  int32_t reach_x = 0, reach_y = 0;  // what the canvas grows by on each side
  bool holds_level = true;
};

Wanted ParseWanted(const BlurWords& words) {
  if (words.gaussian.empty() == words.box.empty()) {
    throw UsageError("blur: needs either --gaussian R or --box R");
  }
  const bool box = !words.box.empty();
  if (!box && !words.iterations.empty()) {
    throw UsageError("--iterations: belongs to --box; a Gaussian is one pass");
  }
  Wanted wanted;
  VX_BlurSpec& spec = wanted.spec;
  spec.kind = box ? VX_BlurKind_Box : VX_BlurKind_Gaussian;
  const auto radius =
      static_cast<float>(ParseNumber(box ? "--box" : "--gaussian", box ? words.box : words.gaussian,
                                     /*least=*/0, VX_Blur_MaxRadius));
  const int32_t axis = ParseChoice("--axis", words.axis, {"both", "x", "y"});
  spec.radius_x = axis == 2 ? 0 : radius;
  spec.radius_y = axis == 1 ? 0 : radius;
  spec.iterations = words.iterations.empty()
                        ? 1
                        : static_cast<int32_t>(
                              ParseInteger("--iterations", words.iterations, 1, kMostIterations));
  const int64_t reach = static_cast<int64_t>(std::ceil(radius)) * spec.iterations;
  if (reach > VX_Blur_MaxReach) {
    throw UsageError("--iterations: " + words.iterations + " times radius " + words.box +
                     " reaches " + std::to_string(reach) + " pixels; at most " +
                     std::to_string(VX_Blur_MaxReach));
  }
  wanted.holds_level = words.edge.empty()
                           ? !words.grow
                           : ParseChoice("--edge", words.edge, {"fade", "hold-level"}) == 1;
  // The letters' bits are those of the blur.
  spec.flags =
      ParseChannels("--channels", words.channels) | (wanted.holds_level ? VX_Blur_HoldLevel : 0);
  if (words.grow) Check(VX_BlurReach(&spec, &wanted.reach_x, &wanted.reach_y), "blur");
  return wanted;
}

Size CanvasFor(const Wanted& wanted, const std::string& file, int32_t width, int32_t height) {
  const int64_t wide = width + 2 * int64_t{wanted.reach_x};
  const int64_t high = height + 2 * int64_t{wanted.reach_y};
  if (std::max(wide, high) > kLargestSide) {
    throw UsageError(file + ": --grow makes it " + std::to_string(wide) + " x " +
                     std::to_string(high) + " pixels; at most 30000 a side");
  }
  return {static_cast<int32_t>(wide), static_cast<int32_t>(high)};
}

void BlurFrame(const Wanted& wanted, JobFrame* frame) {
  VXIO_Picture picture = frame->Read(0);
  const VX_World& from = *picture.world;
  const Size canvas = CanvasFor(wanted, frame->Input(0), from.width, from.height);
  VXIO_WorldPtr to = NewWorld(canvas.width, canvas.height, from.Depth());
  to->origin_x = from.origin_x - wanted.reach_x;
  to->origin_y = from.origin_y - wanted.reach_y;
  Check(VX_BlurWorld(frame->Progress(), &from, &wanted.spec, to.get()), frame->Input(0));
  const bool grown = wanted.reach_x > 0 || wanted.reach_y > 0;
  // In float the mean of ones may miss 1 by a rounding, which would call for an alpha channel.
  if (!picture.has_alpha && wanted.holds_level && !grown) to->FillAlpha();
  frame->Told()["width"] = canvas.width;
  frame->Told()["height"] = canvas.height;
  frame->Told()["at"] = {-wanted.reach_x, -wanted.reach_y};
  frame->Write(*to, picture);
}

int Run(const BlurWords& words) {
  const Wanted wanted = ParseWanted(words);
  Job job;
  job.words = &words.job;
  job.inputs = {words.input};
  job.settings = "blur gaussian=" + words.gaussian + " box=" + words.box +
                 " iterations=" + std::to_string(wanted.spec.iterations) + " " + words.axis +
                 " flags=" + std::to_string(wanted.spec.flags) + (words.grow ? " grow" : "");
  job.bytes = [&](const std::vector<VXIO_Info>& inputs) {
    const VXIO_Info& input = inputs[0];
    const Size canvas = CanvasFor(wanted, input.path, input.width, input.height);
    // The picture, the canvas, and what lies between the passes.
    return BytesOfWorld(input.width, input.height, input.depth) +
           2 * BytesOfWorld(canvas.width, canvas.height, input.depth);
  };
  job.work = [&](JobFrame& frame) { BlurFrame(wanted, &frame); };
  return RunJob(job);
}

}  // namespace

Verb AddBlur(CLI::App* root) {
  auto words = std::make_shared<BlurWords>();
  CLI::App* app = root->add_subcommand("blur", "Blur a picture, with a Gaussian or a box");
  app->add_option("IN", words->input, "A picture, or a pattern for a sequence")
      ->type_name("FILE")
      ->required();
  app->add_option("--gaussian", words->gaussian,
                  "Radius in pixels, 0 to 32767, at which a bell ends; takes longer the larger it "
                  "is")
      ->type_name("R");
  app->add_option("--box", words->box,
                  "In place of --gaussian: the mean over 2R + 1 pixels, R 0 to 32767 and not only "
                  "whole; as fast for any radius")
      ->type_name("R");
  app->add_option(
         "--iterations", words->iterations,
         "How often the box runs, 1 to 100, and times the radius at most 262144; 3 look like a "
         "Gaussian of 2.5 times the radius [1]")
      ->type_name("N");
  app->add_option("--axis", words->axis, "x: along the rows, y: along the columns, or both [both]")
      ->type_name("AXIS");
  app->add_option("--channels", words->channels,
                  "Letters of argb to blur; the others stay as they are [argb]")
      ->type_name("LETTERS");
  app->add_option("--edge", words->edge,
                  "hold-level: beyond the edge there is nothing to mix in, so that the border "
                  "keeps its level; fade: there it is transparent, so that the border fades "
                  "[hold-level; with --grow fade]")
      ->type_name("HOW");
  app->add_flag("--grow", words->grow,
                "Enlarge the canvas on each side by what the blur spreads: the radius rounded up, "
                "times the iterations");
  AddJobOptions(app, &words->job, JobOutput::Picture);
  app->footer(
      "Colours count by their alpha: hidden colour of transparent pixels never shows. A picture\n"
      "without alpha has none after it, unless its border fades or it grows.\n"
      "Examples:\n  vx blur photo.jpg --gaussian 12.5 -o soft.jpg\n"
      "  vx blur logo.png --box 8 --iterations 3 --grow -o glow.png");
  return {app, [words] { return Run(*words); }};
}

}  // namespace vxcli

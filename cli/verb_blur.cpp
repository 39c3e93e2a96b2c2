// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx blur: blurs a picture with a Gaussian or a box.

#include <algorithm>
#include <cmath>
#include <memory>
#include <nlohmann/json.hpp>

#include "Job.h"
#include "VX/cpp/Filters.hpp"
#include "VX/cpp/Image.hpp"
#include "Values.h"
#include "Verbs.h"

namespace vxcli {

namespace {

constexpr int64_t kLargestSide = 30000;
constexpr int64_t kMostIterations = 100;
constexpr double kLargestSigma = 12000;

struct BlurOptions {
  JobOptions job;
  std::string input;
  std::optional<float> gaussian, box;
  std::optional<double> sigma;
  std::optional<int32_t> iterations;
  int32_t axis = 0;
  vx::Channels channels;
  std::optional<int32_t> edge;
  bool grow = false;
};

struct BlurPlan {
  vx::BlurOptions blur;
  vx::Point reach;  // pixels that --grow adds on each side
};

// Returns the standard deviation of the weights that a Gaussian blur of this radius has.
double SigmaOfRadius(double radius) {
  const auto reach = static_cast<int32_t>(std::ceil(radius));
  double sum = 0, squares = 0;
  for (int32_t i = -reach; i <= reach; ++i) {
    const double weight = std::trunc(255 * VXp_GaussianValue(std::abs(i) / (radius + 1)));
    sum += weight;
    squares += weight * i * i;
  }
  return std::sqrt(squares / sum);
}

// Returns the radius whose weights have the standard deviation `sigma`, by bisection.
float RadiusOfSigma(double sigma) {
  double low = 0, high = VX_Blur_MaxRadius;
  constexpr int kSteps = 40;  // until the difference is below the precision of a float
  for (int i = 0; i < kSteps && sigma > 0; ++i) {
    const double middle = (low + high) / 2;
    (SigmaOfRadius(middle) < sigma ? low : high) = middle;
  }
  return static_cast<float>(sigma > 0 ? high : 0);
}

BlurPlan MakePlan(const BlurOptions& options) {
  if (options.gaussian.has_value() + options.box.has_value() + options.sigma.has_value() != 1) {
    throw UsageError("blur: needs one of --gaussian R, --sigma S and --box R");
  }
  if (!options.box && options.iterations) {
    throw UsageError("--iterations: belongs to --box; a Gaussian is one pass");
  }
  BlurPlan plan;
  vx::BlurOptions& blur = plan.blur;
  blur.kind = options.box ? vx::BlurKind::box : vx::BlurKind::gaussian;
  const float radius = options.box     ? *options.box
                       : options.sigma ? RadiusOfSigma(*options.sigma)
                                       : *options.gaussian;
  blur.radius.x = options.axis == 2 ? 0 : radius;
  blur.radius.y = options.axis == 1 ? 0 : radius;
  blur.iterations = options.iterations.value_or(1);
  const int64_t reach = static_cast<int64_t>(std::ceil(radius)) * blur.iterations;
  if (reach > VX_Blur_MaxReach) {
    throw UsageError("--iterations: " + std::to_string(blur.iterations) + " times radius " +
                     Plain(radius) + " reaches " + std::to_string(reach) + " pixels; at most " +
                     std::to_string(VX_Blur_MaxReach));
  }
  blur.hold_level = options.edge ? *options.edge == 1 : !options.grow;
  blur.channels = options.channels;
  if (options.grow) plan.reach = vx::blur_reach(blur);
  blur.at = plan.reach;
  return plan;
}

Size CanvasFor(const BlurPlan& plan, const std::string& file, int32_t width, int32_t height) {
  const int64_t wide = width + 2 * int64_t{plan.reach.x};
  const int64_t high = height + 2 * int64_t{plan.reach.y};
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
  vx::Image to(canvas.width, canvas.height, from.Depth());
  vx::BlurOptions blur = plan.blur;
  blur.progress = frame->Progress();
  WithContext(frame->Input(0), [&] { vx::blur(to, from, blur); });
  const bool grown = plan.reach.x > 0 || plan.reach.y > 0;
  // Alpha is set to full scale, because at 32 bits the mean of ones may differ from 1 by a rounding
  // error, and the writer would then add an alpha channel.
  if (!picture.has_alpha && plan.blur.hold_level && !grown) to.world()->FillAlpha();
  frame->Record()["radius"] = std::max(blur.radius.x, blur.radius.y);
  frame->Record()["width"] = canvas.width;
  frame->Record()["height"] = canvas.height;
  frame->Record()["at"] = {-plan.reach.x, -plan.reach.y};
  frame->Write(to, picture);
}

int Run(const BlurOptions& options, const Verb& verb) {
  const BlurPlan plan = MakePlan(options);
  const auto bytes = [&](const std::vector<VXIO_Info>& inputs) {
    const VXIO_Info& input = inputs[0];
    const Size canvas = CanvasFor(plan, input.path, input.width, input.height);
    // Bytes for the picture, the canvas, and the result of the first pass.
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
       "Radius in pixels, %r; the Gaussian is cut off there; the time increases with it"},
      {"--sigma", "S", Number(&to->sigma, 0, kLargestSigma),
       "Instead of --gaussian: the standard deviation in pixels, %r; the radius R is chosen so "
       "that "
       "the weights have it, about S / 0.378 - 1"},
      {"--box", "R", Number(&to->box, 0, VX_Blur_MaxRadius),
       "Instead of --gaussian: the mean of 2R + 1 pixels, R %r, also fractions; the time does not "
       "depend on R"},
      Option{"--iterations", "N", Integer(&to->iterations, 1, kMostIterations),
             "Number of passes of the box, %r; their product with the radius is at most 262144. 3 "
             "passes look like a Gaussian of 2.7 times the radius"}
          .Without("1"),
      Option{"--axis", "AXIS", Choice(&to->axis, {"both", "x", "y"}),
             "x: along the rows; y: along the columns; both: x and y"}
          .Default("both"),
      Option{"--channels", "LETTERS", Parsed(&to->channels, ParseChannels),
             "Channels to blur, letters of argb; the others are not changed"}
          .Default("argb"),
      Option{
          "--edge", "HOW", Choice(&to->edge, {"fade", "hold-level"}),
          "Pixels outside of the picture. hold-level: they are left out of the mean, so the border "
          "keeps its level; fade: they are transparent, so the border fades"}
          .Without("hold-level; with --grow fade"),
      {"--grow", "", Flag(&to->grow),
       "Enlarge the canvas on each side by the distance that the blur spreads: the radius rounded "
       "up, times the iterations"},
  };
}

}  // namespace

Verb BlurVerb() {
  auto options = std::make_shared<BlurOptions>();
  return {"blur", "Blur a picture, with a Gaussian or a box",
          Join({OptionsOf(options.get()), JobOptionList(&options->job, JobOutput::Picture)}),
          "Colours are weighted by alpha: colours of transparent pixels have no effect. A picture\n"
          "without alpha remains without, unless its border fades or --grow is given.\n"
          "Examples:\n  vx blur photo.jpg --gaussian 12.5 -o soft.jpg\n"
          "  vx blur logo.png --box 8 --iterations 3 --grow -o glow.png",
          [options](const Verb& verb) { return Run(*options, verb); }};
}

}  // namespace vxcli

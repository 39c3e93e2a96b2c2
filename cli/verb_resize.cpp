// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx resize: scales a picture to another size.

#include <algorithm>
#include <cmath>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "Job.h"
#include "VX/cpp/Pixels.hpp"
#include "Values.h"
#include "Verbs.h"

namespace vxcli {

namespace {

constexpr double kLargestSide = 30000;

struct ResizeOptions {
  JobOptions job;
  std::string input;
  std::optional<Size> size;  // a side of 0 is computed from the other one
  std::optional<double> scale;
  vx::Quality quality = vx::Quality::high;
};

// Rounds a side to a whole number of at least 1. Throws UsageError if it is too large.
int32_t Side(const std::string& file, double side) {
  side = std::max(1.0, std::floor(side + 0.5));
  if (side > kLargestSide) {
    throw UsageError(file + ": would become " + std::to_string(static_cast<int64_t>(side)) +
                     " pixels wide or high; at most 30000");
  }
  return static_cast<int32_t>(side);
}

Size SizeFor(const ResizeOptions& options, const std::string& file, double width, double height) {
  if (options.scale) {
    return {Side(file, width * *options.scale), Side(file, height * *options.scale)};
  }
  Size size = *options.size;
  if (size.width == 0) size.width = Side(file, width * size.height / height);
  if (size.height == 0) size.height = Side(file, height * size.width / width);
  return size;
}

int Run(const ResizeOptions& options, const Verb& verb) {
  if (options.size.has_value() == options.scale.has_value()) {
    throw UsageError("resize: needs either --size WxH or --scale F");
  }
  const auto bytes = [&](const std::vector<VXIO_Info>& inputs) {
    const VXIO_Info& input = inputs[0];
    const Size size = SizeFor(options, input.path, input.width, input.height);
    return BytesOfWorld(input.width, input.height, input.depth) +
           BytesOfWorld(size.width, size.height, input.depth);
  };
  const auto work = [&](JobFrame& frame) {
    VXIO_Picture picture = frame.Read(0);
    const VX_World& from = *picture.world;
    const Size size = SizeFor(options, frame.Input(0), from.width, from.height);
    vx::Image to(size.width, size.height, from.Depth());
    WithContext(frame.Input(0), [&] { vx::resize(to, from, {options.quality, frame.Progress()}); });
    frame.Record()["width"] = size.width;
    frame.Record()["height"] = size.height;
    frame.Write(to, picture);
  };
  return RunJob(verb, options.job, options.input, work, bytes);
}

Size ParseResult(const std::string& option, const std::string& text) {
  const Size size = ParseSize(option, text, /*least=*/0);
  if (size.width == 0 && size.height == 0) {
    throw UsageError(option + " '" + text + "': only one side may be 0");
  }
  return size;
}

OptionList OptionsOf(ResizeOptions* to) {
  return {
      InputOption(&to->input),
      {"--size", "WxH", Parsed(&to->size, ParseResult),
       "Size of the result, each side 1 to 30000; 0 for one side keeps the proportions of the "
       "picture: 640x0"},
      {"--scale", "F", Number(&to->scale, 0.00001, kLargestSide),
       "Instead of --size: a factor for both sides, %r; sides are rounded, to at least 1"},
  };
}

}  // namespace

Verb ResizeVerb() {
  auto options = std::make_shared<ResizeOptions>();
  return {"resize", "Scale a picture to another size",
          Join({OptionsOf(options.get()),
                JobOptionList(&options->job, JobOutput::Picture,
                              QualityOption(&options->quality,
                                            "draft: nearest pixel; high: bilinear to enlarge, the "
                                            "average of the covered area "
                                            "to reduce, with colours weighted by alpha"))}),
          "Example:\n  vx resize shot.####.exr --size 960x0 -o small.####.png",
          [options](const Verb& verb) { return Run(*options, verb); }};
}

}  // namespace vxcli

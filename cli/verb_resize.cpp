// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx resize: a picture of another size.

#include <algorithm>
#include <cmath>
#include <memory>

#include "Errors.h"
#include "Job.h"
#include "VX/VX_Copy.h"
#include "Values.h"
#include "Verbs.h"
#include "Worlds.h"

namespace vxcli {

namespace {

constexpr double kLargestSide = 30000;

struct ResizeWords {
  JobWords job;
  std::string input, size, scale, quality = "high";
};

struct Wanted {
  Size size;  // a side of 0 follows from the other; both 0: `scale` counts
  double scale = 0;
};

Wanted ParseWanted(const ResizeWords& words) {
  if (words.size.empty() == words.scale.empty()) {
    throw UsageError("resize: needs either --size WxH or --scale F");
  }
  Wanted wanted;
  if (words.size.empty()) {
    wanted.scale = ParseNumber("--scale", words.scale, 0.00001, kLargestSide);
    return wanted;
  }
  wanted.size = ParseSize("--size", words.size, /*least=*/0);
  if (wanted.size.width == 0 && wanted.size.height == 0) {
    throw UsageError("--size '" + words.size + "': only one side may be 0");
  }
  return wanted;
}

// The nearest whole side, at least 1.
int32_t Side(const std::string& file, double side) {
  side = std::max(1.0, std::floor(side + 0.5));
  if (side > kLargestSide) {
    throw UsageError(file + ": would become " + std::to_string(static_cast<int64_t>(side)) +
                     " pixels wide or high; at most 30000");
  }
  return static_cast<int32_t>(side);
}

Size SizeFor(const Wanted& wanted, const std::string& file, double width, double height) {
  if (wanted.scale > 0)
    return {Side(file, width * wanted.scale), Side(file, height * wanted.scale)};
  Size size = wanted.size;
  if (size.width == 0) size.width = Side(file, width * size.height / height);
  if (size.height == 0) size.height = Side(file, height * size.width / width);
  return size;
}

int Run(const ResizeWords& words) {
  const Wanted wanted = ParseWanted(words);
  const int32_t quality = ParseQuality(words.quality);
  Job job;
  job.words = &words.job;
  job.inputs = {words.input};
  job.settings = "resize size=" + words.size + " scale=" + words.scale + " " + words.quality;
  job.bytes = [&](const std::vector<VXIO_Info>& inputs) {
    const VXIO_Info& input = inputs[0];
    const Size size = SizeFor(wanted, input.path, input.width, input.height);
    return BytesOfWorld(input.width, input.height, input.depth) +
           BytesOfWorld(size.width, size.height, input.depth);
  };
  job.work = [&](JobFrame& frame) {
    VXIO_Picture picture = frame.Read(0);
    const VX_World& from = *picture.world;
    const Size size = SizeFor(wanted, frame.Input(0), from.width, from.height);
    VXIO_WorldPtr to = NewWorld(size.width, size.height, from.Depth());
    Check(VX_ResizeWorld(frame.Progress(), quality, &from, to.get()), frame.Input(0));
    frame.Told()["width"] = size.width;
    frame.Told()["height"] = size.height;
    frame.Write(*to, picture);
  };
  return RunJob(job);
}

}  // namespace

Verb AddResize(CLI::App* root) {
  auto words = std::make_shared<ResizeWords>();
  CLI::App* app = root->add_subcommand("resize", "Scale a picture to another size");
  app->add_option("IN", words->input, "A picture, or a pattern for a sequence")
      ->type_name("FILE")
      ->required();
  app->add_option("--size", words->size,
                  "Size of the result, each side 1 to 30000; 0 for one side keeps the proportions "
                  "of the picture: 640x0")
      ->type_name("WxH");
  app->add_option("--scale", words->scale,
                  "In place of --size: a factor for both sides, 0.00001 to 30000; sides are "
                  "rounded, to 1 at least")
      ->type_name("F");
  app->add_option("--quality", words->quality,
                  "draft: the nearest pixel; high: bilinear when a side grows, the average of the "
                  "covered area when it shrinks, colours weighted by alpha [high]")
      ->type_name("HOW");
  AddJobOptions(app, &words->job, JobOutput::Picture);
  app->footer("Example:\n  vx resize shot.####.exr --size 960x0 -o small.####.png");
  return {app, [words] { return Run(*words); }};
}

}  // namespace vxcli

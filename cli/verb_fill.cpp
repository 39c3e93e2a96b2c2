// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx fill: makes a picture of one colour, or fills an area of a picture.

#include <algorithm>
#include <memory>

#include "Job.h"
#include "VX/cpp/Pixels.hpp"
#include "VXIO/VXIO_Picture.h"
#include "Values.h"
#include "Verbs.h"

namespace vxcli {

namespace {

struct FillOptions {
  std::string target, color;
  std::optional<vx::Rect> area;
  std::optional<int32_t> depth;
  JobOptions job;
};

int Run(const FillOptions& options, const Verb& verb) {
  const bool is_new = IsSize(options.target);
  const Size size = is_new ? ParseSize("TARGET", options.target, 1) : Size{};
  const int32_t depth = options.depth.value_or(is_new ? 8 : 0);
  const auto bytes = [&](const std::vector<VXIO_Info>& infos) {
    if (is_new) return BytesOfWorld(size.width, size.height, depth);
    return 2 * BytesOfWorld(infos[0].width, infos[0].height, std::max(depth, infos[0].depth));
  };
  const auto work = [&](JobFrame& frame) {
    VXIO_Picture picture;
    if (is_new) {
      picture.world = vx::Image(size.width, size.height, depth).release();
    } else {
      picture = frame.Read(0, depth);
    }
    const vx::Color color = ParseColor("--color", options.color, picture.world->Depth());
    WithContext("fill", [&] { vx::fill(*picture.world, color, {options.area}); });
    frame.Write(*picture.world, picture);
  };
  return RunJob(verb, options.job, is_new ? "" : options.target, work, bytes);
}

OptionList OptionsOf(FillOptions* to) {
  return {
      Option{"TARGET", " ", Text(&to->target),
             "WIDTHxHEIGHT (1 to 30000 each) for a new, transparent picture, or a FILE or pattern"}
          .Required()
          .Identity([to] { return IsSize(to->target) ? to->target : "a file"; }),
      Option{"--color", "COLOR", Text(&to->color),
             "A,R,G,B: alpha, red, green, blue in the scale of the depth: 0..255 at 8 bits, "
             "0..32768 at 16, any number at 32 (1 is full). Or '#RRGGBB' or '#RRGGBBAA'. Stored as "
             "it is, not blended"}
          .Required(),
      Option{"--area", "L,T,R,B", Parsed(&to->area, ParseRect), "Fill only this area"}.Without(
          "all"),
      Option{"--depth", "BITS", DepthValue(&to->depth, Keep::Refused), "%r bits per channel"}
          .Without("8 for a new picture, else the depth of the file"),
  };
}

}  // namespace

Verb FillVerb() {
  auto options = std::make_shared<FillOptions>();
  return {"fill", "Make a picture of one colour, or fill an area of a picture",
          Join({OptionsOf(options.get()), JobOptionList(&options->job, JobOutput::Picture)}),
          "Example:\n  vx fill 640x480 --color 32768,16384,0,0 --depth 16 -o red.png",
          [options](const Verb& verb) { return Run(*options, verb); }};
}

}  // namespace vxcli

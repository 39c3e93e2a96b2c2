// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx fill: a picture of one colour, or an area of a picture painted over.

#include <algorithm>
#include <memory>

#include "Errors.h"
#include "Job.h"
#include "VX/VX_Fill.h"
#include "VXIO/VXIO_Picture.h"
#include "Values.h"
#include "Verbs.h"
#include "Worlds.h"

namespace vxcli {

namespace {

struct FillWords {
  std::string target, color, area, depth;
  JobWords job;
};

// Paints with the fill of the world's own depth.
void Paint(const std::string& word, const M_Rect* area, VX_World* world) {
  switch (world->Depth()) {
    case 8: {
      auto color = ParseColor<VX_Pixel8>("--color", word);
      Check(VX_Fill(nullptr, &color, area, world), "fill");
      break;
    }
    case 16: {
      auto color = ParseColor<VX_Pixel16>("--color", word);
      Check(VX_Fill16(nullptr, &color, area, world), "fill");
      break;
    }
    default: {
      auto color = ParseColor<VX_PixelFloat>("--color", word);
      Check(VX_FillFloat(nullptr, &color, area, world), "fill");
      break;
    }
  }
}

int Run(const FillWords& words) {
  const bool fresh = IsSize(words.target);
  const Size size = fresh ? ParseSize("TARGET", words.target, 1) : Size{};
  int32_t depth = words.depth.empty() ? (fresh ? 8 : 0) : ParseDepth(words.depth, Keep::Refused);
  M_Rect area{};
  if (!words.area.empty()) area = ParseRect("--area", words.area);
  Job job;
  job.words = &words.job;
  if (!fresh) job.inputs = {words.target};
  job.settings = "fill color " + words.color + " area " + words.area + " depth " +
                 std::to_string(depth) + (fresh ? " size " + words.target : "");
  job.bytes = [&](const std::vector<VXIO_Info>& infos) {
    if (fresh) return BytesOfWorld(size.width, size.height, depth);
    return 2 * BytesOfWorld(infos[0].width, infos[0].height, std::max(depth, infos[0].depth));
  };
  job.work = [&](JobFrame& frame) {
    VXIO_Picture picture;
    if (fresh) {
      picture.world = NewWorld(size.width, size.height, depth);
    } else {
      picture = frame.Read(0, depth);
    }
    Paint(words.color, words.area.empty() ? nullptr : &area, picture.world.get());
    frame.Write(*picture.world, picture);
  };
  return RunJob(job);
}

}  // namespace

Verb AddFill(CLI::App* root) {
  auto words = std::make_shared<FillWords>();
  CLI::App* app =
      root->add_subcommand("fill", "Make a picture of one colour, or paint an area of one");
  app->add_option(
         "TARGET", words->target,
         "WIDTHxHEIGHT (1 to 30000 each) for a new, transparent picture, or a FILE or pattern")
      ->type_name(" ")
      ->required();
  app->add_option(
         "--color", words->color,
         "Alpha, red, green, blue in the scale of the depth: 0..255 at 8 bits, 0..32768 at "
         "16, any number at 32 (1 is full); stored as it is, not blended")
      ->type_name("A,R,G,B")
      ->required();
  app->add_option("--area", words->area, "Paint only this area [all]")->type_name("L,T,R,B");
  app->add_option("--depth", words->depth,
                  "8, 16 or 32 bits a channel [8 for a new picture, else that of the file]")
      ->type_name("BITS");
  AddJobOptions(app, &words->job, JobOutput::Picture);
  app->footer("Example:\n  vx fill 640x480 --color 32768,16384,0,0 --depth 16 -o red.png");
  return {app, [words] { return Run(*words); }};
}

}  // namespace vxcli

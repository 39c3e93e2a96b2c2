// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx matte: one channel of a picture as a grey picture, softened, inverted, faded, combined.

#include <memory>

#include "Console.h"
#include "Errors.h"
#include "Job.h"
#include "Mattes.h"
#include "Values.h"
#include "Verbs.h"
#include "Worlds.h"

namespace vxcli {

namespace {

struct MatteWords {
  JobWords job;
  std::string input, from = "alpha", depth = "keep", feather, feather_kind, fade = "1", combine,
                     combine_mode;
  bool invert = false;
};

struct Wanted {
  int32_t from = VX_Matte_Alpha, depth = 0;
  Feather feather;
  double fade = 1;
  bool invert = false, combines = false;
  int32_t combine_mode = VX_UnoAccumulate_Add;
};

Wanted ParseWanted(const MatteWords& words) {
  Wanted wanted;
  wanted.from = ParseMatteUse("--from", words.from);
  wanted.depth = ParseDepth(words.depth, Keep::Allowed);
  wanted.feather = ParseFeather("--feather", words.feather, words.feather_kind);
  wanted.fade = ParseNumber("--fade", words.fade, 0, 1);
  wanted.invert = words.invert;
  wanted.combines = !words.combine.empty();
  if (!wanted.combines && !words.combine_mode.empty()) {
    throw UsageError("--combine-mode: means nothing without --combine FILE");
  }
  if (!words.combine_mode.empty()) {
    wanted.combine_mode =
        ParseChoice("--combine-mode", words.combine_mode, {"add", "replace", "subtract"});
  }
  return wanted;
}

void Combine(const Wanted& wanted, JobFrame* frame, VX_UnoBuffer* matte) {
  const std::string& file = frame->Input(1);
  const VXIO_Picture picture = frame->Read(1, matte->depth);
  if (picture.world->width != matte->width || picture.world->height != matte->height) {
    Note(file + ": is " + std::to_string(picture.world->width) + " x " +
         std::to_string(picture.world->height) + ", the matte " + std::to_string(matte->width) +
         " x " + std::to_string(matte->height) +
         "; their upper left corners lie on each other, and nothing changes beyond it");
  }
  const UnoPtr other = MatteOf(*picture.world, VX_Matte_Luma, file);
  Check(VX_AccumulateUnoBuffers(frame->Progress(), other.get(), wanted.combine_mode, nullptr,
                                nullptr, matte),
        file);
}

void MakeMatte(const Wanted& wanted, JobFrame* frame) {
  const std::string& file = frame->Input(0);
  VXIO_Picture picture = frame->Read(0, wanted.depth);
  const bool by_alpha = wanted.from == VX_Matte_Alpha || wanted.from == VX_Matte_InverseAlpha;
  if (by_alpha && !picture.has_alpha) {
    frame->Warn("has no alpha, so that the matte is " +
                std::string(wanted.from == VX_Matte_Alpha ? "full" : "empty") +
                "; --from luma takes its brightness");
  }
  const UnoPtr matte = MatteOf(*picture.world, wanted.from, file);
  picture.world.reset();
  Soften(wanted.feather, frame->Progress(), matte.get(), file);
  if (wanted.invert) Check(VX_InvertUnoBuffer(nullptr, matte.get()), file);
  if (wanted.fade != 1) Check(VX_FadeUnoBuffer(wanted.fade, matte.get()), file);
  if (wanted.combines) Combine(wanted, frame, matte.get());
  const VXIO_WorldPtr grey = NewWorld(matte->width, matte->height, matte->depth);
  Check(VX_WorldFromMatte(nullptr, matte.get(), grey.get()), file);
  frame->Told()["width"] = matte->width;
  frame->Told()["height"] = matte->height;
  frame->Told()["depth"] = matte->depth;
  VXIO_WriteOptions options;
  options.grey = true;
  frame->Write(*grey, options);
}

int Run(const MatteWords& words) {
  const Wanted wanted = ParseWanted(words);
  Job job;
  job.words = &words.job;
  job.inputs = {words.input};
  if (wanted.combines) job.inputs.push_back(words.combine);
  job.settings = "matte " + words.from + " depth=" + words.depth + " feather=" + words.feather +
                 " " + words.feather_kind + " fade=" + words.fade +
                 (wanted.invert ? " invert" : "") + " " + words.combine_mode + "\n" + words.combine;
  job.work = [&](JobFrame& frame) { MakeMatte(wanted, &frame); };
  return RunJob(job);
}

}  // namespace

Verb AddMatte(CLI::App* root) {
  auto words = std::make_shared<MatteWords>();
  CLI::App* app = root->add_subcommand("matte", "Make a matte: one channel as a grey picture");
  app->add_option("IN", words->input, "A picture, or a pattern for a sequence")
      ->type_name("FILE")
      ->required();
  app->add_option(
         "--from", words->from,
         "alpha, inverse-alpha, luma, inverse-luma, red, green or blue; luma is brightness "
         "times alpha [alpha]")
      ->type_name("WHAT");
  app->add_option("--feather", words->feather, "First soften it: radius in pixels, 0 to 32767")
      ->type_name("R");
  app->add_option("--feather-kind", words->feather_kind,
                  "box: one box; soft: three boxes; gaussian, whose time grows with the radius "
                  "[soft]")
      ->type_name("KIND");
  app->add_flag("--invert", words->invert, "Then turn it over: what was full is empty");
  app->add_option("--fade", words->fade, "Then multiply it, 0 to 1 [1]")->type_name("NUMBER");
  app->add_option("--combine", words->combine,
                  "At last bring in another matte: the brightness of this picture")
      ->type_name("FILE");
  app->add_option("--combine-mode", words->combine_mode,
                  "add, replace or subtract; held between empty and full [add]")
      ->type_name("HOW");
  app->add_option("--depth", words->depth, "8, 16, 32 or keep: bits of the matte [keep]")
      ->type_name("BITS");
  AddJobOptions(app, &words->job, JobOutput::Picture);
  app->footer(
      "Examples:\n  vx matte plant.png --feather 6 -o soft.png\n"
      "  vx matte sky.jpg --from blue --combine soft.png --combine-mode subtract -o hole.png");
  return {app, [words] { return Run(*words); }};
}

}  // namespace vxcli

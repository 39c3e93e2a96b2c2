// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx guess-alpha: how the pixels of a picture say that colour and alpha were combined.

#include <memory>

#include "Errors.h"
#include "Job.h"
#include "VX/VX_GuessAlpha.h"
#include "Verbs.h"

namespace vxcli {

namespace {

struct GuessWords {
  JobWords job;
  std::string input;
};

const char* NameOf(int32_t kind) {
  switch (kind) {
    case VX_Alpha_Straight: return "straight";
    case VX_Alpha_PremulBlack: return "premultiplied with black";
    case VX_Alpha_PremulWhite: return "premultiplied with white";
    default: return "undecided";
  }
}

void WorkOn(JobFrame* frame) {
  static const char* const kSaid[] = {"none", "straight", "premultiplied"};
  // As the samples stand: a file that says "multiplied" would be divided otherwise.
  VXIO_Picture picture = frame->Read(0, /*depth=*/0, VXIO_AlphaAs::Straight);
  VX_AlphaGuess guess{};
  const VX_Err code = VX_GuessAlpha(nullptr, picture.world.get(), &guess);
  // Pixels that do not decide are an answer here, and the report about them is dropped.
  if (code != VX_Ok) static_cast<void>(TextOfCode(code));
  if (!picture.has_alpha) {
    frame->Note("has no alpha");
  } else if (guess.kind != 0 && picture.alpha == VXIO_AlphaKind::Premultiplied &&
             guess.kind != VX_Alpha_PremulBlack) {
    frame->Note("the file itself says that its colours are multiplied by alpha");
  }
  frame->Say(frame->Input(0) + ": " + NameOf(guess.kind));
  frame->Told()["alpha"] = NameOf(guess.kind);
  frame->Told()["file_says"] = kSaid[static_cast<int>(picture.alpha)];
  frame->Told()["partly_transparent"] = guess.partial;
  frame->Told()["beyond_black"] = guess.beyond_black;
  frame->Told()["beyond_white"] = guess.beyond_white;
}

int Run(const GuessWords& words) {
  Job job;
  job.words = &words.job;
  job.inputs = {words.input};
  job.settings = "guess-alpha";
  job.work = [](JobFrame& frame) { WorkOn(&frame); };
  return RunJob(job);
}

}  // namespace

Verb AddGuessAlpha(CLI::App* root) {
  auto words = std::make_shared<GuessWords>();
  CLI::App* app = root->add_subcommand("guess-alpha",
                                       "Tell from the pixels how colour and alpha were combined");
  app->add_option("IN", words->input, "A picture, or a pattern for a sequence")
      ->type_name("FILE")
      ->required();
  AddJobOptions(app, &words->job, JobOutput::None);
  app->footer(
      "Prints straight, premultiplied with black, premultiplied with white, or undecided. Only\n"
      "pixels that are partly transparent count: colours above alpha rule out black, colours "
      "below\n"
      "full less alpha rule out white, and a picture that rules out neither is undecided. --json\n"
      "gives the counts. vx convert --alpha and vx unpremultiply --matte mend a wrong file.\n"
      "Example:\n  vx guess-alpha logo.png");
  return {app, [words] { return Run(*words); }};
}

}  // namespace vxcli

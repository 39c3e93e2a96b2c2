// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx guess-alpha: finds from the pixels how colour and alpha were combined.

#include <memory>
#include <nlohmann/json.hpp>

#include "Errors.h"
#include "Job.h"
#include "VX/VX_GuessAlpha.h"
#include "Verbs.h"

namespace vxcli {

namespace {

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
  // Reads the samples as they are: otherwise a file that is marked as premultiplied would be
  // divided.
  VXIO_Picture picture = frame->Read(0, /*depth=*/0, VXIO_AlphaAs::Straight);
  VX_AlphaGuess guess{};
  const VX_Err code = VX_GuessAlpha(nullptr, picture.world.get(), &guess);
  // "Undecided" is an answer here. TextOfCode discards the report about it.
  if (code != VX_Ok) static_cast<void>(TextOfCode(code));
  if (!picture.has_alpha) {
    frame->Note("has no alpha");
  } else if (guess.kind != 0 && picture.alpha == VXIO_AlphaKind::Premultiplied &&
             guess.kind != VX_Alpha_PremulBlack) {
    frame->Note("the file itself says that its colours are multiplied by alpha");
  }
  frame->Print(frame->Input(0) + ": " + NameOf(guess.kind));
  frame->Record()["alpha"] = NameOf(guess.kind);
  frame->Record()["file_says"] = kSaid[static_cast<int>(picture.alpha)];
  frame->Record()["partly_transparent"] = guess.partial;
  frame->Record()["beyond_black"] = guess.beyond_black;
  frame->Record()["beyond_white"] = guess.beyond_white;
}

}  // namespace

Verb GuessAlphaVerb() {
  struct GuessOptions {
    JobOptions job;
    std::string input;
  };
  auto options = std::make_shared<GuessOptions>();
  return {
      "guess-alpha", "Tell from the pixels how colour and alpha were combined",
      Join({{InputOption(&options->input)}, JobOptionList(&options->job, JobOutput::None)}),
      "Prints straight, premultiplied with black, premultiplied with white, or undecided. Only\n"
      "pixels that are partly transparent count: colours above alpha rule out black, colours "
      "below\n"
      "full less alpha rule out white, and a picture that rules out neither is undecided. --json\n"
      "gives the counts. vx convert --alpha and vx unpremultiply --matte correct a wrong file.\n"
      "Example:\n  vx guess-alpha logo.png",
      [options](const Verb& verb) {
        return RunJob(verb, options->job, options->input, [](JobFrame& frame) { WorkOn(&frame); });
      }};
}

}  // namespace vxcli

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx premultiply multiplies colours by alpha, vx unpremultiply divides them. vx guess-alpha
// determines from the pixels whether colours are straight or premultiplied.

#include <strings.h>

#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>

#include "Job.h"
#include "VX/cpp/Pixels.hpp"
#include "Values.h"
#include "Verbs.h"

namespace vxcli {

namespace {

struct MultiplyOptions {
  JobOptions job;
  std::string input, matte;
};

// Returns the name of the format of a file if its pixels are stored premultiplied, else "".
std::string MultiplyingFormat(const std::string& path) {
  const std::string file = VXIO_FileOf(path);
  const std::string extension = file.substr(file.rfind('.') + 1);
  for (const VXIO_FormatInfo& format : VXIO_ListFormats()) {
    const auto& known = format.extensions;
    if (format.alpha == VXIO_AlphaKind::Premultiplied &&
        std::any_of(known.begin(), known.end(), [&](const std::string& name) {
          return strcasecmp(name.c_str(), extension.c_str()) == 0;
        })) {
      return format.name;
    }
  }
  return "";
}

void MultiplyFrame(const MultiplyOptions& options, bool multiply, JobFrame* frame) {
  VXIO_Picture picture = frame->Read(0);
  const std::string writer = MultiplyingFormat(frame->Output());
  if (!picture.has_alpha) {
    frame->Note("has no alpha: every pixel is opaque and keeps its colour");
  } else if (multiply && !writer.empty()) {
    frame->Warn("is multiplied twice: " + writer +
                " stores premultiplied colours, and writing it multiplies them again");
  } else if (!multiply && picture.alpha == VXIO_AlphaKind::Premultiplied) {
    frame->Warn("is divided twice: the file declares premultiplied colours, and reading it has "
                "divided them already");
  }
  vx::PremultiplyOptions operation;
  if (!options.matte.empty()) {
    operation.matte = ParseColor("--matte", options.matte, picture.world->Depth());
  }
  WithContext(frame->Input(0),
              [&] { (multiply ? vx::premultiply : vx::unpremultiply)(*picture.world, operation); });
  frame->Write(*picture.world, picture);
}

Verb MakeVerb(bool multiply) {
  auto options = std::make_shared<MultiplyOptions>();
  // The range of the colour depends on the depth of the picture; only its form is checked here.
  Value matte{Value::Text, [options](const std::string& option, const std::string& text) {
                ParseColor(option, text, 32);
                options->matte = text;
              }};
  OptionList own = {
      InputOption(&options->input),
      Option{
          "--matte", "COLOR", std::move(matte),
          "Colour that is mixed in where alpha is below full: '#RRGGBB', or A,R,G,B in the scale "
          "of "
          "the picture: 0..255 at 8 bits, 0..32768 at 16, any number at 32 (1 is full); its alpha "
          "is not used"}
          .Without("black")};
  const std::string shared =
      "The result is written as straight alpha, and a file that declares its alpha declares it "
      "so.\n"
      "Premultiplied formats (vx list formats) are divided when they are read.\n";
  return {multiply ? "premultiply" : "unpremultiply",
          multiply ? "Multiply the colours by alpha" : "Undo a multiplication by alpha",
          Join({std::move(own), JobOptionList(&options->job, JobOutput::Picture)}),
          shared + (multiply ? "Example:\n  vx premultiply straight.png -o over-black.png"
                             : "Colours of pixels with alpha 0 become 0.\nExample:\n  vx "
                               "unpremultiply over-white.png --matte 255,255,255,255 -o "
                               "straight.png"),
          [options, multiply](const Verb& verb) {
            return RunJob(verb, options->job, options->input,
                          [&](JobFrame& frame) { MultiplyFrame(*options, multiply, &frame); });
          }};
}

// --- vx guess-alpha ------------------------------------------------------------------------------

const char* NameOf(vx::AlphaKind kind) {
  switch (kind) {
    case vx::AlphaKind::straight: return "straight";
    case vx::AlphaKind::premultiplied_black: return "premultiplied with black";
    case vx::AlphaKind::premultiplied_white: return "premultiplied with white";
    default: return "undecided";
  }
}

void GuessFrame(JobFrame* frame) {
  static const char* const kDeclared[] = {"none", "straight", "premultiplied"};
  // Reads the samples as they are: otherwise a file that is marked as premultiplied would be
  // divided.
  VXIO_Picture picture = frame->Read(0, /*depth=*/0, VXIO_AlphaAs::Straight);
  const vx::AlphaGuess guess = vx::guess_alpha(*picture.world);
  if (!picture.has_alpha) {
    frame->Note("has no alpha");
  } else if (guess.kind != vx::AlphaKind::unknown &&
             picture.alpha == VXIO_AlphaKind::Premultiplied &&
             guess.kind != vx::AlphaKind::premultiplied_black) {
    frame->Note("the file declares premultiplied colours");
  }
  frame->Print(frame->Input(0) + ": " + NameOf(guess.kind));
  frame->Record()["alpha"] = NameOf(guess.kind);
  frame->Record()["file_says"] = kDeclared[static_cast<int>(picture.alpha)];
  frame->Record()["partly_transparent"] = guess.partial;
  frame->Record()["beyond_black"] = guess.beyond_black;
  frame->Record()["beyond_white"] = guess.beyond_white;
}

}  // namespace

Verb PremultiplyVerb() { return MakeVerb(true); }
Verb UnpremultiplyVerb() { return MakeVerb(false); }

Verb GuessAlphaVerb() {
  struct GuessOptions {
    JobOptions job;
    std::string input;
  };
  auto options = std::make_shared<GuessOptions>();
  return {
      "guess-alpha", "Determine from the pixels whether colours are straight or premultiplied",
      Join({{InputOption(&options->input)}, JobOptionList(&options->job, JobOutput::None)}),
      "Prints straight, premultiplied with black, premultiplied with white, or undecided. Only\n"
      "partly transparent pixels are examined: a colour above alpha excludes black, a colour "
      "below\n"
      "full - alpha excludes white; if neither is excluded the result is undecided. --json prints\n"
      "the counts. vx convert --alpha and vx unpremultiply --matte correct a wrong file.\n"
      "Example:\n  vx guess-alpha logo.png",
      [options](const Verb& verb) {
        return RunJob(verb, options->job, options->input,
                      [](JobFrame& frame) { GuessFrame(&frame); });
      }};
}

}  // namespace vxcli

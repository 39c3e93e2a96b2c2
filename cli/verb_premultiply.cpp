// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx premultiply and vx unpremultiply: multiply colours by alpha, and divide them.

#include <strings.h>

#include <algorithm>
#include <memory>

#include "Errors.h"
#include "Job.h"
#include "VX/VX_Premul.h"
#include "Values.h"
#include "Verbs.h"

namespace vxcli {

namespace {

struct PremultiplyOptions {
  JobOptions job;
  std::string input, matte;
};

// The background is black, or a matte colour in the scale of the depth of the world.
VX_Err Multiply(const PremultiplyOptions& options, bool multiply, VX_World* world) {
  const int32_t forward = multiply ? 1 : 0;
  if (options.matte.empty()) return VX_Premul(nullptr, forward, world);
  switch (world->Depth()) {
    case 8: {
      const auto matte = ParseColor<VX_Pixel8>("--matte", options.matte);
      return VX_PremulColor(nullptr, forward, &matte, world);
    }
    case 16: {
      const auto matte = ParseColor<VX_Pixel16>("--matte", options.matte);
      return VX_PremulColor16(nullptr, forward, &matte, world);
    }
    default: {
      const auto matte = ParseColor<VX_PixelFloat>("--matte", options.matte);
      return VX_PremulColorFloat(nullptr, forward, &matte, world);
    }
  }
}

// The name of the format of a file if its writer multiplies colours by alpha, else "".
std::string MultiplyingFormat(const std::string& file) {
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

void WorkOn(const PremultiplyOptions& options, bool multiply, JobFrame* frame) {
  VXIO_Picture picture = frame->Read(0);
  const std::string writer = MultiplyingFormat(frame->Output());
  if (!picture.has_alpha) {
    frame->Note("has no alpha: every pixel is opaque and keeps its colour");
  } else if (multiply && !writer.empty()) {
    frame->Warn("is multiplied twice: " + writer +
                " holds colours multiplied by alpha, and writing it multiplies them again");
  } else if (!multiply && picture.alpha == VXIO_AlphaKind::Premultiplied) {
    frame->Warn("is divided twice: the file says that its colours are multiplied by alpha, and "
                "reading it has divided them already");
  }
  Check(Multiply(options, multiply, picture.world.get()), frame->Input(0));
  frame->Write(*picture.world, picture);
}

Verb MakeVerb(bool multiply) {
  auto options = std::make_shared<PremultiplyOptions>();
  // The range of the colour depends on the depth of the picture; only its form is checked here.
  Value matte{Value::Text, [options](const std::string& option, const std::string& text) {
                ParseColor<VX_PixelFloat>(option, text);
                options->matte = text;
              }};
  OptionList own = {
      InputOption(&options->input),
      Option{"--matte", "A,R,G,B", std::move(matte),
             "The colour that shows where alpha is 0, in the scale of the picture: 0..255 at 8 "
             "bits, 0..32768 at 16, any number at 32 (1 is full); its alpha is not used"}
          .Without("black")};
  const std::string shared =
      "The result is written as it is, and a format that marks its alpha says straight.\n"
      "Formats that multiply by themselves (vx list formats) are divided on reading.\n";
  return {multiply ? "premultiply" : "unpremultiply",
          multiply ? "Multiply the colours by alpha" : "Undo a multiplication by alpha",
          Join({std::move(own), JobOptionList(&options->job, JobOutput::Picture)}),
          shared + (multiply ? "Example:\n  vx premultiply straight.png -o over-black.png"
                             : "Colours of pixels with alpha 0 become 0.\nExample:\n  vx "
                               "unpremultiply over-white.png --matte 255,255,255,255 -o "
                               "straight.png"),
          [options, multiply](const Verb& verb) {
            return RunJob(verb, options->job, options->input,
                          [&](JobFrame& frame) { WorkOn(*options, multiply, &frame); });
          }};
}

}  // namespace

Verb PremultiplyVerb() { return MakeVerb(true); }
Verb UnpremultiplyVerb() { return MakeVerb(false); }

}  // namespace vxcli

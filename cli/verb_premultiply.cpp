// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx premultiply and vx unpremultiply: colours times alpha, and back.

#include <algorithm>
#include <memory>

#include "Errors.h"
#include "Job.h"
#include "VX/VX_Premul.h"
#include "Values.h"
#include "Verbs.h"

namespace vxcli {

namespace {

struct PremultiplyWords {
  JobWords job;
  std::string input, matte;
  bool forward = true;
};

// Against black, or a matte colour in the scale of the world's own depth.
VX_Err Multiply(const PremultiplyWords& words, VX_World* world) {
  const int32_t forward = words.forward ? 1 : 0;
  if (words.matte.empty()) return VX_Premul(nullptr, forward, world);
  switch (world->Depth()) {
    case 8: {
      const auto matte = ParseColor<VX_Pixel8>("--matte", words.matte);
      return VX_PremulColor(nullptr, forward, &matte, world);
    }
    case 16: {
      const auto matte = ParseColor<VX_Pixel16>("--matte", words.matte);
      return VX_PremulColor16(nullptr, forward, &matte, world);
    }
    default: {
      const auto matte = ParseColor<VX_PixelFloat>("--matte", words.matte);
      return VX_PremulColorFloat(nullptr, forward, &matte, world);
    }
  }
}

// The name of the format that a file is written in, when that multiplies colours by itself.
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

void WorkOn(const PremultiplyWords& words, JobFrame* frame) {
  VXIO_Picture picture = frame->Read(0);
  const std::string writer = MultiplyingFormat(frame->Output());
  if (!picture.has_alpha) {
    frame->Note("has no alpha: every pixel is opaque and keeps its colour");
  } else if (words.forward && !writer.empty()) {
    frame->Warn("is multiplied twice: " + writer +
                " holds colours multiplied by alpha, and writing it multiplies them again");
  } else if (!words.forward && picture.alpha == VXIO_AlphaKind::Premultiplied) {
    frame->Warn("is divided twice: the file says that its colours are multiplied by alpha, and "
                "reading it has divided them already");
  }
  Check(Multiply(words, picture.world.get()), frame->Input(0));
  frame->Write(*picture.world, picture);
}

int Run(const PremultiplyWords& words) {
  // Its range depends on the depth of the picture, its form does not.
  if (!words.matte.empty()) ParseColor<VX_PixelFloat>("--matte", words.matte);
  Job job;
  job.words = &words.job;
  job.inputs = {words.input};
  job.settings =
      std::string(words.forward ? "premultiply" : "unpremultiply") + " matte=" + words.matte;
  job.work = [&](JobFrame& frame) { WorkOn(words, &frame); };
  return RunJob(job);
}

Verb Add(CLI::App* root, bool forward) {
  auto words = std::make_shared<PremultiplyWords>();
  words->forward = forward;
  CLI::App* app = forward ? root->add_subcommand("premultiply", "Multiply the colours by alpha")
                          : root->add_subcommand("unpremultiply", "Undo a multiplication by alpha");
  app->add_option("IN", words->input, "A picture, or a pattern for a sequence")
      ->type_name("FILE")
      ->required();
  app->add_option("--matte", words->matte,
                  "The colour that shows where alpha is 0, in the scale of the picture: 0..255 at "
                  "8 bits, 0..32768 at 16, any number at 32 (1 is full); its alpha is not used "
                  "[black]")
      ->type_name("A,R,G,B");
  AddJobOptions(app, &words->job, JobOutput::Picture);
  const std::string shared =
      "The result is written as it is, and a format that marks its alpha says straight.\n"
      "Formats that multiply by themselves (vx list formats) are divided on reading.\n";
  app->footer(shared +
              (forward ? "Example:\n  vx premultiply straight.png -o over-black.png"
                       : "Colours of pixels with alpha 0 become 0.\nExample:\n  vx unpremultiply "
                         "over-white.png --matte 255,255,255,255 -o straight.png"));
  return {app, [words] { return Run(*words); }};
}

}  // namespace

Verb AddPremultiply(CLI::App* root) { return Add(root, true); }
Verb AddUnpremultiply(CLI::App* root) { return Add(root, false); }

}  // namespace vxcli

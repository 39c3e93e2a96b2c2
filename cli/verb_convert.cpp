// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx convert: another depth, another meaning of alpha, some of the channels.

#include <memory>

#include "Errors.h"
#include "Job.h"
#include "VX/VX_DepthConvert.h"
#include "VX/VX_ForEachPixel.h"
#include "Values.h"
#include "Verbs.h"
#include "Worlds.h"

namespace vxcli {

namespace {

struct ConvertWords {
  JobWords job;
  std::string input, depth = "keep", alpha, planes;
  bool dither = false;
};

struct Planes {
  bool alpha = true, red = true, green = true, blue = true;
  int count() const { return alpha + red + green + blue; }
};

struct Wanted {
  int32_t depth = 0;  // 0: as it is
  bool dither = false;
  VXIO_AlphaAs alpha = VXIO_AlphaAs::File;
  Planes planes;
};

Planes ParsePlanes(const std::string& word) {
  if (word.empty()) return {};
  const int32_t channels = ParseChannels("--planes", word);
  return {(channels & 1) != 0, (channels & 2) != 0, (channels & 4) != 0, (channels & 8) != 0};
}

VXIO_AlphaAs ParseAlpha(const std::string& word) {
  if (word.empty()) return VXIO_AlphaAs::File;
  static constexpr VXIO_AlphaAs kMeanings[] = {VXIO_AlphaAs::Straight, VXIO_AlphaAs::Premultiplied,
                                               VXIO_AlphaAs::Ignore};
  return kMeanings[ParseChoice("--alpha", word, {"straight", "premultiplied", "ignore"})];
}

template <class Pixel>
constexpr VX_ChannelOf<Pixel> kFull = 1;
template <>
constexpr uint8_t kFull<VX_Pixel8> = 255;
template <>
constexpr uint16_t kFull<VX_Pixel16> = 32768;

// One plane becomes an opaque grey picture. Of several, the others lose their colour, and alpha
// becomes full when it is not among them.
VX_Err KeepPlanes(const Planes& planes, VX_World* world) {
  return VX_ForEachPixel(world, [&](int32_t, int32_t, auto* pixel) {
    using Pixel = std::remove_pointer_t<decltype(pixel)>;
    const Pixel was = *pixel;
    if (planes.count() == 1) {
      const auto grey = planes.alpha   ? was.alpha
                        : planes.red   ? was.red
                        : planes.green ? was.green
                                       : was.blue;
      *pixel = {kFull<Pixel>, grey, grey, grey};
      return;
    }
    if (!planes.alpha) pixel->alpha = kFull<Pixel>;
    if (!planes.red) pixel->red = 0;
    if (!planes.green) pixel->green = 0;
    if (!planes.blue) pixel->blue = 0;
  });
}

// The noise goes on where the last conversion stopped. Rewound, a frame depends on itself alone.
VXIO_WorldPtr Dithered(VX_ProgressInfo* progress, const VX_World& deep) {
  VXIO_WorldPtr world = NewWorld(deep.width, deep.height, 8);
  VX_ResetDitherRandomIndex();
  Check(VX_DepthConvertWorld(progress, &deep, /*rect=*/nullptr, /*dither=*/1, /*h=*/0, /*v=*/0,
                             world.get()),
        "dither");
  return world;
}

void WorkOn(const Wanted& wanted, JobFrame* frame) {
  const bool may_dither = wanted.dither && wanted.depth == 8;
  VXIO_Picture picture = frame->Read(0, may_dither ? 0 : wanted.depth, wanted.alpha);
  if (wanted.alpha != VXIO_AlphaAs::File && picture.alpha == VXIO_AlphaKind::None) {
    frame->Note("has no alpha: --alpha has no effect");
  }
  if (may_dither && picture.world->Depth() > 8) {
    picture.world = Dithered(frame->Progress(), *picture.world);
  } else if (wanted.dither) {
    frame->Note("--dither has no effect: it is for 8 bits from a deeper picture");
  }
  if (wanted.planes.count() < 4) {
    Check(KeepPlanes(wanted.planes, picture.world.get()), "planes");
    picture.has_alpha = picture.has_alpha && wanted.planes.alpha && wanted.planes.count() > 1;
  }
  frame->Told()["depth"] = picture.world->Depth();
  frame->Write(*picture.world, picture);
}

int Run(const ConvertWords& words) {
  const Wanted wanted{ParseDepth(words.depth, Keep::Allowed), words.dither, ParseAlpha(words.alpha),
                      ParsePlanes(words.planes)};
  Job job;
  job.words = &words.job;
  job.inputs = {words.input};
  job.settings = "convert depth=" + words.depth + " dither=" + (words.dither ? "1" : "0") +
                 " alpha=" + words.alpha + " planes=" + words.planes;
  job.parallel = !words.dither;  // the place in the noise is one for the whole process
  job.bytes = [&](const std::vector<VXIO_Info>& inputs) {
    const VXIO_Info& input = inputs[0];
    return BytesOfWorld(input.width, input.height, input.depth) +
           BytesOfWorld(input.width, input.height, wanted.depth ? wanted.depth : input.depth);
  };
  job.work = [&](JobFrame& frame) { WorkOn(wanted, &frame); };
  return RunJob(job);
}

}  // namespace

Verb AddConvert(CLI::App* root) {
  auto words = std::make_shared<ConvertWords>();
  CLI::App* app = root->add_subcommand(
      "convert", "Change the depth, the meaning of alpha, the planes or the format of a picture");
  app->add_option("IN", words->input, "A picture, or a pattern for a sequence")
      ->type_name("FILE")
      ->required();
  app->add_option(
         "--depth", words->depth,
         "8, 16, 32 or keep: bits a channel; 16 is a scale of 0 to 32768, 32 is float [keep]")
      ->type_name("BITS");
  app->add_flag("--dither", words->dither,
                "Going down to 8 bits, add noise in place of rounding, the same for every frame");
  app->add_option("--alpha", words->alpha,
                  "How the colours of IN are taken, whatever it says: straight: as they stand; "
                  "premultiplied: divided by alpha; ignore: as they stand, and opaque [as IN says]")
      ->type_name("HOW");
  app->add_option("--planes", words->planes,
                  "Letters of argb to keep. One: that channel as an opaque grey picture; several: "
                  "the other colours become 0, alpha becomes full [argb]")
      ->type_name("LETTERS");
  AddJobOptions(app, &words->job, JobOutput::Picture);
  app->footer("A format that holds less than the picture gets its deepest form, with a warning.\n"
              "Examples:\n  vx convert shot.####.exr --depth 8 --dither -o shot.####.png\n"
              "  vx convert logo.tif --planes a -o matte.png");
  return {app, [words] { return Run(*words); }};
}

}  // namespace vxcli

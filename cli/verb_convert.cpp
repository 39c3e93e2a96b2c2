// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx convert: changes the depth, the meaning of alpha or the channels.

#include <memory>
#include <nlohmann/json.hpp>

#include "Errors.h"
#include "Job.h"
#include "VX/VX_DepthConvert.h"
#include "VX/VX_ForEachPixel.h"
#include "Values.h"
#include "Verbs.h"
#include "Worlds.h"

namespace vxcli {

namespace {

struct Planes {
  bool alpha = true, red = true, green = true, blue = true;
  int count() const { return alpha + red + green + blue; }
};

struct ConvertOptions {
  JobOptions job;
  std::string input;
  int32_t depth = 0;  // 0: that of the picture
  bool dither = false;
  VXIO_AlphaAs alpha = VXIO_AlphaAs::File;
  Planes planes;
};

Planes ParsePlanes(const std::string& option, const std::string& text) {
  const int32_t channels = ParseChannels(option, text);
  return {(channels & 1) != 0, (channels & 2) != 0, (channels & 4) != 0, (channels & 8) != 0};
}

VXIO_AlphaAs ParseAlpha(const std::string& option, const std::string& text) {
  static constexpr VXIO_AlphaAs kMeanings[] = {VXIO_AlphaAs::Straight, VXIO_AlphaAs::Premultiplied,
                                               VXIO_AlphaAs::Ignore};
  return kMeanings[ParseChoice(option, text, {"straight", "premultiplied", "ignore"})];
}

template <class Pixel>
constexpr VX_ChannelOf<Pixel> kFull = 1;
template <>
constexpr uint8_t kFull<VX_Pixel8> = 255;
template <>
constexpr uint16_t kFull<VX_Pixel16> = 32768;

// A single plane becomes an opaque grey picture. With several planes the other colours become 0,
// and alpha becomes full if it is not one of them.
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

// The noise continues from one conversion to the next. The reset makes a frame independent of the
// others.
VXIO_WorldPtr Dithered(VX_ProgressInfo* progress, const VX_World& deep) {
  VXIO_WorldPtr world = NewWorld(deep.width, deep.height, 8);
  VX_ResetDitherRandomIndex();
  Check(VX_DepthConvertWorld(progress, &deep, /*rect=*/nullptr, /*dither=*/1, /*h=*/0, /*v=*/0,
                             world.get()),
        "dither");
  return world;
}

void WorkOn(const ConvertOptions& options, JobFrame* frame) {
  const Planes& planes = options.planes;
  const bool may_dither = options.dither && options.depth == 8;
  VXIO_Picture picture = frame->Read(0, may_dither ? 0 : options.depth, options.alpha);
  if (options.alpha != VXIO_AlphaAs::File && picture.alpha == VXIO_AlphaKind::None) {
    frame->Note("has no alpha: --alpha has no effect");
  }
  if (may_dither && picture.world->Depth() > 8) {
    picture.world = Dithered(frame->Progress(), *picture.world);
  } else if (options.dither) {
    frame->Note("--dither has no effect: it is for 8 bits from a deeper picture");
  }
  if (planes.count() < 4) {
    Check(KeepPlanes(planes, picture.world.get()), "planes");
    picture.has_alpha = picture.has_alpha && planes.alpha && planes.count() > 1;
  }
  frame->Record()["depth"] = picture.world->Depth();
  frame->Write(*picture.world, picture);
}

int Run(const ConvertOptions& options, const Verb& verb) {
  Job job;
  job.verb = &verb;
  job.options = &options.job;
  job.inputs = {options.input};
  job.parallel = !options.dither;  // the state of the noise is one for the whole process
  job.bytes = [&](const std::vector<VXIO_Info>& inputs) {
    const VXIO_Info& input = inputs[0];
    return BytesOfWorld(input.width, input.height, input.depth) +
           BytesOfWorld(input.width, input.height, options.depth ? options.depth : input.depth);
  };
  job.work = [&](JobFrame& frame) { WorkOn(options, &frame); };
  return RunJob(job);
}

OptionList OptionsOf(ConvertOptions* to) {
  return {
      InputOption(&to->input),
      DepthOption(&to->depth, "%r: bits a channel; 16 is a scale of 0 to 32768, 32 is float"),
      {"--dither", "", Flag(&to->dither),
       "Going down to 8 bits, add noise in place of rounding, the same for every frame"},
      Option{"--alpha", "HOW", Parsed(&to->alpha, ParseAlpha),
             "How the colours of IN are taken, whatever it says: straight: as they stand; "
             "premultiplied: divided by alpha; ignore: as they stand, and opaque"}
          .Without("as IN says"),
      Option{"--planes", "LETTERS", Parsed(&to->planes, ParsePlanes),
             "Letters of argb to keep. One: that channel as an opaque grey picture; several: the "
             "other colours become 0, alpha becomes full"}
          .Default("argb"),
  };
}

}  // namespace

Verb ConvertVerb() {
  auto options = std::make_shared<ConvertOptions>();
  return {"convert",
          "Change the depth, the meaning of alpha, the planes or the format of a picture",
          Join({OptionsOf(options.get()), JobOptionList(&options->job, JobOutput::Picture)}),
          "A format that holds less than the picture gets its deepest form, with a warning.\n"
          "Examples:\n  vx convert shot.####.exr --depth 8 --dither -o shot.####.png\n"
          "  vx convert logo.tif --planes a -o matte.png",
          [options](const Verb& verb) { return Run(*options, verb); }};
}

}  // namespace vxcli

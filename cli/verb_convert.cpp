// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx convert: changes the depth, the meaning of alpha or the channels.

#include <memory>
#include <nlohmann/json.hpp>

#include "Job.h"
#include "VX/cpp/Pixels.hpp"
#include "Values.h"
#include "Verbs.h"

namespace vxcli {

namespace {

int Count(const vx::Channels& planes) {
  return planes.alpha + planes.red + planes.green + planes.blue;
}

struct ConvertOptions {
  JobOptions job;
  std::string input;
  int32_t depth = 0;  // 0: that of the picture
  bool dither = false;
  VXIO_AlphaAs alpha = VXIO_AlphaAs::File;
  vx::Channels planes;
};

// Removes the planes that are not selected. A single plane becomes an opaque grey picture. If
// several planes are selected, the other colours become 0, and alpha becomes full scale unless it
// is selected.
void KeepPlanes(const vx::Channels& planes, vx::AnyView picture) {
  vx::for_each_pixel(picture, [&](int32_t, int32_t, auto& pixel) {
    using Pixel = std::remove_reference_t<decltype(pixel)>;
    constexpr auto full = vx::PixelTraits<Pixel>::full_scale;
    if (Count(planes) == 1) {
      const auto grey = planes.alpha   ? pixel.alpha
                        : planes.red   ? pixel.red
                        : planes.green ? pixel.green
                                       : pixel.blue;
      pixel = {full, grey, grey, grey};
      return;
    }
    if (!planes.alpha) pixel.alpha = full;
    if (!planes.red) pixel.red = 0;
    if (!planes.green) pixel.green = 0;
    if (!planes.blue) pixel.blue = 0;
  });
}

void WorkOn(const ConvertOptions& options, JobFrame* frame) {
  const vx::Channels& planes = options.planes;
  const bool may_dither = options.dither && options.depth == 8;
  VXIO_Picture picture = frame->Read(0, may_dither ? 0 : options.depth, options.alpha);
  if (options.alpha != VXIO_AlphaAs::File && picture.alpha == VXIO_AlphaKind::None) {
    frame->Note("has no alpha: --alpha has no effect");
  }
  if (may_dither && picture.world->Depth() > 8) {
    // Each conversion continues the sequence of the noise where the last one ended. The reset makes
    // the result independent of other frames.
    VX_ResetDitherRandomIndex();
    picture.world =
        WithContext("dither", [&] {
          return vx::convert(*picture.world, 8, {.dither = true, .progress = frame->Progress()});
        }).release();
  } else if (options.dither) {
    frame->Note("--dither has no effect: it is for pictures of 16 or 32 bits that become 8 bits");
  }
  if (Count(planes) < 4) {
    WithContext("planes", [&] { KeepPlanes(planes, *picture.world); });
    picture.has_alpha = picture.has_alpha && planes.alpha && Count(planes) > 1;
  }
  frame->Record()["depth"] = picture.world->Depth();
  frame->Write(*picture.world, picture);
}

int Run(const ConvertOptions& options, const Verb& verb) {
  Job job;
  job.verb = &verb;
  job.options = &options.job;
  job.inputs = {options.input};
  job.parallel = !options.dither;  // the state of the noise is global
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
      DepthOption(&to->depth, "%r: bits per channel; 16 is a scale of 0 to 32768, 32 is float"),
      {"--dither", "", Flag(&to->dither),
       "When 16 or 32 bits become 8, add noise instead of rounding; the same noise for every "
       "frame"},
      Option{"--alpha", "HOW", Parsed(&to->alpha, ParseAlpha),
             "How to read the colours of IN, whatever the file declares. straight: unchanged; "
             "premultiplied: divided by alpha; ignore: unchanged, and the picture is opaque"}
          .Without("as the file declares"),
      Option{"--planes", "LETTERS", Parsed(&to->planes, ParseChannels),
             "Channels to keep, letters of argb. One: this channel as an opaque grey picture; "
             "several: the other colours become 0, alpha becomes full"}
          .Default("argb"),
  };
}

}  // namespace

Verb ConvertVerb() {
  auto options = std::make_shared<ConvertOptions>();
  return {
      "convert", "Change the depth, the meaning of alpha, the planes or the format of a picture",
      Join({OptionsOf(options.get()), JobOptionList(&options->job, JobOutput::Picture)}),
      "If the format stores fewer bits than the picture has, its largest depth is written, with a\n"
      "warning.\n"
      "Examples:\n  vx convert shot.####.exr --depth 8 --dither -o shot.####.png\n"
      "  vx convert logo.tif --planes a -o matte.png",
      [options](const Verb& verb) { return Run(*options, verb); }};
}

}  // namespace vxcli

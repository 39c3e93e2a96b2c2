// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx copy: copies a rectangle of a picture onto a canvas, to crop, pad, move or scale it.

#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "Job.h"
#include "VX/cpp/Pixels.hpp"
#include "Values.h"
#include "Verbs.h"

namespace vxcli {

namespace {

struct CopyOptions {
  JobOptions job;
  std::string input;
  std::optional<vx::Rect> from, to;
  std::optional<Size> size;
  vx::Quality quality = vx::Quality::high;
};

struct Geometry {
  vx::Rect from, to;
  Size canvas;
};

bool IsScaled(const Geometry& at) {
  return at.from.width() != at.to.width() || at.from.height() != at.to.height();
}

vx::Rect ParseArea(const std::string& option, const std::string& text) {
  const vx::Rect rect = ParseRect(option, text);
  if (rect.width() > 30000 || rect.height() > 30000) {
    throw UsageError(option + " '" + text + "': may be at most 30000 pixels wide and high");
  }
  return rect;
}

Geometry GeometryFor(const CopyOptions& options, int32_t width, int32_t height) {
  Geometry at;
  at.from = options.from.value_or(vx::Rect{0, 0, width, height});
  at.to = options.to.value_or(vx::Rect{0, 0, at.from.width(), at.from.height()});
  const bool crop = options.from && !options.to;
  at.canvas =
      options.size.value_or(crop ? Size{at.from.width(), at.from.height()} : Size{width, height});
  return at;
}

// Checks one axis: returns true if a pixel of the picture is copied to the canvas. `side` is the
// size of the picture, `canvas` the size of the canvas.
bool Shows(int64_t from_low, int64_t from_high, int64_t side, int64_t to_low, int64_t to_high,
           int64_t canvas) {
  const int64_t low = std::max<int64_t>(to_low, 0), high = std::min(to_high, canvas);
  if (low >= high) return false;
  const int64_t from_size = from_high - from_low, to_size = to_high - to_low;
  // The first and the last position in the picture, multiplied by to_size to avoid fractions.
  const int64_t first = from_low * to_size + (low - to_low) * from_size;
  const int64_t last = from_low * to_size + (high - to_low) * from_size;
  return first < side * to_size && last > 0;
}

bool ShowsAny(const Geometry& at, const VX_LayerDef& picture) {
  return Shows(at.from.left, at.from.right, picture.width, at.to.left, at.to.right,
               at.canvas.width) &&
         Shows(at.from.top, at.from.bottom, picture.height, at.to.top, at.to.bottom,
               at.canvas.height);
}

bool IsInside(const vx::Rect& rect, const VX_World& picture) {
  return rect.left >= 0 && rect.top >= 0 && rect.right <= picture.width &&
         rect.bottom <= picture.height;
}

// Copies the rectangle `at.from`, resizes the copy and draws it at `at.to`. The edges stay sharp:
// vx::copy at high quality would mix them with the pixels around the rectangle.
void CopyResized(const vx::Progress& progress, const Geometry& at, VX_World* picture,
                 vx::Image* canvas) {
  vx::Image piece, placed;
  vx::AnyView from, to;
  if (IsInside(at.from, *picture)) {
    from = vx::AnyView(*picture).part(at.from);
  } else {
    piece = vx::Image(at.from.width(), at.from.height(), picture->Depth());
    from = piece;
    vx::copy(from, *picture, {.from = at.from, .quality = vx::Quality::draft});
  }
  const bool inside = IsInside(at.to, *canvas->world());
  if (inside) {
    to = canvas->part(at.to);
  } else {
    placed = vx::Image(at.to.width(), at.to.height(), canvas->depth());
    to = placed;
  }
  vx::resize(to, from, {.progress = progress});
  if (!inside) vx::copy(*canvas, to, {.to = at.to, .quality = vx::Quality::draft});
}

int64_t BytesHeld(const CopyOptions& options, const VXIO_Info& input) {
  const Geometry at = GeometryFor(options, input.width, input.height);
  int64_t pixels =
      int64_t{input.width} * input.height + int64_t{at.canvas.width} * at.canvas.height;
  if (options.quality == vx::Quality::high && IsScaled(at)) {
    pixels += int64_t{at.from.width()} * at.from.height() + int64_t{at.to.width()} * at.to.height();
  }
  return BytesOfWorld(pixels, 1, input.depth);
}

void CopyFrame(const CopyOptions& options, JobFrame* frame) {
  VXIO_Picture picture = frame->Read(0);
  const Geometry at = GeometryFor(options, picture.world->width, picture.world->height);
  vx::Image canvas(at.canvas.width, at.canvas.height, picture.world->Depth());
  if (!ShowsAny(at, *picture.world)) {
    frame->Note("nothing is copied: no part of the picture is on the canvas");
  } else if (IsScaled(at) && options.quality == vx::Quality::high) {
    WithContext("copy", [&] { CopyResized(frame->Progress(), at, picture.world.get(), &canvas); });
  } else {
    WithContext("copy", [&] {
      vx::copy(canvas, *picture.world, {at.from, at.to, vx::Quality::draft});
    });
  }
  const auto edges = [](const vx::Rect& rect) {
    return nlohmann::ordered_json{rect.left, rect.top, rect.right, rect.bottom};
  };
  frame->Record()["from"] = edges(at.from);
  frame->Record()["to"] = edges(at.to);
  frame->Record()["width"] = at.canvas.width;
  frame->Record()["height"] = at.canvas.height;
  // If a part of the canvas is not covered, it is transparent, and the writer adds an alpha
  // channel.
  frame->Write(canvas, picture);
}

int Run(const CopyOptions& options, const Verb& verb) {
  return RunJob(
      verb, options.job, options.input, [&](JobFrame& frame) { CopyFrame(options, &frame); },
      [&](const std::vector<VXIO_Info>& inputs) { return BytesHeld(options, inputs[0]); });
}

OptionList OptionsOf(CopyOptions* to) {
  return {
      InputOption(&to->input),
      Option{"--from", "L,T,R,B", Parsed(&to->from, ParseArea),
             "Area of IN to copy, edges -30000 to 30000; outside of IN it is transparent"}
          .Without("all"),
      Option{"--to", "L,T,R,B", Parsed(&to->to, ParseArea),
             "Target area on the canvas; if its size differs the copy is scaled; may be partly "
             "outside"}
          .Without("the size of --from at 0,0"),
      Option{"--size", "WxH", SizeValue(&to->size),
             "Size of the canvas, each side 1 to 30000; does not scale the picture"}
          .Without("the size of IN; with --from and without --to, the size of --from"),
  };
}

}  // namespace

Verb CopyVerb() {
  auto options = std::make_shared<CopyOptions>();
  return {
      "copy", "Crop, pad or move a picture on a transparent canvas",
      Join({OptionsOf(options.get()),
            JobOptionList(&options->job, JobOutput::Picture,
                          QualityOption(&options->quality,
                                        "Scaling. draft: nearest pixel; high: as in vx resize"))}),
      "If the picture has no alpha and covers the canvas, the result has no alpha.\n"
      "Examples:\n  vx copy photo.png --from 100,50,740,530 -o crop.png\n"
      "  vx copy logo.png --to 20,20,120,70 --size 1920x1080 -o placed.png",
      [options](const Verb& verb) { return Run(*options, verb); }};
}

}  // namespace vxcli

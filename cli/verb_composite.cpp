// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx composite: draws layers over a background, in the order given.

#include <algorithm>
#include <chrono>
#include <deque>
#include <memory>
#include <nlohmann/json.hpp>

#include "Color.h"
#include "Console.h"
#include "Job.h"
#include "Layers.h"
#include "VX/cpp/Composite.hpp"
#include "VX/cpp/Transform.hpp"
#include "VXIO/VXIO_Picture.h"
#include "Verbs.h"

namespace vxcli {

namespace {

struct CompositeOptions {
  std::string background;
  int32_t depth = 0;  // 0: the deepest of the pictures that are drawn
  VXIO_AlphaAs background_alpha = VXIO_AlphaAs::File, output_alpha = VXIO_AlphaAs::File;
  ColorOptions color;
  JobOptions job;
  // A deque: the lists of options have pointers to elements, which must stay valid.
  std::deque<LayerOptions> layers;
};

// The state that all frames share.
struct Composite {
  const CompositeOptions& options;
  std::vector<LayerInputs> layer_inputs;
  std::vector<std::string> inputs;
  JobColor color;
};

// The display window of the background: all positions count from its corner.
struct Frame {
  Size size;
  vx::Point origin;  // of its upper left corner in the world
};

Frame FrameOf(const VXIO_Picture& background) {
  const VXIO_Windows windows = WindowsOf(background);
  const vx::Point offset = windows.Offset();
  return {{windows.display.width(), windows.display.height()}, {-offset.x, -offset.y}};
}

// The part of a layer that is drawn. `from` is its position in the area of --rect or, without
// --rect, in the display window of the layer. `at` is its position in the world of the background,
// before the placement (scale, rotation and so on) is applied.
struct PlacedPart {
  vx::Rect part;
  Size size;  // of the area
  vx::Point from, at;

  // Returns true if a pixel of the part is inside the background.
  bool Overlaps(const VX_World& below) const {
    return at.x < below.width && at.x + part.width() > 0 && at.y < below.height &&
           at.y + part.height() > 0;
  }
};

PlacedPart PartToDraw(const LayerOptions& layer, const VXIO_Picture& picture, const Frame& frame) {
  const VX_World& source = *picture.world;
  const VXIO_Windows windows = WindowsOf(picture);
  const vx::Point offset = windows.Offset();
  // The area in the coordinates of the world. Without --rect, overscan is drawn too.
  const vx::Rect rect = layer.rect
                            ? vx::Rect{layer.rect->left - offset.x, layer.rect->top - offset.y,
                                       layer.rect->right - offset.x, layer.rect->bottom - offset.y}
                            : vx::Rect{-offset.x, -offset.y, windows.display.width() - offset.x,
                                       windows.display.height() - offset.y};
  const vx::Rect whole{0, 0, source.width, source.height};
  const vx::Rect part = layer.rect ? vx::Rect{std::max(0, rect.left), std::max(0, rect.top),
                                              std::min(source.width, rect.right),
                                              std::min(source.height, rect.bottom)}
                                   : whole;
  const Position at = layer.at.value_or(Position{});
  const vx::Point corner{
      frame.origin.x + static_cast<int32_t>(at.x.In(frame.size.width, rect.width())),
      frame.origin.y + static_cast<int32_t>(at.y.In(frame.size.height, rect.height()))};
  const Size size{rect.width(), rect.height()};
  // --rect is outside of the layer.
  if (part.left >= part.right || part.top >= part.bottom) return {{}, size, {}, corner};
  const vx::Point from{part.left - rect.left, part.top - rect.top};
  return {part, size, from, {corner.x + from.x, corner.y + from.y}};
}

constexpr const char* kOutside = "is completely outside the background; nothing is drawn";

// Draws a layer that has a placement, a blur or a shadow. Returns the reason if nothing is drawn,
// else an empty text.
std::string DrawPlaced(const LayerOptions& layer, const PlacedPart& placed, vx::AnyConstView part,
                       const vx::CompositeOptions& drawing, const Frame& frame, VX_World* below,
                       nlohmann::ordered_json* record) {
  vx::Matrix matrix{
      {1, 0, 0, 0, 1, 0, static_cast<double>(placed.at.x), static_cast<double>(placed.at.y), 1}};
  if (layer.HasPlacement()) {
    matrix = MatrixOf(layer, placed.size, frame.size);
    (*record)["matrix"] = matrix.m;
    matrix = After(placed.from, matrix);
    for (int row = 0; row < 9; row += 3) {  // then a translation by the origin
      matrix.m[row] += frame.origin.x * matrix.m[row + 2];
      matrix.m[row + 1] += frame.origin.y * matrix.m[row + 2];
    }
  }
  const std::string why = InvisibleReason({matrix}, *part.descriptor(), *below);
  if (layer.HasEffects()) {
    const bool drawn = DrawWithEffects(layer, part, matrix, drawing, *below);
    return why.starts_with("has no area") ? why : drawn ? "" : kOutside;
  }
  vx::transform(*below, part, matrix,
                {.mode = drawing.mode,
                 .opacity = drawing.opacity,
                 .mask = drawing.mask,
                 .linear = drawing.linear,
                 .keep_alpha = drawing.keep_alpha,
                 .field = drawing.field,
                 .seed = drawing.seed,
                 .progress = drawing.progress});
  return why;
}

// Draws one layer and returns its record.
nlohmann::ordered_json Draw(const LayerOptions& layer, size_t index, const LayerInputs& inputs,
                            FrameColor* color, JobFrame* frame, VXIO_Picture* background) {
  VX_World* below = background->world.get();
  const Frame window = FrameOf(*background);
  const std::string& file = frame->Input(inputs.file);
  nlohmann::ordered_json record = RecordOf(file, layer);
  VXIO_Picture picture = color->ReadLayer(inputs.file, &record, layer.alpha);
  if (inputs.matte) ApplyMatte(layer, inputs.matte, frame, &picture, &record);
  auto options = DrawingOf<vx::CompositeOptions>(layer);
  VXIO_WorldPtr mask;
  if (inputs.mask) options.mask = ReadMask(layer, inputs.mask, *background, frame, &mask, &record);
  const PlacedPart placed = PartToDraw(layer, picture, window);
  const bool plain = !layer.HasPlacement() && !layer.HasEffects();
  record["at"] = {placed.at.x - placed.from.x - window.origin.x,
                  placed.at.y - placed.from.y - window.origin.y};
  options.at = placed.at;
  options.linear = color->light();
  options.progress = frame->Progress();
  const bool visible = placed.part.width() > 0 && (!plain || placed.Overlaps(*below));
  std::string why = visible ? "" : kOutside;
  const auto start = std::chrono::steady_clock::now();
  WithContext("layer " + std::to_string(index + 1) + " (" + file + ")", [&] {
    const vx::AnyConstView whole(*picture.world);
    if (plain || !visible) {
      // A stencil acts on the whole background, also if the layer is outside of it.
      if (placed.part.width() == 0) options.at = {-picture.world->width, -picture.world->height};
      vx::composite(*below, placed.part.width() > 0 ? whole.part(placed.part) : whole, options);
    } else {
      why = DrawPlaced(layer, placed, whole.part(placed.part), options, window, below, &record);
    }
  });
  const std::chrono::duration<double, std::milli> spent = std::chrono::steady_clock::now() - start;
  if (!why.empty()) Note(file + ": " + why);
  record["milliseconds"] = spent.count();
  return record;
}

void WorkOn(Composite* job, JobFrame* frame) {
  const std::vector<int32_t> own = DepthsOf(*frame, job->layer_inputs);
  const int32_t depth =
      job->options.depth ? job->options.depth : *std::max_element(own.begin(), own.end());
  FrameColor color(&job->color, frame, &job->inputs, own, depth);
  nlohmann::ordered_json& record = frame->Record();
  VXIO_Picture background = color.ReadBackground("background", job->options.background_alpha);
  FrameDisplayWindow(&background);
  record["width"] = background.world->width;
  record["height"] = background.world->height;
  record["depth"] = depth;
  record["layers"] = nlohmann::ordered_json::array();
  for (size_t i = 0; i < job->layer_inputs.size(); ++i) {
    record["layers"].push_back(
        Draw(job->options.layers[i], i, job->layer_inputs[i], &color, frame, &background));
  }
  VXIO_WriteOptions write;
  write.metadata = background.metadata;
  write.keep_alpha = background.has_alpha;
  write.alpha = job->options.output_alpha;
  frame->Write(*background.world, write);
}

// Returns the number of bytes that are allocated at the same time: for the background, before and
// after the conversion of its depth, and for the layer that needs most.
int64_t BytesOf(const std::vector<VXIO_Info>& infos, const Composite& job) {
  int32_t depth = job.options.depth;
  for (const VXIO_Info& info : infos) depth = std::max(depth, info.depth);
  int64_t most = 0;
  for (size_t i = 0; i < job.layer_inputs.size(); ++i) {
    const LayerOptions& layer = job.options.layers[i];
    int64_t bytes = BytesOfLayer(infos, job.layer_inputs[i], depth);
    if (layer.HasEffects()) {
      // The placed layer, its shadow, and the result of the first pass of a blur.
      const int64_t around = 2 * int64_t{layer.Reach()};
      const vx::Rect frame = infos[0].windows.Union();
      bytes += 3 * BytesOfWorld(frame.width() + around, frame.height() + around, depth);
    }
    most = std::max(most, bytes);
  }
  return 2 * BytesOfFrame(infos[0], depth) + most;
}

int Run(const CompositeOptions& options, const Verb& verb) {
  if (options.layers.empty()) throw UsageError("composite: needs at least one --layer FILE");
  Composite composite{options, {}, {options.background}, JobColor(options.color)};
  for (const LayerOptions& layer : options.layers) {
    CheckDrawOptions(layer);
    CheckEffects(layer);
    composite.layer_inputs.push_back(AddInputs(layer.file, layer, &composite.inputs));
  }
  Job job;
  job.verb = &verb;
  job.options = &options.job;
  job.inputs = composite.inputs;
  job.bytes = [&](const std::vector<VXIO_Info>& infos) { return BytesOf(infos, composite); };
  job.work = [&](JobFrame& frame) { WorkOn(&composite, &frame); };
  return RunJob(job);
}

OptionList OptionsOf(CompositeOptions* to) {
  return Join(
      {{Option{"BACKGROUND", "FILE", Text(&to->background),
               "Picture that the layers are drawn on, in the order given; its size, profile "
               "and metadata are kept. Background, layers and masks may be sequences with the "
               "same frame numbers"}
            .Required()
            .For(Decides::Contents),
        DepthOption(&to->depth,
                    "%r: bits per channel of the result; keep: the largest depth of background and "
                    "layers"),
        Option{"--background-alpha", "HOW", Parsed(&to->background_alpha, ParseAlpha),
               "How to read the colours of BACKGROUND, as --alpha for a layer"}
            .Without("as the file declares"),
        Option{"--output-alpha", "HOW", Parsed(&to->output_alpha, ParseAlpha),
               "How to write the colours. straight: unchanged; premultiplied: multiplied by alpha; "
               "ignore: unchanged, without alpha"}
            .Without("as the format defines")},
       ColorOptionList(&to->color),
       JobOptionList(&to->job, JobOutput::Picture)});
}

}  // namespace

Verb CompositeVerb() {
  auto options = std::make_shared<CompositeOptions>();
  static LayerOptions unused;  // for the help
  Parts layers{"--layer", "layer", false, LayerOptionList(&unused),
               [to = options.get()] { return LayerOptionList(&to->layers.emplace_back()); }};
  return {
      "composite",
      "Draw layers over a background picture",
      OptionsOf(options.get()),
      "Examples:\n  vx composite sky.png --layer plane.png --at 40,-12 --opacity 80% \\\n"
      "      --layer haze.png --mode screen --mask ground.png --mask-use inverse-luma -o out.png\n"
      "  vx composite sky.png --layer logo.png --scale 0.3 --at 95%,95% --shadow 6,6 -o out.png",
      [options](const Verb& verb) { return Run(*options, verb); },
      std::move(layers)};
}

}  // namespace vxcli

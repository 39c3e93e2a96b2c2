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
#include "VXIO/VXIO_Picture.h"
#include "Verbs.h"

namespace vxcli {

namespace {

struct CompositeOptions {
  std::string background;
  int32_t depth = 0;  // 0: the deepest of the pictures that are drawn
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

// The part of a layer that is drawn, and its position on the background.
struct PlacedPart {
  vx::Rect part;
  vx::Point at;

  // Returns true if a pixel of the part is inside the background.
  bool Overlaps(const VX_World& below) const {
    return at.x < below.width && at.x + part.width() > 0 && at.y < below.height &&
           at.y + part.height() > 0;
  }
};

PlacedPart PartToDraw(const LayerOptions& layer, const VX_World& source) {
  if (!layer.rect) return {{0, 0, source.width, source.height}, layer.at};
  const vx::Rect& rect = *layer.rect;
  const vx::Rect part{std::max(0, rect.left), std::max(0, rect.top),
                      std::min(source.width, rect.right), std::min(source.height, rect.bottom)};
  // --rect is outside of the layer. Returns a position where the layer is outside of the
  // background.
  if (part.left >= part.right || part.top >= part.bottom) {
    return {{0, 0, source.width, source.height}, {-source.width, -source.height}};
  }
  return {part, {layer.at.x + part.left - rect.left, layer.at.y + part.top - rect.top}};
}

// Draws one layer and returns its record.
nlohmann::ordered_json Draw(const LayerOptions& layer, size_t index, const LayerInputs& inputs,
                            FrameColor* color, JobFrame* frame, VX_World* below) {
  const std::string& file = frame->Input(inputs.file);
  nlohmann::ordered_json record = RecordOf(file, layer);
  record["at"] = {layer.at.x, layer.at.y};
  VXIO_Picture picture = color->ReadLayer(inputs.file, &record);
  if (inputs.matte) ApplyMatte(layer, inputs.matte, frame, picture.world.get(), &record);
  auto options = DrawingOf<vx::CompositeOptions>(layer);
  VXIO_WorldPtr mask;
  if (inputs.mask) options.mask = ReadMask(layer, inputs.mask, *below, frame, &mask, &record);
  const PlacedPart placed = PartToDraw(layer, *picture.world);
  if (!placed.Overlaps(*below)) {
    Note(file + ": is completely outside the background; nothing is drawn");
  }
  options.at = placed.at;
  options.linear = color->tables();
  options.progress = frame->Progress();
  const auto start = std::chrono::steady_clock::now();
  WithContext("layer " + std::to_string(index + 1) + " (" + file + ")", [&] {
    vx::composite(*below, vx::AnyConstView(*picture.world).part(placed.part), options);
  });
  const std::chrono::duration<double, std::milli> spent = std::chrono::steady_clock::now() - start;
  record["milliseconds"] = spent.count();
  return record;
}

void WorkOn(Composite* job, JobFrame* frame) {
  const std::vector<int32_t> own = DepthsOf(*frame, job->layer_inputs);
  const int32_t depth =
      job->options.depth ? job->options.depth : *std::max_element(own.begin(), own.end());
  FrameColor color(&job->color, frame, &job->inputs, own, depth);
  nlohmann::ordered_json& record = frame->Record();
  VXIO_Picture background = color.ReadBackground();
  record["width"] = background.world->width;
  record["height"] = background.world->height;
  record["depth"] = depth;
  record["layers"] = nlohmann::ordered_json::array();
  for (size_t i = 0; i < job->layer_inputs.size(); ++i) {
    record["layers"].push_back(Draw(job->options.layers[i], i, job->layer_inputs[i], &color, frame,
                                    background.world.get()));
  }
  frame->Write(*background.world, background);
}

// Returns the number of bytes for the background and the largest layer.
int64_t BytesOf(const std::vector<VXIO_Info>& infos, const std::vector<LayerInputs>& layers,
                int32_t depth) {
  for (const VXIO_Info& info : infos) depth = std::max(depth, info.depth);
  int64_t most = 0;
  for (const LayerInputs& layer : layers) most = std::max(most, BytesOfLayer(infos, layer, depth));
  return 2 * BytesOfWorld(infos[0].width, infos[0].height, depth) + most;
}

int Run(const CompositeOptions& options, const Verb& verb) {
  if (options.layers.empty()) throw UsageError("composite: needs at least one --layer FILE");
  Composite composite{options, {}, {options.background}, JobColor(options.color)};
  for (const LayerOptions& layer : options.layers) {
    CheckDrawOptions(layer);
    composite.layer_inputs.push_back(AddInputs(layer.file, layer, &composite.inputs));
  }
  Job job;
  job.verb = &verb;
  job.options = &options.job;
  job.inputs = composite.inputs;
  job.bytes = [&](const std::vector<VXIO_Info>& infos) {
    return BytesOf(infos, composite.layer_inputs, options.depth);
  };
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
                    "layers")},
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
      "Example:\n  vx composite sky.png --layer plane.png --at 40,-12 --opacity 0.8 \\\n"
      "      --layer haze.png --mode screen --mask ground.png --mask-use inverse-luma -o out.png",
      [options](const Verb& verb) { return Run(*options, verb); },
      std::move(layers)};
}

}  // namespace vxcli

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx composite: layers drawn over a background, in the order given.

#include <algorithm>
#include <chrono>
#include <deque>
#include <memory>
#include <nlohmann/json.hpp>

#include "CompositeColor.h"
#include "Console.h"
#include "Errors.h"
#include "Job.h"
#include "LayerPictures.h"
#include "VX/VX_Transfer.h"
#include "VXIO/VXIO_Picture.h"
#include "Verbs.h"

namespace vxcli {

namespace {

struct CompositeOptions {
  std::string background;
  int32_t depth = 0;  // 0: the deepest of the pictures that are drawn
  ColorOptions color;
  JobOptions job;
  std::deque<LayerOptions> layers;  // a deque, because the lists of options point to elements
};

// The state that all frames share.
struct Composite {
  const CompositeOptions& options;
  std::vector<LayerInputs> layer_inputs;
  std::vector<std::string> inputs;
  JobColor color;
};

// True if a pixel of the layer lands on the picture below.
bool Touches(const LayerOptions& layer, const VX_World& source, const VX_World& below) {
  int32_t left = 0, top = 0, right = source.width, bottom = source.height;
  int32_t shift_x = layer.at.x, shift_y = layer.at.y;
  if (layer.rect) {
    left = std::max<int32_t>(left, layer.rect->left);
    top = std::max<int32_t>(top, layer.rect->top);
    right = std::min<int32_t>(right, layer.rect->right);
    bottom = std::min<int32_t>(bottom, layer.rect->bottom);
    shift_x -= layer.rect->left;
    shift_y -= layer.rect->top;
  }
  return left < right && top < bottom && left + shift_x < below.width && right + shift_x > 0 &&
         top + shift_y < below.height && bottom + shift_y > 0;
}

// Draws one layer and returns its record.
nlohmann::ordered_json Draw(const LayerOptions& layer, size_t index, const LayerInputs& inputs,
                            FrameColor* color, JobFrame* frame, VX_World* below) {
  const std::string& file = frame->Input(inputs.file);
  nlohmann::ordered_json record = {{"file", file},
                                   {"mode", layer.mode.name},
                                   {"mode_number", layer.mode.number},
                                   {"opacity", layer.opacity},
                                   {"at", {layer.at.x, layer.at.y}}};
  VXIO_Picture picture = color->ReadLayer(inputs.file, &record);
  if (inputs.matte) ApplyMatte(layer, inputs.matte, frame, picture.world.get(), &record);
  Mask mask;
  if (!layer.mask.empty()) mask = ReadMask(layer, inputs.mask, *below, frame);
  if (!Touches(layer, *picture.world, *below)) {
    Note(file + ": lies wholly outside the background; nothing is drawn");
  }
  VX_CompositeModePlus mode(layer.mode.number, static_cast<float>(layer.opacity), color->tables(),
                            layer.keep_alpha, layer.seed);
  auto start = std::chrono::steady_clock::now();
  Check(VX_TransferRect(frame->Progress(), /*quality=*/1, /*flags=*/0, layer.field,
                        layer.rect ? &*layer.rect : nullptr, picture.world.get(), &mode,
                        color->tables(), mask.world ? &mask.spec : nullptr, layer.at.x, layer.at.y,
                        below),
        "layer " + std::to_string(index + 1) + " (" + file + ")");
  std::chrono::duration<double, std::milli> spent = std::chrono::steady_clock::now() - start;
  record["milliseconds"] = spent.count();
  if (mask.world) {
    record["mask"] = frame->Input(inputs.mask);
    record["mask_use"] = MaskUseName(mask.spec.what);
  }
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

// The bytes of the background and of the largest layer.
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
               "and metadata are kept. It, layers and masks may be sequences of the same "
               "frames"}
            .Required()
            .For(Decides::Contents),
        DepthOption(&to->depth,
                    "%r: bits a channel to work in; keep is the deepest of background and "
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

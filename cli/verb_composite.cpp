// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx composite: layers drawn over a background, in the order given.

#include <algorithm>
#include <chrono>
#include <memory>

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

struct CompositeWords {
  std::string background, depth = "keep";
  ColorWords color;
  JobWords job;
  LayerWords layer_help;  // layers are parsed one by one, see Layers.h
};

// What all frames share.
struct Composite {
  int32_t depth;  // 0: the deepest of the pictures that are drawn
  std::vector<Layer> layers;
  std::vector<LayerInputs> places;
  std::vector<std::string> inputs;  // as they were typed
  std::unique_ptr<JobColor> color;
};

bool Touches(const Layer& layer, const VX_World& source, const VX_World& below) {
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

// Draws one layer and tells about it.
nlohmann::ordered_json Draw(const Layer& layer, size_t index, const LayerInputs& place,
                            FrameColor* color, JobFrame* frame, VX_World* below) {
  const std::string& file = frame->Input(place.file);
  nlohmann::ordered_json told = {{"file", file},
                                 {"mode", layer.mode.name},
                                 {"mode_number", layer.mode.number},
                                 {"opacity", layer.opacity},
                                 {"at", {layer.at.x, layer.at.y}}};
  VXIO_Picture picture = color->ReadLayer(place.file, &told);
  if (place.matte) ApplyMatte(layer, place.matte, frame, picture.world.get(), &told);
  Mask mask;
  if (!layer.mask.empty()) mask = ReadMask(layer, place.mask, *below, frame);
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
  told["milliseconds"] = spent.count();
  if (mask.world) {
    told["mask"] = frame->Input(place.mask);
    told["mask_use"] = MaskUseName(mask.spec.what);
  }
  return told;
}

void WorkOn(const Composite& job, JobFrame* frame) {
  const std::vector<int32_t> own = DepthsOf(*frame, job.places);
  const int32_t depth = job.depth ? job.depth : *std::max_element(own.begin(), own.end());
  FrameColor color(job.color.get(), frame, &job.inputs, own, depth);
  nlohmann::ordered_json& told = frame->Told();
  VXIO_Picture background = color.ReadBackground();
  told["width"] = background.world->width;
  told["height"] = background.world->height;
  told["depth"] = depth;
  told["layers"] = nlohmann::ordered_json::array();
  for (size_t i = 0; i < job.layers.size(); ++i) {
    told["layers"].push_back(
        Draw(job.layers[i], i, job.places[i], &color, frame, background.world.get()));
  }
  frame->Write(*background.world, background);
}

// The background stays, one layer at a time comes to it.
int64_t BytesOf(const std::vector<VXIO_Info>& infos, const std::vector<LayerInputs>& places,
                int32_t depth) {
  for (const VXIO_Info& info : infos) depth = std::max(depth, info.depth);
  int64_t most = 0;
  for (const LayerInputs& place : places) most = std::max(most, BytesOfLayer(infos, place, depth));
  return 2 * BytesOfWorld(infos[0].width, infos[0].height, depth) + most;
}

int Run(const CompositeWords& words, const std::vector<std::vector<std::string>>& groups) {
  const int32_t depth = ParseDepth(words.depth, Keep::Allowed);
  if (groups.empty()) throw UsageError("composite: needs at least one --layer FILE");
  Composite composite{depth, {}, {}, {words.background}, nullptr};
  for (const auto& group : groups) composite.layers.push_back(ParseLayer(group));
  composite.color = std::make_unique<JobColor>(words.color);
  std::vector<std::string>& inputs = composite.inputs;
  Job job;
  job.words = &words.job;
  job.settings = "composite depth=" + words.depth + composite.color->Settings();
  for (size_t i = 0; i < groups.size(); ++i) {
    const Layer& layer = composite.layers[i];
    composite.places.push_back(AddInputs(layer.file, layer, &inputs));
    for (const std::string& word : groups[i]) job.settings += "\n" + word;
  }
  job.inputs = inputs;
  job.bytes = [&](const std::vector<VXIO_Info>& infos) {
    return BytesOf(infos, composite.places, depth);
  };
  job.work = [&](JobFrame& frame) { WorkOn(composite, &frame); };
  return RunJob(job);
}

}  // namespace

Verb AddComposite(CLI::App* root, const std::vector<std::vector<std::string>>* layers) {
  auto words = std::make_shared<CompositeWords>();
  CLI::App* app = root->add_subcommand("composite", "Draw layers over a background picture");
  app->add_option("BACKGROUND", words->background,
                  "Picture that the layers are drawn on, in the order given; its size, profile and "
                  "metadata are kept. It, layers and masks may be sequences of the same frames")
      ->type_name("FILE")
      ->required();
  AddLayerOptions(app, &words->layer_help);
  app->add_option("--depth", words->depth,
                  "8, 16, 32 or keep: bits a channel to work in; keep is the deepest of background "
                  "and layers [keep]")
      ->type_name("BITS");
  AddColorOptions(app, &words->color);
  AddJobOptions(app, &words->job, JobOutput::Picture);
  app->footer(
      "Example:\n  vx composite sky.png --layer plane.png --at 40,-12 --opacity 0.8 \\\n"
      "      --layer haze.png --mode screen --mask ground.png --mask-use inverse-luma -o out.png");
  return {app, [words, layers] { return Run(*words, *layers); }};
}

}  // namespace vxcli

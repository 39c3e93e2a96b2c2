// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx composite: layers drawn over a background, in the order given.

#include <algorithm>
#include <chrono>
#include <memory>

#include "Console.h"
#include "Errors.h"
#include "Job.h"
#include "Layers.h"
#include "VX/VX_Transfer.h"
#include "VXIO/VXIO_Picture.h"
#include "Verbs.h"

namespace vxcli {

namespace {

struct CompositeWords {
  std::string background, depth = "keep";
  JobWords job;
  LayerWords layer_help;  // layers are parsed one by one, see Layers.h
};

// Where a layer's pictures stand among the inputs of the job; the background is the first.
struct Places {
  size_t file, mask;
};

// The deepest of the pictures that are drawn. Masks do not count. Headers only, so that a file that
// cannot be read is known before any work is done.
int32_t DeepestOf(const JobFrame& frame, const std::vector<Layer>& layers,
                  const std::vector<Places>& places) {
  int32_t depth = VXIO_ReadInfo(frame.Input(0)).depth;
  for (size_t i = 0; i < layers.size(); ++i) {
    depth = std::max(depth, VXIO_ReadInfo(frame.Input(places[i].file)).depth);
    if (!layers[i].mask.empty()) VXIO_ReadInfo(frame.Input(places[i].mask));
  }
  return depth;
}

struct Mask {
  VXIO_WorldPtr world;
  VX_MaskSpec spec{};
};

Mask ReadMask(const Layer& layer, size_t place, int32_t depth, const VX_World& below,
              JobFrame* frame) {
  VXIO_Picture picture = frame->Read(place);
  const std::string& file = frame->Input(place);
  int32_t own = VXp_WorldDepth(picture.world.get());
  if (own != depth) {
    Note(file + ": mask converted from " + std::to_string(own) + " to " + std::to_string(depth) +
         " bits a channel, the depth of its layer");
  }
  Mask mask;
  mask.world = VXIO_ConvertDepth(std::move(picture.world), depth);
  mask.spec.world = mask.world.get();
  mask.spec.offsetH = static_cast<int16_t>(layer.mask_at.x);
  mask.spec.offsetV = static_cast<int16_t>(layer.mask_at.y);
  mask.spec.what = layer.mask_use.value_or(picture.has_alpha ? VX_MaskUse_Alpha : VX_MaskUse_Luma);
  if (mask.world->width != below.width || mask.world->height != below.height) {
    Note(file + ": mask is " + std::to_string(mask.world->width) + " x " +
         std::to_string(mask.world->height) + ", the background " + std::to_string(below.width) +
         " x " + std::to_string(below.height) + "; outside of the mask it counts as " +
         (mask.spec.what & 1 ? "full" : "0"));
  }
  return mask;
}

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
nlohmann::ordered_json Draw(const Layer& layer, size_t index, const Places& place, int32_t depth,
                            JobFrame* frame, VX_World* below) {
  VXIO_Picture picture = frame->Read(place.file, depth);
  const std::string& file = frame->Input(place.file);
  Mask mask;
  if (!layer.mask.empty()) mask = ReadMask(layer, place.mask, depth, *below, frame);
  if (!Touches(layer, *picture.world, *below)) {
    Note(file + ": lies wholly outside the background; nothing is drawn");
  }
  VX_CompositeModePlus mode(layer.mode.number, static_cast<float>(layer.opacity),
                            /*linear_tables=*/nullptr, layer.keep_alpha, layer.seed);
  auto start = std::chrono::steady_clock::now();
  Check(VX_TransferRect(frame->Progress(), /*quality=*/1, /*flags=*/0, layer.field,
                        layer.rect ? &*layer.rect : nullptr, picture.world.get(), &mode,
                        /*tables=*/nullptr, mask.world ? &mask.spec : nullptr, layer.at.x,
                        layer.at.y, below),
        "layer " + std::to_string(index + 1) + " (" + file + ")");
  std::chrono::duration<double, std::milli> spent = std::chrono::steady_clock::now() - start;
  nlohmann::ordered_json told = {{"file", file},
                                 {"mode", layer.mode.name},
                                 {"mode_number", layer.mode.number},
                                 {"opacity", layer.opacity},
                                 {"at", {layer.at.x, layer.at.y}},
                                 {"milliseconds", spent.count()}};
  if (mask.world) {
    told["mask"] = frame->Input(place.mask);
    told["mask_use"] = MaskUseName(mask.spec.what);
  }
  return told;
}

void WorkOn(const std::vector<Layer>& layers, const std::vector<Places>& places, int32_t depth,
            JobFrame* frame) {
  const int32_t deepest = DeepestOf(*frame, layers, places);
  if (depth == 0) depth = deepest;
  VXIO_Picture background = frame->Read(0, depth);
  nlohmann::ordered_json& told = frame->Told();
  told = {{"width", background.world->width},
          {"height", background.world->height},
          {"depth", depth},
          {"layers", nlohmann::ordered_json::array()}};
  for (size_t i = 0; i < layers.size(); ++i) {
    told["layers"].push_back(Draw(layers[i], i, places[i], depth, frame, background.world.get()));
  }
  frame->Write(*background.world, background);
}

// The background stays, one layer and its mask at a time come to it; each may exist at two depths
// while it is read.
int64_t BytesOf(const std::vector<VXIO_Info>& infos, const std::vector<Places>& places,
                int32_t depth) {
  for (const VXIO_Info& info : infos) depth = std::max(depth, info.depth);
  auto twice = [&](size_t input) {
    return 2 * BytesOfWorld(infos[input].width, infos[input].height, depth);
  };
  int64_t most = 0;
  for (const Places& place : places) {
    most = std::max(most, twice(place.file) + (place.mask ? twice(place.mask) : 0));
  }
  return twice(0) + most;
}

int Run(const CompositeWords& words, const std::vector<std::vector<std::string>>& groups) {
  const int32_t depth = ParseDepth(words.depth, Keep::Allowed);
  if (groups.empty()) throw UsageError("composite: needs at least one --layer FILE");
  std::vector<Layer> layers;
  for (const auto& group : groups) layers.push_back(ParseLayer(group));
  Job job;
  job.words = &words.job;
  job.settings = "composite depth=" + words.depth;
  job.inputs = {words.background};
  std::vector<Places> places;
  for (size_t i = 0; i < layers.size(); ++i) {
    places.push_back({job.inputs.size(), 0});
    job.inputs.push_back(layers[i].file);
    if (!layers[i].mask.empty()) {
      places[i].mask = job.inputs.size();
      job.inputs.push_back(layers[i].mask);
    }
    for (const std::string& word : groups[i]) job.settings += "\n" + word;
  }
  job.bytes = [&](const std::vector<VXIO_Info>& infos) { return BytesOf(infos, places, depth); };
  job.work = [&](JobFrame& frame) { WorkOn(layers, places, depth, &frame); };
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
  AddJobOptions(app, &words->job, JobOutput::Picture);
  app->footer(
      "Example:\n  vx composite sky.png --layer plane.png --at 40,-12 --opacity 0.8 \\\n"
      "      --layer haze.png --mode screen --mask ground.png --mask-use inverse-luma -o out.png");
  return {app, [words, layers] { return Run(*words, *layers); }};
}

}  // namespace vxcli

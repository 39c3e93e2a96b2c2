// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx composite: layers drawn over a background, in the order given.

#include <algorithm>
#include <chrono>
#include <memory>

#include "Console.h"
#include "Errors.h"
#include "Layers.h"
#include "VX/VX_Transfer.h"
#include "VXIO/VXIO_Picture.h"
#include "Verbs.h"

namespace vxcli {

namespace {

struct CompositeWords {
  std::string background, output, depth = "keep", progress = "auto";
  bool overwrite = false, no_clobber = false, json = false;
  LayerWords layer_help;  // layers are parsed one by one, see Layers.h
};

std::string Named(size_t index, const Layer& layer) {
  return "layer " + std::to_string(index + 1) + " (" + layer.file + ")";
}

// For progress, where room is short.
std::string BaseName(const std::string& path) { return path.substr(path.rfind('/') + 1); }

// The deepest of the pictures that are drawn. Masks do not count. Headers only, so that a file that
// cannot be read is known before any work is done.
int32_t DeepestOf(const std::string& background, const std::vector<Layer>& layers) {
  int32_t depth = VXIO_ReadInfo(background).depth;
  for (const Layer& layer : layers) {
    depth = std::max(depth, VXIO_ReadInfo(layer.file).depth);
    if (!layer.mask.empty()) VXIO_ReadInfo(layer.mask);
  }
  return depth;
}

struct Mask {
  VXIO_WorldPtr world;
  VX_MaskSpec spec{};
};

Mask ReadMask(const Layer& layer, int32_t depth, const VX_World& below) {
  VXIO_Picture picture = VXIO_Read(layer.mask);
  Warn(picture.warnings);
  int32_t own = VXp_WorldDepth(picture.world.get());
  if (own != depth) {
    Note(layer.mask + ": mask converted from " + std::to_string(own) + " to " +
         std::to_string(depth) + " bits a channel, the depth of its layer");
  }
  Mask mask;
  mask.world = VXIO_ConvertDepth(std::move(picture.world), depth);
  mask.spec.world = mask.world.get();
  mask.spec.offsetH = static_cast<int16_t>(layer.mask_at.x);
  mask.spec.offsetV = static_cast<int16_t>(layer.mask_at.y);
  mask.spec.what = layer.mask_use.value_or(picture.has_alpha ? VX_MaskUse_Alpha : VX_MaskUse_Luma);
  if (mask.world->width != below.width || mask.world->height != below.height) {
    Note(layer.mask + ": mask is " + std::to_string(mask.world->width) + " x " +
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
nlohmann::ordered_json Draw(const Layer& layer, const std::string& name, int32_t depth,
                            Progress* progress, VX_World* below) {
  VXIO_Picture picture = VXIO_Read(layer.file, depth);
  Warn(picture.warnings);
  Mask mask;
  if (!layer.mask.empty()) mask = ReadMask(layer, depth, *below);
  if (!Touches(layer, *picture.world, *below)) {
    Note(layer.file + ": lies wholly outside the background; nothing is drawn");
  }
  VX_CompositeModePlus mode(layer.mode.number, static_cast<float>(layer.opacity),
                            /*linear_tables=*/nullptr, layer.keep_alpha, layer.seed);
  auto start = std::chrono::steady_clock::now();
  Check(VX_TransferRect(progress->Info(), /*quality=*/1, /*flags=*/0, layer.field,
                        layer.rect ? &*layer.rect : nullptr, picture.world.get(), &mode,
                        /*tables=*/nullptr, mask.world ? &mask.spec : nullptr, layer.at.x,
                        layer.at.y, below),
        name);
  std::chrono::duration<double, std::milli> spent = std::chrono::steady_clock::now() - start;
  nlohmann::ordered_json told = {{"file", layer.file},
                                 {"mode", layer.mode.name},
                                 {"mode_number", layer.mode.number},
                                 {"opacity", layer.opacity},
                                 {"at", {layer.at.x, layer.at.y}},
                                 {"milliseconds", spent.count()}};
  if (mask.world) {
    told["mask"] = layer.mask;
    told["mask_use"] = MaskUseName(mask.spec.what);
  }
  return told;
}

int Run(const CompositeWords& words, const std::vector<std::vector<std::string>>& groups) {
  int32_t depth = ParseDepth(words.depth, Keep::Allowed);
  auto style =
      static_cast<Progress::Style>(ParseChoice("--progress", words.progress, ProgressStyles()));
  if (groups.empty()) throw UsageError("composite: needs at least one --layer FILE");
  std::vector<Layer> layers;
  for (const auto& group : groups) layers.push_back(ParseLayer(group));
  auto clobber = words.no_clobber ? VXIO_Clobber::Refuse : VXIO_Clobber::Overwrite;

  Progress progress(style);
  nlohmann::ordered_json told;
  RunWith(&progress, [&] {
    VXIO_CheckOutput(words.output, clobber);
    int32_t deepest = DeepestOf(words.background, layers);
    if (depth == 0) depth = deepest;
    const int steps = static_cast<int>(layers.size()) + 2;
    progress.Begin(0, steps, "read " + BaseName(words.background));
    VXIO_Picture background = VXIO_Read(words.background, depth);
    Warn(background.warnings);
    told = {{"output", words.output},
            {"width", background.world->width},
            {"height", background.world->height},
            {"depth", depth},
            {"layers", nlohmann::ordered_json::array()}};
    for (size_t i = 0; i < layers.size(); ++i) {
      std::string name = Named(i, layers[i]);
      progress.Begin(static_cast<int>(i) + 1, steps, "draw " + BaseName(layers[i].file));
      told["layers"].push_back(Draw(layers[i], name, depth, &progress, background.world.get()));
    }
    progress.Begin(steps - 1, steps, "write " + BaseName(words.output));
    Warn(VXIO_Write(words.output, *background.world,
                    {background.metadata, background.has_alpha, clobber}));
    progress.Done(words.output);
  });
  if (words.json) PrintJson(told);
  return kDone;
}

}  // namespace

Verb AddComposite(CLI::App* root, const std::vector<std::vector<std::string>>* layers) {
  auto words = std::make_shared<CompositeWords>();
  CLI::App* app = root->add_subcommand("composite", "Draw layers over a background picture");
  app->add_option("BACKGROUND", words->background,
                  "Picture that the layers are drawn on, in the order given; its size, profile and "
                  "metadata are kept")
      ->type_name("FILE")
      ->required();
  AddLayerOptions(app, &words->layer_help);
  app->add_option("-o,--output", words->output,
                  "Picture to write; the extension decides the format")
      ->type_name("OUT")
      ->required();
  app->add_option("--depth", words->depth,
                  "8, 16, 32 or keep: bits a channel to work in; keep is the deepest of background "
                  "and layers [keep]")
      ->type_name("BITS");
  auto* overwrite =
      app->add_flag("--overwrite", words->overwrite, "Replace OUT when it exists [yes]");
  app->add_flag("--no-clobber", words->no_clobber, "Refuse when OUT exists")->excludes(overwrite);
  app->add_option(
         "--progress", words->progress,
         "auto, bar, plain, json or none, on the standard error; auto is bar on a terminal "
         "[auto]")
      ->type_name("HOW");
  app->add_flag("--json", words->json, "Print what was done as JSON");
  app->footer(
      "Example:\n  vx composite sky.png --layer plane.png --at 40,-12 --opacity 0.8 \\\n"
      "      --layer haze.png --mode screen --mask ground.png --mask-use inverse-luma -o out.png");
  return {app, [words, layers] { return Run(*words, *layers); }};
}

}  // namespace vxcli

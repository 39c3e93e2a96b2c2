// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "LayerPictures.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "Console.h"
#include "Errors.h"

namespace vxcli {

LayerInputs AddInputs(const std::string& file, const DrawOptions& options,
                      std::vector<std::string>* inputs) {
  LayerInputs added{inputs->size()};
  inputs->push_back(file);
  if (!options.mask.empty()) {
    added.mask = inputs->size();
    inputs->push_back(options.mask);
  }
  if (!options.matte.empty()) {
    added.matte = inputs->size();
    inputs->push_back(options.matte);
  }
  return added;
}

std::vector<int32_t> DepthsOf(const JobFrame& frame, const std::vector<LayerInputs>& layers) {
  std::vector<int32_t> depths;
  if (layers.at(0).file > 0) depths.push_back(VXIO_ReadInfo(frame.Input(0)).depth);
  for (const LayerInputs& layer : layers) {
    depths.push_back(VXIO_ReadInfo(frame.Input(layer.file)).depth);
    for (const size_t weight : {layer.mask, layer.matte}) {
      if (weight == 0) continue;
      VXIO_ReadInfo(frame.Input(weight));
      depths.push_back(0);
    }
  }
  return depths;
}

int64_t BytesOfLayer(const std::vector<VXIO_Info>& infos, const LayerInputs& layer, int32_t depth) {
  const auto twice = [&](size_t input) {
    return 2 * BytesOfWorld(infos[input].width, infos[input].height, depth);
  };
  return twice(layer.file) +
         std::max(layer.mask ? twice(layer.mask) : 0, layer.matte ? twice(layer.matte) : 0);
}

Mask ReadMask(const DrawOptions& options, size_t input, const VX_World& below, JobFrame* frame) {
  VXIO_Picture picture = frame->Read(input);
  const std::string& file = frame->Input(input);
  const int32_t depth = below.Depth(), own = VXp_WorldDepth(picture.world.get());
  if (own != depth) {
    Note(file + ": mask converted from " + std::to_string(own) + " to " + std::to_string(depth) +
         " bits a channel, the depth of its layer");
  }
  Mask mask;
  mask.world = VXIO_ConvertDepth(std::move(picture.world), depth);
  mask.spec.world = mask.world.get();
  mask.spec.offsetH = static_cast<int16_t>(options.mask_at.value_or(Point{}).x);
  mask.spec.offsetV = static_cast<int16_t>(options.mask_at.value_or(Point{}).y);
  mask.spec.what =
      options.mask_use.value_or(picture.has_alpha ? VX_MaskUse_Alpha : VX_MaskUse_Luma);
  if (mask.world->width != below.width || mask.world->height != below.height) {
    Note(file + ": mask is " + std::to_string(mask.world->width) + " x " +
         std::to_string(mask.world->height) + ", the background " + std::to_string(below.width) +
         " x " + std::to_string(below.height) + "; outside of the mask it counts as " +
         (mask.spec.what & 1 ? "full" : "0"));
  }
  return mask;
}

// Multiplies the layer's alpha by its matte.
void ApplyMatte(const DrawOptions& options, size_t input, JobFrame* frame, VX_World* world,
                nlohmann::ordered_json* record) {
  const std::string& file = frame->Input(input);
  const VXIO_Picture picture = frame->Read(input, world->Depth());
  const int32_t use =
      options.matte_use.value_or(picture.has_alpha ? VX_Matte_Alpha : VX_Matte_Luma);
  if (picture.world->width != world->width || picture.world->height != world->height) {
    Note(file + ": matte is " + std::to_string(picture.world->width) + " x " +
         std::to_string(picture.world->height) + ", its layer " + std::to_string(world->width) +
         " x " + std::to_string(world->height) + "; outside of the matte it counts as " +
         (use & 1 ? "full" : "0"));
  }
  const UnoPtr matte = MatteOfSize(*picture.world, use, world->width, world->height, file);
  Soften(options.feather, frame->Progress(), matte.get(), file);
  Check(VX_MergeMaskAlpha(frame->Progress(), 0, 0, nullptr, matte.get(), nullptr, world), file);
  (*record)["matte"] = file;
  (*record)["matte_use"] = MatteUses()[static_cast<size_t>(use)];
}

}  // namespace vxcli

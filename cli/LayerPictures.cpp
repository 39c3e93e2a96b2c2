// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "LayerPictures.h"

#include <algorithm>

#include "Console.h"
#include "Errors.h"

namespace vxcli {

LayerInputs AddInputs(const std::string& file, const Drawing& drawing,
                      std::vector<std::string>* inputs) {
  LayerInputs places{inputs->size()};
  inputs->push_back(file);
  if (!drawing.mask.empty()) {
    places.mask = inputs->size();
    inputs->push_back(drawing.mask);
  }
  if (!drawing.matte.empty()) {
    places.matte = inputs->size();
    inputs->push_back(drawing.matte);
  }
  return places;
}

std::vector<int32_t> DepthsOf(const JobFrame& frame, const std::vector<LayerInputs>& places) {
  std::vector<int32_t> depths;
  if (places.at(0).file > 0) depths.push_back(VXIO_ReadInfo(frame.Input(0)).depth);
  for (const LayerInputs& place : places) {
    depths.push_back(VXIO_ReadInfo(frame.Input(place.file)).depth);
    for (const size_t weight : {place.mask, place.matte}) {
      if (weight == 0) continue;
      VXIO_ReadInfo(frame.Input(weight));
      depths.push_back(0);
    }
  }
  return depths;
}

int64_t BytesOfLayer(const std::vector<VXIO_Info>& infos, const LayerInputs& place, int32_t depth) {
  const auto twice = [&](size_t input) {
    return 2 * BytesOfWorld(infos[input].width, infos[input].height, depth);
  };
  return twice(place.file) +
         std::max(place.mask ? twice(place.mask) : 0, place.matte ? twice(place.matte) : 0);
}

Mask ReadMask(const Drawing& drawing, size_t place, const VX_World& below, JobFrame* frame) {
  VXIO_Picture picture = frame->Read(place);
  const std::string& file = frame->Input(place);
  const int32_t depth = below.Depth(), own = VXp_WorldDepth(picture.world.get());
  if (own != depth) {
    Note(file + ": mask converted from " + std::to_string(own) + " to " + std::to_string(depth) +
         " bits a channel, the depth of its layer");
  }
  Mask mask;
  mask.world = VXIO_ConvertDepth(std::move(picture.world), depth);
  mask.spec.world = mask.world.get();
  mask.spec.offsetH = static_cast<int16_t>(drawing.mask_at.x);
  mask.spec.offsetV = static_cast<int16_t>(drawing.mask_at.y);
  mask.spec.what =
      drawing.mask_use.value_or(picture.has_alpha ? VX_MaskUse_Alpha : VX_MaskUse_Luma);
  if (mask.world->width != below.width || mask.world->height != below.height) {
    Note(file + ": mask is " + std::to_string(mask.world->width) + " x " +
         std::to_string(mask.world->height) + ", the background " + std::to_string(below.width) +
         " x " + std::to_string(below.height) + "; outside of the mask it counts as " +
         (mask.spec.what & 1 ? "full" : "0"));
  }
  return mask;
}

// Multiplies the layer's alpha by its matte.
void ApplyMatte(const Drawing& drawing, size_t place, JobFrame* frame, VX_World* world,
                nlohmann::ordered_json* told) {
  const std::string& file = frame->Input(place);
  const VXIO_Picture picture = frame->Read(place, world->Depth());
  const int32_t use =
      drawing.matte_use.value_or(picture.has_alpha ? VX_Matte_Alpha : VX_Matte_Luma);
  if (picture.world->width != world->width || picture.world->height != world->height) {
    Note(file + ": matte is " + std::to_string(picture.world->width) + " x " +
         std::to_string(picture.world->height) + ", its layer " + std::to_string(world->width) +
         " x " + std::to_string(world->height) + "; beyond the matte it counts as " +
         (use & 1 ? "full" : "0"));
  }
  const UnoPtr matte = MatteOfSize(*picture.world, use, world->width, world->height, file);
  Soften(drawing.feather, frame->Progress(), matte.get(), file);
  Check(VX_MergeMaskAlpha(frame->Progress(), 0, 0, nullptr, matte.get(), nullptr, world), file);
  (*told)["matte"] = file;
  (*told)["matte_use"] = MatteUseName(use);
}

}  // namespace vxcli

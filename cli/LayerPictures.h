// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The inputs of a job that a layer is drawn from: its picture, its mask and its matte.

#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "Job.h"
#include "Layers.h"

namespace vxcli {

// Indices of inputs; 0 for no mask or no matte.
struct LayerInputs {
  size_t file, mask = 0, matte = 0;
};

// Adds the files of a layer to the inputs.
LayerInputs AddInputs(const std::string& file, const DrawOptions& options,
                      std::vector<std::string>* inputs);

// The depths of the frame's files, in their order, 0 for masks and mattes. The first file is the
// background or, if there is none, the first layer. Reads only headers, to find files that cannot
// be read before any work is done.
std::vector<int32_t> DepthsOf(const JobFrame& frame, const std::vector<LayerInputs>& layers);

// The bytes held while a layer is drawn: the layer and its mask or matte, each at two depths.
int64_t BytesOfLayer(const std::vector<VXIO_Info>& infos, const LayerInputs& layer, int32_t depth);

struct Mask {
  VXIO_WorldPtr world;
  VX_MaskSpec spec{};
};

// Reads the mask of a layer that is drawn on `below`.
Mask ReadMask(const DrawOptions& options, size_t input, const VX_World& below, JobFrame* frame);

// Multiplies the layer's alpha by its matte. `record` is that of the layer.
void ApplyMatte(const DrawOptions& options, size_t input, JobFrame* frame, VX_World* world,
                nlohmann::ordered_json* record);

}  // namespace vxcli

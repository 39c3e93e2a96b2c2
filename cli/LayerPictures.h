// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The pictures that a layer is drawn from, among the inputs of a job: itself, its mask, its matte.

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "Job.h"
#include "Layers.h"

namespace vxcli {

// Their places among the inputs; for mask and matte 0 stands for none.
struct LayerInputs {
  size_t file, mask = 0, matte = 0;
};

// Adds them to the inputs.
LayerInputs AddInputs(const std::string& file, const Drawing& drawing,
                      std::vector<std::string>* inputs);

// The depths of the frame's files, in their order, 0 for masks and mattes. The first file is the
// background or, where there is none, the first layer. Headers only, so that a file that cannot be
// read is known before any work is done.
std::vector<int32_t> DepthsOf(const JobFrame& frame, const std::vector<LayerInputs>& places);

// Bytes while a layer is drawn: it and its mask or matte, each at two depths while it is read.
int64_t BytesOfLayer(const std::vector<VXIO_Info>& infos, const LayerInputs& place, int32_t depth);

struct Mask {
  VXIO_WorldPtr world;
  VX_MaskSpec spec{};
};

// `below` is what the layer is drawn on.
Mask ReadMask(const Drawing& drawing, size_t place, const VX_World& below, JobFrame* frame);

// Multiplies the layer's alpha by its matte. `told` is what the frame tells about the layer.
void ApplyMatte(const Drawing& drawing, size_t place, JobFrame* frame, VX_World* world,
                nlohmann::ordered_json* told);

}  // namespace vxcli

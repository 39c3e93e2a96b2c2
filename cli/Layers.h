// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The layers of `vx composite` and the layer of `vx transform`: options, and the pictures, masks
// and mattes that they are drawn from.

#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "Job.h"
#include "VX/cpp/Composite.hpp"
#include "VX/cpp/Mask.hpp"

namespace vxcli {

// --- options -------------------------------------------------------------------------------------

// The names of vx::Matte and of vx::Feather, in their order.
const std::vector<std::string>& MatteUses();
const std::vector<std::string>& FeatherKinds();

inline constexpr double kLargestFeather = 32767;

struct FeatherSettings {
  std::optional<double> radius;
  std::optional<vx::Feather> kind;  // vx::Feather::soft without one
};
// Throws UsageError for a kind without a radius.
void CheckFeather(const FeatherSettings& feather);
void Soften(const FeatherSettings& feather, const vx::Progress& progress, vx::MaskBuffer* matte);

// How a layer is drawn.
struct DrawOptions {
  vx::Mode mode = vx::Mode::in_front;
  double opacity = 1;
  int32_t seed = 0;
  bool keep_alpha = false;
  std::string mask;
  std::optional<vx::MaskUse> mask_use;  // the default depends on the mask
  std::optional<vx::Point> mask_at;
  vx::Field field = vx::Field::both;
  std::string matte;                   // a picture that the alpha of the layer is multiplied by
  std::optional<vx::Matte> matte_use;  // the default depends on the matte
  FeatherSettings feather;             // of the matte
};

struct LayerOptions : DrawOptions {
  std::string file;
  vx::Point at;
  std::optional<vx::Rect> rect;
};

OptionList DrawOptionList(DrawOptions* to);
OptionList LayerOptionList(LayerOptions* to);

// Throws UsageError for options that need another one.
void CheckDrawOptions(const DrawOptions& options);

// --- pictures ------------------------------------------------------------------------------------

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

// Reads the mask of a layer that is drawn on `below`, at its depth, and stores it in `*picture`.
// `record` is that of the layer.
vx::Mask ReadMask(const DrawOptions& options, size_t input, const VX_World& below, JobFrame* frame,
                  VXIO_WorldPtr* picture, nlohmann::ordered_json* record);

// Multiplies the layer's alpha by its matte. `record` is that of the layer.
void ApplyMatte(const DrawOptions& options, size_t input, JobFrame* frame, VX_World* world,
                nlohmann::ordered_json* record);

// The options of a layer for vx::composite or vx::transform, and the record of the layer.
template <class Options>
Options DrawingOf(const DrawOptions& from) {
  Options to;
  to.mode = from.mode;
  to.opacity = from.opacity;
  to.keep_alpha = from.keep_alpha;
  to.field = from.field;
  to.seed = from.seed;
  return to;
}
nlohmann::ordered_json RecordOf(const std::string& file, const DrawOptions& options);

}  // namespace vxcli

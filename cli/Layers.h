// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The layers of `vx composite` and the layer of `vx transform`: their options, and reading of their
// masks and mattes.

#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "Job.h"
#include "LayerEffects.h"
#include "VX/cpp/Composite.hpp"
#include "VX/cpp/Mask.hpp"

namespace vxcli {

// --- options -------------------------------------------------------------------------------------

// Return the names of the values of vx::Matte and of vx::Feather, in the order of the enumerations.
const std::vector<std::string>& MatteUses();
const std::vector<std::string>& FeatherKinds();

inline constexpr double kLargestFeather = 32767;

struct FeatherSettings {
  std::optional<double> radius;
  std::optional<vx::Feather> kind;  // default: vx::Feather::soft
};
// Checks the options of a feather: throws UsageError if the kind is given without a radius.
void CheckFeather(const FeatherSettings& feather);
void Soften(const FeatherSettings& feather, const vx::Progress& progress, vx::MaskBuffer* matte);

// The options for drawing a layer.
struct DrawOptions {
  vx::Mode mode = vx::Mode::in_front;
  double opacity = 1;
  int32_t seed = 0;
  bool keep_alpha = false;
  std::string mask;
  std::optional<vx::MaskUse> mask_use;  // default: alpha, or luma if the mask has no alpha
  std::optional<vx::Point> mask_at;
  vx::Field field = vx::Field::both;
  std::string matte;                   // the alpha of the layer is multiplied by this picture
  std::optional<vx::Matte> matte_use;  // default: alpha, or luma if the matte has no alpha
  FeatherSettings feather;             // applied to the matte
};

struct LayerOptions : DrawOptions, EffectOptions {
  std::string file;
  VXIO_AlphaAs alpha = VXIO_AlphaAs::File;
  std::optional<vx::Rect> rect;
};

OptionList DrawOptionList(DrawOptions* to);
OptionList LayerOptionList(LayerOptions* to);

// Checks the options for drawing a layer: throws UsageError for an option that has no effect
// without another one that is not given.
void CheckDrawOptions(const DrawOptions& options);

// --- pictures ------------------------------------------------------------------------------------

// The indices of the files of a layer in the inputs of the job; 0: no mask or no matte.
struct LayerInputs {
  size_t file, mask = 0, matte = 0;
};

// Adds the files of a layer to the inputs.
LayerInputs AddInputs(const std::string& file, const DrawOptions& options,
                      std::vector<std::string>* inputs);

// Returns the depths of the files of a frame, in the order of the inputs; 0 for masks and mattes.
// The first file is the background or, if there is none, the first layer. Reads headers only.
// Throws VXIO_Error for a file that cannot be read, before any picture is processed.
std::vector<int32_t> DepthsOf(const JobFrame& frame, const std::vector<LayerInputs>& layers);

// Returns the number of bytes that are allocated while a layer is drawn: for the layer and its mask
// or matte, each before and after the conversion of the depth.
int64_t BytesOfLayer(const std::vector<VXIO_Info>& infos, const LayerInputs& layer, int32_t depth);

// Returns the windows of a picture; of a picture without metadata, such as a frame of a clip, its
// whole area.
VXIO_Windows WindowsOf(const VXIO_Picture& picture);

// Extends the world of a picture so that it contains the display window, because layers may be
// drawn anywhere in it. Pixels outside of the display window are kept.
void FrameDisplayWindow(VXIO_Picture* picture);
// Returns the number of bytes of the world after FrameDisplayWindow.
int64_t BytesOfFrame(const VXIO_Info& info, int32_t depth);

// Reads the mask of a layer that is drawn on `below`, at the depth of `below`. Stores the pixels in
// `*picture`, which must exist as long as the returned mask. Adds to `record`, the record of the
// layer.
vx::Mask ReadMask(const DrawOptions& options, size_t input, const VXIO_Picture& below,
                  JobFrame* frame, VXIO_WorldPtr* picture, nlohmann::ordered_json* record);

// Multiplies the alpha of the layer by its matte. Adds to `record`, the record of the layer.
void ApplyMatte(const DrawOptions& options, size_t input, JobFrame* frame, VXIO_Picture* layer,
                nlohmann::ordered_json* record);

// Converts options of the command to options of vx::composite or vx::transform.
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
// Returns the JSON record of a layer.
nlohmann::ordered_json RecordOf(const std::string& file, const DrawOptions& options);

}  // namespace vxcli

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Composites a picture over another in any transfer mode.

#include <cstddef>
#include <cstdint>
#include <optional>

#include "VX/VX_LightCurves.h"
#include "VX/VX_Transfer.h"
#include "VX/cpp/Mode.hpp"
#include "VX/cpp/Progress.hpp"
#include "VX/cpp/View.hpp"

namespace vx {

// The tone curves of a profile for blending in linear light, see VX_LightCurves.h and
// vx::linear_light.
using LinearLight = VX_LightCurves;

// Tables for blending in linear light, see VX_LinearBlendingTables.h and vx::linear_tables. Float
// pixels are blended by a fitted exponent, as in VX_TransferRect.
using LinearTables = VX_LinearBlendingTables;

// The option `linear`: a null pointer (the stored values are blended), the curves of a profile, or
// tables. The object must exist during the call.
class Linear {
 public:
  constexpr Linear() = default;
  constexpr Linear(std::nullptr_t) {}
  constexpr Linear(const LinearLight* light) : light_(light) {}
  constexpr Linear(const LinearTables* tables) : tables_(tables) {}

  constexpr const LinearLight* light() const { return light_; }
  constexpr const LinearTables* tables() const { return tables_; }

 private:
  const LinearLight* light_ = nullptr;
  const LinearTables* tables_ = nullptr;
};

// A picture whose pixels are the weights of the layer's pixels.
struct Mask {
  AnyConstView picture;  // has the depth of the layer
  Point at = {};         // its top left corner in the destination, each -32768..32767
  MaskUse use = MaskUse::alpha;
};

struct CompositeOptions {
  Mode mode = Mode::in_front;
  double opacity = 1;             // 0..1
  Point at = {};                  // the layer's top left corner in the destination
  std::optional<Mask> mask = {};  // none: every pixel has full weight
  Linear linear = {};             // null: blend the stored values
  bool keep_alpha = false;        // do not change the alpha of the destination
  Field field = Field::both;
  int32_t seed = 0;  // of the noise of Mode::dissolve
  Progress progress = {};
};

namespace detail {

// Converts the options that composite and transform share to the structs of the C-style interface.
class LayerRecords {
 public:
  template <class Options>
  explicit LayerRecords(const Options& options)
      : mode(static_cast<int32_t>(options.mode), static_cast<float>(options.opacity),
             options.linear.tables(), options.keep_alpha, options.seed) {
    if (!(options.opacity >= 0 && options.opacity <= 1)) refuse("the opacity is 0..1");
    if (!options.mask) return;
    mask_picture_ = options.mask->picture;
    constexpr const char* report = "the place of a mask is -32768..32767";
    mask_ = {const_cast<VX_LayerDef*>(mask_picture_.descriptor()),
             to_int16(options.mask->at.y, report), to_int16(options.mask->at.x, report),
             static_cast<int32_t>(options.mask->use)};
  }
  LayerRecords(const LayerRecords&) = delete;
  LayerRecords& operator=(const LayerRecords&) = delete;

  const VX_MaskSpec* mask() const { return mask_.world != nullptr ? &mask_ : nullptr; }

  const VX_CompositeModePlus mode;

 private:
  AnyConstView mask_picture_;
  VX_MaskSpec mask_{};
};

}  // namespace detail

// Composites a layer over the destination (VX_TransferRect; VX_TransferRectLinear with
// LinearLight). To composite a part of a picture, pass
// that part as the layer. Pixels of the layer outside of the destination are ignored. Pixels
// outside of the mask are ignored too, unless an inverse MaskUse is selected. The two stencil modes
// set alpha to 0 in the rest of the destination.
//   dst    the picture that is drawn on
//   layer  has the depth of dst
// Throws Error: bad_parameter, out_of_memory, stopped.
inline void composite(AnyView dst, AnyConstView layer, const CompositeOptions& options = {}) {
  const detail::LayerRecords records(options);
  detail::run(options.progress, [&](VX_ProgressInfo* progress) {
    if (options.linear.light() != nullptr) {
      return VX_TransferRectLinear(progress, static_cast<int32_t>(options.field),
                                   /*rect=*/nullptr, layer.descriptor(), &records.mode,
                                   options.linear.light(), records.mask(), options.at.x,
                                   options.at.y, dst.descriptor());
    }
    return VX_TransferRect(progress, /*quality=*/1, /*flags=*/0,
                           static_cast<int32_t>(options.field), /*rect=*/nullptr,
                           layer.descriptor(), &records.mode, options.linear.tables(),
                           records.mask(), options.at.x, options.at.y, dst.descriptor());
  });
}

}  // namespace vx

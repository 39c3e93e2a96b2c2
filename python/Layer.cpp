// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "Layer.h"

#include "Arguments.h"

namespace vxpy {

namespace {

VX_CompositeModePlus ModeOf(const LayerArguments& args, const VX_LinearBlendingTables* tables) {
  return {ParseMode(args.mode), static_cast<float>(ParseNumber("opacity", args.opacity, 0, 1)),
          tables, ParseFlag("keep_alpha", args.keep_alpha),
          static_cast<int32_t>(ParseWhole("seed", args.seed, INT32_MIN, INT32_MAX))};
}

}  // namespace

LayerArguments::LayerArguments(const py::tuple& args)
    : mode(args[0]),
      opacity(args[1]),
      mask(args[2]),
      mask_use(args[3]),
      mask_at(args[4]),
      linear(args[5]),
      tables(args[6]),
      keep_alpha(args[7]),
      seed(args[8]),
      field(args[9]) {}

Layer::Layer(const LayerArguments& args, const Source& below, Order order)
    : curves_(ParseLinear(args.linear)),
      tables_(ParseTables(args.tables)),
      mode_(ModeOf(args, tables_.get())),
      field_(ParseField(args.field)) {
  if (curves_ != nullptr && tables_ != nullptr) {
    throw py::value_error("linear: not together with tables");
  }
  if (args.mask.is_none()) return;
  mask_.emplace(args.mask, order, "mask");
  RequireSameDepth(*below.world(), *mask_->world(), "dst", "mask");
  const M_Point at = ParsePoint("mask_at", args.mask_at);
  spec_.offsetH = at.h;
  spec_.offsetV = at.v;
  spec_.what =
      ParseChoice("mask_use", args.mask_use, {"alpha", "inverse-alpha", "luma", "inverse-luma"});
  // The values of a grey mask are the weights. Its alpha is full scale everywhere.
  if (mask_->is_grey() && spec_.what == VX_MaskUse_Alpha) spec_.what = VX_MaskUse_Luma;
  if (mask_->is_grey() && spec_.what == VX_MaskUse_InverseAlpha) {
    spec_.what = VX_MaskUse_InverseLuma;
  }
}

const VX_MaskSpec* Layer::MaskFor(const Target& target) {
  if (!mask_) return nullptr;
  mask_world_ = target.WithoutOverlap(*mask_);
  spec_.world = mask_world_->get();
  return &spec_;
}

}  // namespace vxpy

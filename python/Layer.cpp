// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "Layer.h"

#include "Arguments.h"

namespace vxpy {

namespace {

VX_CompositeModePlus ModeOf(const LayerWords& words, const VX_LinearBlendingTables* tables) {
  return {ParseMode(words.mode), static_cast<float>(ParseNumber("opacity", words.opacity, 0, 1)),
          tables, ParseFlag("keep_alpha", words.keep_alpha),
          static_cast<int32_t>(ParseWhole("seed", words.seed, INT32_MIN, INT32_MAX))};
}

}  // namespace

LayerWords::LayerWords(const py::tuple& words)
    : mode(words[0]),
      opacity(words[1]),
      mask(words[2]),
      mask_use(words[3]),
      mask_at(words[4]),
      tables(words[5]),
      keep_alpha(words[6]),
      seed(words[7]),
      field(words[8]) {}

Layer::Layer(const LayerWords& words, const Source& below, Order order)
    : tables_(ParseTables(words.tables)),
      mode_(ModeOf(words, tables_.get())),
      field_(ParseField(words.field)) {
  if (words.mask.is_none()) return;
  mask_.emplace(words.mask, order, "mask");
  RequireSameDepth(*below.world(), *mask_->world(), "dst", "mask");
  const M_Point at = ParsePoint("mask_at", words.mask_at);
  spec_.offsetH = at.h;
  spec_.offsetV = at.v;
  spec_.what =
      ParseChoice("mask_use", words.mask_use, {"alpha", "inverse-alpha", "luma", "inverse-luma"});
}

const VX_MaskSpec* Layer::MaskFor(const Target& target) {
  if (!mask_) return nullptr;
  mask_world_ = target.Apart(*mask_);
  spec_.world = mask_world_->get();
  return &spec_;
}

}  // namespace vxpy

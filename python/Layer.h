// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// What transfer and transform have in common: how one picture is laid over another.

#include <optional>

#include "LinearTables.h"
#include "Pictures.h"
#include "VX/VX_Transfer.h"

namespace vxpy {

// (mode, opacity, mask, mask_use, mask_at, tables, keep_alpha, seed, field) as they were given.
struct LayerWords {
  explicit LayerWords(const py::tuple& words);
  py::object mode, opacity, mask, mask_use, mask_at, tables, keep_alpha, seed, field;
};

class Layer {
 public:
  // `below` is what the layer comes over.
  Layer(const LayerWords& words, const Source& below, Order order);

  const VX_CompositeModePlus& mode() const { return mode_; }
  const VX_LinearBlendingTables* tables() const { return tables_.get(); }
  int32_t field() const { return field_; }

  // The mask, readable while the target is written; null without one. Lives as long as the layer.
  const VX_MaskSpec* MaskFor(const Target& target);

 private:
  LinearTablesPtr tables_;
  VX_CompositeModePlus mode_;
  int32_t field_;
  std::optional<Source> mask_;
  VX_MaskSpec spec_{};
  WorldPtr mask_world_;
};

}  // namespace vxpy

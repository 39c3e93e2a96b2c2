// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The arguments that transfer() and transform() share: how one picture is drawn over another.

#include <optional>

#include "LinearTables.h"
#include "Pictures.h"
#include "VX/VX_Transfer.h"

namespace vxpy {

// The arguments (mode, opacity, mask, mask_use, mask_at, linear, tables, keep_alpha, seed, field)
// as Python objects.
struct LayerArguments {
  explicit LayerArguments(const py::tuple& args);
  py::object mode, opacity, mask, mask_use, mask_at, linear, tables, keep_alpha, seed, field;
};

class Layer {
 public:
  // `below` is the picture over which the layer is drawn.
  Layer(const LayerArguments& args, const Source& below, Order order);

  const VX_CompositeModePlus& mode() const { return mode_; }
  // At most one of both is not null.
  const VX_LightCurves* curves() const { return curves_.get(); }
  const VX_LinearBlendingTables* tables() const { return tables_.get(); }
  int32_t field() const { return field_; }

  // Returns the mask, or null if there is none. If its pixels overlap the target's, it is a copy.
  // The Layer object owns it.
  const VX_MaskSpec* MaskFor(const Target& target);

 private:
  LightCurvesPtr curves_;
  LinearTablesPtr tables_;
  VX_CompositeModePlus mode_;
  int32_t field_;
  std::optional<Source> mask_;
  VX_MaskSpec spec_{};
  WorldPtr mask_world_;
};

}  // namespace vxpy

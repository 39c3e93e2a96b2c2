// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Profiles, and the arguments for linear light.

#include "Arguments.h"
#include "Pictures.h"
#include "VX/VX_ColorSettings.h"
#include "VX/VX_LightCurves.h"

namespace vxpy {

using LightCurvesPtr = boost::shared_ptr<const VX_LightCurves>;

// vx.Profile. The curves are made when the profile is first used for linear light; the
// interpreter's lock protects them.
struct Profile {
  COR_QCE_ProfilePtr profile;
  mutable LightCurvesPtr curves = nullptr;
};

using LinearTablesPtr = boost::shared_ptr<const VX_LinearBlendingTables>;

// The object behind vx.LinearTables.
struct LinearTables {
  LinearTablesPtr tables;
};

// Returns the tables of a vx.LinearTables, or null for None.
inline LinearTablesPtr ParseTables(const py::object& tables) {
  if (tables.is_none()) return nullptr;
  return ParseObject<LinearTables>("tables", tables).tables;
}

// Returns the curves of a vx.Profile, or null for None.
LightCurvesPtr ParseLinear(const py::object& linear);

}  // namespace vxpy

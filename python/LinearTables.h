// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The tables for linear light as an argument.

#include "Arguments.h"
#include "Pictures.h"
#include "VX/VX_ColorSettings.h"

namespace vxpy {

using LinearTablesPtr = boost::shared_ptr<const VX_LinearBlendingTables>;

// vx.LinearTables.
struct LinearTables {
  LinearTablesPtr tables;
};

// A vx.LinearTables, or None for null.
inline LinearTablesPtr ParseTables(const py::object& tables) {
  if (tables.is_none()) return nullptr;
  return ParseObject<LinearTables>("tables", tables).tables;
}

}  // namespace vxpy

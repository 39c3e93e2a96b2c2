// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Parses tables for linear light.

#include "Arguments.h"
#include "Pictures.h"
#include "VX/VX_ColorSettings.h"

namespace vxpy {

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

}  // namespace vxpy

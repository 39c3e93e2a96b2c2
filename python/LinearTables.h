// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Tables for linear light as an argument.

#include "Arguments.h"
#include "Pictures.h"
#include "VX/VX_ColorSettings.h"

namespace vxpy {

using LinearTablesPtr = boost::shared_ptr<const VX_LinearBlendingTables>;

// vx.LinearTables.
struct LinearTables {
  LinearTablesPtr tables;
};

// Accepts a vx.LinearTables, or None, which gives null.
inline LinearTablesPtr ParseTables(const py::object& tables) {
  if (tables.is_none()) return nullptr;
  return ParseObject<LinearTables>("tables", tables).tables;
}

}  // namespace vxpy

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Marks the classes, functions and variables that libVX exports. All other symbols are hidden.

#define VX_API __attribute__((visibility("default")))

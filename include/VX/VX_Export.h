// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Exported from libVX; everything else is hidden.

#define VX_API __attribute__((visibility("default")))

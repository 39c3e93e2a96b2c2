// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Marks what libVXIO exports. Everything else is hidden.

#define VXIO_API __attribute__((visibility("default")))

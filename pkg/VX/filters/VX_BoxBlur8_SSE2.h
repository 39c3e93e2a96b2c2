// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// SSE2 twin of the 8-bit box pass, for premultiplied output. It gives the bits of the plain pass.

#include "filters/VXp_BoxWindow.h"

// Throws 3 after a report for straight output, which it does not make.
void VXp_BoxBlurPass8_SSE2(const VXp_BoxPass& pass);

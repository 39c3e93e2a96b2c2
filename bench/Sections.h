// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The sections of the benchmark. Each prints its table, and gives false when a contestant's result
// or a count is wrong. Times are shown and never judged. The library must be born.

#include "Options.h"

bool RunComposite(const Options& options);
bool RunModes(const Options& options);

// Before the birth: sets the host's sources of memory, so that allocations can be counted later.
void CountAllocations();
bool RunScratch();

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "frameblend/high/FnFlow.h"

// Refines a field of the size of both pictures by the method of variations.
void FnRefineFlow(const FnGrey& from, const FnGrey& to, const FnFlowSettings& settings,
                  FnInterruptState* interrupt, FnFlowMap* field);

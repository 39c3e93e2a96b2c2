// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Ends the threads that wait for stages of frame blending. VX_Death calls it; the next stage
// creates new ones.
void VXp_EndMotionThreads();

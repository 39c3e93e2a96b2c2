// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// What the verbs on the motion between two pictures share.

#include <string>
#include <vector>

#include "Job.h"
#include "VX/cpp/Motion.hpp"

namespace vxcli {

// Options of the estimate. `percent` is --resolution; ResolveMotion stores it.
struct MotionArguments {
  double percent = 20;
  vx::MotionOptions motion;
};
OptionList MotionOptionList(MotionArguments* to);
void ResolveMotion(MotionArguments* arguments, const JobOptions& job);

// Reads a picture and crops or extends it to its display window.
VXIO_Picture ReadDisplayWindow(size_t input, int32_t depth, JobFrame* frame);

std::string SizeText(const VX_World& world);

// Throws UsageError if the pictures of inputs 0 and 1 have different sizes.
void CheckSameSize(const JobFrame& frame, const VX_World& a, const VX_World& b);

// Memory of a frame: its inputs and one result, all at the larger depth, and `motion` bytes for
// each pixel.
int64_t BytesOfPair(const std::vector<VXIO_Info>& inputs, int64_t motion);

}  // namespace vxcli

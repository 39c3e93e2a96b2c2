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
void ResolveMotion(MotionArguments* arguments);

// Options of the pictures between two pictures, of vx tween and vx retime. ResolveTween stores the
// members that have other types there in `tween`.
struct BetweenArguments {
  enum OnCut : int32_t { Hold, Mix };

  int32_t method = static_cast<int32_t>(vx::TweenMethod::motion);
  int32_t quality = 0;
  MotionArguments motion;
  vx::TweenOptions tween;
  std::optional<double> cut_threshold;
  int32_t on_cut = Hold;
  std::string cache;  // folder of motion files; may be empty

  // Returns true if a pair is a cut whose part `unexplained` no motion explains.
  bool IsCut(const std::optional<double>& unexplained) const {
    return cut_threshold && unexplained && *unexplained > *cut_threshold;
  }
};
// `interval` is what the shutter angle is a part of.
OptionList BetweenOptionList(BetweenArguments* to, const std::string& interval);
// The option --quality of these verbs, for JobOptionList.
Option QualityOfTween(BetweenArguments* to);
// Also makes the folder of --cache. Throws VXIO_Error (Output).
void ResolveTween(BetweenArguments* arguments, const JobOptions& job);
// Prints the warning of a pair about its motion file, and each text once in a run.
void WarnAboutCache(const std::string& warning);
// Returns the name of a method.
const char* NameOf(vx::TweenMethod method);

constexpr int64_t kTweenBytes = 40;  // for each pixel, beside the pictures

// Reads a picture and crops or extends it to its display window.
VXIO_Picture ReadDisplayWindow(size_t input, int32_t depth, JobFrame* frame);

std::string SizeText(const VX_World& world);

// Throws UsageError if the pictures of inputs 0 and 1 have different sizes.
void CheckSameSize(const JobFrame& frame, const VX_World& a, const VX_World& b);

// Memory of a frame: its inputs and one result, all at the larger depth, and `motion` bytes for
// each pixel.
int64_t BytesOfPair(const std::vector<VXIO_Info>& inputs, int64_t motion);

}  // namespace vxcli

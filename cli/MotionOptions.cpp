// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "MotionOptions.h"

#include <algorithm>
#include <filesystem>
#include <mutex>
#include <set>

#include "Console.h"
#include "Layers.h"
#include "Verbs.h"

namespace vxcli {

OptionList MotionOptionList(MotionArguments* to) {
  return {
      Option{"--resolution", "PERCENT", Number(&to->percent, 5, 100),
             "%r: size of the pictures in which the motion is estimated, in percent of the full "
             "size; more finds smaller things and takes longer"}
          .Default("20"),
      Option{"--detail", "N", Number(&to->motion.detail, -1000, 1000),
             "%r: smoothness of the motion of blocks; less follows the pictures, more their "
             "neighbours"}
          .Default("500"),
      Option{"--smoothing", "N", Number(&to->motion.smoothing, -1000, 1000),
             "%r: smoothness of the motion of pixels, as --detail"}
          .Default("500"),
      Option{"--block", "N", Integer(&to->motion.block, 4, 40),
             "Side of a block, %r pixels of the reduced picture"}
          .Default("6"),
      Option{"--smooth-passes", "N", Integer(&to->motion.smooth_passes, 1, 50),
             "Number of passes of the last smoothing, %r"}
          .Default("5"),
      Option{"--error-threshold", "E", Number(&to->motion.error_threshold, 0, 0.1),
             "Blocks that differ less than this keep their motion, %r; 1 is white"}
          .Default("0.01"),
  };
}

void ResolveMotion(MotionArguments* arguments) {
  arguments->motion.resolution = arguments->percent / 100;
}

const std::vector<std::string>& TweenMethods() {
  static const std::vector<std::string> names = {"copy", "mix", "motion"};
  return names;
}

const char* NameOf(vx::TweenMethod method) {
  return TweenMethods()[static_cast<size_t>(method)].c_str();
}

OptionList BetweenOptionList(BetweenArguments* to, const std::string& interval) {
  const auto parse_threshold = [](const std::string& option, const std::string& text) {
    return text == "off" ? std::optional<double>() : ParseNumber(option, text, 0, 1);
  };
  Value threshold{Value::Text, [to, parse_threshold](const auto& option, const auto& text) {
                    to->cut_threshold = parse_threshold(option, text);
                  }};
  return Join(
      {{Option{"--method", "HOW", Choice(&to->method, TweenMethods()),
               "motion: pixels are moved along the motion between the pictures; mix: both are "
               "mixed by time; copy: the nearer one"}
            .Default("motion")},
       MotionOptionList(&to->motion),
       {Option{"--cut-threshold", "F", std::move(threshold),
               "0 to 1, or off: two pictures are a cut if no motion explains more than this part "
               "of them. For --method motion"}
            .Default("0.8"),
        Option{"--on-cut", "HOW", Choice(&to->on_cut, {"hold", "mix"}),
               "Pictures between the two of a cut. hold: the nearer one; mix: both are mixed by "
               "time"}
            .Default("hold"),
        Option{
            "--cache", "DIR", Text(&to->cache),
            "Keep the motion of each pair in files of this folder, for later runs; it is made if "
            "it does not exist"}
            .For(Decides::Nothing),
        Option{"--shutter-angle", "DEGREES", Number(&to->tween.shutter_angle, 0, 360),
               "%r: the part of the interval between " + interval +
                   " that --shutter-samples covers, around the instant; 360 is the whole interval"}
            .Default("180"),
        Option{"--shutter-samples", "N", Integer(&to->tween.shutter_samples, 1, 20),
               "Number of instants that are averaged, %r; 1: no motion blur"}
            .Default("1")}});
}

Option QualityOfTween(BetweenArguments* to) {
  return Option{"--quality", "HOW", Choice(&to->quality, {"standard", "high"}),
                "standard: motion in reduced pictures, bilinear sampling; high: a motion for each "
                "pixel in full size, cubic sampling; slower. --resolution, --detail and the other "
                "options of the estimate have no effect with high"}
      .Default("standard");
}

void ResolveTween(BetweenArguments* arguments, const JobOptions& job) {
  ResolveMotion(&arguments->motion);
  arguments->tween.motion = arguments->motion.motion;
  arguments->tween.method = static_cast<vx::TweenMethod>(arguments->method);
  arguments->tween.quality = static_cast<vx::TweenQuality>(arguments->quality);
  if (arguments->cache.empty() || job.dry_run) return;
  std::error_code error;
  std::filesystem::create_directory(arguments->cache, error);
  if (std::filesystem::is_directory(arguments->cache)) return;
  throw VXIO_Error(VXIO_ErrorKind::Output,
                   "--cache " + arguments->cache + ": " +
                       (error ? "cannot be made: " + error.message() : "is no folder"));
}

void WarnAboutCache(const std::string& warning) {
  static std::mutex mutex;
  static std::set<std::string> printed;
  const std::lock_guard lock(mutex);
  if (!warning.empty() && printed.insert(warning).second) Warn({"--cache: " + warning});
}

VXIO_Picture ReadDisplayWindow(size_t input, int32_t depth, JobFrame* frame) {
  VXIO_Picture picture = frame->Read(input, depth);
  const VXIO_Windows windows = WindowsOf(picture);
  if (windows.Differ()) VXIO_SetDataWindow(&picture, windows.display);
  return picture;
}

std::string SizeText(const VX_World& world) {
  return std::to_string(world.width) + " x " + std::to_string(world.height);
}

void CheckSameSize(const JobFrame& frame, const VX_World& a, const VX_World& b) {
  if (a.width == b.width && a.height == b.height) return;
  throw UsageError(frame.Input(0) + " is " + SizeText(a) + ", " + frame.Input(1) + " is " +
                   SizeText(b) + "; the pictures must have the same size");
}

int64_t BytesOfPair(const std::vector<VXIO_Info>& inputs, int64_t motion) {
  int64_t bytes = 0, pixels = 0;
  int32_t depth = 0;
  for (const VXIO_Info& info : inputs) depth = std::max(depth, info.depth);
  for (const VXIO_Info& info : inputs) {
    bytes += BytesOfFrame(info, depth);
    pixels = std::max(pixels, int64_t{info.width} * info.height);
  }
  return bytes + pixels * (depth / 2 + motion);
}

}  // namespace vxcli

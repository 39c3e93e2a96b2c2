// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx transform: moves, rotates, scales or skews a layer or applies a matrix, with motion blur.

#include <algorithm>
#include <chrono>
#include <deque>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "Color.h"
#include "Console.h"
#include "Job.h"
#include "Layers.h"
#include "Motion.h"
#include "VXIO/VXIO_Sequence.h"
#include "Verbs.h"

namespace vxcli {

namespace {

constexpr double kFullTurn = 360;

struct TransformOptions {
  std::string layer, over, path;
  std::optional<Size> size;
  std::optional<int32_t> samples;
  std::optional<double> shutter_angle;
  vx::Quality quality = vx::Quality::high;
  int32_t depth = 0;  // 0: the deepest of the pictures
  DrawOptions draw;
  ColorOptions color;
  JobOptions job;
  // The start and the end of the motion. A deque, because the lists of options contain pointers to
  // its elements, which must stay valid when elements are added.
  std::deque<Placement> placements;
};

// The state that all frames share.
struct Transform {
  const TransformOptions& options;
  JobColor color;
  Motion motion;
  Shutter shutter;
  bool is_sequence;  // the output is a sequence
  std::optional<MotionPath> path;
  std::vector<std::string> inputs;
  LayerInputs layer_inputs;
};

Motion MotionAt(const Transform& job, JobFrame& frame) {
  if (!job.path) return job.motion;
  Motion motion = job.path->At(frame.Number());
  if (!motion.end && job.shutter.share > 0) {
    const int64_t number = frame.Number();
    frame.Note("frame " + std::to_string(number) +
               " is drawn without motion, because the path has no line for frame " +
               std::to_string(number + 1));
  }
  return motion;
}

// Returns the position of the upper left corner of the display window in the world.
vx::Point CornerOf(const VXIO_Picture& picture) {
  const vx::Point offset = WindowsOf(picture).Offset();
  return {-offset.x, -offset.y};
}

// Converts matrices between display windows to matrices between the worlds that contain them.
void BetweenWorlds(vx::Point from, vx::Point to, std::vector<vx::Matrix>* matrices) {
  if (from.x == 0 && from.y == 0 && to.x == 0 && to.y == 0) return;
  for (vx::Matrix& matrix : *matrices) {
    double* m = matrix.m;  // the rows are x, y and the translation
    for (int column = 0; column < 3; ++column) {
      m[6 + column] -= from.x * m[column] + from.y * m[3 + column];
    }
    for (int row = 0; row < 3; ++row) {
      m[3 * row] += to.x * m[3 * row + 2];
      m[3 * row + 1] += to.y * m[3 * row + 2];
    }
  }
}

void Draw(const Transform& job, const VXIO_Picture& picture, FrameColor* color, JobFrame* frame,
          VXIO_Picture* background, nlohmann::ordered_json* record) {
  const VX_World& layer = *picture.world;
  VX_World* below = background->world.get();
  const VXIO_Windows windows = WindowsOf(picture);
  auto options = DrawingOf<vx::TransformOptions>(job.options.draw);
  VXIO_WorldPtr mask;
  if (job.layer_inputs.mask) {
    options.mask =
        ReadMask(job.options.draw, job.layer_inputs.mask, *background, frame, &mask, record);
  }
  options.linear = color->light();
  options.quality = job.options.quality;
  options.progress = frame->Progress();
  const Motion motion = MotionAt(job, *frame);
  const auto matrices_of = [&](const Motion& m) {
    return MatricesOf(m, job.shutter, job.options.quality, windows.display.width(),
                      windows.display.height());
  };
  std::vector<vx::Matrix> matrices = matrices_of(motion);
  BetweenWorlds(CornerOf(picture), CornerOf(*background), &matrices);
  const std::string& file = frame->Input(job.layer_inputs.file);
  const std::string why = InvisibleReason(matrices, layer, *below);
  if (!why.empty()) Note(file + ": " + why);
  const auto start = std::chrono::steady_clock::now();
  WithContext(file, [&] { vx::transform(*below, layer, matrices, options); });
  const std::chrono::duration<double, std::milli> spent = std::chrono::steady_clock::now() - start;
  (*record)["matrix"] = matrices_of({motion.start, std::nullopt}).front().m;
  (*record)["matrices"] = matrices.size();
  (*record)["milliseconds"] = spent.count();
}

void WorkOn(Transform* transform, JobFrame* frame) {
  const Transform& job = *transform;
  const std::vector<int32_t> own = DepthsOf(*frame, {job.layer_inputs});
  const int32_t depth =
      job.options.depth ? job.options.depth : *std::max_element(own.begin(), own.end());
  FrameColor color(&transform->color, frame, &job.inputs, own, depth);
  nlohmann::ordered_json& record = frame->Record();
  nlohmann::ordered_json about = RecordOf(frame->Input(job.layer_inputs.file), job.options.draw);
  const bool over = job.layer_inputs.file > 0;
  // Without --over the layer is drawn on a transparent picture that has the profile of the layer.
  VXIO_Picture picture = color.ReadBackground(over ? "background" : "layer");
  FrameDisplayWindow(&picture);
  VXIO_Picture layer;
  if (over) {
    layer = color.ReadLayer(job.layer_inputs.file, &about);
  } else {
    layer.world = std::move(picture.world);
    layer.metadata = picture.metadata;
    const Size size = job.options.size.value_or(Size{layer.world->width, layer.world->height});
    picture.world = vx::Image(size.width, size.height, depth).release();
    if (job.options.size) {
      const vx::Rect frame_of_size{0, 0, size.width, size.height};
      picture.metadata = VXIO_WithWindows(picture.metadata, {frame_of_size, frame_of_size});
    }
    // All frames of a sequence have alpha, also those that the layer covers completely.
    picture.has_alpha |= job.is_sequence;
  }
  if (job.layer_inputs.matte)
    ApplyMatte(job.options.draw, job.layer_inputs.matte, frame, &layer, &about);
  record["width"] = picture.world->width;
  record["height"] = picture.world->height;
  record["depth"] = depth;
  Draw(job, layer, &color, frame, &picture, &about);
  record["layer"] = about;
  frame->Write(*picture.world, picture);
}

int64_t BytesOf(const Transform& job, const std::vector<VXIO_Info>& infos) {
  int32_t depth = job.options.depth;
  for (const VXIO_Info& info : infos) depth = std::max(depth, info.depth);
  const VXIO_Info& first = infos[0];
  const vx::Rect own = first.windows.Union();
  const Size below = job.options.size.value_or(
      Size{std::max(own.width(), first.width), std::max(own.height(), first.height)});
  return BytesOfLayer(infos, job.layer_inputs, depth) +
         (job.layer_inputs.file > 0 ? 2 : 1) * BytesOfWorld(below.width, below.height, depth);
}

// Returns the first frame number of the first input that is a sequence, 0 for a clip, or 1 if there
// is no sequence.
int64_t FirstFrame(const std::vector<std::string>& inputs) {
  for (const std::string& input : inputs) {
    if (IsClip(input)) return 0;
    std::error_code none;
    if (!VXIO_FramePattern::IsPattern(input) || std::filesystem::exists(input, none)) continue;
    try {
      const std::vector<int64_t> frames = VXIO_FramePattern(input).FramesOnDisk();
      if (!frames.empty()) return frames.front();
    } catch (const std::invalid_argument&) {
      // The job reports the error in the pattern.
    }
    break;
  }
  return 1;
}

Shutter ShutterOf(const TransformOptions& options) {
  const bool moves = options.placements.size() > 1 || !options.path.empty();
  if (!moves && (options.samples || options.shutter_angle)) {
    throw UsageError(
        "--motion-samples, --shutter-angle: have no effect without --to or --path FILE");
  }
  return {options.samples, options.shutter_angle.value_or(kFullTurn) / kFullTurn};
}

void ReadPath(Transform* transform, Job* job) {
  if (!transform->is_sequence) {
    throw UsageError("--path: needs a sequence; name the output like out.####.png, or use --to for "
                     "one picture");
  }
  transform->path.emplace(transform->options.path, transform->motion.start,
                          FirstFrame(transform->inputs));
  const MotionPath& path = *transform->path;
  job->frames = path.Frames();
  job->frame_settings = [&path](int64_t frame) { return path.Settings(frame); };
}

int Run(const TransformOptions& options, const Verb& verb) {
  const bool moves = options.placements.size() > 1;
  if (!options.over.empty() && options.size) {
    throw UsageError("--size: not together with --over; the result has the size of the background");
  }
  if (moves && !options.path.empty()) {
    throw UsageError("--to: not together with --path, whose lines give the end of each motion");
  }
  CheckDrawOptions(options.draw);
  Transform transform{options,
                      JobColor(options.color),
                      {options.placements[0], std::nullopt},
                      ShutterOf(options),
                      VXIO_FramePattern::IsPattern(options.job.output),
                      {},
                      {},
                      {}};
  if (moves) transform.motion.end = options.placements[1];
  if (!options.over.empty()) transform.inputs.push_back(options.over);
  transform.layer_inputs = AddInputs(options.layer, options.draw, &transform.inputs);
  Job job;
  job.verb = &verb;
  job.options = &options.job;
  job.inputs = transform.inputs;
  if (!options.path.empty()) ReadPath(&transform, &job);
  job.bytes = [&](const std::vector<VXIO_Info>& infos) { return BytesOf(transform, infos); };
  job.work = [&](JobFrame& frame) { WorkOn(&transform, &frame); };
  return RunJob(job);
}

// --- options -------------------------------------------------------------------------------------

OptionList PictureOptions(TransformOptions* to) {
  return {
      Option{
          "LAYER", "FILE", Text(&to->layer),
          "The picture. Layer, background and masks may be sequences with the same frame numbers"}
          .Required()
          .For(Decides::Contents),
      Option{"--over", "BACKGROUND", Text(&to->over),
             "Background to draw on; its size, profile and metadata are kept"}
          .Without("transparent, with the profile and metadata of the layer")
          .For(Decides::Contents),
      Option{"--size", "WxH", SizeValue(&to->size),
             "Without --over: size of the result, each side 1 to 30000"}
          .Without("that of the layer"),
      DepthOption(
          &to->depth,
          "%r: bits per channel of the result; keep: the larger depth of background and layer"),
  };
}

OptionList MotionOptions(TransformOptions* to) {
  return InGroup(
      "Motion",
      {
          Option{
              "--path", "FILE", Text(&to->path),
              "Instead of --to: a text file with one line per frame that contains the options of "
              "its placement (--translate 10,0 --rotate 3), optionally after 'N:' for frame N. The "
              "motion of a frame goes from its line to the next one. See docs/transform.md"}
              .For(Decides::Contents),
          Option{"--motion-samples", "N", Integer(&to->samples, 1, VX_Transform_MaxMatrices - 1),
                 "Number of sub-samples that are averaged for motion blur, %r, at equal intervals "
                 "from the start, without the end. The parameters are interpolated, so a rotation "
                 "follows an arc; matrices are interpolated element by element"}
              .Without("one for each pixel of the path, 16 to 128; draft: 8"),
          Option{"--shutter-angle", "DEG", Number(&to->shutter_angle, 0, 2 * kFullTurn),
                 "Part of the motion that is blurred, from its start: 360 is the whole motion, 180 "
                 "half of it, 0 none (no blur); above 360, up to 720, the motion continues after "
                 "its end"}
              .Without("360, the whole motion"),
      });
}

// Returns the placements of the command line: the options before --to and those after it.
Parts PlacementParts(TransformOptions* to) {
  static Placement unused;  // for the help
  static bool flag = false;
  const Option end{"--to", "", Flag(&flag),
                   "The placement options after --to define the end of a motion; an option that is "
                   "not repeated keeps its value"};
  Parts placements{"--to", "place", true, {}, nullptr};
  placements.options = Join({PlacementOptionList(&unused), InGroup("Motion", {end})});
  placements.add = [to, end] {
    if (to->placements.size() == 2)
      throw UsageError("--to: may be given once; use --path for longer motions");
    to->placements.push_back(to->placements.empty() ? Placement() : to->placements[0]);
    return Join({PlacementOptionList(&to->placements.back()), {end}});
  };
  return placements;
}

}  // namespace

Verb TransformVerb() {
  auto options = std::make_shared<TransformOptions>();
  TransformOptions* to = options.get();
  return {"transform",
          "Move, rotate, scale or skew a picture, with motion blur",
          Join({PictureOptions(to), MotionOptions(to),
                InGroup("How the layer is drawn", DrawOptionList(&to->draw)),
                ColorOptionList(&to->color),
                JobOptionList(
                    &to->job, JobOutput::Picture,
                    QualityOption(&to->quality, "draft: nearest pixel, motions along straight "
                                                "lines; high: bilinear, the average of the "
                                                "covered area where the picture is reduced"))}),
          "The order is scale, skew, rotation, all around the anchor, then translation.\n"
          "Examples:\n"
          "  vx transform logo.png --over street.jpg --scale 0.3 --rotate -8 --translate 410.5,96 "
          "-o out.png\n"
          "  vx transform wheel.png --rotate 0 --to --rotate 40 --shutter-angle 180 -o blurred.png",
          [options](const Verb& verb) { return Run(*options, verb); },
          PlacementParts(to)};
}

}  // namespace vxcli

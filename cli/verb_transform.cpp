// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx transform: a layer moved, turned, scaled or through a matrix, with motion blur.

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>
#include <stdexcept>

#include "CompositeColor.h"
#include "Console.h"
#include "Errors.h"
#include "Job.h"
#include "LayerPictures.h"
#include "Motion.h"
#include "MotionPath.h"
#include "VXIO/VXIO_Sequence.h"
#include "Verbs.h"
#include "Worlds.h"

namespace vxcli {

namespace {

constexpr double kFullTurn = 360;

struct TransformWords {
  std::string layer, over, size, samples, shutter, path, quality = "high", depth = "keep";
  DrawWords draw;
  ColorWords color;
  JobWords job;
  MotionWords motion_help;  // the real ones are taken out before, see Motion.h
};

// What all frames share.
struct Transform {
  int32_t depth;  // 0: the deepest of the pictures that are drawn
  int32_t quality;
  std::optional<Size> size;
  Drawing drawing;
  Motion motion;
  std::optional<MotionPath> path;
  Shutter shutter;
  bool is_sequence;                 // the output is one
  std::vector<std::string> inputs;  // as they were typed
  LayerInputs places;
  std::unique_ptr<JobColor> color;
};

Motion MotionAt(const Transform& job, JobFrame& frame) {
  if (!job.path) return job.motion;
  Motion motion = job.path->At(frame.Number());
  if (!motion.end && job.shutter.share > 0) {
    const int64_t number = frame.Number();
    frame.Note("frame " + std::to_string(number) +
               " is drawn without motion; its path has no line for frame " +
               std::to_string(number + 1) + ", where it would go");
  }
  return motion;
}

void Draw(const Transform& job, const VX_World& layer, FrameColor* color, JobFrame* frame,
          VX_World* below, nlohmann::ordered_json* told) {
  Mask mask;
  if (job.places.mask) mask = ReadMask(job.drawing, job.places.mask, *below, frame);
  const Motion motion = MotionAt(job, *frame);
  const auto matrices_of = [&](const Motion& m) {
    return MatricesOf(m, job.shutter, job.quality, layer.width, layer.height);
  };
  const std::vector<M_Matrix3> matrices = matrices_of(motion);
  const auto count = static_cast<int32_t>(matrices.size());
  const std::string& file = frame->Input(job.places.file);
  const std::string why = WhyUnseen(matrices, layer, *below);
  if (!why.empty()) Note(file + ": " + why);
  const Drawing& drawing = job.drawing;
  VX_CompositeModePlus mode(drawing.mode.number, static_cast<float>(drawing.opacity),
                            color->tables(), drawing.keep_alpha, drawing.seed);
  const auto start = std::chrono::steady_clock::now();
  Check(VX_TransformMotion(frame->Progress(), job.quality, drawing.field, &layer, &mode,
                           color->tables(), mask.world ? &mask.spec : nullptr, matrices.data(),
                           count, /*src2dst=*/1, /*dst_rect=*/nullptr, below),
        file);
  const std::chrono::duration<double, std::milli> spent = std::chrono::steady_clock::now() - start;
  (*told)["matrix"] = matrices_of({motion.start, std::nullopt}).front().m;
  (*told)["matrices"] = count;
  (*told)["milliseconds"] = spent.count();
  if (mask.world) {
    (*told)["mask"] = frame->Input(job.places.mask);
    (*told)["mask_use"] = MaskUseName(mask.spec.what);
  }
}

void WorkOn(const Transform& job, JobFrame* frame) {
  const std::vector<int32_t> own = DepthsOf(*frame, {job.places});
  const int32_t depth = job.depth ? job.depth : *std::max_element(own.begin(), own.end());
  FrameColor color(job.color.get(), frame, &job.inputs, own, depth);
  nlohmann::ordered_json& told = frame->Told();
  nlohmann::ordered_json about = {{"file", frame->Input(job.places.file)},
                                  {"mode", job.drawing.mode.name},
                                  {"mode_number", job.drawing.mode.number},
                                  {"opacity", job.drawing.opacity}};
  const bool over = job.places.file > 0;
  // Without a background the colours are those of the layer, and all below it is transparent.
  VXIO_Picture picture = color.ReadBackground(over ? "background" : "layer");
  VXIO_WorldPtr layer;
  if (over) {
    layer = color.ReadLayer(job.places.file, &about).world;
  } else {
    layer = std::move(picture.world);
    const Size size = job.size.value_or(Size{layer->width, layer->height});
    picture.world = NewWorld(size.width, size.height, depth);
    picture.has_alpha |= job.is_sequence;  // frames that are covered whole are as the others
  }
  if (job.places.matte) ApplyMatte(job.drawing, job.places.matte, frame, layer.get(), &about);
  told["width"] = picture.world->width;
  told["height"] = picture.world->height;
  told["depth"] = depth;
  Draw(job, *layer, &color, frame, picture.world.get(), &about);
  told["layer"] = about;
  frame->Write(*picture.world, picture);
}

int64_t BytesOf(const Transform& job, const std::vector<VXIO_Info>& infos) {
  int32_t depth = job.depth;
  for (const VXIO_Info& info : infos) depth = std::max(depth, info.depth);
  const VXIO_Info& first = infos[0];
  const Size below = job.size.value_or(Size{first.width, first.height});
  return BytesOfLayer(infos, job.places, depth) +
         (job.places.file > 0 ? 2 : 1) * BytesOfWorld(below.width, below.height, depth);
}

// The first frame of the sequence that the job runs through, 1 without one.
int64_t FirstFrame(const std::vector<std::string>& inputs) {
  for (const std::string& input : inputs) {
    std::error_code none;
    if (!VXIO_FramePattern::IsPattern(input) || std::filesystem::exists(input, none)) continue;
    try {
      const std::vector<int64_t> frames = VXIO_FramePattern(input).FramesOnDisk();
      if (!frames.empty()) return frames.front();
    } catch (const std::invalid_argument&) {
      // The job tells what is wrong with the pattern.
    }
    break;
  }
  return 1;
}

Shutter ParseShutter(const TransformWords& words, bool moves) {
  if (!moves && !(words.samples.empty() && words.shutter.empty())) {
    throw UsageError("--motion-samples, --shutter-angle: mean nothing without --to or --path FILE");
  }
  Shutter shutter;
  if (!words.samples.empty()) {
    shutter.samples = static_cast<int32_t>(
        ParseInteger("--motion-samples", words.samples, 1, VX_Transform_MaxMatrices - 1));
  }
  if (!words.shutter.empty()) {
    shutter.share = ParseNumber("--shutter-angle", words.shutter, 0, 2 * kFullTurn) / kFullTurn;
  }
  return shutter;
}

void ReadPath(const TransformWords& words, const Place& base, Transform* transform, Job* job) {
  if (!transform->is_sequence) {
    throw UsageError("--path: moves through a sequence; name the output like out.####.png, or "
                     "give --to for one picture");
  }
  transform->path.emplace(words.path, base, FirstFrame(transform->inputs));
  const MotionPath& path = *transform->path;
  job->frames = path.Frames();
  job->frame_settings = [&path](int64_t frame) { return path.Words(frame); };
}

std::string SettingsOf(const TransformWords& words, const MotionWords& motion,
                       const Transform& transform) {
  const DrawWords& draw = words.draw;
  std::string text = "transform depth=" + words.depth + transform.color->Settings() +
                     (transform.places.file ? " over" : " size=" + words.size) + " " +
                     words.quality + " samples=" + words.samples + " shutter=" + words.shutter +
                     (words.path.empty() ? "" : " path");
  for (const std::string* word :
       {&draw.mode, &draw.opacity, &draw.seed, &draw.mask_use, &draw.mask_at, &draw.field,
        &draw.matte_use, &draw.feather, &draw.feather_kind, &draw.mask, &draw.matte}) {
    text += "\n" + *word;
  }
  if (draw.keep_alpha) text += "\nkeep-alpha";
  for (const std::string& word : motion.start) text += "\n" + word;
  if (motion.moves) text += "\n--to";
  for (const std::string& word : motion.end) text += "\n" + word;
  return text;
}

int Run(const TransformWords& words, const MotionWords& motion) {
  if (!words.over.empty() && !words.size.empty()) {
    throw UsageError("--size: is that of the background where --over names one");
  }
  if (motion.moves && !words.path.empty()) {
    throw UsageError("--to: the lines of --path are where the motion goes");
  }
  Transform transform{};
  transform.depth = ParseDepth(words.depth, Keep::Allowed);
  transform.quality = ParseQuality(words.quality);
  if (!words.size.empty()) transform.size = ParseSize("--size", words.size, /*least=*/1);
  transform.is_sequence = VXIO_FramePattern::IsPattern(words.job.output);
  transform.drawing = ParseDrawing(words.draw);
  transform.motion.start = ParsePlace(motion.start, Place());
  if (motion.moves) transform.motion.end = ParsePlace(motion.end, transform.motion.start);
  transform.shutter = ParseShutter(words, motion.moves || !words.path.empty());
  transform.color = std::make_unique<JobColor>(words.color);
  if (!words.over.empty()) transform.inputs.push_back(words.over);
  transform.places = AddInputs(words.layer, transform.drawing, &transform.inputs);
  Job job;
  job.words = &words.job;
  job.inputs = transform.inputs;
  job.settings = SettingsOf(words, motion, transform);
  if (!words.path.empty()) ReadPath(words, transform.motion.start, &transform, &job);
  job.bytes = [&](const std::vector<VXIO_Info>& infos) { return BytesOf(transform, infos); };
  job.work = [&](JobFrame& frame) { WorkOn(transform, &frame); };
  return RunJob(job);
}

void AddMotionBlurOptions(CLI::App* app, TransformWords* words) {
  const auto add = [&](const char* name, std::string* word, const char* type, const char* text) {
    app->add_option(name, *word, text)->type_name(type)->group("Motion");
  };
  add("--path", &words->path, "FILE",
      "In place of --to: a text file with a line for each frame, the options of its place "
      "(--translate 10,0 --rotate 3), after 'N:' where N is the number of the frame; a frame moves "
      "from its line to the next. docs/transform.md tells more");
  add("--motion-samples", &words->samples, "N",
      "Pictures that a motion is averaged of, 1 to 256, in equal steps of the parameters from the "
      "start on, the end left out; so a rotation sweeps an arc, and matrices change entry by entry "
      "[one for each pixel of the way, 16 to 128; draft: 8]");
  add("--shutter-angle", &words->shutter, "DEG",
      "How much of the way is seen, from the start on: 180 is half of it, 0 stands still, up to "
      "720, which goes beyond the end [360, all of it]");
}

}  // namespace

Verb AddTransform(CLI::App* root, const MotionWords* motion) {
  auto words = std::make_shared<TransformWords>();
  CLI::App* app =
      root->add_subcommand("transform", "Move, turn, scale or skew a picture, with motion blur");
  app->add_option("LAYER", words->layer,
                  "The picture. It, background and masks may be sequences of the same frames")
      ->type_name("FILE")
      ->required();
  app->add_option("--over", words->over,
                  "Background to draw on; its size, profile and metadata are kept [transparent, "
                  "with the profile and metadata of the layer]")
      ->type_name("BACKGROUND");
  app->add_option("--size", words->size,
                  "Without --over: size of the result, each side 1 to 30000 [that of the layer]")
      ->type_name("WxH");
  app->add_option("--quality", words->quality,
                  "draft: the nearest pixel; high: bilinear, or the average of the covered area "
                  "where a picture shrinks [high]")
      ->type_name("HOW");
  app->add_option("--depth", words->depth,
                  "8, 16, 32 or keep: bits a channel to work in; keep is the deepest of background "
                  "and layer [keep]")
      ->type_name("BITS");
  AddMotionOptions(app, &words->motion_help);
  AddMotionBlurOptions(app, words.get());
  AddDrawOptions(app, "How the layer is drawn", &words->draw);
  AddColorOptions(app, &words->color);
  AddJobOptions(app, &words->job, JobOutput::Picture);
  app->footer(
      "Scale comes first, then skew, then rotation, all around the anchor; then everything moves.\n"
      "Examples:\n"
      "  vx transform logo.png --over street.jpg --scale 0.3 --rotate -8 --translate 410.5,96 -o "
      "out.png\n"
      "  vx transform wheel.png --rotate 0 --to --rotate 40 --shutter-angle 180 -o blurred.png");
  return {app, [words, motion] { return Run(*words, *motion); }};
}

}  // namespace vxcli

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "Layers.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "Console.h"

namespace vxcli {

namespace {

const std::vector<std::string>& MaskUses() {
  static const std::vector<std::string> uses = {"alpha", "inverse-alpha", "luma", "inverse-luma"};
  return uses;
}

std::string SizeText(const VX_LayerDef& picture) {
  return std::to_string(picture.width) + " x " + std::to_string(picture.height);
}

// Prints a note if the size of a mask or matte (`weights`) differs from the size of `picture`.
// `use` is a vx::MaskUse or a vx::Matte; in both enumerations the inverse uses are the odd numbers.
void NoteSize(const std::string& file, const std::string& kind, const std::string& whose,
              const VX_World& weights, const VX_World& picture, int32_t use) {
  if (weights.width == picture.width && weights.height == picture.height) return;
  Note(file + ": " + kind + " is " + SizeText(weights) + ", " + whose + " " + SizeText(picture) +
       "; outside of the " + kind + " it counts as " + (use & 1 ? "full" : "0"));
}

// Returns the matte of a picture, cropped or extended to the given size; the upper left corners are
// aligned. Outside of the picture the matte is 0, or full scale for the inverse uses.
vx::MaskBuffer MatteOfSize(const VX_World& picture, vx::Matte use, int32_t width, int32_t height) {
  vx::MaskBuffer own = vx::matte(picture, use);
  if (own.width() == width && own.height() == height) return own;
  vx::MaskBuffer matte(width, height, own.depth());
  matte.fill(static_cast<int32_t>(use) & 1 ? 1 : 0);
  Check(VX_AccumulateUnoBuffers(nullptr, own.buffer(), VX_UnoAccumulate_Replace, nullptr, nullptr,
                                matte.buffer()));
  return matte;
}

}  // namespace

const std::vector<std::string>& MatteUses() {
  static const std::vector<std::string> uses = {"alpha", "inverse-alpha", "luma", "inverse-luma",
                                                "red",   "green",         "blue"};
  return uses;
}

const std::vector<std::string>& FeatherKinds() {
  static const std::vector<std::string> kinds = {"box", "soft", "gaussian"};
  return kinds;
}

void CheckFeather(const FeatherSettings& feather) {
  if (feather.kind && !feather.radius) {
    throw UsageError("--feather-kind: has no effect without --feather R");
  }
}

void Soften(const FeatherSettings& feather, const vx::Progress& progress, vx::MaskBuffer* matte) {
  const double radius = feather.radius.value_or(0);
  if (radius == 0) return;
  vx::feather(*matte, {radius, feather.kind.value_or(vx::Feather::soft), progress});
}

OptionList DrawOptionList(DrawOptions* to) {
  const auto at = [](const std::string& option, const std::string& text) {
    return ParsePoint(option, text, INT16_MIN, INT16_MAX);
  };
  return {
      Option{"--mode", "NAME", Parsed(&to->mode, ParseMode),
             "Transfer mode, name or number (vx list modes)"}
          .Default("in-front"),
      Option{"--opacity", "NUMBER", Share(&to->opacity), "%r"}.Default("1"),
      Option{"--seed", "NUMBER", Integer(&to->seed, INT32_MIN, INT32_MAX),
             "Seed of the random pattern of dissolve, 32 bits"}
          .Default("0"),
      {"--keep-alpha", "", Flag(&to->keep_alpha), "Do not change the alpha of the background"},
      Option{"--mask", "FILE", Text(&to->mask),
             "Picture whose pixels are the weights of the layer's pixels"}
          .For(Decides::Contents),
      Option{"--mask-use", "WHAT", Choice(&to->mask_use, MaskUses()), "%r"}.Without(
          "alpha, or luma if the mask has no alpha"),
      Option{"--mask-at", "X,Y", Parsed(&to->mask_at, at),
             "Position of the upper left corner of the mask on the background; outside of the mask "
             "the weight is 0, for inverse uses full"}
          .Without("0,0"),
      Option{"--matte", "FILE", Text(&to->matte),
             "Picture that the layer's alpha is multiplied by before it is drawn; the upper left "
             "corners of the two are aligned"}
          .For(Decides::Contents),
      Option{"--matte-use", "WHAT", Choice(&to->matte_use, MaskUses()), "%r"}.Without(
          "alpha, or luma if the matte has no alpha"),
      Option{"--feather", "R", Number(&to->feather.radius, 0, kLargestFeather),
             "Soften the matte: radius in pixels, %r"}
          .Without("0"),
      Option{"--feather-kind", "KIND", Choice(&to->feather.kind, FeatherKinds()), "%r"}.Without(
          "soft"),
      Option{"--field", "ROWS", Choice(&to->field, {"both", "even", "odd"}),
             "%r: rows to draw, counted from 0 on the background"}
          .Default("both"),
  };
}

OptionList LayerOptionList(LayerOptions* to) {
  return InGroup(
      "Options of a layer, after its --layer",
      Join({{
                Option{"--layer", "FILE", Text(&to->file),
                       "Picture to draw; repeat it for more layers"}
                    .For(Decides::Contents),
                Option{"--alpha", "HOW", Parsed(&to->alpha, ParseAlpha),
                       "How to read its colours. straight: unchanged; premultiplied: divided by "
                       "alpha; ignore: unchanged, and the layer is opaque"}
                    .Without("as the file declares"),
                Option{"--at", "X,Y", Parsed(&to->at, ParsePosition),
                       "Position of its upper left corner on the background, after scale, skew and "
                       "rotation unless --anchor X,Y is given; may be negative. 50% or center: in "
                       "the middle; 100%, right, bottom: at the edge. center: center,center"}
                    .Without("0,0"),
                Option{"--rect", "L,T,R,B", Parsed(&to->rect, ParseRect),
                       "Draw only this area of it; --at is the position of the area's corner"}
                    .Without("all"),
            },
            EffectOptionList(to),
            DrawOptionList(to)}));
}

void CheckDrawOptions(const DrawOptions& options) {
  CheckFeather(options.feather);
  if (options.matte.empty() && (options.matte_use || options.feather.radius)) {
    throw UsageError("--matte-use, --feather: have no effect without --matte FILE");
  }
  if (options.mask.empty() && (options.mask_use || options.mask_at)) {
    throw UsageError("--mask-use, --mask-at: have no effect without --mask FILE");
  }
  if (options.mask.empty() && options.mode == vx::Mode::mask_mix) {
    throw UsageError("--mode mask-mix: needs --mask FILE, whose values mix the two pictures");
  }
}

// --- pictures ------------------------------------------------------------------------------------

LayerInputs AddInputs(const std::string& file, const DrawOptions& options,
                      std::vector<std::string>* inputs) {
  LayerInputs added{inputs->size()};
  inputs->push_back(file);
  if (!options.mask.empty()) {
    added.mask = inputs->size();
    inputs->push_back(options.mask);
  }
  if (!options.matte.empty()) {
    added.matte = inputs->size();
    inputs->push_back(options.matte);
  }
  return added;
}

std::vector<int32_t> DepthsOf(const JobFrame& frame, const std::vector<LayerInputs>& layers) {
  std::vector<int32_t> depths;
  if (layers.at(0).file > 0) depths.push_back(frame.Info(0).depth);
  for (const LayerInputs& layer : layers) {
    depths.push_back(frame.Info(layer.file).depth);
    for (const size_t weight : {layer.mask, layer.matte}) {
      if (weight == 0) continue;
      static_cast<void>(frame.Info(weight));
      depths.push_back(0);
    }
  }
  return depths;
}

int64_t BytesOfLayer(const std::vector<VXIO_Info>& infos, const LayerInputs& layer, int32_t depth) {
  const auto twice = [&](size_t input) {
    return 2 * BytesOfWorld(infos[input].width, infos[input].height, depth);
  };
  return twice(layer.file) +
         std::max(layer.mask ? twice(layer.mask) : 0, layer.matte ? twice(layer.matte) : 0);
}

nlohmann::ordered_json RecordOf(const std::string& file, const DrawOptions& options) {
  return {{"file", file},
          {"mode", vx::name(options.mode)},
          {"mode_number", static_cast<int32_t>(options.mode)},
          {"opacity", options.opacity}};
}

VXIO_Windows WindowsOf(const VXIO_Picture& picture) {
  const VXIO_Windows windows = VXIO_WindowsOf(picture.metadata);
  const vx::Rect whole{0, 0, picture.world->width, picture.world->height};
  const bool valid = windows.data.width() == whole.right && windows.data.height() == whole.bottom;
  return valid ? windows : VXIO_Windows{whole, whole};
}

void FrameDisplayWindow(VXIO_Picture* picture) {
  const VXIO_Windows windows = WindowsOf(*picture);
  if (windows.Differ()) VXIO_SetDataWindow(picture, windows.Union());
}

int64_t BytesOfFrame(const VXIO_Info& info, int32_t depth) {
  const vx::Rect frame = info.windows.Union();
  return BytesOfWorld(std::max(frame.width(), info.width), std::max(frame.height(), info.height),
                      depth);
}

vx::Mask ReadMask(const DrawOptions& options, size_t input, const VXIO_Picture& background,
                  JobFrame* frame, VXIO_WorldPtr* picture, nlohmann::ordered_json* record) {
  const VX_World& below = *background.world;
  VXIO_Picture read = frame->Read(input);
  const std::string& file = frame->Input(input);
  const int32_t depth = below.Depth(), own = read.world->Depth();
  if (own != depth) {
    Note(file + ": mask converted from " + std::to_string(own) + " to " + std::to_string(depth) +
         " bits a channel, the depth of its layer");
  }
  *picture = VXIO_ConvertDepth(std::move(read.world), depth);
  const vx::MaskUse use =
      options.mask_use.value_or(read.has_alpha ? vx::MaskUse::alpha : vx::MaskUse::luma);
  NoteSize(file, "mask", "the background", **picture, below, static_cast<int32_t>(use));
  (*record)["mask"] = file;
  (*record)["mask_use"] = MatteUses()[static_cast<size_t>(use)];
  const vx::Point at = options.mask_at.value_or(vx::Point{});
  const vx::Point own_offset = VXIO_WindowsOf(read.metadata).Offset();
  const vx::Point offset = WindowsOf(background).Offset();
  return {**picture, {at.x + own_offset.x - offset.x, at.y + own_offset.y - offset.y}, use};
}

void ApplyMatte(const DrawOptions& options, size_t input, JobFrame* frame, VXIO_Picture* layer,
                nlohmann::ordered_json* record) {
  const std::string& file = frame->Input(input);
  VX_World* world = layer->world.get();
  VXIO_Picture picture = frame->Read(input, world->Depth());
  // The corners of the display windows are aligned.
  const VXIO_Windows windows = WindowsOf(picture);
  const vx::Point offset = WindowsOf(*layer).Offset();
  if (windows.Offset().x != offset.x || windows.Offset().y != offset.y) {
    const vx::Point corner{windows.display.left + offset.x, windows.display.top + offset.y};
    VXIO_SetDataWindow(&picture,
                       {corner.x, corner.y, corner.x + world->width, corner.y + world->height});
  }
  const vx::Matte use =
      options.matte_use.value_or(picture.has_alpha ? vx::Matte::alpha : vx::Matte::luma);
  NoteSize(file, "matte", "its layer", *picture.world, *world, static_cast<int32_t>(use));
  WithContext(file, [&] {
    vx::MaskBuffer matte = MatteOfSize(*picture.world, use, world->width, world->height);
    Soften(options.feather, frame->Progress(), &matte);
    vx::merge(*world, matte, {.progress = frame->Progress()});
  });
  (*record)["matte"] = file;
  (*record)["matte_use"] = MatteUses()[static_cast<size_t>(use)];
}

}  // namespace vxcli

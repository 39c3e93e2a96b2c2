// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "Layers.h"

#include <algorithm>

#include "Errors.h"

namespace vxcli {

namespace {

// Far enough for any picture, near enough that no sum of positions leaves 32 bits.
constexpr int64_t kFarthest = 1000000;

const std::vector<std::string>& MaskUses() {
  static const std::vector<std::string> uses = {"alpha", "inverse-alpha", "luma", "inverse-luma"};
  return uses;
}

const std::vector<std::string>& Fields() {
  static const std::vector<std::string> fields = {"both", "even", "odd"};
  return fields;
}

}  // namespace

const char* MaskUseName(int32_t use) { return MaskUses()[static_cast<size_t>(use)].c_str(); }

void AddDrawOptions(CLI::App* app, const std::string& group, DrawWords* words) {
  app->add_option("--mode", words->mode, "Transfer mode, name or number (vx list modes) [in-front]")
      ->type_name("NAME")
      ->group(group);
  app->add_option("--opacity", words->opacity, "0 to 1 [1]")->type_name("NUMBER")->group(group);
  app->add_option("--seed", words->seed, "Of the random pattern of dissolve, 32 bits [0]")
      ->type_name("NUMBER")
      ->group(group);
  app->add_flag("--keep-alpha", words->keep_alpha, "Leave the alpha below as it is")->group(group);
  app->add_option("--mask", words->mask, "Picture whose pixels weight the layer's")
      ->type_name("FILE")
      ->group(group);
  app->add_option("--mask-use", words->mask_use,
                  "alpha, inverse-alpha, luma or inverse-luma [alpha, or luma when the mask has no "
                  "alpha]")
      ->type_name("WHAT")
      ->group(group);
  app->add_option(
         "--mask-at", words->mask_at,
         "Where the mask's corner lies on the background; outside of it the mask counts as "
         "0, inverse uses as full [0,0]")
      ->type_name("X,Y")
      ->group(group);
  app->add_option("--matte", words->matte,
                  "Picture that the layer's alpha is multiplied by before it is drawn; the corners "
                  "of the two lie on each other")
      ->type_name("FILE")
      ->group(group);
  app->add_option(
         "--matte-use", words->matte_use,
         "alpha, inverse-alpha, luma or inverse-luma [alpha, or luma when the matte has no "
         "alpha]")
      ->type_name("WHAT")
      ->group(group);
  app->add_option("--feather", words->feather, "Soften the matte: radius in pixels, 0 to 32767 [0]")
      ->type_name("R")
      ->group(group);
  app->add_option("--feather-kind", words->feather_kind, "box, soft or gaussian [soft]")
      ->type_name("KIND")
      ->group(group);
  app->add_option("--field", words->field,
                  "both, even or odd: rows to draw, counted from 0 on the background [both]")
      ->type_name("ROWS")
      ->group(group);
}

void AddLayerOptions(CLI::App* app, LayerWords* words) {
  const std::string group = "Options of a layer, after its --layer";
  app->add_option("--layer", words->file, "Picture to draw; repeat it for more layers")
      ->type_name("FILE")
      ->group(group);
  app->add_option("--at", words->at, "Where its corner lands; may be negative [0,0]")
      ->type_name("X,Y")
      ->group(group);
  app->add_option("--rect", words->rect,
                  "Draw only this area of it; --at places the area's corner [all]")
      ->type_name("L,T,R,B")
      ->group(group);
  AddDrawOptions(app, group, words);
}

std::vector<std::vector<std::string>> TakeLayers(std::vector<std::string>* arguments) {
  CLI::App probe;
  LayerWords unused;
  AddLayerOptions(&probe, &unused);
  std::vector<std::vector<std::string>> groups;
  std::vector<std::string> rest;
  for (size_t i = 0; i < arguments->size(); ++i) {
    const std::string& word = (*arguments)[i];
    size_t equals = word.find('=');
    std::string name = word.substr(0, equals);
    const CLI::Option* option = name.starts_with("--") ? probe.get_option_no_throw(name) : nullptr;
    if (!option || name == "--help") {
      rest.push_back(word);
      continue;
    }
    if (name == "--layer") groups.emplace_back();
    if (groups.empty()) {
      throw UsageError(name + ": belongs to a layer; put it after a --layer FILE");
    }
    std::string whole = word;
    // Joined, so that a value such as -10,5 is not taken for an option.
    if (option->get_items_expected_max() != 0 && equals == std::string::npos) {
      if (i + 1 == arguments->size()) throw UsageError(name + ": needs a value after it");
      whole += "=" + (*arguments)[++i];
    }
    groups.back().push_back(whole);
  }
  *arguments = rest;
  return groups;
}

Drawing ParseDrawing(const DrawWords& words) {
  Drawing drawing;
  drawing.mode = ParseMode(words.mode);
  drawing.opacity = ParseNumber("--opacity", words.opacity, 0, 1);
  drawing.seed = static_cast<int32_t>(ParseInteger("--seed", words.seed, INT32_MIN, INT32_MAX));
  drawing.keep_alpha = words.keep_alpha;
  drawing.mask = words.mask;
  if (!words.mask_use.empty()) {
    drawing.mask_use = ParseChoice("--mask-use", words.mask_use, MaskUses());
  }
  drawing.mask_at = ParsePoint("--mask-at", words.mask_at, INT16_MIN, INT16_MAX);
  drawing.field = ParseChoice("--field", words.field, Fields());
  drawing.matte = words.matte;
  if (!words.matte_use.empty()) {
    drawing.matte_use = ParseChoice("--matte-use", words.matte_use, MaskUses());
  }
  drawing.feather = ParseFeather("--feather", words.feather, words.feather_kind);
  if (drawing.matte.empty() && (!words.matte_use.empty() || !words.feather.empty())) {
    throw UsageError("--matte-use, --feather: mean nothing without --matte FILE");
  }
  const bool has_mask_words = !words.mask_use.empty() || words.mask_at != DrawWords().mask_at;
  if (drawing.mask.empty() && has_mask_words) {
    throw UsageError("--mask-use, --mask-at: mean nothing without --mask FILE");
  }
  if (drawing.mask.empty() && drawing.mode.number == VX_Xfer_MaskMix) {
    throw UsageError("--mode mask-mix: needs --mask FILE, whose values mix the two pictures");
  }
  return drawing;
}

Layer ParseLayer(const std::vector<std::string>& group) {
  CLI::App app;
  LayerWords words;
  AddLayerOptions(&app, &words);
  std::vector<std::string> reversed(group.rbegin(), group.rend());
  try {
    app.parse(reversed);
  } catch (const CLI::ParseError& error) {
    throw UsageError(error.what());
  }
  if (words.file.empty()) throw UsageError("--layer: needs the name of a picture after it");
  Layer layer;
  layer.file = words.file;
  layer.at = ParsePoint("--at", words.at, -kFarthest, kFarthest);
  if (!words.rect.empty()) layer.rect = ParseRect("--rect", words.rect);
  static_cast<Drawing&>(layer) = ParseDrawing(words);
  return layer;
}

}  // namespace vxcli

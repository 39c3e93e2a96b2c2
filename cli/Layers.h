// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The layers of `vx composite`, whose options stand after their --layer, and what `vx transform`
// has of these options: how a picture is drawn.

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

#include "Mattes.h"
#include "VX/VX_Transfer.h"
#include "Values.h"

namespace vxcli {

// How a picture is drawn, as it was typed.
struct DrawWords {
  std::string mode = "in-front", opacity = "1", seed = "0", mask, mask_use, mask_at = "0,0";
  std::string field = "both", matte, matte_use, feather, feather_kind;
  bool keep_alpha = false;
};

// `group` is the heading over them in the help.
void AddDrawOptions(CLI::App* app, const std::string& group, DrawWords* words);

// The words of one layer.
struct LayerWords : DrawWords {
  std::string file, at = "0,0", rect;
};

// Declares the options on an app: on the verb's for its help, on one per layer for parsing.
void AddLayerOptions(CLI::App* app, LayerWords* words);

// Takes the groups that begin with --layer out of the arguments of `vx composite`. Throws
// UsageError for an option of a layer that stands before any --layer.
std::vector<std::vector<std::string>> TakeLayers(std::vector<std::string>* arguments);

struct Drawing {
  Mode mode{};
  double opacity = 1;
  int32_t seed = 0;
  bool keep_alpha = false;
  std::string mask;
  std::optional<int32_t> mask_use;  // VX_MaskUse_...; without one the mask picture decides
  Point mask_at;
  int32_t field = VX_Field_Both;
  std::string matte;                 // a picture that the layer's own alpha is multiplied by
  std::optional<int32_t> matte_use;  // VX_Matte_...; without one the picture decides
  Feather feather;                   // of the matte
};

struct Layer : Drawing {
  std::string file;
  Point at;
  std::optional<M_Rect> rect;
};

// Both throw UsageError.
Drawing ParseDrawing(const DrawWords& words);
Layer ParseLayer(const std::vector<std::string>& group);

const char* MaskUseName(int32_t use);

}  // namespace vxcli

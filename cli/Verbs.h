// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The verbs of the command, a file each. A verb declares its options on the root and gives back
// what to call when it was named; its words are judged there, so that every wrong value is a
// UsageError.

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <vector>

namespace vxcli {

struct MotionWords;

struct Verb {
  CLI::App* app;
  std::function<int()> run;  // gives the exit code
};

// `layers` holds, for each --layer, the words that belong to it; see Layers.h.
Verb AddComposite(CLI::App* root, const std::vector<std::vector<std::string>>* layers);
// `motion` holds the places of the layer; see Motion.h.
Verb AddTransform(CLI::App* root, const MotionWords* motion);
Verb AddFill(CLI::App* root);
Verb AddCopy(CLI::App* root);
Verb AddResize(CLI::App* root);
Verb AddBlur(CLI::App* root);
Verb AddConvolve(CLI::App* root);
Verb AddKernel(CLI::App* root);
Verb AddMatte(CLI::App* root);
Verb AddConvert(CLI::App* root);
Verb AddPremultiply(CLI::App* root);
Verb AddUnpremultiply(CLI::App* root);
Verb AddGuessAlpha(CLI::App* root);
Verb AddList(CLI::App* root);
Verb AddModes(CLI::App* root);
Verb AddCompare(CLI::App* root);
Verb AddInfo(CLI::App* root);
Verb AddProfile(CLI::App* root);

// The text of --version.
std::string VersionText();

}  // namespace vxcli

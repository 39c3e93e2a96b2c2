// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx kernel: the weights of a Gaussian, in the form that vx convolve reads.

#include <iostream>
#include <memory>

#include "Console.h"
#include "Errors.h"
#include "KernelFile.h"
#include "VX/VX_Convolve.h"
#include "Values.h"
#include "Verbs.h"

namespace vxcli {

namespace {

struct KernelWords {
  std::string gaussian, multiplier = "1";
  bool one_dimensional = false, normalize = false, json = false;
};

nlohmann::ordered_json Rows(const Kernel& kernel) {
  nlohmann::ordered_json rows = nlohmann::ordered_json::array();
  const std::vector<int32_t>& weights = kernel.weights[0];
  for (auto row = weights.begin(); row != weights.end(); row += kernel.size) {
    rows.push_back(std::vector<int32_t>(row, row + kernel.size));
  }
  return rows;
}

int Run(const KernelWords& words) {
  const double radius = ParseNumber("--gaussian", words.gaussian, 0, kLargestKernelRadius);
  const double multiplier = ParseNumber("--multiplier", words.multiplier, 0, 1e300);
  const int32_t flags = (words.one_dimensional ? VX_Kernel_OneDimensional : 0) |
                        (words.normalize ? VX_Kernel_Normalize : 0);
  const Kernel kernel = MakeGaussianKernel(radius, flags, multiplier);
  const int64_t sum = SumOf(kernel.weights[0]);
  if (words.json) {
    PrintJson({{"radius", radius},
               {"multiplier", multiplier},
               {"one_dimensional", words.one_dimensional},
               {"normalize", words.normalize},
               {"diameter", kernel.size},
               {"sum", sum},
               {"weights", Rows(kernel)}});
  } else {
    const std::string side = std::to_string(kernel.size);
    std::cout << "# Gaussian of radius " << words.gaussian << ": "
              << (words.one_dimensional ? side : side + " x " + side) << " weights of sum " << sum
              << "; for vx convolve" << (words.one_dimensional ? " --one-dimensional x or y" : "")
              << " --normalize\n"
              << KernelText(kernel);
  }
  return kDone;
}

}  // namespace

Verb AddKernel(CLI::App* root) {
  auto words = std::make_shared<KernelWords>();
  CLI::App* app = root->add_subcommand("kernel", "Print the weights of a Gaussian");
  app->add_option("--gaussian", words->gaussian,
                  "Radius in pixels, 0 to 511; the kernel has 2R + 1 weights a side, R rounded up")
      ->type_name("R")
      ->required();
  app->add_flag("--one-dimensional", words->one_dimensional, "One row in place of a square");
  app->add_flag("--normalize", words->normalize,
                "Scale the weights so that they sum to about 255 times their number");
  app->add_option("--multiplier", words->multiplier,
                  "Factor for the weights, 0 or more, before they are limited to 255 [1]")
      ->type_name("M");
  app->add_flag("--json", words->json, "Print JSON");
  app->footer("The output is a kernel file for vx convolve.\n"
              "Example:\n  vx kernel --gaussian 2.5 > soft.txt");
  return {app, [words] { return Run(*words); }};
}

}  // namespace vxcli

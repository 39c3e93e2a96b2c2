// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx kernel: prints the weights of a Gaussian, in the form that vx convolve reads.

#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "Console.h"
#include "Errors.h"
#include "KernelFile.h"
#include "VX/VX_Convolve.h"
#include "Values.h"
#include "Verbs.h"

namespace vxcli {

namespace {

struct KernelOptions {
  double gaussian = 0, multiplier = 1;
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

int Run(const KernelOptions& options) {
  const int32_t flags = (options.one_dimensional ? VX_Kernel_OneDimensional : 0) |
                        (options.normalize ? VX_Kernel_Normalize : 0);
  const Kernel kernel = MakeGaussianKernel(options.gaussian, flags, options.multiplier);
  const int64_t sum = SumOf(kernel.weights[0]);
  if (options.json) {
    PrintJson({{"radius", options.gaussian},
               {"multiplier", options.multiplier},
               {"one_dimensional", options.one_dimensional},
               {"normalize", options.normalize},
               {"diameter", kernel.size},
               {"sum", sum},
               {"weights", Rows(kernel)}});
  } else {
    const std::string side = std::to_string(kernel.size);
    std::cout << "# Gaussian of radius " << Plain(options.gaussian) << ": "
              << (options.one_dimensional ? side : side + " x " + side) << " weights of sum " << sum
              << "; for vx convolve" << (options.one_dimensional ? " --one-dimensional x or y" : "")
              << " --normalize\n"
              << KernelText(kernel);
  }
  return kDone;
}

}  // namespace

Verb KernelVerb() {
  auto to = std::make_shared<KernelOptions>();
  OptionList options = {
      Option{"--gaussian", "R", Number(&to->gaussian, 0, kLargestKernelRadius),
             "Radius in pixels, %r; the kernel has 2R + 1 weights a side, R rounded up"}
          .Required(),
      {"--one-dimensional", "", Flag(&to->one_dimensional), "One row in place of a square"},
      {"--normalize", "", Flag(&to->normalize),
       "Scale the weights so that they sum to about 255 times their number"},
      Option{"--multiplier", "M", Number(&to->multiplier, 0, 1e300),
             "Factor for the weights, %r, before they are limited to 255"}
          .Default("1"),
      {"--json", "", Flag(&to->json), "Print JSON"}};
  return {"kernel", "Print the weights of a Gaussian", std::move(options),
          "The output is a kernel file for vx convolve.\n"
          "Example:\n  vx kernel --gaussian 2.5 > soft.txt",
          [to](const Verb&) { return Run(*to); }};
}

}  // namespace vxcli

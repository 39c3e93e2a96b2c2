// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Kernels of vx convolve and vx kernel, and the form of kernel files.
//
// A kernel file is text: rows of whole numbers, separated by blanks or commas, the top row first.
// Text after a # is a comment. One block of rows is used for all channels. Four blocks, separated
// by empty lines, are for alpha, red, green and blue and have the same size. A block is square with
// an odd side. A one-dimensional kernel is one row or one column with an odd number of weights.

#include <cstdint>
#include <string>
#include <vector>

#include "VX/cpp/Filters.hpp"

namespace vxcli {

// The largest side of a kernel, and the radius of a Gaussian with this side.
inline constexpr int32_t kLargestKernel = 1023;
inline constexpr int32_t kLargestKernelRadius = kLargestKernel / 2;

// One kernel for all channels, or four for alpha, red, green and blue.
using Kernels = std::vector<vx::Kernel>;

// Returns the kernel of a channel: 0 alpha, 1 red, 2 green, 3 blue.
inline const vx::Kernel& KernelOf(const Kernels& kernels, size_t channel) {
  return kernels.size() == 1 ? kernels[0] : kernels[channel];
}

int64_t SumOfWeights(const vx::Kernel& kernel);

// Reads a kernel file. Throws VXIO_Error (Input); the message contains the file, the line and the
// reason.
Kernels ReadKernelFile(const std::string& path, bool one_dimensional);

// Returns the text of a kernel file, with aligned columns.
std::string KernelText(const Kernels& kernels);

}  // namespace vxcli

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Kernels of vx convolve and vx kernel, and their text.
//
// A kernel file is text: rows of whole numbers, separated by blanks or commas, the top row first.
// Text after a # is a comment. One block of rows is for all channels; four blocks with an empty
// line between them are for alpha, red, green and blue, all of the same size. A block is square
// with an odd side or, for a kernel of one dimension, one row or one column with an odd count.

#include <cstdint>
#include <string>
#include <vector>

#include "VX/cpp/Filters.hpp"

namespace vxcli {

// The longest side of a kernel, and the radius of the Gaussian that has it.
inline constexpr int32_t kLargestKernel = 1023;
inline constexpr int32_t kLargestKernelRadius = kLargestKernel / 2;

// One kernel for all channels, or four for alpha, red, green and blue.
using Kernels = std::vector<vx::Kernel>;

// The kernel of a channel, 0 to 3.
inline const vx::Kernel& KernelOf(const Kernels& kernels, size_t channel) {
  return kernels.size() == 1 ? kernels[0] : kernels[channel];
}

int64_t SumOfWeights(const vx::Kernel& kernel);

// Throws VXIO_Error (Input) with the file, the line and the reason.
Kernels ReadKernelFile(const std::string& path, bool one_dimensional);

// The text of a kernel file, in aligned columns.
std::string KernelText(const Kernels& kernels);

}  // namespace vxcli

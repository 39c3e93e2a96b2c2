// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Kernels of vx convolve and vx kernel, and their text.
//
// A kernel file is text: rows of whole numbers with blanks or commas between them, the top row
// first. What follows a # in a line is a comment. One block of rows serves all channels; four
// blocks with an empty line between them are those of alpha, red, green and blue, all of the same
// size. A block is square with an odd side or, for a kernel of one dimension, one row or one column
// of an odd count.

#include <cstdint>
#include <string>
#include <vector>

namespace vxcli {

// The longest side of a kernel, and the radius of the Gaussian that has it.
inline constexpr int32_t kLargestKernel = 1023;
inline constexpr int32_t kLargestKernelRadius = kLargestKernel / 2;

enum class KernelForm { Square, Line };

struct Kernel {
  KernelForm form = KernelForm::Square;
  int32_t size = 0;                           // weights a side
  std::vector<std::vector<int32_t>> weights;  // one block for all channels, or four (argb)

  // The weights of a channel, 0 to 3 for alpha, red, green and blue.
  const std::vector<int32_t>& Of(size_t channel) const {
    return weights.size() == 1 ? weights[0] : weights[channel];
  }
};

// The sum of the weights of a block.
int64_t SumOf(const std::vector<int32_t>& weights);

// Throws VXIO_Error (Input) with the file, the line and what is wrong there.
Kernel ReadKernelFile(const std::string& path, KernelForm form);

// `flags` are those of VX_GaussianKernel. Throws LibraryError.
Kernel MakeGaussianKernel(double radius, int32_t flags, double multiplier);

// The rows of a kernel as a kernel file holds them, columns flush; a line feed ends each.
std::string KernelText(const Kernel& kernel);

}  // namespace vxcli

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The record of vectors in files. All numbers have 32 bits, little-endian:
//
//   bytes     field
//   4         width of the analysis
//   4         height of the analysis
//   4 * 52    descriptors of both luminances, the forward field, the backward field
//   8 w h     the forward field: x and y of each vector, in row order
//   8 w h     the backward field
//
// A descriptor is, for x and then y, the size, the origin as a float, the origin, the mode of the
// edges, the first and the last usable index; then a zero. The luminances are not stored.

#include <functional>
#include <memory>

#include "frameblend/smooth/FnVeltorVectors.h"

inline constexpr int64_t kFnRecordHeader = 216;
constexpr int64_t FnRecordBytes(int32_t width, int32_t height) {
  return kFnRecordHeader + 16 * int64_t{width} * height;
}

// Transfer bytes, or throw the code of a failure.
using FnByteSink = std::function<void(const void* bytes, int64_t count)>;
using FnByteSource = std::function<void(void* bytes, int64_t count)>;

void FnWriteRecord(const FnVeltorVectors& vectors, const FnByteSink& sink);

// Throws VX_ErrBadParameter for a record that is not consistent, VX_ErrOutOfMemory, or what
// `source` throws. The result has no luminances.
std::unique_ptr<FnVeltorVectors> FnReadRecord(const FnByteSource& source);

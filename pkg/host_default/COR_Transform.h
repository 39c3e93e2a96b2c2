// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// A transform between two profiles: the tone curves of the first, the product of both matrices, the
// inverse tone curves of the second.

#include <array>
#include <memory>
#include <vector>

#include "COR_Codes.h"
#include "COR_Profile.h"

// Immutable and thread-safe.
class COR_QCE_Transform {
 public:
  COR_QCE_Transform(const COR_QCE_ProfilePtr& from, const COR_QCE_ProfilePtr& to, uint32_t format);

  uint32_t format() const { return format_; }

  // `src` and `dst` need no alignment.
  void Apply(const void* src, void* dst, int32_t count, bool copy_alpha) const;

 private:
  using Light = std::array<float, 3>;
  struct Bytes;
  struct Words;
  struct Floats;

  void MultiplyMatrices();
  void Tabulate(uint32_t white, uint32_t full);
  Light ToTarget(const Light& light) const;
  template <class Format>
  void ApplyRow(const void* src, void* dst, int32_t count, bool copy_alpha) const;

  COR_QCE_ProfilePtr from_, to_;
  uint32_t format_;
  bool is_identity_;
  bool same_primaries_;
  std::array<std::array<double, 3>, 3> matrix_ = {};

  // Tables for integer formats: the linear value of each source value, and the target codes.
  // Channels with equal curves share a table. Null if the values are computed for each pixel.
  std::array<std::shared_ptr<const std::vector<float>>, 3> light_;
  std::array<std::shared_ptr<const host::Codes>, 3> codes_;
};

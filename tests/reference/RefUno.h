// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The slow twins of one-channel images, one sample at a time. The type of the samples selects 8
// bits, 16 bits or float.
//
// Arguments must be valid; they are not checked. At integer depths the product must give equal
// bits. Float scans are summed in double and rounded once, so the product's running sums may differ
// in the last places. All other float operations are computed in single precision.
// else in float is plain single precision.

#include <vector>

#include "VX/VX_UnoBuffer.h"

namespace vxref {

// A one-channel image; `samples` is row after row.
template <class Sample>
struct Plane {
  int32_t width;
  int32_t height;
  std::vector<Sample> samples;

  Sample& At(int64_t x, int64_t y) { return samples[static_cast<size_t>(y * width + x)]; }
  const Sample& At(int64_t x, int64_t y) const {
    return samples[static_cast<size_t>(y * width + x)];
  }
};

// Converts a sample to another depth. A sample of the same depth is unchanged.
template <class To, class From>
To SampleAs(From v);

template <class Sample>
void Fade(double opacity, Plane<Sample>* plane);
template <class Sample>
void InvertAndFade(VX_Fixed opacity, Plane<Sample>* plane);

template <class From, class To>
void Convert(const Plane<From>& src, const M_Rect* rect, bool invert, Plane<To>* dst);

template <class Sample>
void Transfer(const Plane<Sample>& src, const Plane<Sample>* mask, int32_t mode, const M_Rect* rect,
              const M_Point* point, Plane<Sample>* dst);

// A gain of 1 leaves the samples unchanged.
template <class From, class Sum>
void Accumulate(const Plane<From>& src, int32_t mode, float src_gain, float dst_gain,
                const M_Rect* rect, const M_Point* point, Plane<Sum>* dst);

template <class Sample>
void BoxScan(int32_t kind, int32_t start, int32_t end, VX_Fixed radius, std::vector<Sample>* line);
template <class Sample>
void GaussianScan(int32_t kind, int32_t start, int32_t end, VX_Fixed radius,
                  std::vector<Sample>* line);

template <class Sample>
void Feather(int32_t feather, VX_Fixed radius_x, VX_Fixed radius_y, Plane<Sample>* plane);

}  // namespace vxref

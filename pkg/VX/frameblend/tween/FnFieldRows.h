// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// A field of valid vectors, zoomed to the size of the picture row by row. The results are those of
// ImageZoomerGP. Each row of the field is zoomed along x once, for all rows of the picture that it
// contributes to.

#include <array>
#include <vector>

#include "frameblend/imgproc/FnLanes.h"
#include "frameblend/imgproc/FnResample.h"

class FnFieldRows {
 public:
  // The axis is that of both directions; `width` is that of the picture.
  FnFieldRows(const FnVectorMap& field, const FnZoomAxis& axis, int32_t width)
      : field_(field),
        axis_(axis),
        padded_((static_cast<size_t>(width) + kFnLanes - 1) / kFnLanes * kFnLanes),
        low_(padded_),
        high_(padded_),
        fractions_(padded_),
        x_(padded_),
        y_(padded_) {
    for (int32_t i = 0; i < width; ++i) {
      const auto place = FnZoomPlace::At(axis.At(i), field.width());
      const auto k = static_cast<size_t>(i);
      low_[k] = place.low, high_[k] = place.high, fractions_[k] = place.fraction;
    }
    for (Line& line : lines_) line.x.resize(padded_), line.y.resize(padded_);
  }

  // Computes a row of the picture.
  void Compute(int32_t row) {
    const auto place = FnZoomPlace::At(axis_.At(row), field_.height());
    const Line& upper = Zoomed(place.low);
    const Line& lower = Zoomed(place.high);
    const auto mix = [&](const std::vector<float>& from, const std::vector<float>& to, size_t i) {
      return FnMixed(Load<FnFloats>(from, i), Load<FnFloats>(to, i), FnFloats{} + place.fraction) *
             axis_.value;
    };
    for (size_t i = 0; i < padded_; i += kFnLanes) {
      Store(mix(upper.x, lower.x, i), &x_, i);
      Store(mix(upper.y, lower.y, i), &y_, i);
    }
  }
  // The vectors of the row that was computed last.
  FnVectorLanes Lanes(int32_t from) const {
    const auto i = static_cast<size_t>(from);
    return {Load<FnFloats>(x_, i), Load<FnFloats>(y_, i)};
  }
  HvVec2 operator[](size_t i) const { return {x_[i], y_[i]}; }

 private:
  struct Line {
    int32_t index = -1;
    std::vector<float> x, y;
  };

  // Neighbouring rows have different parity, and the last row may be both the upper and the lower.
  const Line& Zoomed(int32_t index) {
    Line& line = lines_[static_cast<size_t>(index & 1)];
    if (line.index == index) return line;
    line.index = index;
    const auto* const from = reinterpret_cast<const char*>(field_.row(index));
    for (size_t i = 0; i < padded_; i += kFnLanes) {
      const auto low = Load<FnInts>(low_, i), high = Load<FnInts>(high_, i);
      const auto fractions = Load<FnFloats>(fractions_, i);
      const auto component = [&](ptrdiff_t offset) {
        const auto gathered = [&](FnInts at) {
          return reinterpret_cast<FnFloats>(VXp_Gathered<sizeof(HvVec2)>(from + offset, at));
        };
        return FnMixed(gathered(low), gathered(high), fractions);
      };
      Store(component(0), &line.x, i);
      Store(component(sizeof(float)), &line.y, i);
    }
    return line;
  }

  template <class Vector, class Value>
  static Vector Load(const std::vector<Value>& from, size_t i) {
    Vector v;
    std::memcpy(&v, from.data() + i, sizeof v);
    return v;
  }
  static void Store(FnFloats v, std::vector<float>* to, size_t i) {
    std::memcpy(to->data() + i, &v, sizeof v);
  }

  const FnVectorMap& field_;
  FnZoomAxis axis_;
  size_t padded_;  // the width, a multiple of the lanes
  std::vector<int32_t> low_, high_;
  std::vector<float> fractions_, x_, y_;
  std::array<Line, 2> lines_;
};

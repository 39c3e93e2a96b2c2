// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// A spatial pass for neighbouring pixels of a row in lanes: the pair of vectors with the lowest
// cost among the neighbours and the own vectors of both fields. Only for pixels that are visible in
// both frames and have all neighbours, without projected candidates, borrowed vectors and masks.
// The results are those of FnMotionEstimateGradientTweenerIterateSpatialCandidatesSinglePass for
// one pixel.

#include <array>

#include "frameblend/imgproc/FnLanes.h"
#include "frameblend/tween/FnTween.h"

class FnBestPairLanes {
 public:
  // `outside` is the value of positions outside of a frame, `highest` the cost above all others,
  // and `matchScale` the factor of the differences of samples.
  FnBestPairLanes(const FnMotionEstimateGradientTweeningParameters& parameters, float outside,
                  float highest, float matchScale)
      : p_(parameters), outside_(outside), highest_(highest), match_(matchScale) {}

  bool CanRead() const { return FnHasLaneOffsets(*p_.first) && FnHasLaneOffsets(*p_.second); }

  // Stores the vectors of the pixels from (x, y) on. `a` and `b` are the fields before the pass,
  // and the marks are those of the monitors at (x, y), or null. Returns the pixels that have to be
  // processed one by one.
  FnInts Store(int32_t x, int32_t y, const FnVectorMap& a, const FnVectorMap& b,
               const int32_t* marksA, const int32_t* marksB, HvVec2* outA, HvVec2* outB) const {
    FnInts state;
    std::memcpy(&state, p_.occlusion->row(y) + x, sizeof state);
    const FnInts both = state == int32_t{FnOcclusion_Both};
    if (!VXp_AnyLane(both)) return ~both;

    const Side side_a(a, x, y, marksA), side_b(b, x, y, marksB);
    const FnInts active = both & side_a.any & side_b.any;
    const Pixels pixels{FnCentres(x), FnFloats{} + (static_cast<float>(y) + 0.5f)};
    FnInts alone{};
    std::array<FnFloats, 9> samples, distances;
    for (size_t j = 0; j < 9; ++j) {
      if (!VXp_AnyLane(FnInts(side_b.offered[j] & active))) continue;
      samples[j] = Displaced(*p_.first, pixels, side_b, j, p_.position, &alone);
      distances[j] = side_b.Distance(j);
    }
    FnFloats lowest = FnFloats{} + highest_;
    FnVectorLanes best_a{}, best_b{};
    FnInts unsettled = ~FnInts{};  // nothing found, or several pairs of the lowest cost
    for (size_t i = 0; i < 9; ++i) {
      const FnInts offered = side_a.offered[i] & active;
      if (!VXp_AnyLane(offered)) continue;
      const FnVectorLanes& va = side_a.vectors[i];
      const FnFloats sample = Displaced(*p_.second, pixels, side_a, i, 1 - p_.position, &alone);
      const FnFloats distance = side_a.Distance(i);
      for (size_t j = 0; j < 9; ++j) {
        const FnInts pair = offered & side_b.offered[j];
        if (!VXp_AnyLane(pair)) continue;
        const FnVectorLanes& vb = side_b.vectors[j];
        const FnInts both_outside = (sample == outside_) & (samples[j] == outside_);
        const FnFloats difference = FnVectorLanes::Abs(sample - samples[j]);
        const FnFloats cost = (both_outside ? FnFloats{} + outside_ : difference) * match_ +
                              FnVectorLanes{va.x + vb.x, va.y + vb.y}.L1() * p_.consistency +
                              (distance + distances[j]) * p_.smoothness;
        const FnInts lower = pair & (cost < lowest);
        const FnInts equal = pair & (cost == lowest) & (va.Differs(best_a) | vb.Differs(best_b));
        unsettled = (unsettled | equal) & ~lower;
        lowest = lower ? cost : lowest;
        best_a = {lower ? va.x : best_a.x, lower ? va.y : best_a.y};
        best_b = {lower ? vb.x : best_b.x, lower ? vb.y : best_b.y};
      }
    }
    alone |= unsettled;
    const FnInts stored = active & ~alone;
    for (int32_t k = 0; k < kFnLanes; ++k) {
      if (stored[k] == 0) continue;
      outA[k] = {best_a.x[k], best_a.y[k]};
      outB[k] = {best_b.x[k], best_b.y[k]};
    }
    return ~both | (active & alone);
  }

 private:
  struct Pixels {
    FnFloats column, row;
  };

  // The candidates of one field: the eight neighbours, then the own vector.
  struct Side {
    std::array<FnVectorLanes, 9> vectors;
    std::array<FnInts, 9> offered;
    FnVectorLanes mean;
    FnInts any{};  // where there is a candidate

    Side(const FnVectorMap& map, int32_t x, int32_t y, const int32_t* marks) {
      const HvVec2* const own = map.row(y) + x;
      FnVectorLanes sum{};
      FnInts known{};
      for (size_t i = 0; i < 9; ++i) {
        const ptrdiff_t at = i == 8 ? 0
                                    : static_cast<ptrdiff_t>(kFnNeighbours[i][1]) * map.width() +
                                          kFnNeighbours[i][0];
        vectors[i] = FnVectorLanes::Load(own + at);
        offered[i] = vectors[i].AreValid();
        if (i < 8) {
          sum.x = offered[i] ? sum.x + vectors[i].x : sum.x;
          sum.y = offered[i] ? sum.y + vectors[i].y : sum.y;
          known -= offered[i];
        }
        if (i < 8 && marks != nullptr) {
          FnInts mark;
          std::memcpy(&mark, marks + at, sizeof mark);
          offered[i] &= mark != 0;
        }
        any |= offered[i];
      }
      const FnFloats count = VXp_AsFloat(known);
      mean = {known > 0 ? sum.x / count : sum.x, known > 0 ? sum.y / count : sum.y};
    }
    FnFloats Distance(size_t i) const {
      return 8.0f * FnVectorLanes{mean.x - vectors[i].x, mean.y - vectors[i].y}.L1();
    }
  };

  // The samples of a frame to which candidate i leads. Pixels whose position is inside of the
  // frame, but next to an edge, are added to `alone`.
  FnFloats Displaced(const FnFloatMap& frame, const Pixels& pixels, const Side& side, size_t i,
                     float weight, FnInts* alone) const {
    const FnVectorLanes& v = side.vectors[i];
    const FnFloats px = pixels.column - v.x * weight, py = pixels.row + v.y * weight;
    const FnFloats zero{};
    const FnInts in_frame = (px >= zero) & (py >= zero) & (px < static_cast<float>(frame.width())) &
                            (py < static_cast<float>(frame.height()));
    const FnPairLanes at(px, py);
    const FnInts inside = at.Inside(frame);
    *alone |= side.offered[i] & in_frame & ~inside;
    const FnFloats sample = FnSampleLanes(frame, at, inside);
    return in_frame ? sample : zero + outside_;
  }

  const FnMotionEstimateGradientTweeningParameters& p_;
  float outside_, highest_, match_;
};

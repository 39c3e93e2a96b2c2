// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// A spatial pass for neighbouring pixels of a row in lanes: the pair of vectors with the lowest
// cost among the neighbours and the own vectors of both fields. Only for pixels that are visible in
// both frames and have all neighbours, without projected candidates, borrowed vectors and masks.
// The results are those of FnMotionEstimateGradientTweenerIterateSpatialCandidatesSinglePass for
// one pixel.

#include <array>
#include <limits>

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
    FnInts alone{}, some_outside{};
    std::array<Candidate, 9> from_a, from_b;
    for (size_t i = 0; i < 9; ++i) {
      from_a[i] = CandidateOf(*p_.second, pixels, side_a, i, 1 - p_.position, active, &alone);
      from_b[i] = CandidateOf(*p_.first, pixels, side_b, i, p_.position, active, &alone);
      some_outside |= (from_a[i].sample == outside_) | (from_b[i].sample == outside_);
    }
    const Best best = VXp_AnyLane(FnInts(some_outside & active)) ? Choose<true>(from_a, from_b)
                                                                 : Choose<false>(from_a, from_b);
    // Nothing found, or several pairs of the lowest cost.
    alone |= (best.pair < 0) | (best.second == best.lowest);
    const FnInts stored = active & ~alone;
    FnVectorLanes best_a{}, best_b{};
    for (int32_t i = 0; i < 9; ++i) {
      best_a.Replace((best.pair >> 4) == i, from_a[static_cast<size_t>(i)].vector);
      best_b.Replace((best.pair & 15) == i, from_b[static_cast<size_t>(i)].vector);
    }
    best_a.Store(stored, outA);
    best_b.Store(stored, outB);
    return ~both | (active & alone);
  }

 private:
  struct Pixels {
    FnFloats column, row;
  };

  // A candidate of one field. The distance is infinite in lanes where it is not offered.
  struct Candidate {
    FnVectorLanes vector;
    FnFloats sample, distance;
    bool offered;  // in any lane
  };
  struct Best {
    FnFloats lowest, second;  // the lowest costs
    FnInts pair;              // 16 * the index in one list + the index in the other; -1: none
  };

  // `kOutside`: positions may be outside of the frames.
  template <bool kOutside>
  Best Choose(const std::array<Candidate, 9>& a, const std::array<Candidate, 9>& b) const {
    Best best{FnFloats{} + highest_, FnFloats{} + std::numeric_limits<float>::infinity(),
              FnInts{} - 1};
    for (int32_t i = 0; i < 9; ++i) {
      const Candidate& ca = a[static_cast<size_t>(i)];
      for (int32_t j = 0; j < 9 && ca.offered; ++j) {
        const Candidate& cb = b[static_cast<size_t>(j)];
        if (!cb.offered) continue;
        FnFloats difference = FnVectorLanes::Abs(ca.sample - cb.sample);
        if constexpr (kOutside) {
          const FnInts both_outside = (ca.sample == outside_) & (cb.sample == outside_);
          difference = both_outside ? FnFloats{} + outside_ : difference;
        }
        const FnVectorLanes sum{ca.vector.x + cb.vector.x, ca.vector.y + cb.vector.y};
        const FnFloats cost = difference * match_ + sum.L1() * p_.consistency +
                              (ca.distance + cb.distance) * p_.smoothness;
        best.pair = cost < best.lowest ? FnInts{} + (16 * i + j) : best.pair;
        // A cost that is NaN changes nothing: the functions then return their second argument.
        best.second = VXp_MinFloats(VXp_MaxFloats(best.lowest, cost), best.second);
        best.lowest = VXp_MinFloats(cost, best.lowest);
      }
    }
    return best;
  }

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
          sum.Replace(offered[i], {sum.x + vectors[i].x, sum.y + vectors[i].y});
          known -= offered[i];
        }
        if (i < 8 && marks != nullptr) {
          FnInts mark;
          std::memcpy(&mark, marks + at, sizeof mark);
          offered[i] &= mark != 0;
        }
        // A vector that is offered already is not offered again.
        for (size_t j = 0; j < i; ++j) offered[i] &= ~offered[j] | vectors[i].Differs(vectors[j]);
        any |= offered[i];
      }
      const FnFloats count = VXp_AsFloat(known);
      mean = {known > 0 ? sum.x / count : sum.x, known > 0 ? sum.y / count : sum.y};
    }
    FnFloats Distance(size_t i) const {
      return 8.0f * FnVectorLanes{mean.x - vectors[i].x, mean.y - vectors[i].y}.L1();
    }
  };

  // Candidate i with the samples of the frame to which it leads. Pixels whose position is inside of
  // the frame, but next to an edge, are added to `alone`.
  Candidate CandidateOf(const FnFloatMap& frame, const Pixels& pixels, const Side& side, size_t i,
                        float weight, FnInts active, FnInts* alone) const {
    const FnInts offered = side.offered[i] & active;
    if (!VXp_AnyLane(offered)) return Candidate{};
    const FnVectorLanes& v = side.vectors[i];
    const FnFloats px = pixels.column - v.x * weight, py = pixels.row + v.y * weight;
    const FnFloats zero{};
    const FnInts in_frame = (px >= zero) & (py >= zero) & (px < static_cast<float>(frame.width())) &
                            (py < static_cast<float>(frame.height()));
    const FnPairLanes at(px, py);
    const FnInts inside = at.Inside(frame);
    *alone |= offered & in_frame & ~inside;
    const FnFloats sample = FnSampleLanes(frame, at, inside);
    const FnFloats infinite = zero + std::numeric_limits<float>::infinity();
    return {v, in_frame ? sample : zero + outside_, offered ? side.Distance(i) : infinite, true};
  }

  const FnMotionEstimateGradientTweeningParameters& p_;
  float outside_, highest_, match_;
};

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "frameblend/smooth/FnSmooth.h"

#include <array>
#include <limits>
#include <vector>

#include "frameblend/imgproc/FnLanes.h"

namespace {

constexpr float kLeastCost = 1e-06f;  // smaller costs count as 0

// The difference of the frames at one pixel of frame 1, scaled for the final smoothing.
class Intensity {
 public:
  Intensity(const FnFloatMap& frame0, const FnFloatMap& frame1, const FnFloatMap* mask,
            float weight)
      : frame0_(frame0), frame1_(frame1), mask_(mask), scale_(weight / 123.0f * 65535.0f) {}

  bool IsMasked(int32_t x, int32_t y) const {
    return mask_ != nullptr && mask_->row(y)[x] > kFnMaskLimit;
  }
  float Of(int32_t x, int32_t y, const HvVec2& v) const {
    const float sample =
        frame0_.sampleAt(static_cast<float>(x) + 0.5f - v.x, static_cast<float>(y) + 0.5f + v.y);
    return std::fabs(sample - frame1_.row(y)[x]) * scale_;
  }
  float OfMasked() const { return scale_ * 123.0f; }
  float scale() const { return scale_; }

 private:
  const FnFloatMap& frame0_;
  const FnFloatMap& frame1_;
  const FnFloatMap* mask_;
  float scale_;
};

}  // namespace

void FnVectorSmoother::beginPass() {
  const int32_t width = first->width(), height = first->height();
  if (copy.width() != width || copy.height() != height || isInvalid(&copy)) {
    if (!copy.allocate(width, height)) {
      setError(VX_ErrOutOfMemory);
      return;
    }
  }
  for (int32_t y = 0; y < height; ++y) std::copy_n(first->row(y), width, copy.row(y));
}

FnVectorSmoother::Surroundings FnVectorSmoother::Around(
    int32_t x, int32_t y, int32_t stepX, int32_t stepY,
    const FnMotionEstimateGradientChangedNeighboursMonitor* monitor) const {
  Surroundings around;
  const HvVec2* const own = copy.row(y) + x;
  around.own = *own;
  const int32_t* const mark = monitor != nullptr ? monitor->MarkAt(x, y) : nullptr;
  const bool inner = x - stepX >= x0 && x + stepX < x1 && y - stepY >= y0 && y + stepY < y1;
  for (size_t i = 0; i < kFnNeighbours.size(); ++i) {
    const int32_t dx = kFnNeighbours[i][0] * stepX, dy = kFnNeighbours[i][1] * stepY;
    const int32_t nx = x + dx, ny = y + dy;
    if (!inner && (nx < x0 || nx >= x1 || ny < y0 || ny >= y1)) continue;
    const ptrdiff_t at = static_cast<ptrdiff_t>(dy) * copy.width() + dx;
    around.vectors[i] = own[at];
    around.present |= 1u << i;
    if (mark == nullptr || mark[at] != 0) around.candidates |= 1u << i;
  }
  return around;
}

HvVec2 FnVectorSmoother::Surroundings::Mean() const {
  HvVec2 sum{0, 0};
  int32_t count = 0;
  for (size_t i = 0; i < vectors.size(); ++i) {
    if (!Has(i) || !vectors[i].IsValid()) continue;
    sum = sum + vectors[i];
    ++count;
  }
  if (count == 0) return sum;
  return {sum.x / static_cast<float>(count), sum.y / static_cast<float>(count)};
}

void FnMotionEstimateGradientSmooth::processBand() {
  const FnBand band = Band();
  std::vector<float> scratch(static_cast<size_t>(blockWidth));
  for (int32_t y = band.first; y < band.end; ++y) {
    for (int32_t x = x0; x < x1; ++x) {
      if (Stopped()) return;
      const Surroundings around = Around(x, y, 1, 1, monitor);
      if (around.HasChoice()) first->row(y)[x] = Choose(x, y, around, scratch.data());
    }
  }
}

HvVec2 FnMotionEstimateGradientSmooth::Choose(int32_t x, int32_t y, const Surroundings& around,
                                              float* scratch) const {
  const HvVec2 mean = around.Mean();
  const FnBlock block = FnBlockAt(x, y, {blockWidth, blockHeight, overlap}, *frame0);
  return Chosen(x, y, around, [&](const Candidates& candidates) {
    FnLowest<HvVec2> lowest(around.own, FLT_MAX);
    for (const HvVec2& c : candidates) {
      if (!c.IsValid()) continue;
      const float smooth = (c - mean).L1() / 400.0f / 255.0f * weightB;
      if (smooth > std::max(lowest.cost(), kLeastCost)) continue;
      const float error = BlockError(block, c, scratch);
      const float match = error == FLT_MAX ? 2.0f * weightA : error * weightA;
      const float sum = match + smooth;
      lowest.Offer(c, sum < kLeastCost ? 0.0f : sum);
    }
    return lowest;
  });
}

float FnMotionEstimateGradientSmooth::BlockError(const FnBlock& block, const HvVec2& v,
                                                 float* scratch) const {
  const FnDisplacedFrame displaced(*frame0, v);
  const FnBlock part = displaced.Inside(block);
  const int32_t width = part.x1 - part.x0;
  float sum = 0;
  int32_t count = 0;
  for (int32_t y = part.y0; y < part.y1 && width > 0; ++y) {
    const float* const current = displaced.Row(y, part.x0, part.x1, scratch);
    const float* const reference = frame1->row(y) + part.x0;
    const float* const excluded = mask != nullptr ? mask->row(y) + part.x0 : nullptr;
    for (int32_t i = 0; i < width; ++i) {
      if (excluded != nullptr && excluded[i] > kFnMaskLimit) continue;
      sum += std::fabs(reference[i] - current[i]);
      ++count;
    }
  }
  // At most a quarter of the block is too little to judge.
  return 4 * count > block.Area() ? sum / static_cast<float>(count) : FLT_MAX;
}

namespace {

// The choices of neighbouring pixels of a row in lanes. All neighbours of the pixels are inside the
// region, and no mask excludes pixels.
template <bool byDistance>
class ChoicesInLanes {
 public:
  ChoicesInLanes(const FnVectorMap& map, const FnFloatMap& frame0, const FnFloatMap& frame1,
                 float differenceScale, float distanceWeight)
      : map_(map),
        frame0_(frame0),
        frame1_(frame1),
        scale_(differenceScale),
        weight_(distanceWeight) {}

  // Stores the vectors of the pixels from (x, y) on that have a choice. `marks` are the marks of
  // the monitor at (x, y), or null. Returns the pixels that were not stored and have to be
  // processed one by one: positions at the edges, and equal costs.
  FnInts Store(int32_t x, int32_t y, int32_t stepX, int32_t stepY, const int32_t* marks,
               HvVec2* out) const {
    const HvVec2* const at = map_.row(y) + x;
    std::array<FnVectorLanes, 9> vectors;
    std::array<FnInts, 9> offered;
    const auto own = FnVectorLanes::Load(at);
    FnInts choice{}, known{};
    FnVectorLanes sum{};
    for (size_t i = 0; i < kFnNeighbours.size(); ++i) {
      const ptrdiff_t offset = static_cast<ptrdiff_t>(kFnNeighbours[i][1] * stepY) * map_.width() +
                               kFnNeighbours[i][0] * stepX;
      const auto v = FnVectorLanes::Load(at + offset);
      FnInts changed = ~FnInts{};
      if (marks != nullptr) {
        std::memcpy(&changed, marks + offset, sizeof changed);
        changed = changed != 0;
      }
      const FnInts valid = v.AreValid();
      choice |= changed & v.Differs(own);
      sum.Replace(valid, {sum.x + v.x, sum.y + v.y});
      known -= valid;
      vectors[i] = v;
      offered[i] = changed & valid;
    }
    if (!VXp_AnyLane(choice)) return FnInts{};
    vectors[8] = own;
    offered[8] = own.AreValid();
    const FnFloats count = VXp_AsFloat(known);
    const FnVectorLanes mean = {known != 0 ? sum.x / count : sum.x,
                                known != 0 ? sum.y / count : sum.y};
    return StoreLowest(x, y, vectors, offered, mean, choice, out);
  }

 private:
  FnInts StoreLowest(int32_t x, int32_t y, const std::array<FnVectorLanes, 9>& vectors,
                     const std::array<FnInts, 9>& offered, const FnVectorLanes& mean, FnInts choice,
                     HvVec2* out) const {
    FnFloats reference;
    std::memcpy(&reference, frame1_.row(y) + x, sizeof reference);
    const FnFloats column = FnCentres(x), row = FnFloats{} + (static_cast<float>(y) + 0.5f);
    FnFloats lowest = FnFloats{} + FLT_MAX;
    FnVectorLanes chosen = vectors[8];
    // Without distances, the result is one of the candidates also if no cost is below the highest.
    FnInts alone{}, tied = byDistance ? FnInts{} : ~FnInts{};
    const auto offer = [&](const FnVectorLanes& v, FnFloats distance, FnInts lanes) {
      const FnPairLanes pair(column - v.x, row + v.y);
      const FnInts inside = pair.Inside(frame0_);
      alone |= lanes & ~inside;
      const FnFloats sample = FnSampleLanes(frame0_, pair, inside);
      FnFloats cost = FnVectorLanes::Abs(sample - reference) * scale_;
      if constexpr (byDistance) cost = distance + cost;
      const FnInts lower = lanes & (cost < lowest);
      const FnInts equal = lanes & (cost == lowest) & v.Differs(chosen);
      tied = (tied | equal) & ~lower;
      lowest = lower ? cost : lowest;
      chosen.Replace(lower, v);
    };
    if constexpr (!byDistance) {
      for (size_t i = 0; i < vectors.size(); ++i) {
        const FnInts lanes = offered[i] & choice;
        if (VXp_AnyLane(lanes)) offer(vectors[i], FnFloats{}, lanes);
      }
    } else {
      // The nearest vectors first, until their distance alone exceeds the lowest cost.
      const FnFloats infinite = FnFloats{} + std::numeric_limits<float>::infinity();
      std::array<FnFloats, 9> distances;  // infinite if the vector is not offered, or not any more
      for (size_t i = 0; i < vectors.size(); ++i) {
        const FnVectorLanes apart{vectors[i].x - mean.x, vectors[i].y - mean.y};
        distances[i] = (offered[i] & choice) ? apart.L1() * weight_ * 8.0f : infinite;
      }
      for (;;) {
        FnFloats least = distances[0];
        for (const FnFloats& distance : distances) least = VXp_MinFloats(distance, least);
        const FnInts lanes = least <= lowest;
        if (!VXp_AnyLane(lanes)) break;
        FnVectorLanes nearest = vectors[0];
        for (size_t i = 1; i < vectors.size(); ++i) {
          nearest.Replace(distances[i] == least, vectors[i]);
        }
        offer(nearest, least, lanes);
        for (size_t i = 0; i < vectors.size(); ++i) {
          distances[i] = vectors[i].Differs(nearest) ? distances[i] : infinite;
        }
      }
    }
    alone = (alone | tied) & choice;
    chosen.Store(choice & ~alone, out);
    return alone;
  }

  const FnVectorMap& map_;
  const FnFloatMap& frame0_;
  const FnFloatMap& frame1_;
  float scale_, weight_;
};

}  // namespace

template <bool byDistance>
void FnVectorSmoother::ChooseVectors(
    int32_t stepX, int32_t stepY, const FnMotionEstimateGradientChangedNeighboursMonitor* monitor) {
  const FnBand band = Band();
  const Intensity intensity(*frame0, *frame1, mask, weightA);
  const auto choose_one = [&](int32_t x, int32_t y) {
    const Surroundings around = Around(x, y, stepX, stepY, monitor);
    if (!around.HasChoice()) return;
    const HvVec2 mean = byDistance ? around.Mean() : HvVec2{0, 0};
    const bool masked = intensity.IsMasked(x, y);
    first->row(y)[x] = Chosen(x, y, around, [&](const Candidates& candidates) {
      FnLowest<HvVec2> lowest(byDistance ? around.own : candidates[0], FLT_MAX,
                              /*tied=*/!byDistance);
      for (const HvVec2& c : candidates) {
        if (!c.IsValid() || (masked && !byDistance)) continue;
        const float distance = byDistance ? (c - mean).L1() * weightB * 8.0f : 0.0f;
        if (distance > lowest.cost()) continue;
        const float difference = masked ? intensity.OfMasked() : intensity.Of(x, y, c);
        lowest.Offer(c, byDistance ? distance + difference : difference);
      }
      return lowest;
    });
  };
  const ChoicesInLanes<byDistance> lanes(copy, *frame0, *frame1, intensity.scale(), weightB);
  const bool in_lanes = mask == nullptr && FnHasLaneOffsets(*frame0);
  for (int32_t y = band.first; y < band.end; ++y) {
    if (Stopped()) return;
    const bool inner = in_lanes && y - stepY >= y0 && y + stepY < y1;
    int32_t x = x0;
    while (x < x1) {
      const int32_t last = x1 - stepX - kFnLanes;  // of which all neighbours are inside
      if (!inner || x < x0 + stepX || last < x0 + stepX || x >= last + kFnLanes) {
        choose_one(x++, y);
        continue;
      }
      x = std::min(x, last);  // the last group computes some pixels again
      const int32_t* const marks = monitor != nullptr ? monitor->MarkAt(x, y) : nullptr;
      const FnInts alone = lanes.Store(x, y, stepX, stepY, marks, first->row(y) + x);
      for (int32_t k = 0; VXp_AnyLane(alone) && k < kFnLanes; ++k) {
        if (alone[k] != 0) choose_one(x + k, y);
      }
      x += kFnLanes;
    }
  }
}

void FnMotionEstimateGradientSmoothVectorsInitialAssignment::processBand() {
  ChooseVectors<false>(spacingX, spacingY, nullptr);
}

void FnMotionEstimateGradientSmoothVectorsSinglePass::processBand() {
  ChooseVectors<true>(1, 1, monitor);
}

void FnMotionEstimateGradientSmoothVectors::process(FnVectorMap* map) {
  const auto prepare = [&](FnVectorSmoother* stage) {
    stage->interrupt = interrupt;
    stage->weightA = weightA;
    stage->weightB = weightB;
    stage->frame0 = frame0;
    stage->frame1 = frame1;
    stage->mask = mask;
  };
  {
    FnMotionEstimateGradientSmoothVectorsInitialAssignment initial;
    prepare(&initial);
    initial.spacingX = spacingX;
    initial.spacingY = spacingY;
    initial.process(map);
  }
  FnMotionEstimateGradientChangedNeighboursMonitor monitor;
  monitor.interrupt = interrupt;
  monitor.process(map);
  FnMotionEstimateGradientSmoothVectorsSinglePass pass;
  prepare(&pass);
  pass.monitor = &monitor;
  for (int32_t i = 0; i < passes && FnPoll(interrupt) == VX_Ok; ++i) {
    pass.process(map);
    if (i + 1 < passes) monitor.process(map);
  }
}

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "frameblend/smooth/FnSmooth.h"

#include <vector>

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

void FnMotionEstimateGradientSmoothVectorsInitialAssignment::processBand() {
  const FnBand band = Band();
  const Intensity intensity(*frame0, *frame1, mask, weightA);
  for (int32_t y = band.first; y < band.end; ++y) {
    if (Stopped()) return;
    for (int32_t x = x0; x < x1; ++x) {
      const Surroundings around = Around(x, y, spacingX, spacingY, nullptr);
      if (!around.HasChoice()) continue;
      const bool masked = intensity.IsMasked(x, y);
      first->row(y)[x] = Chosen(x, y, around, [&](const Candidates& candidates) {
        FnLowest<HvVec2> lowest(candidates[0], FLT_MAX, /*tied=*/true);
        for (const HvVec2& c : candidates) {
          if (!masked && c.IsValid()) lowest.Offer(c, intensity.Of(x, y, c));
        }
        return lowest;
      });
    }
  }
}

void FnMotionEstimateGradientSmoothVectorsSinglePass::processBand() {
  const FnBand band = Band();
  const Intensity intensity(*frame0, *frame1, mask, weightA);
  for (int32_t y = band.first; y < band.end; ++y) {
    if (Stopped()) return;
    for (int32_t x = x0; x < x1; ++x) {
      const Surroundings around = Around(x, y, 1, 1, monitor);
      if (!around.HasChoice()) continue;
      const HvVec2 mean = around.Mean();
      const bool masked = intensity.IsMasked(x, y);
      first->row(y)[x] = Chosen(x, y, around, [&](const Candidates& candidates) {
        FnLowest<HvVec2> lowest(around.own, FLT_MAX);
        for (const HvVec2& c : candidates) {
          if (!c.IsValid()) continue;
          const float distance = (c - mean).L1() * weightB * 8.0f;
          if (distance > lowest.cost()) continue;
          lowest.Offer(c, distance + (masked ? intensity.OfMasked() : intensity.Of(x, y, c)));
        }
        return lowest;
      });
    }
  }
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

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "frameblend/smooth/FnPyramid.h"

#include "frameblend/motion/FnGradient.h"
#include "frameblend/smooth/FnSmooth.h"

namespace {

constexpr int32_t kLeastQuarter = 4;
constexpr int32_t kMostExtraRounds = 100;

}  // namespace

int32_t FnLevelCount(int32_t width, int32_t height) {
  int32_t levels = 1;
  width /= 2;
  height /= 2;
  while (width / kLeastQuarter > 1 && height / kLeastQuarter > 1) {
    ++levels;
    width /= 2;
    height /= 2;
  }
  return levels;
}

FnSmoothWeights FnSmoothWeightsOf(float parameter) {
  if (parameter < 0) return {1 - parameter, 1};
  return {1, parameter + 1};
}

FnBlockSize FnMotionEstimateGradientPyramid::BlockSize(int32_t level) const {
  const auto i = static_cast<size_t>(level);
  return {static_cast<int32_t>(parameters.blockWidths[i]),
          static_cast<int32_t>(parameters.blockHeights[i]), parameters.overlap};
}

FnVectorMap* FnMotionEstimateGradientPyramid::Map(int32_t level, FnVectorMap* dst) const {
  return level == 0 ? dst : maps_[static_cast<size_t>(level - 1)].get();
}

bool FnMotionEstimateGradientPyramid::AllocateMaps() {
  maps_.clear();
  for (int32_t level = 1; level < parameters.levels; ++level) {
    const FnFloatMap& frame = *parameters.frames0[static_cast<size_t>(level)];
    const FnBlockSize size = BlockSize(level);
    auto map = std::make_unique<FnVectorMap>();
    if (!map->allocate(size.Columns(frame.width()), size.Rows(frame.height()))) {
      if (interrupt != nullptr) interrupt->set(VX_ErrOutOfMemory);
      return false;
    }
    maps_.push_back(std::move(map));
  }
  return true;
}

void FnMotionEstimateGradientPyramid::prepare(FnVectorMap* dst) {
  if (!AllocateMaps()) return;
  bool filled = false;  // the map contains the vectors of the coarser level
  for (int32_t level = parameters.levels - 1; level >= 0; --level) {
    FnVectorMap* const map = Map(level, dst);
    if (map->isEmpty()) continue;
    if (!filled) FnClear(interrupt, map);
    EstimateLevel(level, map);
    if (Stopped()) return;
    FnVectorMap* const finer = level > 0 ? Map(level - 1, dst) : nullptr;
    filled = finer != nullptr && !finer->isEmpty();
    if (filled) ZoomToFiner(level, map, finer);
  }
}

void FnMotionEstimateGradientPyramid::EstimateLevel(int32_t level, FnVectorMap* map) {
  const auto index = static_cast<size_t>(level);
  const bool estimate = level >= parameters.lowestLevel;
  const FnBlockSize size = BlockSize(level);
  const FnFloatMap* const mask = parameters.masks.empty() ? nullptr : parameters.masks[index];
  if (estimate) {
    FnMotionEstimateGradient gradient;
    gradient.interrupt = interrupt;
    gradient.blockWidth = size.width;
    gradient.blockHeight = size.height;
    gradient.overlap = size.overlap;
    gradient.weightA = parameters.weightA;
    gradient.weightB = parameters.weightB;
    gradient.threshold = parameters.threshold;
    gradient.quantiseStep = parameters.quantiseStep;
    gradient.useProfiles = parameters.useProfiles;
    gradient.gateOnActivity = parameters.gateOnActivity;
    gradient.mask = mask;
    if (level == 0) {
      gradient.outPositions = parameters.outPositions;
      gradient.outErrors = parameters.outErrors;
      gradient.outActivity = parameters.outActivity;
    }
    map->setEdgeModes(FnEdge_Mirror, FnEdge_Mirror);
    gradient.process(parameters.frames0[index], parameters.frames1[index], map);
    if (Stopped()) return;
  }
  FnMotionEstimateGradientQuantise quantise;
  quantise.interrupt = interrupt;
  quantise.step = std::ldexp(parameters.quantiseStep, -level);
  quantise.process(map, map);
  if (Stopped()) return;

  FnMotionEstimateGradientChangedNeighboursMonitor monitor;
  monitor.interrupt = interrupt;
  monitor.process(map);
  FnMotionEstimateGradientSmooth smooth;
  smooth.interrupt = interrupt;
  smooth.blockWidth = size.width;
  smooth.blockHeight = size.height;
  smooth.overlap = size.overlap;
  smooth.weightA = parameters.weightA;
  smooth.weightB = parameters.weightB;
  smooth.threshold = parameters.threshold;
  smooth.monitor = &monitor;
  smooth.frame0 = parameters.frames0[index];
  smooth.frame1 = parameters.frames1[index];
  smooth.mask = mask;
  const int32_t rounds = estimate ? parameters.smoothPasses : 0;
  for (int32_t i = 0; i < rounds || (monitor.hasInvalid() && i < rounds + kMostExtraRounds); ++i) {
    if (Stopped()) return;
    smooth.process(map);
    monitor.process(map);
  }
  if (monitor.hasInvalid()) FnClear(interrupt, map);
}

void FnMotionEstimateGradientPyramid::ZoomToFiner(int32_t level, FnVectorMap* from,
                                                  FnVectorMap* to) {
  const FnFloatMap& coarse = *parameters.frames0[static_cast<size_t>(level)];
  const FnFloatMap& fine = *parameters.frames0[static_cast<size_t>(level - 1)];
  const FnBlockSize coarse_size = BlockSize(level), fine_size = BlockSize(level - 1);
  // The centre of a fine block, in pixels of the coarse frame, relative to the centre of the first
  // coarse block, in steps of coarse blocks.
  const auto axis = [](int32_t coarse_frame, int32_t fine_frame, int32_t coarse_block,
                       int32_t coarse_step, int32_t fine_block, int32_t fine_step) {
    const double ratio = static_cast<double>(coarse_frame) / fine_frame;
    return FnZoomAxis{fine_step * ratio / coarse_step,
                      (0.5 * fine_block * ratio - 0.5 * coarse_block) / coarse_step,
                      static_cast<float>(fine_frame) / static_cast<float>(coarse_frame)};
  };
  ImageZoomerGP<HvVec2> zoom;
  zoom.interrupt = interrupt;
  zoom.nearest = parameters.nearestZoom != 0;
  zoom.xAxis = axis(coarse.width(), fine.width(), coarse_size.width, coarse_size.StepX(),
                    fine_size.width, fine_size.StepX());
  zoom.yAxis = axis(coarse.height(), fine.height(), coarse_size.height, coarse_size.StepY(),
                    fine_size.height, fine_size.StepY());
  zoom.process(from, to);
}

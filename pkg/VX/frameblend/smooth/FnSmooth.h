// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Smoothing of vector maps. A vector is replaced by the one of its neighbours' vectors with the
// lowest cost, which is the difference of the pictures plus the distance from the mean of the valid
// neighbours. Vectors are never averaged into the map. Only pixels with a neighbour that the
// monitor marks as changed are processed.
//
// A pass reads the neighbours from a copy of the map that is taken when it starts, so the result
// does not depend on the number of threads.

#include "frameblend/imgproc/FnImgProc.h"
#include "frameblend/motion/FnBlocks.h"
#include "frameblend/smooth/FnCandidates.h"
#include "frameblend/smooth/FnMonitor.h"

// A stage that chooses each vector of a map among the vectors around it.
class FnVectorSmoother : public FnImgProc1<HvVec2> {
 public:
  float weightA = 1;  // of the difference of the pictures
  float weightB = 1;  // of the distance from the neighbours
  const FnFloatMap* frame0 = nullptr;
  const FnFloatMap* frame1 = nullptr;  // the one on whose grid the vectors lie
  const FnFloatMap* mask = nullptr;    // of the size of the frames; values above 0.5 exclude pixels

  void beginPass() override;

 protected:
  using Candidates = FnCandidates<9>;

  // The vector of a pixel and those of its neighbours, in the order of kFnNeighbours.
  struct Surroundings {
    HvVec2 own;
    std::array<HvVec2, 8> vectors;
    uint32_t present = 0;     // a bit for each neighbour inside the region
    uint32_t candidates = 0;  // those that are offered: present, and changed if there is a monitor

    bool Has(size_t i) const { return (present >> i & 1) != 0; }
    // True if there is a choice: a candidate that differs from the own vector.
    bool HasChoice() const {
      for (size_t i = 0; i < vectors.size(); ++i) {
        if ((candidates >> i & 1) != 0 && !(vectors[i] == own)) return true;
      }
      return false;
    }
    // The mean of all valid neighbours, changed or not.
    HvVec2 Mean() const;
  };

  // Reads the neighbours at a distance of (stepX, stepY).
  Surroundings Around(int32_t x, int32_t y, int32_t stepX, int32_t stepY,
                      const FnMotionEstimateGradientChangedNeighboursMonitor* monitor) const;
  // Returns the vector for which `choose` finds the lowest cost among the candidates and the own
  // vector. `choose` gets the candidates without duplicates and returns an FnLowest. It is called
  // with shuffled candidates if the order matters.
  template <class Choose>
  HvVec2 Chosen(int32_t x, int32_t y, const Surroundings& around, const Choose& choose) const {
    Candidates candidates;
    for (size_t i = 0; i < around.vectors.size(); ++i) {
      if ((around.candidates >> i & 1) != 0) candidates.Add(around.vectors[i]);
    }
    candidates.Add(around.own);
    const FnLowest<HvVec2> lowest = choose(candidates);
    if (!lowest.IsTied()) return lowest.value();
    candidates.Shuffle(FnRandom(x, y, copy.width()));
    return choose(candidates).value();
  }

  // Processes a band: each pixel with a choice gets the vector with the lowest cost. The cost is
  // the difference of the pictures, and if `byDistance` the distance from the mean of the
  // neighbours.
  template <bool byDistance>
  void ChooseVectors(int32_t stepX, int32_t stepY,
                     const FnMotionEstimateGradientChangedNeighboursMonitor* monitor);

  FnVectorMap copy;  // the map at the start of the pass
};

// One pass over a map of blocks.
class FnMotionEstimateGradientSmooth final : public FnVectorSmoother {
 public:
  int32_t blockWidth = 0, blockHeight = 0, overlap = 0;
  float threshold = 0.01f;  // not read
  const FnMotionEstimateGradientChangedNeighboursMonitor* monitor = nullptr;

  void processBand() override;

 private:
  HvVec2 Choose(int32_t x, int32_t y, const Surroundings& around, float* scratch) const;
  float BlockError(const FnBlock& block, const HvVec2& v, float* scratch) const;
};

// The first choice for a map with one vector per pixel of the frames.
class FnMotionEstimateGradientSmoothVectorsInitialAssignment final : public FnVectorSmoother {
 public:
  // Also offers the eight vectors at these distances around the pixel. 0: only its own.
  int32_t spacingX = 0, spacingY = 0;

  void processBand() override;
};

// One pass over a map with one vector per pixel of the frames.
class FnMotionEstimateGradientSmoothVectorsSinglePass final : public FnVectorSmoother {
 public:
  const FnMotionEstimateGradientChangedNeighboursMonitor* monitor = nullptr;

  void processBand() override;
};

// The final smoothing: the first choice, then `passes` passes.
class FnMotionEstimateGradientSmoothVectors final : public FnInteruptable {
 public:
  FnInterruptState* interrupt = nullptr;
  int32_t passes = 5;
  float weightA = 1, weightB = 1;
  int32_t spacingX = 0, spacingY = 0;
  const FnFloatMap* frame0 = nullptr;
  const FnFloatMap* frame1 = nullptr;
  const FnFloatMap* mask = nullptr;

  void process(FnVectorMap* map);
};

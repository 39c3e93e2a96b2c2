// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The vector fields of an instant between two frames.
//
// Vectors of the forward field (on the first frame) and of the backward field (on the second) are
// projected to the instant. Where none arrives, content is visible in one frame only. Then each
// pixel chooses a pair of vectors, one towards each frame, among those that arrived and those of
// its neighbours.
//
// Stages read neighbours from a copy of the map at the start of the pass, so the result does not
// depend on the number of threads.

#include <array>

#include "frameblend/imgproc/FnImager.h"
#include "frameblend/imgproc/FnImgProc.h"
#include "frameblend/smooth/FnMonitor.h"
#include "frameblend/tween/FnTweenCandidates.h"

enum FnTweenFlags : uint32_t {
  FnTween_SharedVectors = 0x01,   // vectorsA and vectorsB belong to someone else
  FnTween_KeepVectors = 0x02,     // vectorsA and vectorsB are given, not made
  FnTween_KeepOcclusion = 0x04,   // occlusion is given, not made
  FnTween_Owner = 0x08,           // the object owns what the bits above do not exempt
  FnTween_Occlusion = 0x10,       // content may be visible in one frame only
  FnTween_Diagnostic = 0x40,      // such pixels are drawn in pure red or green
  FnTween_Sinc = 0x100,           // the picture is sampled with the windowed sinc
  FnTween_BorrowNegated = 0x800,  // a side without candidates gets those of the other, negated
  FnTween_Default = 0x438
};

// Where the content of a pixel is visible.
enum FnOcclusion : int32_t {
  FnOcclusion_Unknown = -1,
  FnOcclusion_Both = 0,
  FnOcclusion_First = 1,   // only in the first frame
  FnOcclusion_Second = 2,  // only in the second frame
  FnOcclusion_Undecided = 3
};

struct FnMotionEstimateGradientTweeningParameters {
  int32_t width = 0, height = 0;
  float position = 0.5f;  // the instant: 0 is the first frame, 1 the second
  int32_t spatialPasses = 5;
  float spare1 = 33.178879f;
  int32_t spare2 = 0;
  float smoothness = 1;    // weight of the distance from the mean of the neighbours
  float matchWeight = 1;   // weight of the difference of the frames, in units of 1 / 65535
  float consistency = 10;  // weight of the sum of the two vectors, which are nearly opposite
  float spare3 = 1;
  uint32_t flags = FnTween_Default;
  int32_t occlusionSmoothPasses = 1;
  const FnFloatMap *before = nullptr, *first = nullptr, *second = nullptr, *after = nullptr;
  const FnVectorMap *prevForward = nullptr, *forward = nullptr, *backward = nullptr,
                    *nextBackward = nullptr;
  const FnFloatMap* mask = nullptr;  // values above 0.5: the difference of the frames is 0
  FnIntMap* occlusion = nullptr;     // FnOcclusion
  FnVectorMap *vectorsA = nullptr, *vectorsB = nullptr;  // towards the second, the first frame
  FnTweenCandidates *candidatesA = nullptr, *candidatesB = nullptr;
};

// Projects the vectors of one field. Runs on the calling thread, so that the order in the lists is
// always the same.
enum FnTemporalFlags : uint32_t {
  FnTemporal_Forward = 1,  // into candidatesA; without it from a backward field into candidatesB
  FnTemporal_Neighbouring = 2  // the field of the neighbouring pair of frames
};
class FnMotionEstimateGradientTweenerGenerateTemporalCandidates final : public FnImgProc1<HvVec2> {
 public:
  FnMotionEstimateGradientTweenerGenerateTemporalCandidates(
      const FnMotionEstimateGradientTweeningParameters& p, uint32_t temporalFlags);
  void processBand() override;
  void end() override { List()->Sort(); }

 private:
  FnTweenCandidates* List() const;

  FnMotionEstimateGradientTweeningParameters p_;
  uint32_t temporal_;
};

// A stage that changes the occlusion map.
class FnOcclusionStage : public FnImgProc1<int32_t> {
 public:
  explicit FnOcclusionStage(const FnMotionEstimateGradientTweeningParameters& p);
  bool hasChanged() const { return changed_; }
  void begin() override;
  void processBand() override;

 protected:
  struct Counts {
    int32_t both = 0, first = 0, second = 0;
  };
  // The states of the neighbours of a pixel, and of itself if wanted.
  Counts Count(int32_t x, int32_t y, bool own) const;
  virtual int32_t NewState(int32_t x, int32_t y, int32_t state) = 0;

  FnMotionEstimateGradientTweeningParameters p_;

 private:
  FnIntMap copy_;
  std::atomic<bool> changed_ = false;
};
class FnMotionEstimateGradientTweenerGuessOcclusion final : public FnOcclusionStage {
 public:
  using FnOcclusionStage::FnOcclusionStage;

 protected:
  int32_t NewState(int32_t x, int32_t y, int32_t state) override;
};
class FnMotionEstimateGradientTweenerGuessOcclusionSmoother final : public FnOcclusionStage {
 public:
  using FnOcclusionStage::FnOcclusionStage;

 protected:
  int32_t NewState(int32_t x, int32_t y, int32_t state) override;
};

// Empties the candidates on the side where the content of a pixel is hidden. Runs on the calling
// thread.
class FnMotionEstimateGradientTweenerGuessOcclusionBlanker final : public FnImgProc1<int32_t> {
 public:
  explicit FnMotionEstimateGradientTweenerGuessOcclusionBlanker(
      const FnMotionEstimateGradientTweeningParameters& p)
      : p_(p) {
    options &= ~uint32_t{FnProcess_MultiThreaded};
  }
  void processBand() override;

 private:
  FnMotionEstimateGradientTweeningParameters p_;
};

enum FnSinglePassFlags : uint32_t {
  FnSinglePass_Seed = 0x02,          // seed the monitors at the start of the next pass
  FnSinglePass_FillOnly = 0x04,      // only pixels without the vectors that their state needs
  FnSinglePass_OccludedOnly = 0x08,  // only pixels that are not visible in both frames
  FnSinglePass_Filled = 0x10         // result: a pixel that was filled has a vector now
};
class FnMotionEstimateGradientTweenerIterateSpatialCandidatesSinglePass final
    : public FnImgProc2<HvVec2, HvVec2> {
 public:
  explicit FnMotionEstimateGradientTweenerIterateSpatialCandidatesSinglePass(
      const FnMotionEstimateGradientTweeningParameters& p)
      : p(p) {}

  void begin() override;
  void processBand() override;
  void end() override;

  FnMotionEstimateGradientTweeningParameters p;
  std::atomic<uint32_t> passFlags = FnSinglePass_Seed;

 private:
  struct Side;
  bool IsSkipped(int32_t state, bool hasA, bool hasB) const;
  void ProcessPixel(int32_t x, int32_t y, int32_t state);
  // Stores the vectors of the lowest cost. Stores nothing and returns false if the order of the
  // candidates matters, unless they are `inThisOrder`.
  bool Choose(int32_t x, int32_t y, int32_t state, Side* a, Side* b, bool inThisOrder = false);

  // Their copies of the fields are those of the start of a pass.
  FnMotionEstimateGradientChangedNeighboursMonitor monitorA_, monitorB_;
  int32_t runs_ = 0;
  bool someKnown_ = true;  // any vector, before the pass
};

// The schedule of passes over both fields.
class FnMotionEstimateGradientTweenerIterateSpatialCandidates final : public FnInteruptable {
 public:
  FnInterruptState* interrupt = nullptr;
  void process(const FnMotionEstimateGradientTweeningParameters& p);
};

// Fills vectorsA, vectorsB and occlusion for the instant. All maps have one size.
class FnMotionEstimateGradientTweener final : public Combiner<HvVec2, HvVec2, HvVec2> {
 public:
  FnMotionEstimateGradientTweeningParameters parameters;

  // Does the whole work. Each step fans out on its own.
  void prepare(const FnVectorMap* forward, const FnVectorMap* backward, FnVectorMap* dst) override;

 private:
  void FindCandidates();
};

// Gives every pixel both vectors: the negative of the other one where one is known, then the mean
// of the known neighbours, ring by ring. Fields without any vector become zero.
void FnFillUnknownVectors(FnVectorMap* a, FnVectorMap* b);

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The motion of a pair of pictures.

#include <memory>
#include <mutex>

#include "frameblend/smooth/FnMotionField.h"

// The luminances of both pictures, without their reductions.
struct FnAnalysisPair {
  FnAnalysisPicture first, second;
};
using FnSharedPair = std::shared_ptr<const FnAnalysisPair>;

class FnVeltorVectors {
 public:
  FnVectorMap forward, backward;       // on the first picture, on the second
  FnTexIndexer firstAxes, secondAxes;  // of the luminances

  int32_t width() const { return forward.width(); }
  int32_t height() const { return forward.height(); }

  // Makes the luminances and estimates both fields. Errors are recorded in `interrupt`.
  void Estimate(const VX_LayerDef& a, const VX_LayerDef& b, const VX_Veltor_AlgoParams& settings,
                FnInterruptState* interrupt);

  // The luminances. Vectors that were read from a file have none: the first call makes them again,
  // from the same worlds. Thread-safe. Returns null after an error, which is recorded in
  // `interrupt`.
  FnSharedPair Luminances(const VX_LayerDef& a, const VX_LayerDef& b,
                          const VX_Veltor_AlgoParams& settings, FnInterruptState* interrupt) const;

 private:
  mutable std::mutex mutex_;
  mutable FnSharedPair luminances_;
};

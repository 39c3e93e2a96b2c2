// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The tone curves of a profile for float pixels.
//
// The colour engine evaluates a curve in about 50 ns. Therefore each direction has a table of the
// curve, with 512 segments of equal length in each octave, so that the relative error is about the
// same for dark and bright values. A segment is interpolated linearly. Each segment is compared
// with the engine when the table is made: if it is not precise enough, its entry is NaN, and pixels
// with a value in the segment are converted by the engine.

#include <cstring>
#include <mutex>
#include <vector>

#include "VX/VX_LightCurves.h"
#include "frame/VXp_LaneTraits.h"

class VXp_CurveTable {
 public:
  // Returns the values of the curves for one pixel (alpha, red, green, blue). Alpha is unchanged.
  // The colours are NaN if the table does not contain their values precisely.
  VXp_FloatLanes At(VXp_FloatLanes pixel) const {
    const auto bits = reinterpret_cast<VXp_IntLanes>(pixel);
    const auto place = reinterpret_cast<VXp_IntLanes>(
        Limited(reinterpret_cast<VXp_FloatLanes>(bits & 0x7FFFFFFF)));
    const VXp_IntLanes index = (place >> kShift) - kBase;
    constexpr int32_t kMantissa = 0x7FFFFF, kOne = 0x3F800000;
    const VXp_FloatLanes share =
        reinterpret_cast<VXp_FloatLanes>((place << kStepBits & kMantissa) | kOne) - 1.0f;
    const Ends ends = EndsOf(index);
    const VXp_FloatLanes value = ends.low + (ends.high - ends.low) * share;
    constexpr VXp_IntLanes kKept = {-1, INT32_MIN, INT32_MIN, INT32_MIN};
    return reinterpret_cast<VXp_FloatLanes>(reinterpret_cast<VXp_IntLanes>(value) | (bits & kKept));
  }

 private:
  friend class VX_LightCurves;

  static constexpr int32_t kStepBits = 9;  // 2^9 segments in an octave
  static constexpr int32_t kShift = 23 - kStepBits;
  // Segment 0 is from 0 to 2^-48, the others from there to 2^8. The last entry, for greater
  // values, is NaN.
  static constexpr int32_t kBase = ((127 - 48) << kStepBits) - 1;
  static constexpr int32_t kSegments = 1 + (56 << kStepBits);
  static constexpr int32_t kLast = kSegments + 1;

  // The value at which a segment starts.
  static float StartOf(int32_t segment) {
    const int32_t bits = (kBase + segment) << kShift;
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
  }
  static VXp_FloatLanes Limit(int32_t segment) { return VXp_FloatLanes{} + StartOf(segment); }

  // Limits to the range of the table. NaN becomes the upper limit.
  static VXp_FloatLanes Limited(VXp_FloatLanes size) {
#ifdef __SSE2__
    // If the first operand of these instructions is NaN, the result is the second.
    const __m128 below = _mm_min_ps(reinterpret_cast<__m128>(size), Limit(kLast));
    return reinterpret_cast<VXp_FloatLanes>(_mm_max_ps(below, Limit(0)));
#else
    size = size < Limit(kLast) ? size : Limit(kLast);
    return size > Limit(0) ? size : Limit(0);
#endif
  }

  // The entries at both ends of a segment. Those of alpha are 0.
  struct Ends {
    VXp_FloatLanes low, high;
  };
  Ends EndsOf(VXp_IntLanes index) const {
    using Pair = float __attribute__((vector_size(8)));
    const auto pair = [&](int32_t channel) {
      Pair ends;
      std::memcpy(&ends, values_[channel - 1] + index[channel], sizeof ends);
      return ends;
    };
    const auto ar = __builtin_shufflevector(Pair{}, pair(1), 0, 1, 2, 3);
    const auto gb = __builtin_shufflevector(pair(2), pair(3), 0, 1, 2, 3);
    return {__builtin_shufflevector(ar, gb, 0, 2, 4, 6),
            __builtin_shufflevector(ar, gb, 1, 3, 5, 7)};
  }

  std::vector<float> entries_[3];  // of green and blue only if they differ from those of red
  const float* values_[3] = {};
};

class VX_LightCurves {
 public:
  // Throws QCE_Status.
  explicit VX_LightCurves(const COR_QCE_ProfilePtr& profile);
  VX_LightCurves(const VX_LightCurves&) = delete;
  VX_LightCurves& operator=(const VX_LightCurves&) = delete;

  const VX_LinearBlendingTables* tables() const { return tables_.get(); }
  bool IsIdentity() const { return to_linear_ == nullptr; }

  // Fills the tables for float pixels at the first call. Must be called before the conversions.
  // Throws QCE_Status or std::bad_alloc.
  void Prepare() const;

  // Converts one pixel.
  VXp_FloatLanes ToLinear(VXp_FloatLanes pixel) const {
    return Precise(linear_, to_linear_, pixel);
  }
  VXp_FloatLanes ToStored(VXp_FloatLanes pixel) const {
    return Precise(stored_, to_stored_, pixel);
  }

 private:
  static VXp_FloatLanes Precise(const VXp_CurveTable& table, const COR_QCE_TransformPtr& engine,
                                VXp_FloatLanes pixel) {
    const VXp_FloatLanes value = table.At(pixel);
    constexpr VXp_IntLanes kColors = {0, -1, -1, -1};
    const bool good = !VXp_AnyLane((value != value) & kColors);
    return __builtin_expect(good, 1) ? value : ByEngine(engine, pixel);
  }
  static VXp_FloatLanes ByEngine(const COR_QCE_TransformPtr& engine, VXp_FloatLanes pixel);

  void Fill() const;

  boost::shared_ptr<const VX_LinearBlendingTables> tables_;
  COR_QCE_TransformPtr to_linear_, to_stored_;  // null if the stored values are linear
  mutable std::once_flag filled_;
  mutable VXp_CurveTable linear_, stored_;
};

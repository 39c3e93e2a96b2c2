// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Samples along lines, with the samplers in the override table.
//
// The slots are read once per operation. If all of them hold built-in samplers, the part of the
// line that is inside the source is computed by division, only this part is sampled, and many
// positions are sampled at a time. If a slot was replaced, the slots are called for each pixel
// whose position is within the range of 16.16 fixed point.

#include <cstring>
#include <iterator>

#include "VX/VX_OverrideTable.h"
#include "indep/VXp_SamplePoints.h"
#include "indep/VXp_SampleRow.h"
#include "transform/VXp_Line.h"

// The order in which the pixels of a line were sampled; sums in floating point depend on it. Pixels
// before `first` and from `end` on are transparent. Pixels `first` to `forward` - 1 were sampled
// first, then those from `end` - 1 down to `backward`, then those from `forward` to `backward` - 1.
struct VXp_LineParts {
  int32_t first, forward, backward, end;
};

// The weights of the neighbours for each sub-sample of a motion.
struct VXp_WeightTable {
  VX_SubpixelWeights at[256];
};

inline VX_Err VXp_GetSamplers(VX_SamplerSet<VX_Pixel8>* set) { return VX_GetSamplerSet8(set); }
inline VX_Err VXp_GetSamplers(VX_SamplerSet<VX_Pixel16>* set) { return VX_GetSamplerSet16(set); }
inline VX_Err VXp_GetSamplers(VX_SamplerSet<VX_PixelFloat>* set) {
  return VX_GetSamplerSetFloat(set);
}

enum class VXp_SampleKind { Nearest, Bilinear, BilinearClipped, Box };

template <class Pixel>
class VXp_LineSampler {
 public:
  VXp_LineSampler(VX_ProgressInfo* progress, const VX_LayerDef& src)
      : progress_(progress), src_(src), set_(Samplers()), own_points_(VXp_OwnPoints(set_)) {}

  VXp_LineParts Sample(VXp_SampleKind kind, const VXp_Line& line, const VX_SampPB& record,
                       Pixel* out) const {
    switch (kind) {
      case VXp_SampleKind::Nearest: return Nearest(line, out);
      case VXp_SampleKind::Bilinear: return Row(line, record, out);
      case VXp_SampleKind::BilinearClipped: return Clipped(line, record, out);
      case VXp_SampleKind::Box: break;
    }
    return Box(line, record, out);
  }

  // Samples a row bilinearly. Pixels at the ends, whose neighbours may be outside, are sampled with
  // the sampler that reports whether all neighbours are inside. The pixels between them are sampled
  // with the unclipped sampler, or as a span.
  VXp_LineParts Row(const VXp_Line& line, const VX_SampPB& record, Pixel* out) const {
    return Bilinear(line, record, out, [&](const VXp_Run& run) {
      if (line.dx == kVXp_FixedOne && line.dy == 0) {
        Span(line, run, record, out);
      } else {
        Unclipped(line, run, record, out);
      }
    });
  }

  // Samples the path of one pixel like a row, but does not use spans.
  VXp_LineParts Path(const VXp_Line& line, const VX_SampPB& record, Pixel* out) const {
    return Bilinear(line, record, out,
                    [&](const VXp_Run& run) { Unclipped(line, run, record, out); });
  }

  // Samples the path of one pixel with the given weights for each sub-sample.
  VXp_LineParts Path(const VXp_Line& line, const VX_SampPB& record, const VXp_WeightTable& weights,
                     Pixel* out) const {
    return Bilinear(line, record, out, [&](const VXp_Run& run) {
      for (int32_t i = run.first; i < run.end; ++i) {
        set_.weighted(progress_, Fixed(line.X(i)), Fixed(line.Y(i)), &weights.at[i], &record,
                      out + i);
      }
    });
  }

  // Returns whether spans give the same results as samples with given weights. This is so at the
  // integer depths only: in float, the weights are rounded differently.
  bool SpansServeWeights() const { return !kIsFloat && UsesOwn(); }
  // Returns the part of a line where all four neighbours are inside the source.
  VXp_Run InsideOf(const VXp_Line& line) const { return VXp_RunWithin(line, Inside()); }
  // Samples a part of a line whose neighbours are inside and whose step is one pixel, and stores it
  // at the start of `out`.
  void SpanOf(const VXp_Line& line, const VXp_Run& run, const VX_SampPB& record, Pixel* out) const {
    const VXp_Line part{line.X(run.first), line.y, line.dx, 0, run.end - run.first};
    Span(part, {0, part.count}, record, out);
  }

  // Returns whether lines whose neighbours are inside may be sampled without the slots: by
  // `ends_points` for the pixels before `forward` and from `backward` on, and by `unclipped_points`
  // for those between; see PartsOfInside.
  bool TakesPoints() const { return UsesOwn(); }
  VXp_SamplePointsFunc<Pixel> ends_points() const { return VXp_StraightPoints<Pixel>; }
  VXp_SamplePointsFunc<Pixel> unclipped_points() const { return own_points_; }
  VXp_LineParts PartsOfInside(const VXp_Line& line) const {
    // At whole positions the integer samplers report that not all neighbours are inside.
    const auto all_in = [&](int32_t i) {
      return kIsFloat || ((line.X(i) | line.Y(i)) & 0xFFFF) != 0;
    };
    return Ends({0, line.count}, all_in);
  }
  bool IsInside(int64_t x, int64_t y) const { return Inside().Holds(x, y); }

  // Returns whether samples of this kind at whole positions may be copied from the source. At the
  // integer depths this gives the same result. In float, sampling would change last bits, and a
  // value that is not finite would spread to its neighbours.
  bool Copies(VXp_SampleKind kind) const { return UsesOwn() && kind != VXp_SampleKind::Box; }

  // Computes the weights of the four neighbours from the fractions of a position.
  static void Weights(int64_t x, int64_t y, VX_SubpixelWeights* out) {
    VXp_G_OverFuncs.VX_SubpixelSampleComputeWeight(static_cast<uint16_t>(x & 0xFFFF),
                                                   static_cast<uint16_t>(y & 0xFFFF), out);
  }

  // Samples bilinearly, with the clipped sampler at every position.
  VXp_LineParts Clipped(const VXp_Line& line, const VX_SampPB& record, Pixel* out) const {
    if (!UsesOwn()) return EachPixel(set_.clipped, line, kEverywhere, record, out);
    const VXp_Run run = Cleared(line, Touched(), out);
    VXp_Run inside = InsideOf(line);
    if (inside.Empty()) inside = {run.end, run.end};
    Sample(set_.clipped, line, {run.first, inside.first}, record, out);
    Line(VXp_StraightPoints<Pixel>, line, inside, record, out);
    Sample(set_.clipped, line, {inside.end, run.end}, record, out);
    return Ascending(run);
  }

  VXp_LineParts Box(const VXp_Line& line, const VX_SampPB& record, Pixel* out) const {
    if (!UsesOwn()) return EachPixel(set_.box, line, kEverywhere, record, out);
    const int64_t half_x = std::max(int64_t{record.x_radius}, kVXp_FixedHalf);
    const int64_t half_y = std::max(int64_t{record.y_radius}, kVXp_FixedHalf);
    const VXp_Box covered{{1 - kVXp_FixedHalf - half_x, Width() - kVXp_FixedHalf + half_x},
                          {1 - kVXp_FixedHalf - half_y, Height() - kVXp_FixedHalf + half_y}};
    if (line.dy != 0 || line.dx < 0) return EachPixel(set_.box, line, covered, record, out);
    const VXp_Run run = Cleared(line, covered, out);
    VX_Fixed x[256];
    for (int32_t i = run.first, count = 0; i < run.end; i += count) {
      count = std::min<int32_t>(run.end - i, std::size(x));
      for (int32_t k = 0; k < count; ++k) x[k] = Fixed(line.X(i + k));
      VXp_StraightBoxRow<Pixel>(record, x, count, Fixed(line.y), reinterpret_cast<char*>(out + i));
    }
    return Ascending(run);
  }

  // Samples the nearest pixel, whose column is floor(x + 0.5); the row likewise.
  VXp_LineParts Nearest(const VXp_Line& line, Pixel* out) const {
    const VXp_Box box{{-kVXp_FixedHalf, Width() - kVXp_FixedHalf},
                      {-kVXp_FixedHalf, Height() - kVXp_FixedHalf}};
    const VXp_Run run = Cleared(line, box, out);
    Copy(line, run, kVXp_FixedHalf, out);
    return Ascending(run);
  }

 private:
  static constexpr bool kIsFloat = std::is_same_v<Pixel, VX_PixelFloat>;
  static constexpr int64_t kFar = int64_t{1} << 40;
  static inline const VXp_Box kEverywhere{{-kFar, kFar}, {-kFar, kFar}};

  bool UsesOwn() const { return own_points_ != nullptr; }

  static VX_SamplerSet<Pixel> Samplers() {
    VX_SamplerSet<Pixel> set;
    VXp_GetSamplers(&set);
    return set;
  }
  // Converts a position, which must be within the range of VX_Fixed.
  static VX_Fixed Fixed(int64_t v) { return static_cast<VX_Fixed>(v); }
  static VXp_LineParts Ascending(const VXp_Run& run) {
    return {run.first, run.end, run.end, run.end};
  }

  int64_t Width() const { return src_.width * kVXp_FixedOne; }
  int64_t Height() const { return src_.height * kVXp_FixedOne; }
  // Touched returns the positions with at least one neighbour in the source, Inside those with all
  // four.
  VXp_Box Touched() const { return {{-kVXp_FixedOne, Width()}, {-kVXp_FixedOne, Height()}}; }
  VXp_Box Inside() const { return {{0, Width() - kVXp_FixedOne}, {0, Height() - kVXp_FixedOne}}; }

  // Returns the part of a line whose positions are within a box. Sets the other pixels of `out` to
  // 0.
  static VXp_Run Cleared(const VXp_Line& line, const VXp_Box& box, Pixel* out) {
    const VXp_Run run = VXp_RunWithin(line, box);
    const auto clear = [out](int32_t first, int32_t end) {
      if (first >= end) return;
      std::memset(static_cast<void*>(out + first), 0,
                  static_cast<size_t>(end - first) * sizeof(Pixel));
    };
    clear(0, run.first);
    clear(run.end, line.count);
    return run;
  }

  void Sample(VX_SampleFunc<Pixel> sample, const VXp_Line& line, const VXp_Run& run,
              const VX_SampPB& record, Pixel* out) const {
    for (int32_t i = run.first; i < run.end; ++i) {
      sample(progress_, Fixed(line.X(i)), Fixed(line.Y(i)), &record, out + i);
    }
  }

  static void Line(VXp_SamplePointsFunc<Pixel> form, const VXp_Line& line, const VXp_Run& run,
                   const VX_SampPB& record, Pixel* out) {
    VX_Fixed x[256], y[256];
    for (int32_t i = run.first, count = 0; i < run.end; i += count) {
      count = std::min<int32_t>(run.end - i, std::size(x));
      Positions(line.X(i), line.dx, count, x);
      Positions(line.Y(i), line.dy, count, y);
      form(record, x, y, count, Ahead(line, record), out + i);
    }
  }

  static ptrdiff_t Ahead(const VXp_Line& line, const VX_SampPB& record) {
    return static_cast<ptrdiff_t>(line.ahead_y >> 16) * record.src->rowbytes +
           static_cast<ptrdiff_t>(line.ahead_x >> 16) * static_cast<ptrdiff_t>(sizeof(Pixel));
  }

  // Stores positions on one axis, whose sums may wrap.
  static void Positions(int64_t first, int64_t step, int32_t count, VX_Fixed* out) {
    const auto start = static_cast<uint32_t>(first), by = static_cast<uint32_t>(step);
    for (uint32_t k = 0; k < static_cast<uint32_t>(count); ++k) {
      out[k] = static_cast<VX_Fixed>(start + k * by);
    }
  }

  VXp_LineParts EachPixel(VX_SampleFunc<Pixel> sample, const VXp_Line& line, const VXp_Box& box,
                          const VX_SampPB& record, Pixel* out) const {
    const VXp_Run run = Cleared(line, box, out);
    Sample(sample, line, run, record, out);
    return Ascending(run);
  }

  void Unclipped(const VXp_Line& line, const VXp_Run& run, const VX_SampPB& record,
                 Pixel* out) const {
    if (UsesOwn()) {
      Line(own_points_, line, run, record, out);
    } else {
      Sample(set_.unclipped, line, run, record, out);
    }
  }

  // Samples a span; a replaced sampler in parts, so that its sum of alphas does not overflow.
  void Span(const VXp_Line& line, const VXp_Run& run, const VX_SampPB& record, Pixel* out) const {
    if (run.Empty()) return;
    if (UsesOwn()) {
      VXp_StraightSpan<Pixel>(record, Fixed(line.X(run.first)), Fixed(line.y), run.end - run.first,
                              Ahead(line, record), out + run.first);
      return;
    }
    constexpr int32_t kMost = 32768;
    for (int32_t i = run.first, count = 0; i < run.end; i += count) {
      count = std::min(run.end - i, kMost);
      VX_AlphaSumOf<Pixel> sum{};
      set_.span(progress_, count, Fixed(line.X(i)), Fixed(line.y), &record, &sum, out + i);
    }
  }

  // Calls all_in(i) for the pixels of the run, from each end inwards, until it returns true. The
  // order of sampling that is returned has these pixels first.
  template <class AllIn>
  static VXp_LineParts Ends(const VXp_Run& run, const AllIn& all_in) {
    int32_t forward = run.first, backward = run.end;
    while (forward < run.end && !all_in(forward++)) {
    }
    while (backward > forward && !all_in(--backward)) {
    }
    return {run.first, forward, backward, run.end};
  }

  // Copies the pixels at the line's positions plus `offset`, rounded down. They must be inside the
  // source.
  void Copy(const VXp_Line& line, const VXp_Run& run, int64_t offset, Pixel* out) const {
    if (run.Empty()) return;
    const auto first_x = static_cast<uint32_t>(line.X(run.first) + offset);
    const auto first_y = static_cast<uint32_t>(line.Y(run.first) + offset);
    const char* const from = static_cast<const char*>(src_.data);
    const ptrdiff_t rowbytes = src_.rowbytes;
    const auto pixel = static_cast<ptrdiff_t>(sizeof(Pixel));
    uint32_t x = first_x, y = first_y;
    const auto dx = static_cast<uint32_t>(line.dx), dy = static_cast<uint32_t>(line.dy);
    if (line.dx == kVXp_FixedOne && line.dy == 0) {
      std::memcpy(out + run.first,
                  from + static_cast<ptrdiff_t>(y >> 16) * rowbytes +
                      static_cast<ptrdiff_t>(x >> 16) * pixel,
                  static_cast<size_t>(run.end - run.first) * sizeof(Pixel));
      return;
    }
    for (int32_t i = run.first; i < run.end; ++i) {
      out[i] = VXp_Load<Pixel>(from + static_cast<ptrdiff_t>(y >> 16) * rowbytes +
                               static_cast<ptrdiff_t>(x >> 16) * pixel);
      x += dx;
      y += dy;
    }
  }

  // Returns whether all positions of a line are whole. There the integer samplers return pixels
  // unchanged and never report that all neighbours are inside, so copying gives the same result.
  bool IsWhole(const VXp_Line& line) const {
    return !kIsFloat && UsesOwn() && ((line.x | line.y | line.dx | line.dy) & 0xFFFF) == 0;
  }

  template <class Middle>
  VXp_LineParts Bilinear(const VXp_Line& line, const VX_SampPB& record, Pixel* out,
                         const Middle& middle) const {
    if (IsWhole(line)) {
      const VXp_Run run = Cleared(line, {{0, Width()}, {0, Height()}}, out);
      Copy(line, run, 0, out);
      return Ascending(run);
    }
    const VXp_Run run = Cleared(line, UsesOwn() ? Touched() : kEverywhere, out);
    const auto all_in = [&](int32_t i) {
      uint8_t inside = 0;
      set_.all_in(progress_, Fixed(line.X(i)), Fixed(line.Y(i)), &record, &inside, out + i);
      return inside != 0;
    };
    const VXp_LineParts parts = Ends(run, all_in);
    middle(VXp_Run{parts.forward, parts.backward});
    return parts;
  }

  VX_ProgressInfo* progress_;
  const VX_LayerDef& src_;
  VX_SamplerSet<Pixel> set_;
  VXp_SamplePointsFunc<Pixel> own_points_;  // null if a slot was replaced
};

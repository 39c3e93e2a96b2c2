// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Samples along lines, through the slots of the override table.
//
// The slots are read once. Where they hold the library's own samplers, what is certainly outside
// of the source is found by division and not sampled, and the inside is sampled in one go. Anybody
// else's samplers are called for each pixel whose position 16.16 can tell.

#include <cstring>
#include <iterator>

#include "VX/VX_OverrideTable.h"
#include "indep/VXp_SamplePoints.h"
#include "indep/VXp_SampleRow.h"
#include "transform/VXp_Line.h"

// In which order a line was sampled: the pixels before `first` and from `end` on are transparent;
// those up to `forward` came first, then those from the last down to `backward`, then the middle.
// Sums in floating point depend on it.
struct VXp_LineParts {
  int32_t first, forward, backward, end;
};

// The weights of a motion's sub-samples.
struct VXp_WeightTable {
  VX_SubpixelWeights at[256];
};

inline VX_Err VXp_GetSamplers(VX_SamplerSet<VX_Pixel8>* set) { return VX_GetSamplerSet8(set); }
inline VX_Err VXp_GetSamplers(VX_SamplerSet<VX_Pixel16>* set) { return VX_GetSamplerSet16(set); }
inline VX_Err VXp_GetSamplers(VX_SamplerSet<VX_PixelFloat>* set) {
  return VX_GetSamplerSetFloat(set);
}

inline bool VXp_IsOwn(VX_SampleAllInFunc<VX_Pixel8> f) {
  return f == VX_SubpixelSamplePlus_Straight;
}
inline bool VXp_IsOwn(VX_SampleAllInFunc<VX_Pixel16> f) {
  return f == VX_SubpixelSamplePlus_Straight16;
}
inline bool VXp_IsOwn(VX_SampleAllInFunc<VX_PixelFloat>) { return true; }  // has no slot

// Float sums of weights that were rounded once and twice are not the same.
inline bool VXp_SpansServeWeights(const VX_SamplerSet<VX_PixelFloat>&) { return false; }
inline bool VXp_SpansServeWeights(const VX_SamplerSet<VX_Pixel8>& set) {
  return VXp_G_OverFuncs.VX_SubpixelSampleComputeWeight == &VX_SubpixelSampleComputeWeight &&
         set.weighted == &VX_SubpixelSampleTranslateNoClip_Straight &&
         set.span == &VX_SubpixelSpanSampleTranslateNoClip_Straight;
}
inline bool VXp_SpansServeWeights(const VX_SamplerSet<VX_Pixel16>& set) {
  return VXp_G_OverFuncs.VX_SubpixelSampleComputeWeight == &VX_SubpixelSampleComputeWeight &&
         set.weighted == &VX_SubpixelSampleTranslateNoClip_Straight16 &&
         set.span == &VX_SubpixelSpanSampleTranslateNoClip_Straight16;
}

enum class VXp_SampleKind { Nearest, Bilinear, BilinearClipped, Box };

template <class Pixel>
class VXp_LineSampler {
 public:
  VXp_LineSampler(VX_ProgressInfo* progress, const VX_LayerDef& src)
      : progress_(progress), src_(src), set_(Samplers()) {
    unclipped_points_ = VXp_PointsForm<Pixel>(set_.unclipped);
    clipped_points_ = VXp_PointsForm<Pixel>(set_.clipped);
    ends_points_ = VXp_PointsForm<Pixel>(set_.all_in);
    box_row_ = VXp_RowForm<Pixel>(set_.box);
    own_all_in_ = VXp_IsOwn(set_.all_in);
    spans_serve_weights_ = own_all_in_ && VXp_SpansServeWeights(set_);
  }

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

  // Bilinear along a row: at both ends, as far as neighbours may be missing, with the sampler that
  // looks; between them with the one that does not, or its form for a span.
  VXp_LineParts Row(const VXp_Line& line, const VX_SampPB& record, Pixel* out) const {
    return Bilinear(line, record, out, [&](const VXp_Run& run) {
      if (line.dx == kVXp_FixedOne && line.dy == 0) {
        Span(line, run, record, out);
      } else {
        Unclipped(line, run, record, out);
      }
    });
  }

  // The same along the way of a pixel, which has no span.
  VXp_LineParts Way(const VXp_Line& line, const VX_SampPB& record, Pixel* out) const {
    return Bilinear(line, record, out,
                    [&](const VXp_Run& run) { Unclipped(line, run, record, out); });
  }

  // The same where the weights of each sub-sample are known.
  VXp_LineParts Way(const VXp_Line& line, const VX_SampPB& record, const VXp_WeightTable& weights,
                    Pixel* out) const {
    return Bilinear(line, record, out, [&](const VXp_Run& run) {
      for (int32_t i = run.first; i < run.end; ++i) {
        set_.weighted(progress_, Fixed(line.X(i)), Fixed(line.Y(i)), &weights.at[i], &record,
                      out + i);
      }
    });
  }

  // True where rows that slide by whole pixels may be taken as spans: at the integer depths, with
  // the library's own samplers, samples with known weights are those of a span.
  bool SpansServeWeights() const { return spans_serve_weights_; }
  // The pixels of a line along whose way all neighbours lie inside.
  VXp_Run InsideOf(const VXp_Line& line) const { return VXp_RunWithin(line, Inside()); }
  // A part of a line of steps of whole pixels, inside, to the beginning of `out`.
  void SpanOf(const VXp_Line& line, const VXp_Run& run, const VX_SampPB& record, Pixel* out) const {
    const VXp_Line part{line.X(run.first), line.y, line.dx, 0, run.end - run.first};
    Span(part, {0, part.count}, record, out);
  }

  // Whether the samples of lines inside can be taken by the two forms below, and by which: the
  // first up to `forward` and from `backward` on, the other between them.
  bool TakesPoints() const { return unclipped_points_ != nullptr && ends_points_ != nullptr; }
  VXp_SamplePointsFunc<Pixel> ends_points() const { return ends_points_; }
  VXp_SamplePointsFunc<Pixel> unclipped_points() const { return unclipped_points_; }
  VXp_LineParts PartsOfInside(const VXp_Line& line) const {
    // The integer samplers say nothing of whole places.
    const auto all_in = [&](int32_t i) {
      return kIsFloat || ((line.X(i) | line.Y(i)) & 0xFFFF) != 0;
    };
    return Ends({0, line.count}, all_in);
  }
  bool IsInside(int64_t x, int64_t y) const { return Inside().Holds(x, y); }

  // What the fractions of a position weigh the four neighbours with.
  static void Weights(int64_t x, int64_t y, VX_SubpixelWeights* out) {
    VXp_G_OverFuncs.VX_SubpixelSampleComputeWeight(static_cast<uint16_t>(x & 0xFFFF),
                                                   static_cast<uint16_t>(y & 0xFFFF), out);
  }

  // Bilinear, all of it clipped.
  VXp_LineParts Clipped(const VXp_Line& line, const VX_SampPB& record, Pixel* out) const {
    if (clipped_points_ == nullptr) return EachPixel(set_.clipped, line, kEverywhere, record, out);
    const VXp_Run run = Cleared(line, Touched(), out);
    VXp_Run inside = InsideOf(line);
    if (inside.Empty()) inside = {run.end, run.end};
    Sample(set_.clipped, line, {run.first, inside.first}, record, out);
    Line(clipped_points_, line, inside, record, out);
    Sample(set_.clipped, line, {inside.end, run.end}, record, out);
    return Ascending(run);
  }

  VXp_LineParts Box(const VXp_Line& line, const VX_SampPB& record, Pixel* out) const {
    if (box_row_ == nullptr) return EachPixel(set_.box, line, kEverywhere, record, out);
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
      box_row_(record, x, count, Fixed(line.y), reinterpret_cast<char*>(out + i));
    }
    return Ascending(run);
  }

  // The nearest pixel, whose centre lies up to a half before or less than a half behind.
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

  static VX_SamplerSet<Pixel> Samplers() {
    VX_SamplerSet<Pixel> set;
    VXp_GetSamplers(&set);
    return set;
  }
  // Of positions within bounds.
  static VX_Fixed Fixed(int64_t v) { return static_cast<VX_Fixed>(v); }
  static VXp_LineParts Ascending(const VXp_Run& run) {
    return {run.first, run.end, run.end, run.end};
  }

  int64_t Width() const { return src_.width * kVXp_FixedOne; }
  int64_t Height() const { return src_.height * kVXp_FixedOne; }
  // Where one of the four neighbours at least is a pixel of the source, and where all are.
  VXp_Box Touched() const { return {{-kVXp_FixedOne, Width()}, {-kVXp_FixedOne, Height()}}; }
  VXp_Box Inside() const { return {{0, Width() - kVXp_FixedOne}, {0, Height() - kVXp_FixedOne}}; }

  // The part within a box; the rest made transparent.
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
      form(record, x, y, count, out + i);
    }
  }

  // Of an axis, in fours; what lies behind the last may wrap.
  static void Positions(int64_t first, int64_t step, int32_t count, VX_Fixed* out) {
    const auto by = static_cast<uint32_t>(step);
    VXp_WordLanes at = static_cast<uint32_t>(first) + VXp_WordLanes{0, by, 2 * by, 3 * by};
    for (int32_t k = 0; k < count; k += kVXp_Lanes, at += kVXp_Lanes * by) VXp_Store(out + k, at);
  }

  VXp_LineParts EachPixel(VX_SampleFunc<Pixel> sample, const VXp_Line& line, const VXp_Box& box,
                          const VX_SampPB& record, Pixel* out) const {
    const VXp_Run run = Cleared(line, box, out);
    Sample(sample, line, run, record, out);
    return Ascending(run);
  }

  void Unclipped(const VXp_Line& line, const VXp_Run& run, const VX_SampPB& record,
                 Pixel* out) const {
    if (unclipped_points_ != nullptr) {
      Line(unclipped_points_, line, run, record, out);
    } else {
      Sample(set_.unclipped, line, run, record, out);
    }
  }

  // In pieces whose sums of alpha fit what the form counts them in.
  void Span(const VXp_Line& line, const VXp_Run& run, const VX_SampPB& record, Pixel* out) const {
    constexpr int32_t kMost = 32768;
    for (int32_t i = run.first, count = 0; i < run.end; i += count) {
      count = std::min(run.end - i, kMost);
      VX_AlphaSumOf<Pixel> sum{};
      set_.span(progress_, count, Fixed(line.X(i)), Fixed(line.y), &record, &sum, out + i);
    }
  }

  // From both ends up to a sample that `all_in` is true of.
  template <class AllIn>
  static VXp_LineParts Ends(const VXp_Run& run, const AllIn& all_in) {
    int32_t forward = run.first, backward = run.end;
    while (forward < run.end && !all_in(forward++)) {
    }
    while (backward > forward && !all_in(--backward)) {
    }
    return {run.first, forward, backward, run.end};
  }

  // Pixels as they are, at positions and an offset that lie in the source.
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

  // True where a line goes over whole pixels only. The integer samplers that look never say there
  // that all neighbours are inside, so all of it is theirs, and they give the pixels as they are.
  bool IsWhole(const VXp_Line& line) const {
    return !kIsFloat && own_all_in_ && ((line.x | line.y | line.dx | line.dy) & 0xFFFF) == 0;
  }

  template <class Middle>
  VXp_LineParts Bilinear(const VXp_Line& line, const VX_SampPB& record, Pixel* out,
                         const Middle& middle) const {
    if (IsWhole(line)) {
      const VXp_Run run = Cleared(line, {{0, Width()}, {0, Height()}}, out);
      Copy(line, run, 0, out);
      return Ascending(run);
    }
    const VXp_Run run = Cleared(line, own_all_in_ ? Touched() : kEverywhere, out);
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
  VXp_SamplePointsFunc<Pixel> unclipped_points_, clipped_points_, ends_points_;
  VXp_SampleRowFunc box_row_;
  bool own_all_in_, spans_serve_weights_;
};

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The slow twin of drawing through matrices, one source position at a time.
//
// Arguments must be valid; they are not checked: worlds with aligned rows and equal depths, a known
// mode, 1 to 257 matrices. If there are several matrices, all but the first and the last must be
// invertible, and neither the source nor the drawn area may reach the horizon of any of them. The
// product must give equal bits at all depths.

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

#include "RefArithmetic.h"
#include "RefPipeline.h"
#include "RefSample.h"
#include "RefSpace.h"
#include "RefTransfer.h"
#include "VX/VX_Transform.h"

namespace vxref {

struct Drawing {
  int32_t quality, field;
  VX_LayerDef* src;
  const VX_CompositeModePlus* mode;
  const VX_LinearBlendingTables* tables;
  const VX_TransformMask* mask;
  const M_Matrix3* matrices;
  int32_t count;
  bool src2dst;
  const M_Rect* rect;
  bool single_precision;  // the rule of the slot of the unclipped 8-bit sampler
};

// --- matrices ---

struct Vector {
  double x, y, w;
};

inline Vector Times(const Vector& v, const M_Matrix3& a) {
  const double* m = a.m;
  return {v.x * m[0] + v.y * m[3] + v.w * m[6], v.x * m[1] + v.y * m[4] + v.w * m[7],
          v.x * m[2] + v.y * m[5] + v.w * m[8]};
}
inline Vector Divided(const Vector& v) { return {v.x / v.w, v.y / v.w, 1}; }
inline double Length(const Vector& v) { return std::sqrt(v.x * v.x + v.y * v.y + v.w * v.w); }

// The inverse: the adjugate divided by the determinant. No value if the matrix is singular.
inline std::optional<M_Matrix3> Inverse(const M_Matrix3& a) {
  const double* m = a.m;
  const auto minor = [m](int p, int q, int r, int s) { return m[p] * m[q] - m[r] * m[s]; };
  M_Matrix3 out = {{minor(4, 8, 5, 7), minor(2, 7, 1, 8), minor(1, 5, 2, 4), minor(5, 6, 3, 8),
                    minor(0, 8, 2, 6), minor(2, 3, 0, 5), minor(3, 7, 4, 6), minor(1, 6, 0, 7),
                    minor(0, 4, 1, 3)}};
  const double determinant = m[0] * out.m[0] + m[1] * out.m[3] + m[2] * out.m[6];
  if (determinant == 0) return std::nullopt;
  for (double& v : out.m) {
    v /= determinant;
    if (!std::isfinite(v)) return std::nullopt;
  }
  return out;
}

inline bool SameMatrix(const M_Matrix3& a, const M_Matrix3& b) {
  for (int i = 0; i < 9; ++i) {
    if (!(std::abs(a.m[i] - b.m[i]) <= 1e-12)) return false;
  }
  return true;
}

inline bool OnlyMoves(const M_Matrix3& a) {
  return a.m[0] == 1 && a.m[1] == 0 && a.m[2] == 0 && a.m[3] == 0 && a.m[4] == 1 && a.m[5] == 0 &&
         a.m[8] == 1;
}

// Converts to 16.16; halves are rounded away from zero.
inline int64_t Fixed(double v) {
  const double scaled = v * 65536;
  return static_cast<int64_t>(scaled < 0 ? scaled - 0.5 : scaled + 0.5);
}

// --- the area that is drawn ---

// The smallest rectangle of whole pixels around the transformed source. The source's rectangle
// begins at (`from`, `from`).
inline Bounds Around(const M_Matrix3& to_dst, const VX_LayerDef& src, int32_t from) {
  double low_x = INFINITY, low_y = INFINITY, high_x = -INFINITY, high_y = -INFINITY;
  for (const int32_t x : {from, src.width}) {
    for (const int32_t y : {from, src.height}) {
      const Vector p = Divided(Times({double(x), double(y), 1}, to_dst));
      low_x = std::min(low_x, p.x);
      low_y = std::min(low_y, p.y);
      high_x = std::max(high_x, p.x);
      high_y = std::max(high_y, p.y);
    }
  }
  const auto whole = [](double v) { return static_cast<int64_t>(v); };
  return {whole(std::floor(low_x)), whole(std::floor(low_y)), whole(std::ceil(high_x)),
          whole(std::ceil(high_y))};
}

// The part of the destination that the source can change with one matrix: its image plus one pixel
// on each side. Interpolation reaches one source pixel before the first one, so the area is larger
// if that pixel is enlarged.
inline Bounds Touched(const M_Matrix3& to_dst, const VX_LayerDef& src) {
  const Bounds own = Around(to_dst, src, 0), faded = Around(to_dst, src, -1);
  return {Min(own.left - 1, faded.left), Min(own.top - 1, faded.top),
          Max(own.right + 1, faded.right), Max(own.bottom + 1, faded.bottom)};
}

// The union of the areas of all matrices, each clipped to the part that may be drawn.
inline Bounds Area(const Drawing& d, const std::vector<M_Matrix3>& to_dst, const VX_LayerDef& dst) {
  Bounds within = {0, 0, dst.width, dst.height};
  if (d.rect != nullptr) {
    within = within.Cut({d.rect->left, d.rect->top, d.rect->right, d.rect->bottom});
  }
  if (d.mask != nullptr && (d.mask->what & 1) == 0) {
    within = within.Cut({d.mask->offsetH, d.mask->offsetV, d.mask->offsetH + d.mask->world->width,
                         d.mask->offsetV + d.mask->world->height});
  }
  Bounds all = {INT32_MAX, INT32_MAX, INT32_MIN, INT32_MIN};
  for (const M_Matrix3& m : to_dst) {
    const Bounds b = Touched(m, *d.src).Cut(within);
    if (b.IsEmpty()) continue;
    all = {Min(all.left, b.left), Min(all.top, b.top), Max(all.right, b.right),
           Max(all.bottom, b.bottom)};
  }
  return all;
}

// Half the size, in source pixels, of the area that one destination pixel covers in the source.
struct Footprint {
  int64_t x, y;

  explicit Footprint(const M_Matrix3& to_dst)
      : x(Fixed(std::min(0.5 / Length(Times({1, 0, 0}, to_dst)), 127.0))),
        y(Fixed(std::min(0.5 / Length(Times({0, 1, 0}, to_dst)), 127.0))) {}
};

// True if the source's image is a line or a point.
inline bool Vanishes(const M_Matrix3& to_dst) {
  return Fixed(Length(Times({1, 0, 0}, to_dst))) == 0 ||
         Fixed(Length(Times({0, 1, 0}, to_dst))) == 0;
}

// An affine matrix with a last number of 1 instead of another one that is not 0; it has the same
// effect. Any other matrix is returned unchanged.
inline M_Matrix3 WithUnitW(M_Matrix3 a) {
  const double w = a.m[8];
  const bool is_affine = a.m[2] == 0 && a.m[5] == 0;
  if (is_affine && w != 0) {
    for (double& v : a.m) v = v / w;
  }
  return a;
}

// True if two numbers differ by more than rounding errors.
inline bool Differs(double a, double b) {
  const double larger = std::max(std::abs(a), std::abs(b));
  return std::abs(a - b) > std::max(1e-12 * larger, 1.000088900582341e-12);
}
// True if the matrices rotate, scale or bend the path from the first to the last, so that positions
// cannot be interpolated linearly between the two.
inline bool IsCurved(const std::vector<M_Matrix3>& to_dst, const VX_LayerDef& src) {
  for (const Vector& basis : {Vector{1, 0, 0}, Vector{0, 1, 0}}) {
    const Vector a = Times(basis, to_dst.front()), b = Times(basis, to_dst.back());
    const double la = Length(a), lb = Length(b);
    if (Differs(a.x / la, b.x / lb) || Differs(a.y / la, b.y / lb) || Differs(a.w / la, b.w / lb)) {
      return true;
    }
  }
  const Vector center = {(src.width - 1) / 2.0, (src.height - 1) / 2.0, 1};
  for (size_t i = 2; i < to_dst.size(); ++i) {
    const Vector a = Divided(Times(center, to_dst[i - 2])),
                 b = Divided(Times(center, to_dst[i - 1])), c = Divided(Times(center, to_dst[i]));
    if (std::abs((c.x - b.x) - (b.x - a.x)) >= 0.9) return true;
    if (std::abs((c.y - b.y) - (b.y - a.y)) >= 0.9) return true;
  }
  return false;
}

// --- positions ---

struct Position {
  int64_t x, y;
};
inline Position operator+(const Position& a, const Position& b) { return {a.x + b.x, a.y + b.y}; }

// The source position of the area's first pixel, and the steps to the next column and row.
struct PositionGrid {
  Position at, column, row;

  PositionGrid(const M_Matrix3& to_src, const Bounds& area) {
    const double left = static_cast<double>(area.left), top = static_cast<double>(area.top);
    const Vector p = Divided(Times({left, top, 1}, to_src));
    const Vector right = Divided(Times({left + 1, top, 1}, to_src));
    const Vector below = Divided(Times({left, top + 1, 1}, to_src));
    at = {Fixed(p.x), Fixed(p.y)};
    column = {Fixed(right.x - p.x), Fixed(right.y - p.y)};
    row = {Fixed(below.x - p.x), Fixed(below.y - p.y)};
  }
};

// True if every whole position of the destination falls on a whole position of the source, one
// pixel from its neighbours: the picture is moved, turned by quarters or mirrored.
inline bool IsOnPixels(const PositionGrid& grid) {
  const auto is_step = [](const Position& a) {
    return std::max(std::abs(a.x), std::abs(a.y)) == 65536 && (a.x == 0) != (a.y == 0);
  };
  return grid.at.x % 65536 == 0 && grid.at.y % 65536 == 0 && is_step(grid.column) &&
         is_step(grid.row) && (grid.column.x == 0) != (grid.row.x == 0);
}

// --- samples ---

// `pixels` is in the order from left to right. `taken` is in the order of sampling: sums of floats
// use this order, because it changes their rounding.
template <class Pixel>
struct SampledRow {
  std::vector<Pixel> pixels, taken;
};

// How the pixels of a line are sampled that are neither at its start nor at its end.
enum class Middle { Unclipped, Span, Weighted };

template <class Pixel>
class Reader {
 public:
  Reader(const Drawing& d, const Footprint& f) : drawing_(d) {
    record_.src = d.src;
    record_.x_radius = static_cast<VX_Fixed>(f.x);
    record_.y_radius = static_cast<VX_Fixed>(f.y);
    is_box_ = d.quality != 0 && (f.x > 32768 || f.y > 32768);
  }

  // The pixels at whole positions, in order.
  SampledRow<Pixel> Copied(const std::vector<Position>& at) const {
    SampledRow<Pixel> out;
    for (const Position& p : at) {
      Pixel pixel = {};
      if (!IsTooFar(p)) Nearest(nullptr, X(p), Y(p), &record_, &pixel);
      out.pixels.push_back(pixel);
    }
    out.taken = out.pixels;
    return out;
  }
  bool CanCopy() const { return !is_box_; }

  SampledRow<Pixel> Line(const std::vector<Position>& at, Middle middle) const {
    SampledRow<Pixel> out{std::vector<Pixel>(at.size()), {}};
    const auto take = [&out](size_t i, const Pixel& p) {
      out.pixels[i] = p;
      out.taken.push_back(p);
    };
    const bool has_ends = drawing_.quality != 0 && !is_box_;
    size_t from = 0, to = at.size();
    bool is_inside = !has_ends;
    for (; from < to && !is_inside; ++from) take(from, End(at[from], &is_inside));
    is_inside = !has_ends;
    for (; from < to && !is_inside; --to) take(to - 1, End(at[to - 1], &is_inside));
    for (; from < to; ++from) take(from, has_ends ? Between(at[from], middle) : One(at[from]));
    return out;
  }

  // Samples one position independently of its neighbours.
  Pixel One(const Position& p) const {
    Pixel out = {};
    if (IsTooFar(p)) return out;
    if (drawing_.quality == 0) {
      Nearest(nullptr, X(p), Y(p), &record_, &out);
    } else if (is_box_) {
      BoxStraight(nullptr, X(p), Y(p), &record_, &out);
    } else {
      Scalar(nullptr, X(p), Y(p), &record_, &out);
    }
    return out;
  }

 private:
  static VX_Fixed X(const Position& p) { return static_cast<VX_Fixed>(p.x); }
  static VX_Fixed Y(const Position& p) { return static_cast<VX_Fixed>(p.y); }
  static bool IsTooFar(const Position& p) {
    return p.x < INT32_MIN || p.x > INT32_MAX || p.y < INT32_MIN || p.y > INT32_MAX;
  }

  Pixel End(const Position& p, bool* is_inside) const {
    Pixel out = {};
    uint8_t all_in = 0;
    if (!IsTooFar(p)) ScalarAllIn(nullptr, X(p), Y(p), &record_, &all_in, &out);
    *is_inside = all_in != 0;
    return out;
  }

  Pixel Between(const Position& p, Middle middle) const {
    Pixel out = {};
    if (middle == Middle::Weighted) {
      VX_SubpixelWeights weights;
      ComputeWeight(static_cast<uint16_t>(p.x & 0xFFFF), static_cast<uint16_t>(p.y & 0xFFFF),
                    &weights);
      ScalarWeighted(nullptr, X(p), Y(p), &weights, &record_, &out);
      return out;
    }
    if constexpr (sizeof(Pixel) == 4) {
      if (middle == Middle::Unclipped && drawing_.single_precision) {
        SinglePrecision(nullptr, X(p), Y(p), &record_, &out);
        return out;
      }
    }
    return One(p);
  }

  const Drawing& drawing_;
  VX_SampPB record_ = {};
  bool is_box_;
};

// --- motion ---

template <class Sum>
struct Sums {
  Sum alpha = 0, red = 0, green = 0, blue = 0;

  template <class Pixel>
  explicit Sums(const std::vector<Pixel>& samples) {
    for (const Pixel& p : samples) {
      const Sum a = p.alpha;
      if (a == 0) continue;
      alpha += a;
      red += static_cast<Sum>(p.red) * a;
      green += static_cast<Sum>(p.green) * a;
      blue += static_cast<Sum>(p.blue) * a;
    }
  }
};

inline VX_PixelFloat Average(const std::vector<VX_PixelFloat>& samples) {
  const Sums<float> sum(samples);
  const float n = static_cast<float>(samples.size());
  if (sum.alpha == 0) return {};
  const float part = sum.alpha == n ? n : sum.alpha;
  return {sum.alpha / n, sum.red / part, sum.green / part, sum.blue / part};
}

// Divides by full scale, rounded half up: the average of alpha-weighted colours becomes a colour.
// Used if all samples are opaque; the average itself was also rounded half up.
inline uint64_t OffFull(uint64_t v, const VX_Pixel8*) { return (v + 128 + ((v + 128) >> 8)) >> 8; }
inline uint64_t OffFull(uint64_t v, const VX_Pixel16*) { return (v + 16384) >> 15; }

template <class Pixel>
Pixel Average(const std::vector<Pixel>& samples) {
  const uint64_t n = samples.size(), full = DepthOf<Pixel>::D::full;
  const Sums<uint64_t> sum(samples);
  if (sum.alpha == 0) return {};
  const auto color = [&](uint64_t c) {
    const uint64_t v = sum.alpha == n * full
                           ? OffFull((2 * c + n) / (2 * n), static_cast<const Pixel*>(nullptr))
                           : c / sum.alpha;
    return static_cast<VX_ChannelOf<Pixel>>(v);
  };
  return {static_cast<VX_ChannelOf<Pixel>>(sum.alpha / n), color(sum.red), color(sum.green),
          color(sum.blue)};
}

// --- masks ---

// Of luminances in float, those below 1e-30 are 0 and those above 1 are 1.
template <class Pixel>
VX_ChannelOf<Pixel> LimitedMaskValue(const Pixel& p, int32_t what) {
  if constexpr (DepthOf<Pixel>::D::isFloat) {
    if ((what & 2) != 0) {
      float value = MaskValue(p, VX_MaskUse_Luma);
      value = value > 1 ? 1 : value < 1e-30f ? 0 : value;
      return what == VX_MaskUse_Luma ? value : 1 - value;
    }
  }
  return MaskValue(p, what);
}

// --- the destination ---

inline bool IsStencil(const Drawing& d) {
  return d.mode->mode == VX_Xfer_StencilAlpha || d.mode->mode == VX_Xfer_StencilLuma;
}

template <class Pixel>
void DrawRow(const Drawing& d, const Bounds& area, int64_t y, uint32_t seed,
             const SampledRow<Pixel>& sampled, const VX_LayerDef& dst) {
  constexpr auto full = DepthOf<Pixel>::D::full;
  const std::vector<Pixel>& row = sampled.pixels;
  const int32_t mode = d.mode->mode;
  auto alphas = full * 0;
  for (const Pixel& p : sampled.taken) alphas += p.alpha;
  if (alphas == 0 && mode != VX_Xfer_Scale && !IsStencil(d) && mode != VX_Xfer_PremulOver) return;
  VX_BlendingMode<Pixel> blending{};
  blending.mode = mode;
  blending.seed = static_cast<int32_t>(seed);
  blending.opacity = Opacity(d.mode->opacityF, static_cast<const Pixel*>(nullptr));
  blending.keepDstAlpha = d.mode->keepDstAlpha;
  Pixel* const out = &At<Pixel>(dst, area.left, y);
  if (mode == VX_Xfer_InFront && d.mask == nullptr && blending.keepDstAlpha == 0 &&
      blending.opacity == full && alphas == full * static_cast<decltype(alphas)>(row.size())) {
    std::copy(row.begin(), row.end(), out);
    return;
  }
  std::vector<Pixel> mask;
  if (d.mask != nullptr) mask = MaskRow<Pixel>(*d.mask, y, area.left, area.right, LimitedMaskValue);
  Pipeline<Pixel>(blending, d.tables, static_cast<int32_t>(row.size()), row.data(),
                  d.mask != nullptr ? mask.data() : nullptr, out);
}

template <class Pixel>
void DrawRectangle(const Drawing& d, const M_Matrix3& to_dst, const Bounds& area,
                   const VX_LayerDef& dst) {
  const int64_t h = (Fixed(to_dst.m[6]) + 32768) >> 16, v = (Fixed(to_dst.m[7]) + 32768) >> 16;
  const auto edge = [](int64_t at) { return static_cast<int16_t>(at); };
  const M_Rect rect = {edge(area.top - v), edge(area.left - h), edge(area.bottom - v),
                       edge(area.right - h)};
  const Placement place = {&rect, static_cast<int32_t>(area.left), static_cast<int32_t>(area.top),
                           d.field};
  Transfer<Pixel>(place, *d.src, *d.mode, d.tables, d.mask, dst);
}

// The source position `columns` and `rows` after the first one. Steps are added one by one, as the
// product does.
inline Position PositionAt(const PositionGrid& grid, int64_t columns, int64_t rows) {
  Position p = grid.at;
  for (int64_t i = 0; i < rows; ++i) p = p + grid.row;
  for (int64_t i = 0; i < columns; ++i) p = p + grid.column;
  return p;
}

inline bool StepsByPixels(const PositionGrid& grid) {
  return grid.column.x == 65536 && grid.column.y == 0;
}

// The matrices of a call, and rows sampled with them. Columns and rows are relative to the area.
template <class Pixel>
struct Rows {
  const Drawing& d;
  std::vector<M_Matrix3> to_dst, to_src;
  int64_t width;
  PositionGrid first, last;
  Reader<Pixel> reader;

  SampledRow<Pixel> Still(int64_t row) const {
    std::vector<Position> at;
    for (int64_t x = 0; x < width; ++x) at.push_back(PositionAt(first, x, row));
    if (reader.CanCopy() && IsOnPixels(first)) return reader.Copied(at);
    return reader.Line(at, StepsByPixels(first) ? Middle::Span : Middle::Unclipped);
  }

  SampledRow<Pixel> Straight(int64_t row) const {
    const int64_t n = d.count > 2 ? d.count - 1 : d.quality == 0 ? 8 : 16;
    const bool is_slide = StepsByPixels(first) && StepsByPixels(last);
    const Position way = {last.at.x - first.at.x, last.at.y - first.at.y};
    const bool is_whole = reader.CanCopy() && IsOnPixels(first) && IsOnPixels(last) &&
                          first.column.x == last.column.x && first.column.y == last.column.y &&
                          way.x % n == 0 && way.y % n == 0 && way.x / n % 65536 == 0 &&
                          way.y / n % 65536 == 0;
    std::vector<Pixel> out;
    for (int64_t x = 0; x < width; ++x) {
      const Position from = PositionAt(first, x, row), to = PositionAt(last, x, row);
      std::vector<Position> at;
      for (int64_t i = 0; i < n; ++i) {
        at.push_back({from.x + i * ((to.x - from.x) / n), from.y + i * ((to.y - from.y) / n)});
      }
      if (is_whole) {
        out.push_back(Average(reader.Copied(at).taken));
        continue;
      }
      out.push_back(
          Average(reader.Line(at, is_slide ? Middle::Weighted : Middle::Unclipped).taken));
    }
    return {out, out};
  }

  SampledRow<Pixel> Curved(const Bounds& area, int64_t row) const {
    bool is_whole = true;
    for (size_t i = 0; i + 1 < to_src.size(); ++i) {
      is_whole = is_whole && Reader<Pixel>(d, Footprint(to_dst[i])).CanCopy() &&
                 IsOnPixels(PositionGrid(to_src[i], area));
    }
    std::vector<Pixel> out;
    for (int64_t x = 0; x < width; ++x) {
      std::vector<Pixel> samples;
      for (size_t i = 0; i + 1 < to_src.size(); ++i) {
        const Reader<Pixel> here(d, Footprint(to_dst[i]));
        const Position at = PositionAt(PositionGrid(to_src[i], area), x, row);
        samples.push_back(is_whole ? here.Copied({at}).pixels[0] : here.One(at));
      }
      out.push_back(Average(samples));
    }
    return {out, out};
  }
};

template <class Pixel>
void Transform(const Drawing& d, const VX_LayerDef& dst) {
  std::vector<M_Matrix3> to_dst, to_src;
  for (int32_t i = 0; i < d.count; ++i) {
    const M_Matrix3 given = WithUnitW(d.matrices[i]);
    const std::optional<M_Matrix3> inverse = Inverse(given);
    if (!inverse) {
      if (IsStencil(d)) ClearAlphaOutside<Pixel>({}, dst);
      return;
    }
    to_dst.push_back(d.src2dst ? given : *inverse);
    to_src.push_back(d.src2dst ? *inverse : given);
  }
  const Bounds area = Area(d, to_dst, dst);
  if (area.IsEmpty()) return;
  if (Vanishes(to_dst[0])) {
    if (IsStencil(d)) ClearAlphaOutside<Pixel>({}, dst);
    return;
  }
  const bool moves =
      d.count > 1 && !SameMatrix(WithUnitW(d.matrices[0]), WithUnitW(d.matrices[d.count - 1]));
  const bool is_whole = ((Fixed(to_dst[0].m[6]) | Fixed(to_dst[0].m[7])) & 0xFFFF) == 0;
  if (!moves && OnlyMoves(to_dst[0]) && (d.quality == 0 || is_whole)) {
    DrawRectangle<Pixel>(d, to_dst[0], area, dst);
    return;
  }

  const bool is_curved = d.quality != 0 && d.count > 2 && IsCurved(to_dst, *d.src);
  if (IsStencil(d)) ClearAlphaOutside<Pixel>(area, dst);
  const Rows<Pixel> rows = {d,
                            to_dst,
                            to_src,
                            area.right - area.left,
                            PositionGrid(to_src.front(), area),
                            PositionGrid(to_src.back(), area),
                            Reader<Pixel>(d, Footprint(to_dst[0]))};
  uint32_t seed = static_cast<uint32_t>(d.mode->seed) + static_cast<uint32_t>(area.left);
  for (int64_t y = area.top; y < area.bottom; ++y) {
    const bool is_odd = (y & 1) != 0;
    if (!(d.field == VX_Field_EvenRows && is_odd) && !(d.field == VX_Field_OddRows && !is_odd)) {
      const int64_t row = y - area.top;
      DrawRow<Pixel>(d, area, y, seed,
                     is_curved ? rows.Curved(area, row)
                     : moves   ? rows.Straight(row)
                               : rows.Still(row),
                     dst);
    }
    seed += 12281u * static_cast<uint32_t>(y);
  }
}

}  // namespace vxref

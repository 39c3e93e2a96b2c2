// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The slow twins of the blur passes. The window of each destination pixel is summed independently
// of all others.
//
// Arguments must be valid; they are not checked. At integer depths sums are exact 64-bit integers,
// and the product must give equal bits. At float sums are doubles. The order of a sum, and the step
// at which a quotient is rounded to single precision, are free in the product, so results may
// differ by a few units in the last place of the window's largest value.

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "RefArithmetic.h"
#include "VX/VX_Types.h"

namespace vxref {

// The arguments that both passes share; VX_Blur.h describes them.
struct BlurPass {
  float radius;
  int32_t flags;
  int32_t src_direction;
  bool src_premultiplied;
  int32_t dst_direction;
  bool dst_premultiplied;
};

enum : int32_t { kAlpha = 1, kColors = 14, kHoldLevel = 16 };

inline bool IsBlurred(int32_t flags, size_t channel) { return (flags >> channel & 1) != 0; }

// The channels in the order alpha, red, green, blue.
template <class Pixel>
using Channels = std::array<SumOf<VX_ChannelOf<Pixel>>, 4>;

// A line of pixels. pixels[i] has the coordinate start + i. Source and destination share one system
// of coordinates, because each world's origin is added.
template <class Pixel>
struct Line {
  int64_t start;
  std::vector<Channels<Pixel>> pixels;

  int64_t End() const { return start + static_cast<int64_t>(pixels.size()); }
  bool Inside(int64_t q) const { return q >= start && q < End(); }
  Channels<Pixel> At(int64_t q) const {  // 0 outside of the line
    return Inside(q) ? pixels[static_cast<size_t>(q - start)] : Channels<Pixel>{};
  }
};

// --- lines of worlds -----------------------------------------------------------------------------

// Gives access to a world as rows, or as columns if `down` is set.
template <class Pixel>
struct Lines {
  const VX_LayerDef& world;
  bool down;

  int64_t Count() const { return down ? world.width : world.height; }
  int64_t Length() const { return down ? world.height : world.width; }
  int64_t FirstLine() const { return down ? world.origin_x : world.origin_y; }
  int64_t Start() const { return down ? world.origin_y : world.origin_x; }

  Pixel& PixelAt(int64_t line, int64_t j) const {
    return At<Pixel>(world, down ? line : j, down ? j : line);
  }
  Channels<Pixel> Read(int64_t line, int64_t j) const {
    const Pixel& p = PixelAt(line, j);
    return {p.alpha, p.red, p.green, p.blue};
  }
  void Write(int64_t line, int64_t j, const Channels<Pixel>& c) const {
    const auto as = [](auto value) { return static_cast<VX_ChannelOf<Pixel>>(value); };
    PixelAt(line, j) = {as(c[0]), as(c[1]), as(c[2]), as(c[3])};
  }
};

// Reads a line of the source and multiplies the colours that are blurred by alpha, unless the
// source is premultiplied. Colours at alpha 0 become 0, even if they are not finite.
template <class Pixel>
Line<Pixel> ReadLine(const BlurPass& pass, const Lines<Pixel>& lines, int64_t index) {
  using D = typename DepthOf<Pixel>::D;
  using Wide = typename D::Wide;
  Line<Pixel> line{lines.Start(), {}};
  for (int64_t j = 0; j < lines.Length(); ++j) {
    Channels<Pixel> p = lines.Read(index, j);
    for (size_t c = 1; c < 4; ++c) {
      if (pass.src_premultiplied || !IsBlurred(pass.flags, c)) continue;
      p[c] = p[0] == 0 ? 0 : D::Mul(static_cast<Wide>(p[c]), static_cast<Wide>(p[0]));
    }
    line.pixels.push_back(p);
  }
  return line;
}

// --- one pixel -----------------------------------------------------------------------------------

// The weighted sums of a window, and the weight to divide them by.
template <class Pixel>
struct Window {
  Channels<Pixel> sum{};
  int64_t total = 0;

  void Add(const Channels<Pixel>& p, int64_t weight) {
    for (size_t c = 0; c < 4; ++c) sum[c] += p[c] * static_cast<SumOf<VX_ChannelOf<Pixel>>>(weight);
  }
};

// The mean of a window. The Gaussian divides integers, rounded half up. The box divides in single
// precision, rounded half up at integer depths.
struct IntegerMean {
  static int64_t Of(int64_t sum, int64_t total, int64_t) { return (sum + total / 2) / total; }
  static double Of(double sum, int64_t total, float) {
    return static_cast<float>(sum / static_cast<double>(total));
  }
};
struct SingleMean {
  static float Quotient(auto sum, int64_t total) {
    return static_cast<float>(sum) / static_cast<float>(total);
  }
  static int64_t Of(int64_t sum, int64_t total, int64_t full) {
    return std::clamp<int64_t>(static_cast<int64_t>(Quotient(sum, total) + 0.5f), 0, full);
  }
  static double Of(double sum, int64_t total, float) { return Quotient(sum, total); }
};

inline int64_t Unmultiplied(int64_t sum, int64_t alpha_sum, int64_t full) {
  return std::min((sum * full + alpha_sum / 2) / alpha_sum, full);
}
inline double Unmultiplied(double sum, double alpha_sum, float) {
  return static_cast<float>(sum / alpha_sum);
}

// The destination pixel of a window. `here` is the pixel at the window's centre: its channels that
// are not blurred are kept.
template <class Mean, class Pixel>
Channels<Pixel> Output(const BlurPass& pass, bool premultiplied, const Window<Pixel>& window,
                       Channels<Pixel> here) {
  const auto full = DepthOf<Pixel>::D::full;
  const SumOf<VX_ChannelOf<Pixel>> total = static_cast<SumOf<VX_ChannelOf<Pixel>>>(window.total);
  const SumOf<VX_ChannelOf<Pixel>> alpha_sum =
      (pass.flags & kAlpha) != 0 ? window.sum[0] : here[0] * total;
  const bool nothing = total == 0 || (!premultiplied && alpha_sum == 0);
  for (size_t c = 0; c < 4; ++c) {
    if (!IsBlurred(pass.flags, c)) continue;
    if (nothing) {
      here[c] = 0;
    } else if (premultiplied || c == 0) {
      here[c] = Mean::Of(window.sum[c], window.total, full);
    } else {
      here[c] = Unmultiplied(window.sum[c], alpha_sum, full);
    }
  }
  return here;
}

// --- the two kinds -------------------------------------------------------------------------------

// The weights of a symmetric window at the distances 0..n from its centre, and the sum over the
// whole window (each distance except 0 counts twice).
struct Profile {
  explicit Profile(std::vector<int64_t> at_distances) : at(std::move(at_distances)), total(-at[0]) {
    for (const int64_t weight : at) total += 2 * weight;
  }
  std::vector<int64_t> at;
  int64_t total;
};

inline Profile GaussianProfile(double radius) {
  std::vector<int64_t> weights{255};
  for (int64_t i = 1; i <= static_cast<int64_t>(std::ceil(radius)); ++i) {
    const double d = static_cast<double>(i) / (radius + 1);
    const double profile = d > 1 ? 0 : 1 - (1 - std::exp(-2.378 * d * d)) * 1.102;
    weights.push_back(static_cast<int64_t>(profile * 255));
  }
  return Profile(weights);
}

// A box of the half width n = ceil(radius). Profile are 1024, except at distance n: the covered
// fraction of that pixel times 1024.
inline Profile BoxProfile(float radius) {
  const float n = std::ceil(radius);
  std::vector<int64_t> weights(static_cast<size_t>(n) + 1, 1024);
  weights.back() -= static_cast<int64_t>((n - radius) * 1024);
  return Profile(weights);
}

template <class Pixel>
Window<Pixel> Gather(const Profile& weights, const Line<Pixel>& line, int64_t q, bool hold_level) {
  const int64_t n = static_cast<int64_t>(weights.at.size()) - 1;
  Window<Pixel> window;
  int64_t used = 0;
  for (int64_t at = std::max(q - n, line.start); at < std::min(q + n + 1, line.End()); ++at) {
    const int64_t weight = weights.at[static_cast<size_t>(std::abs(at - q))];
    window.Add(line.At(at), weight);
    used += weight;
  }
  window.total = hold_level ? used : weights.total;
  return window;
}

// Blurs `in` once and returns the result for the coordinates `start` up to `end`.
template <class Mean, class Pixel>
Line<Pixel> BlurLine(const BlurPass& pass, bool premultiplied, const Profile& weights,
                     const Line<Pixel>& in, int64_t start, int64_t end) {
  Line<Pixel> out{start, {}};
  for (int64_t q = start; q < end; ++q) {
    const bool hold_level = (pass.flags & kHoldLevel) != 0;
    const Window<Pixel> window = Gather(weights, in, q, hold_level);
    out.pixels.push_back(Output<Mean>(pass, premultiplied, window, in.At(q)));
  }
  return out;
}

// Calls `blur` for the source line of each line of the destination and writes its result. Both
// worlds' lines are matched by their coordinates.
template <class Pixel, class Blur>
void AllLines(const BlurPass& pass, const VX_LayerDef& src, const VX_LayerDef& dst, Blur blur) {
  const Lines<Pixel> from{src, pass.src_direction == 1}, to{dst, pass.dst_direction == 1};
  for (int64_t i = 0; i < to.Count(); ++i) {
    const int64_t source_line = to.FirstLine() + i - from.FirstLine();
    Line<Pixel> line{to.Start(), {}};  // stays 0 if no source line has this coordinate
    if (source_line >= 0 && source_line < from.Count()) {
      line = blur(ReadLine(pass, from, source_line), to.Start(), to.Start() + to.Length());
    }
    for (int64_t j = 0; j < to.Length(); ++j) to.Write(i, j, line.At(to.Start() + j));
  }
}

template <class Pixel>
void GaussianBlur1D(const BlurPass& pass, const VX_LayerDef& src, const VX_LayerDef& dst) {
  const Profile weights = GaussianProfile(pass.radius);
  AllLines<Pixel>(pass, src, dst, [&](const Line<Pixel>& in, int64_t start, int64_t end) {
    return BlurLine<IntegerMean>(pass, pass.dst_premultiplied, weights, in, start, end);
  });
}

// All passes except the last give premultiplied results. Each pass widens the line by n on both
// sides, as far as the passes after it read.
template <class Pixel>
void BoxBlur1D(const BlurPass& pass, int32_t iterations, const VX_LayerDef& src,
               const VX_LayerDef& dst) {
  const Profile weights = BoxProfile(pass.radius);
  const int64_t n = static_cast<int64_t>(weights.at.size()) - 1;
  AllLines<Pixel>(pass, src, dst, [&](const Line<Pixel>& in, int64_t start, int64_t end) {
    Line<Pixel> line = in;
    for (int64_t i = 1; i < iterations; ++i) {
      const int64_t from = std::max(in.start - i * n, start - (iterations - i) * n);
      const int64_t to = std::min(in.End() + i * n, end + (iterations - i) * n);
      line = BlurLine<SingleMean>(pass, true, weights, line, from, to);
    }
    return BlurLine<SingleMean>(pass, pass.dst_premultiplied, weights, line, start, end);
  });
}

}  // namespace vxref

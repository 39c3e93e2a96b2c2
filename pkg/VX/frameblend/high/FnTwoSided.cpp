// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "frameblend/high/FnTwoSided.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>

namespace {

// Four floats: alpha, red, green, blue.
using Vec4 = FnColorFloat::Vector;
using Colors = FnMap<FnColorFloat>;

Vec4 Load(const FnColorFloat& c) { return c.ToVector(); }

float SumOfAbs(const Vec4& v) {
  return std::fabs(v[0]) + std::fabs(v[1]) + std::fabs(v[2]) + std::fabs(v[3]);
}

int32_t Held(int32_t i, int32_t size) { return i < 0 ? 0 : i < size ? i : size - 1; }

// Splits a position that is limited to the neighbourhood of a picture.
int32_t Split(float p, int32_t size, float* fraction) {
  int32_t whole;
  FnSplit(std::clamp(p, -2.0f, static_cast<float>(size + 1)), &whole, fraction);
  return whole;
}

// The sample at a position whose whole numbers are the centres of elements; the ends are held.
template <class Stored>
Stored Bilinear(const FnMap<Stored>& map, float px, float py) {
  const int32_t width = map.width(), height = map.height();
  float fx, fy;
  const int32_t i = Split(px, width, &fx), j = Split(py, height, &fy);
  const int32_t i0 = Held(i, width), i1 = Held(i + 1, width);
  const Stored* const upper = map.row(Held(j, height));
  const Stored* const lower = map.row(Held(j + 1, height));
  return FnBilinear<true>(upper[i0], upper[i1], lower[i0], lower[i1], fx, fy);
}

struct CubicWeights {
  float w[4];
  explicit CubicWeights(float f) {
    constexpr float kA = -0.6f;
    const float f2 = f * f, f3 = f2 * f;
    w[0] = kA * (f3 - 2 * f2 + f);
    w[1] = (kA + 2) * f3 - (kA + 3) * f2 + 1;
    w[2] = -(kA + 2) * f3 + (2 * kA + 3) * f2 - kA * f;
    w[3] = 1 - w[0] - w[1] - w[2];
  }
};

// Cubic convolution over 4 x 4 pixels.
Vec4 Cubic(const Colors& picture, float px, float py) {
  const int32_t width = picture.width(), height = picture.height();
  float fx, fy;
  const int32_t i = Split(px, width, &fx), j = Split(py, height, &fy);
  const CubicWeights column(fx), row(fy);
  Vec4 sum = {0, 0, 0, 0};
  if (i >= 1 && i + 2 < width && j >= 1 && j + 2 < height) {
    for (int32_t r = 0; r < 4; ++r) {
      const FnColorFloat* const line = picture.row(j - 1 + r) + i - 1;
      sum += (Load(line[0]) * column.w[0] + Load(line[1]) * column.w[1] +
              Load(line[2]) * column.w[2] + Load(line[3]) * column.w[3]) *
             row.w[r];
    }
    return sum;
  }
  for (int32_t r = 0; r < 4; ++r) {
    const FnColorFloat* const line = picture.row(Held(j - 1 + r, height));
    Vec4 part = {0, 0, 0, 0};
    for (int32_t c = 0; c < 4; ++c) part += Load(line[Held(i - 1 + c, width)]) * column.w[c];
    sum += part * row.w[r];
  }
  return sum;
}

float Square(const FnFlowVector& f) { return f.u * f.u + f.v * f.v; }

// Filters a plane with weights at -n..n in both directions; the outermost values are repeated.
template <size_t kTaps>
void Filter(const std::array<float, kTaps>& weights, FnInterruptState* interrupt, FnFloatMap* plane,
            FnFloatMap* spare) {
  constexpr auto kRadius = static_cast<int32_t>(kTaps / 2);
  const int32_t width = plane->width(), height = plane->height();
  FnForRows(interrupt, height, [&](int32_t y) {
    const float* rows[kTaps];
    for (int32_t k = 0; k < static_cast<int32_t>(kTaps); ++k) {
      rows[k] = plane->row(Held(y + k - kRadius, height));
    }
    float* const out = spare->row(y);
    for (int32_t x = 0; x < width; ++x) {
      float sum = 0;
      for (size_t k = 0; k < kTaps; ++k) sum += weights[k] * rows[k][x];
      out[x] = sum;
    }
  });
  FnForRows(interrupt, height, [&](int32_t y) {
    const float* const in = spare->row(y);
    float* const out = plane->row(y);
    const auto edge = [&](int32_t x) {
      float sum = 0;
      for (int32_t k = 0; k < static_cast<int32_t>(kTaps); ++k) {
        sum += weights[static_cast<size_t>(k)] * in[Held(x + k - kRadius, width)];
      }
      out[x] = sum;
    };
    const int32_t inner = std::max(width - kRadius, std::min(kRadius, width));
    for (int32_t x = 0; x < std::min(kRadius, width); ++x) edge(x);
    for (int32_t x = kRadius; x < width - kRadius; ++x) {
      float sum = 0;
      for (size_t k = 0; k < kTaps; ++k)
        sum += weights[k] * in[x + static_cast<int32_t>(k) - kRadius];
      out[x] = sum;
    }
    for (int32_t x = inner; x < width; ++x) edge(x);
  });
}

template <size_t kTaps>
std::array<float, kTaps> Gaussian(float deviation) {
  std::array<float, kTaps> weights;
  float sum = 0;
  for (size_t k = 0; k < kTaps; ++k) {
    const float d = static_cast<float>(k) - static_cast<float>(kTaps / 2);
    weights[k] = std::exp(-d * d / (2 * deviation * deviation));
    sum += weights[k];
  }
  for (float& weight : weights) weight /= sum;
  return weights;
}

bool Allocate(FnInterruptState* interrupt, int32_t width, int32_t height, auto*... maps) {
  const bool done = (maps->allocate(width, height) && ...);
  if (!done) interrupt->set(VX_ErrOutOfMemory);
  return done && FnPoll(interrupt) == VX_Ok;
}

void MakeGrey(const Colors& picture, bool opaque, FnInterruptState* interrupt, FnGrey* out) {
  FnForRows(interrupt, picture.height(), [&](int32_t y) {
    const FnColorFloat* const in = picture.row(y);
    float* const grey = out->row(y);
    for (int32_t x = 0; x < picture.width(); ++x) {
      const FnColorFloat c = in[x];
      float value = 0.299f * c.red + 0.587f * c.green + 0.114f * c.blue;
      // A black object over transparency must be visible too.
      if (!opaque) value = 0.75f * value + 0.25f * c.alpha;
      value = value < 255 ? value : 255 + 64 * std::log(value / 255);
      grey[x] = value > -255 ? value : -255;  // NaN too
    }
  });
  out->Extend();
}

constexpr float kSameContent = 10;  // larger differences, averaged around a pixel, are not
constexpr float kApart = 10, kApartOfLength = 0.1f;  // pixels; of vectors that cancel

// How badly the vector of each pixel of `a` explains it: the difference of the pictures, and the
// difference from the vector in the other direction.
// Returns the share of pixels that it does not explain at all.
float MakeCost(const Colors& a, const Colors& b, const FnFlowMap& flow, const FnFlowMap& back,
               FnInterruptState* interrupt, FnFloatMap* cost, FnFloatMap* spare) {
  const int32_t width = a.width(), height = a.height();
  FnForRows(interrupt, height, [&](int32_t y) {
    for (int32_t x = 0; x < width; ++x) {
      const FnFlowVector f = flow.row(y)[x];
      const FnColorFloat other =
          Bilinear(b, static_cast<float>(x) + f.u, static_cast<float>(y) + f.v);
      cost->row(y)[x] = SumOfAbs(Load(a.row(y)[x] - other)) * (1.0f / 3);
    }
  });
  Filter(std::array<float, 5>{0.2f, 0.2f, 0.2f, 0.2f, 0.2f}, interrupt, cost, spare);
  std::atomic<int64_t> unexplained = 0;
  FnForRows(interrupt, height, [&](int32_t y) {
    int64_t count = 0;
    for (int32_t x = 0; x < width; ++x) {
      const FnFlowVector f = flow.row(y)[x];
      const float px = static_cast<float>(x) + f.u, py = static_cast<float>(y) + f.v;
      const FnFlowVector g = Bilinear(back, px, py);
      const float apart = Square({f.u + g.u, f.v + g.v});
      const bool outside = px < 0 || py < 0 || px > static_cast<float>(width - 1) ||
                           py > static_cast<float>(height - 1);
      float& c = cost->row(y)[x];
      const float most = kApart + kApartOfLength * (std::fabs(f.u) + std::fabs(f.v));
      count += c > kSameContent || (!outside && apart > most * most);
      if (apart > 0.01f * (Square(f) + Square(g)) + 0.5f)
        c += 12 * std::min(std::sqrt(apart), 4.0f);
      if (outside) c += 6;
    }
    unexplained += count;
  });
  return static_cast<float>(unexplained) / (static_cast<float>(width) * static_cast<float>(height));
}

// One picture is made by one object.
class Instant {
 public:
  Instant(const Colors& first, const Colors& second, const FnFlowMap& forward,
          const FnFlowMap& backward, float position, FnInterruptState* interrupt)
      : first_(first),
        second_(second),
        forward_(forward),
        backward_(backward),
        t_(position),
        interrupt_(interrupt),
        width_(first.width()),
        height_(first.height()) {}

  void Make(const FnFloatMap& forward_cost, const FnFloatMap& backward_cost, Colors* out) {
    if (!Allocate(interrupt_, width_, height_, &keys_, &flow_, &other_, &weightA_, &weightB_,
                  &agree_, &spare_)) {
      return;
    }
    FnForRows(interrupt_, height_, [&](int32_t y) { std::fill_n(keys_.row(y), width_, kNone); });
    Project(forward_, forward_cost, t_, 0);
    Project(backward_, backward_cost, 1 - t_, 1);
    FnForRows(interrupt_, height_, [&](int32_t y) { Choose(y); });
    FillHoles();
    FnForRows(interrupt_, height_, [&](int32_t y) { Median(other_, y, &flow_); });
    FnForRows(interrupt_, height_, [&](int32_t y) { Weigh(y); });
    static const auto kSharp = Gaussian<5>(0.8f);
    static const auto kWide = Gaussian<9>(1.5f);
    Filter(kSharp, interrupt_, &weightA_, &spare_);
    Filter(kSharp, interrupt_, &weightB_, &spare_);
    Filter(kWide, interrupt_, &agree_, &spare_);
    FnForRows(interrupt_, height_, [&](int32_t y) { Draw(y, out->row(y)); });
  }

 private:
  static constexpr uint64_t kNone = UINT64_MAX;

  // Moves each vector to the position; where several meet, the one with the lowest cost stays.
  void Project(const FnFlowMap& flow, const FnFloatMap& cost, float part, uint32_t side) {
    FnForRows(interrupt_, height_, [&](int32_t y) {
      for (int32_t x = 0; x < width_; ++x) {
        const FnFlowVector f = flow.row(y)[x];
        // Compared as floats, because NaN and large values have no integers.
        const float px = std::floor(static_cast<float>(x) + part * f.u + 0.5f);
        const float py = std::floor(static_cast<float>(y) + part * f.v + 0.5f);
        const bool inside = px >= 0 && py >= 0 && px < static_cast<float>(width_) &&
                            py < static_cast<float>(height_);
        if (!inside) continue;
        const auto to_x = static_cast<int32_t>(px), to_y = static_cast<int32_t>(py);
        const float limited = std::min(4095.0f, cost.row(y)[x]);  // NaN is as high as the limit
        const auto price = static_cast<uint64_t>(limited * 256);
        const auto index =
            static_cast<uint64_t>(y) * static_cast<uint64_t>(width_) + static_cast<uint64_t>(x);
        const uint64_t key = price << 42 | index << 1 | side;
        std::atomic_ref<uint64_t> slot(keys_.row(to_y)[to_x]);
        uint64_t seen = slot.load(std::memory_order_relaxed);
        while (key < seen && !slot.compare_exchange_weak(seen, key, std::memory_order_relaxed)) {
        }
      }
    });
  }

  void Choose(int32_t y) {
    for (int32_t x = 0; x < width_; ++x) {
      const uint64_t key = keys_.row(y)[x];
      if (key == kNone) continue;
      const uint64_t index = (key & ((uint64_t{1} << 42) - 1)) >> 1;
      const auto sy = static_cast<int32_t>(index / static_cast<uint64_t>(width_));
      const auto sx = static_cast<int32_t>(index % static_cast<uint64_t>(width_));
      const FnFlowVector f = (key & 1) != 0 ? backward_.row(sy)[sx] : forward_.row(sy)[sx];
      other_.row(y)[x] = (key & 1) != 0 ? FnFlowVector{-f.u, -f.v} : f;
    }
  }

  bool IsHole(int32_t x, int32_t y) const { return keys_.row(y)[x] == kNone; }

  // Gives a hole the vector of the nearest pixel to the left, right, top or bottom whose vector
  // agrees best with the motion of either picture there.
  void FillHoles() {
    FnFlowMap &above = flow_, below;
    if (!Allocate(interrupt_, width_, height_, &below)) return;
    const FnFlowVector none{NAN, NAN};
    for (int32_t y = 0; y < height_; ++y) {
      for (int32_t x = 0; x < width_; ++x) {
        above.row(y)[x] = !IsHole(x, y) ? other_.row(y)[x] : y > 0 ? above.row(y - 1)[x] : none;
      }
    }
    for (int32_t y = height_ - 1; y >= 0; --y) {
      for (int32_t x = 0; x < width_; ++x) {
        below.row(y)[x] = !IsHole(x, y)     ? other_.row(y)[x]
                          : y + 1 < height_ ? below.row(y + 1)[x]
                                            : none;
      }
    }
    FnForRows(interrupt_, height_, [&](int32_t y) {
      FnFlowVector* const out = other_.row(y);
      for (int32_t x = 0; x < width_;) {
        if (!IsHole(x, y)) {
          ++x;
          continue;
        }
        int32_t end = x;
        while (end < width_ && IsHole(end, y)) ++end;
        const FnFlowVector left = x > 0 ? out[x - 1] : none, right = end < width_ ? out[end] : none;
        for (; x < end; ++x) {
          FnFlowVector best{0, 0};
          float highest = -1;
          for (const FnFlowVector& f : {left, right, above.row(y)[x], below.row(y)[x]}) {
            if (std::isnan(f.u)) continue;
            const float agreement = Agreement(x, y, f);
            if (agreement <= highest) continue;
            highest = agreement;
            best = f;
          }
          out[x] = best;
        }
      }
    });
  }

  struct Sides {
    float ax, ay, bx, by;  // positions in both pictures
  };
  Sides SidesOf(int32_t x, int32_t y, const FnFlowVector& f) const {
    const auto px = static_cast<float>(x), py = static_cast<float>(y);
    return {px - t_ * f.u, py - t_ * f.v, px + (1 - t_) * f.u, py + (1 - t_) * f.v};
  }
  // 0..1 for each side: whether the motion there is that of the vector.
  void Visibility(const Sides& s, const FnFlowVector& f, float* a, float* b) const {
    const FnFlowVector fa = Bilinear(forward_, s.ax, s.ay), fb = Bilinear(backward_, s.bx, s.by);
    const float scale = 0.5f / (1 + 0.02f * Square(f));
    *a = Falloff(Square(fa - f) * scale);
    *b = Falloff(Square(fb + f) * scale);
  }
  // exp(-d) from 0 on, within 0.04.
  static float Falloff(float d) {
    const float p = std::max(0.0f, 1 - d * (1.0f / 8));
    const float p2 = p * p, p4 = p2 * p2;
    return p4 * p4;
  }
  float Agreement(int32_t x, int32_t y, const FnFlowVector& f) const {
    float a, b;
    const Sides s = SidesOf(x, y, f);
    Visibility(s, f, &a, &b);
    return std::max(a * Inside(s.ax, s.ay), b * Inside(s.bx, s.by));
  }
  float Inside(float x, float y) const {
    const float edge = std::min(std::min(x, static_cast<float>(width_ - 1) - x),
                                std::min(y, static_cast<float>(height_ - 1) - y));
    return std::clamp(edge + 1, 0.0f, 1.0f);
  }

  // The median of 3 x 3, for each component.
  void Median(const FnFlowMap& in, int32_t y, FnFlowMap* out) const {
    const FnFlowVector* rows[3];
    for (int32_t k = 0; k < 3; ++k) rows[k] = in.row(Held(y + k - 1, height_));
    constexpr int32_t kChunk = 16;
    using Chunk = std::array<float, kChunk>;
    const auto order = [](Chunk& a, Chunk& b) {
      for (size_t i = 0; i < kChunk; ++i) {
        const float low = a[i] < b[i] ? a[i] : b[i];
        b[i] = a[i] < b[i] ? b[i] : a[i];
        a[i] = low;
      }
    };
    const auto median = [&](std::array<Chunk, 9>& p) -> const Chunk& {
      order(p[1], p[2]), order(p[4], p[5]), order(p[7], p[8]);
      order(p[0], p[1]), order(p[3], p[4]), order(p[6], p[7]);
      order(p[1], p[2]), order(p[4], p[5]), order(p[7], p[8]);
      order(p[0], p[3]), order(p[5], p[8]), order(p[4], p[7]);
      order(p[3], p[6]), order(p[1], p[4]), order(p[2], p[5]);
      order(p[4], p[7]), order(p[4], p[2]), order(p[6], p[4]);
      order(p[4], p[2]);
      return p[4];
    };
    std::array<Chunk, 9> u, v;
    for (int32_t start = 0; start < width_; start += kChunk) {
      for (int32_t k = 0; k < 9; ++k) {
        Chunk &cu = u[static_cast<size_t>(k)], &cv = v[static_cast<size_t>(k)];
        for (int32_t i = 0; i < kChunk; ++i) {
          const FnFlowVector& f = rows[k / 3][Held(start + i + k % 3 - 1, width_)];
          cu[static_cast<size_t>(i)] = f.u;
          cv[static_cast<size_t>(i)] = f.v;
        }
      }
      const Chunk &mu = median(u), &mv = median(v);
      for (int32_t i = 0; i < std::min(kChunk, width_ - start); ++i) {
        out->row(y)[start + i] = {mu[static_cast<size_t>(i)], mv[static_cast<size_t>(i)]};
      }
    }
  }

  void Weigh(int32_t y) {
    for (int32_t x = 0; x < width_; ++x) {
      const FnFlowVector f = flow_.row(y)[x];
      const Sides s = SidesOf(x, y, f);
      float a, b;
      Visibility(s, f, &a, &b);
      const float in_a = Inside(s.ax, s.ay), in_b = Inside(s.bx, s.by);
      weightA_.row(y)[x] = (1 - t_) * (a + 1e-3f) * (in_a + 1e-4f);
      weightB_.row(y)[x] = t_ * (b + 1e-3f) * (in_b + 1e-4f);
      agree_.row(y)[x] = std::min(1.0f, 0.5f * (a * in_a + b * in_b));
    }
  }

  void Draw(int32_t y, FnColorFloat* out) const {
    for (int32_t x = 0; x < width_; ++x) {
      const FnFlowVector f = flow_.row(y)[x];
      const Sides s = SidesOf(x, y, f);
      const float wa = weightA_.row(y)[x], wb = weightB_.row(y)[x];
      const float k = wa / (wa + wb);
      constexpr float kNever = 1e-3f;
      Vec4 c;
      if (k < kNever) {
        c = Cubic(second_, s.bx, s.by);
      } else if (k > 1 - kNever) {
        c = Cubic(first_, s.ax, s.ay);
      } else {
        const Vec4 a = Cubic(first_, s.ax, s.ay), b = Cubic(second_, s.bx, s.by);
        c = SumOfAbs(a - b) == 0 ? a : a * k + b * (1 - k);
      }
      const float agree = agree_.row(y)[x];
      if (agree < 0.98f) c = c * agree + Soft(x, y) * (1 - agree);
      out[x] = FnColorFloat::FromVector(c);
    }
  }

  // A mixture along both motions at this pixel, which is blurred where they differ, but not torn.
  Vec4 Soft(int32_t x, int32_t y) const {
    const FnFlowVector &f = forward_.row(y)[x], &g = backward_.row(y)[x];
    const float t = t_, s = 1 - t_;
    const auto px = static_cast<float>(x), py = static_cast<float>(y);
    const Vec4 a = Cubic(first_, px - s * t * f.u + t * t * g.u, py - s * t * f.v + t * t * g.v);
    const Vec4 b = Cubic(second_, px + s * s * f.u - s * t * g.u, py + s * s * f.v - s * t * g.v);
    const FnColorFloat &still_a = first_.row(y)[x], &still_b = second_.row(y)[x];
    const Vec4 sa = Load(still_a), sb = Load(still_b);
    const float moved = SumOfAbs(a - b), still = SumOfAbs(sa - sb);
    const float part = still * still / (still * still + moved * moved + 1);
    return (a * s + b * t) * part + (sa * s + sb * t) * (1 - part);
  }

  const Colors &first_, &second_;
  const FnFlowMap &forward_, &backward_;
  const float t_;
  FnInterruptState* interrupt_;
  const int32_t width_, height_;
  FnMap<uint64_t> keys_;
  FnFlowMap flow_, other_;
  FnFloatMap weightA_, weightB_, agree_, spare_;
};

}  // namespace

void FnTwoSided::Estimate(FnInterruptState* interrupt) {
  const int32_t width = first.width(), height = first.height();
  FnGreyLevels a, b;
  if (!Allocate(interrupt, width, height, &a.levels.emplace_back(), &b.levels.emplace_back())) {
    return;
  }
  MakeGrey(first, opaque, interrupt, &a.levels[0]);
  MakeGrey(second, opaque, interrupt, &b.levels[0]);
  a.Build(interrupt);
  b.Build(interrupt);
  const FnFlowSettings settings;
  FnEstimateFlow(a, b, settings, interrupt, &forward);
  FnEstimateFlow(b, a, settings, interrupt, &backward);
}

void FnTwoSided::Compare(FnInterruptState* interrupt) {
  const int32_t width = first.width(), height = first.height();
  FnFloatMap spare;
  if (FnPoll(interrupt) != VX_Ok ||
      !Allocate(interrupt, width, height, &forwardCost_, &backwardCost_, &spare)) {
    return;
  }
  unexplained_ =
      std::min(MakeCost(first, second, forward, backward, interrupt, &forwardCost_, &spare),
               MakeCost(second, first, backward, forward, interrupt, &backwardCost_, &spare));
}

void FnTwoSided::Render(float position, FnInterruptState* interrupt, Colors* out) const {
  Instant(first, second, forward, backward, position, interrupt)
      .Make(forwardCost_, backwardCost_, out);
}

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "frameblend/high/FnRefine.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float kOverRelaxation = 1.6f;
constexpr float kEpsilon2 = 0.001f * 0.001f;
constexpr float kZeta2 = 0.1f * 0.1f;

// Planes of one size. Rows have one more element before and after, and there is one more row above
// and below, which are zero.
class Planes {
 public:
  enum Name {
    Value,  // mean of both pictures
    Z,      // difference of the pictures
    X,
    Y,
    XX,
    XY,
    YY,
    XZ,
    YZ,
    A11,
    A12,
    A22,
    B1,
    B2,
    Right,  // weight of the edge to the right neighbour
    Down,   // weight of the edge to the lower neighbour
    U,      // the field
    V,
    DU,  // its change
    DV,
    Count
  };

  bool allocate(int32_t width, int32_t height) {
    pitch_ = (width + 2 + 3) / 4 * 4;
    rows_ = height + 2;
    if (!map_.allocate(pitch_, rows_ * Count)) return false;
    for (int32_t y = 0; y < rows_ * Count; ++y) std::fill_n(map_.row(y), pitch_, 0.0f);
    return true;
  }
  float* row(Name name, int32_t y) const { return map_.row(name * rows_ + y + 1) + 1; }

 private:
  FnFloatMap map_;
  int32_t pitch_ = 0, rows_ = 0;
};

float BilinearAt(const FnGrey& picture, float px, float py) {
  const float x = std::clamp(px, -1.0f, static_cast<float>(picture.width()));
  const float y = std::clamp(py, -1.0f, static_cast<float>(picture.height()));
  int32_t bx, by;
  float fx, fy;
  FnSplit(x, &bx, &fx);
  FnSplit(y, &by, &fy);
  const float* const upper = picture.row(by) + bx;
  const float* const lower = upper + picture.pitch();
  const float top = upper[0] + (upper[1] - upper[0]) * fx;
  const float bottom = lower[0] + (lower[1] - lower[0]) * fx;
  return top + (bottom - top) * fy;
}

class Refinement {
 public:
  Refinement(const FnGrey& from, const FnGrey& to, const FnFlowSettings& settings,
             FnInterruptState* interrupt, FnFlowMap* field)
      : from_(from),
        to_(to),
        settings_(settings),
        interrupt_(interrupt),
        field_(field),
        width_(from.width()),
        height_(from.height()) {}

  void Run() {
    if (!planes_.allocate(width_, height_)) {
      interrupt_->set(VX_ErrOutOfMemory);
      return;
    }
    Warp();
    Differentiate();
    for (int32_t i = 0; i < settings_.outer; ++i) {
      WeighEdges();
      WeighData();
      for (int32_t k = 0; k < 2 * settings_.inner; ++k) Sweep(k % 2);
    }
    FnForRows(interrupt_, height_, [&](int32_t y) {
      const float *const du = planes_.row(Planes::DU, y), *const dv = planes_.row(Planes::DV, y);
      FnFlowVector* const out = field_->row(y);
      for (int32_t x = 0; x < width_; ++x) out[x] = {out[x].u + du[x], out[x].v + dv[x]};
    });
  }

 private:
  using P = Planes;

  void Warp() {
    FnForRows(interrupt_, height_, [&](int32_t y) {
      float *const value = planes_.row(P::Value, y), *const z = planes_.row(P::Z, y);
      float *const u = planes_.row(P::U, y), *const v = planes_.row(P::V, y);
      const float* const own = from_.row(y);
      const FnFlowVector* const f = field_->row(y);
      for (int32_t x = 0; x < width_; ++x) {
        u[x] = f[x].u;
        v[x] = f[x].v;
        const float other =
            BilinearAt(to_, static_cast<float>(x) + f[x].u, static_cast<float>(y) + f[x].v);
        value[x] = 0.5f * (own[x] + other);
        z[x] = other - own[x];
      }
    });
  }

  // Half the difference of the neighbours on both sides; at an edge of its only neighbour.
  void Derive(P::Name of, P::Name x_name, P::Name y_name) {
    FnForRows(interrupt_, height_, [&](int32_t y) {
      const float* const in = planes_.row(of, y);
      const float* const above = planes_.row(of, std::max(y - 1, 0));
      const float* const below = planes_.row(of, std::min(y + 1, height_ - 1));
      float *const dx = planes_.row(x_name, y), *const dy = planes_.row(y_name, y);
      for (int32_t x = 0; x < width_; ++x) {
        dx[x] = 0.5f * (in[x + 1] - in[x - 1]);
        dy[x] = 0.5f * (below[x] - above[x]);
      }
      const int32_t last = width_ - 1;
      dx[0] = 0.5f * (in[std::min(1, last)] - in[0]);
      dx[last] = 0.5f * (in[last] - in[std::max(last - 1, 0)]);
    });
  }
  void Differentiate() {
    Derive(P::Value, P::X, P::Y);
    Derive(P::Z, P::XZ, P::YZ);
    Derive(P::Y, P::XY, P::YY);
    Derive(P::X, P::XX, P::A11);  // the second result is XY again
  }

  void WeighEdges() {
    const float alpha = settings_.smoothness;
    FnForRows(interrupt_, height_, [&](int32_t y) {
      const float *const u = planes_.row(P::U, y), *const v = planes_.row(P::V, y);
      const float *const du = planes_.row(P::DU, y), *const dv = planes_.row(P::DV, y);
      const bool has_next = y + 1 < height_;
      const int32_t next = has_next ? y + 1 : y;
      const float *const un = planes_.row(P::U, next), *const vn = planes_.row(P::V, next);
      const float *const dun = planes_.row(P::DU, next), *const dvn = planes_.row(P::DV, next);
      float *const right = planes_.row(P::Right, y), *const down = planes_.row(P::Down, y);
      for (int32_t x = 0; x < width_; ++x) {
        const float own_u = u[x] + du[x], own_v = v[x] + dv[x];
        const float ux = u[x + 1] + du[x + 1] - own_u, vx = v[x + 1] + dv[x + 1] - own_v;
        const float uy = un[x] + dun[x] - own_u, vy = vn[x] + dvn[x] - own_v;
        const float weight = alpha / std::sqrt(ux * ux + uy * uy + vx * vx + vy * vy + kEpsilon2);
        right[x] = weight;
        down[x] = weight;
      }
      const int32_t last = width_ - 1;
      const float uy = un[last] + dun[last] - u[last] - du[last];
      const float vy = vn[last] + dvn[last] - v[last] - dv[last];
      down[last] = alpha / std::sqrt(uy * uy + vy * vy + kEpsilon2);
      right[last] = 0;
      if (!has_next) std::fill_n(down, width_, 0.0f);
    });
  }

  void WeighData() {
    const float delta = settings_.valueWeight, gamma = settings_.gradientWeight;
    FnForRows(interrupt_, height_, [&](int32_t y) {
      const float *const du = planes_.row(P::DU, y), *const dv = planes_.row(P::DV, y);
      const float *const iz = planes_.row(P::Z, y), *const ix = planes_.row(P::X, y),
                         *const iy = planes_.row(P::Y, y), *const ixx = planes_.row(P::XX, y),
                         *const ixy = planes_.row(P::XY, y), *const iyy = planes_.row(P::YY, y),
                         *const ixz = planes_.row(P::XZ, y), *const iyz = planes_.row(P::YZ, y);
      float *const a11 = planes_.row(P::A11, y), *const a12 = planes_.row(P::A12, y),
                   *const a22 = planes_.row(P::A22, y), *const b1 = planes_.row(P::B1, y),
                   *const b2 = planes_.row(P::B2, y);
      for (int32_t x = 0; x < width_; ++x) {
        const float n = 1 / (ix[x] * ix[x] + iy[x] * iy[x] + kZeta2);
        const float rest = iz[x] + ix[x] * du[x] + iy[x] * dv[x];
        const float wd = n * delta / std::sqrt(n * rest * rest + kEpsilon2);
        const float nx = 1 / (ixx[x] * ixx[x] + ixy[x] * ixy[x] + kZeta2);
        const float ny = 1 / (ixy[x] * ixy[x] + iyy[x] * iyy[x] + kZeta2);
        const float rx = ixz[x] + ixx[x] * du[x] + ixy[x] * dv[x];
        const float ry = iyz[x] + ixy[x] * du[x] + iyy[x] * dv[x];
        const float wg = gamma / std::sqrt(nx * rx * rx + ny * ry * ry + kEpsilon2);
        const float wx = wg * nx, wy = wg * ny;
        a11[x] = wd * ix[x] * ix[x] + wx * ixx[x] * ixx[x] + wy * ixy[x] * ixy[x];
        a12[x] = wd * ix[x] * iy[x] + wx * ixx[x] * ixy[x] + wy * ixy[x] * iyy[x];
        a22[x] = wd * iy[x] * iy[x] + wx * ixy[x] * ixy[x] + wy * iyy[x] * iyy[x];
        b1[x] = -(wd * ix[x] * iz[x] + wx * ixx[x] * ixz[x] + wy * ixy[x] * iyz[x]);
        b2[x] = -(wd * iy[x] * iz[x] + wx * ixy[x] * ixz[x] + wy * iyy[x] * iyz[x]);
      }
    });
  }

  // One half of a step of over-relaxation: the pixels of one colour of a chessboard, which depend
  // only on pixels of the other colour.
  void Sweep(int32_t colour) {
    FnForRows(interrupt_, height_, [&](int32_t y) {
      const float *const u = planes_.row(P::U, y), *const v = planes_.row(P::V, y);
      const float *const ua = planes_.row(P::U, y - 1), *const va = planes_.row(P::V, y - 1);
      const float *const ub = planes_.row(P::U, y + 1), *const vb = planes_.row(P::V, y + 1);
      float *const du = planes_.row(P::DU, y), *const dv = planes_.row(P::DV, y);
      const float *const dua = planes_.row(P::DU, y - 1), *const dva = planes_.row(P::DV, y - 1);
      const float *const dub = planes_.row(P::DU, y + 1), *const dvb = planes_.row(P::DV, y + 1);
      const float *const right = planes_.row(P::Right, y), *const down = planes_.row(P::Down, y);
      const float* const up = planes_.row(P::Down, y - 1);
      const float *const a11 = planes_.row(P::A11, y), *const a12 = planes_.row(P::A12, y),
                         *const a22 = planes_.row(P::A22, y), *const b1 = planes_.row(P::B1, y),
                         *const b2 = planes_.row(P::B2, y);
      for (int32_t x = (y + colour) % 2; x < width_; x += 2) {
        const float wl = right[x - 1], wr = right[x], wu = up[x], wd = down[x];
        const float sum = wl + wr + wu + wd;
        const float su = wl * (u[x - 1] + du[x - 1] - u[x]) + wr * (u[x + 1] + du[x + 1] - u[x]) +
                         wu * (ua[x] + dua[x] - u[x]) + wd * (ub[x] + dub[x] - u[x]);
        const float sv = wl * (v[x - 1] + dv[x - 1] - v[x]) + wr * (v[x + 1] + dv[x + 1] - v[x]) +
                         wu * (va[x] + dva[x] - v[x]) + wd * (vb[x] + dvb[x] - v[x]);
        const float pu = (b1[x] - a12[x] * dv[x] + su) / (a11[x] + sum);
        du[x] += kOverRelaxation * (pu - du[x]);
        const float pv = (b2[x] - a12[x] * du[x] + sv) / (a22[x] + sum);
        dv[x] += kOverRelaxation * (pv - dv[x]);
      }
    });
  }

  const FnGrey &from_, &to_;
  const FnFlowSettings& settings_;
  FnInterruptState* interrupt_;
  FnFlowMap* field_;
  const int32_t width_, height_;
  Planes planes_;
};

}  // namespace

void FnRefineFlow(const FnGrey& from, const FnGrey& to, const FnFlowSettings& settings,
                  FnInterruptState* interrupt, FnFlowMap* field) {
  if (settings.outer > 0) Refinement(from, to, settings, interrupt, field).Run();
}

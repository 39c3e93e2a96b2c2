// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "frameblend/high/FnFlow.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "frameblend/high/FnRefine.h"

namespace {

constexpr int32_t kPatch = 8;
constexpr int32_t kStride = 4;
constexpr int32_t kPixels = kPatch * kPatch;
constexpr int32_t kSmallestSide = 20;      // of the coarsest level
constexpr float kLongestStep = 8;          // a patch that moves farther from its start is rejected
constexpr float kBadMatch = 12 * kPixels;  // sum of squares of a patch that is searched again

struct Patches {
  int32_t columns = 0, rows = 0;
  FnFlowMap vectors;
  FnFloatMap errors;  // sums of squares, as Match::error

  static int32_t Count(int32_t size) {
    return size <= kPatch ? 1 : (size - kPatch + kStride - 1) / kStride + 1;
  }
};

// The four weights of a bilinear sample, and where it begins.
struct Shift {
  const float* upper;
  float w00, w10, w01, w11;
};

// The position (x + u, y + v), held so that a patch there is within the border.
Shift ShiftOf(const FnGrey& picture, int32_t x, int32_t y, const FnFlowVector& f) {
  constexpr float kFirst = 1 - FnGrey::kBorder;
  const auto limit = [](float p, int32_t size) {
    const auto last = static_cast<float>(size + FnGrey::kBorder - kPatch - 2);
    return p > kFirst ? (p < last ? p : last) : kFirst;
  };
  const float px = limit(static_cast<float>(x) + f.u, picture.width());
  const float py = limit(static_cast<float>(y) + f.v, picture.height());
  int32_t bx, by;
  float fx, fy;
  FnSplit(px, &bx, &fx);
  FnSplit(py, &by, &fy);
  return {picture.row(by) + bx, (1 - fx) * (1 - fy), fx * (1 - fy), (1 - fx) * fy, fx * fy};
}

struct Template {
  alignas(16) std::array<float, kPixels> value, gx, gy;
  float sumX = 0, sumY = 0;
  float ixx = 0, ixy = 0, iyy = 0;  // the inverse of the matrix of the normal equations

  Template(const FnGrey& picture, int32_t x, int32_t y) {
    float hxx = 0, hxy = 0, hyy = 0;
    size_t k = 0;
    for (int32_t j = 0; j < kPatch; ++j) {
      const float* const row = picture.row(y + j) + x;
      const float* const above = picture.row(y + j - 1) + x;
      const float* const below = picture.row(y + j + 1) + x;
      for (int32_t i = 0; i < kPatch; ++i, ++k) {
        value[k] = row[i];
        gx[k] = 0.5f * (row[i + 1] - row[i - 1]);
        gy[k] = 0.5f * (below[i] - above[i]);
      }
    }
    for (k = 0; k < kPixels; ++k) {
      sumX += gx[k];
      sumY += gy[k];
      hxx += gx[k] * gx[k];
      hxy += gx[k] * gy[k];
      hyy += gy[k] * gy[k];
    }
    constexpr float kOne = 1.0f / kPixels;
    hxx -= sumX * sumX * kOne;
    hxy -= sumX * sumY * kOne;
    hyy -= sumY * sumY * kOne;
    constexpr float kFlat = 1;
    hxx += kFlat;
    hyy += kFlat;
    const float determinant = hxx * hyy - hxy * hxy;
    ixx = hyy / determinant;
    ixy = -hxy / determinant;
    iyy = hxx / determinant;
  }
};

struct Match {
  float error;   // sum of squares of the differences, without their mean
  float bx, by;  // sums of the differences with the gradients
};

Match MatchAt(const Template& t, const Shift& s, ptrdiff_t pitch) {
  alignas(16) std::array<float, kPatch> sum{}, square{}, x{}, y{};
  size_t k = 0;
  for (int32_t j = 0; j < kPatch; ++j) {
    const float* const upper = s.upper + j * pitch;
    const float* const lower = upper + pitch;
    for (size_t i = 0; i < kPatch; ++i, ++k) {
      const float d = s.w00 * upper[i] + s.w10 * upper[i + 1] + s.w01 * lower[i] +
                      s.w11 * lower[i + 1] - t.value[k];
      sum[i] += d;
      square[i] += d * d;
      x[i] += d * t.gx[k];
      y[i] += d * t.gy[k];
    }
  }
  float total = 0, squares = 0, bx = 0, by = 0;
  for (size_t i = 0; i < kPatch; ++i) {
    total += sum[i];
    squares += square[i];
    bx += x[i];
    by += y[i];
  }
  const float mean = total / kPixels;
  return {squares - total * mean, bx - mean * t.sumX, by - mean * t.sumY};
}

// A field of the level above, sampled at a pixel of this level.
FnFlowVector FromCoarser(const FnFlowMap& coarse, float x, float y) {
  const auto side = [](float p, int32_t size, int32_t* low, int32_t* high) {
    const float at = std::clamp((p + 0.5f) * 0.5f - 0.5f, 0.0f, static_cast<float>(size - 1));
    *low = static_cast<int32_t>(at);
    *high = std::min(*low + 1, size - 1);
    return at - static_cast<float>(*low);
  };
  int32_t x0, x1, y0, y1;
  const float fx = side(x, coarse.width(), &x0, &x1), fy = side(y, coarse.height(), &y0, &y1);
  const FnFlowVector &a = coarse.row(y0)[x0], &b = coarse.row(y0)[x1];
  const FnFlowVector &c = coarse.row(y1)[x0], &d = coarse.row(y1)[x1];
  const auto mix = [&](float p, float q, float r, float s) {
    const float top = p + (q - p) * fx, bottom = r + (s - r) * fx;
    return 2 * (top + (bottom - top) * fy);
  };
  return {mix(a.u, b.u, c.u, d.u), mix(a.v, b.v, c.v, d.v)};
}

// Moves a patch from a start to where it matches best; `at` is its match there.
void Descend(const Template& t, const FnGrey& to, int32_t x, int32_t y, int32_t steps,
             FnFlowVector* best, Match* at) {
  const FnFlowVector start = *best;
  FnFlowVector now = *best;
  Match here = *at;
  for (int32_t step = 0; step < steps; ++step) {
    const float du = t.ixx * here.bx + t.ixy * here.by;
    const float dv = t.ixy * here.bx + t.iyy * here.by;
    now = {now.u - du, now.v - dv};
    if (std::fabs(now.u - start.u) > kLongestStep || std::fabs(now.v - start.v) > kLongestStep) {
      return;
    }
    here = MatchAt(t, ShiftOf(to, x, y, now), to.pitch());
    if (here.error >= at->error) return;
    *at = here;
    *best = now;
    constexpr float kSmall = 0.02f;
    if (std::fabs(du) + std::fabs(dv) < kSmall) return;
  }
}

// Moves each patch to where it matches best.
void Search(const FnGrey& from, const FnGrey& to, const FnFlowMap* coarse,
            const FnFlowSettings& settings, FnInterruptState* interrupt, Patches* patches) {
  FnForRows(interrupt, patches->rows, [&](int32_t row) {
    FnFlowVector* const out = patches->vectors.row(row);
    const int32_t y = row * kStride;
    for (int32_t column = 0; column < patches->columns; ++column) {
      const int32_t x = column * kStride;
      const Template t(from, x, y);
      constexpr float kHalf = 0.5f * (kPatch - 1), kAway = 2 * kStride;
      FnFlowVector best{0, 0};
      const float cx = static_cast<float>(x) + kHalf, cy = static_cast<float>(y) + kHalf;
      if (coarse != nullptr) best = FromCoarser(*coarse, cx, cy);
      Match at = MatchAt(t, ShiftOf(to, x, y, best), to.pitch());
      const auto consider = [&](const FnFlowVector& f) {
        const Match other = MatchAt(t, ShiftOf(to, x, y, f), to.pitch());
        if (other.error >= at.error) return;
        at = other;
        best = f;
      };
      if (coarse != nullptr) {
        consider(FromCoarser(*coarse, cx - kAway, cy));
        consider(FromCoarser(*coarse, cx + kAway, cy));
        consider(FromCoarser(*coarse, cx, cy - kAway));
        consider(FromCoarser(*coarse, cx, cy + kAway));
      }
      consider({0, 0});
      if (column > 0) consider(out[column - 1]);
      Descend(t, to, x, y, settings.searchSteps, &best, &at);
      out[column] = best;
      patches->errors.row(row)[column] = at.error;
    }
  });
}

// Gives patches that match badly a second chance: from no motion, and from the motion of other
// patches at a distance.
void SearchAgain(const FnGrey& from, const FnGrey& to, int32_t distance,
                 const FnFlowSettings& settings, FnInterruptState* interrupt, Patches* patches,
                 Patches* spare) {
  FnForRows(interrupt, patches->rows, [&](int32_t row) {
    const int32_t y = row * kStride;
    for (int32_t column = 0; column < patches->columns; ++column) {
      const int32_t x = column * kStride;
      FnFlowVector& out = spare->vectors.row(row)[column];
      float& error = spare->errors.row(row)[column];
      out = patches->vectors.row(row)[column];
      error = patches->errors.row(row)[column];
      if (error < kBadMatch) continue;
      const Template t(from, x, y);
      FnFlowVector best{0, 0};
      Match at = MatchAt(t, ShiftOf(to, x, y, best), to.pitch());
      for (const auto& [dx, dy] : {std::pair{-1, 0}, {1, 0}, {0, -1}, {0, 1}}) {
        const int32_t i = column + dx * distance, j = row + dy * distance;
        if (i < 0 || j < 0 || i >= patches->columns || j >= patches->rows) continue;
        const FnFlowVector f = patches->vectors.row(j)[i];
        const Match other = MatchAt(t, ShiftOf(to, x, y, f), to.pitch());
        if (other.error >= at.error) continue;
        at = other;
        best = f;
      }
      Descend(t, to, x, y, settings.searchSteps, &best, &at);
      constexpr float kClearlyBetter = 0.7f;
      if (at.error >= kClearlyBetter * error) continue;
      out = best;
      error = at.error;
    }
  });
  for (int32_t row = 0; row < patches->rows; ++row) {
    std::copy_n(spare->vectors.row(row), patches->columns, patches->vectors.row(row));
    std::copy_n(spare->errors.row(row), patches->columns, patches->errors.row(row));
  }
}

// The displacement of each pixel: the mean of the patches that cover it, weighted by how well the
// pixel matches.
void Densify(const FnGrey& from, const FnGrey& to, const Patches& patches,
             FnInterruptState* interrupt, FnFlowMap* out) {
  const int32_t width = from.width(), height = from.height();
  FnForRows(interrupt, (height + kStride - 1) / kStride, [&](int32_t cell_row) {
    const int32_t y = cell_row * kStride;
    for (int32_t cell = 0; cell * kStride < width; ++cell) {
      const int32_t x = cell * kStride;
      alignas(16) std::array<float, kStride * kStride> u{}, v{}, weights{};
      for (int32_t j = std::max(cell_row - 1, 0); j <= std::min(cell_row, patches.rows - 1); ++j) {
        for (int32_t i = std::max(cell - 1, 0); i <= std::min(cell, patches.columns - 1); ++i) {
          const FnFlowVector& f = patches.vectors.row(j)[i];
          const Shift s = ShiftOf(to, x, y, f);
          size_t k = 0;
          for (int32_t r = 0; r < kStride; ++r) {
            const float* const upper = s.upper + r * to.pitch();
            const float* const lower = upper + to.pitch();
            const float* const own = from.row(y + r) + x;
            for (size_t c = 0; c < kStride; ++c, ++k) {
              const float d = s.w00 * upper[c] + s.w10 * upper[c + 1] + s.w01 * lower[c] +
                              s.w11 * lower[c + 1] - own[c];
              const float weight = 1 / std::max(std::fabs(d), 1.0f);
              weights[k] += weight;
              u[k] += weight * f.u;
              v[k] += weight * f.v;
            }
          }
        }
      }
      for (int32_t r = 0; r < kStride && y + r < height; ++r) {
        FnFlowVector* const row = out->row(y + r) + x;
        for (int32_t c = 0; c < kStride && x + c < width; ++c) {
          const auto k = static_cast<size_t>(r * kStride + c);
          row[c] = {u[k] / weights[k], v[k] / weights[k]};
        }
      }
    }
  });
}

}  // namespace

void FnGrey::Extend() {
  for (int32_t y = 0; y < height_; ++y) {
    float* const line = row(y);
    std::fill(line - kBorder, line, line[0]);
    std::fill(line + width_, line + width_ + kBorder, line[width_ - 1]);
  }
  for (int32_t i = 1; i <= kBorder; ++i) {
    std::copy_n(row(0) - kBorder, pitch(), row(-i) - kBorder);
    std::copy_n(row(height_ - 1) - kBorder, pitch(), row(height_ - 1 + i) - kBorder);
  }
}

void FnGreyLevels::Build(FnInterruptState* interrupt) {
  while (std::min(levels.back().width(), levels.back().height()) >= 2 * kSmallestSide) {
    const FnGrey& fine = levels.back();
    FnGrey& coarse = levels.emplace_back();
    if (!coarse.allocate((fine.width() + 1) / 2, (fine.height() + 1) / 2)) {
      interrupt->set(VX_ErrOutOfMemory);
      return;
    }
    FnForRows(interrupt, coarse.height(), [&](int32_t y) {
      // Weights 1, 3, 3, 1 in both directions.
      const float *const r0 = fine.row(2 * y - 1), *const r1 = fine.row(2 * y),
                         *const r2 = fine.row(2 * y + 1), *const r3 = fine.row(2 * y + 2);
      float* const out = coarse.row(y);
      const auto column = [&](int32_t x) { return r0[x] + r3[x] + 3 * (r1[x] + r2[x]); };
      for (int32_t x = 0; x < coarse.width(); ++x) {
        out[x] = (column(2 * x - 1) + column(2 * x + 2) + 3 * (column(2 * x) + column(2 * x + 1))) *
                 (1.0f / 64);
      }
    });
    coarse.Extend();
  }
}

void FnEstimateFlow(const FnGreyLevels& from, const FnGreyLevels& to,
                    const FnFlowSettings& settings, FnInterruptState* interrupt, FnFlowMap* out) {
  const auto count = static_cast<int32_t>(from.levels.size());
  const int32_t finest = std::min(settings.finest, count - 1);
  FnFlowMap fields[2];
  const FnFlowMap* coarse = nullptr;
  const auto allocated = [&](bool done) {
    if (!done) interrupt->set(VX_ErrOutOfMemory);
    return done && FnPoll(interrupt) == VX_Ok;
  };
  for (int32_t level = count - 1; level >= finest; --level) {
    const FnGrey& a = from.levels[static_cast<size_t>(level)];
    const FnGrey& b = to.levels[static_cast<size_t>(level)];
    Patches patches;
    patches.columns = Patches::Count(a.width());
    patches.rows = Patches::Count(a.height());
    FnFlowMap* const field = level == 0 ? out : &fields[level % 2];
    Patches spare;
    const auto made = [&](Patches* p) {
      return p->vectors.allocate(patches.columns, patches.rows) &&
             p->errors.allocate(patches.columns, patches.rows);
    };
    if (!allocated(made(&patches) && made(&spare) && field->allocate(a.width(), a.height()))) {
      return;
    }
    Search(a, b, coarse, settings, interrupt, &patches);
    for (const int32_t distance : {1, 4, 2}) {
      SearchAgain(a, b, distance, settings, interrupt, &patches, &spare);
    }
    Densify(a, b, patches, interrupt, field);
    FnRefineFlow(a, b, settings, interrupt, field);
    if (FnPoll(interrupt) != VX_Ok) return;
    coarse = field;
  }
  for (int32_t level = finest - 1; level >= 0; --level) {
    const FnGrey& a = from.levels[static_cast<size_t>(level)];
    FnFlowMap* const field = level == 0 ? out : &fields[level % 2];
    if (!allocated(field->allocate(a.width(), a.height()))) return;
    FnForRows(interrupt, a.height(), [&](int32_t y) {
      for (int32_t x = 0; x < a.width(); ++x) {
        field->row(y)[x] = FromCoarser(*coarse, static_cast<float>(x), static_cast<float>(y));
      }
    });
    coarse = field;
  }
}

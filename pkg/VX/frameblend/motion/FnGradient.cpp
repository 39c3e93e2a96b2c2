// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "frameblend/motion/FnGradient.h"

#include <numeric>

namespace {

constexpr int32_t kRounds = 10;
// Above this ratio of the eigenvalues, the gradient of a block has one direction, and only the
// motion in this direction is known.
constexpr float kLargestCondition = 10.0f;
constexpr float kLargestInt = 2147483520.0f;  // the float below 2^31

float BlockActivity(const FnFloatMap& frame, const FnBlock& block) {
  float sum = 0;
  for (int32_t y = block.y0; y < block.y1; ++y) {
    for (int32_t x = block.x0; x < block.x1; ++x) sum += frame.row(y)[x];
  }
  const float mean = sum / static_cast<float>(block.Area());
  float activity = 0;
  for (int32_t y = block.y0; y < block.y1; ++y) {
    for (int32_t x = block.x0; x < block.x1; ++x) activity += std::fabs(frame.row(y)[x] - mean);
  }
  return activity;
}

// The sums of a block over the pixels that have a gradient.
struct Sums {
  int32_t total = 0, count = 0;  // all pixels; those that the mask does not exclude
  float gxx = 0, gxy = 0, gyy = 0, bx = 0, by = 0, e2 = 0, e1 = 0;

  // `current` and `below` are rows of frame 0, `reference` of frame 1. Pixel 0 has no gradient.
  void Add(const float* current, const float* below, const float* reference, const float* mask,
           int32_t width) {
    for (int32_t i = 1; i < width; ++i) {
      ++total;
      if (mask != nullptr && mask[i] > kFnMaskLimit) continue;
      ++count;
      const float d = reference[i] - current[i];
      const float gx = current[i] - current[i - 1];
      const float gy = current[i] - below[i];
      gxx += gx * gx;
      gxy += gx * gy;
      gyy += gy * gy;
      bx += d * gx;
      by += d * gy;
      e2 += d * d;
      e1 += std::fabs(d);
    }
  }

  void DivideByCount() {
    const auto n = static_cast<float>(count);
    gxx /= n;
    gxy /= n;
    gyy /= n;
    bx /= n;
    by /= n;
    e2 /= n;
  }
};

// The correction of a vector by the means of a block; false if there is no gradient.
bool Correction(const Sums& s, HvVec2* out) {
  const float t = s.gxx + s.gyy;
  const float root = std::sqrt(std::max(t * t - 4.0f * (s.gxx * s.gyy - s.gxy * s.gxy), 0.0f));
  const float l1 = (t + root) * 0.5f, l2 = (t - root) * 0.5f;
  const float largest = std::max(std::fabs(l1), std::fabs(l2));
  const float smallest = std::min(std::fabs(l1), std::fabs(l2));
  const float condition = smallest == 0 ? FLT_MAX : largest / smallest;
  if (condition <= kLargestCondition) {
    const float k = condition * 0.1f * s.e2;
    const float a = s.gxx + k, b = s.gyy + k;
    const float m = 1.0f / (a * b - s.gxy * s.gxy);
    *out = {(s.bx * b - s.by * s.gxy) * m, (s.by * a - s.bx * s.gxy) * m};
  } else {
    if (!(largest > 0)) return false;
    const float larger = std::fabs(l1) >= std::fabs(l2) ? l1 : l2;
    const HvVec2 direction = s.gxy == 0 ? s.gxx >= s.gyy ? HvVec2{1, 0} : HvVec2{0, 1}
                                        : HvVec2{1, (larger - s.gxx) / s.gxy}.Normalised();
    const float q = (direction.x * s.bx + direction.y * s.by) / largest;
    *out = direction * q;
  }
  return std::isfinite(out->x) && std::isfinite(out->y);
}

// The shift of one profile, sum(d g) / sum(g g), with d the difference of the samples of frame 1
// and frame 0 and g the difference of consecutive samples of frame 0. Returns false without a
// gradient.
template <class Reference, class Current>
bool ProfileShift(int32_t from, int32_t to, int32_t step, Reference reference, Current current,
                  float* shift) {
  float products = 0, squares = 0;
  float previous = current(from);
  for (int32_t i = from + step; i != to; i += step) {
    const float sample = current(i);
    const float gradient = sample - previous;
    products += (reference(i) - sample) * gradient;
    squares += gradient * gradient;
    previous = sample;
  }
  if (!(squares > 0)) return false;
  *shift = products / squares;
  return std::isfinite(*shift);
}

}  // namespace

void FnMeanCalculator::prepare(const FnFloatMap*, FnFloatMap*) {
  const auto threads = static_cast<size_t>(FnThreadCount());
  sums_.assign(threads, 0);
  counts_.assign(threads, 0);
}

void FnMeanCalculator::pixel(const float& value, float*, int32_t threadIndex) {
  sums_[static_cast<size_t>(threadIndex)] += value;
  ++counts_[static_cast<size_t>(threadIndex)];
}

float FnMeanCalculator::mean() const {
  const float sum = std::accumulate(sums_.begin(), sums_.end(), 0.0f);
  const int32_t count = std::accumulate(counts_.begin(), counts_.end(), 0);
  return sum * (1.0f / static_cast<float>(count));
}

void FnMotionEstimateGradientRow::processBand() {
  const FnBand band = Band();
  for (int32_t y = band.first; y < band.end; ++y) {
    if (Stopped()) return;
    const FnRowReader<float> reader(*first, y);
    float* const out = second->row(y);
    float sum = 0;
    for (int32_t i = 0; i < window; ++i) sum += first->at(x0 + i, y);
    for (int32_t x = x0; x < x1;) {
      const auto leaving = reader.At(x);
      const auto entering = reader.At(x + window);
      const int32_t length = std::min({leaving.length, entering.length, x1 - x});
      for (int32_t i = 0; i < length; ++i) {
        out[x + i] = sum;
        sum += entering.element[static_cast<ptrdiff_t>(i) * entering.step] -
               leaving.element[static_cast<ptrdiff_t>(i) * leaving.step];
      }
      x += length;
    }
  }
}

void FnMotionEstimateGradientColumn::processBand() {
  const FnBand band = Band();
  std::vector<float> sums(static_cast<size_t>(std::max(x1 - x0, 0)));
  for (int32_t i = 0; i < window && band.first < band.end; ++i) {
    for (int32_t x = x0; x < x1; ++x) {
      sums[static_cast<size_t>(x - x0)] += first->at(x, band.first + i);
    }
  }
  for (int32_t y = band.first; y < band.end; ++y) {
    if (Stopped()) return;
    float* const out = second->row(y);
    for (int32_t x = x0; x < x1; ++x) {
      float& sum = sums[static_cast<size_t>(x - x0)];
      out[x] = sum;
      sum += first->at(x, y + window) - first->at(x, y);
    }
  }
}

void FnMotionEstimateGradientQuantise::pixel(const HvVec2& from, HvVec2* to, int32_t) {
  const auto rounded = [&](float c) {
    const float steps = (c + step / 2) / step;
    if (!(std::fabs(steps) <= kLargestInt)) return c;
    return static_cast<float>(static_cast<int32_t>(steps)) * step;
  };
  *to = {rounded(from.x), rounded(from.y)};
}

bool FnMotionEstimateGradient::MakeProfiles(const FnFloatMap& frame, Profiles* profiles) {
  if (!profiles->rows.allocate(frame.width(), frame.height()) ||
      !profiles->columns.allocate(frame.width(), frame.height())) {
    setError(VX_ErrOutOfMemory);
    return false;
  }
  profiles->rows.setEdgeModes(FnEdge_Hold, FnEdge_Hold);
  profiles->columns.setEdgeModes(FnEdge_Hold, FnEdge_Hold);
  FnMotionEstimateGradientRow row;
  row.interrupt = interrupt;
  row.window = blockWidth;
  row.process(&frame, &profiles->rows);
  FnMotionEstimateGradientColumn column;
  column.interrupt = interrupt;
  column.window = blockHeight;
  column.process(&frame, &profiles->columns);
  return true;
}

void FnMotionEstimateGradient::begin() {
  passes = gateOnActivity ? 2 : 1;
  if (useProfiles &&
      !(MakeProfiles(*first, &profiles_[0]) && MakeProfiles(*second, &profiles_[1]))) {
    passes = 0;
  }
  if (!gateOnActivity) return;
  if (!activity_.allocate(third->width(), third->height())) {
    setError(VX_ErrOutOfMemory);
    passes = 0;
    return;
  }
  FnClear(interrupt, &activity_);
}

void FnMotionEstimateGradient::end() {
  for (Profiles& profiles : profiles_) {
    profiles.rows.allocate(0, 0);
    profiles.columns.allocate(0, 0);
  }
  activity_.allocate(0, 0);
}

void FnMotionEstimateGradient::beginPass() {
  if (!gateOnActivity || pass != 1) return;
  // On the calling thread, so that the rounding of the sum does not depend on the number of
  // threads.
  FnMeanCalculator mean;
  mean.flags |= FnImager_CallingThread;
  mean.process(&activity_, &activity_);
  cutOff_ = mean.mean();
}

void FnMotionEstimateGradient::processBand() {
  const FnBand band = Band();
  std::vector<float> scratch(4 * static_cast<size_t>(blockWidth));
  for (int32_t j = band.first; j < band.end; ++j) {
    for (int32_t i = x0; i < x1; ++i) {
      if (Stopped()) return;
      if (gateOnActivity && pass == 0) {
        activity_.row(j)[i] = BlockActivity(*first, FnBlockAt(i, j, Size(), *first));
      } else {
        Estimate(i, j, scratch.data());
      }
    }
  }
}

void FnMotionEstimateGradient::Estimate(int32_t i, int32_t j, float* scratch) {
  const FnBlock block = FnBlockAt(i, j, Size(), *first);
  HvVec2& vector = third->row(j)[i];
  Solution last;
  if (gateOnActivity && activity_.row(j)[i] < cutOff_) {
    vector = HvVec2::Invalid();
    last.done = true;
  } else {
    HvVec2 v = vector, remembered = HvVec2::Invalid();
    for (int32_t round = 0; round < kRounds; ++round) {
      last = Solve(block, &v, scratch);
      if (last.done) break;
      remembered = v;
      if (!(last.error > 0)) break;
    }
    vector = remembered;
  }
  if (outPositions != nullptr) {
    outPositions->row(j)[i] = {static_cast<float>(block.x0 + blockWidth / 2),
                               static_cast<float>(block.y0 + blockHeight / 2)};
  }
  if (outErrors != nullptr) outErrors->row(j)[i] = last.done ? FLT_MAX : last.error;
  if (outActivity != nullptr) {
    outActivity->row(j)[i] =
        gateOnActivity ? activity_.row(j)[i] : std::fabs(last.gx) + std::fabs(last.gy);
  }
}

FnMotionEstimateGradient::Solution FnMotionEstimateGradient::Solve(const FnBlock& block, HvVec2* v,
                                                                   float* scratch) const {
  const auto failed = [&] {
    *v = HvVec2::Invalid();
    return Solution{.done = true};
  };
  if (!v->IsValid()) return {.done = true};
  if (useProfiles && !SolveProfiles(block, v)) return {.done = true};

  const FnDisplacedFrame displaced(*first, *v);
  const FnBlock part = displaced.Inside(block);
  Sums sums;
  float* buffers[2] = {scratch, scratch + 2 * static_cast<ptrdiff_t>(blockWidth)};
  const float* below = nullptr;
  for (int32_t y = part.y1 - 1; y >= part.y0; --y) {
    const float* const current = displaced.Row(y, part.x0, part.x1, buffers[0]);
    if (below != nullptr) {
      sums.Add(current, below, second->row(y) + part.x0,
               mask != nullptr ? mask->row(y) + part.x0 : nullptr, part.x1 - part.x0);
    }
    below = current;
    std::swap(buffers[0], buffers[1]);
  }
  if (sums.count <= sums.total / 6) return failed();
  Solution solution;
  solution.error = sums.e1 / static_cast<float>(sums.count);
  if (solution.error < threshold) {
    solution.error = 0;
    return solution;
  }
  sums.DivideByCount();
  HvVec2 correction;
  if (!Correction(sums, &correction)) return failed();
  solution.gx = sums.bx;
  solution.gy = sums.by;
  *v = *v - correction;
  return solution;
}

bool FnMotionEstimateGradient::SolveProfiles(const FnBlock& block, HvVec2* v) const {
  // Profile samples of frame 0 are read where the vector refers to, of frame 1 at the block.
  const float left = static_cast<float>(block.x0) + 0.5f - v->x;
  const float top = static_cast<float>(block.y0) + 0.5f + v->y;
  HvVec2 step{0, 0};
  const bool along_x = ProfileShift(
      block.x0, block.x1, 1, [&](int32_t x) { return profiles_[1].columns.at(x, block.y0); },
      [&](int32_t x) {
        return profiles_[0].columns.sampleAt(left + static_cast<float>(x - block.x0), top);
      },
      &step.x);
  const bool along_y = ProfileShift(
      block.y1 - 1, block.y0 - 1, -1, [&](int32_t y) { return profiles_[1].rows.at(block.x0, y); },
      [&](int32_t y) {
        return profiles_[0].rows.sampleAt(left, top + static_cast<float>(y - block.y0));
      },
      &step.y);
  if (!along_x && !along_y) return false;
  const float length = std::sqrt(step.x * step.x + step.y * step.y);
  if (length > 1) step = step.Normalised();
  *v = *v - step;
  return true;
}

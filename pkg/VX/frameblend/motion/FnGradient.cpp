// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "frameblend/motion/FnGradient.h"

#include <array>
#include <numeric>

namespace {

float Abs(float v) { return std::fabs(v); }
float Sqrt(float v) { return std::sqrt(v); }
FnFloats Abs(FnFloats v) { return FnVectorLanes::Abs(v); }
FnFloats Sqrt(FnFloats v) {
  for (int32_t i = 0; i < kFnLanes; ++i) v[i] = std::sqrt(v[i]);
  return v;
}

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

// The sums of a block over the pixels that have a gradient. A float, or a block per lane.
template <class Floats>
struct Sums {
  Floats gxx{}, gxy{}, gyy{}, bx{}, by{}, e2{}, e1{};

  // Adds a pixel: `current`, the pixels to the left and below, and that of frame 1.
  void Add(Floats current, Floats left, Floats below, Floats reference) {
    const Floats d = reference - current;
    const Floats gx = current - left;
    const Floats gy = current - below;
    gxx += gx * gx;
    gxy += gx * gy;
    gyy += gy * gy;
    bx += d * gx;
    by += d * gy;
    e2 += d * d;
    e1 += Abs(d);
  }

  void DivideBy(float n) {
    gxx /= n;
    gxy /= n;
    gyy /= n;
    bx /= n;
    by /= n;
    e2 /= n;
  }
};

// Blocks of one size, one per lane, of a frame that is read at the positions to which their vectors
// refer.
class DisplacedBlocks {
 public:
  // The first pixels of the blocks are (left, top).
  DisplacedBlocks(const FnFloatMap& frame, FnInts left, int32_t top, const FnVectorLanes& v)
      : frame_(frame) {
    FnInts dx, dy;
    FnSplitLanes(-v.x, &dx, &fx_);
    FnSplitLanes(v.y, &dy, &fy_);
    column_ = left + dx;
    line_ = dy + top;
  }

  // Where two further columns and one further line are inside the frame.
  FnInts Inside(int32_t width, int32_t height) const {
    const int32_t last_column = frame_.width() - width - 2;
    const int32_t last_line = frame_.height() - height - 1;
    return (column_ >= 0) & (column_ <= last_column) & (line_ >= 0) & (line_ <= last_line);
  }

  // Returns the sums in lanes that are `inside`; undefined in others. `reference` contains the
  // offset of the first pixel of each block in the other frame.
  Sums<FnFloats> Compare(int32_t width, int32_t height, const FnFloatMap& other, FnInts reference,
                         FnInts inside, FnFloats* rows) const {
    const FnInts at = (line_ & inside) * frame_.rowBytes + (column_ & inside) * 4;
    FnFloats* const below = rows;  // samples of the row below, and pixels interpolated along x
    FnFloats* const lower = rows + width;
    Sums<FnFloats> sums;
    for (int32_t y = height; y >= 0; --y) {
      const FnInts line = at + y * frame_.rowBytes;
      const FnInts other_line = reference + std::min(y, height - 1) * other.rowBytes;
      std::array<FnFloats, 2> pair = Pair(frame_, line), references{};
      FnFloats left{};
      for (int32_t x = 0; x < width; ++x) {
        // Pairs begin at even columns of the frame and at odd columns of the other one.
        const FnFloats pixel = pair[x % 2];
        if (x % 2 != 0) pair = Pair(frame_, line + 4 * (x + 1));
        const FnFloats upper = FnMixed(pixel, pair[(x + 1) % 2], fx_);
        const FnFloats current = FnMixed(upper, lower[x], fy_);
        if (y < height - 1 && x > 0) {
          if (x % 2 != 0 && x + 1 < width) references = Pair(other, other_line + 4 * x);
          if (x % 2 != 0 && x + 1 == width) references[0] = Single(other, other_line + 4 * x);
          sums.Add(current, left, below[x], references[(x + 1) % 2]);
        }
        left = current;
        below[x] = current;
        lower[x] = upper;
      }
    }
    return sums;
  }

 private:
  static std::array<FnFloats, 2> Pair(const FnFloatMap& frame, FnInts offset) {
    const auto pairs = FnGatheredPairs(frame.pixels, offset);
    return {reinterpret_cast<FnFloats>(FnEveryOther<0>(pairs)),
            reinterpret_cast<FnFloats>(FnEveryOther<1>(pairs))};
  }
  static FnFloats Single(const FnFloatMap& frame, FnInts offset) {
    return reinterpret_cast<FnFloats>(VXp_Gathered<1>(frame.pixels, offset));
  }

  const FnFloatMap& frame_;
  FnInts column_, line_;
  FnFloats fx_, fy_;
};

// The correction of a vector by the means of a block. True if it is usable; false without a
// gradient.
template <class Floats>
auto Correction(const Sums<Floats>& s, Floats* x, Floats* y) {
  const Floats zero{}, one = zero + 1.0f;
  const auto max = [](Floats a, Floats b) { return a < b ? b : a; };
  const auto min = [](Floats a, Floats b) { return b < a ? b : a; };
  const Floats t = s.gxx + s.gyy;
  const Floats root = Sqrt(max(t * t - 4.0f * (s.gxx * s.gyy - s.gxy * s.gxy), zero));
  const Floats l1 = (t + root) * 0.5f, l2 = (t - root) * 0.5f;
  const Floats largest = max(Abs(l1), Abs(l2));
  const Floats smallest = min(Abs(l1), Abs(l2));
  const Floats condition = smallest == zero ? zero + FLT_MAX : largest / smallest;
  // Two directions:
  const Floats k = condition * 0.1f * s.e2;
  const Floats a = s.gxx + k, b = s.gyy + k;
  const Floats m = 1.0f / (a * b - s.gxy * s.gxy);
  // One direction:
  const Floats larger = Abs(l1) >= Abs(l2) ? l1 : l2;
  const Floats slope = (larger - s.gxx) / s.gxy;
  const Floats length = Sqrt(one + slope * slope);
  const Floats across = s.gxx >= s.gyy ? one : zero;
  const Floats dx = s.gxy == zero ? across : length > zero ? one / length : zero;
  const Floats dy = s.gxy == zero ? one - across : length > zero ? slope / length : zero;
  const Floats q = (dx * s.bx + dy * s.by) / largest;

  const auto both = condition <= kLargestCondition;
  *x = both ? (s.bx * b - s.by * s.gxy) * m : dx * q;
  *y = both ? (s.by * a - s.bx * s.gxy) * m : dy * q;
  // Variables, since clang reports '&' between comparisons that call functions.
  const auto hasGradient = both | (largest > zero);
  const auto finiteX = Abs(*x) <= FLT_MAX;
  const auto finiteY = Abs(*y) <= FLT_MAX;
  return hasGradient & finiteX & finiteY;
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
  const bool in_lanes = CanEstimateLanes();
  std::vector<FnFloats> rows(in_lanes ? 2 * static_cast<size_t>(blockWidth) : 0);
  for (int32_t j = band.first; j < band.end; ++j) {
    for (int32_t i = x0; i < x1; ++i) {
      if (Stopped()) return;
      if (in_lanes && i + kFnLanes <= x1) {
        const FnInts alone = EstimateLanes(i, j, rows.data());
        for (int32_t k = 0; VXp_AnyLane(alone) && k < kFnLanes; ++k) {
          if (alone[k] != 0) Estimate(i + k, j, scratch.data());
        }
        i += kFnLanes - 1;
        continue;
      }
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

bool FnMotionEstimateGradient::CanEstimateLanes() const {
  return mask == nullptr && !gateOnActivity && !useProfiles && outPositions == nullptr &&
         outErrors == nullptr && outActivity == nullptr && blockWidth > 1 && blockHeight > 1 &&
         FnHasLaneOffsets(*first) && FnHasLaneOffsets(*second);
}

FnInts FnMotionEstimateGradient::EstimateLanes(int32_t i, int32_t j, FnFloats* rows) const {
  FnInts left;
  int32_t top = 0;
  for (int32_t k = 0; k < kFnLanes; ++k) {
    const FnBlock block = FnBlockAt(i + k, j, Size(), *first);
    left[k] = block.x0, top = block.y0;
  }
  const FnInts reference = top * second->rowBytes + left * 4;
  HvVec2* const out = third->row(j) + i;
  auto v = FnVectorLanes::Load(out);
  const FnFloats invalid = FnFloats{} + FLT_MAX;
  FnVectorLanes remembered{invalid, {}};
  FnInts active = ~FnInts{}, alone{};
  const auto count = static_cast<float>((blockWidth - 1) * (blockHeight - 1));
  for (int32_t round = 0; round < kRounds; ++round) {
    active &= v.AreValid();
    const DisplacedBlocks displaced(*first, left, top, v);
    const FnInts inside = displaced.Inside(blockWidth, blockHeight);
    alone |= active & ~inside;
    active &= inside;
    if (!VXp_AnyLane(active)) break;
    const Sums<FnFloats> sums =
        displaced.Compare(blockWidth, blockHeight, *second, reference, active, rows);
    const FnFloats error = sums.e1 / count;
    const FnInts settled = active & (error < threshold);
    remembered.Replace(settled, v);
    active &= ~settled;
    Sums<FnFloats> means = sums;
    means.DivideBy(count);
    FnVectorLanes correction;
    active &= Correction(means, &correction.x, &correction.y);
    v.Replace(active, {v.x - correction.x, v.y - correction.y});
    remembered.Replace(active, v);
    active &= error > 0.0f;
  }
  remembered.Store(~alone, out);
  return alone;
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
  Sums<float> sums;
  int32_t total = 0, count = 0;  // all pixels; those that the mask does not exclude
  float* buffers[2] = {scratch, scratch + 2 * static_cast<ptrdiff_t>(blockWidth)};
  const float* below = nullptr;
  for (int32_t y = part.y1 - 1; y >= part.y0; --y) {
    const float* const current = displaced.Row(y, part.x0, part.x1, buffers[0]);
    const float* const reference = second->row(y) + part.x0;
    const float* const excluded = mask != nullptr ? mask->row(y) + part.x0 : nullptr;
    // Pixel 0 has no gradient.
    for (int32_t i = 1; i < part.x1 - part.x0 && below != nullptr; ++i) {
      ++total;
      if (excluded != nullptr && excluded[i] > kFnMaskLimit) continue;
      ++count;
      sums.Add(current[i], current[i - 1], below[i], reference[i]);
    }
    below = current;
    std::swap(buffers[0], buffers[1]);
  }
  if (count <= total / 6) return failed();
  Solution solution;
  solution.error = sums.e1 / static_cast<float>(count);
  if (solution.error < threshold) {
    solution.error = 0;
    return solution;
  }
  sums.DivideBy(static_cast<float>(count));
  HvVec2 correction;
  if (!Correction(sums, &correction.x, &correction.y)) return failed();
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

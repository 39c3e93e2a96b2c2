// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "frameblend/imgproc/FnResample.h"

#include <cmath>

namespace {

constexpr float kLeastDeviation = 0.1f;

std::vector<float> GaussianWeights(float deviation) {
  if (!(deviation >= kLeastDeviation)) return {1};
  const double sigma = deviation;
  const auto radius = static_cast<int32_t>(std::ceil(3 * sigma));
  std::vector<double> weights;
  double sum = 0;
  for (int32_t i = -radius; i <= radius; ++i) {
    weights.push_back(std::exp(-static_cast<double>(i) * i / (2 * sigma * sigma)));
    sum += weights.back();
  }
  std::vector<float> rounded;
  for (const double weight : weights) rounded.push_back(static_cast<float>(weight / sum));
  return rounded;
}

// The source pixels of a bilinear sample on one axis: both are the same if only one counts.
struct Pair {
  int32_t low, high;
  float fraction;
};

Pair PairAt(float position) {
  Pair pair;
  FnSplit(position - 0.5f, &pair.low, &pair.fraction);
  pair.high = pair.fraction > 0 ? pair.low + 1 : pair.low;
  return pair;
}

// The pixels of an axis that a reader reads, in ascending order; all if there is no reader.
std::vector<int32_t> PixelsRead(const FnMoveSampler* reader, int32_t count, const FnTexAxis& axis) {
  std::vector<int32_t> pixels;
  if (reader == nullptr) {
    for (int32_t i = 0; i < axis.size; ++i) pixels.push_back(i);
    return pixels;
  }
  std::vector<bool> read(static_cast<size_t>(axis.size));
  for (int32_t i = 0; i < count; ++i) {
    const Pair pair = PairAt(reader->Position(i));
    for (const int32_t coordinate : {pair.low, pair.high}) {
      if (const int32_t index = axis.IndexAt(coordinate); index >= 0) {
        read[static_cast<size_t>(index)] = true;
      }
    }
  }
  for (int32_t i = 0; i < axis.size; ++i) {
    if (read[static_cast<size_t>(i)]) pixels.push_back(i);
  }
  return pixels;
}

class HalveSampler final : public Sampler<float, float> {
 public:
  void processBand(const FnFloatMap* src, FnFloatMap* dst) override {
    const auto band = Band();
    const auto width = static_cast<size_t>(src->width());
    std::vector<float> column_sums(width + 4), row_sums(width), above(width);
    for (int32_t y = band.y0; y < band.y1; ++y) {
      if (FnPoll(interrupt) != VX_Ok) return;
      Filter(*src, 2 * y, &column_sums, &above);
      Filter(*src, 2 * y + 1, &column_sums, &row_sums);
      float* const out = dst->row(y);
      for (int32_t x = 0; x < dst->width(); ++x) {
        const auto i = static_cast<size_t>(2 * x);
        out[x] = (above[i] + above[i + 1] + row_sums[i] + row_sums[i + 1]) * 0.25f;
      }
    }
  }

 private:
  static float Filtered(float a, float b, float c, float d, float e) {
    return (a + e + 4.0f * (b + d) + 6.0f * c) * 0.0625f;
  }
  static void Filter(const FnFloatMap& src, int32_t y, std::vector<float>* sums,
                     std::vector<float>* out) {
    const auto line = [&](int32_t offset) {
      return src.row(std::clamp(y + offset, 0, src.height() - 1));
    };
    const float *a = line(-2), *b = line(-1), *c = line(0), *d = line(1), *e = line(2);
    const auto width = static_cast<size_t>(src.width());
    float* const sum = sums->data() + 2;
    for (size_t x = 0; x < width; ++x) sum[x] = Filtered(a[x], b[x], c[x], d[x], e[x]);
    sum[-2] = sum[-1] = sum[0];
    sum[width] = sum[width + 1] = sum[width - 1];
    const float* const in = sums->data();
    for (size_t x = 0; x < width; ++x) {
      (*out)[x] = Filtered(in[x], in[x + 1], in[x + 2], in[x + 3], in[x + 4]);
    }
  }
};

}  // namespace

void FnMoveSampler::processBand(const FnFloatMap* src, FnFloatMap* dst) {
  const auto band = Band();
  std::vector<Pair> columns;
  for (int32_t x = 0; x < dst->width(); ++x) columns.push_back(PairAt(Position(x)));
  for (int32_t y = band.y0; y < band.y1; y += band.step) {
    if (FnPoll(interrupt) != VX_Ok) return;
    const Pair line = PairAt(Position(y));
    float* const out = dst->row(y);
    for (int32_t x = band.x0; x < band.x1; ++x) {
      const Pair& p = columns[static_cast<size_t>(x)];
      out[x] =
          FnBilinear(src->at(p.low, line.low), src->at(p.high, line.low), src->at(p.low, line.high),
                     src->at(p.high, line.high), p.fraction, line.fraction);
    }
  }
}

void BlurGeneralGauss::setDeviations(float alongX, float alongY) {
  weightsX_ = GaussianWeights(alongX);
  weightsY_ = GaussianWeights(alongY);
}

void BlurGeneralGauss::limitTo(const FnMoveSampler& reader, int32_t width, int32_t height) {
  reader_ = &reader;
  readWidth_ = width;
  readHeight_ = height;
}

void BlurGeneralGauss::processBand() {
  const std::vector<int32_t> columns = PixelsRead(reader_, readWidth_, first->x);
  const std::vector<int32_t> rows = PixelsRead(reader_, readHeight_, first->y);
  const auto radius_x = static_cast<int32_t>(weightsX_.size() / 2);
  const auto radius_y = static_cast<int32_t>(weightsY_.size() / 2);
  const int32_t width = first->width();
  const auto usable = static_cast<size_t>(width);
  // One row of column sums, with the pixels beyond both edges.
  std::vector<float> line(usable + 2 * static_cast<size_t>(radius_x));
  float* const sums = line.data() + radius_x;
  const std::vector<float> outside(usable, first->fill);

  // The rows that are read are divided evenly among the threads.
  const FnBand band = flags & FnProcess_Threaded ? FnBandOfThread(static_cast<int32_t>(rows.size()))
                                                 : FnBand{0, static_cast<int32_t>(rows.size())};
  for (int32_t k = band.first; k < band.end; ++k) {
    if (Stopped()) return;
    const int32_t y = rows[static_cast<size_t>(k)];
    if (y < y0 || y >= y1) continue;
    for (int32_t i = -radius_y; i <= radius_y; ++i) {
      const int32_t row = first->y.IndexAt(y + i);
      const float* const in = row < 0 ? outside.data() : first->row(row);
      const float weight = weightsY_[static_cast<size_t>(i + radius_y)];
      if (i == -radius_y) {
        for (int32_t x = 0; x < width; ++x) sums[x] = weight * in[x];
      } else {
        for (int32_t x = 0; x < width; ++x) sums[x] += weight * in[x];
      }
    }
    float fill_sum = 0;
    for (const float weight : weightsY_) fill_sum += weight * first->fill;
    for (int32_t i = 1; i <= radius_x; ++i) {
      const int32_t left = first->x.IndexAt(-i), right = first->x.IndexAt(width - 1 + i);
      sums[-i] = left < 0 ? fill_sum : sums[left];
      sums[width - 1 + i] = right < 0 ? fill_sum : sums[right];
    }
    float* const out = second->row(y);
    for (const int32_t x : columns) {
      if (x < x0 || x >= x1) continue;
      const float* const in = sums + x - radius_x;
      float sum = weightsX_[0] * in[0];
      for (size_t i = 1; i < weightsX_.size(); ++i) sum += weightsX_[i] * in[i];
      out[x] = sum;
    }
  }
}

bool FnFilteredPyramid::build(const FnFloatMap& picture, int32_t levels,
                              FnInterruptState* interrupt) {
  owned_.clear();
  levels_ = {&picture};
  for (int32_t level = 1; level < levels; ++level) {
    const FnFloatMap& below = *levels_.back();
    auto map = std::make_unique<FnFloatMap>();
    if (!map->allocate(below.width() / 2, below.height() / 2)) {
      if (interrupt != nullptr) interrupt->set(VX_ErrOutOfMemory);
      return false;
    }
    map->setEdgeModes(FnEdge_Hold, FnEdge_Hold);
    if (!map->isEmpty()) {
      HalveSampler halve;
      halve.interrupt = interrupt;
      halve.process(&below, map.get());
    }
    levels_.push_back(map.get());
    owned_.push_back(std::move(map));
  }
  return FnPoll(interrupt) == VX_Ok;
}

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "frameblend/FnInstant.h"

#include <atomic>
#include <bit>
#include <cmath>
#include <cstring>

#include "frame/VXp_Dispatch.h"

namespace {

// Luminances that differ by more than this, averaged around a pixel, are not the same content.
constexpr float kSameContent = 0.04f;
constexpr int32_t kAround = 2;

// Of vectors that cancel, in pixels of the fields and as a part of their length.
constexpr float kApart = 2, kApartOfLength = 0.1f;

// Whether the vector of pixel (x, y) and the one at its end cancel, in pixels of the fields.
bool Returns(const HvVec2& v, int32_t x, int32_t y, const FnVectorMap& back) {
  if (!v.IsValid()) return false;
  int32_t to_x, to_y;
  float rest;
  FnSplit(static_cast<float>(x) + 0.5f - v.x, &to_x, &rest);
  FnSplit(static_cast<float>(y) + 0.5f + v.y, &to_y, &rest);
  if (to_x < 0 || to_y < 0 || to_x >= back.width() || to_y >= back.height()) return true;
  const HvVec2& other = back.row(to_y)[to_x];
  return other.IsValid() && (v + other).L1() <= kApart + kApartOfLength * v.L1();
}

// The vectors of neighbouring pixels, and the positions to which they lead.
struct Ends {
  FnVectorLanes v;
  FnInts valid;
  FnFloats x, y;

  Ends(int32_t first, int32_t row, const FnVectorMap& field)
      : v(FnVectorLanes::Load(field.row(row) + first)), valid(v.AreValid()) {
    const FnFloats zero{};
    x = FnCentres(first) - (valid ? v.x : zero);
    y = zero + (static_cast<float>(row) + 0.5f) + (valid ? v.y : zero);
  }

  // As Returns.
  FnInts Return(const FnVectorMap& back) const {
    FnInts column, line;
    FnFloats rest;
    FnSplitLanes(x, &column, &rest);
    FnSplitLanes(y, &line, &rest);
    const FnInts inside =
        (column >= 0) & (line >= 0) & (column < back.width()) & (line < back.height());
    const FnInts at = (line & inside) * back.rowBytes + (column & inside) * int32_t{sizeof(HvVec2)};
    const auto pairs = FnGatheredPairs(back.pixels, at);
    const FnVectorLanes other{reinterpret_cast<FnFloats>(FnEveryOther<0>(pairs)),
                              reinterpret_cast<FnFloats>(FnEveryOther<1>(pairs))};
    const FnInts cancel =
        FnVectorLanes{v.x + other.x, v.y + other.y}.L1() <= kApart + kApartOfLength * v.L1();
    return valid & (~inside | (other.AreValid() & cancel));
  }
};

// The share of pixels of `from` that differ from `to` at the end of their vector, or whose vector
// does not cancel the one there. After a cut the vectors of both directions are unrelated, also
// where the pictures happen to be alike.
float UnexplainedShare(const FnFloatMap& from, const FnFloatMap& to, const FnVectorMap& field,
                       const FnVectorMap& back) {
  const int32_t width = from.width(), height = from.height();
  FnFloatMap errors(width, height);
  if (isInvalid(&errors)) throw std::bad_alloc();
  const bool in_lanes = FnHasLaneOffsets(to) && FnHasLaneOffsets(back);
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      if (in_lanes && x + kFnLanes <= width) {
        const Ends ends(x, y, field);
        const FnPairLanes at(ends.x, ends.y);
        const FnInts inside = at.Inside(to);
        if (!VXp_AnyLane(FnInts(~inside))) {
          FnFloats own;
          std::memcpy(&own, from.row(y) + x, sizeof own);
          const FnFloats error = FnVectorLanes::Abs(own - FnSampleLanes(to, at, inside));
          std::memcpy(errors.row(y) + x, &error, sizeof error);
          x += kFnLanes - 1;
          continue;
        }
      }
      const HvVec2& v = field.row(y)[x];
      const float px = static_cast<float>(x) + 0.5f - (v.IsValid() ? v.x : 0);
      const float py = static_cast<float>(y) + 0.5f + (v.IsValid() ? v.y : 0);
      errors.row(y)[x] = std::fabs(from.row(y)[x] - to.sampleAt(px, py));
    }
  }
  int64_t unexplained = 0;
  for (int32_t y = 0; y < height; ++y) {
    const int32_t top = std::max(y - kAround, 0), bottom = std::min(y + kAround, height - 1);
    for (int32_t x = 0; x < width; ++x) {
      if (in_lanes && x >= kAround && x + kAround + kFnLanes <= width) {
        FnFloats sum{};
        for (int32_t j = top; j <= bottom; ++j) {
          for (int32_t i = x - kAround; i <= x + kAround; ++i) {
            FnFloats error;
            std::memcpy(&error, errors.row(j) + i, sizeof error);
            sum += error;
          }
        }
        const auto count = static_cast<float>((bottom - top + 1) * (2 * kAround + 1));
        const FnInts wrong = (sum > kSameContent * count) | ~Ends(x, y, field).Return(back);
        unexplained += std::popcount(VXp_LaneBits(wrong));
        x += kFnLanes - 1;
        continue;
      }
      const int32_t left = std::max(x - kAround, 0), right = std::min(x + kAround, width - 1);
      float sum = 0;
      for (int32_t j = top; j <= bottom; ++j) {
        for (int32_t i = left; i <= right; ++i) sum += errors.row(j)[i];
      }
      const auto count = static_cast<float>((bottom - top + 1) * (right - left + 1));
      unexplained += sum > kSameContent * count || !Returns(field.row(y)[x], x, y, back);
    }
  }
  return static_cast<float>(unexplained) / (static_cast<float>(width) * static_cast<float>(height));
}

// Loads a picture as colours multiplied by alpha, at 0..255. Returns whether it is opaque.
template <class Pixel>
bool Load(const VX_LayerDef& world, FnInterruptState* interrupt, FnMap<FnColorFloat>* to) {
  using Of = FnColorOfPixel<Pixel>;
  const FnMap<typename Of::Type> from(world);
  if (!to->allocate(from.width(), from.height())) {
    interrupt->set(VX_ErrOutOfMemory);
    return true;
  }
  std::atomic<bool> opaque = true;
  FnForRows(interrupt, from.height(), [&](int32_t y) {
    const auto* const in = from.row(y);
    FnColorFloat* const out = to->row(y);
    bool row_opaque = true;
    for (int32_t x = 0; x < from.width(); ++x) {
      FnColorFloat c = FnToCompute<FnColorFloat>(in[x]) * (255.0f / Of::kFull);
      const float alpha = c.alpha;
      row_opaque = row_opaque && alpha >= 255;
      c = c * (alpha * (1.0f / 255));
      c.alpha = alpha;
      out[x] = c;
    }
    if (!row_opaque) opaque = false;
  });
  return opaque;
}

// Copies between two kinds of vectors, which both are two floats.
template <class From, class To>
void CopyVectors(const FnMap<From>& from, FnInterruptState* interrupt, FnMap<To>* to) {
  static_assert(sizeof(From) == 8 && sizeof(To) == 8);
  if (!to->allocate(from.width(), from.height())) {
    interrupt->set(VX_ErrOutOfMemory);
    return;
  }
  for (int32_t y = 0; y < from.height(); ++y) {
    std::memcpy(static_cast<void*>(to->row(y)), from.row(y),
                size_t{8} * static_cast<size_t>(from.width()));
  }
}

}  // namespace

void FnPairMotion::EstimateDense(const VX_LayerDef& a, FnInterruptState* interrupt,
                                 FnTwoSided* to) {
  if (!vectors.key.IsCached()) return to->Estimate(interrupt);
  FnHeldVectors held;
  held.key = vectors.key;
  held.folder = vectors.folder;
  bool estimated = false;
  held.Need(
      FnDenseSortDirOf(held.key, a), {a.width, a.height},
      [&](FnVeltorVectors* kept) {
        estimated = true;
        to->Estimate(interrupt);
        if (FnPoll(interrupt) != VX_Ok) return;
        CopyVectors(to->forward, interrupt, &kept->forward);
        CopyVectors(to->backward, interrupt, &kept->backward);
        kept->firstAxes = kept->secondAxes = kept->forward;
      },
      interrupt);
  vectors.warning = held.warning;
  if (estimated || FnPoll(interrupt) != VX_Ok) return;
  CopyVectors(held.get()->forward, interrupt, &to->forward);
  CopyVectors(held.get()->backward, interrupt, &to->backward);
}

void FnPairMotion::NeedDense(const VX_LayerDef& a, const VX_LayerDef& b,
                             FnInterruptState* interrupt) {
  const std::lock_guard lock(making);
  if (dense != nullptr) return;
  auto making = std::make_unique<FnTwoSided>();
  VXp_SelectPixel(
      VXp_WorldDepth(&a),
      [&](auto tag) {
        using Pixel = typename decltype(tag)::Pixel;
        const bool first = Load<Pixel>(a, interrupt, &making->first);
        const bool second = Load<Pixel>(b, interrupt, &making->second);
        making->opaque = first && second;
      },
      [] {});
  if (FnPoll(interrupt) == VX_Ok) EstimateDense(a, interrupt, making.get());
  if (FnPoll(interrupt) == VX_Ok) making->Compare(interrupt);
  if (FnPoll(interrupt) == VX_Ok) dense = std::move(making);
}

float FnPairMotion::Unexplained() const {
  if (dense != nullptr) return dense->Unexplained();
  const FnFloatMap& a = luminances->first.luminance;
  const FnFloatMap& b = luminances->second.luminance;
  const FnVectorMap &forward = vectors.get()->forward, &backward = vectors.get()->backward;
  return std::min(UnexplainedShare(a, b, forward, backward),
                  UnexplainedShare(b, a, backward, forward));
}

void FnPairMotion::Need(const VX_LayerDef& a, const VX_LayerDef& b,
                        const VX_Veltor_AlgoParams& settings, FnInterruptState* interrupt) {
  const std::lock_guard lock(making);
  if (made) return;
  vectors.Need(
      FnSortDirOf(vectors.key, a, settings), FnAnalysisSizeOf(a, settings),
      [&](FnVeltorVectors* made_now) { made_now->Estimate(a, b, settings, interrupt); }, interrupt);
  if (FnPoll(interrupt) != VX_Ok) return;
  const int32_t width = vectors.get()->width(), height = vectors.get()->height();
  luminances = vectors.get()->Luminances(a, b, settings, interrupt);
  if (FnPoll(interrupt) != VX_Ok) return;
  VXp_SelectPixel(
      VXp_WorldDepth(&a),
      [&](auto tag) {
        using Of = FnColorOfPixel<typename decltype(tag)::Pixel>;
        const auto build = [&](const VX_LayerDef& world, FnFilteredPyramidAlpha* alpha) {
          const FnMap<typename Of::Type> picture(world);
          return alpha->build(picture, float{Of::kFull}, width, height, interrupt);
        };
        const bool first = build(a, &alphaFirst), second = build(b, &alphaSecond);
        hasAlpha = first || second;
      },
      [] {});
  made = FnPoll(interrupt) == VX_Ok;
}

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "frameblend/tween/FnTween.h"

#include <memory>

#include "frameblend/smooth/FnCandidates.h"
#include "frameblend/tween/FnBestPairLanes.h"

namespace {

constexpr int32_t kFurtherGuesses = 10;
constexpr int32_t kMostFillPasses = 101;
constexpr float kOutside = 16711425.0f;  // the value of a position outside of a frame
constexpr float kUnknown = 128.0f;       // the value for an invalid vector
constexpr float kHighestCost = 1.7014117e+38f;
constexpr float kMatchScale = 65535.0f;
constexpr float kMaskLimit = 0.5f;

using Parameters = FnMotionEstimateGradientTweeningParameters;

Parameters ForStage(const Parameters& p) {
  Parameters copy = p;
  copy.flags &= ~uint32_t{FnTween_Owner};
  return copy;
}

// The pixel to which a displacement leads from pixel (x, y); false if it is outside of the map.
bool Landing(int32_t x, int32_t y, const HvVec2& d, int32_t width, int32_t height, int32_t* toX,
             int32_t* toY) {
  float fraction;
  FnSplit(static_cast<float>(x) + 0.5f - d.x, toX, &fraction);
  FnSplit(static_cast<float>(y) + 0.5f + d.y, toY, &fraction);
  return *toX >= 0 && *toX < width && *toY >= 0 && *toY < height;
}

bool HasVector(const FnVectorMap& map) {
  for (int32_t y = 0; y < map.height(); ++y) {
    const HvVec2* const row = map.row(y);
    if (std::any_of(row, row + map.width(), [](const HvVec2& v) { return v.IsValid(); }))
      return true;
  }
  return false;
}

// A frame at the position to which a displacement refers.
float Displaced(const FnFloatMap& frame, int32_t x, int32_t y, const HvVec2& v, float weight) {
  if (!v.IsValid()) return kUnknown;
  if (v.x == 0 && v.y == 0) return frame.row(y)[x];
  const float px = static_cast<float>(x) + 0.5f - v.x * weight;
  const float py = static_cast<float>(y) + 0.5f + v.y * weight;
  const bool inside = px >= 0 && py >= 0 && px < static_cast<float>(frame.width()) &&
                      py < static_cast<float>(frame.height());
  return inside ? frame.sampleAt(px, py) : kOutside;
}

}  // namespace

// --- temporal candidates -------------------------------------------------------------------------

FnMotionEstimateGradientTweenerGenerateTemporalCandidates::
    FnMotionEstimateGradientTweenerGenerateTemporalCandidates(const Parameters& p,
                                                              uint32_t temporalFlags)
    : p_(ForStage(p)), temporal_(temporalFlags) {
  options &= ~uint32_t{FnProcess_MultiThreaded};
}

FnTweenCandidates* FnMotionEstimateGradientTweenerGenerateTemporalCandidates::List() const {
  return temporal_ & FnTemporal_Forward ? p_.candidatesA : p_.candidatesB;
}

void FnMotionEstimateGradientTweenerGenerateTemporalCandidates::processBand() {
  const float part = temporal_ & FnTemporal_Forward ? p_.position : 1 - p_.position;
  for (int32_t y = y0; y < y1; ++y) {
    if (Stopped()) return;
    for (int32_t x = x0; x < x1; ++x) {
      const HvVec2& v = first->row(y)[x];
      if (!v.IsValid()) continue;
      const HvVec2 moved = temporal_ & FnTemporal_Neighbouring ? v + v * part : v * part;
      int32_t toX, toY;
      if (Landing(x, y, moved, p_.width, p_.height, &toX, &toY)) List()->Add(toX, toY, v);
    }
  }
}

// --- occlusion -----------------------------------------------------------------------------------

FnOcclusionStage::FnOcclusionStage(const Parameters& p) : p_(ForStage(p)) {}

void FnOcclusionStage::begin() {
  changed_ = false;
  if (!copy_.allocate(first->width(), first->height())) {
    setError(VX_ErrOutOfMemory);
    return;
  }
  for (int32_t y = 0; y < first->height(); ++y) {
    std::copy_n(first->row(y), first->width(), copy_.row(y));
  }
}

void FnOcclusionStage::processBand() {
  const FnBand band = Band();
  for (int32_t y = band.first; y < band.end; ++y) {
    if (Stopped()) return;
    for (int32_t x = x0; x < x1; ++x) {
      const int32_t state = copy_.row(y)[x];
      const int32_t next = NewState(x, y, state);
      if (next == state) continue;
      first->row(y)[x] = next;
      changed_ = true;
    }
  }
}

FnOcclusionStage::Counts FnOcclusionStage::Count(int32_t x, int32_t y, bool own) const {
  Counts counts;
  const auto add = [&](int32_t state) {
    counts.both += state == FnOcclusion_Both;
    counts.first += state == FnOcclusion_First;
    counts.second += state == FnOcclusion_Second;
  };
  for (const auto& [dx, dy] : kFnNeighbours) {
    const int32_t nx = x + dx, ny = y + dy;
    if (nx >= x0 && nx < x1 && ny >= y0 && ny < y1) add(copy_.row(ny)[nx]);
  }
  if (own) add(copy_.row(y)[x]);
  return counts;
}

int32_t FnMotionEstimateGradientTweenerGuessOcclusion::NewState(int32_t x, int32_t y,
                                                                int32_t state) {
  if (state >= FnOcclusion_Both && state <= FnOcclusion_Second) return state;
  if ((p_.flags & FnTween_Occlusion) == 0) return FnOcclusion_Both;
  if (state == FnOcclusion_Undecided) {
    const Counts counts = Count(x, y, false);
    if (counts.first > counts.second) return FnOcclusion_First;
    return counts.second > counts.first ? FnOcclusion_Second : state;
  }
  return (p_.candidatesA->At(x, y).count == 0 ? 2 : 0) +
         (p_.candidatesB->At(x, y).count == 0 ? 1 : 0);
}

int32_t FnMotionEstimateGradientTweenerGuessOcclusionSmoother::NewState(int32_t x, int32_t y,
                                                                        int32_t state) {
  const auto [both, first, second] = Count(x, y, true);
  switch (state) {
    case FnOcclusion_Both:
      if (first > both && first > second) return FnOcclusion_First;
      return second > both && second > first ? FnOcclusion_Second : state;
    case FnOcclusion_First:
      if (both > first) return FnOcclusion_Both;
      return second > first ? FnOcclusion_Second : state;
    case FnOcclusion_Second:
      if (both > second) return FnOcclusion_Both;
      return first > second ? FnOcclusion_First : state;
    default: return state;
  }
}

void FnMotionEstimateGradientTweenerGuessOcclusionBlanker::processBand() {
  // Other pixels read the lists as they were before.
  const FnTweenCandidates before_a = *p_.candidatesA, before_b = *p_.candidatesB;
  const auto blank = [&](int32_t x, int32_t y, const FnTweenCandidates& seen_before,
                         const FnTweenCandidates& hidden_before, FnTweenCandidates* seen,
                         FnTweenCandidates* hidden) {
    const auto list = seen_before.At(x, y);
    if (list.count == 0) return;
    const HvVec2 v = list.items[0];
    seen->Clear(x, y);
    int32_t toX, toY;
    if (!Landing(x, y, v, p_.width, p_.height, &toX, &toY)) return;
    const auto other = hidden_before.At(toX, toY);
    if (other.count > 0) hidden->Replace(x, y, other.items[0]);
  };
  for (int32_t y = y0; y < y1; ++y) {
    if (Stopped()) return;
    for (int32_t x = x0; x < x1; ++x) {
      const int32_t state = first->row(y)[x];
      if (state == FnOcclusion_First) {
        blank(x, y, before_a, before_b, p_.candidatesA, p_.candidatesB);
      } else if (state == FnOcclusion_Second) {
        blank(x, y, before_b, before_a, p_.candidatesB, p_.candidatesA);
      }
    }
  }
}

// --- spatial candidates --------------------------------------------------------------------------

// The candidates of one pixel for one field.
struct FnMotionEstimateGradientTweenerIterateSpatialCandidatesSinglePass::Side {
  std::array<HvVec2, kFnMostCandidates> items;
  int32_t count = 0;
  HvVec2 mean{0, 0};

  void Add(const HvVec2& v) {
    if (!v.IsValid() || count == kFnMostCandidates) return;
    if (std::find(items.data(), items.data() + count, v) != items.data() + count) return;
    items[static_cast<size_t>(count++)] = v;
  }
  void AddAll(FnTweenCandidates::List list) {
    for (int32_t i = 0; i < list.count; ++i) Add(list.items[i]);
  }
  // Adds the neighbours that the monitor marks, and the own vector.
  void Gather(const FnVectorMap& map, int32_t x, int32_t y,
              const FnMotionEstimateGradientChangedNeighboursMonitor& monitor) {
    int32_t known = 0;
    const HvVec2* const own = map.row(y) + x;
    const int32_t* const mark = monitor.MarkAt(x, y);
    const bool inner = x > 0 && y > 0 && x + 1 < map.width() && y + 1 < map.height();
    for (const auto& [dx, dy] : kFnNeighbours) {
      const int32_t nx = x + dx, ny = y + dy;
      if (!inner && (nx < 0 || ny < 0 || nx >= map.width() || ny >= map.height())) continue;
      const ptrdiff_t at = static_cast<ptrdiff_t>(dy) * map.width() + dx;
      const HvVec2& v = own[at];
      if (!v.IsValid()) continue;
      mean = mean + v;
      ++known;
      if (mark == nullptr || mark[at] != 0) Add(v);
    }
    if (known > 0) {
      mean = {mean.x / static_cast<float>(known), mean.y / static_cast<float>(known)};
    }
    Add(*own);
  }
  void Shuffle(FnRandom* random) {
    const auto n = static_cast<uint32_t>(count);
    for (uint32_t i = 0; i < n; ++i) std::swap(items[i], items[random->Below(n)]);
  }
  void FillFrom(const Side& other) {
    for (int32_t i = 0; i < other.count; ++i) {
      const HvVec2& v = other.items[static_cast<size_t>(i)];
      items[static_cast<size_t>(i)] = {-v.x, -v.y};
    }
    count = other.count;
    mean = {-other.mean.x, -other.mean.y};
  }
  float Distance(const HvVec2& v) const { return 8.0f * (mean - v).L1(); }
  // The vector nearest to the mean.
  FnLowest<HvVec2> Nearest(float smoothness) const {
    FnLowest<HvVec2> nearest(items[0], kHighestCost, /*tied=*/true);
    for (int32_t i = 0; i < count; ++i) {
      const HvVec2& v = items[static_cast<size_t>(i)];
      nearest.Offer(v, Distance(v) * smoothness);
    }
    return nearest;
  }
};

void FnMotionEstimateGradientTweenerIterateSpatialCandidatesSinglePass::begin() {
  passes = 0;
  if (passFlags & FnSinglePass_Seed) {
    for (auto* const monitor : {&monitorA_, &monitorB_}) {
      monitor->interrupt = interrupt;
      monitor->seed();
      monitor->process(monitor == &monitorA_ ? p.vectorsA : p.vectorsB);
    }
  }
  passFlags &= ~uint32_t{FnSinglePass_Seed | FnSinglePass_Filled};
  if (Stopped() || isInvalid(&monitorA_.previous) || isInvalid(&monitorB_.previous)) return;
  passes = 1;
  // The first pass usually begins without any vector.
  someKnown_ = runs_ > 0 || HasVector(monitorA_.previous) || HasVector(monitorB_.previous);
}

bool FnMotionEstimateGradientTweenerIterateSpatialCandidatesSinglePass::IsSkipped(int32_t state,
                                                                                  bool hasA,
                                                                                  bool hasB) const {
  const uint32_t mode = passFlags;
  if (mode & FnSinglePass_FillOnly) {
    const bool lacks_a = state == FnOcclusion_First || !hasA;
    const bool lacks_b = state == FnOcclusion_Second || !hasB;
    if (!lacks_a || !lacks_b) return true;
  }
  return (mode & FnSinglePass_OccludedOnly) != 0 && state == FnOcclusion_Both;
}

void FnMotionEstimateGradientTweenerIterateSpatialCandidatesSinglePass::processBand() {
  const FnBand band = Band();
  const FnVectorMap &before_a = monitorA_.previous, &before_b = monitorB_.previous;
  bool filled = false;
  const FnBestPairLanes lanes(p, kOutside, kHighestCost, p.matchWeight * kMatchScale);
  // The lists of projected candidates are empty after the first pass.
  const bool in_lanes = runs_ > 0 && p.mask == nullptr && lanes.CanRead() && p.smoothness > 0 &&
                        (p.flags & FnTween_BorrowNegated) == 0 &&
                        (passFlags & (FnSinglePass_FillOnly | FnSinglePass_OccludedOnly)) == 0;
  for (int32_t y = band.first; y < band.end; ++y) {
    if (Stopped()) return;
    const bool inner = in_lanes && y > 0 && y + 1 < before_a.height();
    const int32_t last = std::min(x1, before_a.width() - 1) - kFnLanes;
    for (int32_t x = x0; x < x1; ++x) {
      if (inner && x > 0 && last >= std::max(x0, 1) && x < last + kFnLanes) {
        x = std::min(x, last);  // the last group computes some pixels again
        const FnInts alone =
            lanes.Store(x, y, before_a, before_b, monitorA_.MarkAt(x, y), monitorB_.MarkAt(x, y),
                        p.vectorsA->row(y) + x, p.vectorsB->row(y) + x);
        for (int32_t k = 0; VXp_AnyLane(alone) && k < kFnLanes; ++k) {
          if (alone[k] != 0) ProcessPixel(x + k, y, p.occlusion->row(y)[x + k]);
        }
        x += kFnLanes - 1;
        continue;
      }
      const int32_t state = p.occlusion->row(y)[x];
      if (IsSkipped(state, before_a.row(y)[x].IsValid(), before_b.row(y)[x].IsValid())) continue;
      ProcessPixel(x, y, state);
      filled = filled || (state != FnOcclusion_First && p.vectorsA->row(y)[x].IsValid()) ||
               (state != FnOcclusion_Second && p.vectorsB->row(y)[x].IsValid());
    }
  }
  if (filled && (passFlags & FnSinglePass_FillOnly)) passFlags |= FnSinglePass_Filled;
}

void FnMotionEstimateGradientTweenerIterateSpatialCandidatesSinglePass::end() {
  if (passes == 0) return;
  if (runs_++ == 0) {
    p.candidatesA->ClearAll();
    p.candidatesB->ClearAll();
  }
  monitorA_.process(p.vectorsA);
  monitorB_.process(p.vectorsB);
}

void FnMotionEstimateGradientTweenerIterateSpatialCandidatesSinglePass::ProcessPixel(
    int32_t x, int32_t y, int32_t state) {
  Side a, b;
  if (someKnown_) {
    a.Gather(monitorA_.previous, x, y, monitorA_);
    b.Gather(monitorB_.previous, x, y, monitorB_);
  }
  a.AddAll(p.candidatesA->At(x, y));
  b.AddAll(p.candidatesB->At(x, y));
  const bool borrow = (p.flags & FnTween_BorrowNegated) != 0;
  if (state == FnOcclusion_Both && (a.count == 0 || b.count == 0) && !borrow) return;
  HvVec2& to_a = p.vectorsA->row(y)[x];
  HvVec2& to_b = p.vectorsB->row(y)[x];
  if (a.count == 1 && b.count == 1) {
    to_a = a.items[0];
    to_b = b.items[0];
    return;
  }
  // The order of the candidates matters only if several have the lowest cost.
  const int32_t count_a = a.count, count_b = b.count;
  if (Choose(x, y, state, &a, &b)) return;
  a.count = count_a;
  b.count = count_b;
  FnRandom random(x, y, monitorA_.previous.width());
  a.Shuffle(&random);
  b.Shuffle(&random);
  constexpr bool kInThisOrder = true;
  static_cast<void>(Choose(x, y, state, &a, &b, kInThisOrder));
}

bool FnMotionEstimateGradientTweenerIterateSpatialCandidatesSinglePass::Choose(int32_t x, int32_t y,
                                                                               int32_t state,
                                                                               Side* a, Side* b,
                                                                               bool inThisOrder) {
  HvVec2& to_a = p.vectorsA->row(y)[x];
  HvVec2& to_b = p.vectorsB->row(y)[x];
  if (p.flags & FnTween_BorrowNegated) {
    if (a->count == 0) a->FillFrom(*b);
    if (b->count == 0) b->FillFrom(*a);
  }
  if (state == FnOcclusion_First || state == FnOcclusion_Second) {
    const Side& side = state == FnOcclusion_First ? *b : *a;
    if (side.count == 0) return true;
    const FnLowest<HvVec2> nearest = side.Nearest(p.smoothness);
    if (nearest.IsTied() && !inThisOrder) return false;
    (state == FnOcclusion_First ? to_b : to_a) = nearest.value();
    return true;
  }
  if (a->count == 0 || b->count == 0) {
    if (state != FnOcclusion_Both) to_a = to_b = {0, 0};
    return true;
  }

  const bool masked = p.mask != nullptr && p.mask->row(y)[x] > kMaskLimit;
  const float match = masked ? 0 : p.matchWeight * kMatchScale;
  std::array<float, kFnMostCandidates> first_samples, distances;
  for (int32_t j = 0; j < b->count; ++j) {
    const auto k = static_cast<size_t>(j);
    first_samples[k] = Displaced(*p.first, x, y, b->items[k], p.position);
    distances[k] = b->Distance(b->items[k]);
  }
  struct Pair {
    HvVec2 a, b;
  };
  FnLowest<Pair> lowest({to_a, to_b}, kHighestCost);
  for (int32_t i = 0; i < a->count; ++i) {
    const HvVec2& va = a->items[static_cast<size_t>(i)];
    const float second_sample = Displaced(*p.second, x, y, va, 1 - p.position);
    const float distance = a->Distance(va);
    for (int32_t j = 0; j < b->count; ++j) {
      const auto k = static_cast<size_t>(j);
      const bool both_outside = second_sample == kOutside && first_samples[k] == kOutside;
      const float difference =
          both_outside ? kOutside : std::fabs(second_sample - first_samples[k]);
      const float cost = difference * match + (va + b->items[k]).L1() * p.consistency +
                         (distance + distances[k]) * p.smoothness;
      lowest.Offer({va, b->items[k]}, cost);
    }
  }
  if (lowest.IsTied() && !inThisOrder) return false;
  to_a = lowest.value().a;
  to_b = lowest.value().b;
  return true;
}

void FnMotionEstimateGradientTweenerIterateSpatialCandidates::process(const Parameters& p) {
  if (p.spatialPasses == 0) return;
  FnMotionEstimateGradientTweenerIterateSpatialCandidatesSinglePass pass(ForStage(p));
  pass.interrupt = interrupt;
  const auto run = [&] {
    if (FnPoll(interrupt) == VX_Ok) pass.process(p.vectorsA, p.vectorsB);
  };
  for (int32_t i = 0; i < p.spatialPasses; ++i) run();
  if ((p.flags & FnTween_Occlusion) == 0) return;

  // Unknown vectors are filled from their neighbours until none can be; then the pixels that are
  // visible in one frame only are smoothed as often. First each side for itself, then from the
  // other.
  for (const bool borrow : {false, true}) {
    pass.p.flags &= ~uint32_t{FnTween_BorrowNegated};
    if (borrow) pass.p.flags |= FnTween_BorrowNegated;
    pass.passFlags |= FnSinglePass_Seed | FnSinglePass_FillOnly;
    int32_t count = 0;
    do {
      run();
      ++count;
    } while ((pass.passFlags & FnSinglePass_Filled) != 0 && count < kMostFillPasses &&
             FnPoll(interrupt) == VX_Ok);
    pass.passFlags &= ~uint32_t{FnSinglePass_FillOnly};
    pass.passFlags |= FnSinglePass_Seed | FnSinglePass_OccludedOnly;
    for (int32_t i = 0; i < count; ++i) run();
    pass.passFlags &= ~uint32_t{FnSinglePass_OccludedOnly};
  }
}

// --- the tweener ---------------------------------------------------------------------------------

void FnMotionEstimateGradientTweener::prepare(const FnVectorMap* forward,
                                              const FnVectorMap* backward, FnVectorMap* dst) {
  Parameters& p = parameters;
  p.width = dst->width();
  p.height = dst->height();
  p.forward = forward;
  p.backward = backward;
  const bool occluded = (p.flags & FnTween_Occlusion) != 0;
  for (int32_t y = 0; y < p.height; ++y) {
    std::fill_n(p.occlusion->row(y), p.width, occluded ? FnOcclusion_Unknown : FnOcclusion_Both);
    std::fill_n(p.vectorsA->row(y), p.width, HvVec2::Invalid());
    std::fill_n(p.vectorsB->row(y), p.width, HvVec2::Invalid());
  }
  FnTweenCandidates a(p.width, p.height), b(p.width, p.height);
  p.candidatesA = &a;
  p.candidatesB = &b;
  FindCandidates();
  if (FnPoll(interrupt) == VX_Ok) {
    FnMotionEstimateGradientTweenerIterateSpatialCandidates spatial;
    spatial.interrupt = interrupt;
    spatial.process(p);
  }
  p.candidatesA = p.candidatesB = nullptr;
}

void FnMotionEstimateGradientTweener::FindCandidates() {
  const Parameters& p = parameters;
  const auto generate = [&](const FnVectorMap* field, uint32_t flags) {
    if (field == nullptr || FnPoll(interrupt) != VX_Ok) return;
    FnMotionEstimateGradientTweenerGenerateTemporalCandidates stage(p, flags);
    stage.interrupt = interrupt;
    stage.process(const_cast<FnVectorMap*>(field));
  };
  generate(p.backward, 0);
  generate(p.forward, FnTemporal_Forward);
  if ((p.flags & FnTween_Occlusion) != 0) {
    const auto repeat = [&](auto stage_type, int32_t most) {
      using Stage = typename decltype(stage_type)::type;
      Stage stage(p);
      stage.interrupt = interrupt;
      for (int32_t i = 0; i < most && FnPoll(interrupt) == VX_Ok; ++i) {
        stage.process(p.occlusion);
        if (!stage.hasChanged()) break;
      }
    };
    repeat(std::type_identity<FnMotionEstimateGradientTweenerGuessOcclusion>{},
           1 + kFurtherGuesses);
    repeat(std::type_identity<FnMotionEstimateGradientTweenerGuessOcclusionSmoother>{},
           p.occlusionSmoothPasses);
    FnMotionEstimateGradientTweenerGuessOcclusionBlanker blanker(p);
    blanker.interrupt = interrupt;
    if (FnPoll(interrupt) == VX_Ok) blanker.process(p.occlusion);
  }
  generate(p.nextBackward, FnTemporal_Neighbouring);
  generate(p.prevForward, FnTemporal_Neighbouring | FnTemporal_Forward);
}

void FnFillUnknownVectors(FnVectorMap* a, FnVectorMap* b) {
  const int32_t width = a->width(), height = a->height();
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      HvVec2 &va = a->row(y)[x], &vb = b->row(y)[x];
      if (!va.IsValid() && vb.IsValid()) va = {-vb.x, -vb.y};
      if (!vb.IsValid() && va.IsValid()) vb = {-va.x, -va.y};
    }
  }
  struct Found {
    int32_t x, y;
    HvVec2 v;
  };
  for (FnVectorMap* const map : {a, b}) {
    std::vector<std::array<int32_t, 2>> unknown;
    for (int32_t y = 0; y < height; ++y) {
      for (int32_t x = 0; x < width; ++x) {
        if (!map->row(y)[x].IsValid()) unknown.push_back({x, y});
      }
    }
    while (!unknown.empty()) {
      std::vector<Found> ring;
      std::vector<std::array<int32_t, 2>> rest;
      for (const auto& [x, y] : unknown) {
        HvVec2 sum{0, 0};
        int32_t count = 0;
        for (const auto& [dx, dy] : kFnNeighbours) {
          const int32_t nx = x + dx, ny = y + dy;
          if (nx < 0 || ny < 0 || nx >= width || ny >= height) continue;
          const HvVec2& v = map->row(ny)[nx];
          if (!v.IsValid()) continue;
          sum = sum + v;
          ++count;
        }
        if (count == 0) {
          rest.push_back({x, y});
        } else {
          const auto n = static_cast<float>(count);
          ring.push_back({x, y, {sum.x / n, sum.y / n}});
        }
      }
      if (ring.empty()) {
        for (const auto& [x, y] : rest) map->row(y)[x] = {0, 0};
        break;
      }
      for (const Found& found : ring) map->row(found.y)[found.x] = found.v;
      unknown = std::move(rest);
    }
  }
}

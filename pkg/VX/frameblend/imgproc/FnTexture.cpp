// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "frameblend/imgproc/FnTexture.h"

#include <mutex>

#include "frameblend/imgproc/FnInterrupt.h"
#include "host/U.h"

void FnTexAxis::SetSize(int32_t elements) {
  size = std::max(elements, 0);
  lo = 0;
  hi = size - 1;
  count = size;
}

void FnTexAxis::SetRange(int32_t from, int32_t to) {
  const auto clamped = [&](int32_t index) { return std::max(std::min(index, size - 1), 0); };
  lo = clamped(std::min(from, to));
  hi = clamped(std::max(from, to));
  count = hi - lo + 1;
}

FnRun FnTexAxis::RunAt(int32_t coordinate) const {
  const int64_t d = int64_t{coordinate} - origin - lo;
  const auto run = [](int64_t index, int32_t step, int64_t length) {
    return FnRun{static_cast<int32_t>(index), step,
                 static_cast<int32_t>(std::min<int64_t>(length, kFnEndlessRun))};
  };
  if (d >= 0 && d < count) return run(lo + d, 1, count - d);
  if (count <= 0) return {-1, 0, kFnEndlessRun};
  const bool before = d < 0;
  switch (edgeMode) {
    case FnEdge_Hold: return before ? run(lo, 0, -d) : run(hi, 0, kFnEndlessRun);
    case FnEdge_Mirror: {
      const int64_t distance = before ? -1 - d : d;  // from the nearest edge, 0 is the edge element
      const int64_t offset = distance % count;
      const bool reflected = (distance / count) % 2 != 0;
      const int64_t index = reflected ? lo + count - 1 - offset : lo + offset;
      return run(index, reflected == before ? 1 : -1, before ? offset + 1 : count - offset);
    }
    case FnEdge_Wrap: {
      const int64_t offset = (d % count + count) % count;
      return run(lo + offset, 1, count - offset);
    }
    default: return before ? run(-1, 0, -d) : run(-1, 0, kFnEndlessRun);
  }
}

void FnTexIndexer::setRange(int32_t lo, int32_t hi) {
  x.SetRange(lo, hi);
  y.SetRange(lo, hi);
}

void FnTexIndexer::setEdgeModes(int32_t xMode, int32_t yMode) {
  x.edgeMode = xMode;
  y.edgeMode = yMode;
}

void FnTexIndexer::setOrigin(int32_t xOrigin, int32_t yOrigin) {
  x.origin = x.first = xOrigin;
  y.origin = y.first = yOrigin;
  x.originF = static_cast<float>(xOrigin);
  y.originF = static_cast<float>(yOrigin);
}

void FnTexIndexer::setOriginF(float xOrigin, float yOrigin) {
  x.originF = xOrigin;
  y.originF = yOrigin;
}

void* FnAllocatePixels(int64_t bytes) {
  if (bytes <= 0) return nullptr;
  const std::lock_guard lock(FnGlobalMutex());
  return U_AllocatePtr(0, "Veltor image", static_cast<size_t>(bytes), 0);
}

void FnFreePixels(void* pixels) {
  if (pixels == nullptr) return;
  const std::lock_guard lock(FnGlobalMutex());
  U_FreePtr(pixels);
}

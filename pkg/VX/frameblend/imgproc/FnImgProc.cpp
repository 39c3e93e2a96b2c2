// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "frameblend/imgproc/FnImgProc.h"

namespace {

int32_t SetError(FnInterruptState* interrupt, VX_Err code) {
  if (interrupt == nullptr) return 0;
  interrupt->set(code);
  return 1;
}

// One pass. The exits before it is processed skip endPass.
template <class Process>
void RunPass(Process& process) {
  if (FnPoll(process.interrupt) != VX_Ok) return;
  process.beginPass();
  if (FnPoll(process.interrupt) != VX_Ok) return;
  if ((process.options & FnProcess_MultiThreaded) == 0) {
    process.processBand();
  } else {
    process.flags |= FnProcess_Threaded;
    const auto band = [](void* const* arguments, int32_t) {
      static_cast<Process*>(arguments[0])->processBand();
    };
    const bool done = FnRunInParallel(band, 1, &process);
    process.flags &= ~uint32_t{FnProcess_Threaded};
    if (!done) process.setError(VX_ErrOutOfMemory);
  }
  process.endPass();
}

template <class Process>
void RunPasses(Process& process) {
  for (process.pass = 0; process.pass < process.passes; ++process.pass) RunPass(process);
}

void ClipPair(bool snap, int32_t size, int32_t* low, int32_t* high) {
  if (snap && (*low < 0 || *high > size || *low > *high)) {
    *low = 0;
    *high = size;
  }
  *low = std::clamp(*low, 0, size);
  *high = std::clamp(*high, *low, size);
}

}  // namespace

void FnImgProc::runPasses() { RunPasses(*this); }

void FnImgProc::run(FnTexIndexer* map) {
  if (map == nullptr) return;
  if ((flags & FnProcess_HasRegion) == 0) {
    x0 = y0 = 0;
    x1 = map->x.size;
    y1 = map->y.size;
  }
  target = map;
  targetWidth = map->x.size;
  targetHeight = map->y.size;
  const bool snap = (options & FnProcess_Snap) != 0;
  ClipPair(snap, targetWidth, &x0, &x1);
  ClipPair(snap, targetHeight, &y0, &y1);
  begin();
  runPasses();
  end();
  target = nullptr;
}

int32_t FnImgProc::setError(VX_Err code) { return SetError(interrupt, code); }

void FnImgProc::setRegion(int32_t left, int32_t top, int32_t right, int32_t bottom) {
  x0 = left;
  y0 = top;
  x1 = right + 1;
  y1 = bottom + 1;
  flags |= FnProcess_HasRegion;
}

void FnImgProc::setRegionWithMargin(int32_t left, int32_t top, int32_t right, int32_t bottom,
                                    int32_t marginX, int32_t marginY) {
  setRegion(left - marginX, top - marginY, right + marginX, bottom + marginY);
}

void FnImgProc::setRegionFromTexture(const FnTexIndexer& texture) {
  setRegion(0, 0, texture.x.size - 1, texture.y.size - 1);
}

int32_t FnImgProc::pushRegion() {
  if (saved_ == regions_.size()) return 0;
  regions_[saved_++] = {x0, y0, x1, y1};
  return 1;
}

int32_t FnImgProc::pushRegion(int32_t left, int32_t top, int32_t right, int32_t bottom) {
  if (pushRegion() == 0) return 0;
  setRegion(left, top, right, bottom);
  return 1;
}

int32_t FnImgProc::popRegion() {
  if (saved_ == 0) return 0;
  const auto& bounds = regions_[--saved_];
  x0 = bounds[0];
  y0 = bounds[1];
  x1 = bounds[2];
  y1 = bounds[3];
  return 1;
}

FnBand FnImgProc::Band() const {
  const int32_t rows = y1 - y0;
  const FnBand band = flags & FnProcess_Threaded ? FnBandOfThread(rows) : FnBand{0, rows};
  return {y0 + band.first, y0 + band.end};
}

void FnMultiProcessor::runPasses() { RunPasses(*this); }

void FnMultiProcessor::run() {
  begin();
  runPasses();
  end();
}

int32_t FnMultiProcessor::setError(VX_Err code) { return SetError(interrupt, code); }

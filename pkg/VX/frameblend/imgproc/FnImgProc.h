// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Stages over one, two or three textures of which the last is the destination. Unlike the stages of
// FnImager.h they keep the textures in members while they run, and they have a stack of regions.
//
// A stage derives from FnImgProc1, FnImgProc2 or FnImgProc3 and overrides processBand, which writes
// the rows of Band(). begin, end, beginPass and endPass are called on the calling thread.
//
// Errors: failures are recorded in the interrupt record, see setError.

#include <array>

#include "frameblend/imgproc/FnInterrupt.h"
#include "frameblend/imgproc/FnTexture.h"
#include "frameblend/imgproc/FnThreads.h"

enum FnProcessFlags : uint32_t { FnProcess_Threaded = 1, FnProcess_HasRegion = 2 };
enum FnProcessOptions : uint32_t {
  FnProcess_MultiThreaded = 1,
  // A pair of bounds that is not inside the map is replaced by the whole axis, not clamped.
  FnProcess_Snap = 2
};

class FnImgProc : public FnInteruptable {
 public:
  virtual void begin() {}
  virtual void processBand() {}
  virtual void end() {}
  virtual void beginPass() {}
  virtual void endPass() {}
  virtual void runPasses();
  virtual void run(FnTexIndexer* map);

  // Records the error and returns 1; returns 0 if there is no interrupt record.
  int32_t setError(VX_Err code);

  // Regions have inclusive ends here, as in Imager.
  void setRegion(int32_t left, int32_t top, int32_t right, int32_t bottom);
  void setRegionWithMargin(int32_t left, int32_t top, int32_t right, int32_t bottom,
                           int32_t marginX, int32_t marginY);
  void setRegionFromTexture(const FnTexIndexer& texture);
  void clearRegion() { flags &= ~uint32_t{FnProcess_HasRegion}; }
  // Save the bounds, at most ten times; return 0 if no more can be saved.
  int32_t pushRegion();
  int32_t pushRegion(int32_t left, int32_t top, int32_t right, int32_t bottom);
  // Restores the bounds that were saved last; returns 0 if there are none.
  int32_t popRegion();
  void popAll() { saved_ = 0; }

  FnInterruptState* interrupt = nullptr;
  uint32_t flags = 0;
  int32_t x0 = 0, y0 = 0, x1 = 0, y1 = 0;  // the region; x1 and y1 are one past its end
  int32_t passes = 1, pass = 0;
  uint32_t options = FnProcess_MultiThreaded;
  int32_t spare = 0;
  float scaleX = 1, scaleY = 1;
  FnTexIndexer* target = nullptr;
  int32_t targetWidth = 0, targetHeight = 0;

 protected:
  // The calling thread's rows of the region.
  FnBand Band() const;
  bool Stopped() { return FnPoll(interrupt) != VX_Ok; }

 private:
  std::array<std::array<int32_t, 4>, 10> regions_ = {};
  size_t saved_ = 0;
};

// The same flow without a texture and a region.
class FnMultiProcessor : public FnInteruptable {
 public:
  virtual void begin() {}
  virtual void processBand() {}
  virtual void end() {}
  virtual void beginPass() {}
  virtual void endPass() {}
  virtual void runPasses();
  virtual void run();

  int32_t setError(VX_Err code);

  FnInterruptState* interrupt = nullptr;
  uint32_t flags = 0;
  int32_t passes = 1, pass = 0;
  uint32_t options = FnProcess_MultiThreaded;
};

template <class A>
class FnImgProc1 : public FnImgProc {
 public:
  virtual void operator()(FnMap<A>* map) { process(map); }
  virtual void process(FnMap<A>* map) {
    first = map;
    run(map);
    first = nullptr;
  }

 protected:
  FnMap<A>* first = nullptr;
};

template <class A, class B>
class FnImgProc2 : public FnImgProc {
 public:
  virtual void operator()(const FnMap<A>* a, FnMap<B>* dst) { process(a, dst); }
  virtual void process(const FnMap<A>* a, FnMap<B>* dst) {
    first = a;
    second = dst;
    run(dst);
    first = nullptr;
    second = nullptr;
  }

 protected:
  const FnMap<A>* first = nullptr;
  FnMap<B>* second = nullptr;
};

template <class A, class B, class C>
class FnImgProc3 : public FnImgProc {
 public:
  virtual void operator()(const FnMap<A>* a, const FnMap<B>* b, FnMap<C>* dst) {
    process(a, b, dst);
  }
  virtual void process(const FnMap<A>* a, const FnMap<B>* b, FnMap<C>* dst) {
    first = a;
    second = b;
    third = dst;
    run(dst);
    first = nullptr;
    second = nullptr;
    third = nullptr;
  }

 protected:
  const FnMap<A>* first = nullptr;
  const FnMap<B>* second = nullptr;
  FnMap<C>* third = nullptr;
};

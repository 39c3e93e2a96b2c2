// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Stages that make a texture from none (Generator), one (Sampler) or two others (Combiner), in
// bands of rows on all processors.
//
// A stage derives from one of them and overrides processBand, which writes the rows of Band(). It
// is called once on each thread. prepare and finish are called on the calling thread before and
// after the passes. General* stages supply processBand and are written as a function of one pixel.
//
// Errors: a bad map is reported on the standard error stream and nothing is processed. A fan-out
// that fails sets error 4 in the interrupt record. After an interruption the target is incomplete.

#include "frameblend/imgproc/FnInterrupt.h"
#include "frameblend/imgproc/FnTexture.h"
#include "frameblend/imgproc/FnThreads.h"

enum FnImagerFlags : uint32_t {
  FnImager_Reclip = 1,         // the region must be clipped to the target
  FnImager_ValidateInput = 2,  // the region is also clipped to the first input
  FnImager_CallingThread = 4,  // do not fan out
  FnImager_HasRegion = 8
};

enum FnLineMode : int32_t { FnLines_All = 0, FnLines_Even = 1, FnLines_Odd = 2 };

class Imager : public FnInteruptable {
 public:
  // A region with inclusive ends. The other pixels of the target are not written.
  void setRegion(int32_t left, int32_t top, int32_t right, int32_t bottom);
  // Grows the region on each side.
  void setRegionWithMargin(int32_t left, int32_t top, int32_t right, int32_t bottom,
                           int32_t marginX, int32_t marginY);
  void clearRegion() { flags &= ~uint32_t{FnImager_HasRegion}; }

  FnInterruptState* interrupt = nullptr;
  uint32_t flags = 0;
  int32_t x0 = 0, y0 = 0, x1 = 0, y1 = 0;  // the region; x1 and y1 are one past its end
  int32_t passes = 1, pass = 0;
  float scaleX = 1, scaleY = 1;
  int32_t lineMode = FnLines_All;
  FnTexIndexer* target = nullptr;
  int32_t targetWidth = 0, targetHeight = 0;

 protected:
  // Columns x0..x1 - 1 of the rows y0, y0 + step, ... below y1.
  struct Rows {
    int32_t x0, x1, y0, y1, step;
  };
  // The calling thread's part of the region, or of the target if no region is set.
  Rows Band() const;

  // Stores the target and clips the region. `input` may be null.
  void Begin(FnTexIndexer* map, const FnTexIndexer* input);
  // Runs the passes: `preparePass()` on this thread, then `band()` on all threads.
  template <class PreparePass, class ProcessBand>
  void RunPasses(PreparePass preparePass, ProcessBand band) {
    for (pass = 0; pass < passes; ++pass) {
      if (FnPoll(interrupt) != VX_Ok) return;
      preparePass();
      if (flags & FnImager_CallingThread) {
        band();
        continue;
      }
      const auto run = [](void* const* arguments, int32_t) {
        (*static_cast<ProcessBand*>(arguments[0]))();
      };
      if (!FnRunInParallel(run, 1, &band) && interrupt != nullptr) {
        interrupt->set(VX_ErrOutOfMemory);
      }
    }
  }
};

// Reports a map that is null or has no pixels, and returns false.
bool FnCheckMap(bool exists, bool usable, const char* nullText, const char* bogusText);

// The texts name other classes in places. Callers may compare them, so they are not corrected.
inline constexpr char kFnGeneratorNull[] = "Map passed into Generator::process is NULL\n";
inline constexpr char kFnGeneratorBogus[] = "Map passed into Generator::process is bogus\n";
inline constexpr char kFnSamplerBogus[] = "Map passed into Sampler::process is bogus\n";
inline constexpr char kFnCombinerNull[] = "Map passed into Combiner::process is NULL\n";

template <class Stored>
bool FnCheckMap(const FnMap<Stored>* map, const char* nullText, const char* bogusText) {
  const bool exists = map != nullptr;
  return FnCheckMap(exists, exists && !map->isEmpty() && !isInvalid(map), nullText, bogusText);
}

template <class Dst>
class Generator : public virtual Imager {
 public:
  virtual void prepare(FnMap<Dst>*) {}
  virtual void processBand(FnMap<Dst>*) {}
  virtual void finish(FnMap<Dst>*) {}

  void process(FnMap<Dst>* dst) {
    if (!FnCheckMap<Dst>(dst, kFnGeneratorNull, kFnGeneratorBogus)) return;
    Begin(dst, nullptr);
    prepare(dst);
    RunPasses([] {}, [&] { processBand(dst); });
    finish(dst);
  }
};

template <class Src, class Dst>
class Sampler : public virtual Imager {
 public:
  virtual void prepare(const FnMap<Src>*, FnMap<Dst>*) {}
  virtual void processBand(const FnMap<Src>*, FnMap<Dst>*) {}
  virtual void finish(const FnMap<Src>*, FnMap<Dst>*) {}
  virtual void preparePass(const FnMap<Src>*, FnMap<Dst>*) {}

  void process(const FnMap<Src>* src, FnMap<Dst>* dst) {
    if (!FnCheckMap<Src>(src, kFnGeneratorNull, kFnSamplerBogus) ||
        !FnCheckMap<Dst>(dst, kFnGeneratorNull, kFnSamplerBogus)) {
      return;
    }
    Begin(dst, src);
    prepare(src, dst);
    RunPasses([&] { preparePass(src, dst); }, [&] { processBand(src, dst); });
    finish(src, dst);
  }
};

template <class Src1, class Src2, class Dst>
class Combiner : public virtual Imager {
 public:
  virtual void prepare(const FnMap<Src1>*, const FnMap<Src2>*, FnMap<Dst>*) {}
  virtual void processBand(const FnMap<Src1>*, const FnMap<Src2>*, FnMap<Dst>*) {}
  virtual void finish(const FnMap<Src1>*, const FnMap<Src2>*, FnMap<Dst>*) {}

  void process(const FnMap<Src1>* a, const FnMap<Src2>* b, FnMap<Dst>* dst) {
    if (!FnCheckMap<Src1>(a, kFnCombinerNull, kFnGeneratorBogus) ||
        !FnCheckMap<Src2>(b, kFnCombinerNull, kFnGeneratorBogus) ||
        !FnCheckMap<Dst>(dst, kFnCombinerNull, kFnGeneratorBogus)) {
      return;
    }
    Begin(dst, a);
    prepare(a, b, dst);
    RunPasses([] {}, [&] { processBand(a, b, dst); });
    finish(a, b, dst);
  }
};

// Elements of one row of a source, stretch by stretch.
template <class Stored>
class FnRowReader {
 public:
  FnRowReader(const FnMap<Stored>& map, int32_t y) : map_(map), line_(map.y.IndexAt(y)) {}

  // The first element at x, the step to the next one, and how many follow with that step.
  struct Stretch {
    const Stored* element;
    int32_t step, length;
  };
  Stretch At(int32_t x) const {
    const FnRun run = map_.x.RunAt(x);
    if (line_ < 0 || run.index < 0) return {&map_.fill, 0, run.length};
    return {map_.row(line_) + run.index, run.step, run.length};
  }

 private:
  const FnMap<Stored>& map_;
  int32_t line_;
};

// A stage that computes each pixel from the source pixel at the same coordinates. kSrcFull and
// kDstFull are the full-scale values of the types. A derived class whose `pixel` should be inlined
// overrides processBand with FnWalk(*this, src, dst). It may have a function Pixels, which computes
// neighbouring pixels, as many as it can in lanes, and returns how many.
template <class Src, int32_t kSrcFull, class Dst, int32_t kDstFull>
class GeneralSampler : public Sampler<Src, Dst> {
 public:
  static constexpr int32_t kSourceFullScale = kSrcFull, kTargetFullScale = kDstFull;

  virtual void pixel(const Src&, Dst*, int32_t /*threadIndex*/) {}
  void processBand(const FnMap<Src>* src, FnMap<Dst>* dst) override { FnWalk(*this, src, dst); }

 protected:
  template <class Self>
  static void FnWalk(Self& self, const FnMap<Src>* src, FnMap<Dst>* dst) {
    const auto band = self.Band();
    const int32_t thread = self.flags & FnImager_CallingThread ? 0 : FnThreadIndex();
    for (int32_t y = band.y0; y < band.y1; y += band.step) {
      if (FnPoll(self.interrupt) != VX_Ok) return;
      const FnRowReader<Src> reader(*src, y);
      Dst* const out = dst->row(y);
      for (int32_t x = band.x0; x < band.x1;) {
        const auto from = reader.At(x);
        const int32_t length = std::min(from.length, band.x1 - x);
        int32_t i = 0;
        if constexpr (requires { self.Pixels(from.element, length, out + x); }) {
          if (from.step == 1) i = self.Pixels(from.element, length, out + x);
        }
        for (; i < length; ++i) {
          self.pixel(from.element[static_cast<ptrdiff_t>(i) * from.step], out + x + i, thread);
        }
        x += length;
      }
    }
  }
};

// The same with the coordinates of the pixel.
template <class Src, int32_t kSrcFull, class Dst, int32_t kDstFull>
class GeneralSamplerPos : public Sampler<Src, Dst> {
 public:
  static constexpr int32_t kSourceFullScale = kSrcFull, kTargetFullScale = kDstFull;

  virtual void pixel(int32_t /*x*/, int32_t /*y*/, const FnMap<Src>&, Dst*, int32_t) {}
  void processBand(const FnMap<Src>* src, FnMap<Dst>* dst) override {
    const auto band = this->Band();
    const int32_t thread = this->flags & FnImager_CallingThread ? 0 : FnThreadIndex();
    for (int32_t y = band.y0; y < band.y1; y += band.step) {
      if (FnPoll(this->interrupt) != VX_Ok) return;
      Dst* const out = dst->row(y);
      for (int32_t x = band.x0; x < band.x1; ++x) pixel(x, y, *src, out + x, thread);
    }
  }
};

// A stage that computes each pixel from two source pixels at the same coordinates.
template <class Src1, class Src2, class Dst>
class GeneralCombiner : public Combiner<Src1, Src2, Dst> {
 public:
  virtual void pixel(const Src1&, const Src2&, Dst*, int32_t /*threadIndex*/) {}
  void processBand(const FnMap<Src1>* a, const FnMap<Src2>* b, FnMap<Dst>* dst) override {
    const auto band = this->Band();
    const int32_t thread = this->flags & FnImager_CallingThread ? 0 : FnThreadIndex();
    for (int32_t y = band.y0; y < band.y1; y += band.step) {
      if (FnPoll(this->interrupt) != VX_Ok) return;
      const FnRowReader<Src1> readerA(*a, y);
      const FnRowReader<Src2> readerB(*b, y);
      Dst* const out = dst->row(y);
      for (int32_t x = band.x0; x < band.x1;) {
        const auto fromA = readerA.At(x);
        const auto fromB = readerB.At(x);
        const int32_t length = std::min({fromA.length, fromB.length, band.x1 - x});
        for (int32_t i = 0; i < length; ++i) {
          pixel(fromA.element[static_cast<ptrdiff_t>(i) * fromA.step],
                fromB.element[static_cast<ptrdiff_t>(i) * fromB.step], out + x + i, thread);
        }
        x += length;
      }
    }
  }
};

// Copies, with the conversion of the types.
template <class Src, int32_t kSrcFull, class Dst, int32_t kDstFull>
class SimpleCopySampler final : public GeneralSampler<Src, kSrcFull, Dst, kDstFull> {
 public:
  void pixel(const Src& from, Dst* to, int32_t) override {
    using Compute = typename FnComputeOf<Src>::Type;
    *to = FnFromCompute<Dst>(FnToCompute<Compute>(from));
  }
  void processBand(const FnMap<Src>* src, FnMap<Dst>* dst) override {
    this->FnWalk(*this, src, dst);
  }
};

// Fills the target with one value, or with zero bytes.
template <class Dst>
class ColouredFrameGenerator final : public Generator<Dst> {
 public:
  Dst value = {};
  bool zero = false;

  void processBand(FnMap<Dst>* dst) override {
    const auto band = this->Band();
    if (band.y0 >= band.y1 || band.x0 >= band.x1) return;
    const Dst* const first = dst->row(band.y0) + band.x0;
    const int32_t width = band.x1 - band.x0;
    for (int32_t y = band.y0; y < band.y1; y += band.step) {
      Dst* const out = dst->row(y) + band.x0;
      if (zero || y == band.y0) {
        std::fill_n(out, width, zero ? Dst{} : value);
      } else {
        std::copy_n(first, width, out);
      }
    }
  }
};

template <class Stored, class Compute>
void FnClear(FnInterruptState* interrupt, FnTexture<Stored, Compute>* map) {
  ColouredFrameGenerator<Stored> clear;
  clear.zero = true;
  clear.interrupt = interrupt;
  clear.process(map);
}

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Two-dimensional arrays with rules for reads beyond their edges.
//
// Threads: a texture may be read by several threads. Each element is written by one thread.

#include <cstddef>
#include <cstdint>

#include "frameblend/imgproc/FnColor.h"

enum FnEdgeMode : int32_t {
  FnEdge_Transparent = 0,  // the fill value of the texture
  FnEdge_Hold = 1,         // the nearest element
  FnEdge_Mirror = 2,       // reflected, the last element repeated
  FnEdge_Wrap = 3          // periodic
};

// A stretch of coordinates with one rule: `length` coordinates from the requested one, which read
// the stored indices index, index + step, and so on. Index -1 is the fill value, with step 0.
struct FnRun {
  int32_t index, step, length;
};

inline constexpr int32_t kFnEndlessRun = 0x7fffffff;

struct FnTexAxis {
  int32_t size = 0;    // stored elements
  float originF = 0;   // the origin as a float
  int32_t origin = 0;  // a coordinate minus the origin is the stored index
  int32_t edgeMode = FnEdge_Transparent;
  int32_t lo = 0, hi = -1;  // first and last usable stored index
  int32_t count = 0;        // hi - lo + 1
  int32_t first = 0;        // coordinate of stored index 0
  uint32_t flags = 0;

  void SetSize(int32_t elements);
  // Limits reads to a part. The arguments may be in either order and are clamped to the texture. An
  // empty texture gets lo = hi = 0.
  void SetRange(int32_t from, int32_t to);

  // The stored index that a coordinate reads; -1 for the fill value.
  int32_t IndexAt(int32_t coordinate) const {
    const int64_t d = int64_t{coordinate} - origin - lo;
    if (d >= 0 && d < count) return lo + static_cast<int32_t>(d);
    return RunAt(coordinate).index;
  }
  FnRun RunAt(int32_t coordinate) const;
  // True if this coordinate and the next are inside the usable range.
  bool HasPair(int32_t coordinate) const {
    const int64_t d = int64_t{coordinate} - origin - lo;
    return d >= 0 && d < count - 1;
  }
};

class FnTexIndexer {
 public:
  virtual ~FnTexIndexer() = default;
  virtual void setRange(int32_t lo, int32_t hi);
  virtual void setEdgeModes(int32_t xMode, int32_t yMode);
  virtual void setOrigin(int32_t xOrigin, int32_t yOrigin);
  virtual void setOriginF(float xOrigin, float yOrigin);

  FnTexAxis x, y;
};

// Allocates and frees pixels through the host, one call at a time. Returns null if out of memory or
// for a size of 0.
void* FnAllocatePixels(int64_t bytes);
void FnFreePixels(void* pixels);

// Splits a position into the largest integer that is not above it and the rest, 0..1. Positions
// beyond 2^30, and NaN, give a coordinate beyond every texture, or 0.
inline void FnSplit(float position, int32_t* whole, float* fraction) {
  constexpr float kLimit = 0x1p30f;
  const float low = position > -kLimit ? position : position < 0 ? -kLimit : 0.0f;
  const float limited = low < kLimit ? low : kLimit;
  int32_t below = static_cast<int32_t>(limited);
  if (static_cast<float>(below) > limited) --below;
  *whole = below;
  *fraction = limited - static_cast<float>(below);
}

// Interpolates between four neighbours, along x first. A neighbour without weight is not read, so
// that NaN and infinities do not reach exact positions beside them. `kFinite` states that there are
// none.
template <bool kFinite = false, class Compute>
Compute FnBilinear(const Compute& a, const Compute& b, const Compute& c, const Compute& d, float fx,
                   float fy) {
  const auto mix = [](const Compute& from, const Compute& to, float part) {
    return kFinite || part > 0 ? Compute(from + (to - from) * part) : from;
  };
  return mix(mix(a, b, fx), mix(c, d, fx), fy);
}

template <class Stored, class Compute>
class FnTexture : public FnTexIndexer {
 public:
  FnTexture() = default;
  // Allocates the elements, which are not initialised. `pixels` is null if out of memory.
  FnTexture(int32_t width, int32_t height) { allocate(width, height); }
  // Refers to the pixels of a world, with hold at the edges. The world must outlive the texture.
  explicit FnTexture(const VX_LayerDef& world) {
    x.SetSize(world.width);
    y.SetSize(world.height);
    pixels = static_cast<Stored*>(world.data);
    rowBytes = world.rowbytes;
    FnTexIndexer::setEdgeModes(FnEdge_Hold, FnEdge_Hold);
  }
  ~FnTexture() override {
    release();
    if (rowTableLength > 0) {
      FnFreePixels(rowTables[0]);
      FnFreePixels(rowTables[1]);
    }
  }
  FnTexture(const FnTexture&) = delete;
  FnTexture& operator=(const FnTexture&) = delete;

  // Refers to the pixels of `other`, which must outlive this texture.
  virtual void assign(const FnTexture& other) {
    release();
    pixels = other.pixels;
    x = other.x;
    y = other.y;
    fill = other.fill;
    rowBytes = other.rowBytes;
  }
  virtual void setFill(const Stored& value) { fill = value; }
  // The bilinear sample at the centre of a box.
  virtual Compute sampleBox(float x0, float y0, float x1, float y1) const {
    return sampleAt((x0 + x1) * 0.5f, (y0 + y1) * 0.5f);
  }
  virtual Compute sampleAround(float cx, float cy, float rx, float ry) const {
    return sampleBox(cx - rx, cy - ry, cx + rx, cy + ry);
  }

  // Replaces the elements by new ones that are not initialised. Returns false if out of memory.
  bool allocate(int32_t width, int32_t height) {
    release();
    x.SetSize(width);
    y.SetSize(height);
    rowBytes = x.size * static_cast<int32_t>(sizeof(Stored));
    pixels = static_cast<Stored*>(FnAllocatePixels(int64_t{rowBytes} * y.size));
    ownsPixels = pixels != nullptr;
    allocFailed = pixels == nullptr && x.size > 0 && y.size > 0;
    return !allocFailed;
  }

  int32_t width() const { return x.size; }
  int32_t height() const { return y.size; }
  bool isEmpty() const { return x.size <= 0 || y.size <= 0; }

  // The first element of a stored row.
  Stored* row(int32_t index) const {
    return reinterpret_cast<Stored*>(
        reinterpret_cast<char*>(const_cast<std::remove_const_t<Stored>*>(pixels)) +
        static_cast<ptrdiff_t>(index) * rowBytes);
  }
  // The element at integer coordinates, by the rules of the edges.
  const Stored& at(int32_t column, int32_t line) const {
    const int32_t i = x.IndexAt(column), j = y.IndexAt(line);
    return i < 0 || j < 0 ? fill : row(j)[i];
  }
  // The bilinear sample at a position: element (i, j) has its centre at (i + 0.5, j + 0.5).
  Compute sampleAt(float px, float py) const {
    int32_t i, j;
    float fx, fy;
    FnSplit(px - 0.5f, &i, &fx);
    FnSplit(py - 0.5f, &j, &fy);
    if (x.HasPair(i) && y.HasPair(j)) {
      const Stored* const upper = row(j - y.origin) + (i - x.origin);
      const Stored* const lower = row(j + 1 - y.origin) + (i - x.origin);
      constexpr bool kInteger = !std::is_same_v<Stored, Compute>;
      return FnBilinear<kInteger>(FnToCompute<Compute>(upper[0]), FnToCompute<Compute>(upper[1]),
                                  FnToCompute<Compute>(lower[0]), FnToCompute<Compute>(lower[1]),
                                  fx, fy);
    }
    const auto read = [&](int32_t column, int32_t line) {
      return FnToCompute<Compute>(at(column, line));
    };
    return FnBilinear(read(i, j), read(i + 1, j), read(i, j + 1), read(i + 1, j + 1), fx, fy);
  }

  int32_t ownsPixels = 0;
  Stored* pixels = nullptr;
  int32_t allocFailed = 0;
  Stored fill = {};
  int32_t rowBytes = 0;
  void* rowTables[2] = {nullptr, nullptr};
  int32_t rowTableLength = 0;

 private:
  void release() {
    if (ownsPixels) FnFreePixels(pixels);
    ownsPixels = 0;
    pixels = nullptr;
  }
};

// True if there is no texture, or it has no memory.
template <class Texture>
bool isInvalid(const Texture* texture) {
  return texture == nullptr || texture->pixels == nullptr;
}

// The texture of a stored type. Colours of worlds are computed in float.
template <class Stored>
struct FnComputeOf {
  using Type = Stored;
};
template <>
struct FnComputeOf<FnColor8> {
  using Type = FnColorFloat;
};
template <>
struct FnComputeOf<FnColor16> {
  using Type = FnColorFloat;
};
template <class Stored>
using FnMap = FnTexture<Stored, typename FnComputeOf<Stored>::Type>;

using FnFloatMap = FnMap<float>;
using FnIntMap = FnMap<int32_t>;
using FnVectorMap = FnMap<HvVec2>;

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// One random command: everything that it draws, the memory that it works on, and what it gave.
//
// Operation, seed and number determine a command completely. It can therefore be repeated alone,
// with the routine under test, with its slow twin, or at another processor level.

#include <cstdint>
#include <deque>
#include <initializer_list>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "VX/VX_World.h"

// Spreads a number over all 64 bits.
constexpr uint64_t MixBits(uint64_t x) {
  x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9u;
  x = (x ^ (x >> 27)) * 0x94D049BB133111EBu;
  return x ^ (x >> 31);
}
constexpr uint64_t AddByte(uint64_t digest, uint8_t byte) {
  return (digest ^ byte) * 1099511628211u;
}

// Properties of a command that a slow twin may need.
enum : uint32_t {
  kFinite = 1,   // no channel is infinite or not a number
  kAligned = 2,  // rows start at multiples of the sample size
  kTame = 4,     // float alphas are 0 or 0.25..1, so that sums of alphas do not cancel
  kFew = 8       // few channels are infinite, not a number or 1e20; also with kFinite
};

// A part of the result of a command.
struct Part {
  std::string name;
  std::vector<uint8_t> bytes;
  size_t unit;    // bytes a pixel or number
  bool is_float;  // 32-bit floats; any NaN is stored as one pattern
  bool by_twin;   // a slow twin computes it too
};

// Whether memory is only read by the routine or may be written.
enum class Use { kInput, kOutput };

// Rows of free values, transparent, opaque, in runs of equal alpha, or in patches of equal pixels,
// so that loops which treat several pixels at once reach all their branches.
enum class Style { kFree, kTransparent, kOpaque, kRuns, kPatches, kStyles };

class Command {
 public:
  Command(const char* operation, uint64_t seed, uint32_t number);
  ~Command();
  Command(const Command&) = delete;

  // --- draws ---

  uint64_t Word();
  int32_t Below(int32_t bound);                // 0..bound-1
  int32_t Between(int32_t low, int32_t high);  // both included
  bool OneIn(int32_t n) { return Below(n) == 0; }
  bool Flag() { return Below(2) == 0; }
  double Real(double low, double high);
  template <class T>
  T Pick(std::initializer_list<T> values) {
    return values.begin()[Below(static_cast<int32_t>(values.size()))];
  }
  template <class T>
  T* Sometimes(T* pointer) {  // null in one of 48
    return OneIn(48) ? Note("null ", static_cast<T*>(nullptr)) : pointer;
  }
  // A channel value, one in eight where roundings and limits change.
  template <class Channel>
  Channel AnyChannel();
  template <class Pixel>
  Pixel AnyPixel() {
    const auto a = AnyChannel<VX_ChannelOf<Pixel>>(), r = AnyChannel<VX_ChannelOf<Pixel>>();
    const auto g = AnyChannel<VX_ChannelOf<Pixel>>(), b = AnyChannel<VX_ChannelOf<Pixel>>();
    return {a, r, g, b};
  }
  // 0..full scale, mostly the ends and the middle.
  template <class Channel>
  Channel Opacity();
  // Null, or a rectangle inside, overhanging, outside, empty or upside down.
  const M_Rect* Rect();
  M_Rect RectValue();

  // --- memory ---

  // The depth of this command's worlds.
  int32_t depth;
  uint32_t traits;
  // Rows start at multiples of the sample size even without kAligned, so that a slow twin may use
  // plain pointers. The routine under test gets rows at any address.
  bool aligns_rows = false;
  // Worlds may be large in one of 32 commands. Limits for operations that are slow.
  int32_t max_width = 67, max_height = 12;

  VX_LayerDef* World(Use use) { return World(use, depth); }
  VX_LayerDef* World(Use use, int32_t world_depth);
  VX_LayerDef* World(Use use, int32_t world_depth, int32_t width, int32_t height);
  // One in 24 has another depth than the command.
  VX_LayerDef* Source();
  VX_LayerDef* Destination() { return World(Use::kOutput); }
  int32_t AnyDepth() { return 8 << Below(3); }
  // One world in 48 is one that calls refuse: null, without pixels, or an object of another depth
  // than the three. Or it has an unknown depth code, which counts as 8 bits.
  VX_LayerDef* Hostile(VX_LayerDef* world);
  bool must_be_refused = false;

  // A row of pixels or samples: a world of height 1.
  template <class Pixel>
  Pixel* Row(Use use, int32_t count) {
    constexpr bool is_pixel = !std::is_arithmetic_v<Pixel>;
    using Channel = typename std::conditional_t<is_pixel, Pixel, VX_Pixel8>;
    constexpr size_t unit = sizeof(Pixel);
    constexpr size_t sample = is_pixel ? sizeof(VX_ChannelOf<Channel>) : unit;
    return static_cast<Pixel*>(Memory(use, unit, sample, count, 1, 0));
  }
  // For routines whose argument is a pixel, which is aligned to its type.
  template <class Pixel>
  Pixel* AlignedRow(Use use, int32_t count) {
    const bool before = std::exchange(aligns_rows, true);
    Pixel* const row = Row<Pixel>(use, count);
    aligns_rows = before;
    return row;
  }
  // Memory that is only read, with the given numbers. Unlike rows, it is aligned to their type.
  template <class Number>
  const Number* Input(const std::vector<Number>& numbers) {
    return static_cast<const Number*>(
        InputBytes(numbers.data(), numbers.size(), sizeof(Number), alignof(Number)));
  }
  // Samples in rows `padding` bytes apart.
  void* Memory(Use use, size_t unit, size_t sample, int32_t width, int32_t height, int32_t padding);

  // --- progress ---

  // Null, or a progress record; one in eight stops at some call.
  VX_ProgressInfo* Progress();
  // Returns whether a call of progress stopped the command.
  bool WasStopped() const { return progress_stop_ >= 0 && progress_calls_ > progress_stop_; }
  // Like Progress, but never stops, for calls whose polling is not documented step by step.
  VX_ProgressInfo* FreeProgress();

  // --- result ---

  void Gave(const char* name, int64_t number, bool by_twin = true);
  void GaveBytes(const char* name, const void* bytes, size_t size, size_t unit, bool is_float,
                 bool by_twin = true);
  template <class T>
  void GaveNumbers(const char* name, const T* numbers, size_t count) {
    GaveBytes(name, numbers, count * sizeof(T), sizeof(T), std::is_same_v<T, float>);
  }
  // Records the code and all outputs, and checks that nothing else was written. After a refusal no
  // output may have changed.
  void Finish(VX_Err code, bool keeps_on_refusal);

  const std::vector<Part>& parts() const { return parts_; }
  const std::string& fault() const { return fault_; }  // empty: none
  void Fail(const std::string& what) {
    if (fault_.empty()) fault_ = what;
  }
  const char* operation() const { return operation_; }

  // A description of the random choices of the command, if `logs` is set before it is created.
  static bool logs;
  template <class T>
  T Note(const char* text, T value) {
    if (logs) log_ += text;
    return value;
  }
  void Log(const char* format, ...) __attribute__((format(printf, 2, 3)));
  const std::string& log() const { return log_; }

 private:
  struct Block;
  static VX_Err OnProgress(void* refcon, int32_t step, int32_t final_step);
  void Paint(const Block& block);
  void PaintRow(Style style, size_t sample, int32_t channels, int32_t count, uint8_t* to);
  const void* InputBytes(const void* numbers, size_t count, size_t unit, size_t alignment);

  const char* operation_;
  uint64_t state_;
  std::deque<std::unique_ptr<Block>> blocks_;
  std::deque<VX_LayerDef> worlds_;
  std::deque<std::unique_ptr<VX_World>> objects_;
  std::deque<M_Rect> rects_;
  VX_ProgressInfo progress_{};
  int32_t progress_calls_ = 0, progress_stop_ = -1;
  std::vector<Part> parts_;
  std::string fault_, log_;
};

// The first difference in words; empty: none. Floats may differ by `tolerance`, relative above 1.
std::string Difference(const std::vector<Part>& got, const std::vector<Part>& want,
                       double tolerance, bool by_twin_only);

// Adds the parts to a digest.
void AddToDigest(const std::vector<Part>& parts, uint64_t* digest);

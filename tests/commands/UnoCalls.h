// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Random commands of the calls on one-channel buffers and masks.

#include "RowCalls.h"

// `work.template operator()<Sample>()` with the sample type of a depth.
template <class Work>
auto BySample(int32_t depth, Work work) {
  if (depth == 16) return work.template operator()<uint16_t>();
  if (depth == 32) return work.template operator()<float>();
  return work.template operator()<uint8_t>();
}

// A buffer whose samples are watched memory of the command.
class Buffer {
 public:
  Buffer(Command& c, Use use, int32_t depth, int32_t width, int32_t height)
      : command_(c),
        samples_(c.Memory(use, static_cast<size_t>(depth) / 8, static_cast<size_t>(depth) / 8,
                          width, height, 0)) {
    c.Log("buffer of depth %d, %d x %d\n", depth, width, height);
    VX_UnoBuffer& buffer = *record();
    buffer.magic = c.OneIn(60) ? 0 : VX_UnoBuffer_Magic;
    buffer.width = width;
    buffer.height = height;
    const int32_t missing = c.OneIn(60) ? 1 + c.Below(2) : 0;
    buffer.data = missing == 1 ? nullptr : &samples_;
    if (missing == 2) samples_ = nullptr;
    buffer.depth = depth;
  }
  Buffer(Command& c, Use use, int32_t depth, int32_t most = 24)
      : Buffer(c, use, depth, 1 + c.Below(most), 1 + c.Below(most)) {}
  Buffer(const Buffer&) = delete;
  // For an argument whose samples are used.
  VX_UnoBuffer* get() {
    if (record()->data == nullptr || samples_ == nullptr) command_.must_be_refused = true;
    return record();
  }
  VX_UnoBuffer* record() { return reinterpret_cast<VX_UnoBuffer*>(record_); }

 private:
  Command& command_;
  void* samples_;
  alignas(VX_UnoBuffer) uint8_t record_[sizeof(VX_UnoBuffer)] = {};
};

inline int32_t OtherDepth(Command& c) { return c.OneIn(24) ? c.AnyDepth() : c.depth; }
inline const M_Point* Point(Command& c, M_Point* point) {
  *point = {static_cast<int16_t>(c.Between(-20, 24)), static_cast<int16_t>(c.Between(-20, 24))};
  c.Log("point %d %d\n", point->h, point->v);
  return c.OneIn(4) ? c.Note("point null\n", nullptr) : point;
}
inline const M_Rect* UnoRect(Command& c) {
  c.max_width = c.max_height = 20;
  return c.Rect();
}

// --- one buffer ----------------------------------------------------------------------------------

// `call(command, buffer)`.
using BufferCall = std::function<VX_Err(Command&, VX_UnoBuffer*)>;
inline VX_Err Run(Command& c, const BufferCall& call) {
  Buffer buffer(c, Use::kOutput, c.depth, 40);
  return call(c, c.Sometimes(buffer.get()));
}

// --- several -------------------------------------------------------------------------------------

inline VX_Err Run(Command& c, decltype(&VX_ConvertDeepUnoBuffer) f) {
  Buffer src(c, Use::kInput, c.AnyDepth()), dst(c, Use::kOutput, c.depth);
  return With(f, std::tuple{c.FreeProgress(), src.get(), UnoRect(c),
                            static_cast<int16_t>(c.Below(2)), dst.get()});
}
inline VX_Err Run(Command& c, decltype(&VX_TransferUnoBuffers) f) {
  constexpr int32_t kMost = 80;  // one sum in 255 has a remainder that shows how it is rounded
  Buffer src(c, Use::kInput, OtherDepth(c), kMost), mask(c, Use::kInput, OtherDepth(c), kMost);
  Buffer dst(c, Use::kOutput, c.depth, kMost);
  M_Point point;
  return With(f, std::tuple{c.FreeProgress(), src.get(), c.OneIn(3) ? nullptr : mask.get(),
                            c.Between(-1, 7), c.Flag() ? nullptr : UnoRect(c), Point(c, &point),
                            dst.get()});
}
using AccumulateCall = VX_Err(VX_ProgressInfo*, const VX_UnoBuffer*, int32_t, float, float,
                              const M_Rect*, const M_Point*, VX_UnoBuffer*);
inline VX_Err Run(Command& c, AccumulateCall* f) {
  const bool sums = c.depth == 16 && c.Flag();  // 8-bit samples into 16-bit sums
  Buffer src(c, Use::kInput, sums ? 8 : OtherDepth(c)), dst(c, Use::kOutput, c.depth);
  const auto gain = [&c] {
    return c.OneIn(40) ? c.Pick({-1.0f, 40000.0f, NAN})
                       : c.Pick({1.0f, 1.0f, 0.0f, 0.5f, 1 / 3.0f, 1.75f, 4.0f, 100.0f});
  };
  M_Point point;
  return With(f, std::tuple{c.FreeProgress(), src.get(), c.OneIn(30) ? 3 : c.Below(3), gain(),
                            gain(), UnoRect(c), Point(c, &point), dst.get()});
}

// --- rows ----------------------------------------------------------------------------------------

template <class Channel>
VX_Err Run(Command& c, VX_UnoTransferFunc<Channel> f) {
  const int32_t count = AnyCount(c);
  Channel* const dst = c.Row<Channel>(Use::kOutput, count);
  const Channel* const mask = c.OneIn(3) ? nullptr : c.Row<Channel>(Use::kInput, count);
  return f(count, c.OneIn(3) ? dst : c.Row<Channel>(Use::kInput, count), mask, dst);
}
template <class Channel>
VX_Err Run(Command& c, VX_UnoFadeFunc<Channel> f) {
  const int32_t count = AnyCount(c);
  return With(f, std::tuple{count, c.Opacity<Channel>(), c.Row<Channel>(Use::kOutput, count)});
}
// Samples of a depth, as raw memory.
inline void* Samples(Command& c, Use use, int32_t depth, int32_t count) {
  return c.Memory(use, static_cast<size_t>(depth) / 8, static_cast<size_t>(depth) / 8, count, 1, 0);
}
inline VX_Err Run(Command& c, VX_UnoConvertFunc f) {
  const int32_t from = c.AnyDepth(), count = AnyCount(c);
  return With(f, std::tuple{count, from, Samples(c, Use::kInput, from, count),
                            static_cast<int16_t>(c.Below(2)), c.depth,
                            Samples(c, Use::kOutput, c.depth, count)});
}
inline VX_Err Run(Command& c, VX_UnoAccumulateFunc f) {
  const int32_t from = c.depth == 16 && c.Flag() ? 8 : c.depth, count = AnyCount(c);
  const int32_t one = from == 8 ? 255 : 32768;
  const auto gain = [&] { return c.Pick({one, one, 0, 1, one - 1, one / 3, 2 * one, 1 << 30}); };
  return With(f, std::tuple{count, c.Below(3), from, Samples(c, Use::kInput, from, count), gain(),
                            gain(), c.depth, Samples(c, Use::kOutput, c.depth, count)});
}
template <class Channel>
requires std::is_arithmetic_v<Channel>  // a row of pixels is a stage of blending
    VX_Err Run(Command& c, VX_MergeMask8Func<Channel> f) {
  const int32_t count = AnyCount(c);
  return With(f, std::tuple{count, c.Row<Channel>(Use::kInput, count),
                            c.Row<VX_Pixel8>(Use::kOutput, count)});
}
template <class Pixel>
VX_Err Run(Command& c, VX_MergeMaskFunc<Pixel> f) {
  const int32_t count = AnyCount(c), depth = c.AnyDepth();
  return With(f, std::tuple{count, depth, Samples(c, Use::kInput, depth, count),
                            c.Row<Pixel>(Use::kOutput, count)});
}

// A part of a line with a scratch of the documented size that ends at a page.
template <class Channel>
VX_Err Run(Command& c, VX_BlurScanFunc<Channel> f) {
  const int32_t length = c.OneIn(10) ? 1 + c.Below(300) : 1 + c.Below(67), kind = c.Between(-1, 3);
  const int32_t start = c.Flag() ? 0 : c.Below(length + 1);
  const int32_t end = c.Flag() ? length : c.Between(start, length);
  const VX_Fixed radius = c.Flag()
                              ? c.Pick<VX_Fixed>({-1, 0, 1, 32768, 65536, 98304, 131072, 177602,
                                                  177603, 196608, 2621440, 32767 << 16, INT32_MAX})
                              : c.Below(c.OneIn(5) ? 100 << 16 : 12 << 16);
  c.Log("kind %d, length %d, %d to %d, radius %d\n", kind, length, start, end, radius);
  Channel* const line = c.Row<Channel>(Use::kOutput, length);
  std::vector<Channel> scratch(static_cast<size_t>(VX_UnoScanScratch(length, radius)));
  return f(kind, length, start, end, radius, scratch.data(), line);
}

// --- masks and worlds ----------------------------------------------------------------------------

using MergeCall = VX_Err(VX_ProgressInfo*, int16_t, int16_t, const M_Rect*, const VX_UnoBuffer*,
                         const VX_UnoBuffer*, VX_World*);
inline VX_Err Run(Command& c, MergeCall* f) {
  Buffer buffer(c, Use::kInput, c.AnyDepth()), second(c, Use::kInput, c.AnyDepth());
  const bool bounded = c.Flag();
  return AsObject(c.Destination(), [&](auto& world) {
    return With(f, std::tuple{c.FreeProgress(), static_cast<int16_t>(c.Between(-26, 32)),
                              static_cast<int16_t>(c.Between(-26, 22)), c.Rect(), buffer.get(),
                              bounded ? second.record() : nullptr, static_cast<VX_World*>(&world)});
  });
}

template <class Pixel>
using BlendChannelCall = void(int32_t, VX_ChannelOf<Pixel>, VX_ChannelOf<Pixel>,
                              const VX_ChannelOf<Pixel>*, Pixel*);
template <class Pixel>
VX_Err Run(Command& c, BlendChannelCall<Pixel>* f) {
  using Channel = VX_ChannelOf<Pixel>;
  const int32_t count = AnyCount(c);
  std::apply(f, std::tuple{count, c.Opacity<Channel>(), c.AnyChannel<Channel>(),
                           c.Row<Channel>(Use::kInput, count), c.Row<Pixel>(Use::kOutput, count)});
  return VX_Ok;
}

inline VX_Err Run(Command& c, decltype(&VX_MatteFromWorld) f) {
  VX_LayerDef* const world = c.Source();
  Buffer buffer(c, Use::kOutput, c.depth, world->width, world->height);
  return With(f, std::tuple{c.FreeProgress(), world, c.OneIn(30) ? 9 : c.Below(7), buffer.get()});
}
inline VX_Err Run(Command& c, decltype(&VX_WorldFromMatte) f) {
  VX_LayerDef* const world = c.Destination();
  Buffer buffer(c, Use::kInput, OtherDepth(c), world->width, world->height);
  return With(f, std::tuple{c.FreeProgress(), buffer.get(), world});
}

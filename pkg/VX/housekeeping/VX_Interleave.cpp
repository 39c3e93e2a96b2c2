// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "VX/VX_Interleave.h"

#include <algorithm>
#include <utility>

#include "frame/VXp_Bands.h"
#include "frame/VXp_PixelGroup.h"
#include "frame/VXp_Report.h"
#include "frame/VXp_RowMemory.h"
#include "frame/VXp_Rows.h"

namespace {

using Vector = M_Vector2T<int32_t>;

// Byte distances between rows and between samples of the source or of the destination.
struct Side {
  ptrdiff_t row;
  ptrdiff_t column;

  ptrdiff_t To(const Vector& offset) const { return row * offset.y + column * offset.x; }
};

// Copies samples whose distances are constants, which the compiler vectorises. The rows may
// overlap.
template <class Channel, ptrdiff_t inColumn, ptrdiff_t outColumn>
void CopyRowBy(const char* in, char* out, ptrdiff_t count) {
  for (ptrdiff_t x = 0; x < count; ++x) {
    VXp_Store(out + x * outColumn, VXp_Load<Channel>(in + x * inColumn));
  }
}

// Pixels of four channels have loops of their own.
template <class Channel>
void CopyRow(const char* in, ptrdiff_t in_column, char* out, ptrdiff_t out_column,
             ptrdiff_t count) {
  constexpr ptrdiff_t kSample = sizeof(Channel), kPixel = 4 * kSample;
  if (in_column == kPixel && out_column == kSample) {
    CopyRowBy<Channel, kPixel, kSample>(in, out, count);
  } else if (in_column == kSample && out_column == kPixel) {
    CopyRowBy<Channel, kSample, kPixel>(in, out, count);
  } else {
    for (ptrdiff_t x = 0; x < count; ++x, in += in_column, out += out_column) {
      VXp_Store(out, VXp_Load<Channel>(in));
    }
  }
}

template <class Channel>
VX_Err CopyRows(const char* in, const Side& from, char* out, const Side& to, const Vector& size) {
  const auto memory = [&](const char* first, const Side& side) -> VXp_RowMemory {
    const ptrdiff_t width = (size.x - 1) * side.column + static_cast<ptrdiff_t>(sizeof(Channel));
    return {first, side.row, width, size.y};
  };
  const bool independent = VXp_RowsAreIndependent(memory(out, to), {memory(in, from)});
  const VXp_Bands bands = VXp_PlanBands(size.y, size.x, independent);
  return VXp_ForBands(bands, [&](int32_t, int32_t y) -> VX_Err {
    CopyRow<Channel>(in + y * from.row, from.column, out + y * to.row, to.column, size.x);
    return VX_Ok;
  });
}

template <class Channel>
VX_Err CopySamples(const Channel* src, const Vector& src_offset, const Side& from, Channel* dst,
                   const Vector& dst_offset, const Side& to, const Vector& size) {
  if (size.x < 1 || size.y < 1) return VX_Ok;
  return CopyRows<Channel>(reinterpret_cast<const char*>(src) + from.To(src_offset), from,
                           reinterpret_cast<char*>(dst) + to.To(dst_offset), to, size);
}

// --- four planes ---------------------------------------------------------------------------------

template <class Byte>
using FourRows = Byte* const[4];  // a row of each plane

// Copies the samples from x on, one pixel at a time.
template <class Channel>
void SplitPixels(const char* __restrict from, char* __restrict a, char* __restrict r,
                 char* __restrict g, char* __restrict b, ptrdiff_t x, ptrdiff_t count) {
  constexpr ptrdiff_t kSize = sizeof(Channel);
  for (; x < count; ++x) {
    VXp_Store(a + kSize * x, VXp_Load<Channel>(from + kSize * 4 * x));
    VXp_Store(r + kSize * x, VXp_Load<Channel>(from + kSize * (4 * x + 1)));
    VXp_Store(g + kSize * x, VXp_Load<Channel>(from + kSize * (4 * x + 2)));
    VXp_Store(b + kSize * x, VXp_Load<Channel>(from + kSize * (4 * x + 3)));
  }
}
template <class Channel>
void JoinPixels(const char* __restrict a, const char* __restrict r, const char* __restrict g,
                const char* __restrict b, char* __restrict to, ptrdiff_t x, ptrdiff_t count) {
  constexpr ptrdiff_t kSize = sizeof(Channel);
  for (; x < count; ++x) {
    VXp_Store(to + kSize * 4 * x, VXp_Load<Channel>(a + kSize * x));
    VXp_Store(to + kSize * (4 * x + 1), VXp_Load<Channel>(r + kSize * x));
    VXp_Store(to + kSize * (4 * x + 2), VXp_Load<Channel>(g + kSize * x));
    VXp_Store(to + kSize * (4 * x + 3), VXp_Load<Channel>(b + kSize * x));
  }
}

// 8-bit pixels are processed 16 at a time at all processor levels: this is as fast as memory, and
// wider vectors would have to be shuffled across their sections.
constexpr ptrdiff_t kStep = 16;

// Returns the number of processed pixels.
ptrdiff_t SplitBytes(const char* from, FourRows<char>& to, ptrdiff_t count) {
  ptrdiff_t x = 0;
  for (; x + kStep <= count; x += kStep) {
    VXp_PrefetchAhead<kStep>(reinterpret_cast<const VX_Pixel8*>(from) + x);
    VXp_WordLanes pixels[4];
    for (int32_t i = 0; i < 4; ++i) pixels[i] = VXp_LoadLanes<VXp_WordLanes>(from + 4 * x, i);
    for (int32_t c = 0; c < 4; ++c) {
      const auto channel = [&](int32_t i) {
        return reinterpret_cast<VXp_IntLanes>(pixels[i] >> (8 * c) & 0xFFu);
      };
      const auto low = VXp_PackedHalves(channel(0), channel(1));
      const auto high = VXp_PackedHalves(channel(2), channel(3));
      VXp_StoreLanes(to[c] + x, 0, VXp_PackedBytes(low, high));
    }
  }
  return x;
}

// Interleaves the lanes of the lower or the upper halves of two vectors of 16 bytes.
template <bool kUpper, class Vector, size_t... i>
Vector Interleaved(Vector x, Vector y, std::index_sequence<i...>) {
  constexpr size_t kLanes = sizeof...(i), kFirst = kUpper ? kLanes / 2 : 0;
  return __builtin_shufflevector(x, y, static_cast<int32_t>(kFirst + i / 2 + i % 2 * kLanes)...);
}

ptrdiff_t JoinBytes(FourRows<const char>& from, char* to, ptrdiff_t count) {
  using Bytes = VXp_Lanes<uint8_t, kStep>;
  using Halves = VXp_Lanes<uint16_t, kStep / 2>;
  constexpr std::make_index_sequence<kStep> kBytes;
  constexpr std::make_index_sequence<kStep / 2> kHalves;
  ptrdiff_t x = 0;
  for (; x + kStep <= count; x += kStep) {
    const auto a = VXp_LoadLanes<Bytes>(from[0] + x), r = VXp_LoadLanes<Bytes>(from[1] + x);
    const auto g = VXp_LoadLanes<Bytes>(from[2] + x), b = VXp_LoadLanes<Bytes>(from[3] + x);
    const auto store = [&](Bytes ar, Bytes gb, ptrdiff_t index) {
      const auto first = reinterpret_cast<Halves>(ar), second = reinterpret_cast<Halves>(gb);
      VXp_StoreLanes(to + 4 * x, index, Interleaved<false>(first, second, kHalves));
      VXp_StoreLanes(to + 4 * x, index + 1, Interleaved<true>(first, second, kHalves));
    };
    store(Interleaved<false>(a, r, kBytes), Interleaved<false>(g, b, kBytes), 0);
    store(Interleaved<true>(a, r, kBytes), Interleaved<true>(g, b, kBytes), 2);
  }
  return x;
}

template <class Channel>
void SplitRow(const char* from, FourRows<char>& to, ptrdiff_t count) {
  const ptrdiff_t done = sizeof(Channel) == 1 ? SplitBytes(from, to, count) : 0;
  SplitPixels<Channel>(from, to[0], to[1], to[2], to[3], done, count);
}
template <class Channel>
void JoinRow(FourRows<const char>& from, char* to, ptrdiff_t count) {
  const ptrdiff_t done = sizeof(Channel) == 1 ? JoinBytes(from, to, count) : 0;
  JoinPixels<Channel>(from[0], from[1], from[2], from[3], to, done, count);
}

// Calls row(pixels, planes) with the addresses of row y of the pixels and of each plane, for all
// rows.
template <class Byte, class Pixels, class Channel, class Row>
VX_Err ForFourRows(Pixels* pixels, int32_t rowbytes, Channel* const (&planes)[4],
                   int32_t plane_rowbytes, const Vector& size, Row&& row) {
  if (size.x < 1 || size.y < 1) return VX_Ok;
  const VXp_Bands bands = VXp_PlanBands(size.y, size.x, /*independent=*/true);
  return VXp_ForBands(bands, [&](int32_t, int32_t y) -> VX_Err {
    const auto at = [&](int32_t c) {
      return reinterpret_cast<Byte*>(planes[c]) + ptrdiff_t{y} * plane_rowbytes;
    };
    FourRows<Byte> rows = {at(0), at(1), at(2), at(3)};
    row(pixels + ptrdiff_t{y} * rowbytes, rows);
    return VX_Ok;
  });
}

template <class Channel>
bool AnyNull(const void* pixels, Channel* const (&planes)[4]) {
  return pixels == nullptr || std::find(planes, planes + 4, nullptr) != planes + 4;
}

}  // namespace

template <class Channel>
VX_Err VX_SplitPlanes(const Channel* src, int32_t src_rowbytes, int32_t plane_rowbytes, Vector size,
                      Channel* const (&planes)[4]) {
  if (AnyNull(src, planes)) return VXp_FailVerification("Bad parameter to VX_SplitPlanes()");
  return ForFourRows<char>(
      reinterpret_cast<const char*>(src), src_rowbytes, planes, plane_rowbytes, size,
      [&](const char* from, FourRows<char>& to) { SplitRow<Channel>(from, to, size.x); });
}

template <class Channel>
VX_Err VX_JoinPlanes(const Channel* const (&planes)[4], int32_t plane_rowbytes,
                     int32_t dst_rowbytes, Vector size, Channel* dst) {
  if (AnyNull(dst, planes)) return VXp_FailVerification("Bad parameter to VX_JoinPlanes()");
  return ForFourRows<const char>(
      reinterpret_cast<char*>(dst), dst_rowbytes, planes, plane_rowbytes, size,
      [&](char* to, FourRows<const char>& from) { JoinRow<Channel>(from, to, size.x); });
}

template <class Channel>
VX_Err VX_Deinterleave1(const Channel* src, int32_t src_rowbytes, int32_t dst_rowbytes,
                        int32_t channels, Vector size, Vector src_offset, Vector dst_offset,
                        Channel* dst) {
  if (src == nullptr || dst == nullptr || channels < 1) {
    return VXp_FailVerification("Bad parameter to VX_Deinterleave1()");
  }
  constexpr ptrdiff_t kSample = sizeof(Channel);
  return CopySamples(src, src_offset, {src_rowbytes, kSample * channels}, dst, dst_offset,
                     {dst_rowbytes, kSample}, size);
}

template <class Channel>
VX_Err VX_Interleave1to4(const Channel* src, int32_t src_rowbytes, int32_t dst_rowbytes,
                         int32_t channels, Vector size, Vector src_offset, Vector dst_offset,
                         Channel* dst) {
  if (src == nullptr || dst == nullptr || channels < 1) {
    return VXp_FailVerification("Bad parameter to VX_Interleave1to4()");
  }
  constexpr ptrdiff_t kSample = sizeof(Channel);
  return CopySamples(src, src_offset, {src_rowbytes, kSample}, dst, dst_offset,
                     {dst_rowbytes, kSample * channels}, size);
}

#define VX_INSTANTIATE(Channel)                                                               \
  template VX_API VX_Err VX_SplitPlanes(const Channel*, int32_t, int32_t, Vector,             \
                                        Channel* const(&)[4]);                                \
  template VX_API VX_Err VX_JoinPlanes(const Channel* const(&)[4], int32_t, int32_t, Vector,  \
                                       Channel*);                                             \
  template VX_API VX_Err VX_Deinterleave1(const Channel*, int32_t, int32_t, int32_t, Vector,  \
                                          Vector, Vector, Channel*);                          \
  template VX_API VX_Err VX_Interleave1to4(const Channel*, int32_t, int32_t, int32_t, Vector, \
                                           Vector, Vector, Channel*)

VX_INSTANTIATE(uint8_t);
VX_INSTANTIATE(uint16_t);
VX_INSTANTIATE(float);

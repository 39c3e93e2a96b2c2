// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "VX/VX_Interleave.h"

#include "frame/VXp_Bands.h"
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

}  // namespace

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
  template VX_API VX_Err VX_Deinterleave1(const Channel*, int32_t, int32_t, int32_t, Vector,  \
                                          Vector, Vector, Channel*);                          \
  template VX_API VX_Err VX_Interleave1to4(const Channel*, int32_t, int32_t, int32_t, Vector, \
                                           Vector, Vector, Channel*)

VX_INSTANTIATE(uint8_t);
VX_INSTANTIATE(uint16_t);
VX_INSTANTIATE(float);

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Transfers one buffer to another through a mask buffer.

#include <algorithm>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "filters/uno/VXp_UnoBuffer.h"

namespace {

VX_UnoTransferFunc<uint8_t> TransferRow(VXp_PixelTag<VX_Pixel8>) {
  return VXp_G_OverFuncs.VX_UnoTransferRow;
}
VX_UnoTransferFunc<uint16_t> TransferRow(VXp_PixelTag<VX_Pixel16>) {
  return VXp_G_OverFuncs.VX_UnoTransferRow16;
}
VX_UnoTransferFunc<float> TransferRow(VXp_PixelTag<VX_PixelFloat>) {
  return VXp_G_OverFuncs.VX_UnoTransferRowFloat;
}

template <class Pixel>
class Transfer {
 public:
  using Sample = VX_ChannelOf<Pixel>;

  Transfer(const VX_UnoBuffer& src, const VX_UnoBuffer* mask, int32_t mode,
           const VXp_CopyArea& area, const VX_UnoBuffer& dst)
      : src_(src), mask_(mask), mode_(mode), area_(area), dst_(dst) {}

  // In modes that clear samples outside of the area, every row of the destination is processed.
  VX_Err Run(const VX_ProgressInfo* progress) const {
    const M_LRect whole = VXp_UnoWhole(dst_);
    if (whole.right == 0) return VX_Ok;
    const int32_t first = Clears() ? 0 : area_.dest_y;
    const int32_t rows = Clears() ? whole.bottom : area_.height;
    return VXp_ForBands(VXp_PlanItems(rows, whole.right), progress,
                        [&](int32_t, int32_t i) -> VX_Err { return Row(first + i); });
  }

 private:
  bool Clears() const {
    return mode_ == VX_UnoTransfer_ClearAround || mode_ == VX_UnoTransfer_ClearBeyond;
  }

  void Clear(int32_t y, int32_t from, int32_t to) const {
    const auto bytes = static_cast<size_t>(to - from) * sizeof(Sample);
    std::memset(VXp_UnoAddress<Sample>(dst_, from, y), 0, bytes);
  }

  VX_Err Row(int32_t y) const {
    const int32_t line = y - area_.dest_y;
    if (line < 0 || line >= area_.height) {
      Clear(y, 0, dst_.width);
      return VX_Ok;
    }
    const int32_t left = area_.dest_x, right = left + area_.width;
    if (Clears()) Clear(y, 0, left);
    // If the source ends where the row ends, there is nothing to clear in either mode.
    if (mode_ == VX_UnoTransfer_ClearAround || (Clears() && right < dst_.width)) {
      Clear(y, right, dst_.width);
    }
    const int32_t x = area_.source_x, from = area_.source_y + line;
    return row_(area_.width, VXp_UnoRow<Sample>(src_, x, from),
                mask_ == nullptr ? nullptr : VXp_UnoRow<Sample>(*mask_, x, from),
                VXp_UnoRow<Sample>(dst_, left, y));
  }

  const VX_UnoBuffer& src_;
  const VX_UnoBuffer* mask_;
  int32_t mode_;
  const VXp_CopyArea& area_;
  const VX_UnoBuffer& dst_;
  const VX_UnoTransferFunc<Sample> row_ = TransferRow(VXp_PixelTag<Pixel>{});
};

#ifdef __SSE2__
// Returns d + (s - d) mask / 32768, rounded, for 16-bit words. The step |s - d| mask / 32768 is
// (product + 16383) >> 15, computed from the two halves of the product: twice the upper half, plus
// (lower half + 16383) >> 15. It is subtracted from d if s < d.
__m128i MixedWords(__m128i s, __m128i mask, __m128i d) {
  const __m128i up = _mm_subs_epu16(s, d);
  const __m128i distance = _mm_or_si128(up, _mm_subs_epu16(d, s));
  const __m128i low = _mm_mullo_epi16(distance, mask);
  const __m128i high = _mm_mulhi_epu16(distance, mask);
  const __m128i bits = _mm_srli_epi16(_mm_avg_epu16(low, _mm_set1_epi16(16382)), 14);
  const __m128i step = _mm_add_epi16(_mm_add_epi16(high, high), bits);
  const __m128i downwards = _mm_cmpeq_epi16(up, _mm_setzero_si128());
  return _mm_add_epi16(d, _mm_sub_epi16(_mm_xor_si128(step, downwards), downwards));
}
#endif

}  // namespace

VX_Err VX_TransferUnoBuffers(VX_ProgressInfo* progress, const VX_UnoBuffer* src,
                             const VX_UnoBuffer* mask, int32_t mode, const M_Rect* rect,
                             const M_Point* point, VX_UnoBuffer* dst) {
  VX_Err error = VXp_CheckUno(src);
  if (error == VX_Ok && mask != nullptr) error = VXp_CheckUno(mask);
  if (error == VX_Ok) error = VXp_CheckUno(dst);
  if (error != VX_Ok) return error;
  if (src->depth != dst->depth || (mask != nullptr && mask->depth != dst->depth)) {
    return VXp_FailVerification("transfer needs mask buffers of the same bitdepth");
  }
  const M_LRect bounds = VXp_UnoWhole(mask != nullptr ? *mask : *src);
  const VXp_CopyArea area = VXp_UnoCopyArea(*src, bounds, rect, point, *dst);
  return VXp_WithPixel(dst->depth, kVXp_UnknownDepthText, [&](auto tag) -> VX_Err {
    return Transfer<typename decltype(tag)::Pixel>(*src, mask, mode, area, *dst).Run(progress);
  });
}

// --- rows ----------------------------------------------------------------------------------------

// Computes d + m (s - d) / 255, rounded to nearest. m (s - d) / 255 is never a half, because 255 is
// odd, so both signs round in the same way. The sum is computed as (255 d + m (s - d) + 128) / 255
// without a division: the numerator is not negative and fits 16 bits, and multiplying it by 257 and
// shifting right by 16 divides by 255.
VX_Err VXp_UnoTransferRow8(int32_t count, const uint8_t* src, const uint8_t* mask, uint8_t* dst) {
  if (count <= 0) return VX_Ok;
  if (mask == nullptr) {
    std::memmove(dst, src, static_cast<size_t>(count));
    return VX_Ok;
  }
  for (int32_t i = 0; i < count; ++i) {
    const auto t = static_cast<uint16_t>((src[i] - dst[i]) * mask[i] + dst[i] * 255 + 128);
    dst[i] = static_cast<uint8_t>((uint32_t{t} * 257u) >> 16);
  }
  return VX_Ok;
}

VX_Err VXp_UnoTransferRow16(int32_t count, const uint16_t* src, const uint16_t* mask,
                            uint16_t* dst) {
  if (count <= 0) return VX_Ok;
  if (mask == nullptr) {
    std::memmove(dst, src, static_cast<size_t>(count) * sizeof *dst);
    return VX_Ok;
  }
  int32_t i = 0;
#ifdef __SSE2__
  for (; i <= count - 8; i += 8) {
    VXp_Store(dst + i, MixedWords(VXp_Load<__m128i>(src + i), VXp_Load<__m128i>(mask + i),
                                  VXp_Load<__m128i>(dst + i)));
  }
#endif
  for (; i < count; ++i) {
    const uint32_t s = VXp_Load<uint16_t>(src + i), d = VXp_Load<uint16_t>(dst + i);
    const uint32_t step = (VXp_Load<uint16_t>(mask + i) * (s > d ? s - d : d - s) + 16383u) >> 15;
    VXp_Store(dst + i, static_cast<uint16_t>(s > d ? d + step : d - step));
  }
  return VX_Ok;
}

VX_Err VXp_UnoTransferRowFloat(int32_t count, const float* src, const float* mask, float* dst) {
  const auto mix = [=](auto m) {
    for (int32_t i = 0; i < count; ++i) {
      const auto d = VXp_Load<float>(dst + i);
      VXp_Store(dst + i, d + m(i) * (VXp_Load<float>(src + i) - d));
    }
  };
  if (mask == nullptr) {
    mix([](int32_t) { return 1.0f; });
  } else {
    mix([mask](int32_t i) { return VXp_Load<float>(mask + i); });
  }
  return VX_Ok;
}

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "blend/mask/VXp_MergeMaskRow.h"

#include <algorithm>

#include "frame/VXp_Convert.h"
#include "frame/VXp_Dispatch.h"
#include "frame/VXp_LaneTraits.h"
#include "frame/VXp_Rows.h"

namespace {

// Samples are brought to the pixels' depth some at a time, in a loop of their own; sums of masks
// may lie above full scale, and count as full scale then. Bytes become the lanes that they are
// multiplied in.
constexpr int32_t kBlock = 64;
template <class Pixel>
using Factor = std::conditional_t<sizeof(Pixel) == 4, int32_t, VX_ChannelOf<Pixel>>;

template <class Pixel, class MaskPixel>
void ConvertSamples(int32_t count, const char* samples, Factor<Pixel>* factors) {
  using Sample = VX_ChannelOf<MaskPixel>;
  for (ptrdiff_t i = 0; i < count; ++i) {
    auto sample = VXp_Load<Sample>(samples + i * static_cast<ptrdiff_t>(sizeof(Sample)));
    if constexpr (sizeof(Sample) == 2 && !std::is_same_v<Pixel, MaskPixel>) {
      sample = std::min(sample, uint16_t{32768});
    }
    factors[i] = VXp_ConvertChannel<Pixel, MaskPixel>(sample);
  }
}

// A product with 0 is 0 and one with full scale leaves alpha, so integers need no test for them.
void MergeBlock(int32_t count, const int32_t* factors, char* row) {
  using T = VXp_LaneTraits<VX_Pixel8>;
  const auto merged = [](VXp_IntLanes pixels, VXp_IntLanes mask) {
    return (pixels & ~0xFF) | T::Mul(pixels & 0xFF, mask);
  };
  constexpr ptrdiff_t kPixel = sizeof(VX_Pixel8);
  int32_t i = 0;
  for (; i + kVXp_Lanes <= count; i += kVXp_Lanes) {
    char* const at = row + i * kPixel;
    VXp_Store(at, merged(VXp_Load<VXp_IntLanes>(at), VXp_Load<VXp_IntLanes>(factors + i)));
  }
  if (i == count) return;
  const size_t rest = static_cast<size_t>(count - i) * kPixel;
  VXp_IntLanes pixels{}, mask{};
  std::memcpy(&pixels, row + i * kPixel, rest);
  std::memcpy(&mask, factors + i, rest);
  pixels = merged(pixels, mask);
  std::memcpy(row + i * kPixel, &pixels, rest);
}

void MergeBlock(int32_t count, const uint16_t* factors, char* row) {
  using T = VXp_PixelTraits<VX_Pixel16>;
  for (ptrdiff_t i = 0; i < count; ++i) {
    char* const at = row + i * static_cast<ptrdiff_t>(sizeof(VX_Pixel16));
    VXp_Store(at, static_cast<uint16_t>(T::Mul(factors[i], VXp_Load<uint16_t>(at))));
  }
}

// Alpha that is not finite has no product with 0.
void MergeBlock(int32_t count, const float* factors, char* row) {
  for (ptrdiff_t i = 0; i < count; ++i) {
    char* const at = row + i * static_cast<ptrdiff_t>(sizeof(VX_PixelFloat));
    const float m = factors[i], product = m * VXp_Load<float>(at);
    VXp_Store(at, m == 0.0f ? 0.0f : product);
  }
}

template <class Pixel, class MaskPixel>
[[gnu::flatten]] void MergeRow(int32_t count, const void* mask, Pixel* row) {
  const char* samples = static_cast<const char*>(mask);
  char* pixels = reinterpret_cast<char*>(row);
  Factor<Pixel> factors[kBlock];
  for (int32_t left = count; left > 0; left -= kBlock) {
    const int32_t some = std::min(left, kBlock);
    ConvertSamples<Pixel, MaskPixel>(some, samples, factors);
    MergeBlock(some, factors, pixels);
    samples += kBlock * sizeof(VX_ChannelOf<MaskPixel>);
    pixels += kBlock * sizeof(Pixel);
  }
}

}  // namespace

template <class Pixel>
VX_Err VXp_MergeMaskRowOfDepth(int32_t count, int32_t mask_depth, const void* mask, Pixel* row) {
  return VXp_WithPixel(mask_depth, kVXp_MergeDepthText, [&](auto tag) -> VX_Err {
    MergeRow<Pixel, typename decltype(tag)::Pixel>(count, mask, row);
    return VX_Ok;
  });
}
template VX_Err VXp_MergeMaskRowOfDepth<VX_Pixel16>(int32_t, int32_t, const void*, VX_Pixel16*);
template VX_Err VXp_MergeMaskRowOfDepth<VX_PixelFloat>(int32_t, int32_t, const void*,
                                                       VX_PixelFloat*);

template <>
VX_Err VXp_MergeMaskRow8<uint8_t>(int32_t count, const uint8_t* mask, VX_Pixel8* row) {
  MergeRow<VX_Pixel8, VX_Pixel8>(count, mask, row);
  return VX_Ok;
}
template <>
VX_Err VXp_MergeMaskRow8<uint16_t>(int32_t count, const uint16_t* mask, VX_Pixel8* row) {
  MergeRow<VX_Pixel8, VX_Pixel16>(count, mask, row);
  return VX_Ok;
}
template <>
VX_Err VXp_MergeMaskRow8<float>(int32_t count, const float* mask, VX_Pixel8* row) {
  MergeRow<VX_Pixel8, VX_PixelFloat>(count, mask, row);
  return VX_Ok;
}

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "blend/mask/VXp_MergeMaskRow.h"

#include <algorithm>

#include "frame/VXp_PixelTraits.h"
#include "frame/VXp_Report.h"
#include "frame/VXp_Rows.h"

namespace {

// Unlike the float form, the integer form does not test for weights of 0 and full scale, because
// integer products with both are exact.
void MergeSamples(int32_t count, const char* mask, VX_Pixel8* row) {
  for (ptrdiff_t i = 0; i < count; ++i) {
    const auto pixel = VXp_Load<uint32_t>(row + i);
    // The 8-bit product, computed so that each step fits 16 bits.
    const auto t = static_cast<uint16_t>((pixel & 0xFF) * static_cast<uint8_t>(mask[i]));
    const auto half = static_cast<uint16_t>(t + 128);
    const auto product = static_cast<uint16_t>(static_cast<uint16_t>((half >> 8) + half) >> 8);
    VXp_Store(row + i, (pixel & 0xFFFFFF00u) | product);
  }
}

void MergeSamples(int32_t count, const char* mask, VX_Pixel16* row) {
  using T = VXp_PixelTraits<VX_Pixel16>;
  for (ptrdiff_t i = 0; i < count; ++i) {
    const auto m = VXp_Load<uint16_t>(mask + i * 2);
    VXp_Store(row + i, static_cast<uint16_t>(T::Mul(m, VXp_Load<uint16_t>(row + i))));
  }
}

// A weight of 0 is tested, because the product of 0 with an infinity or NaN would not be 0.
void MergeSamples(int32_t count, const char* mask, VX_PixelFloat* row) {
  for (ptrdiff_t i = 0; i < count; ++i) {
    const auto m = VXp_Load<float>(mask + i * 4);
    const float product = m * VXp_Load<float>(row + i);
    VXp_Store(row + i, m == 0.0f ? 0.0f : product);
  }
}

// Multiplies the alphas of a row by mask samples. Samples of another depth are first converted to
// that of the pixels, in blocks.
template <class Pixel>
[[gnu::flatten]] VX_Err MergeRow(int32_t count, int32_t mask_depth, const void* mask, Pixel* row) {
  constexpr int32_t kDepth = VXp_PixelTraits<Pixel>::kDepth, kBlock = 1024;
  const char* samples = static_cast<const char*>(mask);
  if (mask_depth == kDepth) {
    MergeSamples(count, samples, row);
    return VX_Ok;
  }
  VX_ChannelOf<Pixel> block[kBlock];
  for (int32_t done = 0; done < count; done += kBlock) {
    const int32_t some = std::min(count - done, kBlock);
    const char* const from = samples + ptrdiff_t{done} * (mask_depth / 8);
    const VX_Err error =
        VXp_G_OverFuncs.VX_UnoConvertRow(some, mask_depth, from, /*flag=*/0, kDepth, block);
    if (error != VX_Ok) return error;
    MergeSamples(some, reinterpret_cast<const char*>(block), row + done);
  }
  return VX_Ok;
}

}  // namespace

template <class Pixel>
VX_Err VXp_MergeMaskRow(int32_t count, int32_t mask_depth, const void* mask, Pixel* row) {
  if (mask_depth == 8 || mask_depth == 16 || mask_depth == 32) {
    return MergeRow(count, mask_depth, mask, row);
  }
  return VXp_FailVerification(kVXp_MergeDepthText);
}
template VX_Err VXp_MergeMaskRow<VX_Pixel16>(int32_t, int32_t, const void*, VX_Pixel16*);
template VX_Err VXp_MergeMaskRow<VX_PixelFloat>(int32_t, int32_t, const void*, VX_PixelFloat*);

template <class Sample>
VX_Err VXp_MergeMaskRow8(int32_t count, const Sample* mask, VX_Pixel8* row) {
  return MergeRow(count, sizeof(Sample) * 8, mask, row);
}
template VX_Err VXp_MergeMaskRow8<uint8_t>(int32_t, const uint8_t*, VX_Pixel8*);
template VX_Err VXp_MergeMaskRow8<uint16_t>(int32_t, const uint16_t*, VX_Pixel8*);
template VX_Err VXp_MergeMaskRow8<float>(int32_t, const float*, VX_Pixel8*);

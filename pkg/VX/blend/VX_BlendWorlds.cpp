// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Mixes two worlds into a third: VX_Blend_Straight and VX_Blend_Premul.

#include <algorithm>

#include "VX/VX_OverrideTable.h"
#include "blend/VXp_CompositeRect.h"
#include "blend/modes/VXp_RowModes.h"
#include "frame/VXp_Bands.h"
#include "frame/VXp_Dispatch.h"
#include "frame/VXp_RowMemory.h"
#include "frame/VXp_Rows.h"

namespace {

// Converts a ratio of 0..65536 to the scale of the depth, rounded to nearest.
template <class T>
typename T::Work WeightOf(VX_Fixed ratio) {
  const VX_Fixed clamped = std::clamp(ratio, 0, 65536);
  if constexpr (T::kDepth == 8) return (clamped * 255 + 32768) >> 16;
  if constexpr (T::kDepth == 16) return (clamped + 1) >> 1;
  return static_cast<typename T::Work>(clamped) / 65536;
}

// Mixes rows with colours weighted by alpha. If both weights are 0, copies the pixel of `a`.
template <class Pixel>
struct StraightRow {
  static void Mix(int32_t count, const Pixel* a, const Pixel* b, VX_Fixed ratio, Pixel* dst) {
    using T = VXp_PixelTraits<Pixel>;
    using Piece = VXp_ModeMaskMix<T>;
    const typename T::Work t = WeightOf<T>(ratio);
    for (ptrdiff_t i = 0; i < count; ++i) {
      const auto s = VXp_Argb<T>::Of(VXp_Load<Pixel>(b + i));
      auto d = VXp_Argb<T>::Of(VXp_Load<Pixel>(a + i));
      if (Piece::Mixes(s.alpha, t, d.alpha)) Piece::Mix(s, t, d);
      VXp_Store(dst + i, d.Pixel());
    }
  }
};

// Mixes rows; all four channels have the same formula.
template <class Pixel>
struct PremulRow {
  static void Mix(int32_t count, const Pixel* a, const Pixel* b, VX_Fixed ratio, Pixel* dst) {
    using T = VXp_PixelTraits<Pixel>;
    using Argb = VXp_Argb<T>;
    const typename T::Work t = WeightOf<T>(ratio);
    for (ptrdiff_t i = 0; i < count; ++i) {
      const Argb x = Argb::Of(VXp_Load<Pixel>(a + i));
      const Argb y = Argb::Of(VXp_Load<Pixel>(b + i));
      const Argb mixed{T::Lerp(x.alpha, y.alpha, t), T::Lerp(x.red, y.red, t),
                       T::Lerp(x.green, y.green, t), T::Lerp(x.blue, y.blue, t)};
      VXp_Store(dst + i, mixed.Pixel());
    }
  }
};

template <template <class> class Row, class Pixel>
VX_Err MixRows(VX_ProgressInfo* progress, const VX_WorldX<Pixel>& a, const VX_WorldX<Pixel>& b,
               VX_Fixed ratio, VX_WorldX<Pixel>& dst) {
  const int32_t width = std::min({a.width, b.width, dst.width});
  const int32_t height = std::min({a.height, b.height, dst.height});
  const auto memory = [&](const VX_WorldX<Pixel>& world) {
    return VXp_MemoryOf(world.Row(0), world.rowbytes, width, height);
  };
  const VXp_Bands bands =
      VXp_PlanBands(height, width, VXp_RowsAreIndependent(memory(dst), {memory(a), memory(b)}));
  return VXp_ForBands(bands, progress, [&](int32_t, int32_t y) -> VX_Err {
    Row<Pixel>::Mix(width, a.Row(y), b.Row(y), ratio, dst.Row(y));
    return VX_Ok;
  });
}

template <template <class> class Row>
VX_Err MixWorlds(VX_ProgressInfo* progress, const VX_LayerDef* a, const VX_LayerDef* b,
                 VX_Fixed ratio, VX_LayerDef* dst) {
  for (const VX_LayerDef* world : {a, b, static_cast<const VX_LayerDef*>(dst)}) {
    if (world == nullptr || world->data == nullptr) return VXp_BadParameter(kVXp_NoCheckNumber);
  }
  const int32_t depth = VXp_WorldDepth(a);
  if (depth != VXp_WorldDepth(b) || depth != VXp_WorldDepth(dst)) {
    return VXp_FailVerification("VX_Blend requires all worlds to have same bit depth");
  }
  return VXp_Guarded([&] {
    return VXp_WithWorldsOfDepth(
        depth, kVXp_UnknownDepthText,
        [&](const auto& from, const auto& to, auto& out) {
          return MixRows<Row>(progress, from, to, ratio, out);
        },
        a, b, dst);
  });
}

}  // namespace

VX_Err VXp_Blend_Straight(VX_ProgressInfo* progress, const VX_LayerDef* a, const VX_LayerDef* b,
                          VX_Fixed ratio, VX_LayerDef* dst) {
  return MixWorlds<StraightRow>(progress, a, b, ratio, dst);
}

VX_Err VXp_Blend_Premul(VX_ProgressInfo* progress, const VX_LayerDef* a, const VX_LayerDef* b,
                        VX_Fixed ratio, VX_LayerDef* dst) {
  return MixWorlds<PremulRow>(progress, a, b, ratio, dst);
}

VX_Err VX_Blend_Straight(VX_ProgressInfo* progress, const VX_LayerDef* a, const VX_LayerDef* b,
                         VX_Fixed ratio, VX_LayerDef* dst) {
  return VXp_G_OverFuncs.VX_Blend_Straight(progress, a, b, ratio, dst);
}

VX_Err VX_Blend_Premul(VX_ProgressInfo* progress, const VX_LayerDef* a, const VX_LayerDef* b,
                       VX_Fixed ratio, VX_LayerDef* dst) {
  return VXp_G_OverFuncs.VX_Blend_Premul(progress, a, b, ratio, dst);
}

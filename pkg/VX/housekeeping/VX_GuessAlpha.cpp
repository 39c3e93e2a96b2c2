// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "VX/VX_GuessAlpha.h"

#include <atomic>
#include <type_traits>

#include "frame/VXp_Dispatch.h"
#include "frame/VXp_PixelTraits.h"
#include "frame/VXp_Report.h"
#include "housekeeping/VXp_Area.h"

namespace {

constexpr int32_t kUnableToGuess = 8;

// Tolerance for a composite onto white. Alpha and colour were rounded separately, so their sum may
// be below full scale by one code value, or in float by one step of a half float. Black needs no
// tolerance, because a colour times alpha is never rounded to more than alpha.
template <class Pixel>
constexpr typename VXp_PixelTraits<Pixel>::Work kRounding = 1;
template <>
constexpr float kRounding<VX_PixelFloat> = 0x1p-11f;

template <class Pixel>
void CountRow(const char* row, size_t count, VX_AlphaGuess* found) {
  using T = VXp_PixelTraits<Pixel>;
  using Work = typename T::Work;
  int64_t partial = 0, beyond_black = 0, beyond_white = 0;
  for (size_t x = 0; x < count; ++x) {
    const auto p = VXp_Load<Pixel>(row + x * sizeof(Pixel));
    const Work alpha = p.alpha;
    const Work brightest = T::Max(p.red, T::Max(p.green, p.blue));
    const Work darkest = T::Min(p.red, T::Min(p.green, p.blue));
    const bool counts = (alpha > 0) & (alpha < T::kFull);
    partial += counts;
    beyond_black += counts & (brightest > alpha);
    beyond_white += counts & (darkest < T::kFull - alpha - kRounding<Pixel>);
  }
  // Rows are counted on several threads.
  std::atomic_ref(found->partial) += partial;
  std::atomic_ref(found->beyond_black) += beyond_black;
  std::atomic_ref(found->beyond_white) += beyond_white;
}

int32_t KindOf(const VX_AlphaGuess& found) {
  if (found.beyond_black > 0 && found.beyond_white > 0) return VX_Alpha_Straight;
  if (found.beyond_white > 0) return VX_Alpha_PremulBlack;
  return found.beyond_black > 0 ? VX_Alpha_PremulWhite : 0;
}

}  // namespace

VX_Err VX_GuessAlpha(void*, const VX_LayerDef* world, VX_AlphaGuess* out) {
  if (out == nullptr) return VXp_BadParameter(kVXp_NoCheckNumber);
  *out = {};
  if (world == nullptr || world->data == nullptr) return VXp_BadParameter(kVXp_NoCheckNumber);
  const auto guess = [&]<class Pixel>(const VX_WorldX<Pixel>& typed) -> VX_Err {
    const VX_Err error = VXp_ForRows<Pixel>(
        typed, VXp_WholeArea(typed), typed.width,
        [&](const char* row, size_t count) { CountRow<Pixel>(row, count, out); });
    if (error != VX_Ok) return error;
    out->kind = KindOf(*out);
    if (out->kind != 0) return VX_Ok;
    return VXp_ReportEntry(kVXp_NoCheckNumber, kUnableToGuess, VX_ErrBadParameter);
  };
  return VXp_WithWorlds(world, kVXp_UnknownDepthText, guess, world);
}

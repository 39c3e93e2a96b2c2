// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The box samplers: averages over a footprint, for one position or a row of positions.

#include <cstring>

#include "indep/VXp_BoxRow.h"
#include "indep/VXp_SampleRow.h"

namespace {

template <VXp_BoxAlpha kind, class Pixel, class Total>
void AverageRow(const VX_SampPB& record, const VX_Fixed* x, int32_t count, const VXp_Extent& rows,
                Total area, char* out) {
  const VXp_BoxDivisor<Total> by_area(area);
  const VX_LayerDef& src = *record.src;
  for (int32_t i = 0; i < count; ++i) {
    const VXp_Extent columns(x[i], record.x_radius, src.width);
    VXp_Store(out + ptrdiff_t{i} * static_cast<ptrdiff_t>(sizeof(Pixel)),
              VXp_Covered<kind, Pixel>(src, columns, rows, by_area));
  }
}

template <VXp_BoxAlpha kind, class Pixel>
void SampleRow(const VX_SampPB& record, const VX_Fixed* x, int32_t count, VX_Fixed y, char* out) {
  using Total = typename VXp_BoxTypes<Pixel>::Total;
  const VXp_Extent rows(y, record.y_radius, record.src->height);
  if (rows.count == 0) {
    std::memset(out, 0, static_cast<size_t>(count) * sizeof(Pixel));
    return;
  }
  if (count > 1 && VXp_BoxRow<kind, Pixel>::Serves(record, rows)) {
    VXp_BoxRow<kind, Pixel>(record, rows).Run(x, count, out);
    return;
  }
  const int64_t width = VXp_Extent(0, record.x_radius, 0).length;
  if constexpr (std::is_same_v<Pixel, VX_Pixel8>) {
    if (width < kVXp_NarrowSide && rows.length < kVXp_NarrowSide) {
      const auto area = static_cast<uint64_t>(width * rows.length);
      AverageRow<kind, Pixel>(record, x, count, rows, area, out);
      return;
    }
  }
  const Total area = static_cast<Total>(width) * static_cast<Total>(rows.length);
  AverageRow<kind, Pixel>(record, x, count, rows, area, out);
}

template <VXp_BoxAlpha kind, class Pixel>
VX_Err Sample(VX_Fixed x, VX_Fixed y, const VX_SampPB* record, Pixel* out) {
  SampleRow<kind, Pixel>(*record, &x, 1, y, reinterpret_cast<char*>(out));
  return VX_Ok;
}

}  // namespace

template <class Pixel>
void VXp_StraightBoxRow(const VX_SampPB& record, const VX_Fixed* x, int32_t count, VX_Fixed y,
                        char* out) {
  SampleRow<VXp_BoxAlpha::Straight, Pixel>(record, x, count, y, out);
}
template VXp_SampleRowCall VXp_StraightBoxRow<VX_Pixel8>;
template VXp_SampleRowCall VXp_StraightBoxRow<VX_Pixel16>;
template VXp_SampleRowCall VXp_StraightBoxRow<VX_PixelFloat>;

template <class Pixel>
void VXp_PremulBoxRow(const VX_SampPB& record, const VX_Fixed* x, int32_t count, VX_Fixed y,
                      char* out) {
  SampleRow<VXp_BoxAlpha::Premultiplied, Pixel>(record, x, count, y, out);
}
template VXp_SampleRowCall VXp_PremulBoxRow<VX_Pixel8>;
template VXp_SampleRowCall VXp_PremulBoxRow<VX_Pixel16>;
template VXp_SampleRowCall VXp_PremulBoxRow<VX_PixelFloat>;

VX_Err VX_AreaSample_Straight(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                              VX_Pixel8* out) {
  return Sample<VXp_BoxAlpha::Straight>(x, y, record, out);
}

VX_Err VX_AreaSample_Straight16(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                                VX_Pixel16* out) {
  return Sample<VXp_BoxAlpha::Straight>(x, y, record, out);
}

VX_Err VX_AreaSample_Premul(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                            VX_Pixel8* out) {
  return Sample<VXp_BoxAlpha::Premultiplied>(x, y, record, out);
}

VX_Err VX_AreaSample_Premul16(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                              VX_Pixel16* out) {
  return Sample<VXp_BoxAlpha::Premultiplied>(x, y, record, out);
}

VX_Err VX_AreaSample_PremulFloat(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                                 VX_PixelFloat* out) {
  return Sample<VXp_BoxAlpha::Premultiplied>(x, y, record, out);
}

template <class Pixel>
VX_Err VX_AreaSample_CPlusPlus(VX_ProgressInfo*, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                               Pixel* out) {
  return Sample<VXp_BoxAlpha::Straight>(x, y, record, out);
}
template VX_API VX_SampleCall<VX_Pixel8> VX_AreaSample_CPlusPlus<VX_Pixel8>;
template VX_API VX_SampleCall<VX_Pixel16> VX_AreaSample_CPlusPlus<VX_Pixel16>;
template VX_API VX_SampleCall<VX_PixelFloat> VX_AreaSample_CPlusPlus<VX_PixelFloat>;

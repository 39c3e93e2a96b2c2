// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Adds, subtracts and replaces samples of buffers.

#include <algorithm>
#include <type_traits>

#include "filters/uno/VXp_UnoBuffer.h"

namespace {

// The smallest number of samples for which several threads are faster than one.
constexpr int64_t kWorthThreads = 76800;

// The largest gain for which a sample times its gain, and the sum of two such products, fit 32
// bits.
constexpr float kMostGain = 32767.0f;

constexpr int32_t ScaleOf(int32_t depth) { return depth == 8 ? 255 : 32768; }

bool Pairs(int32_t src_depth, int32_t dst_depth) {
  return src_depth == dst_depth || (src_depth == 8 && dst_depth == 16);
}

// Returns the largest sum: full scale, or 65535 if 8-bit samples are added to 16-bit sums.
template <class Source, class Sum>
constexpr Sum Top() {
  if constexpr (std::is_same_v<Sum, float>) return 1.0f;
  constexpr int32_t kDepth = sizeof(Sum) * 8;
  return static_cast<Sum>(std::is_same_v<Source, Sum> ? ScaleOf(kDepth) : 65535);
}

// Multiplies samples by a gain, rounded to nearest; at scale 32768 halves are rounded down, like in
// the 16-bit product of VXp_PixelTraits.
class Gain {
 public:
  Gain(int32_t gain, int32_t scale) : gain_(gain), half_((scale - 1) / 2), scale_(scale) {}

  // Computes in double, in which all steps except the division are exact. A quotient that is not an
  // integer is at least 1 / scale below the next integer, so the rounding of the division does not
  // change the truncated result.
  uint32_t operator()(uint32_t sample) const {
    const double quotient = (static_cast<int32_t>(sample) * gain_ + half_) / scale_;
    return static_cast<uint32_t>(static_cast<int32_t>(std::min(quotient, 2147483647.0)));
  }

 private:
  double gain_, half_, scale_;
};
struct NoGain {
  uint32_t operator()(uint32_t sample) const { return sample; }
};
struct FloatGain {
  float operator()(float sample) const { return sample * gain; }
  float gain;
};

template <class Source, class Sum, class Number, class ForSource, class ForSum>
VX_Err Combine(int32_t count, int32_t mode, const char* src, ForSource source, ForSum sum,
               char* dst) {
  const auto run = [&](auto combine) {
    constexpr Number kMost = Top<Source, Sum>();
    for (int32_t i = 0; i < count; ++i) {
      char* const to = dst + i * static_cast<ptrdiff_t>(sizeof(Sum));
      const Number s = source(VXp_Load<Source>(src + i * static_cast<ptrdiff_t>(sizeof(Source))));
      const Number result = combine(s, Number{sum(VXp_Load<Sum>(to))});
      VXp_Store(to, static_cast<Sum>(result > kMost ? kMost : result));
    }
    return VX_Ok;
  };
  switch (mode) {
    case VX_UnoAccumulate_Add: return run([](Number s, Number d) { return d + s; });
    case VX_UnoAccumulate_Replace: return run([](Number s, Number) { return s; });
    case VX_UnoAccumulate_Subtract:
      return run([](Number s, Number d) { return d > s ? d - s : Number{}; });
    default: return VXp_FailVerification("no such mode to accumulate mask buffers");
  }
}

struct Row {
  int32_t count, mode;
  const char* src;
  int32_t gain_src, gain_dst;
  char* dst;

  template <class Source, class Sum>
  VX_Err Run() const {
    if constexpr (std::is_same_v<Sum, float>) {
      const auto gain = [](int32_t g) { return FloatGain{static_cast<float>(g) / 32768.0f}; };
      return Combine<Source, Sum, float>(count, mode, src, gain(gain_src), gain(gain_dst), dst);
    } else {
      constexpr int32_t kScale = ScaleOf(sizeof(Source) * 8);
      if (gain_src == kScale && gain_dst == kScale) {
        return Combine<Source, Sum, uint32_t>(count, mode, src, NoGain{}, NoGain{}, dst);
      }
      return Combine<Source, Sum, uint32_t>(count, mode, src, Gain(gain_src, kScale),
                                            Gain(gain_dst, kScale), dst);
    }
  }
};

// Returns the gain at the scale of the depth. Throws VX_ErrBadParameter after a report.
int32_t ScaledGain(float gain, int32_t depth) {
  if (!(gain >= 0.0f && gain <= kMostGain)) {
    VXp_Throw(VXp_FailVerification("gain of mask buffers out of range"));
  }
  return static_cast<int32_t>(double{gain} * ScaleOf(depth) + 0.5);
}

char* AddressOf(const VX_UnoBuffer& buffer, int32_t x, int32_t y) {
  switch (buffer.depth) {
    case 8: return VXp_UnoAddress<uint8_t>(buffer, x, y);
    case 16: return VXp_UnoAddress<uint16_t>(buffer, x, y);
    default: return VXp_UnoAddress<float>(buffer, x, y);
  }
}

void CheckBuffers(const VX_UnoBuffer* src, int32_t mode, const VX_UnoBuffer* dst) {
  VXp_ThrowIf(VXp_CheckUno(src));
  VXp_ThrowIf(VXp_CheckUno(dst));
  for (const int32_t depth : {src->depth, dst->depth}) {
    VXp_ThrowIf(VXp_WithPixel(depth, kVXp_UnknownDepthText, [](auto) -> VX_Err { return VX_Ok; }));
  }
  if (!Pairs(src->depth, dst->depth)) {
    VXp_Throw(VXp_FailVerification("mask buffers of bitdepths that do not accumulate"));
  }
  if (mode < VX_UnoAccumulate_Add || mode > VX_UnoAccumulate_Subtract) {
    VXp_Throw(VXp_FailVerification("no such mode to accumulate mask buffers"));
  }
}

}  // namespace

VX_Err VXp_UnoAccumulateRow(int32_t count, int32_t mode, int32_t src_depth, const void* src,
                            int32_t gain_src, int32_t gain_dst, int32_t dst_depth, void* dst) {
  const Row row{count,    mode,     static_cast<const char*>(src),
                gain_src, gain_dst, static_cast<char*>(dst)};
  if (src_depth == 8 && dst_depth == 16) return row.Run<uint8_t, uint16_t>();
  if (src_depth != dst_depth) {
    return VXp_FailVerification("mask buffers of bitdepths that do not accumulate");
  }
  return VXp_WithPixel(dst_depth, kVXp_UnknownDepthText, [&](auto tag) -> VX_Err {
    using Sample = VX_ChannelOf<typename decltype(tag)::Pixel>;
    return row.Run<Sample, Sample>();
  });
}

VX_Err VX_AccumulateUnoBuffers(VX_ProgressInfo* progress, const VX_UnoBuffer* src, int32_t mode,
                               const M_Rect* rect, const M_Point* point, VX_UnoBuffer* dst) {
  return VX_AccumulateUnoBuffers(progress, src, mode, 1.0f, 1.0f, rect, point, dst);
}

VX_Err VX_AccumulateUnoBuffers(VX_ProgressInfo* progress, const VX_UnoBuffer* src, int32_t mode,
                               float src_gain, float dst_gain, const M_Rect* rect,
                               const M_Point* point, VX_UnoBuffer* dst) {
  return VXp_Guarded([&]() -> VX_Err {
    CheckBuffers(src, mode, dst);
    const int32_t gain_src = ScaledGain(src_gain, src->depth);
    const int32_t gain_dst = ScaledGain(dst_gain, src->depth);
    const VXp_CopyArea area = VXp_UnoCopyArea(*src, VXp_UnoWhole(*src), rect, point, *dst);
    const bool small = int64_t{area.width} * area.height < kWorthThreads;
    const VXp_Bands bands = small ? VXp_PlanBands(area.height, area.width, /*independent=*/false)
                                  : VXp_PlanItems(area.height, area.width);
    const auto accumulate_row = VXp_G_OverFuncs.VX_UnoAccumulateRow;
    return VXp_ForBands(bands, progress, [&](int32_t, int32_t i) -> VX_Err {
      return accumulate_row(area.width, mode, src->depth,
                            AddressOf(*src, area.source_x, area.source_y + i), gain_src, gain_dst,
                            dst->depth, AddressOf(*dst, area.dest_x, area.dest_y + i));
    });
  });
}

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Random commands of the calls on rows, samples and single colours.

#include "WorldCalls.h"

inline int32_t AnyCount(Command& c) { return c.OneIn(3) ? c.Below(6) : c.Below(68); }

// --- blending ------------------------------------------------------------------------------------

// To another row, onto itself, or in place with a null source.
template <class Pixel>
VX_Err Run(Command& c, VX_MatteStage<Pixel> f) {
  const int32_t count = AnyCount(c), kind = c.Below(3);
  Pixel* const dst = c.Row<Pixel>(Use::kOutput, count);
  const Pixel* const src = kind == 0 ? c.Row<Pixel>(Use::kInput, count) : kind == 1 ? dst : nullptr;
  return f(count, src, dst);
}

template <class Pixel>
VX_Err Run(Command& c, VX_AlphaUnionStage<Pixel> f) {
  const int32_t count = AnyCount(c);
  const Pixel* const mask = c.Flag() ? c.Row<Pixel>(Use::kInput, count) : nullptr;
  return With(
      f, std::tuple{count, c.Row<Pixel>(Use::kInput, count), c.Opacity<VX_ChannelOf<Pixel>>(), mask,
                    c.Row<Pixel>(Use::kOutput, count)});
}

template <class Pixel>
VX_BlendingMode<Pixel> BlendingMode(Command& c, int32_t mode) {
  const auto seed = static_cast<int32_t>(c.Word());
  const auto opacity = c.Opacity<VX_ChannelOf<Pixel>>();
  return {mode, seed, opacity, static_cast<uint8_t>(c.OneIn(3) ? 1 : 0)};
}

// A chooser of row loops is compared by the rows that its loop gives. Variants without mask or
// tables get null, so that none of them reads what it may not.
template <class Pixel>
VX_Err Run(Command& c, VX_GetInnerBlendingSlot<Pixel> f) {
  const std::string name = c.operation();
  const int32_t mode = AnyMode(c);
  c.must_be_refused = mode == -4 || mode == -1 || mode == 37;
  // Copies prepare a table for 256 or more pixels.
  const bool is_long = (mode == VX_Xfer_Copy || mode == VX_Xfer_InFront) && c.Flag();
  const int32_t count = is_long ? c.Between(240, 290) : AnyCount(c);
  const bool linear = name.find("Linear") != std::string::npos;
  const bool masked = name.find("Mask") != std::string::npos || mode == VX_Xfer_MaskMix;
  VX_InnerBlendingFunc<Pixel> chosen{};
  const VX_Err error = f(mode, &chosen);
  if ((error == VX_Ok) != (chosen.scan != nullptr)) c.Fail("code and loop do not agree");
  if (error != VX_Ok) return error;
  const VX_BlendingMode<Pixel> record = BlendingMode<Pixel>(c, mode);
  Pixel* const dst = c.Row<Pixel>(Use::kOutput, count);
  const Pixel* const src = c.OneIn(8) ? dst : c.Row<Pixel>(Use::kInput, count);
  const Pixel* const mask = masked ? c.Row<Pixel>(Use::kInput, count) : nullptr;
  const bool has_tables = linear && (count == 0 || !c.OneIn(24));
  return chosen.scan(count, &record, has_tables ? &TablesOf(c.Below(2)) : nullptr, src, mask, dst);
}

// All stages of a row. The twin has the arguments in one call.
template <class Pixel>
using PipelineCall = VX_Err(const VX_BlendingMode<Pixel>&, const VX_LinearBlendingTables*, int32_t,
                            const Pixel*, const Pixel*, VX_ChannelOf<Pixel>*, Pixel*);
template <class Pixel>
VX_Err Run(Command& c, PipelineCall<Pixel>* f) {
  const VX_BlendingMode<Pixel> mode = BlendingMode<Pixel>(c, AnyMode(c));
  const VX_LinearBlendingTables* const tables = Tables(c);
  const int32_t count = AnyCount(c);
  const bool masked = c.Flag() || mode.mode == VX_Xfer_MaskMix;
  std::vector<VX_ChannelOf<Pixel>> scratch(static_cast<size_t>(count));
  const Pixel* const src = c.Row<Pixel>(Use::kInput, count);
  const Pixel* const mask = masked ? c.Row<Pixel>(Use::kInput, count) : nullptr;
  return f(mode, tables, count, src, mask, scratch.data(), c.Row<Pixel>(Use::kOutput, count));
}
template <class Pixel>
VX_Err Pipeline(const VX_BlendingMode<Pixel>& mode, const VX_LinearBlendingTables* tables,
                int32_t count, const Pixel* src, const Pixel* mask, VX_ChannelOf<Pixel>* scratch,
                Pixel* dst) {
  const VX_BlendModeDescriptor<Pixel> descriptor(mode, mask != nullptr, tables);
  if (descriptor.scan == nullptr) return VX_ErrUnsupported;
  return VX_BlendPipeline<Pixel>(nullptr, count, &descriptor, src, mask, scratch, dst);
}

// An entry of the tables of one pixel: 0 to 2 opacities.
template <class Pixel>
using Xfer1Call = void(int32_t mode, int32_t opacities, const Pixel*,
                       const VX_LinearBlendingTables*, const VX_ChannelOf<Pixel>*, Pixel*);
// Sets 16-bit channels of the destination above white where the source is 0.
template <class Pixel>
void AboveWhite(const Pixel& src, Pixel* dst) {
  if constexpr (std::is_same_v<Pixel, VX_Pixel16>) {
    if (src.red == 0) dst->red = static_cast<uint16_t>(dst->red + 32767);
    if (src.green == 0) dst->green = 65535;
  }
}
template <class Pixel>
VX_Err Run(Command& c, Xfer1Call<Pixel>* f) {
  const int32_t mode = c.Below(VX_Xfer1Count), form = c.Below(3);
  c.Log("mode %d, %d opacities\n", mode, form);
  const VX_ChannelOf<Pixel> opacities[2] = {c.Opacity<VX_ChannelOf<Pixel>>(),
                                            c.Opacity<VX_ChannelOf<Pixel>>()};
  const VX_LinearBlendingTables* const tables = Tables(c);
  const Pixel* const src = c.AlignedRow<Pixel>(Use::kInput, 64);
  Pixel* const dst = c.AlignedRow<Pixel>(Use::kOutput, 64);
  const bool above = mode == VX_Xfer_Burn || mode == VX_Xfer_Burn2 || mode == VX_Xfer_VividLight;
  for (int i = 0; i < 64; ++i) {
    if (above) AboveWhite(src[i], dst + i);
    f(mode, form, src + i, tables, opacities, dst + i);
  }
  return VX_Ok;
}

inline VX_Err Run(Command& c, decltype(&VX_PrepTrackMatteUniv) f) {
  const bool deep = c.Flag();
  const int32_t count = c.Between(-2, 40), left = c.Between(-45, 45), available = c.Below(40);
  const auto row = [&](Use use, int32_t length) -> void* {
    return c.Memory(use, deep ? 8 : 4, deep ? 2 : 1, length, 1, 0);
  };
  const void* const mask = row(Use::kInput, available);
  return With(f, std::tuple{count, mask, left, available, c.Between(-1, 5),
                            static_cast<uint8_t>(deep), row(Use::kOutput, count)});
}

// --- samplers ------------------------------------------------------------------------------------

// Routines whose names contain one of these words do not look at the bounds.
inline bool IsClipped(const Command& c) {
  const std::string name = c.operation();
  return name.find("NoClip") == std::string::npos && name.find("Span") == std::string::npos;
}

// With `span` pixels from the position inside, unless clipped.
inline VX_Fixed AnyPosition(Command& c, int32_t size, bool clipped, int32_t span = 2) {
  const int32_t fraction =
      c.Flag() ? c.Pick({0, 0, 1, 32767, 32768, 32769, 65535}) : c.Below(65536);
  if (!clipped) return c.Below(size - span + 1) * 65536 + fraction;
  if (c.OneIn(16)) return c.Flag() ? INT32_MAX - fraction : INT32_MIN + fraction;
  return c.Between(-3, size + 1) * 65536 + fraction;
}

inline VX_SubpixelWeights AnyWeights(Command& c) {
  const double a = c.Below(65536) / 65536.0, b = c.Below(65536) / 65536.0;
  if (!c.OneIn(3)) return {1 - a * b - (a - a * b) - (b - a * b), a - a * b, b - a * b, a * b};
  const double d = c.Below(1000) / 999.0;
  return {(1 - a) * d, (1 - d) * b, a * d, (1 - d) * (1 - b)};
}

// A world to sample, and a few positions in it: `call(record, x, y)`.
template <class Pixel, class Call>
VX_Err Sample(Command& c, int32_t span, bool clipped, Call call) {
  const int32_t least = clipped ? 1 : span;
  VX_LayerDef* const src =
      c.World(Use::kInput, kDepthOf<Pixel>, least + c.Below(20), (clipped ? 1 : 2) + c.Below(5));
  VX_WorldX<Pixel> world(src, true);  // float samplers expect the descriptor of an object
  VX_SampPB record{};
  record.src = &world;
  const auto radius = [&c] {
    return c.Flag() ? c.Pick<VX_Fixed>({-65536, 0, 1, 32767, 32768, 32769, 65536, 98304, INT32_MAX})
                    : c.Below(9 * 65536);
  };
  VX_Err error = VX_Ok;
  for (int i = 0; i < 8; ++i) {
    record.x_radius = radius();
    record.y_radius = radius();
    record.area = static_cast<VX_Fixed>(int64_t{record.x_radius} * record.y_radius >> 14);
    const VX_Fixed x = AnyPosition(c, src->width, clipped, span);
    const VX_Fixed y = AnyPosition(c, src->height, clipped);
    c.Log("position %d %d, radii %d %d\n", x, y, record.x_radius, record.y_radius);
    error |= call(&record, x, y);
  }
  return error;
}

template <class Pixel>
VX_Err Run(Command& c, VX_SampleFunc<Pixel> f) {
  return Sample<Pixel>(c, 2, IsClipped(c), [&](const VX_SampPB* record, VX_Fixed x, VX_Fixed y) {
    return f(nullptr, x, y, record, c.Row<Pixel>(Use::kOutput, 1));
  });
}
template <class Pixel>
VX_Err Run(Command& c, VX_SampleAllInFunc<Pixel> f) {
  return Sample<Pixel>(c, 2, true, [&](const VX_SampPB* record, VX_Fixed x, VX_Fixed y) {
    uint8_t all_in = 0xA5;
    const VX_Err error = f(nullptr, x, y, record, &all_in, c.Row<Pixel>(Use::kOutput, 1));
    c.Gave("all in", all_in);
    return error;
  });
}
template <class Pixel>
VX_Err Run(Command& c, VX_SampleWeightedFunc<Pixel> f) {
  return Sample<Pixel>(c, 2, false, [&](const VX_SampPB* record, VX_Fixed x, VX_Fixed y) {
    const VX_SubpixelWeights weights = AnyWeights(c);
    return f(nullptr, x, y, &weights, record, c.Row<Pixel>(Use::kOutput, 1));
  });
}
template <class Pixel>
using SpanCall = VX_SampleSpanCall<Pixel>;
template <class Pixel, class Sum>
VX_Err Span(Command& c, VX_Err (*f)(VX_ProgressInfo*, int32_t, VX_Fixed, VX_Fixed, const VX_SampPB*,
                                    Sum*, Pixel*)) {
  const int32_t most = c.Pick({1, 4, 17, 67, 600});  // the last one takes several tiles
  return Sample<Pixel>(c, most + 1, false, [&](const VX_SampPB* record, VX_Fixed x, VX_Fixed y) {
    const int32_t count = most - c.Below(2);
    auto sum = static_cast<Sum>(c.Below(100000));
    const VX_Err error = f(nullptr, count, x, y, record, &sum, c.Row<Pixel>(Use::kOutput, count));
    c.GaveNumbers("sum", &sum, 1);
    return error;
  });
}
template <class Pixel>
VX_Err Run(Command& c, VX_SampleSpanFunc<Pixel> f) {
  return Span<Pixel, VX_AlphaSumOf<Pixel>>(c, f);
}

// Four positions, some of them alike.
struct FourPositions {
  VX_Fixed at[8];
  FourPositions(Command& c, const VX_LayerDef& src, VX_Fixed x, VX_Fixed y) {
    for (int i = 0; i < 8; i += 2) {
      const bool same = c.Flag();
      at[i] = same ? x : AnyPosition(c, src.width, false);
      at[i + 1] = same ? y : AnyPosition(c, src.height, false);
    }
  }
};
inline VX_Err Run(Command& c, VX_SampleFourFunc f) {
  return Sample<VX_Pixel8>(c, 2, false, [&](const VX_SampPB* record, VX_Fixed x, VX_Fixed y) {
    const FourPositions positions(c, *record->src, x, y);
    return f(nullptr, positions.at, record, c.Row<VX_Pixel8>(Use::kOutput, 4));
  });
}
inline VX_Err Run(Command& c, VX_SampleFourWeightedFunc f) {
  return Sample<VX_Pixel8>(c, 2, false, [&](const VX_SampPB* record, VX_Fixed x, VX_Fixed y) {
    const FourPositions positions(c, *record->src, x, y);
    const VX_SubpixelWeights weights = AnyWeights(c);
    return f(nullptr, positions.at, &weights, record, c.Row<VX_Pixel8>(Use::kOutput, 4));
  });
}
inline VX_Err Run(Command& c, VX_ComputeWeightFunc f) {
  VX_SubpixelWeights weights{};
  const VX_Err error =
      With(f, std::tuple{static_cast<uint16_t>(AnyPosition(c, 2, false)),
                         static_cast<uint16_t>(AnyPosition(c, 2, false)), &weights});
  c.GaveNumbers("weights", &weights.w00, 4);
  return error;
}

// --- planes --------------------------------------------------------------------------------------

template <class Channel>
using InterleaveCall = VX_Err(const Channel*, int32_t, int32_t, int32_t, M_Vector2T<int32_t>,
                              M_Vector2T<int32_t>, M_Vector2T<int32_t>, Channel*);
template <class Channel>
VX_Err Run(Command& c, InterleaveCall<Channel>* f) {
  const bool inward = std::string(c.operation()).find("Deinterleave") == std::string::npos;
  const int32_t channels = c.Between(1, 5), width = c.Between(1, c.OneIn(4) ? 300 : 20);
  const int32_t height = c.Between(1, 5);
  const int32_t x = c.Below(4), y = c.Below(2), a = c.Below(4), b = c.Below(2);
  const auto unit = static_cast<int32_t>(sizeof(Channel));
  const int32_t pad[2] = {c.Below(3) * unit, c.Below(3) * unit};
  const auto memory = [&](Use use, int32_t count, int32_t rows, int32_t padding) {
    return static_cast<Channel*>(
        c.Memory(use, sizeof(Channel), sizeof(Channel), count, rows, padding));
  };
  const int32_t src_width = (width + x) * (inward ? 1 : channels);
  const int32_t dst_width = (width + a) * (inward ? channels : 1);
  const Channel* const src = memory(Use::kInput, src_width, height + y, pad[0]);
  Channel* const dst = memory(Use::kOutput, dst_width, height + b, pad[1]);
  const int32_t channel = c.Below(channels);
  const int32_t given = c.OneIn(30) ? 0 : channels;
  return With(
      f, std::tuple{c.Sometimes(src + (inward ? 0 : channel)), src_width * unit + pad[0],
                    dst_width * unit + pad[1], given,
                    M_Vector2T<int32_t>{c.OneIn(20) ? 0 : width, height}, M_Vector2T<int32_t>{x, y},
                    M_Vector2T<int32_t>{a, b}, c.Sometimes(dst + (inward ? channel : 0))});
}

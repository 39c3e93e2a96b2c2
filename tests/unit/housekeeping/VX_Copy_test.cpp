// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Copies: values computed by hand, replaced slots, progress, bitmaps, refusals. The random commands
// compare the copies with their slow twins.

#include "VX/VX_Copy.h"

#include <gtest/gtest.h>

#include <memory>

#include "../GuardedWorld.h"
#include "VX/VX_CallbackBlock.h"
#include "VX/VX_OverrideTable.h"

namespace {

using P8 = VX_Pixel8;
using P16 = VX_Pixel16;
using PF = VX_PixelFloat;

constexpr M_Rect Columns(int16_t left, int16_t right) { return {0, left, 1, right}; }

// Replaces a sampler slot by one that counts its calls and forwards them to the built-in one.
// Scales 30 by 30 pixels up or down with both.
template <class Pixel, VX_SampleCall<Pixel> own>
void ExpectSameThrough(int32_t slot, VX_CopyBitsFunc routine, int32_t size) {
  SCOPED_TRACE(slot);
  static int32_t calls;
  calls = 0;
  const GuardedWorld<Pixel> src(30, 30, 3, 1);
  GuardedWorld<Pixel> plain(size, size, 5, 2), forwarded(size, size, 5, 2);
  ASSERT_EQ(routine(nullptr, &src.world, &plain.world, nullptr, nullptr), 0);
  VX_SampleFunc<Pixel> count = [](VX_ProgressInfo* progress, VX_Fixed x, VX_Fixed y,
                                  const VX_SampPB* record, Pixel* out) {
    ++calls;
    return own(progress, x, y, record, out);
  };
  ASSERT_EQ(VX_SetOverrideFunc(slot, reinterpret_cast<void*>(count)), 0);
  EXPECT_EQ(routine(nullptr, &src.world, &forwarded.world, nullptr, nullptr), 0);
  ASSERT_EQ(VX_SetOverrideFunc(slot, reinterpret_cast<void*>(own)), 0);
  EXPECT_EQ(calls, size * size);
  EXPECT_EQ(plain.bytes, forwarded.bytes);
}

}  // namespace

TEST(CopyThroughSlots, ReachesReplacedSamplersForEachPixel) {
  const auto straight = VX_CopyBits_HQ_Straight, premul = VX_CopyBits_HQ_Premul;
  ExpectSameThrough<P8, VX_SubpixelSample_Straight>(3, straight, 40);
  ExpectSameThrough<P8, VX_SubpixelSample_Premul>(4, premul, 40);
  ExpectSameThrough<P8, VX_AreaSample_Straight>(5, straight, 20);
  ExpectSameThrough<P8, VX_AreaSample_Premul>(6, premul, 20);
  ExpectSameThrough<P16, VX_SubpixelSample_Straight16>(64, straight, 40);
  ExpectSameThrough<P16, VX_AreaSample_Straight16>(65, straight, 20);
}

// Once per row; what progress returns ends the call.
TEST(CopyProgress, ResizePollsEachRow) {
  const GuardedWorld<P16> src(5, 3, 0, 1), dst(4, 6, 0, 2);
  for (const int32_t stop_at : {0, 1, 4}) {
    std::pair<int32_t, int32_t> polls{0, stop_at};
    VX_ProgressInfo progress = {};
    progress.progress_refcon = &polls;
    progress.progress_func = [](void* refcon, int32_t, int32_t) -> VX_Err {
      auto& [calls, stop] = *static_cast<std::pair<int32_t, int32_t>*>(refcon);
      return ++calls == stop ? VX_ErrStopped : VX_Ok;
    };
    VX_LayerDef to = dst.world;
    EXPECT_EQ(VX_ResizeWorld(&progress, VX_Quality_High, &src.world, &to),
              stop_at == 0 ? VX_Ok : VX_ErrStopped);
    EXPECT_EQ(polls.first, stop_at == 0 ? 6 : stop_at);
  }
}

// One row of opaque pixels whose red is given; into a row of pixels with red 7.
TEST(CopyValues, ComputedByHand) {
  using Ints = std::vector<int>;
  const M_Rect before = Columns(-1, 2), overhanging = Columns(-10, 10);
  Ints forty(40);
  for (int i = 0; i < 40; ++i) forty[static_cast<size_t>(i)] = i;
  const VX_CopyBitsFunc resize = [](void*, const VX_LayerDef* src, VX_LayerDef* dst, const M_Rect*,
                                    const M_Rect*) {
    return VX_ResizeWorld(nullptr, VX_Quality_High, src, dst);
  };
  const struct {
    VX_CopyBitsFunc routine;
    Ints src;
    const M_Rect *from, *to;
    Ints reds, alphas;
  } cases[] = {
      // Draft takes the whole part of a position. The rectangle skips 10 pixels, 20 of the source.
      {VX_CopyBits_Draft, {10, 20}, nullptr, nullptr, {10, 10, 20}, {255, 255, 255}},
      {VX_CopyBits_Draft, forty, nullptr, &overhanging, {20, 22, 24}, {255, 255, 255}},
      {VX_CopyBits_Draft, {10, 20}, &before, nullptr, {7, 10, 20}, {255, 255, 255}},
      // High quality mixes neighbours; resize repeats the border.
      {VX_CopyBits_HQ_Straight, {0, 100}, nullptr, nullptr, {0, 25, 75, 100}, {191, 255, 255, 191}},
      {VX_CopyBits_HQ_Premul, {0, 100}, nullptr, nullptr, {0, 25, 75, 75}, {191, 255, 255, 191}},
      {resize, {0, 100}, nullptr, nullptr, {0, 25, 75, 100}, {255, 255, 255, 255}},
      // Two and a half pixels to one.
      {VX_CopyBits_HQ_Straight, {10, 20, 30, 40, 50}, nullptr, nullptr, {18, 42}, {255, 255}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    const auto row = [](const Ints& reds) {
      auto world = std::make_unique<GuardedWorld<P8>>(static_cast<int32_t>(reds.size()), 1, 3, 1u);
      for (size_t i = 0; i < reds.size(); ++i) {
        world->Set(static_cast<int32_t>(i), 0, {255, static_cast<uint8_t>(reds[i]), 0, 0});
      }
      return world;
    };
    const auto src = row(c.src), dst = row(Ints(c.reds.size(), 7));
    EXPECT_EQ(c.routine(nullptr, &src->world, &dst->world, c.from, c.to), 0);
    for (size_t i = 0; i < c.reds.size(); ++i) {
      const P8 got = dst->Get(static_cast<int32_t>(i), 0);
      EXPECT_EQ(got.red, c.reds[i]) << i;
      EXPECT_EQ(got.alpha, c.alphas[i]) << i;
    }
  }
}

namespace {

template <class Pixel>
struct Bitmap : GuardedWorld<Pixel> {
  Bitmap(int32_t order, int16_t bits) : GuardedWorld<Pixel>(4, 3, 5, 1) {
    record.base = this->world.data;
    record.rowbytes = this->world.rowbytes;
    record.width = 4;
    record.height = 3;
    record.bits_per_pixel = bits;
    record.channel_order = order;
  }
  BM_World record = {};
  BM_World* master = &record;
};

constexpr char kFlipText[] =
    "Flipping 32/16-bit worlds is not implemented. Source data 8-bit BGRA.";
constexpr char kBitsText[] = "VX_Worlds can only be 128, 64 or 32 bits per pixel";

}  // namespace

TEST(CopyBitmaps, DescriptorsAndRefusals) {
  Reports();
  Bitmap<P16> deep(BM_ORDER_BGRA, 64);
  VX_LayerDef d;
  std::memset(&d, 0xA5, sizeof d);
  EXPECT_EQ(VX_EffectWorldFromBMWorld(&deep.master, &d), 0);
  VX_LayerDef want = deep.world;
  want.bm_world = &deep.master;
  EXPECT_EQ(std::memcmp(&d, &want, sizeof d), 0);

  BM_World** hidden = nullptr;  // a bitmap may hide its address; the host returns it
  ASSERT_EQ(BM_NewWorld(0, 8, {0, 0, 2, 3}, 32, 0, 0, &hidden), 0);
  (*hidden)->base = nullptr;
  EXPECT_EQ(VX_EffectWorldFromBMWorld(hidden, &d), 0);
  EXPECT_NE(d.data, nullptr);
  EXPECT_EQ(d.data, BMp_GetPixBaseAddr(hidden));
  BM_DisposeWorld(hidden);

  Bitmap<P8> flat(BM_ORDER_ARGB, 32), turned(BM_ORDER_BGRA, 32), odd(BM_ORDER_BGRA, 24);
  BM_World* nothing = nullptr;
  d.width = 12;
  EXPECT_EQ(VX_EffectWorldFromBMWorld(&odd.master, &d), 3);
  EXPECT_EQ(VX_WorldCopy(nullptr, &flat.master, &odd.master, nullptr, nullptr), 3);
  EXPECT_EQ(VX_WorldCopy_HQ(nullptr, &odd.master, &flat.master, nullptr, nullptr), 3);
  EXPECT_EQ(Reports(), (ReportList(3, {0x2503E7, kBitsText})));
  EXPECT_EQ(odd.bytes, Bitmap<P8>(0, 24).bytes);
  EXPECT_EQ(VX_WorldCopy(nullptr, &turned.master, &deep.master, nullptr, nullptr), 5);
  EXPECT_EQ(Reports(), (ReportList{{0x250068, kFlipText}}));
  EXPECT_EQ(VX_WorldCopy(nullptr, nullptr, &flat.master, nullptr, nullptr), 3);
  EXPECT_EQ(VX_WorldCopy_HQ_Premul(nullptr, &flat.master, nullptr, nullptr, nullptr), 3);
  EXPECT_EQ(VX_EffectWorldFromBMWorld(&flat.master, nullptr), 3);
  EXPECT_EQ(VX_EffectWorldFromBMWorld(nullptr, &d), 3);
  EXPECT_EQ(VX_EffectWorldFromBMWorld(&nothing, &d), 3);
  EXPECT_EQ(Reports(), (ReportList(5, {0x250030, kBadParameterText})));
  EXPECT_EQ(d.width, 12);
}

TEST(CopyRefusals, ReportAndLeaveTheDestination) {
  constexpr char kMismatch[] = " requires src and dst worlds to have same bit depth";
  constexpr char kDepth[] = "Unknown world bitdepth in##CONDITIONNAME";
  Reports();
  GuardedWorld<P8> src(3, 3, 1, 1), dst(3, 3, 1, 2);
  GuardedWorld<PF> unit(3, 3, 1, 3);
  const auto kept = dst.bytes, kept_unit = unit.bytes;
  OddDepthWorld odd(&src.world), odd_too(&dst.world);
  VX_LayerDef no_src = src.world, no_dst = dst.world;
  no_src.data = no_dst.data = nullptr;
  for (const auto& [routine, name] :
       {std::pair<VX_CopyBitsFunc, std::string>{VX_CopyBits_Draft_Static, ""},
        {VX_CopyBits_HQ_Straight_Static, "VX_CopyBits_HQ_Straight_Static"},
        {VX_CopyBits_HQ_Premul_Static, "VX_CopyBits_HQ_Premul_Static"}}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(routine(nullptr, nullptr, &dst.world, nullptr, nullptr), 3);
    EXPECT_EQ(routine(nullptr, &src.world, nullptr, nullptr, nullptr), 3);
    EXPECT_EQ(routine(nullptr, &no_src, &dst.world, nullptr, nullptr), 3);
    EXPECT_EQ(routine(nullptr, &src.world, &no_dst, nullptr, nullptr), 3);
    EXPECT_EQ(Reports(), (ReportList(4, {0x250030, kBadParameterText})));
    EXPECT_EQ(routine(nullptr, &odd, &odd_too, nullptr, nullptr), 3);
    EXPECT_EQ(Reports(), (ReportList{{0x2503E7, kDepth}}));
    VX_LayerDef* const other = name.empty() ? &odd_too : &unit.world;
    EXPECT_EQ(routine(nullptr, &src.world, other, nullptr, nullptr), 3);
    EXPECT_EQ(Reports(), (ReportList{{0x2503E7, name.empty() ? kDepth : name + kMismatch}}));
  }
  const M_LPoint at = {0, 0};
  const M_Rect all{0, 0, 3, 3};
  VX_WorldX<P8> typed(&dst.world, true);
  EXPECT_EQ(VX_SpecialCasePixelBlit(&odd, at, false, false, {}, {}, all, &typed), 3);
  EXPECT_EQ(Reports(), (ReportList{{0x2503E7, "Unknown world bitdepth in SpecialCasePixelBlit"}}));
  EXPECT_EQ(VX_SpecialCasePixelBlit(nullptr, at, false, false, {}, {}, all, &typed), 3);
  EXPECT_EQ(VX_SpecialCasePixelBlit(&typed, at, false, false, {}, {}, all, nullptr), 3);
  EXPECT_EQ(VX_ResizeWorld(nullptr, VX_Quality_High, &src.world, &unit.world), 3);
  EXPECT_EQ(VX_ResizeWorld(nullptr, VX_Quality_High, nullptr, &unit.world), 3);
  EXPECT_EQ(Reports().size(), 4u);
  EXPECT_EQ(dst.bytes, kept);
  EXPECT_EQ(unit.bytes, kept_unit);
}

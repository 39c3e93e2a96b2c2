// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Copies: replaced slots, bitmaps. The random commands compare the copies with their slow
// twins, and their refusals.

#include "VX/VX_Copy.h"

#include <gtest/gtest.h>

#include "../GuardedWorld.h"
#include "VX/VX_CallbackBlock.h"
#include "VX/VX_OverrideTable.h"

namespace {

using P8 = VX_Pixel8;
using P16 = VX_Pixel16;

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

// A reduced pixel whose area begins exactly at the right end of the source is transparent, whatever
// the last column contains.
TEST(CopyReduced, AreasOutsideAreTransparent) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  GuardedWorld<VX_PixelFloat> src(8, 4, 3, 1), dst(9, 4, 5, 2);
  for (int32_t y = 0; y < 4; ++y) {
    for (int32_t x = 0; x < 8; ++x) src.Set(x, y, {x == 7 ? kInfinity : 1.0f, 1.0f, 1.0f, 1.0f});
  }
  const M_Rect columns{0, 0, 4, 12};
  for (const auto copy : {VX_CopyBits_HQ_Straight, VX_CopyBits_HQ_Premul}) {
    ASSERT_EQ(copy(nullptr, &src.world, &dst.world, &columns, nullptr), 0);
    const VX_PixelFloat outside = dst.Get(6, 1), none{};
    EXPECT_EQ(std::memcmp(&outside, &none, sizeof none), 0);
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

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Copies: values computed by hand, bitmaps, replaced slots, refusals. The random commands of
// tests/commands compare the copies with their slow twins.

#include "VX/VX_Copy.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "../../reference/RefCopy.h"
#include "../BornEnvironment.h"
#include "../EdgeWorld.h"
#include "../GuardedWorld.h"
#include "VX/VX_CallbackBlock.h"
#include "VX/VX_OverrideTable.h"

namespace {

using P8 = VX_Pixel8;
using P16 = VX_Pixel16;
using PF = VX_PixelFloat;

M_Rect RectOf(int left, int top, int right, int bottom) {
  M_Rect r;
  r.left = static_cast<int16_t>(left);
  r.top = static_cast<int16_t>(top);
  r.right = static_cast<int16_t>(right);
  r.bottom = static_cast<int16_t>(bottom);
  return r;
}

template <class Pixel>
Pixel AnyPixel(std::mt19937& random) {
  Pixel p = GuardedWorld<Pixel>::RandomPixel(random);
  if constexpr (sizeof(Pixel) == 16) p.alpha = std::abs(p.alpha);
  return p;
}

// A replaced sampler that counts its calls and forwards them to the built-in one.
template <class Pixel, VX_SampleCall<Pixel> own>
struct Forwarding {
  static inline int32_t calls;

  explicit Forwarding(int32_t slot) : slot_(slot) {
    calls = 0;
    VX_SetOverrideFunc(slot, reinterpret_cast<void*>(&Sample));
  }
  ~Forwarding() { VX_SetOverrideFunc(slot_, reinterpret_cast<void*>(own)); }
  static VX_Err Sample(VX_ProgressInfo* progress, VX_Fixed x, VX_Fixed y, const VX_SampPB* record,
                       Pixel* out) {
    ++calls;
    return own(progress, x, y, record, out);
  }

 private:
  int32_t slot_;
};

// Up by a third and down to two thirds.
template <class Pixel, VX_SampleCall<Pixel> own>
void ExpectSameThrough(int32_t slot, VX_CopyBitsFunc routine, bool reduces) {
  SCOPED_TRACE(slot);
  const int32_t to = reduces ? 20 : 40;
  EdgeWorld<Pixel> src(30, 30, 3, true, 1), plain(to, to, 5, true, 2),
      forwarded(to, to, 5, true, 2);
  src.Paint([random = std::mt19937(3)]() mutable { return AnyPixel<Pixel>(random); });
  ASSERT_EQ(routine(nullptr, &src.world, &plain.world, nullptr, nullptr), 0);
  const Forwarding<Pixel, own> other(slot);
  ASSERT_EQ(routine(nullptr, &src.world, &forwarded.world, nullptr, nullptr), 0);
  EXPECT_EQ(other.calls, to * to);
  EXPECT_TRUE(plain.SameBytes(forwarded));
}

}  // namespace

TEST(CopyThroughSlots, ReachesReplacedSamplersForEachPixel) {
  const auto straight = VX_CopyBits_HQ_Straight, premul = VX_CopyBits_HQ_Premul;
  ExpectSameThrough<P8, VX_SubpixelSample_Straight>(3, straight, false);
  ExpectSameThrough<P8, VX_SubpixelSample_Premul>(4, premul, false);
  ExpectSameThrough<P8, VX_AreaSample_Straight>(5, straight, true);
  ExpectSameThrough<P8, VX_AreaSample_Premul>(6, premul, true);
  ExpectSameThrough<P16, VX_SubpixelSample_Straight16>(64, straight, false);
  ExpectSameThrough<P16, VX_AreaSample_Straight16>(65, straight, true);
}

// Once a row; what progress returns ends the call.
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

// --- values worked out by hand -------------------------------------------------------------------

namespace {

// One row of opaque pixels whose red is given.
struct Row {
  EdgeWorld<P8> edge;
  explicit Row(const std::vector<int>& reds) : edge(static_cast<int>(reds.size()), 1, 3, true, 1) {
    size_t i = 0;
    edge.Paint([&] { return P8{255, static_cast<uint8_t>(reds[i++]), 0, 0}; });
  }
  std::vector<int> Reds() const {
    std::vector<int> reds;
    for (int x = 0; x < edge.world.width; ++x) reds.push_back(edge.Get(x, 0).red);
    return reds;
  }
  std::vector<int> Alphas() const {
    std::vector<int> alphas;
    for (int x = 0; x < edge.world.width; ++x) alphas.push_back(edge.Get(x, 0).alpha);
    return alphas;
  }
};
using Ints = std::vector<int>;

}  // namespace

TEST(CopyValues, DraftTakesTheWholePart) {
  Row two({10, 20}), three({0, 0, 0});
  VX_CopyBits_Draft(nullptr, &two.edge.world, &three.edge.world, nullptr, nullptr);
  EXPECT_EQ(three.Reds(), (Ints{10, 10, 20}));

  Ints counted(40);
  for (int i = 0; i < 40; ++i) counted[static_cast<size_t>(i)] = i;
  Row forty(counted), narrow({0, 0, 0});
  const M_Rect overhanging = RectOf(-10, 0, 10, 1);  // skips twice the ten
  VX_CopyBits_Draft(nullptr, &forty.edge.world, &narrow.edge.world, nullptr, &overhanging);
  EXPECT_EQ(narrow.Reds(), (Ints{20, 22, 24}));

  const M_Rect before = RectOf(-1, 0, 2, 1);  // nothing lies at -1: the first is left as it was
  Row kept({7, 7, 7});
  VX_CopyBits_Draft(nullptr, &two.edge.world, &kept.edge.world, &before, nullptr);
  EXPECT_EQ(kept.Reds(), (Ints{7, 10, 20}));
}

TEST(CopyValues, HighMixesWhatLiesAroundAndResizeHoldsTheBorder) {
  Row two({0, 100}), four({9, 9, 9, 9});
  VX_CopyBits_HQ_Straight(nullptr, &two.edge.world, &four.edge.world, nullptr, nullptr);
  EXPECT_EQ(four.Reds(), (Ints{0, 25, 75, 100}));
  EXPECT_EQ(four.Alphas(), (Ints{191, 255, 255, 191}));
  VX_ResizeWorld(nullptr, VX_Quality_High, &two.edge.world, &four.edge.world);
  EXPECT_EQ(four.Reds(), (Ints{0, 25, 75, 100}));
  EXPECT_EQ(four.Alphas(), (Ints{255, 255, 255, 255}));
  VX_CopyBits_HQ_Premul(nullptr, &two.edge.world, &four.edge.world, nullptr, nullptr);
  EXPECT_EQ(four.Reds(), (Ints{0, 25, 75, 75}));

  Row five({10, 20, 30, 40, 50}), reduced({9, 9});  // two and a half pixels to one
  VX_CopyBits_HQ_Straight(nullptr, &five.edge.world, &reduced.edge.world, nullptr, nullptr);
  EXPECT_EQ(reduced.Reds(), (Ints{18, 42}));
  EXPECT_EQ(reduced.Alphas(), (Ints{255, 255}));
}

// --- bitmaps -------------------------------------------------------------------------------------

namespace {

template <class Pixel>
struct Bitmap {
  EdgeWorld<Pixel> edge;
  BM_World record = {};
  BM_World* master = &record;

  Bitmap(int32_t width, int32_t height, int32_t order, uint32_t seed)
      : edge(width, height, 5, true, seed) {
    record.base = edge.world.data;
    record.rowbytes = edge.world.rowbytes;
    record.width = width;
    record.height = height;
    record.bits_per_pixel = static_cast<int16_t>(8 * sizeof(Pixel));
    record.channel_order = order;
    edge.Paint([random = std::mt19937(seed)]() mutable { return AnyPixel<Pixel>(random); });
  }
  BM_World** Handle() { return &master; }
};

constexpr char kFlipText[] =
    "Flipping 32/16-bit worlds is not implemented. Source data 8-bit BGRA.";
constexpr char kBitsText[] = "VX_Worlds can only be 128, 64 or 32 bits per pixel";

}  // namespace

// Copies between bitmaps of two depths, in all channel orders.
template <class From, class To>
void CheckOrders() {
  Reports();
  for (int orders = 0; orders < 4; ++orders) {
    SCOPED_TRACE(testing::Message() << "orders " << orders);
    Bitmap<From> src(4, 3, orders & 1, 1);
    Bitmap<To> dst(6, 5, orders >> 1, 2), want(6, 5, orders >> 1, 2);
    const M_Rect to = RectOf(1, 1, 5, 4);
    vxref::CopyDraft<From, To>(src.edge.world, want.edge.world, nullptr, &to);
    EXPECT_EQ(VX_WorldCopy_Static(nullptr, src.Handle(), dst.Handle(), nullptr, &to), 0);
    EXPECT_TRUE(dst.edge.SameBytes(want.edge));
    EXPECT_EQ(Reports(), ReportList{});

    // Only bitmaps of 32 bits tell an order.
    const int src_order = sizeof(From) == 4 ? orders & 1 : 0;
    const int dst_order = sizeof(To) == 4 ? orders >> 1 : 0;
    const bool differ = src_order != dst_order;
    if constexpr (sizeof(To) == 4) {
      for (int i = 0; differ && i < 30; ++i) {
        const P8 p = want.edge.Get(i % 6, i / 6);
        want.edge.Set(i % 6, i / 6, {p.blue, p.green, p.red, p.alpha});
      }
    }
    const bool refused = differ && sizeof(To) != 4;
    EXPECT_EQ(VX_WorldCopy(nullptr, src.Handle(), dst.Handle(), nullptr, &to), refused ? 5 : 0);
    EXPECT_TRUE(dst.edge.SameBytes(want.edge));
    EXPECT_EQ(Reports(), refused ? (ReportList{{0x250068, kFlipText}}) : ReportList{});
  }
}

TEST(CopyBitmaps, Orders) {
  CheckOrders<P8, P8>();
  CheckOrders<P16, P8>();
  CheckOrders<P8, PF>();
}

TEST(CopyBitmaps, Descriptors) {
  Reports();
  Bitmap<P16> deep(4, 3, 1, 1);
  VX_LayerDef d;
  std::memset(&d, 0xA5, sizeof d);
  EXPECT_EQ(VX_EffectWorldFromBMWorld(deep.Handle(), &d), 0);
  VX_LayerDef want = deep.edge.world;
  want.bm_world = deep.Handle();
  EXPECT_EQ(std::memcmp(&d, &want, sizeof d), 0);

  BM_World** hidden = nullptr;  // a bitmap may hide its address; the host returns it
  ASSERT_EQ(BM_NewWorld(0, 8, {0, 0, 2, 3}, 32, 0, 0, &hidden), 0);
  (*hidden)->base = nullptr;
  EXPECT_EQ(VX_EffectWorldFromBMWorld(hidden, &d), 0);
  EXPECT_NE(d.data, nullptr);
  EXPECT_EQ(d.data, BMp_GetPixBaseAddr(hidden));
  BM_DisposeWorld(hidden);

  Bitmap<P8> flat(2, 2, 0, 1), odd(2, 2, 1, 2), kept(2, 2, 1, 2);
  BM_World* nothing = nullptr;
  d.width = 12;
  odd.record.bits_per_pixel = 24;
  EXPECT_EQ(VX_EffectWorldFromBMWorld(odd.Handle(), &d), 3);
  EXPECT_EQ(VX_WorldCopy(nullptr, flat.Handle(), odd.Handle(), nullptr, nullptr), 3);
  EXPECT_EQ(VX_WorldCopy_HQ(nullptr, odd.Handle(), flat.Handle(), nullptr, nullptr), 3);
  EXPECT_EQ(Reports(), (ReportList(3, {0x2503E7, kBitsText})));
  EXPECT_TRUE(odd.edge.SameBytes(kept.edge));
  EXPECT_EQ(VX_WorldCopy(nullptr, nullptr, flat.Handle(), nullptr, nullptr), 3);
  EXPECT_EQ(VX_WorldCopy_HQ_Premul(nullptr, flat.Handle(), nullptr, nullptr, nullptr), 3);
  EXPECT_EQ(VX_EffectWorldFromBMWorld(flat.Handle(), nullptr), 3);
  EXPECT_EQ(VX_EffectWorldFromBMWorld(nullptr, &d), 3);
  EXPECT_EQ(VX_EffectWorldFromBMWorld(&nothing, &d), 3);
  EXPECT_EQ(Reports(), (ReportList(5, {0x250030, kBadParameterText})));
  EXPECT_EQ(d.width, 12);
}

// --- refusals ------------------------------------------------------------------------------------

TEST(CopyRefusals, ReportAndLeaveTheDestination) {
  constexpr char kMismatch[] = " requires src and dst worlds to have same bit depth";
  constexpr char kDepth[] = "Unknown world bitdepth in##CONDITIONNAME";
  Reports();
  GuardedWorld<P8> src(3, 3, 1, 1), dst(3, 3, 1, 2);
  GuardedWorld<PF> unit(3, 3, 1, 3);
  const auto kept = dst.bytes, kept_unit = unit.bytes;
  OddDepthWorld odd(&src.world), odd_too(&dst.world);
  const std::pair<VX_CopyBitsFunc, const char*> routines[] = {
      {VX_CopyBits_Draft_Static, nullptr},
      {VX_CopyBits_HQ_Straight_Static, "VX_CopyBits_HQ_Straight_Static"},
      {VX_CopyBits_HQ_Premul_Static, "VX_CopyBits_HQ_Premul_Static"}};
  for (const auto& [routine, name] : routines) {
    SCOPED_TRACE(name == nullptr ? "draft" : name);
    VX_LayerDef no_src = src.world, no_dst = dst.world;
    no_src.data = no_dst.data = nullptr;
    EXPECT_EQ(routine(nullptr, nullptr, &dst.world, nullptr, nullptr), 3);
    EXPECT_EQ(routine(nullptr, &src.world, nullptr, nullptr, nullptr), 3);
    EXPECT_EQ(routine(nullptr, &no_src, &dst.world, nullptr, nullptr), 3);
    EXPECT_EQ(routine(nullptr, &src.world, &no_dst, nullptr, nullptr), 3);
    EXPECT_EQ(Reports(), (ReportList(4, {0x250030, kBadParameterText})));
    EXPECT_EQ(routine(nullptr, &odd, &odd_too, nullptr, nullptr), 3);
    EXPECT_EQ(Reports(), (ReportList{{0x2503E7, kDepth}}));
    if (name == nullptr) {
      EXPECT_EQ(routine(nullptr, &src.world, &odd_too, nullptr, nullptr), 3);
      EXPECT_EQ(Reports(), (ReportList{{0x2503E7, kDepth}}));
    } else {
      EXPECT_EQ(routine(nullptr, &src.world, &unit.world, nullptr, nullptr), 3);
      EXPECT_EQ(Reports(), (ReportList{{0x2503E7, std::string(name) + kMismatch}}));
    }
  }
  const M_LPoint at = {0, 0};
  const M_Rect all = RectOf(0, 0, 3, 3);
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

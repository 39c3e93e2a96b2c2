// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Every sampler against its slow twin, bit for bit, in worlds that end where memory ends.

#include <gtest/gtest.h>

#include <algorithm>
#include <cfenv>
#include <cmath>
#include <limits>
#include <utility>

#include "../../reference/RefSample.h"
#include "../EdgeWorld.h"
#include "../PixelTestKit.h"
#include "VX/VX_OverrideTable.h"

namespace {

// --- worlds and positions ------------------------------------------------------------------------

enum Content { Any, EqualPixels, EqualAlphas, Transparent, TinyAlphas, Halves, Wild, ContentCount };

template <class Pixel>
VX_ChannelOf<Pixel> TinyAlpha(Operands<Pixel>* o) {
  if constexpr (kDepth<Pixel> == 32) {
    return static_cast<float>(o->Between(-2, 2)) * 1e-38f;
  } else {
    return static_cast<VX_ChannelOf<Pixel>>(o->Below(3));
  }
}

// Not a number, infinite, and near the ends; integers have no such values.
template <class Pixel>
VX_ChannelOf<Pixel> WildChannel(Operands<Pixel>* o) {
  if constexpr (kDepth<Pixel> == 32) {
    using Limits = std::numeric_limits<float>;
    const float values[] = {Limits::quiet_NaN(),
                            Limits::infinity(),
                            -Limits::infinity(),
                            3e38f,
                            -3e38f,
                            Limits::denorm_min(),
                            -1.0f,
                            0.0f};
    if (o->Below(3) == 0) return values[o->Below(8)];
  }
  return o->Any();
}

template <class Pixel>
struct Scene {
  using Position = std::pair<VX_Fixed, VX_Fixed>;

  Operands<Pixel> operands;
  EdgeWorld<Pixel> source;
  VX_SampPB record = {};
  // Anywhere at all; with all four neighbours inside; on a pixel without a fraction.
  std::vector<Position> anywhere, inside, on_pixel;

  explicit Scene(uint32_t round)
      : operands(round),
        source(round < 4         ? 1 + static_cast<int>(round % 2)
               : round % 30 == 4 ? operands.Between(300, 600)  // spans of several tiles
                                 : operands.Between(1, 9),
               round < 4 ? 1 + static_cast<int>(round / 2) : operands.Between(1, 7),
               operands.Below(10), round % 3 != 0, round) {
    record.src = &source.world;
    record.x_radius = record.y_radius = 98304;
    Fill(static_cast<Content>(operands.Below(ContentCount)));
    const int32_t width = source.world.width, height = source.world.height;
    for (VX_Fixed x : Corners(width)) {
      for (VX_Fixed y : Corners(height)) Add(x, y);
    }
    for (int i = 0; i < 200; ++i) Add(AnyPosition(width), AnyPosition(height));
  }

  void Fill(Content content) {
    Operands<Pixel>* const o = &operands;
    const Pixel one = o->AnyPixel();
    int32_t next = 0;
    source.Paint([&] {
      const int32_t column = next % source.world.width, row = next++ / source.world.width;
      // Flat parts with something else in between: both sides of the shortcuts.
      if (content == EqualPixels && o->Below(8) != 0) return one;
      Pixel p = {o->Any(), o->Any(), o->Any(), o->Any()};
      if (content == Wild) {
        p = {WildChannel(o), WildChannel(o), WildChannel(o), WildChannel(o)};
      }
      if (content == EqualAlphas && o->Below(8) != 0) p.alpha = one.alpha;
      if (content == Transparent && o->Below(8) != 0) p.alpha = 0;
      if (content == TinyAlphas) p.alpha = TinyAlpha(o);
      if (source.world.width > 9 && column < 290) p.alpha = one.alpha;
      if (content == Halves) {  // between two columns of equal weight, where roundings show
        const auto half = static_cast<VX_ChannelOf<Pixel>>(kFull<Pixel> / 2);
        p.alpha = static_cast<VX_ChannelOf<Pixel>>(half / (row % 3 + 1));
        p.red = static_cast<VX_ChannelOf<Pixel>>(half + column % 2);
        p.green = static_cast<VX_ChannelOf<Pixel>>(1 + column % 2);
      }
      return p;
    });
  }

  static std::vector<VX_Fixed> Corners(int32_t size) {
    std::vector<VX_Fixed> positions = {INT32_MIN, INT32_MIN + 1, -65537, INT32_MAX - 32767,
                                       INT32_MAX};
    for (int32_t whole : {-1, 0, 1, size - 2, size - 1, size}) {
      for (int32_t rest : {-1, 0, 1, 32767, 32768, 65535}) {
        positions.push_back(whole * 65536 + rest);
      }
    }
    std::sort(positions.begin(), positions.end());
    positions.erase(std::unique(positions.begin(), positions.end()), positions.end());
    return positions;
  }
  VX_Fixed AnyPosition(int32_t size) {
    const VX_Fixed position = operands.Between(-65536, size * 65536);
    return operands.Below(4) == 0 ? position & ~0x7FFF : position;
  }
  void Add(VX_Fixed x, VX_Fixed y) {
    const int32_t ix = x >> 16, iy = y >> 16;
    const int32_t width = source.world.width, height = source.world.height;
    anywhere.emplace_back(x, y);
    if (ix < 0 || iy < 0 || ix >= width || iy >= height) return;
    if (ix + 1 < width && iy + 1 < height) inside.emplace_back(x, y);
    if (x % 65536 == 0 && y % 65536 == 0) on_pixel.emplace_back(x, y);
  }
  VX_SubpixelWeights AnyWeights() {
    const auto rest = [this] { return static_cast<uint16_t>(operands.Word()); };
    VX_SubpixelWeights w;
    vxref::ComputeWeight(rest(), rest(), &w);
    if (operands.Below(2) == 0) {  // not of any position, and no floats
      const double a = operands.Below(2) ? 0.5 : operands.Between(1, 998) / 999.0;
      const double b = operands.Between(1, 998) / 999.0;
      w = {(1 - a) * (1 - b), a * (1 - b), (1 - a) * b, a * b};
    }
    return w;
  }
};

constexpr uint32_t kRounds = 150;

// Whether `got`, written over what stood there before, is the pixel that is wanted.
template <class Pixel>
testing::AssertionResult Same(const Pixel& want, const Pixel& got, VX_Fixed x, VX_Fixed y,
                              const Scene<Pixel>& scene) {
  if (SamePixel(want, got)) return testing::AssertionSuccess();
  testing::AssertionResult failure = testing::AssertionFailure();
  failure << "at " << x << ", " << y << " of " << scene.source.world.width << " x "
          << scene.source.world.height << " is " << Text(got) << ", not " << Text(want);
  for (int i = 0; i < 4; ++i) {
    failure << " "
            << Text(
                   vxref::PixelAt<Pixel>(scene.source.world, (x >> 16) + i % 2, (y >> 16) + i / 2));
  }
  return failure;
}

// --- the members ---------------------------------------------------------------------------------

enum Reach { Clipped, Unclipped, UnclippedShort };  // the last reads one pixel on whole positions

template <class Pixel>
struct One {
  const char* name;
  VX_SampleFunc<Pixel> routine, twin;
  Reach reach;
  bool any_mode = false;
};
template <class Function>
struct Form {
  Function routine, twin;
  bool any_mode = false;  // rounds to nearest, whatever the rounding mode of the thread is
};

template <class Pixel>
struct Members;
template <>
struct Members<VX_Pixel8> {
  using P = VX_Pixel8;
  static inline const std::vector<One<P>> one = {
      {"nearest", VX_NNSample, vxref::Nearest<P>, Clipped},
      {"straight", VX_SubpixelSample_Straight, vxref::Scalar<P>, Clipped, true},
      {"premultiplied", VX_SubpixelSample_Premul, vxref::Premultiplied<P>, Clipped},
      {"portable", VX_SubpixelCPlusPlus, vxref::Portable<P>, Clipped},
      {"unclipped", VX_SubpixelSampleNoClip_Straight, vxref::Scalar<P>, UnclippedShort, true},
      {"single precision", VX_SubpixelSampleNoClip_Straight_SSE2, vxref::SinglePrecision,
       UnclippedShort},
      {"portable unclipped", VX_SubpixelCPlusPlusNoClip, vxref::Portable<P>, Unclipped}};
  static inline const std::vector<Form<VX_SampleAllInFunc<P>>> all_in = {
      {VX_SubpixelSamplePlus_Straight, vxref::ScalarAllIn<P>, true}};
  static inline const std::vector<Form<VX_SampleWeightedFunc<P>>> weighted = {
      {VX_SubpixelSampleTranslateNoClip_Straight, vxref::ScalarWeighted<P>, true}};
  static inline const std::vector<Form<VX_SampleSpanFunc<P>>> span = {
      {VX_SubpixelSpanSampleTranslateNoClip_Straight, vxref::ScalarSpan<P>, true},
      {VX_SubpixelSpanSampleCPlusPlus, vxref::PortableSpan<P>}};
  static inline const std::vector<Form<VX_SampleFunc<P>>> box = {
      {VX_AreaSample_Straight, vxref::BoxStraight<P>},
      {VX_AreaSample_CPlusPlus<P>, vxref::BoxStraight<P>},
      {VX_AreaSample_Premul, vxref::BoxPremultiplied<P>}};
};
template <>
struct Members<VX_Pixel16> {
  using P = VX_Pixel16;
  static inline const std::vector<One<P>> one = {
      {"nearest", VX_NNSample16, vxref::Nearest<P>, Clipped},
      {"straight", VX_SubpixelSample_Straight16, vxref::Scalar<P>, Clipped, true},
      {"premultiplied", VX_SubpixelSample_Premul16, vxref::Premultiplied<P>, Clipped},
      {"portable", VX_SubpixelCPlusPlus16, vxref::Portable<P>, Clipped},
      {"unclipped", VX_SubpixelSampleNoClip_Straight16, vxref::Scalar<P>, UnclippedShort, true},
      {"portable unclipped", VX_SubpixelCPlusPlusNoClip16, vxref::Portable<P>, Unclipped}};
  static inline const std::vector<Form<VX_SampleAllInFunc<P>>> all_in = {
      {VX_SubpixelSamplePlus_Straight16, vxref::ScalarAllIn<P>, true}};
  static inline const std::vector<Form<VX_SampleWeightedFunc<P>>> weighted = {
      {VX_SubpixelSampleTranslateNoClip_Straight16, vxref::ScalarWeighted<P>, true}};
  static inline const std::vector<Form<VX_SampleSpanFunc<P>>> span = {
      {VX_SubpixelSpanSampleTranslateNoClip_Straight16, vxref::ScalarSpan<P>, true},
      {VX_SubpixelSpanSampleCPlusPlus16, vxref::PortableSpan<P>}};
  static inline const std::vector<Form<VX_SampleFunc<P>>> box = {
      {VX_AreaSample_Straight16, vxref::BoxStraight<P>},
      {VX_AreaSample_CPlusPlus<P>, vxref::BoxStraight<P>},
      {VX_AreaSample_Premul16, vxref::BoxPremultiplied<P>}};
};
template <>
struct Members<VX_PixelFloat> {
  using P = VX_PixelFloat;
  static inline const std::vector<One<P>> one = {
      {"nearest", VX_NNSampleFloat, vxref::Nearest<P>, Clipped},
      {"premultiplied", VX_SubpixelSample_PremulFloat, vxref::Premultiplied<P>, Clipped},
      {"portable", VX_SubpixelCPlusPlusFloat, vxref::Portable<P>, Clipped},
      {"portable unclipped", VX_SubpixelCPlusPlusNoClipFloat, vxref::Portable<P>, Unclipped}};
  static inline const std::vector<Form<VX_SampleAllInFunc<P>>> all_in = {
      {VX_SubpixelSpanSampleAllInCPlusPlusFloat, vxref::PortableAllIn}};
  static inline const std::vector<Form<VX_SampleWeightedFunc<P>>> weighted = {
      {VX_SubpixelSampleTranslateNoClipCPlusPlusFloat, vxref::PortableWeighted}};
  static inline const std::vector<Form<VX_SampleSpanFunc<P>>> span = {
      {VX_SubpixelSpanSampleCPlusPlusFloat, vxref::PortableSpan<P>}};
  static inline const std::vector<Form<VX_SampleFunc<P>>> box = {
      {VX_AreaSample_CPlusPlus<P>, vxref::BoxStraight<P>},
      {VX_AreaSample_PremulFloat, vxref::BoxPremultiplied<P>}};
};

// Calls a member in one of four rounding modes if it works in any mode. The mode must stay.
template <class Member, class... Arguments>
VX_Err Call(const Member& member, uint32_t round, Arguments... arguments) {
  constexpr int kModes[] = {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO};
  const int mode = member.any_mode ? kModes[round % 4] : FE_TONEAREST;
  std::fesetround(mode);
  const VX_Err error = member.routine(nullptr, arguments...);
  const int left = std::fegetround();
  std::fesetround(FE_TONEAREST);
  EXPECT_EQ(left, mode);
  return error;
}

// Returns the routine in the slot of the unclipped sampler. The host's processor record decides its
// rule.
const One<VX_Pixel8> SlotOfUnclipped() {
  const bool single = U_G_CPU_DataP[U_CPU_HAS_SSE2] != 0;
  return {"slot", VXp_G_OverFuncs.VX_SubpixelSampleNoClip_Straight,
          single ? vxref::SinglePrecision : vxref::Scalar<VX_Pixel8>, UnclippedShort};
}

template <class Pixel>
class Samplers : public testing::Test {};
TYPED_TEST_SUITE(Samplers, PixelTypes, DepthNames);

}  // namespace

TYPED_TEST(Samplers, OnePixel) {
  using Pixel = TypeParam;
  std::vector<One<Pixel>> members = Members<Pixel>::one;
  if constexpr (kDepth<Pixel> == 8) members.push_back(SlotOfUnclipped());
  for (uint32_t round = 0; round < kRounds; ++round) {
    const Scene<Pixel> scene(round);
    for (const One<Pixel>& member : members) {
      SCOPED_TRACE(testing::Message() << member.name << ", round " << round);
      auto positions = member.reach == Clipped ? scene.anywhere : scene.inside;
      if (member.reach == UnclippedShort) {
        positions.insert(positions.end(), scene.on_pixel.begin(), scene.on_pixel.end());
      }
      for (const auto& [x, y] : positions) {
        Pixel want, got = {1, 1, 1, 1};
        member.twin(nullptr, x, y, &scene.record, &want);
        ASSERT_EQ(Call(member, round, x, y, &scene.record, &got), 0);
        ASSERT_TRUE(Same(want, got, x, y, scene));
      }
    }
  }
}

TYPED_TEST(Samplers, AllIn) {
  using Pixel = TypeParam;
  for (uint32_t round = 0; round < kRounds; ++round) {
    const Scene<Pixel> scene(round);
    for (const auto& member : Members<Pixel>::all_in) {
      for (const auto& [x, y] : scene.anywhere) {
        Pixel want, got = {1, 1, 1, 1};
        uint8_t want_in = 7, got_in = 7;
        member.twin(nullptr, x, y, &scene.record, &want_in, &want);
        ASSERT_EQ(Call(member, round, x, y, &scene.record, &got_in, &got), 0);
        ASSERT_TRUE(Same(want, got, x, y, scene)) << "round " << round;
        ASSERT_EQ(got_in, want_in) << x << ", " << y;
      }
    }
  }
}

TYPED_TEST(Samplers, GivenWeights) {
  using Pixel = TypeParam;
  for (uint32_t round = 0; round < kRounds; ++round) {
    Scene<Pixel> scene(round);
    for (const auto& member : Members<Pixel>::weighted) {
      for (const auto& [x, y] : scene.inside) {
        const VX_SubpixelWeights w = scene.AnyWeights();
        Pixel want, got = {1, 1, 1, 1};
        member.twin(nullptr, x, y, &w, &scene.record, &want);
        ASSERT_EQ(Call(member, round, x, y, &w, &scene.record, &got), 0);
        ASSERT_TRUE(Same(want, got, x, y, scene))
            << w.w00 << ", " << w.w10 << ", " << w.w01 << ", " << w.w11 << ", round " << round;
      }
    }
  }
}

TYPED_TEST(Samplers, Span) {
  using Pixel = TypeParam;
  for (uint32_t round = 0; round < kRounds; ++round) {
    Scene<Pixel> scene(round);
    for (const auto& member : Members<Pixel>::span) {
      for (const auto& [x, y] : scene.inside) {
        const int32_t count = scene.operands.Below(scene.source.world.width - (x >> 16));
        const Pixel before = scene.operands.AnyPixel();
        std::vector<Pixel> want(static_cast<size_t>(count) + 1, before), got = want;
        VX_AlphaSumOf<Pixel> want_sum = 77, got_sum = 77;
        member.twin(nullptr, count, x, y, &scene.record, &want_sum, want.data());
        ASSERT_EQ(Call(member, round, count, x, y, &scene.record, &got_sum, got.data()), 0);
        const int differs = FirstDifference(want, got);
        ASSERT_EQ(differs, -1) << "of " << count << " at " << x << ", " << y << ", round " << round
                               << Text(got[static_cast<size_t>(differs)]);
        ASSERT_TRUE(want_sum == got_sum || (want_sum != want_sum && got_sum != got_sum))
            << got_sum << ", not " << want_sum;
      }
    }
  }
}

// A box over part of a world, all of it, and far more. Integers are exact but where the exact value
// is so near to a half that sums in double may fall on either side; floats are exact to the last
// place, so their alphas do not cancel here.
TYPED_TEST(Samplers, Box) {
  using Pixel = TypeParam;
  for (uint32_t round = 0; round < kRounds; ++round) {
    Scene<Pixel> scene(round);
    if constexpr (kDepth<Pixel> == 32) {
      scene.source.Paint([&] {
        const auto channel = [&] { return std::abs(scene.operands.Any()); };
        return Pixel{channel(), channel(), channel(), channel()};
      });
    }
    const auto radius = [&]() -> VX_Fixed {
      const VX_Fixed corners[] = {INT32_MIN, -1, 0, 32767, 32768, 32769, 65536, 98304, INT32_MAX};
      const int pick = scene.operands.Below(12);
      return pick < 9 ? corners[pick] : scene.operands.Below(7 * 65536);
    };
    for (const auto& member : Members<Pixel>::box) {
      for (size_t i = round % 5; i < scene.anywhere.size(); i += 5) {
        const auto [x, y] = scene.anywhere[i];
        scene.record.x_radius = radius();
        scene.record.y_radius = radius();
        scene.record.area = scene.operands.Between(0, 1000);
        Pixel want, got = {1, 1, 1, 1};
        member.twin(nullptr, x, y, &scene.record, &want);
        ASSERT_EQ(Call(member, round, x, y, &scene.record, &got), 0);
        if constexpr (kDepth<Pixel> == 32) {
          const auto near = [](float a, float b) {
            return std::abs(a - b) <= std::numeric_limits<float>::epsilon() * std::abs(b);
          };
          if (near(got.alpha, want.alpha) && near(got.red, want.red) &&
              near(got.green, want.green) && near(got.blue, want.blue)) {
            continue;
          }
        }
        ASSERT_TRUE(Same(want, got, x, y, scene)) << "radii " << scene.record.x_radius << ", "
                                                  << scene.record.y_radius << ", round " << round;
      }
    }
  }
}

TEST(Samplers8, FourAtOnce) {
  for (uint32_t round = 0; round < kRounds; ++round) {
    Scene<VX_Pixel8> scene(round);
    const auto& inside = scene.inside;
    for (size_t i = 0; i < inside.size(); ++i) {
      VX_Fixed positions[8];
      for (size_t lane = 0; lane < 4; ++lane) {
        const auto& [x, y] = inside[lane == 0 ? i : scene.operands.Word() % inside.size()];
        positions[2 * lane] = x;
        positions[2 * lane + 1] = y;
      }
      const VX_SubpixelWeights w = scene.AnyWeights();
      std::vector<VX_Pixel8> want(5, {1, 2, 3, 4}), got = want;
      vxref::Four(nullptr, positions, &scene.record, want.data());
      for (const auto four : {VX_SubpixelSampleNoClip_Straight_4,
                              VXp_G_OverFuncs.VX_SubpixelSampleNoClip_Straight_4}) {
        ASSERT_EQ(four(nullptr, positions, &scene.record, got.data()), 0);
        ASSERT_EQ(FirstDifference(want, got), -1) << "round " << round << ", position " << i;
      }
      vxref::FourWeighted(nullptr, positions, &w, &scene.record, want.data());
      for (const auto four : {VX_SubpixelSampleTranslateNoClip_Straight_4,
                              VXp_G_OverFuncs.VX_SubpixelSampleTranslateNoClip_Straight_4}) {
        ASSERT_EQ(four(nullptr, positions, &w, &scene.record, got.data()), 0);
        ASSERT_EQ(FirstDifference(want, got), -1) << "round " << round << ", position " << i;
      }
    }
  }
}

TEST(Samplers8, Weights) {
  for (uint32_t i = 0; i < 1u << 18; ++i) {
    const uint32_t word = i * 2654435761u;
    VX_SubpixelWeights want, got;
    vxref::ComputeWeight(static_cast<uint16_t>(word), static_cast<uint16_t>(word >> 16), &want);
    ASSERT_EQ(VX_SubpixelSampleComputeWeight(static_cast<uint16_t>(word),
                                             static_cast<uint16_t>(word >> 16), &got),
              0);
    ASSERT_EQ(std::memcmp(&want, &got, sizeof got), 0) << word;
  }
}

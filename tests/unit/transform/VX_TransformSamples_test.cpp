// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// What a transform shows at each pixel: the samplers called one by one at positions counted here.

#include <cmath>

#include "TransformTestKit.h"

namespace {

using Position = std::pair<int64_t, int64_t>;

int64_t Fixed(double v) { return static_cast<int64_t>(v < 0 ? v * 65536 - 0.5 : v * 65536 + 0.5); }

// The position under destination pixel (x, y), counted from (0, 0).
Position PositionAt(const M_Matrix3& to_destination, int32_t x, int32_t y) {
  const M_Matrix3 back = Inverse(to_destination);
  double p[3][2];
  back.TransformPointAndDivide(0, 0, &p[0][0], &p[0][1]);
  back.TransformPointAndDivide(1, 0, &p[1][0], &p[1][1]);
  back.TransformPointAndDivide(0, 1, &p[2][0], &p[2][1]);
  const auto axis = [&](int a) {
    return Fixed(p[0][a]) + x * Fixed(p[1][a] - p[0][a]) + y * Fixed(p[2][a] - p[0][a]);
  };
  return {axis(0), axis(1)};
}

VX_SampPB RecordOf(VX_LayerDef* src, const M_Matrix3& m) {
  VX_SampPB record{};
  record.src = src;
  record.x_radius = static_cast<VX_Fixed>(Fixed(std::min(0.5 / std::hypot(m.m[0], m.m[1]), 127.0)));
  record.y_radius = static_cast<VX_Fixed>(Fixed(std::min(0.5 / std::hypot(m.m[3], m.m[4]), 127.0)));
  return record;
}

template <class Pixel>
struct Samplers;
template <>
struct Samplers<VX_Pixel8> {
  static constexpr VX_SampleFunc<VX_Pixel8> of[] = {VX_NNSample, VX_SubpixelSample_Straight,
                                                    VX_AreaSample_Straight};
};
template <>
struct Samplers<VX_Pixel16> {
  static constexpr VX_SampleFunc<VX_Pixel16> of[] = {VX_NNSample16, VX_SubpixelSample_Straight16,
                                                     VX_AreaSample_Straight16};
};
template <>
struct Samplers<VX_PixelFloat> {
  static constexpr VX_SampleFunc<VX_PixelFloat> of[] = {VX_NNSampleFloat, VX_SubpixelCPlusPlusFloat,
                                                        VX_AreaSample_CPlusPlus<VX_PixelFloat>};
};

template <class Pixel>
Pixel Sample(int32_t quality, const VX_SampPB& record, const Position& at) {
  Pixel pixel{};
  if (at.first != static_cast<VX_Fixed>(at.first) ||
      at.second != static_cast<VX_Fixed>(at.second)) {
    return pixel;
  }
  const bool box = record.x_radius > 32768 || record.y_radius > 32768;
  const int which = quality == 0 ? 0 : box ? 2 : 1;
  Samplers<Pixel>::of[which](nullptr, static_cast<VX_Fixed>(at.first),
                             static_cast<VX_Fixed>(at.second), &record, &pixel);
  return pixel;
}

template <class Pixel>
Pixel Average(const std::vector<Pixel>& samples) {
  using Number = std::conditional_t<kDepth<Pixel> == 32, double, uint64_t>;
  const auto n = static_cast<Number>(samples.size());
  Number a = 0, sums[3] = {};
  for (const Pixel& p : samples) {
    if (p.alpha == 0) continue;
    a += p.alpha;
    sums[0] += Number{p.alpha} * p.red;
    sums[1] += Number{p.alpha} * p.green;
    sums[2] += Number{p.alpha} * p.blue;
  }
  if (a == 0) return {};
  using Channel = VX_ChannelOf<Pixel>;
  const auto color = [&](Number sum) -> Channel {
    if constexpr (kDepth<Pixel> == 32) return static_cast<float>(sum / a);
    // All opaque: the mean to the nearest, of which full scale is taken to the nearest again.
    if (a == n * kFull<Pixel>) {
      const Number mean = (2 * sum + n) / (2 * n), full = kFull<Pixel>;
      return static_cast<Channel>((2 * mean + full) / (2 * full));
    }
    return static_cast<Channel>(sum / a);
  };
  return {static_cast<Channel>(a / n), color(sums[0]), color(sums[1]), color(sums[2])};
}

// The picture that mode Scale leaves where all of the destination lies in the drawing's area.
template <class Pixel>
Picture<Pixel> Expected(int32_t quality, bool bends, Picture<Pixel> src,
                        const std::vector<M_Matrix3>& way, const Picture<Pixel>& like) {
  Picture<Pixel> out(like.world.width, like.world.height);
  const auto count = static_cast<int64_t>(way.size());
  for (int32_t y = 0; y < out.world.height; ++y) {
    for (int32_t x = 0; x < out.world.width; ++x) {
      std::vector<Pixel> samples;
      const Position from = PositionAt(way.front(), x, y), to = PositionAt(way.back(), x, y);
      const int64_t n = count == 1 ? 1 : count == 2 ? (quality == 0 ? 8 : 16) : count - 1;
      for (int64_t i = 0; i < n; ++i) {
        const M_Matrix3& m = bends ? way[static_cast<size_t>(i)] : way.front();
        const Position straight{from.first + i * ((to.first - from.first) / n),
                                from.second + i * ((to.second - from.second) / n)};
        samples.push_back(Sample<Pixel>(quality, RecordOf(&src.world, m),
                                        bends ? PositionAt(m, x, y) : straight));
      }
      out.At(x, y) = count == 1 ? samples[0] : Average(samples);
    }
  }
  return out;
}

// Integers to the bit. Sums of floats may differ in their last places.
template <class Pixel>
void ExpectNear(const Picture<Pixel>& want, const Picture<Pixel>& got, const std::string& what) {
  for (size_t i = 0; i < want.pixels.size(); ++i) {
    const Pixel &a = want.pixels[i], &b = got.pixels[i];
    if constexpr (kDepth<Pixel> == 32) {
      const auto near = [](float p, float q) {
        return std::abs(p - q) <= 1e-4f * std::max(1.0f, std::abs(p));
      };
      ASSERT_TRUE(near(a.alpha, b.alpha) && near(a.red, b.red) && near(a.green, b.green) &&
                  near(a.blue, b.blue))
          << what << " at " << i << ": " << Text(b) << ", not " << Text(a);
    } else {
      ASSERT_TRUE(SamePixel(a, b)) << what << " at " << i << ": " << Text(b) << ", not " << Text(a);
    }
  }
}

// The unclipped 8-bit sampler of the machine's level rounds in another way than the clipped one.
struct OneRule {
  VX_SampleFunc<VX_Pixel8> before = VXp_G_OverFuncs.VX_SubpixelSampleNoClip_Straight;
  OneRule() { VXp_G_OverFuncs.VX_SubpixelSampleNoClip_Straight = VX_SubpixelSampleNoClip_Straight; }
  ~OneRule() { VXp_G_OverFuncs.VX_SubpixelSampleNoClip_Straight = before; }
};

template <class Pixel>
class TransformSamples : public testing::Test {};
TYPED_TEST_SUITE(TransformSamples, PixelTypes, DepthNames);

// A way of a kind over a destination whose corners stick out of the source but not of its bounds.
std::vector<M_Matrix3> AnyWay(Operands<VX_Pixel8>* o, int kind, int32_t count) {
  const auto real = [o](double most) { return (o->Below(2001) - 1000) * (most / 1000); };
  VX_TransformParts from{
      .anchor_x = 19.5, .anchor_y = 15.5, .translate_x = -7.5, .translate_y = -5.5};
  from.rotation = 40 + real(12);
  if (kind == 1) from.rotation = 45 * o->Below(8) + real(1e-3);
  if (kind == 2) from.scale_x = from.scale_y = 1.4 + real(0.5);
  if (kind == 3) from.scale_x = -0.9, from.scale_y = 1.1, from.skew_x = real(0.3);
  VX_TransformParts to = from;
  to.translate_x += real(4);
  to.translate_y += real(4);
  if (kind == 2) to.scale_x = to.scale_y = from.scale_x * (1 + real(0.1));
  if (kind >= 4) to.rotation += real(20);
  return Between(from, to, count);
}

TYPED_TEST(TransformSamples, AreThoseOfTheSamplers) {
  using Pixel = TypeParam;
  const OneRule rule;
  Operands<VX_Pixel8> o(11);
  for (uint32_t round = 0; round < 240; ++round) {
    const int kind = static_cast<int>(round % 6);
    const int32_t quality = round / 6 % 2 == 0 ? 1 : 0;
    const int32_t count = std::vector<int32_t>{1, 1, 2, 3, 9}[o.Word() % 5];
    auto src = RandomPicture<Pixel>(40, 32, round);
    for (Pixel& p : src.pixels) {  // sums that do not cancel
      if (p.alpha < kFull<Pixel> / 16) p.alpha = 0;
    }
    Picture<Pixel> dst(25, 21);
    auto way = AnyWay(&o, kind, count);
    const bool bends = quality == 1 && count > 2 && kind >= 4;
    const auto want = Expected(quality, bends, src, way, dst);
    Manner manner{.mode = ModeOf(VX_Xfer_Scale), .quality = quality};
    if (round % 3 == 0) {
      manner.src2dst = 0;
      for (M_Matrix3& m : way) m = Inverse(m);
    }
    ASSERT_EQ(Draw(manner, src, way, &dst), VX_Ok);
    ExpectNear(want, dst,
               "round " + std::to_string(round) + ", kind " + std::to_string(kind) + ", quality " +
                   std::to_string(quality) + ", matrices " + std::to_string(count));
  }
}

// Reductions average: along the axes, turned, and beyond the largest footprint.
TYPED_TEST(TransformSamples, OfReductionsAreAverages) {
  using Pixel = TypeParam;
  auto src = RandomPicture<Pixel>(300, 280, 5);
  for (Pixel& p : src.pixels) p.alpha = std::max<VX_ChannelOf<Pixel>>(p.alpha, kFull<Pixel> / 16);
  for (const double scale : {0.5, 0.3, -0.1, 0.004}) {
    for (const double turn : {0.0, 90.0, 33.0}) {
      for (const int32_t count : {1, 2, 4}) {
        const VX_TransformParts from{.anchor_x = 150,
                                     .anchor_y = 140,
                                     .scale_x = scale,
                                     .scale_y = 0.9 * scale,
                                     .rotation = turn,
                                     .translate_x = -150 + 0.5 / 3,
                                     .translate_y = -140};
        VX_TransformParts to = from;
        to.translate_x += 1.75;
        const auto way = Between(from, to, count);
        Picture<Pixel> dst(2, 2);
        const auto want = Expected(1, false, src, way, dst);
        ASSERT_EQ(Draw({.mode = ModeOf(VX_Xfer_Scale)}, src, way, &dst), VX_Ok);
        ExpectNear(want, dst, "scale " + std::to_string(scale) + " turned " + std::to_string(turn));
      }
    }
  }
}

// A path that comes back, or whose middle changes its speed by 0.9 pixel, has a sample at each
// matrix; one that changes by less is straight.
TEST(TransformPaths, AreFollowedWhereTheyBend) {
  const OneRule rule;
  auto src = RandomPicture<VX_Pixel8>(40, 32, 3);
  const struct {
    std::vector<double> x;
    bool bends;
  } cases[] = {{{0, 3, 6, 9}, false},  {{0, 3, 6, 9.8}, false},  {{0, 3, 6, 9.95}, true},
               {{0, 5, 1, 4.5}, true}, {{0, 0.5, 0.125}, false}, {{0, 4.25, 0.0625}, true}};
  for (const auto& c : cases) {
    std::vector<M_Matrix3> way;
    for (const double x : c.x) {
      way.push_back(MatrixOf({.anchor_x = 19.5,
                              .anchor_y = 15.5,
                              .rotation = 30,
                              .translate_x = x - 9,
                              .translate_y = -6}));
    }
    Picture<VX_Pixel8> dst(20, 20);
    ASSERT_EQ(Draw({.mode = ModeOf(VX_Xfer_Scale)}, src, way, &dst), VX_Ok);
    EXPECT_EQ(Expected(1, c.bends, src, way, dst) == dst, true) << c.x[1] << " " << c.x.back();
  }
}

// --- slots ---------------------------------------------------------------------------------------

VXp_OverrideTable built_in;

// Forwards to the routine that a slot held, so that nobody knows it for the library's own.
template <auto member, class Signature>
struct Forward;
template <auto member, class... Arguments>
struct Forward<member, VX_Err (*)(Arguments...)> {
  static inline int calls = 0;
  static VX_Err Call(Arguments... arguments) {
    ++calls;
    return (built_in.*member)(arguments...);
  }
};
template <auto member>
using ForwardOf = Forward<member, std::remove_reference_t<decltype(built_in.*member)>>;

template <auto... members>
struct Replaced {
  Replaced() {
    std::memcpy(static_cast<void*>(&built_in), &VXp_G_OverFuncs, sizeof built_in);
    ((VXp_G_OverFuncs.*members = &ForwardOf<members>::Call), ...);
  }
  ~Replaced() {
    std::memcpy(static_cast<void*>(&VXp_G_OverFuncs), &built_in, sizeof built_in);
    EXPECT_TRUE(((ForwardOf<members>::calls > 0) && ...)) << "a slot was not called";
  }
};
using T = VXp_OverrideTable;
using AllReplaced =
    Replaced<&T::VX_SubpixelSamplePlus_Straight, &T::VX_SubpixelSampleNoClip_Straight,
             &T::VX_SubpixelSample_Straight, &T::VX_AreaSample_Straight,
             &T::VX_SubpixelSampleTranslateNoClip_Straight,
             &T::VX_SubpixelSpanSampleTranslateNoClip_Straight, &T::VX_SubpixelSampleComputeWeight,
             &T::VX_SubpixelSamplePlus_Straight16, &T::VX_SubpixelSampleNoClip_Straight16,
             &T::VX_SubpixelSample_Straight16, &T::VX_AreaSample_Straight16,
             &T::VX_SubpixelSampleTranslateNoClip_Straight16,
             &T::VX_SubpixelSpanSampleTranslateNoClip_Straight16>;

// The library's own samplers are not called where lines of samples will do. Replacements are, for
// every pixel, in the same order: the numbers stay, at each of the two 8-bit rules.
TEST(TransformSlots, ReachEveryPixelWhenReplaced) {
  struct Case {
    uint32_t salt;
    std::vector<M_Matrix3> way;
    VX_CompositeModePlus mode;
  };
  std::vector<Case> cases;
  Operands<VX_Pixel8> o(12);
  for (uint32_t i = 0; i < 150; ++i) {
    auto way = AnyWay(&o, static_cast<int>(i % 6), o.Between(1, 4));
    if (i % 4 == 0) {
      const double x = o.Below(40) * 0.25 - 8, y = o.Below(8) * 0.5;
      way = Between({.translate_x = x, .translate_y = y},
                    {.translate_x = x + o.Below(64) / 16.0, .translate_y = y + o.Below(3)},
                    o.Between(1, 4));
    }
    if (i % 7 == 0)
      way = Between({.scale_x = 0.4, .scale_y = 0.5}, {.scale_x = -0.3}, o.Between(1, 3));
    const int32_t modes[] = {VX_Xfer_Scale, VX_Xfer_InFront, VX_Xfer_StencilAlpha};
    cases.push_back({i, way, ModeOf(modes[i % 3])});
  }
  const auto draw_all = [&]<class Pixel>(Pixel) {
    std::vector<Picture<Pixel>> all;
    for (const Case& c : cases) {
      auto src = RandomPicture<Pixel>(40, 32, c.salt);
      if (c.salt % 5 == 0) {
        for (Pixel& p : src.pixels) p.alpha = kFull<Pixel>;
      }
      Picture<Pixel> dst = RandomPicture<Pixel>(60, 21, c.salt + 1000);
      EXPECT_EQ(Draw({.mode = c.mode}, src, c.way, &dst), VX_Ok);
      all.push_back(dst);
    }
    return all;
  };
  const auto own8 = draw_all(VX_Pixel8{});
  const auto own16 = draw_all(VX_Pixel16{});
  const AllReplaced replaced;
  const auto called8 = draw_all(VX_Pixel8{});
  const auto called16 = draw_all(VX_Pixel16{});
  for (size_t i = 0; i < cases.size(); ++i) {
    EXPECT_TRUE(own8[i] == called8[i]) << "8 bits, case " << i;
    EXPECT_TRUE(own16[i] == called16[i]) << "16 bits, case " << i;
  }
}

}  // namespace

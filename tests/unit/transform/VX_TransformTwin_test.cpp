// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Whole drawings through matrices against their slow twin: random ways of random worlds.

#include "../../reference/RefTables.h"
#include "../../reference/RefTransform.h"
#include "../PixelTestKit.h"
#include "VX/VX_OverrideTable.h"

namespace {

constexpr int32_t kModes[] = {
#define VX_MODE(number, constant, name, piece, ...) number,
#include "VX/VX_TransferModes.def"
#undef VX_MODE
};

// A curve that loses values, so that what passes through it can be told from what does not.
const VX_LinearBlendingTables& LinearTables() {
  static const VX_LinearBlendingTables tables = vxref::BuildTables(
      [](double x) { return x < 0.1   ? 0.0
                            : x < 0.9 ? std::pow(x, 1.8)
                                      : 1.0; }, 1.8f);
  return tables;
}

// Pixels in a frame that may be wider than its rows.
template <class Pixel>
struct Picture {
  int width, height, stride;
  std::vector<Pixel> pixels;

  // `make` gives a pixel.
  template <class Make>
  Picture(Operands<Pixel>* o, int largest, Make make)
      : width(o->Between(1, largest)), height(o->Between(1, largest)) {
    stride = width + o->Below(3);
    pixels.resize(static_cast<size_t>(stride * height));
    for (Pixel& p : pixels) p = make();
  }
  VX_LayerDef World() {
    VX_LayerDef world = {};
    world.data = pixels.data();
    world.rowbytes = stride * static_cast<int>(sizeof(Pixel));
    world.width = width;
    world.height = height;
    EXPECT_EQ(VXp_SetWorldDepth(&world, kDepth<Pixel>), 0);
    return world;
  }
};

// Layers have large opaque and transparent parts. Floats are of few bits, so that double sums over
// boxes are exact and their order does not matter.
template <class Pixel>
Pixel LayerPixel(Operands<Pixel>* o, int likely_alpha) {
  using Channel = VX_ChannelOf<Pixel>;
  const auto channel = [o]() -> Channel {
    if constexpr (kDepth<Pixel> == 32) return static_cast<float>(o->Between(-4, 80)) / 64.0f;
    if constexpr (kDepth<Pixel> != 32) return o->Any();
  };
  Pixel p = {channel(), channel(), channel(), channel()};
  if (o->Below(8) < likely_alpha) p.alpha = likely_alpha % 2 == 0 ? kFull<Pixel> : Channel{0};
  return p;
}

enum Kind {
  Whole,
  Halves,
  Anywhere,
  Enlarged,
  Reduced,
  Quarters,
  Turned,
  Skewed,
  Seen,
  Far,
  Kinds
};

template <class Pixel>
double Real(Operands<Pixel>* o, double low, double high) {
  return low + (high - low) * (o->Word() / 4294967296.0);
}

template <class Pixel>
VX_TransformParts AnyParts(Operands<Pixel>* o, int kind, double reach) {
  const auto real = [o](double low, double high) { return Real(o, low, high); };
  VX_TransformParts parts;
  parts.translate_x = real(-reach, reach);
  parts.translate_y = real(-reach, reach);
  if (kind == Whole || kind == Halves) {
    const double unit = kind == Whole ? 1 : 2;
    parts.translate_x = std::floor(parts.translate_x * unit) / unit;
    parts.translate_y = std::floor(parts.translate_y * unit) / unit;
  }
  if (kind <= Anywhere) return parts;
  parts.anchor_x = real(0, reach);
  parts.anchor_y = real(0, reach);
  if (kind == Enlarged || kind == Turned) {
    parts.scale_x = o->Below(4) == 0 ? -2 : real(0.9, 4);
    parts.scale_y = o->Below(4) == 0 ? 2 : real(0.9, 4);
  }
  if (kind == Reduced) {
    parts.scale_x = o->Below(8) == 0 ? 0x1p-15 : real(0.05, 1);
    parts.scale_y = o->Below(4) == 0 ? 0.5 : o->Below(8) == 0 ? 0.001 : real(0.05, 1.2);
  }
  if (kind == Quarters) parts.rotation = 90 * o->Below(4);
  if (kind == Turned || kind == Seen) parts.rotation = real(-180, 180);
  if (kind == Skewed) {
    parts.skew_x = real(-2, 2);
    parts.skew_y = o->Below(2) * real(-0.4, 0.4);
  }
  if (kind == Far) {
    // Also where a count of 32 bits would come round.
    if (o->Below(2) == 0) parts.translate_x *= std::pow(10, o->Between(2, 8));
    if (o->Below(2) == 0) parts.translate_y += 65536 * o->Between(-2, 2);
    parts.scale_x = o->Below(2) == 0 ? 1 : real(0.2, 2);
  }
  return parts;
}

template <class Pixel>
struct Command {
  int mode, quality, field, seed, keep, count, kind, src2dst, what, mask_left, mask_top;
  float opacity;
  bool is_linear, has_rect, has_mask;
  M_Rect rect;
  Picture<Pixel> src, mask, dst;
  std::vector<M_Matrix3> matrices;

  Command(Operands<Pixel>* o, int largest)
      : mode(AnyMode(o)),
        quality(o->Below(3) != 0),
        field(o->Below(3) == 0 ? o->Between(1, 2) : 0),
        seed(static_cast<int>(o->Word())),
        keep(o->Below(4) == 0),
        count(o->Below(2) == 0   ? 1
              : o->Below(2) == 0 ? 2
                                 : o->Between(3, 20)),
        kind(o->Below(Kinds)),
        src2dst(o->Below(2)),
        what(o->Below(4)),
        mask_left(o->Between(-largest / 2, largest / 2)),
        mask_top(o->Between(-largest / 2, largest / 2)),
        opacity(std::vector<float>{1, 1, 1, 0.7f, 1 / 510.0f, 0}[o->Word() % 6]),
        is_linear(o->Below(5) == 0),
        has_rect(o->Below(3) == 0),
        has_mask(o->Below(3) == 0 || mode == VX_Xfer_MaskMix),
        src(o, largest, [o, alpha = o->Below(8)] { return LayerPixel(o, alpha); }),
        mask(o, largest + largest / 2, [o] { return o->AnyPixel(); }),
        dst(o, largest, [o] { return o->AnyPixel(); }) {
    rect.left = static_cast<int16_t>(o->Between(-5, largest / 2));
    rect.top = static_cast<int16_t>(o->Between(-5, largest / 2));
    rect.right = static_cast<int16_t>(rect.left + o->Between(-1, largest));
    rect.bottom = static_cast<int16_t>(rect.top + o->Between(-1, largest));
    MakeMatrices(o, largest * 0.35);
    if (o->Below(12) == 0) {  // opaque rows, which are copied
      mode = VX_Xfer_InFront;
      keep = 0;
      is_linear = true;
      opacity = 1;
      has_mask = false;
      for (Pixel& p : src.pixels) p.alpha = kFull<Pixel>;
    }
  }

  static int AnyMode(Operands<Pixel>* o) {
    const int often[] = {VX_Xfer_InFront,      VX_Xfer_InFront,     VX_Xfer_Dissolve,
                         VX_Xfer_StencilAlpha, VX_Xfer_StencilLuma, VX_Xfer_PremulOver,
                         VX_Xfer_Scale,        VX_Xfer_Copy};
    return o->Below(2) == 0 ? kModes[o->Word() % std::size(kModes)] : often[o->Below(8)];
  }

  void MakeMatrices(Operands<Pixel>* o, double reach) {
    const VX_TransformParts from = AnyParts(o, kind, reach);
    VX_TransformParts to = AnyParts(o, kind == Far ? int{Anywhere} : kind, reach);
    // Also ways that only move, so that the picture keeps its shape; and those that stand still.
    if (o->Below(2) == 0) {
      const double x = to.translate_x, y = to.translate_y;
      to = from;
      to.translate_x = x;
      to.translate_y = y;
    }
    if (o->Below(16) == 0) to = from;
    matrices.resize(static_cast<size_t>(count));
    EXPECT_EQ(VX_MatricesBetween(&from, &to, count, matrices.data()), 0);
    const double bend = o->Below(3) == 0 ? Real(o, 0, reach) : 0;
    for (int i = 0; i < count; ++i) {
      M_Matrix3& m = matrices[static_cast<size_t>(i)];
      const double t = count == 1 ? 0 : static_cast<double>(i) / (count - 1);
      m.m[7] += bend * t * (1 - t);
      if (kind == Seen) {
        m.m[2] = 0.002;
        m.m[5] = -0.001 * (1 + t);
      }
      bool invertible = true;
      if (src2dst == 0 && M_InverseMatrixQuiet(m, &m, &invertible) != 0) invertible = false;
      EXPECT_TRUE(invertible);
    }
    const double none[] = {0, NAN, INFINITY};
    M_Matrix3& end = o->Below(2) == 0 ? matrices.front() : matrices.back();
    if (o->Below(16) == 0) end = {{1, 2, 0, 2, 4, none[o->Below(3)], 0, 0, 1}};
    if (src2dst != 0 && count == 1 && o->Below(8) == 0) end.m[0] = 1e-6, end.m[1] = 0;
  }

  VX_Err Run(Picture<Pixel>* onto) {
    VX_LayerDef from = src.World(), over = mask.World(), to = onto->World();
    const VX_TransformMask spec = Mask(&over);
    const VX_CompositeModePlus plus = Plus();
    return VX_TransformWorld(nullptr, quality, 0, field, &from, &plus, Tables(),
                             has_mask ? &spec : nullptr, matrices.data(), count,
                             static_cast<uint8_t>(src2dst), has_rect ? &rect : nullptr, &to);
  }
  vxref::Road RunTwin(Picture<Pixel>* onto) {
    VX_LayerDef from = src.World(), over = mask.World();
    const VX_TransformMask spec = Mask(&over);
    const VX_CompositeModePlus plus = Plus();
    const bool single =
        VXp_G_OverFuncs.VX_SubpixelSampleNoClip_Straight == &VX_SubpixelSampleNoClip_Straight_SSE2;
    return vxref::Transform<Pixel>(
        {quality, field, &from, &plus, Tables(), has_mask ? &spec : nullptr, matrices.data(), count,
         src2dst != 0, has_rect ? &rect : nullptr, single},
        onto->World());
  }
  VX_TransformMask Mask(VX_LayerDef* world) const {
    return {world, static_cast<int16_t>(mask_top), static_cast<int16_t>(mask_left), what};
  }
  const VX_LinearBlendingTables* Tables() const { return is_linear ? &LinearTables() : nullptr; }
  VX_CompositeModePlus Plus() const { return {mode, opacity, nullptr, keep != 0, seed}; }

  std::string Describe() const {
    std::string text = std::to_string(kDepth<Pixel>) + " bits";
    const auto say = [&text](const char* name, auto... numbers) {
      text += std::string(", ") + name;
      ((text += " " + std::to_string(numbers)), ...);
    };
    say("mode", mode);
    say("kind", kind);
    say("quality", quality);
    say("field", field);
    say("seed", seed);
    say("keep", keep);
    say("linear", is_linear);
    say("opacity", opacity);
    say("src", src.width, src.height);
    say("dst", dst.width, dst.height);
    if (has_rect) say("ltrb", rect.left, rect.top, rect.right, rect.bottom);
    if (has_mask) say("mask", mask.width, mask.height, mask_left, mask_top, what);
    say(src2dst != 0 ? "matrices src2dst" : "matrices dst2src", count);
    for (const M_Matrix3& m : matrices) {
      text += "\n ";
      for (const double v : m.m) {
        char number[40];
        std::snprintf(number, sizeof number, " %.17g,", v);
        text += number;
      }
    }
    return text;
  }
};

// Where two pictures differ, what lies between the rows included; empty when nowhere.
template <class Pixel>
std::string Difference(const Picture<Pixel>& want, const Picture<Pixel>& got) {
  const int i = FirstDifference(want.pixels, got.pixels);
  if (i < 0) return "";
  const auto at = static_cast<size_t>(i);
  return "pixel " + std::to_string(i % want.stride) + ", " + std::to_string(i / want.stride) +
         " is " + Text(got.pixels[at]) + ", not " + Text(want.pixels[at]);
}

template <class Pixel>
class TransformTwin : public testing::Test {};
TYPED_TEST_SUITE(TransformTwin, PixelTypes, DepthNames);

TYPED_TEST(TransformTwin, RandomWaysAgree) {
  Operands<TypeParam> operands(45);
  int drawn[5] = {}, failures = 0;
  for (int run = 0; run < 2500 && failures < 3; ++run) {
    Command<TypeParam> command(&operands, run % 25 == 0 ? 40 : 14);
    Picture<TypeParam> want = command.dst, got = command.dst;
    ++drawn[static_cast<int>(command.RunTwin(&want))];
    EXPECT_EQ(command.Run(&got), 0) << command.Describe();
    const std::string difference = Difference(want, got);
    EXPECT_EQ(difference, "") << "case " << run << ": " << command.Describe();
    failures += !difference.empty();
  }
  for (const int times : drawn) EXPECT_GT(times, 30);
}

// The matrices take points where the words for each part say.
TEST(TransformTwinParts, MatricesMovePointsAsTheirPartsSay) {
  Operands<VX_Pixel8> o(46);
  const auto real = [&o](double most) { return Real(&o, -most, most); };
  for (int run = 0; run < 200; ++run) {
    const auto any = [&real]() -> VX_TransformParts {
      return {real(50), real(50),  real(4),   real(4),  real(2),
              real(2),  real(720), real(100), real(100)};
    };
    const VX_TransformParts a = any(), b = any();
    const int count = o.Between(2, 20), i = o.Below(count);
    std::vector<M_Matrix3> way(static_cast<size_t>(count));
    ASSERT_EQ(VX_MatricesBetween(&a, &b, count, way.data()), 0);
    const auto between = [t = i / (count - 1.0)](double from, double to) {
      return from + t * (to - from);
    };
    const VX_TransformParts here = {
        between(a.anchor_x, b.anchor_x),      between(a.anchor_y, b.anchor_y),
        between(a.scale_x, b.scale_x),        between(a.scale_y, b.scale_y),
        between(a.skew_x, b.skew_x),          between(a.skew_y, b.skew_y),
        between(a.rotation, b.rotation),      between(a.translate_x, b.translate_x),
        between(a.translate_y, b.translate_y)};
    M_Matrix3 one;
    ASSERT_EQ(VX_MatrixOfParts(&here, &one), 0);
    for (const M_Matrix3& m : {one, way[static_cast<size_t>(i)]}) {
      const double x = real(100), y = real(100);
      double want_x = x, want_y = y, got_x, got_y;
      vxref::MovePoint(here, &want_x, &want_y);
      m.TransformPointAndDivide(x, y, &got_x, &got_y);
      EXPECT_NEAR(got_x, want_x, 1e-9);
      EXPECT_NEAR(got_y, want_y, 1e-9);
    }
  }
}

}  // namespace

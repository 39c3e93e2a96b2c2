// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Whole drawings through matrices against their slow twin: random paths of random worlds, with the
// library's own samplers and with replaced ones.

#include "../../reference/RefTables.h"
#include "../../reference/RefTransform.h"
#include "TransformTestKit.h"

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

// `make` returns a pixel.
template <class Pixel, class Make>
Picture<Pixel> AnyPicture(Operands<Pixel>* o, int largest, Make make) {
  const int width = o->Between(1, largest), height = o->Between(1, largest);
  Picture<Pixel> picture(width, height, {}, o->Below(3));
  for (Pixel& p : picture.pixels) p = make();
  return picture;
}

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
        src(AnyPicture(o, largest, [o, alpha = o->Below(8)] { return LayerPixel(o, alpha); })),
        mask(AnyPicture(o, largest + largest / 2, [o] { return o->AnyPixel(); })),
        dst(AnyPicture(o, largest, [o] { return o->AnyPixel(); })) {
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
    // Also paths of translations, along which the picture keeps its shape.
    if (o->Below(2) == 0) {
      const double x = to.translate_x, y = to.translate_y;
      to = from;
      to.translate_x = x;
      to.translate_y = y;
    }
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
    if (o->Below(8) == 0) {  // stands still but for a rounding, or not
      for (M_Matrix3& m : matrices) m = matrices.front();
      matrices.back().m[6] += o->Below(2) == 0 ? 1e-13 : 1e-11;
    }
    const double none[] = {0, NAN, INFINITY};
    M_Matrix3& end = o->Below(2) == 0 ? matrices.front() : matrices.back();
    if (o->Below(16) == 0) end = {{1, 2, 0, 2, 4, none[o->Below(3)], 0, 0, 1}};
    if (src2dst != 0 && count == 1 && o->Below(8) == 0) end.m[0] = 1e-6, end.m[1] = 0;
  }

  VX_Err Run(Picture<Pixel>* onto) {
    const VX_TransformMask spec = Mask();
    const VX_CompositeModePlus plus = Plus();
    return VX_TransformWorld(nullptr, quality, 0, field, &src.world, &plus, Tables(),
                             has_mask ? &spec : nullptr, matrices.data(), count,
                             static_cast<uint8_t>(src2dst), has_rect ? &rect : nullptr,
                             &onto->world);
  }
  vxref::Road RunTwin(bool single_precision, Picture<Pixel>* onto) {
    const VX_TransformMask spec = Mask();
    const VX_CompositeModePlus plus = Plus();
    return vxref::Transform<Pixel>(
        {quality, field, &src.world, &plus, Tables(), has_mask ? &spec : nullptr, matrices.data(),
         count, src2dst != 0, has_rect ? &rect : nullptr, single_precision},
        onto->world);
  }
  VX_TransformMask Mask() {
    return {&mask.world, static_cast<int16_t>(mask_top), static_cast<int16_t>(mask_left), what};
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
    say("src", src.world.width, src.world.height);
    say("dst", dst.world.width, dst.world.height);
    if (has_rect) say("ltrb", rect.left, rect.top, rect.right, rect.bottom);
    if (has_mask) say("mask", mask.world.width, mask.world.height, mask_left, mask_top, what);
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

// Returns where two pictures differ, the gaps between their rows included; empty if nowhere.
template <class Pixel>
std::string Difference(const Picture<Pixel>& want, const Picture<Pixel>& got) {
  const int i = FirstDifference(want.pixels, got.pixels);
  if (i < 0) return "";
  const auto at = static_cast<size_t>(i);
  return "pixel " + std::to_string(i % want.stride) + ", " + std::to_string(i / want.stride) +
         " is " + Text(got.pixels[at]) + ", not " + Text(want.pixels[at]);
}

// --- replaced slots ------------------------------------------------------------------------------

VXp_OverrideTable built_in;

// Forwards to the routine that a slot held, so that the library does not recognise its own.
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
    ((ForwardOf<members>::calls = 0, VXp_G_OverFuncs.*members = &ForwardOf<members>::Call), ...);
  }
  ~Replaced() {
    std::memcpy(static_cast<void*>(&VXp_G_OverFuncs), &built_in, sizeof built_in);
    EXPECT_TRUE(((ForwardOf<members>::calls > 0) && ...)) << "a slot was not called";
  }
};
using T = VXp_OverrideTable;
template <class Pixel>
struct AllReplaced {};
template <>
struct AllReplaced<VX_Pixel8>
    : Replaced<&T::VX_SubpixelSamplePlus_Straight, &T::VX_SubpixelSampleNoClip_Straight,
               &T::VX_SubpixelSample_Straight, &T::VX_AreaSample_Straight,
               &T::VX_SubpixelSampleTranslateNoClip_Straight,
               &T::VX_SubpixelSpanSampleTranslateNoClip_Straight,
               &T::VX_SubpixelSampleComputeWeight> {};
template <>
struct AllReplaced<VX_Pixel16>
    : Replaced<&T::VX_SubpixelSamplePlus_Straight16, &T::VX_SubpixelSampleNoClip_Straight16,
               &T::VX_SubpixelSample_Straight16, &T::VX_AreaSample_Straight16,
               &T::VX_SubpixelSampleTranslateNoClip_Straight16,
               &T::VX_SubpixelSpanSampleTranslateNoClip_Straight16,
               &T::VX_SubpixelSampleComputeWeight> {};

// --- tests ---------------------------------------------------------------------------------------

template <class Pixel>
class TransformTwin : public testing::Test {};
TYPED_TEST_SUITE(TransformTwin, PixelTypes, DepthNames);

template <class Pixel>
void RandomPathsAgree(uint32_t salt, bool single_precision) {
  Operands<Pixel> operands(salt);
  int drawn[5] = {}, failures = 0;
  for (int run = 0; run < 2500 && failures < 3; ++run) {
    Command<Pixel> command(&operands, run % 25 == 0 ? 40 : 14);
    Picture<Pixel> want = command.dst, got = command.dst;
    ++drawn[static_cast<int>(command.RunTwin(single_precision, &want))];
    EXPECT_EQ(command.Run(&got), 0) << command.Describe();
    const std::string difference = Difference(want, got);
    EXPECT_EQ(difference, "") << "case " << run << ": " << command.Describe();
    failures += !difference.empty();
  }
  for (const int times : drawn) EXPECT_GT(times, 30);
}

bool HasSinglePrecision() {
  return VXp_G_OverFuncs.VX_SubpixelSampleNoClip_Straight == &VX_SubpixelSampleNoClip_Straight_SSE2;
}

TYPED_TEST(TransformTwin, RandomPathsAgree) {
  RandomPathsAgree<TypeParam>(45, HasSinglePrecision());
}

// Replaced samplers are called for every pixel, and the results are the same.
TYPED_TEST(TransformTwin, RandomPathsAgreeThroughReplacedSlots) {
  const bool single_precision = HasSinglePrecision();
  [[maybe_unused]] const AllReplaced<TypeParam> replaced;
  RandomPathsAgree<TypeParam>(46, single_precision);
}

// A path whose centre changes its step by 0.9 pixels has a sub-sample at each matrix. A path with
// smaller changes is straight.
TEST(TransformPaths, BendFromAChangeOfNineTenths) {
  Operands<VX_Pixel8> o(47);
  auto src = AnyPicture(&o, 40, [&o] { return LayerPixel(&o, 2); });
  const VX_CompositeModePlus mode = ModeOf(VX_Xfer_Scale);
  const struct {
    std::vector<double> x;
    vxref::Road road;
  } cases[] = {{{0, 3, 6, 9}, vxref::Road::Straight},    {{0, 3, 6, 9.8}, vxref::Road::Straight},
               {{0, 3, 6, 9.95}, vxref::Road::Bent},     {{0, 5, 1, 4.5}, vxref::Road::Bent},
               {{0, 0.5, 0.125}, vxref::Road::Straight}, {{0, 4.25, 0.0625}, vxref::Road::Bent}};
  for (const auto& c : cases) {
    for (const bool down : {false, true}) {
      std::vector<M_Matrix3> path;
      for (const double x : c.x) {
        path.push_back(
            MatrixOf({.rotation = 30, .translate_x = down ? 1 : x, .translate_y = down ? x : 1}));
      }
      Picture<VX_Pixel8> want(20, 20), got = want;
      EXPECT_EQ(vxref::Transform<VX_Pixel8>(
                    {1, 0, &src.world, &mode, nullptr, nullptr, path.data(),
                     static_cast<int32_t>(path.size()), true, nullptr, HasSinglePrecision()},
                    want.world),
                c.road);
      ASSERT_EQ(Draw({.mode = mode}, src, path, &got), VX_Ok);
      EXPECT_EQ(Difference(want, got), "") << "case " << &c - cases << ", down " << down;
    }
  }
}

}  // namespace

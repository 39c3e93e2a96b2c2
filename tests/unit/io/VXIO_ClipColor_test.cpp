// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "ClipTest.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace {

TEST_F(Clip, RgbAndGreyAreExact) {
  struct Case {
    AVPixelFormat format;
    const char* codec = "ffv1";
  };
  for (const Case& c :
       {Case{AV_PIX_FMT_BGR0}, Case{AV_PIX_FMT_GBRP10}, Case{AV_PIX_FMT_GBRAP16},
        Case{AV_PIX_FMT_GRAY8}, Case{AV_PIX_FMT_GRAY10}, Case{AV_PIX_FMT_RGBA, "png"},
        Case{AV_PIX_FMT_RGBA64BE, "png"}, Case{AV_PIX_FMT_YA8, "png"},
        Case{AV_PIX_FMT_MONOWHITE, "tiff"}, Case{AV_PIX_FMT_RGB555BE, "qtrle"}}) {
    const AVPixFmtDescriptor& form = *av_pix_fmt_desc_get(c.format);
    SCOPED_TRACE(form.name);
    const int bits = form.comp[0].depth, most = (1 << bits) - 1, depth = bits > 8 ? 16 : 8;
    const bool alpha = form.flags & AV_PIX_FMT_FLAG_ALPHA, grey = form.nb_components < 3;
    const bool inverted = c.format == AV_PIX_FMT_MONOWHITE;
    auto sample = [&](int frame, int component, int x, int y) {
      return Noise(frame, component, x, y) & most;
    };
    const char* name = c.codec[0] == 'f' ? "a.mkv" : "a.mov";
    ClipPlan plan{Path(name), c.format, c.codec, sample};
    plan.width = bits == 5 ? 20 : 17;  // its encoder stores four at a time
    for (const int asked : {0, 32}) {
      VXIO_ClipReader reader = Make(plan);
      EXPECT_EQ(reader.info().depth, depth);
      EXPECT_EQ(reader.info().bits, bits);
      EXPECT_EQ(reader.info().has_alpha, alpha);
      EXPECT_EQ(reader.info().matrix, grey ? "grey" : "rgb");
      // The rule of pictures: to 8 or 16 bits, rounded to nearest; from 16 bits to 0..32768.
      auto channel = [&](int code) -> double {
        if (inverted) code = 1 - code;
        if (asked == 32) return static_cast<float>(code) / static_cast<float>(most);
        const int64_t full = depth == 8 ? 255 : 65535;
        const int64_t wide = (2 * code * full + most) / (2 * most);
        return static_cast<double>(depth == 8 ? wide : (wide * 32768 + 32767) / 65535);
      };
      double worst = 0;
      for (int frame = 0; frame < plan.frames; ++frame) {
        const auto got = reader.Next(asked);
        ASSERT_TRUE(got);
        EXPECT_EQ(got->number, frame);
        EXPECT_EQ(got->picture.has_alpha, alpha);
        ASSERT_EQ(got->picture.world->width, plan.width);
        ASSERT_EQ(got->picture.world->height, plan.height);
        const auto expected = [&](int x, int y) -> Value {
          auto of = [&](int component) { return channel(sample(frame, component, x, y)); };
          return {alpha ? of(grey ? 1 : 3) : channel(inverted ? 0 : most), of(0), of(grey ? 0 : 1),
                  of(grey ? 0 : 2)};
        };
        worst = std::max(worst, Worst(*got->picture.world, expected));
      }
      EXPECT_LE(worst, asked == 32 && bits < 8 ? 0.002 : asked == 32 ? 1e-7 : 0);
      EXPECT_FALSE(reader.Next());
    }
  }
}

// Entry i of the palette: alpha 255 - i, red i, green 2 i, blue 3 i.
TEST_F(Clip, PalettesHaveAlpha) {
  auto index = [](int frame, int, int x, int y) { return (frame + x * 9 + y * 17) & 255; };
  const auto got = Make({Path("a.mov"), AV_PIX_FMT_PAL8, "png", index}).Next();
  ASSERT_TRUE(got && got->picture.has_alpha);
  const auto expected = [&](int x, int y) -> Value {
    const int i = index(0, 0, x, y);
    return {255.0 - i, double(i), double(2 * i & 255), double(3 * i & 255)};
  };
  EXPECT_EQ(Worst(*got->picture.world, expected), 0);
}

struct Matrix {
  const char* name;
  double kr, kb;  // weights of red and blue in luma; 0 for YCgCo
};
constexpr Matrix k601{"bt601", .299, .114}, k709{"bt709", .2126, .0722};

// The definition, for luma of 0..1 and chroma of -0.5..0.5.
Value Rgb(const Matrix& matrix, double y, double u, double v) {
  const double kr = matrix.kr, kb = matrix.kb;
  if (kr == 0) return {1, y - u + v, y + u, y - u - v};
  const double red = y + 2 * (1 - kr) * v, blue = y + 2 * (1 - kb) * u;
  return {1, red, (y - kr * red - kb * blue) / (1 - kr - kb), blue};
}

// Luma and alpha are noise, chroma is constant within a frame; other codecs than FFV1 preserve only
// constant colours. VP9 has alpha in a stream of its own, ProRes with more bits.
TEST_F(Clip, YuvByMatrixRangeAndDepth) {
  struct Case {
    AVPixelFormat format;
    AVColorSpace tag;
    AVColorRange range;
    Matrix matrix;
    int height = 9;
    const char *name = "a.mkv", *codec = "ffv1";
  };
  constexpr auto kNone = AVCOL_SPC_UNSPECIFIED;
  constexpr auto kFull = AVCOL_RANGE_JPEG, kLimited = AVCOL_RANGE_MPEG;
  for (const Case& c :
       {Case{AV_PIX_FMT_YUV420P, AVCOL_SPC_BT709, kLimited, k709},
        Case{AV_PIX_FMT_YUV422P, AVCOL_SPC_SMPTE170M, kFull, k601},
        Case{AV_PIX_FMT_YUV420P, kNone, AVCOL_RANGE_UNSPECIFIED, k601, 576},
        Case{AV_PIX_FMT_YUV410P, kNone, AVCOL_RANGE_UNSPECIFIED, k709, 577},
        Case{AV_PIX_FMT_YUV444P10, AVCOL_SPC_BT2020_NCL, kLimited, {"bt2020", .2627, .0593}},
        Case{AV_PIX_FMT_GRAY8, kNone, kLimited, {"grey", .299, .114}},
        Case{AV_PIX_FMT_YUV420P10, AVCOL_SPC_BT709, kFull, k709},
        Case{AV_PIX_FMT_YUV444P16, AVCOL_SPC_BT709, kFull, k709},
        Case{AV_PIX_FMT_YUVA420P, AVCOL_SPC_BT709, kLimited, k709},
        Case{AV_PIX_FMT_YUVA444P10, AVCOL_SPC_BT470BG, kLimited, k601},
        Case{AV_PIX_FMT_YUV444P, AVCOL_SPC_YCGCO, kLimited, {"ycgco", 0, 0}},
        Case{AV_PIX_FMT_YUVJ420P, AVCOL_SPC_BT470BG, kFull, k601, 48, "a.avi", "mjpeg"},
        Case{AV_PIX_FMT_YUV420P, kNone, kLimited, k601, 48, "b.mp4", "mpeg4"},
        Case{AV_PIX_FMT_YUVA420P, kNone, kLimited, k601, 48, "c.webm", "libvpx-vp9"},
        Case{AV_PIX_FMT_YUVA444P10, kNone, kLimited, k601, 48, "d.mov", "prores_ks"}}) {
    const AVPixFmtDescriptor& form = *av_pix_fmt_desc_get(c.format);
    SCOPED_TRACE(std::string(form.name) + " " + c.matrix.name + " " + c.codec);
    const int scale = 1 << (form.comp[0].depth - 8), most = 256 * scale - 1;
    const int components = form.nb_components;
    const bool exact = c.codec == std::string("ffv1"), full_range = c.range == kFull;
    auto sample = [&](int frame, int component, int x, int y) {
      constexpr int kCodes[] = {120, 90, 160, 200};
      if (!exact) return kCodes[component] * scale;
      const bool chroma = component == 1 || component == 2;
      return (chroma ? Noise(frame, component, 0, 0) : Noise(frame, component, x, y)) & most;
    };
    ClipPlan plan{Path(c.name), c.format, c.codec, sample, c.tag, c.range};
    plan.width = exact ? 17 : 64;
    plan.height = c.height;
    for (const int depth : {8, 16, 32}) {
      VXIO_ClipReader reader = Make(plan);
      EXPECT_EQ(reader.info().matrix, c.matrix.name);
      EXPECT_EQ(reader.info().matrix_tagged, components == 1 || c.tag != kNone);
      EXPECT_EQ(reader.info().full_range, full_range);
      EXPECT_EQ(reader.info().has_alpha, components == 4);
      double worst = 0;
      while (const auto got = reader.Next(depth)) {
        const auto expected = [&](int x, int y) {
          auto code = [&](int i) { return sample(static_cast<int>(got->number), i, x, y); };
          auto chroma = [&](int i) {
            if (components == 1) return 0.0;
            return (code(i) - 128.0 * scale) / (full_range ? most : 224.0 * scale);
          };
          const double luma =
              full_range ? double(code(0)) / most : (code(0) - 16.0 * scale) / (219.0 * scale);
          Value e = Rgb(c.matrix, luma, chroma(1), chroma(2));
          if (components == 4) e.alpha = double(code(3)) / most;
          const double full = depth == 8 ? 255 : 32768;
          for (double* value : {&e.alpha, &e.red, &e.green, &e.blue}) {
            *value = depth == 32 ? *value : std::floor(std::clamp(*value, 0.0, 1.0) * full + 0.5);
          }
          return e;
        };
        worst = std::max(worst, Worst(*got->picture.world, expected, 4));
      }
      EXPECT_EQ(reader.info().frames, 3);
      // A value halfway between two codes may be rounded to either.
      const double full = depth == 8 ? 255 : depth == 16 ? 32768 : 1;
      EXPECT_LE(worst, !exact ? 0.02 * full : depth == 32 ? 1e-6 : 1) << depth;
    }
  }
}

// Chroma that is linear in the position gives linear colours if it is interpolated at the tagged
// positions.
TEST_F(Clip, ChromaPositions) {
  for (const auto& [siting, across, down] :  // of the first sample, in pixels
       {std::tuple{AVCHROMA_LOC_UNSPECIFIED, 0.0, 0.5},
        {AVCHROMA_LOC_LEFT, 0.0, 0.5},
        {AVCHROMA_LOC_CENTER, 0.5, 0.5},
        {AVCHROMA_LOC_TOPLEFT, 0.0, 0.0}}) {
    auto sample = [](int, int component, int x, int y) {
      return component == 0 ? 500 : 300 + 10 * (component == 1 ? x : y);
    };
    ClipPlan plan{Path("a.mkv"), AV_PIX_FMT_YUV420P10, "ffv1", sample, AVCOL_SPC_BT709};
    plan.siting = siting;
    // An odd size has half a chroma sample more.
    plan.width = siting == AVCHROMA_LOC_LEFT ? 49 : 48;
    plan.height = siting == AVCHROMA_LOC_LEFT ? 47 : 48;
    const auto got = Make(plan).Next(32);
    const auto expected = [&, left = across, top = down](int x, int y) {
      const double u = 300 + 10 * (x - left) / 2, v = 300 + 10 * (y - top) / 2;
      return Rgb(k709, (500 - 64) / 876.0, (u - 512) / 896, (v - 512) / 896);
    };
    // An error of half a pixel gives 0.005.
    EXPECT_LT(Worst(*got->picture.world, expected, 1, 8), 5e-4) << siting;
  }
}

TEST_F(Clip, AlphaAsAsked) {
  auto sample = [](int, int component, int, int) { return component == 3 ? 128 : 64; };
  VXIO_ClipReader reader = Make({Path("a.mkv"), AV_PIX_FMT_BGRA, "ffv1", sample});
  for (const auto& [alpha, opacity, color] :
       {std::tuple{VXIO_AlphaAs::File, 128.0, 64.0},
        {VXIO_AlphaAs::Premultiplied, 128.0, 127.5},  // 64 * 255 / 128
        {VXIO_AlphaAs::Ignore, 255.0, 64.0}}) {
    const auto got = reader.Next(8, alpha);
    EXPECT_EQ(got->picture.has_alpha, opacity < 255);
    const Value expected{opacity, color, color, color};
    EXPECT_LE(Largest(At(*got->picture.world, 3, 3), expected), color == 64 ? 0 : 0.5);
  }
}

}  // namespace

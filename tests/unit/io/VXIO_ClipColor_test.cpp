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
    const char *codec, *name;
    int bits;
    bool alpha, grey;
  };
  for (const Case& c : {Case{AV_PIX_FMT_BGR0, "ffv1", "a.mkv", 8, false, false},
                        Case{AV_PIX_FMT_BGRA, "ffv1", "b.mkv", 8, true, false},
                        Case{AV_PIX_FMT_GBRP10, "ffv1", "c.mkv", 10, false, false},
                        Case{AV_PIX_FMT_GBRP16, "ffv1", "d.mkv", 16, false, false},
                        Case{AV_PIX_FMT_GBRAP12, "ffv1", "e.mkv", 12, true, false},
                        Case{AV_PIX_FMT_GBRAP16, "ffv1", "f.mkv", 16, true, false},
                        Case{AV_PIX_FMT_GRAY8, "ffv1", "g.mkv", 8, false, true},
                        Case{AV_PIX_FMT_GRAY10, "ffv1", "h.mkv", 10, false, true},
                        Case{AV_PIX_FMT_RGBA, "png", "i.mov", 8, true, false},
                        Case{AV_PIX_FMT_RGBA64BE, "png", "j.mov", 16, true, false},
                        Case{AV_PIX_FMT_YA8, "png", "k.mov", 8, true, true},
                        Case{AV_PIX_FMT_MONOWHITE, "tiff", "l.mov", 1, false, true},
                        Case{AV_PIX_FMT_RGB555BE, "qtrle", "m.mov", 5, false, false}}) {
    SCOPED_TRACE(c.name);
    const int most = (1 << c.bits) - 1;
    const int depth = c.bits > 8 ? 16 : 8;
    auto sample = [&](int frame, int component, int x, int y) {
      return Noise(frame, component, x, y) & most;
    };
    ClipPlan plan{Path(c.name), c.format, c.codec};
    plan.width = c.bits == 5 ? 20 : 17;  // its encoder stores four at a time
    plan.sample = sample;
    for (const int asked : {0, 32}) {
      VXIO_ClipReader reader = Make(plan);
      EXPECT_EQ(reader.info().depth, depth);
      EXPECT_EQ(reader.info().bits, c.bits);
      EXPECT_EQ(reader.info().has_alpha, c.alpha);
      EXPECT_EQ(reader.info().matrix, c.grey ? "grey" : "rgb");
      // The rule of pictures: to 8 or 16 bits, rounded to nearest; from 16 bits to 0..32768.
      auto channel = [&](int code) -> double {
        if (c.format == AV_PIX_FMT_MONOWHITE) code = 1 - code;
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
        EXPECT_EQ(got->picture.has_alpha, c.alpha);
        ASSERT_EQ(got->picture.world->width, plan.width);
        ASSERT_EQ(got->picture.world->height, plan.height);
        const auto expected = [&](int x, int y) -> Value {
          auto of = [&](int component) { return channel(sample(frame, component, x, y)); };
          const double opaque = channel(c.format == AV_PIX_FMT_MONOWHITE ? 0 : most);
          return {c.alpha ? of(c.grey ? 1 : 3) : opaque, of(0), of(c.grey ? 0 : 1),
                  of(c.grey ? 0 : 2)};
        };
        worst = std::max(worst, Worst(*got->picture.world, expected));
      }
      EXPECT_LE(worst, asked == 32 && c.bits < 8 ? 0.002 : asked == 32 ? 1e-7 : 0);
      EXPECT_FALSE(reader.Next());
    }
  }
}

TEST_F(Clip, PalettesHaveAlpha) {
  ClipPlan plan{Path("a.mov"), AV_PIX_FMT_PAL8, "png"};
  plan.sample = [](int frame, int, int x, int y) { return (frame + x * 9 + y * 17) & 255; };
  const auto got = Make(plan).Next();
  ASSERT_TRUE(got && got->picture.has_alpha);
  const auto expected = [](int x, int y) -> Value {
    const int i = (x * 9 + y * 17) & 255;
    return {255.0 - i, double(i), double(2 * i & 255), double(3 * i & 255)};
  };
  EXPECT_EQ(Worst(*got->picture.world, expected), 0);
}

// The definition, for luma of 0..1 and chroma of -0.5..0.5.
Value Rgb(double kr, double kb, double y, double u, double v) {
  const double red = y + 2 * (1 - kr) * v, blue = y + 2 * (1 - kb) * u;
  return {1, red, (y - kr * red - kb * blue) / (1 - kr - kb), blue};
}

TEST_F(Clip, YuvByMatrixRangeAndDepth) {
  struct Case {
    AVPixelFormat format;
    AVColorSpace matrix;
    AVColorRange range;
    int height;
    double kr, kb;  // 0: YCgCo
    const char* name;
  };
  constexpr auto kNone = AVCOL_RANGE_UNSPECIFIED;
  for (const Case& c :
       {Case{AV_PIX_FMT_YUV420P, AVCOL_SPC_BT709, AVCOL_RANGE_MPEG, 9, .2126, .0722, "bt709"},
        Case{AV_PIX_FMT_YUV422P, AVCOL_SPC_SMPTE170M, AVCOL_RANGE_JPEG, 9, .299, .114, "bt601"},
        Case{AV_PIX_FMT_YUV420P, AVCOL_SPC_UNSPECIFIED, kNone, 576, .299, .114, "bt601"},
        Case{AV_PIX_FMT_YUV410P, AVCOL_SPC_UNSPECIFIED, kNone, 577, .2126, .0722, "bt709"},
        Case{AV_PIX_FMT_YUV444P10, AVCOL_SPC_BT2020_NCL, AVCOL_RANGE_MPEG, 9, .2627, .0593,
             "bt2020"},
        Case{AV_PIX_FMT_GRAY8, AVCOL_SPC_UNSPECIFIED, AVCOL_RANGE_MPEG, 9, .299, .114, "grey"},
        Case{AV_PIX_FMT_YUV420P10, AVCOL_SPC_BT709, AVCOL_RANGE_JPEG, 9, .2126, .0722, "bt709"},
        Case{AV_PIX_FMT_YUV444P16, AVCOL_SPC_BT709, AVCOL_RANGE_JPEG, 9, .2126, .0722, "bt709"},
        Case{AV_PIX_FMT_YUVA420P, AVCOL_SPC_BT709, AVCOL_RANGE_MPEG, 9, .2126, .0722, "bt709"},
        Case{AV_PIX_FMT_YUVA444P10, AVCOL_SPC_BT470BG, AVCOL_RANGE_MPEG, 9, .299, .114, "bt601"},
        Case{AV_PIX_FMT_YUV444P, AVCOL_SPC_YCGCO, AVCOL_RANGE_MPEG, 9, 0, 0, "ycgco"}}) {
    SCOPED_TRACE(std::string(av_get_pix_fmt_name(c.format)) + " " + c.name);
    const int bits = av_pix_fmt_desc_get(c.format)->comp[0].depth, scale = 1 << (bits - 8);
    const int most = (1 << bits) - 1;
    const int components = av_pix_fmt_desc_get(c.format)->nb_components;
    // Luma and alpha are noise; chroma is constant within a frame.
    auto sample = [&](int frame, int component, int x, int y) {
      if (component == 0 || component == 3) return Noise(frame, component, x, y) & most;
      return Noise(frame, component, 0, 0) & most;
    };
    ClipPlan plan{Path("a.mkv"), c.format, "ffv1"};
    plan.height = c.height;
    plan.matrix = c.matrix;
    plan.range = c.range;
    plan.sample = sample;
    const bool full_range = c.range == AVCOL_RANGE_JPEG;
    for (const int depth : {8, 16, 32}) {
      VXIO_ClipReader reader = Make(plan);
      EXPECT_EQ(reader.info().matrix, c.name);
      EXPECT_EQ(reader.info().matrix_tagged, components == 1 || c.matrix != AVCOL_SPC_UNSPECIFIED);
      EXPECT_EQ(reader.info().full_range, full_range);
      const double full = depth == 8 ? 255 : depth == 16 ? 32768 : 1;
      double worst = 0;
      while (const auto got = reader.Next(depth)) {
        const auto expected = [&](int x, int y) {
          auto code = [&](int component) {
            return sample(static_cast<int>(got->number), component, x, y);
          };
          auto chroma = [&](int component) {
            if (components == 1) return 0.0;
            return (code(component) - 128.0 * scale) / (full_range ? most : 224.0 * scale);
          };
          const double luma =
              full_range ? double(code(0)) / most : (code(0) - 16.0 * scale) / (219.0 * scale);
          const double u = chroma(1), v = chroma(2);
          Value e = c.kr > 0 ? Rgb(c.kr, c.kb, luma, u, v)
                             : Value{1, luma - u + v, luma + u, luma - u - v};
          if (components == 4) e.alpha = double(code(3)) / most;
          for (double* value : {&e.alpha, &e.red, &e.green, &e.blue}) {
            *value = depth == 32 ? *value : std::floor(std::clamp(*value, 0.0, 1.0) * full + 0.5);
          }
          return e;
        };
        worst = std::max(worst, Worst(*got->picture.world, expected, 4));
      }
      // A value halfway between two codes may be rounded to either.
      EXPECT_LE(worst, depth == 32 ? 1e-6 : 1) << depth;
    }
  }
}

// Chroma that is linear in the position gives linear colours if it is interpolated at the tagged
// positions.
TEST_F(Clip, ChromaPositions) {
  struct Case {
    AVChromaLocation siting;
    double across, down;  // of the first sample, in pixels
  };
  for (const Case& c : {Case{AVCHROMA_LOC_UNSPECIFIED, 0, 0.5}, Case{AVCHROMA_LOC_LEFT, 0, 0.5},
                        Case{AVCHROMA_LOC_CENTER, 0.5, 0.5}, Case{AVCHROMA_LOC_TOPLEFT, 0, 0}}) {
    ClipPlan plan{Path("a.mkv"), AV_PIX_FMT_YUV420P10, "ffv1"};
    plan.width = plan.height = 48;
    plan.siting = c.siting;
    plan.matrix = AVCOL_SPC_BT709;
    plan.sample = [&](int, int component, int x, int y) {
      return component == 0 ? 500 : component == 1 ? 300 + 10 * x : 300 + 10 * y;
    };
    const auto got = Make(plan).Next(32);
    double worst = 0;
    for (int y = 8; y < 40; ++y) {
      for (int x = 8; x < 40; ++x) {
        const double u = 300 + 10 * (x - c.across) / 2, v = 300 + 10 * (y - c.down) / 2;
        const Value expected =
            Rgb(.2126, .0722, (500 - 64) / 876.0, (u - 512) / 896, (v - 512) / 896);
        worst = std::max(worst, Largest(At(*got->picture.world, x, y), expected));
      }
    }
    EXPECT_LT(worst, 5e-4) << c.siting;  // an error of half a pixel gives 0.005
  }
}

// These codecs preserve constant colours. VP9 has alpha in a stream of its own, ProRes with more
// bits.
TEST_F(Clip, CodecsThatAreNotExact) {
  struct Case {
    const char *name, *codec;
    AVPixelFormat format;
    bool full_range, alpha;
    int scale;
  };
  for (const Case& c : {Case{"a.avi", "mjpeg", AV_PIX_FMT_YUVJ420P, true, false, 1},
                        Case{"b.mp4", "mpeg4", AV_PIX_FMT_YUV420P, false, false, 1},
                        Case{"c.webm", "libvpx-vp9", AV_PIX_FMT_YUVA420P, false, true, 1},
                        Case{"d.mov", "prores_ks", AV_PIX_FMT_YUVA444P10, false, true, 4}}) {
    SCOPED_TRACE(c.name);
    ClipPlan plan{Path(c.name), c.format, c.codec};
    plan.width = 64;
    plan.height = 48;
    plan.range = c.full_range ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
    constexpr int kCodes[] = {120, 90, 160, 200};
    plan.sample = [&](int, int component, int, int) { return kCodes[component] * c.scale; };
    VXIO_ClipReader reader = Make(plan);
    EXPECT_EQ(reader.info().has_alpha, c.alpha);
    const double y = c.full_range ? 120 / 255.0 : (120 - 16) / 219.0;
    const double chroma = c.full_range ? 255 : 224;
    Value expected = Rgb(.299, .114, y, (90 - 128) / chroma, (160 - 128) / chroma);
    if (c.alpha) expected.alpha = 200 * c.scale / (256.0 * c.scale - 1);
    int frames = 0;
    for (; const auto got = reader.Next(32); ++frames) {
      EXPECT_LT(Largest(At(*got->picture.world, 20, 20), expected), 0.02);
    }
    EXPECT_EQ(frames, 3);
  }
}

TEST_F(Clip, AlphaAsAsked) {
  ClipPlan plan{Path("a.mkv"), AV_PIX_FMT_BGRA, "ffv1"};
  plan.sample = [](int, int component, int, int) { return component == 3 ? 128 : 64; };
  VXIO_ClipReader reader = Make(plan);
  EXPECT_EQ(Largest(At(*reader.Next(8)->picture.world, 3, 3), {128, 64, 64, 64}), 0);
  // 64 * 255 / 128 is 127.5.
  EXPECT_LE(Largest(At(*reader.Next(8, VXIO_AlphaAs::Premultiplied)->picture.world, 3, 3),
                    {128, 127.5, 127.5, 127.5}),
            0.5);
  const auto opaque = reader.Next(8, VXIO_AlphaAs::Ignore);
  EXPECT_FALSE(opaque->picture.has_alpha);
  EXPECT_EQ(Largest(At(*opaque->picture.world, 3, 3), {255, 64, 64, 64}), 0);
}

}  // namespace

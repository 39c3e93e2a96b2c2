// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO/VXIO_Clip.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "ClipMaker.h"
#include "VXIO/VXIO_Compare.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace {

// Every test has an empty folder, and nothing may appear on the standard error.
class Clip : public testing::Test {
 protected:
  void SetUp() override {
    folder_ = std::filesystem::temp_directory_path() / ("vx-clips-" + std::to_string(getpid()));
    std::filesystem::create_directory(folder_);
    testing::internal::CaptureStderr();
  }
  void TearDown() override {
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    std::filesystem::remove_all(folder_);
  }
  std::string Path(const std::string& name) const { return folder_ / name; }

 private:
  std::filesystem::path folder_;
};

int Noise(int frame, int component, int x, int y) {
  uint32_t n =
      static_cast<uint32_t>(frame * 7919 + component * 104729 + x * 1299709 + y * 15485863);
  n = (n ^ n >> 13) * 0x5bd1e995u;
  return static_cast<int>((n ^ n >> 15) & 0xFFFF);
}

struct Value {
  double alpha, red, green, blue;
};

// A pixel as the numbers of its channels.
Value At(const VX_LayerDef& world, int32_t x, int32_t y) {
  const char* row = static_cast<const char*>(world.data) + ptrdiff_t{y} * world.rowbytes;
  auto given = [&](auto pixel) {
    std::memcpy(&pixel, row + static_cast<size_t>(x) * sizeof pixel, sizeof pixel);
    return Value{double(pixel.alpha), double(pixel.red), double(pixel.green), double(pixel.blue)};
  };
  switch (VXp_WorldDepth(&world)) {
    case 8: return given(VX_Pixel8{});
    case 16: return given(VX_Pixel16{});
    default: return given(VX_PixelFloat{});
  }
}

double Largest(const Value& a, const Value& b) {
  return std::max({std::abs(a.alpha - b.alpha), std::abs(a.red - b.red),
                   std::abs(a.green - b.green), std::abs(a.blue - b.blue)});
}

std::string Refusal(const std::string& path) {
  try {
    VXIO_ClipReader reader(path);
    while (reader.Skip()) {
    }
  } catch (const VXIO_Error& error) {
    EXPECT_EQ(error.kind(), VXIO_ErrorKind::Input);
    const std::string text = error.what();
    EXPECT_TRUE(text.starts_with(path + ": ")) << text;
    EXPECT_EQ(text.find('\n'), std::string::npos) << text;
    return text.substr(path.size() + 2);
  }
  return "";
}

std::string Bytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void Put(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

// --- colours -------------------------------------------------------------------------------------

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
    MakeClip(plan);
    for (const int asked : {0, 32}) {
      VXIO_ClipReader reader(plan.path);
      EXPECT_EQ(reader.info().depth, depth);
      EXPECT_EQ(reader.info().bits, c.bits);
      EXPECT_EQ(reader.info().has_alpha, c.alpha);
      EXPECT_EQ(reader.info().matrix, c.grey ? "grey" : "rgb");
      // A sample by the rules of pictures: to 8 or 16 bits to nearest, those to white at 32768.
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
        for (int y = 0; y < plan.height; ++y) {
          for (int x = 0; x < plan.width; ++x) {
            auto of = [&](int component) { return channel(sample(frame, component, x, y)); };
            const int last = c.grey ? 1 : 3;
            const Value expected{
                c.alpha ? of(last) : channel(c.format == AV_PIX_FMT_MONOWHITE ? 0 : most), of(0),
                of(c.grey ? 0 : 1), of(c.grey ? 0 : 2)};
            worst = std::max(worst, Largest(At(*got->picture.world, x, y), expected));
          }
        }
      }
      EXPECT_LE(worst, asked == 32 && c.bits < 8 ? 0.002 : asked == 32 ? 1e-7 : 0);
      EXPECT_FALSE(reader.Next());
    }
  }
}

TEST_F(Clip, PalettesHaveAlpha) {
  ClipPlan plan{Path("a.mov"), AV_PIX_FMT_PAL8, "png"};
  plan.sample = [](int frame, int, int x, int y) { return (frame + x * 9 + y * 17) & 255; };
  MakeClip(plan);
  VXIO_ClipReader reader(plan.path);
  const auto got = reader.Next();
  ASSERT_TRUE(got && got->picture.has_alpha);
  for (int x = 0; x < 17; ++x) {
    const int i = (x * 9 + 3 * 17) & 255;
    const Value expected{255.0 - i, double(i), double(2 * i & 255), double(3 * i & 255)};
    EXPECT_EQ(Largest(At(*got->picture.world, x, 3), expected), 0) << x;
  }
}

// The textbook's way from luma and chroma of 0..1 and -0.5..0.5.
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
        Case{AV_PIX_FMT_YUV420P10, AVCOL_SPC_BT709, AVCOL_RANGE_JPEG, 9, .2126, .0722, "bt709"},
        Case{AV_PIX_FMT_YUV444P16, AVCOL_SPC_BT709, AVCOL_RANGE_JPEG, 9, .2126, .0722, "bt709"},
        Case{AV_PIX_FMT_YUVA420P, AVCOL_SPC_BT709, AVCOL_RANGE_MPEG, 9, .2126, .0722, "bt709"},
        Case{AV_PIX_FMT_YUVA444P10, AVCOL_SPC_BT470BG, AVCOL_RANGE_MPEG, 9, .299, .114, "bt601"},
        Case{AV_PIX_FMT_YUV444P, AVCOL_SPC_YCGCO, AVCOL_RANGE_MPEG, 9, 0, 0, "ycgco"}}) {
    SCOPED_TRACE(std::string(av_get_pix_fmt_name(c.format)) + " " + c.name);
    const int bits = av_pix_fmt_desc_get(c.format)->comp[0].depth, scale = 1 << (bits - 8);
    const int most = (1 << bits) - 1;
    const bool alpha = av_pix_fmt_desc_get(c.format)->nb_components == 4;
    // Chroma is flat, a new one each frame; luma and alpha are noise.
    auto sample = [&](int frame, int component, int x, int y) {
      if (component == 0 || component == 3) return Noise(frame, component, x, y) & most;
      return Noise(frame, component, 0, 0) & most;
    };
    ClipPlan plan{Path("a.mkv"), c.format, "ffv1"};
    plan.height = c.height;
    plan.matrix = c.matrix;
    plan.range = c.range;
    plan.sample = sample;
    MakeClip(plan);
    const bool full_range = c.range == AVCOL_RANGE_JPEG;
    for (const int depth : {8, 16, 32}) {
      VXIO_ClipReader reader(plan.path);
      EXPECT_EQ(reader.info().matrix, c.name);
      EXPECT_EQ(reader.info().matrix_tagged, c.matrix != AVCOL_SPC_UNSPECIFIED);
      EXPECT_EQ(reader.info().full_range, full_range);
      const double full = depth == 8 ? 255 : depth == 16 ? 32768 : 1;
      double worst = 0;
      while (const auto got = reader.Next(depth)) {
        for (int y = 0; y < plan.height; y += 4) {
          for (int x = 0; x < plan.width; ++x) {
            auto code = [&](int component) {
              return sample(static_cast<int>(got->number), component, x, y);
            };
            auto chroma = [&](int component) {
              return (code(component) - 128.0 * scale) / (full_range ? most : 224.0 * scale);
            };
            const double luma =
                full_range ? double(code(0)) / most : (code(0) - 16.0 * scale) / (219.0 * scale);
            const double u = chroma(1), v = chroma(2);
            Value e = c.kr > 0 ? Rgb(c.kr, c.kb, luma, u, v)
                               : Value{1, luma - u + v, luma + u, luma - u - v};
            if (alpha) e.alpha = double(code(3)) / most;
            for (double* value : {&e.alpha, &e.red, &e.green, &e.blue}) {
              *value = depth == 32 ? *value : std::floor(std::clamp(*value, 0.0, 1.0) * full + 0.5);
            }
            worst = std::max(worst, Largest(At(*got->picture.world, x, y), e));
          }
        }
      }
      // A value that lies on the edge of two codes may go to either.
      EXPECT_LE(worst, depth == 32 ? 1e-6 : 1) << depth;
    }
  }
}

TEST_F(Clip, GreyOfLimitedRangeHasItsBlackAt16) {
  ClipPlan plan{Path("a.mkv"), AV_PIX_FMT_GRAY8, "ffv1"};
  plan.range = AVCOL_RANGE_MPEG;
  plan.sample = [](int, int, int x, int) { return x * 16; };
  MakeClip(plan);
  VXIO_ClipReader reader(plan.path);
  const auto got = reader.Next(32);
  for (int x = 0; x < 16; ++x) {
    EXPECT_NEAR(At(*got->picture.world, x, 0).green, (x * 16 - 16) / 219.0, 1e-6);
  }
}

// Chroma that rises evenly with the place gives colours that do, when its samples are taken to lie
// where they lie.
TEST_F(Clip, ChromaLiesWhereTheTagSays) {
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
    MakeClip(plan);
    VXIO_ClipReader reader(plan.path);
    const auto got = reader.Next(32);
    double worst = 0;
    for (int y = 8; y < 40; ++y) {
      for (int x = 8; x < 40; ++x) {
        const double u = 300 + 10 * (x - c.across) / 2, v = 300 + 10 * (y - c.down) / 2;
        const Value expected =
            Rgb(.2126, .0722, (500 - 64) / 876.0, (u - 512) / 896, (v - 512) / 896);
        worst = std::max(worst, Largest(At(*got->picture.world, x, y), expected));
      }
    }
    EXPECT_LT(worst, 5e-4) << c.siting;  // half a pixel beside would be 0.005
  }
}

TEST_F(Clip, AlphaAsAsked) {
  ClipPlan plan{Path("a.mkv"), AV_PIX_FMT_BGRA, "ffv1"};
  plan.sample = [](int, int component, int, int) { return component == 3 ? 128 : 64; };
  MakeClip(plan);
  VXIO_ClipReader reader(plan.path);
  EXPECT_EQ(Largest(At(*reader.Next(8)->picture.world, 3, 3), {128, 64, 64, 64}), 0);
  // 64 * 255 / 128 is 127.5.
  EXPECT_LE(Largest(At(*reader.Next(8, VXIO_AlphaAs::Premultiplied)->picture.world, 3, 3),
                    {128, 127.5, 127.5, 127.5}),
            0.5);
  const auto opaque = reader.Next(8, VXIO_AlphaAs::Ignore);
  EXPECT_FALSE(opaque->picture.has_alpha);
  EXPECT_EQ(Largest(At(*opaque->picture.world, 3, 3), {255, 64, 64, 64}), 0);
}

// --- what stands around the pixels ---------------------------------------------------------------

TEST_F(Clip, TurnedUpright) {
  constexpr int32_t kOne = 65536;
  struct Case {
    std::vector<int32_t> turn;
    bool turned;          // the first number of the display goes with y
    bool flip_x, flip_y;  // then, in the display
  };
  for (const Case& c :
       {Case{{kOne, 0, 0, kOne}, false, false, false},
        Case{{-kOne, 0, 0, kOne}, false, true, false},
        Case{{-kOne, 0, 0, -kOne}, false, true, true},
        Case{{kOne, 0, 0, -kOne}, false, false, true}, Case{{0, kOne, kOne, 0}, true, false, false},
        Case{{0, kOne, -kOne, 0}, true, true, false}, Case{{0, -kOne, -kOne, 0}, true, true, true},
        Case{{0, -kOne, kOne, 0}, true, false, true}}) {
    ClipPlan plan{Path("a.mov"), AV_PIX_FMT_RGBA, "png"};
    plan.width = 5;
    plan.height = 3;
    plan.aspect = {2, 1};
    plan.turn = c.turn;
    plan.sample = [](int, int component, int x, int y) { return component == 0 ? x : y; };
    MakeClip(plan);
    VXIO_ClipReader reader(plan.path);
    const VXIO_ClipInfo& info = reader.info();
    ASSERT_EQ(info.width, c.turned ? 3 : 5);
    ASSERT_EQ(info.height, c.turned ? 5 : 3);
    EXPECT_EQ(info.pixel_aspect.num, c.turned ? 1 : 2);
    EXPECT_EQ(info.pixel_aspect.den, c.turned ? 2 : 1);
    const auto got = reader.Next();
    for (int y = 0; y < 3; ++y) {
      for (int x = 0; x < 5; ++x) {
        int across = c.turned ? y : x, down = c.turned ? x : y;
        if (c.flip_x) across = info.width - 1 - across;
        if (c.flip_y) down = info.height - 1 - down;
        const Value pixel = At(*got->picture.world, across, down);
        EXPECT_TRUE(pixel.red == x && pixel.green == y) << info.orientation;
      }
    }
    EXPECT_TRUE(got->picture.warnings.empty());
  }
  ClipPlan plan{Path("b.mov"), AV_PIX_FMT_RGBA, "png"};
  plan.turn = {46341, 46341, -46341, 46341};
  plan.sample = Noise;
  MakeClip(plan);
  VXIO_ClipReader reader(plan.path);
  EXPECT_EQ(reader.Next()->picture.warnings.size(), 1u);
  EXPECT_TRUE(reader.Next()->picture.warnings.empty());
}

TEST_F(Clip, NumbersTimesAndCounts) {
  ClipPlan plan{Path("a.mkv"), AV_PIX_FMT_BGR0, "ffv1"};
  plan.frames = 5;
  plan.stamps = {0, 1, 4, 5, 9};
  plan.sound = true;
  plan.transfer = AVCOL_TRC_SMPTE2084;
  plan.sample = Noise;
  MakeClip(plan);
  VXIO_ClipReader reader(plan.path);
  EXPECT_EQ(reader.info().format, "matroska");
  EXPECT_EQ(reader.info().codec, "ffv1");
  EXPECT_EQ(reader.info().pixel_format, "bgr0");
  EXPECT_FALSE(reader.info().counted);
  EXPECT_NEAR(reader.info().duration.value_or(0), 0.4, 1e-3);
  EXPECT_TRUE(reader.Skip());
  EXPECT_EQ(reader.position(), 1);
  for (const double time : {0.04, 0.16, 0.20, 0.36}) {
    const auto got = reader.Next();
    ASSERT_TRUE(got);
    EXPECT_NEAR(got->time.value_or(-1), time, 1e-9);
    EXPECT_EQ(got->picture.warnings.size(), time == 0.04 ? 1u : 0u);  // the transfer curve
  }
  EXPECT_FALSE(reader.Skip());
  EXPECT_FALSE(reader.Next());
  EXPECT_TRUE(reader.info().counted);
  EXPECT_EQ(reader.info().frames, 5);

  plan = {Path("b.mov"), AV_PIX_FMT_RGBA, "png"};
  plan.rate = {30000, 1001};
  plan.sample = Noise;
  MakeClip(plan);
  VXIO_ClipReader other(plan.path);
  other = VXIO_ClipReader(plan.path);
  EXPECT_EQ(other.info().frames, 3);
  EXPECT_EQ(other.info().frame_rate.num, 30000);
  EXPECT_EQ(other.info().frame_rate.den, 1001);
  other.Skip();
  EXPECT_EQ(other.Next()->time, 1001 / 30000.0);
}

// --- what is wrong -------------------------------------------------------------------------------

// However much is left of a file, the frames that come are those of the whole one, and when some
// are missing that is told.
TEST_F(Clip, CutAnywhere) {
  struct Case {
    const char *name, *codec;
    AVPixelFormat format;
    bool sound;
  };
  for (const Case& c : {Case{"a.mkv", "ffv1", AV_PIX_FMT_BGR0, false},
                        Case{"b.mkv", "ffv1", AV_PIX_FMT_YUV420P, true},
                        Case{"c.mov", "png", AV_PIX_FMT_RGBA, false},
                        Case{"d.avi", "ffv1", AV_PIX_FMT_BGR0, false}}) {
    ClipPlan plan{Path(c.name), c.format, c.codec};
    plan.frames = 6;
    plan.sound = c.sound;
    plan.sample = Noise;
    MakeClip(plan);
    const std::string whole = Bytes(plan.path);
    std::vector<VXIO_WorldPtr> frames;
    VXIO_ClipReader reader(plan.path);
    while (auto got = reader.Next()) frames.push_back(std::move(got->picture.world));
    ASSERT_EQ(frames.size(), 6u);
    size_t most = 0;
    for (size_t size = 1; size < whole.size(); size += 1 + size % 53) {
      SCOPED_TRACE(std::string(c.name) + " cut to " + std::to_string(size) + " of " +
                   std::to_string(whole.size()));
      const std::string path = Path("cut");
      Put(path, whole.substr(0, size));
      size_t read = 0;
      std::string said;
      try {
        VXIO_ClipReader cut(path);
        for (; auto got = cut.Next(); ++read) {
          ASSERT_LT(read, frames.size());
          EXPECT_TRUE(VXIO_Compare(*got->picture.world, *frames[read]).equal) << read;
        }
      } catch (const VXIO_Error& error) {
        said = error.what();
      }
      most = std::max(most, read);
      if (read == frames.size()) continue;
      EXPECT_TRUE(said.starts_with(path + ": ")) << said;
      if (read > 0) {
        EXPECT_NE(said.find("at frame " + std::to_string(read)), std::string::npos) << said;
      }
    }
    EXPECT_GE(most, std::string(c.name) == "c.mov" ? 0u : 5u);  // its index is at the end
  }
}

TEST_F(Clip, DamageInsideAFrame) {
  ClipPlan plan{Path("a.mkv"), AV_PIX_FMT_YUV420P, "ffv1"};
  plan.frames = 4;
  plan.sample = Noise;
  MakeClip(plan);
  std::string bytes = Bytes(plan.path);
  bytes[bytes.size() * 6 / 10] ^= 0x55;
  Put(plan.path, bytes);
  VXIO_ClipReader reader(plan.path);
  EXPECT_TRUE(reader.Skip());
  std::string first;
  for (int i = 0; i < 2; ++i) {  // and it stays damaged
    try {
      while (reader.Next()) {
      }
      ADD_FAILURE();
    } catch (const VXIO_Error& error) {
      if (i == 0) first = error.what();
      EXPECT_EQ(error.what(), first);
    }
  }
  EXPECT_NE(first.find("at frame " + std::to_string(reader.position())), std::string::npos);
  EXPECT_LT(reader.position(), 3);
}

TEST_F(Clip, WhatIsNoClip) {
  ClipPlan plan{Path("a.mkv")};
  plan.sample = Noise;
  MakeClip(plan);
  std::string bytes = Bytes(plan.path);
  const size_t width = bytes.find(std::string("\xB0\x81\x11\xBA\x81\x09", 6));
  ASSERT_NE(width, std::string::npos);
  bytes.replace(width, 3, std::string("\xEC\x81\x00", 3));  // its width becomes padding
  Put(Path("none.mkv"), bytes);
  plan.path = Path("sound.mkv");
  plan.frames = 0;
  plan.sound = true;
  MakeClip(plan);
  plan = {Path("wide.mkv"), AV_PIX_FMT_YUV420P, "ffv1"};
  plan.width = 32000;
  plan.height = 1;
  plan.sample = Noise;
  MakeClip(plan);
  plan = {Path("tensors.mkv"), AV_PIX_FMT_YUV444P, "ffv1"};
  plan.matrix = AVCOL_SPC_ICTCP;
  plan.sample = Noise;
  MakeClip(plan);
  Put(Path("empty.mkv"), "");
  Put(Path("text.mkv"), "a line of words\nand one more\n");
  Put(Path("list.m3u8"), "#EXTM3U\n#EXT-X-TARGETDURATION:9\n#EXTINF:9,\na.mkv\n#EXT-X-ENDLIST\n");
  Put(Path("list.txt"), "ffconcat version 1.0\nfile a.mkv\n");
  Put(Path("a.ppm"), "P6\n1 1\n255\nabc");
  std::filesystem::create_directory(Path("folder"));
  for (const auto& [name, words] : {std::pair{"no.mkv", "no such file"},
                                    {"folder", "is a folder"},
                                    {"empty.mkv", "is empty"},
                                    {"text.mkv", "is neither a clip"},
                                    {"list.m3u8", "is neither a clip"},
                                    {"list.txt", "is neither a clip"},
                                    {"a.ppm", "is a picture (pnm)"},
                                    {"sound.mkv", "holds no video"},
                                    {"none.mkv", "pixels"},
                                    {"wide.mkv", "at most 30000"},
                                    {"tensors.mkv", "ictcp"}}) {
    EXPECT_NE(Refusal(Path(name)).find(words), std::string::npos) << Refusal(Path(name));
  }
  EXPECT_THROW(VXIO_ClipReader("file:" + Path("a.mkv")), VXIO_Error);  // a name is no address
  EXPECT_FALSE(VXIO_IsPicture(Path("a.mkv")));
  EXPECT_TRUE(VXIO_IsPicture(Path("a.ppm")));
  EXPECT_FALSE(VXIO_IsPicture(Path("text.mkv")));
  std::filesystem::rename(Path("text.mkv"), Path("text.png"));
  EXPECT_TRUE(VXIO_IsPicture(Path("text.png")));
  try {
    VXIO_Read(Path("a.mkv"));
    FAIL();
  } catch (const VXIO_Error& error) {
    EXPECT_NE(std::string(error.what()).find("is a clip (matroska)"), std::string::npos);
  }
}

}  // namespace

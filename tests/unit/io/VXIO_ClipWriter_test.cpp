// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO/VXIO_ClipWriter.h"

#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <optional>
#include <stdexcept>
#include <type_traits>

#include "ClipTest.h"

namespace {

// Smooth where `noise` is 0; with noise, every code of the depth occurs.
vx::Image Scene(int32_t depth, int frame, bool alpha, bool noise, int width = 33, int height = 19) {
  vx::Image image(width, height, depth);
  vx::visit(image, [&](auto view) {
    using Pixel = typename decltype(view)::Pixel;
    using Channel = typename vx::PixelTraits<Pixel>::Channel;
    const double full = vx::PixelTraits<Pixel>::full_scale;
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        const auto value = [&](int c) {
          const double wave = 0.5 + 0.4 * std::sin(0.09 * x + 0.07 * y * (c + 1) + 0.3 * frame + c);
          const double at = noise ? Noise(frame, c, x, y) / 65535.0 : wave;
          return static_cast<Channel>(std::is_same_v<Channel, float> ? at
                                                                     : std::floor(at * full + 0.5));
        };
        Pixel& pixel = view.row(y)[static_cast<size_t>(x)];
        pixel = {alpha ? value(3) : vx::PixelTraits<Pixel>::full_scale, value(0), value(1),
                 value(2)};
      }
    }
  });
  return image;
}

// Returns the peak signal-to-noise ratio of two channels sets: red, green and blue, or alpha.
double Psnr(vx::AnyConstView a, vx::AnyConstView b, bool alpha) {
  double sum = 0;
  const double full = vx::full_scale(a.depth());
  for (int32_t y = 0; y < a.height(); ++y) {
    for (int32_t x = 0; x < a.width(); ++x) {
      const Value p = At(a, x, y), q = At(b, x, y);
      if (alpha) sum += 3 * std::pow((p.alpha - q.alpha) / full, 2);
      if (alpha) continue;
      sum += std::pow((p.red - q.red) / full, 2) + std::pow((p.green - q.green) / full, 2) +
             std::pow((p.blue - q.blue) / full, 2);
    }
  }
  return -10 * std::log10(sum / (3.0 * a.width() * a.height()));
}

void Write(VXIO_ClipWriter* writer, vx::AnyConstView picture) {
  writer->Write(*picture.descriptor());
}

constexpr double kExact = std::numeric_limits<double>::infinity();

TEST_F(Clip, RoundTrips) {
  // The floors of the lossy codecs are about 3 dB below the measured values.
  const struct {
    const char *name, *codec;
    int32_t bits, depth;
    bool alpha;
    const char* format;
    double colours, alphas;  // PSNR in dB, at least
  } cases[] = {
      {"a.mkv", "", 0, 8, false, "bgr0", kExact, kExact},
      {"a.mkv", "ffv1", 8, 8, true, "bgra", kExact, kExact},
      {"a.mkv", "", 0, 16, false, "gbrp16le", kExact, kExact},
      {"a.mkv", "", 0, 16, true, "gbrap16le", kExact, kExact},
      {"a.mkv", "", 0, 32, true, "gbrap16le", 100, 100},
      {"a.mkv", "", 12, 16, true, "gbrap12le", 80, 80},
      {"a.mkv", "", 10, 8, false, "gbrp10le", kExact, kExact},
      {"a.mov", "png", 0, 8, false, "rgb24", kExact, kExact},
      {"a.mov", "png", 0, 8, true, "rgba", kExact, kExact},
      {"a.mov", "png", 0, 16, true, "rgba64be", kExact, kExact},
      {"a.mov", "", 0, 8, false, "yuv444p10le", 48, kExact},
      {"a.mov", "", 0, 16, true, "yuva444p10le", 50, 60},
      {"a.webm", "", 0, 8, true, "yuva420p", 36, 36},
      {"a.webm", "vp9", 0, 16, false, "yuv420p10le", 32, kExact},
      {"a.mkv", "vp9", 12, 32, false, "yuv420p12le", 36, kExact},
      {"a.mp4", "", 0, 8, false, "yuv420p", 32, kExact},
      {"a.mp4", "h264", 10, 16, false, "yuv420p10le", 32, kExact},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.name) + " " + c.codec + " " + c.format);
    const bool lossless = c.colours == kExact;
    VXIO_ClipOptions options;
    options.codec = c.codec;
    options.bits = c.bits;
    options.frame_rate = {24000, 1001};
    const int width = c.name == std::string("a.mp4") ? 34 : 33, height = width - 14;
    const auto scene = [&](int frame) {
      return Scene(c.depth, frame, c.alpha, lossless, width, height);
    };
    VXIO_ClipWriter writer(Path(c.name), options);
    for (int frame = 0; frame < 5; ++frame) Write(&writer, scene(frame));
    const bool fewer = (c.depth == 32 && lossless) || (c.depth == 32 && c.bits == 0);
    EXPECT_EQ(writer.Finish().size(), fewer ? 1u : 0u);
    VXIO_ClipReader reader(Path(c.name));
    EXPECT_EQ(reader.info().pixel_format, c.format);
    EXPECT_EQ(reader.info().has_alpha, c.alpha);
    EXPECT_EQ(reader.info().frame_rate.num * 1001LL, reader.info().frame_rate.den * 24000LL);
    for (int frame = 0; frame < 5; ++frame) {
      const auto got = reader.Next(c.depth);
      ASSERT_TRUE(got && got->picture.warnings.empty());
      EXPECT_NEAR(got->time.value_or(-1), frame * 1001 / 24000.0, 0.0006);
      EXPECT_GE(Psnr(scene(frame), *got->picture.world, false), c.colours);
      EXPECT_GE(Psnr(scene(frame), *got->picture.world, true), c.alphas);
    }
    EXPECT_FALSE(reader.Skip());
  }
}

// Arguments that are refused before a file is made.
TEST_F(Clip, WrongOptions) {
  using Change = void (*)(VXIO_ClipOptions*);
  const struct {
    const char* name;
    Change change;
    const char* text;
  } cases[] = {
      {"a.avi", [](VXIO_ClipOptions*) {}, "use mkv, mov, webm, mp4"},
      {"a", [](VXIO_ClipOptions*) {}, "use mkv, mov, webm, mp4"},
      {"a.mov", [](VXIO_ClipOptions* o) { o->codec = "ffv1"; }, "mov has prores4444, png, h264"},
      {"a.mkv", [](VXIO_ClipOptions* o) { o->codec = "x"; }, "codec x: matroska has ffv1"},
      {"a.mkv", [](VXIO_ClipOptions* o) { o->bits = 9; }, "ffv1 has 8, 10, 12, 16"},
      {"a.mov", [](VXIO_ClipOptions* o) { o->bits = 12; }, "prores4444 has 10"},
      {"a.mkv", [](VXIO_ClipOptions* o) { o->quality = 1; }, "ffv1 has no choice"},
      {"a.mp4", [](VXIO_ClipOptions* o) { o->quality = 52; }, "h264 has 0 to 51"},
      {"a.mp4", [](VXIO_ClipOptions* o) { o->matrix = "rgb"; }, "must be one of bt709"},
      {"a.mkv", [](VXIO_ClipOptions* o) { o->frame_rate.num = 0; }, "frame rate"},
      {"a.mkv", [](VXIO_ClipOptions* o) { o->frame_rate.num = -1; }, "frame rate"},
      {"a.mkv",
       [](VXIO_ClipOptions* o) {
         o->time_base = {1, 0};
       },
       "time base"},
      {"a.mkv", [](VXIO_ClipOptions* o) { o->pixel_aspect.num = 0; }, "aspect"},
      {"a.mkv", [](VXIO_ClipOptions* o) { o->audio_from = "b"; }, "duration"},
      {"a.webm",
       [](VXIO_ClipOptions* o) {
         o->alpha = true;
         o->bits = 10;
       },
       "alpha with at most 8"},
  };
  for (const auto& c : cases) {
    VXIO_ClipOptions options;
    options.frame_rate = {25, 1};
    c.change(&options);
    try {
      const VXIO_ClipWriter writer(Path(c.name), options);
      ADD_FAILURE() << c.text;
    } catch (const std::invalid_argument& error) {
      EXPECT_NE(std::string(error.what()).find(c.text), std::string::npos) << error.what();
    }
  }
  EXPECT_TRUE(std::filesystem::is_empty(Path("")));
}

// Frames that a clip cannot contain. The clip that was begun disappears, the old file stays.
TEST_F(Clip, WrongFrames) {
  const struct {
    const char* name;
    std::optional<bool> alpha;
    const char* text;  // of the error; empty: none
    size_t warnings;
  } cases[] = {
      {"a.mkv", {}, "no frame was written", 0},
      {"a.mkv", {}, "frame 1 has 32 x 20 pixels, the frames before it 34 x 20", 0},
      {"a.mp4", {}, "needs an even width and height, not 33 x 20", 0},
      {"a.mkv", {}, "frame 1 has pixels that are not opaque", 0},
      {"a.mkv", false, "", 0},
      {"a.mkv", true, "", 0},
      {"a.mp4", {}, "", 1},
      {"a.mp4", true, "", 1},
  };
  const std::vector<std::vector<std::pair<int, bool>>> frames = {// width, alpha
                                                                 {},
                                                                 {{34, false}, {32, false}},
                                                                 {{33, false}},
                                                                 {{34, false}, {34, true}},
                                                                 {{34, true}},
                                                                 {{34, false}, {34, true}},
                                                                 {{34, true}, {34, true}},
                                                                 {{34, true}}};
  for (size_t i = 0; i < frames.size(); ++i) {
    for (const bool strict : {false, true}) {
      const auto& c = cases[i];
      SCOPED_TRACE(std::to_string(i) + c.text);
      std::ofstream(Path(c.name)) << "old";
      std::string message;
      size_t warnings = 0;
      try {
        VXIO_ClipOptions options;
        options.frame_rate = {25, 1};
        options.alpha = c.alpha;
        options.strict = strict;
        VXIO_ClipWriter writer(Path(c.name), options);
        for (const auto& [width, alpha] : frames[i]) {
          Write(&writer, Scene(8, 0, alpha, false, width, 20));
        }
        warnings = writer.Finish().size();
      } catch (const VXIO_Error& error) {
        EXPECT_EQ(error.kind(), VXIO_ErrorKind::Output);
        message = error.what();
      }
      const bool fails = *c.text != 0 || (strict && c.warnings > 0);
      EXPECT_EQ(warnings, fails ? 0 : c.warnings);
      EXPECT_EQ(message.empty(), !fails) << message;
      EXPECT_NE(message.find(c.text), std::string::npos) << message;
      EXPECT_EQ(std::filesystem::file_size(Path(c.name)) == 3, fails);
      EXPECT_EQ(std::distance(std::filesystem::directory_iterator(Path("")), {}), 1);
      std::filesystem::remove(Path(c.name));
    }
  }
}

// Sizes that are smaller than the blocks of the codecs.
TEST_F(Clip, SmallSizes) {
  for (const auto& [name, sizes, most] :
       {std::tuple{"a.mkv", 50, 0.0}, {"a.mov", 10, 8.0}, {"a.webm", 10, 40.0}}) {
    for (int size = 0; size < sizes; ++size) {
      const int depth = size < 25 ? 8 : 16, width = 1 + size % 5, height = 1 + size / 5 % 5;
      VXIO_ClipOptions options;
      options.frame_rate = {25, 1};
      VXIO_ClipWriter writer(Path(name), options);
      const vx::Image picture = Scene(depth, 0, depth == 16, false, width, height);
      Write(&writer, picture);
      writer.Finish();
      const auto got = VXIO_ClipReader(Path(name)).Next(depth);
      const auto expected = [&](int x, int y) { return At(picture, x, y); };
      EXPECT_LE(Worst(*got->picture.world, expected), most * (depth == 8 ? 1 : 128))
          << name << ' ' << width << ' ' << height << ' ' << depth;
    }
  }
}

}  // namespace

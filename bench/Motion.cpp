// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// In-between frames with default settings: the first frame of a pair, which includes the estimate
// of the motion, and a further frame of the same pair. OpenCV's DIS optical flow estimates both
// fields of full-size pictures, without a frame.

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "Content.h"
#include "Peers.h"
#include "Sections.h"
#include "VX/VX_FrameBlending.h"
#include "Versus.h"

namespace {

// A texture with details of several sizes, moved by (dx, dy). The right third moves the other way.
class Texture {
 public:
  double At(double x, double y) const {
    double sum = 0;
    for (int octave = 0; octave < 5; ++octave) {
      const double size = 8 << octave;
      sum += Noise(x / size, y / size, octave) * (octave + 1);
    }
    return sum / 15;
  }

 private:
  static double Hash(int64_t x, int64_t y, int octave) {
    auto h = static_cast<uint64_t>(x * 73856093 ^ y * 19349663 ^ octave * 83492791);
    h = (h ^ (h >> 13)) * 0x9E3779B97F4A7C15u;
    return static_cast<double>(h >> 40) / 16777216.0;
  }
  static double Noise(double x, double y, int octave) {
    const double left = std::floor(x), top = std::floor(y);
    const auto smooth = [](double t) { return t * t * (3 - 2 * t); };
    const double fx = smooth(x - left), fy = smooth(y - top);
    const auto i = static_cast<int64_t>(left), j = static_cast<int64_t>(top);
    const auto mix = [](double a, double b, double t) { return a + (b - a) * t; };
    return mix(mix(Hash(i, j, octave), Hash(i + 1, j, octave), fx),
               mix(Hash(i, j + 1, octave), Hash(i + 1, j + 1, octave), fx), fy);
  }
};

Frame<VX_Pixel8> MakeFrame(int32_t width, int32_t height, double dx, double dy) {
  Frame<VX_Pixel8> frame(width, height);
  const Texture texture;
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      const double side = x < width * 2 / 3 ? 1 : -1;
      const auto value = static_cast<uint8_t>(255 * texture.At(x - side * dx, y - dy));
      frame.pixels[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)] = {
          255, value, value, value};
    }
  }
  return frame;
}

std::vector<uint8_t> Grey(const Frame<VX_Pixel8>& frame) {
  std::vector<uint8_t> grey;
  for (const VX_Pixel8& pixel : frame.pixels) grey.push_back(pixel.green);
  return grey;
}
class Motion {
 public:
  Motion(const Options& options, int32_t width, int32_t height)
      : options_(options),
        name_(std::to_string(width) + "x" + std::to_string(height) + "/"),
        first_(MakeFrame(width, height, 0, 0)),
        second_(MakeFrame(width, height, 6.5, -3.25)),
        out_(MakeFrame(width, height, 0, 0)) {}

  void Run() {
    const std::vector<Rival> none(3), flows = Flows(Grey(first_), Grey(second_));
    for (const auto& [name, quality] : {std::pair{"standard", VX_TweenQuality_Standard},
                                        std::pair{"high", VX_TweenQuality_High}}) {
      const std::string suffix = std::string(" of a pair, ") + name;
      VX_Tween* const pair = Begin(quality);
      Instant(pair);
      Row(
          "first frame" + suffix,
          [&, quality = quality] {
            VX_Tween* const fresh = Begin(quality);
            Instant(fresh);
            VX_DisposeTween(fresh);
          },
          flows);
      Row(
          "further frame" + suffix, [&] { Instant(pair); }, none);
      VX_DisposeTween(pair);
    }
  }

 private:
  VX_Tween* Begin(VX_TweenQuality quality) {
    const VX_LayerDef a = first_.Layer(), b = second_.Layer();
    VX_Tween* tween = nullptr;
    Check(VX_NewTween(&a, &b, nullptr, quality, &tween));
    return tween;
  }
  void Instant(VX_Tween* tween) {
    VX_LayerDef to = out_.Layer();
    Check(VX_TweenInstant(tween, 0.4f, nullptr, &to));
  }
  static void Check(VX_Err error) {
    if (error != VX_Ok) throw std::runtime_error("the in-between frame failed");
  }

  // The presets ultrafast, fast and medium.
  std::vector<Rival> Flows(std::vector<uint8_t> a, std::vector<uint8_t> b) {
    const int32_t width = first_.width, height = first_.height;
    const auto from = std::make_shared<std::vector<uint8_t>>(std::move(a));
    const auto to = std::make_shared<std::vector<uint8_t>>(std::move(b));
    std::vector<Rival> rivals;
    for (const int preset : {0, 1, 2}) {
      rivals.push_back(RivalOf(OpenCvFlow(), [=] {
        OpenCvFlow()->dis(from->data(), to->data(), width, height, preset);
        OpenCvFlow()->dis(to->data(), from->data(), width, height, preset);
      }));
    }
    return rivals;
  }

  void Row(const std::string& what, const std::function<void()>& run,
           const std::vector<Rival>& rivals) {
    if (!options_.Takes(name_ + what)) return;
    const double pixels = static_cast<double>(first_.width) * first_.height;
    RunVersus(name_ + what, 1e-6 * pixels, run, rivals, options_.rounds);
  }

  const Options& options_;
  std::string name_;
  Frame<VX_Pixel8> first_, second_, out_;
};

}  // namespace

bool RunMotion(const Options& options) {
  PrintVersusHead("Mpixel/s", {"ultrafast", "fast", "medium"});
  const int32_t threads = VX_MotionThreads();
  VX_SetMotionThreads(1);  // the rows compare processor time
  Motion(options, 1920, 1080).Run();
  if (!options.quick) Motion(options, 3840, 2160).Run();
  VX_SetMotionThreads(threads);
  return true;
}

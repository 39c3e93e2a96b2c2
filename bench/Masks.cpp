// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Feathering of one-channel buffers, and merging of masks into worlds. The time of a box should not
// depend on its radius, and memory bandwidth should limit the merging.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <stdexcept>
#include <string>

#include "Content.h"
#include "NaiveUno.h"
#include "Peers.h"
#include "Sections.h"
#include "VX/VX_Mask.h"
#include "VX/VX_World.h"
#include "Versus.h"

namespace {

constexpr int32_t kWidth = 1920, kHeight = 1080;
constexpr size_t kCount = size_t{kWidth} * kHeight;
constexpr double kAmount = 1e-6 * static_cast<double>(kCount);

// The largest permitted ratio of the times of radius 500 and radius 10, and the speed that merging
// should reach as a fraction of memcpy's.
constexpr double kRadiusBound = 1.15;
constexpr double kMemoryShare = 0.5;

void Expect(VX_Err error) {
  if (error != VX_Ok) throw std::runtime_error("a mask gave " + std::to_string(error));
}

template <class Pixel>
class Masks {
 public:
  using Sample = VX_ChannelOf<Pixel>;

  explicit Masks(const Options& options)
      : options_(options),
        name_("1920x1080/" + std::to_string(kDepthOf<Pixel>) + "/"),
        picture_(MakePicture<Pixel>(Picture::kVaried, kWidth, kHeight)),
        src_(kWidth, kHeight, kDepthOf<Pixel>),
        dst_(kWidth, kHeight, kDepthOf<Pixel>) {
    for (size_t i = 0; i < kCount; ++i) Samples(src_)[i] = picture_.pixels[i].red;
  }

  void RunFeathers() {
    for (const int32_t radius : {2, 10, 50, 500}) Boxes("box ", VX_Feather_Box, 1, radius);
    for (const int32_t radius : {2, 10, 50, 500}) Boxes("soft ", VX_Feather_Soft, 3, radius);
    for (const int32_t radius : {2, 10, 50}) Gaussian(radius);
  }

  // The library's alpha must be equal to the naive loop's.
  void RunMerges() {
    const std::string name = name_ + "merge";
    if (!options_.Takes(name)) return;
    Frame<Pixel> world = picture_, other = picture_;
    VX_LayerDef layer = world.Layer();
    VX_WorldX<Pixel> to(&layer, true);
    const auto own = [&] {
      Expect(VX_MergeMaskAlpha(nullptr, 0, 0, nullptr, &src_, nullptr, &to));
    };
    const auto naive = [&] { NaiveUnoMerge(Samples(src_), &other.pixels[0].alpha, kCount); };
    own();
    naive();
    for (size_t i = 0; i < kCount && agree; ++i) {
      agree = world.pixels[i].alpha == other.pixels[i].alpha;
      if (!agree) std::printf("%s: the naive loop differs at %zu\n", name.c_str(), i);
    }
    std::vector<Pixel> moved(kCount + kCount / 4);
    const auto memory = [&] {
      MoveAsMuch(moved.data(), moved.size() * sizeof(Pixel), other.pixels.data(),
                 kCount * sizeof(Pixel));
    };
    const Outcome outcome = RunVersus(name, kAmount, own, {{memory}, {naive}}, options_.rounds);
    if (outcome.ratios[0] < kMemoryShare) missed.push_back(name);
  }

  bool agree = true;
  std::vector<std::string> missed;

 private:
  static Sample* Samples(const VX_UnoBuffer& buffer) { return static_cast<Sample*>(*buffer.data); }

  std::function<void()> Feather(int32_t feather, double radius) {
    return [this, feather, radius] {
      Expect(VX_FeatherUnoBuffer(nullptr, feather, radius, radius, &dst_));
    };
  }

  // Compares samples far from the border. OpenCV's boxes have whole numbers of samples, and its
  // Gaussian is different: this only checks that both blur by the same width.
  void Compare(const std::string& name, int32_t radius, const std::function<void()>& own,
               const std::function<void()>& opencv) {
    constexpr double kMost = 0.02 * kFullScaleOf<Pixel>;
    const int32_t border = std::min(3 * radius, kHeight / 3);
    std::copy_n(Samples(src_), kCount, Samples(dst_));
    own();
    const std::vector<Sample> ours(Samples(dst_), Samples(dst_) + kCount);
    opencv();
    double greatest = 0.0;
    for (int32_t y = border; y < kHeight - border; ++y) {
      for (int32_t x = border; x < kWidth - border; ++x) {
        const size_t i = static_cast<size_t>(y) * kWidth + static_cast<size_t>(x);
        const double a = ours[i], b = Samples(dst_)[i];
        greatest = std::max(greatest, std::fabs(a - b));
      }
    }
    if (greatest <= kMost) return;
    std::printf("%s: OpenCV differs by %g\n", name.c_str(), greatest);
    agree = false;
  }

  void Boxes(const char* what, int32_t feather, int32_t times, int32_t radius) {
    const std::string name = name_ + what + std::to_string(radius);
    if (!options_.Takes(name)) return;
    const double share = (times == 1 ? 1.4 : 1.0) / 2.71 * radius;
    const bool plain = share <= 1.0;  // the library uses one box of three samples
    const int32_t width = plain ? 3 : 2 * static_cast<int32_t>(std::lround(share)) + 1;
    const auto own = Feather(feather, radius);
    const auto opencv = [this, width, passes = plain ? 1 : times] {
      OpenCv()->uno_box(src_, dst_, width, passes);
    };
    if (OpenCv() != nullptr && radius < 500) Compare(name, radius, own, opencv);
    const Rival wide = radius == 10 ? Rival{Feather(feather, 500)} : Rival{};
    const Outcome outcome =
        RunVersus(name, kAmount, own, {RivalOf(OpenCv(), opencv), wide}, options_.rounds);
    if (outcome.ratios[1] > kRadiusBound) missed.push_back(name);
  }

  void Gaussian(int32_t radius) {
    const std::string name = name_ + "gaussian " + std::to_string(radius);
    if (!options_.Takes(name)) return;
    const auto own = Feather(VX_Feather_Gaussian, radius);
    const auto opencv = [this, radius] { OpenCv()->uno_gaussian(src_, dst_, radius); };
    if (OpenCv() != nullptr) Compare(name, radius, own, opencv);
    RunVersus(name, kAmount, own, {RivalOf(OpenCv(), opencv), {}}, options_.rounds);
  }

  const Options& options_;
  std::string name_;
  Frame<Pixel> picture_;
  VX_UnoBuffer src_, dst_;
};

void PrintMissed(const char* what, const std::vector<std::string>& names) {
  std::printf("\n%s: %zu\n", what, names.size());
  for (const std::string& name : names) std::printf("  %s\n", name.c_str());
}

}  // namespace

bool RunMasks(const Options& options) {
  bool agree = true;
  const auto on_each = [&](auto work) {
    std::vector<std::string> missed;
    const auto on = [&](auto&& masks) {
      work(masks);
      agree = agree && masks.agree;
      missed.insert(missed.end(), masks.missed.begin(), masks.missed.end());
    };
    on(Masks<VX_Pixel8>(options));
    on(Masks<VX_Pixel16>(options));
    on(Masks<VX_PixelFloat>(options));
    return missed;
  };
  std::puts(
      "\nMasks: buffers of 1920x1080 feathered over both axes, on one thread. The ratios say how\n"
      "many times faster the library is than\n"
      "  OpenCV  boxFilter of the nearest odd width, once or three times, and GaussianBlur\n"
      "and how many times longer it takes\n"
      "  500     with radius 500\n");
  PrintVersusHead("Mpixel/s", {"OpenCV", "500"});
  PrintMissed("rows above 1.15 of radius 500", on_each([](auto& masks) { masks.RunFeathers(); }));
  std::puts(
      "\nMasks merged into the alpha of a world of their depth. The ratios say how many times\n"
      "faster the library is than\n"
      "  memory  memcpy that reads and writes as many bytes in sum\n"
      "  naive   a plain loop with the formula inline\n");
  PrintVersusHead("Mpixel/s", {"memory", "naive"});
  PrintMissed("rows below half of memory", on_each([](auto& masks) { masks.RunMerges(); }));
  return agree;
}

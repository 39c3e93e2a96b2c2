// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Samplers, called for one pixel at a time, as a transform calls them.

#include <cstdio>
#include <string>

#include "Agreement.h"
#include "NaiveSampler.h"
#include "Rounds.h"
#include "Sections.h"
#include "VX/VX_Sampling.h"

namespace {

constexpr int32_t kSourceWidth = 1920;
constexpr int32_t kSourceHeight = 1080;

// All four neighbours are inside the source at each position. kScaled: the fractions of the
// positions differ from pixel to pixel. kMoved: the fractions are constant, as in a translation;
// the samplers with given weights and for spans require this.
constexpr SampleGrid kScaled = {19661, 45875, 58982, 58982, 960, 540};
constexpr SampleGrid kMoved = {19661, 45875, 65536, 65536, 960, 540};

template <class Pixel>
struct Sampling {
  Frame<Pixel> src, dst;
  VX_LayerDef layer;
  VX_SampPB record{};

  explicit Sampling(Picture picture)
      : src(MakePicture<Pixel>(picture, kSourceWidth, kSourceHeight)),
        dst(kScaled.width, kScaled.height),
        layer(src.Layer()) {
    record.src = &layer;
  }
  Sampling(const Sampling&) = delete;

  void SetRadii(const SampleGrid& grid) {
    record.x_radius = grid.x_radius;
    record.y_radius = grid.y_radius;
    record.area = static_cast<VX_Fixed>(int64_t{grid.x_radius} * grid.y_radius >> 14);
  }
  Pixel* Row(int32_t j) { return &dst.pixels[static_cast<size_t>(j) * kScaled.width]; }
};

template <class Pixel>
void Run(VX_SampleFunc<Pixel> function, const SampleGrid& grid, Sampling<Pixel>& s) {
  const auto sample = Opaque(function);
  for (int32_t j = 0; j < grid.height; ++j) {
    Pixel* const row = s.Row(j);
    for (int32_t i = 0; i < grid.width; ++i) {
      sample(nullptr, grid.x + i * grid.x_step, grid.y + j * grid.y_step, &s.record, row + i);
    }
  }
}

template <class Pixel>
void Run(VX_SampleAllInFunc<Pixel> function, const SampleGrid& grid, Sampling<Pixel>& s) {
  const auto sample = Opaque(function);
  uint8_t all_in = 0;
  for (int32_t j = 0; j < grid.height; ++j) {
    Pixel* const row = s.Row(j);
    for (int32_t i = 0; i < grid.width; ++i) {
      sample(nullptr, grid.x + i * grid.x_step, grid.y + j * grid.y_step, &s.record, &all_in,
             row + i);
    }
  }
}

VX_SubpixelWeights WeightsOf(const SampleGrid& grid) {
  VX_SubpixelWeights weights{};
  VX_SubpixelSampleComputeWeight(static_cast<uint16_t>(grid.x), static_cast<uint16_t>(grid.y),
                                 &weights);
  return weights;
}

template <class Pixel>
void Run(VX_SampleWeightedFunc<Pixel> function, const SampleGrid& grid, Sampling<Pixel>& s) {
  const auto sample = Opaque(function);
  const VX_SubpixelWeights weights = WeightsOf(grid);
  for (int32_t j = 0; j < grid.height; ++j) {
    Pixel* const row = s.Row(j);
    for (int32_t i = 0; i < grid.width; ++i) {
      sample(nullptr, grid.x + i * grid.x_step, grid.y + j * grid.y_step, &weights, &s.record,
             row + i);
    }
  }
}

template <class Pixel>
void Run(VX_SampleSpanFunc<Pixel> function, const SampleGrid& grid, Sampling<Pixel>& s) {
  const auto sample = Opaque(function);
  for (int32_t j = 0; j < grid.height; ++j) {
    VX_AlphaSumOf<Pixel> alpha_sum = 0;
    sample(nullptr, grid.width, grid.x, grid.y + j * grid.y_step, &s.record, &alpha_sum, s.Row(j));
  }
}

template <class Sample>
void RunFours(const SampleGrid& grid, Sampling<VX_Pixel8>& s, Sample sample) {
  for (int32_t j = 0; j < grid.height; ++j) {
    const VX_Fixed y = grid.y + j * grid.y_step;
    for (int32_t i = 0; i < grid.width; i += 4) {
      const VX_Fixed x = grid.x + i * grid.x_step;
      const VX_Fixed positions[8] = {
          x, y, x + grid.x_step, y, x + 2 * grid.x_step, y, x + 3 * grid.x_step, y};
      sample(positions, s.Row(j) + i);
    }
  }
}

void Run(VX_SampleFourFunc function, const SampleGrid& grid, Sampling<VX_Pixel8>& s) {
  const auto sample = Opaque(function);
  RunFours(grid, s, [&](const VX_Fixed* positions, VX_Pixel8* out) {
    sample(nullptr, positions, &s.record, out);
  });
}

void Run(VX_SampleFourWeightedFunc function, const SampleGrid& grid, Sampling<VX_Pixel8>& s) {
  const auto sample = Opaque(function);
  const VX_SubpixelWeights weights = WeightsOf(grid);
  RunFours(grid, s, [&](const VX_Fixed* positions, VX_Pixel8* out) {
    sample(nullptr, positions, &weights, &s.record, out);
  });
}

template <class Pixel>
struct Nearest;
template <>
struct Nearest<VX_Pixel8> {
  static constexpr VX_SampleFunc<VX_Pixel8> kSampler = &VX_NNSample;
};
template <>
struct Nearest<VX_Pixel16> {
  static constexpr VX_SampleFunc<VX_Pixel16> kSampler = &VX_NNSample16;
};
template <>
struct Nearest<VX_PixelFloat> {
  static constexpr VX_SampleFunc<VX_PixelFloat> kSampler = &VX_NNSampleFloat;
};

template <class Pixel>
class Samplers {
 public:
  explicit Samplers(const Options& options) : options_(options) {}

  bool Run() {
    const NaiveSampler<Pixel> straight = &NaiveStraight<Pixel>;
    const NaiveSampler<Pixel> premultiplied = &NaivePremultiplied<Pixel>;
    Row("nearest", Nearest<Pixel>::kSampler, kScaled, &NaiveNearest<Pixel>);
    if constexpr (kDepthOf<Pixel> == 8) {
      Row("straight", &VX_SubpixelSample_Straight, kScaled, straight);
      Row("straight, all in", &VX_SubpixelSamplePlus_Straight, kScaled, straight);
      Row("unclipped", &VX_SubpixelSampleNoClip_Straight, kScaled, straight);
      Row("unclipped, vector", &VX_SubpixelSampleNoClip_Straight_SSE2, kScaled, straight);
      Row("unclipped, four", &VX_SubpixelSampleNoClip_Straight_4, kScaled, straight);
      Row("weights given", &VX_SubpixelSampleTranslateNoClip_Straight, kMoved, straight);
      Row("weights given, four", &VX_SubpixelSampleTranslateNoClip_Straight_4, kMoved, straight);
      Row("span", &VX_SubpixelSpanSampleTranslateNoClip_Straight, kMoved, straight);
      Row("portable", &VX_SubpixelCPlusPlus, kScaled, straight);
      Row("portable, unclipped", &VX_SubpixelCPlusPlusNoClip, kScaled, straight);
      Row("portable span", &VX_SubpixelSpanSampleCPlusPlus, kMoved, straight);
      Row("premultiplied", &VX_SubpixelSample_Premul, kScaled, premultiplied);
      Areas(&VX_AreaSample_Straight);
    } else if constexpr (kDepthOf<Pixel> == 16) {
      Row("straight", &VX_SubpixelSample_Straight16, kScaled, straight);
      Row("straight, all in", &VX_SubpixelSamplePlus_Straight16, kScaled, straight);
      Row("unclipped", &VX_SubpixelSampleNoClip_Straight16, kScaled, straight);
      Row("weights given", &VX_SubpixelSampleTranslateNoClip_Straight16, kMoved, straight);
      Row("span", &VX_SubpixelSpanSampleTranslateNoClip_Straight16, kMoved, straight);
      Row("portable", &VX_SubpixelCPlusPlus16, kScaled, straight);
      Row("portable, unclipped", &VX_SubpixelCPlusPlusNoClip16, kScaled, straight);
      Row("portable span", &VX_SubpixelSpanSampleCPlusPlus16, kMoved, straight);
      Row("premultiplied", &VX_SubpixelSample_Premul16, kScaled, premultiplied);
      Areas(&VX_AreaSample_Straight16);
    } else {
      Row("portable", &VX_SubpixelCPlusPlusFloat, kScaled, straight);
      Row("portable, all in", &VX_SubpixelSpanSampleAllInCPlusPlusFloat, kScaled, straight);
      Row("portable, unclipped", &VX_SubpixelCPlusPlusNoClipFloat, kScaled, straight);
      Row("weights given", &VX_SubpixelSampleTranslateNoClipCPlusPlusFloat, kMoved, straight);
      Row("portable span", &VX_SubpixelSpanSampleCPlusPlusFloat, kMoved, straight);
      Row("premultiplied", &VX_SubpixelSample_PremulFloat, kScaled, premultiplied);
      Areas(&VX_AreaSample_CPlusPlus<VX_PixelFloat>);
    }
    return agree_;
  }

 private:
  void Areas(VX_SampleFunc<Pixel> sampler) {
    SampleGrid grid = kScaled;
    grid.x_radius = grid.y_radius = 65536;
    Row("box, radius 1", sampler, grid, &NaiveBox<Pixel>);
    grid.x_radius = grid.y_radius = 4 * 65536;
    Row("box, radius 4", sampler, grid, &NaiveBox<Pixel>);
  }

  template <class Function>
  void Row(const char* kind, Function function, const SampleGrid& grid, NaiveSampler<Pixel> naive) {
    const std::string name = std::to_string(kDepthOf<Pixel>) + "/" + kind;
    if (!options_.Takes(name)) return;
    std::printf("%-24s", name.c_str());
    std::string wrong;
    for (size_t i = 0; i < std::size(kPictures); ++i) {
      Sampling<Pixel>& s = SamplingOf(i);
      s.SetRadii(grid);
      const auto own = [&] { ::Run(function, grid, s); };
      const auto nearest = [&] { ::Run(Nearest<Pixel>::kSampler, grid, s); };
      const auto loop = [&] { naive(s.layer, grid, s.dst.pixels.data()); };
      const float distance = Disagreement(s, own, loop);
      if (distance > kNear) wrong += " " + std::to_string(distance);
      const std::vector<Timing> times =
          RunRounds({{{}, own}, {{}, nearest}, {{}, loop}}, options_.rounds);
      const double mpixels = 1e-6 * static_cast<double>(s.dst.pixels.size());
      std::printf(" %8.1f %4.1f%% %5.2f %5.2f", mpixels / times[0].Median(),
                  100.0 * times[0].Spread(), TimesFaster(times[0], times[1]),
                  TimesFaster(times[0], times[2]));
    }
    std::printf("\n");
    std::fflush(stdout);
    if (wrong.empty()) return;
    std::printf("%s: the naive loop differs by%s\n", name.c_str(), wrong.c_str());
    agree_ = false;
  }

  // Pictures are created for the first row that is selected.
  Sampling<Pixel>& SamplingOf(size_t i) {
    if (!samplings_[i]) samplings_[i] = std::make_unique<Sampling<Pixel>>(kPictures[i]);
    return *samplings_[i];
  }

  // The permitted difference: two roundings of alpha and colour, on a scale of 1.
  static constexpr float kNear = kDepthOf<Pixel> == 32 ? 1e-5f : 3.0f / kFullScaleOf<Pixel>;

  float Disagreement(Sampling<Pixel>& s, const std::function<void()>& own,
                     const std::function<void()>& other) {
    own();
    const std::vector<Pixel> ours = s.dst.pixels;
    s.dst.pixels.assign(s.dst.pixels.size(), Pixel{});
    other();
    float greatest = 0.0f;
    for (size_t i = 0; i < ours.size(); ++i) {
      greatest = std::max(greatest,
                          Distance(PremultipliedUnit(ours[i]), PremultipliedUnit(s.dst.pixels[i])));
    }
    return greatest;
  }

  const Options& options_;
  std::unique_ptr<Sampling<Pixel>> samplings_[std::size(kPictures)];
  bool agree_ = true;
};

}  // namespace

bool RunSamplers(const Options& options) {
  std::printf(
      "\nSamplers: Mpixel/s with its spread on %dx%d positions, one call a pixel (four or a row "
      "for\n"
      "the forms that take as many), and how many times faster than the nearest sampler of the "
      "depth\n"
      "and than a naive loop with the arithmetic inline. The pictures: one colour; opaque; alpha\n"
      "varies.\n\n",
      int{kScaled.width}, int{kScaled.height});
  std::printf("%-24s %26s %26s %26s\n", "row", "flat   +- nearest naive",
              "opaque   +- nearest naive", "varied   +- nearest naive");
  bool agree = Samplers<VX_Pixel8>(options).Run();
  agree = Samplers<VX_Pixel16>(options).Run() && agree;
  return Samplers<VX_PixelFloat>(options).Run() && agree;
}

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// VX_TransformMotion against the mean of single drawings. The slow twin covers the classic call.

#include <utility>

#include "TransformTestKit.h"

namespace {

template <class Pixel>
class TransformMotion : public testing::Test {};
TYPED_TEST_SUITE(TransformMotion, PixelTypes, DepthNames);

template <class Pixel>
VX_Err DrawMotion(const Manner& manner, const Picture<Pixel>& src,
                  const std::vector<M_Matrix3>& matrices, Picture<Pixel>* dst) {
  return VX_TransformMotion(manner.progress, manner.quality, manner.field, &src.world, &manner.mode,
                            nullptr, manner.mask, matrices.data(),
                            static_cast<int32_t>(matrices.size()), manner.src2dst, manner.rect,
                            &dst->world);
}

// Channels from 0 to full; alpha 0, full, or any.
template <class Pixel>
Picture<Pixel> UnitPicture(int32_t width, int32_t height, uint32_t salt, bool opaque) {
  Picture<Pixel> picture(width, height);
  Operands<Pixel> o(salt);
  const auto any = [&] {
    return static_cast<VX_ChannelOf<Pixel>>(o.Below(257) / 256.0 * kFull<Pixel>);
  };
  for (Pixel& p : picture.pixels) {
    p = {any(), any(), any(), any()};
    if (opaque || o.Below(3) == 0) p.alpha = kFull<Pixel>;
    if (!opaque && o.Below(8) == 0) p.alpha = 0;
  }
  return picture;
}

template <class Pixel>
std::vector<double> Channels(const Picture<Pixel>& picture) {
  std::vector<double> channels;
  for (const Pixel& p : picture.pixels)
    channels.insert(channels.end(), {1.0 * p.alpha, 1.0 * p.red, 1.0 * p.green, 1.0 * p.blue});
  return channels;
}

// The largest difference, in 255ths, between a motion and the mean of the drawings at all its
// matrices but the last, over an opaque background.
template <class Pixel>
double FarthestFromMean(const Manner& manner, const Picture<Pixel>& src,
                        const std::vector<M_Matrix3>& matrices, const Picture<Pixel>& below) {
  Picture<Pixel> motion = below;
  EXPECT_EQ(DrawMotion(manner, src, matrices, &motion), VX_Ok);
  const size_t samples = std::max<size_t>(matrices.size() - 1, 1);
  std::vector<double> mean(below.pixels.size() * 4);
  for (size_t k = 0; k < samples; ++k) {
    Picture<Pixel> single = below;
    EXPECT_EQ(Draw(manner, src, {matrices[k]}, &single), VX_Ok);
    const std::vector<double> channels = Channels(single);
    for (size_t i = 0; i < mean.size(); ++i) mean[i] += channels[i] / static_cast<double>(samples);
  }
  const std::vector<double> got = Channels(motion);
  double farthest = 0;
  for (size_t i = 0; i < mean.size(); ++i) {
    farthest = std::max(farthest, std::fabs(got[i] - mean[i]) / kFull<Pixel> * 255);
  }
  return farthest;
}

TYPED_TEST(TransformMotion, IsTheMeanOfSingleDraws) {
  using Pixel = TypeParam;
  using Parts = VX_TransformParts;
  const auto src = UnitPicture<Pixel>(31, 23, 1, false);
  const auto below = UnitPicture<Pixel>(60, 50, 2, true);
  const Parts placed{.anchor_x = 15, .anchor_y = 11, .translate_x = 14, .translate_y = 13};
  const auto from = [&](Parts parts) {
    parts.anchor_x = placed.anchor_x;
    parts.anchor_y = placed.anchor_y;
    parts.translate_x += placed.translate_x;
    parts.translate_y += placed.translate_y;
    return parts;
  };
  const std::pair<Parts, Parts> motions[] = {
      {{}, {}},
      {{}, {.translate_x = 9.25, .translate_y = -3.5}},
      {{.translate_x = -4}, {.translate_x = 4}},          // half pixels on the way
      {{.translate_x = -3000.5}, {.translate_x = 3000}},  // mostly outside
      {{}, {.rotation = 30}},
      {{}, {.rotation = 360}},
      {{.rotation = 10}, {.rotation = -710}},
      {{.scale_x = 0.2, .scale_y = 0.2}, {}},
      {{}, {.scale_x = 3, .scale_y = 3}},
      {{.scale_x = 0, .scale_y = 0}, {}},   // begins flat
      {{}, {.scale_x = 1, .scale_y = 0}},   // ends flat
      {{}, {.scale_x = -1, .scale_y = 1}},  // flat at the middle
      {{}, {.scale_x = 1, .scale_y = 0.05}},
      {{.skew_x = -0.5}, {.skew_x = 0.5, .skew_y = 0.3}},
      {{.scale_x = 0.3, .scale_y = 0.5, .rotation = -90, .translate_x = 5},
       {.scale_x = 1.5, .scale_y = 1.2, .skew_x = 0.2, .rotation = 270, .translate_y = 8.5}}};
  for (const auto& [start, end] : motions) {
    for (const int32_t count : {1, 2, 3, 9, 66}) {
      auto matrices = Between(from(start), from(end), count);
      for (const int32_t quality : {0, 1}) {
        const double most = kDepth<Pixel> == 8 ? 2 : kDepth<Pixel> == 16 ? 0.02 : 0.0005;
        EXPECT_LE(FarthestFromMean({.quality = quality}, src, matrices, below), most)
            << "motion " << &start - &motions[0].first << ", " << count << " matrices, quality "
            << quality;
      }
    }
  }
}

}  // namespace

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO_ClipPlanes.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "VXIO_ClipColor.h"
#include "VXIO_Samples.h"

namespace {

using Samples = std::vector<uint16_t>;

constexpr double kLargestValue = 16;  // float channels are limited to +-16 before the matrix

struct Colour {
  double red, green, blue;
};

double ValueOf(uint8_t channel) { return channel / 255.0; }
double ValueOf(uint16_t channel) { return channel / 32768.0; }
double ValueOf(float channel) {
  if (std::isnan(channel)) return 0;
  return std::clamp(static_cast<double>(channel), -kLargestValue, kLargestValue);
}

template <class Pixel>
Colour ColourOf(const Pixel& pixel) {
  return {ValueOf(pixel.red), ValueOf(pixel.green), ValueOf(pixel.blue)};
}

uint16_t Rounded(double code, double most) {
  return static_cast<uint16_t>(std::floor(std::clamp(code, 0.0, most) + 0.5));
}

// Converts a channel to a code of 0..most, rounded to nearest.
template <class Channel>
uint16_t CodeOf(Channel channel, uint32_t most) {
  constexpr uint64_t kFull = sizeof(Channel) == 1 ? 255 : 32768;
  return static_cast<uint16_t>((std::min<uint64_t>(channel, kFull) * most + kFull / 2) / kFull);
}
uint16_t CodeOf(float channel, uint32_t most) { return Rounded(ValueOf(channel) * most, most); }

// The luma and chroma of colours 0..1. luma = r * red + g * green + b * blue, and the same for the
// two chroma values, which are -0.5..0.5.
struct Matrix {
  Colour luma, first, second;
};

Matrix MatrixOf(AVColorSpace matrix) {
  const VXIOp_MatrixWeights& weights = *VXIOp_FindMatrix(matrix);
  if (matrix == AVCOL_SPC_YCGCO) {
    return {{0.25, 0.5, 0.25}, {-0.25, 0.5, -0.25}, {0.5, 0, -0.5}};
  }
  const double r = weights.red, b = weights.blue, g = 1 - r - b;
  const double to_first = 1 / (2 - 2 * b), to_second = 1 / (2 - 2 * r);
  return {{r, g, b},
          {-r * to_first, -g * to_first, (1 - b) * to_first},
          {(1 - r) * to_second, -g * to_second, -b * to_second}};
}

double Dot(const Colour& row, const Colour& colour) {
  return row.red * colour.red + row.green * colour.green + row.blue * colour.blue;
}

template <class Pixel>
class PlaneFiller {
 public:
  PlaneFiller(vx::View<const Pixel> view, const VXIOp_PlaneRule& rule, AVFrame* frame)
      : view_(view),
        rule_(rule),
        descriptor_(*av_pix_fmt_desc_get(rule.format)),
        frame_(frame),
        samples_(static_cast<size_t>(view.width())) {}

  void Fill() {
    if (descriptor_.flags & AV_PIX_FMT_FLAG_RGB) {
      for (const auto& [component, channel] :
           {std::pair{0, &Pixel::red}, {1, &Pixel::green}, {2, &Pixel::blue}}) {
        FillChannel(component, channel);
      }
    } else {
      FillLuma();
      FillChroma();
    }
    if (rule_.alpha) FillChannel(descriptor_.nb_components - 1, &Pixel::alpha);
  }

 private:
  using Channel = typename vx::PixelTraits<Pixel>::Channel;

  uint32_t Most(int component) const { return (1u << descriptor_.comp[component].depth) - 1; }

  void Store(int component, int32_t y) {
    av_write_image_line(samples_.data(), frame_->data, frame_->linesize, &descriptor_, 0, y,
                        component, static_cast<int>(samples_.size()));
  }

  void FillChannel(int component, Channel Pixel::*channel) {
    for (int32_t y = 0; y < view_.height(); ++y) {
      std::transform(view_.row(y).begin(), view_.row(y).end(), samples_.begin(),
                     [&](const Pixel& pixel) { return CodeOf(pixel.*channel, Most(component)); });
      Store(component, y);
    }
  }

  void FillLuma() {
    const Matrix matrix = MatrixOf(rule_.matrix);
    const double most = Most(0), unit = (most + 1) / 256;
    const double black = rule_.full_range ? 0 : 16 * unit;
    const double span = rule_.full_range ? most : 219 * unit;
    for (int32_t y = 0; y < view_.height(); ++y) {
      std::transform(view_.row(y).begin(), view_.row(y).end(), samples_.begin(),
                     [&](const Pixel& pixel) {
                       return Rounded(black + span * Dot(matrix.luma, ColourOf(pixel)), most);
                     });
      Store(0, y);
    }
  }

  void FillChroma() {
    const Matrix matrix = MatrixOf(rule_.matrix);
    const double most = Most(1), unit = (most + 1) / 256, middle = 128 * unit;
    const double span = rule_.full_range ? most : 224 * unit;
    const bool halved = descriptor_.log2_chroma_w != 0;
    const int32_t width = halved ? (view_.width() + 1) / 2 : view_.width();
    const int32_t height = halved ? (view_.height() + 1) / 2 : view_.height();
    samples_.resize(static_cast<size_t>(width));
    std::vector<Colour> colours(samples_.size());
    for (int32_t y = 0; y < height; ++y) {
      for (int32_t x = 0; x < width; ++x) {
        colours[static_cast<size_t>(x)] =
            halved ? Mean(2 * x, 2 * y) : ColourOf(view_.row(y)[static_cast<size_t>(x)]);
      }
      for (const int component : {1, 2}) {
        const Colour& row = component == 1 ? matrix.first : matrix.second;
        std::transform(colours.begin(), colours.end(), samples_.begin(), [&](const Colour& colour) {
          return Rounded(middle + span * Dot(row, colour), most);
        });
        Store(component, y);
      }
    }
    samples_.resize(static_cast<size_t>(view_.width()));
  }

  // Returns the colour of the chroma sample at x, y: columns x - 1, x, x + 1 with weights 1, 2, 1
  // in rows y and y + 1.
  Colour Mean(int32_t x, int32_t y) const {
    Colour plain{}, weighted{};
    double total = 0;
    for (int32_t row = y; row <= y + 1; ++row) {
      const auto pixels = view_.row(std::min(row, view_.height() - 1));
      for (int32_t column = x - 1; column <= x + 1; ++column) {
        const Pixel& pixel =
            pixels[static_cast<size_t>(std::clamp(column, int32_t{0}, view_.width() - 1))];
        const Colour colour = ColourOf(pixel);
        const double weight = column == x ? 0.25 : 0.125;
        Add(colour, weight, &plain);
        if (!rule_.alpha) continue;
        const double alpha = weight * std::max(ValueOf(pixel.alpha), 0.0);
        Add(colour, alpha, &weighted);
        total += alpha;
      }
    }
    if (total <= 0) return plain;
    return {weighted.red / total, weighted.green / total, weighted.blue / total};
  }

  static void Add(const Colour& colour, double weight, Colour* to) {
    to->red += weight * colour.red;
    to->green += weight * colour.green;
    to->blue += weight * colour.blue;
  }

  vx::View<const Pixel> view_;
  const VXIOp_PlaneRule& rule_;
  const AVPixFmtDescriptor& descriptor_;
  AVFrame* frame_;
  Samples samples_;
};

}  // namespace

void VXIOp_FillPlanes(const VX_LayerDef& world, const VXIOp_PlaneRule& rule, AVFrame* frame) {
  VXIOp_WithMemoryErrors([&] {
    vx::visit(vx::AnyConstView(world), [&]<class View>(View view) {
      using Pixel = typename View::Pixel;
      PlaneFiller<Pixel>(view, rule, frame).Fill();
    });
  });
}

bool VXIOp_IsOpaque(const VX_LayerDef& world) {
  return vx::visit(vx::AnyConstView(world), [](auto view) {
    using Pixel = typename decltype(view)::Pixel;
    for (int32_t y = 0; y < view.height(); ++y) {
      for (const Pixel& pixel : view.row(y)) {
        if (pixel.alpha < vx::PixelTraits<Pixel>::full_scale) return false;
      }
    }
    return true;
  });
}

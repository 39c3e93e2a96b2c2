// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "Pixman.h"

#include <pixman.h>

#include <cstring>
#include <optional>
#include <stdexcept>

#include "VX/VX_Transfer.h"

namespace {

std::optional<pixman_op_t> OperatorOf(int32_t mode) {
  switch (mode) {
    case VX_Xfer_InFront: return PIXMAN_OP_OVER;
    case VX_Xfer_Multiply: return PIXMAN_OP_MULTIPLY;
    case VX_Xfer_Screen: return PIXMAN_OP_SCREEN;
    case VX_Xfer_SoftLight: return PIXMAN_OP_SOFT_LIGHT;
    case VX_Xfer_Luminosity: return PIXMAN_OP_HSL_LUMINOSITY;
    default: return std::nullopt;
  }
}

// Number of 32-bit words per pixel.
template <class Pixel>
constexpr size_t kWords = sizeof(Pixel) / sizeof(uint32_t);

uint32_t PremultipliedByte(uint32_t c, uint32_t a) { return (c * a + 127) / 255; }

void Premultiply(const VX_Pixel8& p, uint32_t* out) {
  const uint32_t a = p.alpha;
  *out = a << 24 | PremultipliedByte(p.red, a) << 16 | PremultipliedByte(p.green, a) << 8 |
         PremultipliedByte(p.blue, a);
}
void Premultiply(const VX_PixelFloat& p, uint32_t* out) {
  const float channels[4] = {p.red * p.alpha, p.green * p.alpha, p.blue * p.alpha, p.alpha};
  std::memcpy(out, channels, sizeof channels);
}

template <class Pixel>
std::vector<uint32_t> Premultiplied(const Frame<Pixel>& frame) {
  std::vector<uint32_t> words(frame.pixels.size() * kWords<Pixel>);
  for (size_t i = 0; i < frame.pixels.size(); ++i) {
    Premultiply(frame.pixels[i], &words[i * kWords<Pixel>]);
  }
  return words;
}

struct Unref {
  void operator()(pixman_image_t* image) const { pixman_image_unref(image); }
};
using Image = std::unique_ptr<pixman_image_t, Unref>;

Image Wrap(pixman_format_code_t format, int32_t width, int32_t height,
           std::vector<uint32_t>& words) {
  const int stride = static_cast<int>(words.size() / static_cast<size_t>(height) * 4);
  Image image(pixman_image_create_bits(format, width, height, words.data(), stride));
  if (!image) throw std::runtime_error("pixman could not make an image");
  return image;
}

}  // namespace

struct PixmanScene::Images {
  int32_t width, height;
  bool is_float;
  std::vector<uint32_t> src_words, mask_words, background_words, dst_words;
  Image src, mask, dst;
};

PixmanScene::PixmanScene(std::unique_ptr<Images> images) : images_(std::move(images)) {}
PixmanScene::~PixmanScene() = default;

template <class Pixel>
std::unique_ptr<PixmanScene> PixmanScene::Make(const Scene<Pixel>& scene) {
  if constexpr (!kPixmanSupports<Pixel>) {
    return nullptr;
  } else {
    auto images = std::make_unique<Images>();
    images->width = scene.src.width;
    images->height = scene.src.height;
    images->is_float = kDepthOf<Pixel> == 32;
    images->src_words = Premultiplied(scene.src);
    images->mask_words = Premultiplied(scene.mask);
    images->background_words = Premultiplied(scene.background);
    images->dst_words = images->background_words;
    const auto format = images->is_float ? PIXMAN_rgba_float : PIXMAN_a8r8g8b8;
    images->src = Wrap(format, images->width, images->height, images->src_words);
    images->mask = Wrap(format, images->width, images->height, images->mask_words);
    images->dst = Wrap(format, images->width, images->height, images->dst_words);
    return std::unique_ptr<PixmanScene>(new PixmanScene(std::move(images)));
  }
}

bool PixmanScene::Supports(int32_t mode) { return OperatorOf(mode).has_value(); }

void PixmanScene::ResetDestination() {
  Images& i = *images_;
  std::memcpy(i.dst_words.data(), i.background_words.data(), i.dst_words.size() * 4);
}

void PixmanScene::Composite(int32_t mode, bool masked) {
  const Images& i = *images_;
  pixman_image_composite32(OperatorOf(mode).value(), i.src.get(), masked ? i.mask.get() : nullptr,
                           i.dst.get(), 0, 0, 0, 0, 0, 0, i.width, i.height);
}

VX_PixelFloat PixmanScene::ResultAt(size_t i) const {
  const std::vector<uint32_t>& words = images_->dst_words;
  if (images_->is_float) {
    float channels[4];
    std::memcpy(channels, &words[4 * i], sizeof channels);
    return {channels[3], channels[0], channels[1], channels[2]};
  }
  const uint32_t p = words[i];
  const auto channel = [p](uint32_t shift) {
    return static_cast<float>((p >> shift) & 0xFF) / 255.0f;
  };
  return {channel(24), channel(16), channel(8), channel(0)};
}

template std::unique_ptr<PixmanScene> PixmanScene::Make(const Scene<VX_Pixel8>&);
template std::unique_ptr<PixmanScene> PixmanScene::Make(const Scene<VX_Pixel16>&);
template std::unique_ptr<PixmanScene> PixmanScene::Make(const Scene<VX_PixelFloat>&);

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Two methods to composite a scene with the library: one call for the whole rectangle, or the
// exported routine for one pixel, called in a loop.

#include <stdexcept>
#include <string>

#include "Content.h"
#include "Rounds.h"
#include "VX/VX_Blend.h"
#include "VX/cpp/Mode.hpp"

inline std::string ModeName(int32_t mode) { return vx::name(vx::Mode{mode}); }

inline constexpr int32_t kDissolveSeed = 4711;

template <class Pixel>
void TransferScene(Scene<Pixel>& scene, int32_t mode, float opacity, bool masked,
                   const VX_LinearBlendingTables* tables = nullptr) {
  const VX_LayerDef src = scene.src.Layer();
  VX_LayerDef mask_layer = scene.mask.Layer();
  VX_LayerDef dst = scene.dst.Layer();
  const VX_CompositeModePlus record(mode, opacity, nullptr, false, kDissolveSeed);
  const VX_MaskSpec mask{&mask_layer, 0, 0, VX_MaskUse_Alpha};
  const VX_Err error = VX_TransferRect(nullptr, 0, 0, VX_Field_Both, nullptr, &src, &record, tables,
                                       masked ? &mask : nullptr, 0, 0, &dst);
  if (error != VX_Ok) throw std::runtime_error("VX_TransferRect gave " + std::to_string(error));
}

template <class Pixel>
struct PixelTables;
template <>
struct PixelTables<VX_Pixel8> {
  static constexpr auto& kPlain = VXp_G_Xfer1_table8;
  static constexpr auto& kOpacity = VXp_G_Xfer1_Opacity_table8;
};
template <>
struct PixelTables<VX_Pixel16> {
  static constexpr auto& kPlain = VXp_G_Xfer1_table16;
  static constexpr auto& kOpacity = VXp_G_Xfer1_Opacity_table16;
};
template <>
struct PixelTables<VX_PixelFloat> {
  static constexpr auto& kPlain = VXp_G_Xfer1_tableF;
  static constexpr auto& kOpacity = VXp_G_Xfer1_Opacity_tableF;
};

template <class Pixel>
void PixelByPixel(Scene<Pixel>& scene, int32_t mode,
                  const VX_LinearBlendingTables* tables = nullptr) {
  const auto blend = Opaque(PixelTables<Pixel>::kPlain[mode]);
  const Pixel* const src = scene.src.pixels.data();
  Pixel* const dst = scene.dst.pixels.data();
  const size_t count = scene.dst.pixels.size();
  for (size_t i = 0; i < count; ++i) blend(src + i, tables, dst + i);
}

template <class Pixel>
void PixelByPixelFaded(Scene<Pixel>& scene, int32_t mode, VX_ChannelOf<Pixel> opacity) {
  const auto blend = Opaque(PixelTables<Pixel>::kOpacity[mode]);
  const Pixel* const src = scene.src.pixels.data();
  Pixel* const dst = scene.dst.pixels.data();
  const size_t count = scene.dst.pixels.size();
  for (size_t i = 0; i < count; ++i) blend(src + i, nullptr, opacity, dst + i);
}

// The mask's alpha is the opacity of each pixel.
template <class Pixel>
void PixelByPixelMasked(Scene<Pixel>& scene, int32_t mode) {
  const auto blend = Opaque(PixelTables<Pixel>::kOpacity[mode]);
  const Pixel* const src = scene.src.pixels.data();
  const Pixel* const mask = scene.mask.pixels.data();
  Pixel* const dst = scene.dst.pixels.data();
  const size_t count = scene.dst.pixels.size();
  for (size_t i = 0; i < count; ++i) blend(src + i, nullptr, mask[i].alpha, dst + i);
}

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "Mattes.h"

#include "Errors.h"

namespace vxcli {

namespace {

VX_Err FillWith(bool full, VX_UnoBuffer* buffer) {
  if (buffer->depth == 8) return VX_FillUnoBuffer(full ? 255 : 0, buffer);
  if (buffer->depth == 16) return VX_FillDeepUnoBuffer(full ? 32768 : 0, buffer);
  return VX_FillFloatUnoBuffer(full ? 1.0f : 0.0f, buffer);
}

}  // namespace

UnoPtr NewUno(int32_t width, int32_t height, int32_t depth) {
  VX_UnoBuffer* buffer = nullptr;
  const VX_Err error = VX_NewUnoBufferOfDepth(width, height, depth, &buffer);
  if (error != VX_Ok) throw VX_Err{error};
  return UnoPtr(buffer);
}

UnoPtr MatteOf(const VX_World& world, int32_t what, const std::string& file) {
  UnoPtr matte = NewUno(world.width, world.height, world.Depth());
  Check(VX_MatteFromWorld(nullptr, &world, what, matte.get()), file);
  return matte;
}

UnoPtr MatteOfSize(const VX_World& world, int32_t what, int32_t width, int32_t height,
                   const std::string& file) {
  UnoPtr own = MatteOf(world, what, file);
  if (own->width == width && own->height == height) return own;
  UnoPtr matte = NewUno(width, height, own->depth);
  const bool inverse = what == VX_Matte_InverseAlpha || what == VX_Matte_InverseLuma;
  Check(FillWith(inverse, matte.get()), file);
  Check(VX_AccumulateUnoBuffers(nullptr, own.get(), VX_UnoAccumulate_Replace, nullptr, nullptr,
                                matte.get()),
        file);
  return matte;
}

const std::vector<std::string>& MatteUses() {
  static const std::vector<std::string> uses = {"alpha", "inverse-alpha", "luma", "inverse-luma",
                                                "red",   "green",         "blue"};
  return uses;
}

const std::vector<std::string>& FeatherKinds() {
  static const std::vector<std::string> kinds = {"box", "soft", "gaussian"};
  return kinds;
}

void CheckFeather(const Feather& feather) {
  if (feather.kind && !feather.radius) {
    throw UsageError("--feather-kind: means nothing without --feather R");
  }
}

void Soften(const Feather& feather, VX_ProgressInfo* progress, VX_UnoBuffer* matte,
            const std::string& file) {
  const double radius = feather.radius.value_or(0);
  if (radius == 0) return;
  Check(
      VX_FeatherUnoBuffer(progress, feather.kind.value_or(VX_Feather_Soft), radius, radius, matte),
      file);
}

}  // namespace vxcli

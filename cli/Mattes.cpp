// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "Mattes.h"

#include "Errors.h"
#include "Values.h"

namespace vxcli {

namespace {

const std::vector<std::string>& Uses() {
  static const std::vector<std::string> uses = {"alpha", "inverse-alpha", "luma", "inverse-luma",
                                                "red",   "green",         "blue"};
  return uses;
}

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

int32_t ParseMatteUse(const std::string& option, const std::string& word) {
  return ParseChoice(option, word, Uses());
}

const char* MatteUseName(int32_t what) { return Uses()[static_cast<size_t>(what)].c_str(); }

Feather ParseFeather(const std::string& option, const std::string& radius,
                     const std::string& kind) {
  Feather feather;
  if (!radius.empty()) feather.radius = ParseNumber(option, radius, 0, 32767);
  if (kind.empty()) return feather;
  if (radius.empty()) throw UsageError(option + "-kind: means nothing without " + option + " R");
  feather.kind = ParseChoice(option + "-kind", kind, {"box", "soft", "gaussian"});
  return feather;
}

void Soften(const Feather& feather, VX_ProgressInfo* progress, VX_UnoBuffer* matte,
            const std::string& file) {
  if (feather.radius == 0) return;
  Check(VX_FeatherUnoBuffer(progress, feather.kind, feather.radius, feather.radius, matte), file);
}

}  // namespace vxcli

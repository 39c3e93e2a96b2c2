// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Depth of descriptors, and pixel format codes.

#include "VX/VX_World.h"
#include "frame/VXp_Report.h"

namespace {

constexpr char kUnknownFormat[] = "Unknown pixel format";

// Returns the depth code for bits 24..31 of world_flags, or -1.
constexpr int32_t CodeOfDepth(int32_t depth) {
  return depth == 8 ? 0 : depth == 16 ? 1 : depth == 32 ? 2 : -1;
}

}  // namespace

int32_t VXp_WorldDepth(const VX_LayerDef* world) {
  if (world->world_object != nullptr) return static_cast<int16_t>(world->world_object->Depth());
  const uint32_t code = world->world_flags >> 24;
  if (code > 2) {
    VXp_FailVerification(kUnknownFormat);
    return 8;
  }
  return 8 << code;
}

VX_Err VX_GetEffectWorldDepth(const VX_LayerDef* world, int32_t* depth) {
  *depth = VXp_WorldDepth(world);
  return VX_Ok;
}

int16_t VX_DepthOfBMWorld(BM_World** bitmap) {
  return static_cast<int16_t>((*bitmap)->bits_per_pixel / 4);
}

VX_Err VXp_GetPixelFormat(const VX_LayerDef* world, VX_PixelFormat* format) {
  if (world == nullptr) return VXp_FailVerification("Bad parameter to VXp_GetPixelFormat()");
  switch (CodeOfDepth(VXp_WorldDepth(world))) {
    case 0: *format = VX_PixelFormat_8; return VX_Ok;
    case 1: *format = VX_PixelFormat_16; return VX_Ok;
    case 2: *format = VX_PixelFormat_Float; return VX_Ok;
    default: return VXp_FailVerification("Unsupported pixel depth in VXp_GetPixelFormat()");
  }
}

VX_Err VXp_PixelFormatToDepth(VX_PixelFormat format, int32_t* depth) {
  switch (format) {
    case VX_PixelFormat_8: *depth = 8; return VX_Ok;
    case VX_PixelFormat_16: *depth = 16; return VX_Ok;
    case VX_PixelFormat_Float: *depth = 32; return VX_Ok;
    default: return VXp_FailVerification("Unsupported VX_PixelFormat");
  }
}

VX_Err VXp_SetWorldDepth(VX_LayerDef* world, int32_t depth) {
  const int32_t code = CodeOfDepth(depth);
  if (code < 0) return VXp_FailVerification(kUnknownFormat);
  world->world_flags |= static_cast<uint32_t>(code) << 24;
  if (depth == 16) world->world_flags |= 1u;
  return VX_Ok;
}

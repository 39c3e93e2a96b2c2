// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Services for plug-ins: worlds, and queries about a descriptor.

#include "VX/VX_EffectWorld.h"

#include <memory>

#include "VX/VX_Package.h"
#include "VX/VX_World.h"
#include "frame/VXp_Convert.h"
#include "frame/VXp_Report.h"

namespace {

constexpr uint32_t kCheck = kVXp_PackageWord | 3;
constexpr int32_t kInvalidParameter = 1;
constexpr int32_t kForeignWorld = 2;
constexpr int32_t kNoPlatformWorld = 19;

// Reports an entry of the string table and returns VX_ErrReported. If the host has no text for the
// entry, returns VX_Ok without a report; the caller then continues.
VX_Err Refuse(int32_t entry) {
  const char* text = U_ZLookupLStrCache(&VX_G_zref, entry);
  return text != nullptr ? VXp_ReportText(kCheck, text, VX_ErrReported) : VX_Ok;
}

// Reports a null argument and returns VX_ErrReported, even if the host has no text.
VX_Err RefuseNull() {
  Refuse(kInvalidParameter);
  return VX_ErrReported;
}

template <class Pixel>
VX_Err GetPixelData(const VX_LayerDef* world, void* pixels, Pixel** out, const char* refusal) {
  if (out != nullptr) *out = nullptr;
  if (world == nullptr || out == nullptr) return VXp_ReportText(kCheck, refusal, VX_ErrReported);
  if (VXp_WorldDepth(world) == kVXp_DepthOf<Pixel>) {
    *out = static_cast<Pixel*>(pixels != nullptr ? pixels : world->data);
  }
  return VX_Ok;
}

// The report of VX_GetPixelData8 and VX_GetPixelData16. Callers may compare the text, so it is not
// corrected.
constexpr char kBadPixelData8[] = "bad parameter passed to VX_GetPixelData8";
constexpr char kBadPixelDataFloat[] = "bad parameter passed to VX_GetPixelDataFloat";

}  // namespace

VX_Err VX_NewEffectWorld(void*, int32_t width, int32_t height, int32_t depth, bool clear,
                         bool use_bm_world, VX_LayerDef* out) {
  if (out == nullptr) return VX_Ok;
  return VXp_Guarded([&]() -> VX_Err {
    const auto narrow = static_cast<int16_t>(depth);
    if (narrow != depth) return VX_ErrBadParameter;
    const uint32_t flags = (clear ? VX_WorldFlag_Clear : 0u) |
                           (depth == 16 ? VX_WorldFlag_Deep : 0u) |
                           (use_bm_world ? VX_WorldFlag_BMWorld : 0u);
    std::unique_ptr<VX_World> world(VX_World::New(width, height, narrow, flags));
    if (world == nullptr) return VX_ErrOutOfMemory;
    world->FillOutEffectWorld(out);
    out->effect_world_stamp = VX_EffectWorldStamp;
    (void)world.release();  // from now on owned by the descriptor
    return VX_Ok;
  });
}

VX_Err VX_NewEffectWorldFlags(void* ref, int32_t width, int32_t height, uint32_t flags,
                              VX_LayerDef* out) {
  const bool clear = (flags & VX_WorldFlag_Clear) != 0;
  const int32_t depth = (flags & VX_WorldFlag_Deep) != 0 ? 16 : 8;
  return VX_NewEffectWorld(ref, width, height, depth, clear, /*use_bm_world=*/true, out);
}

VX_Err VX_DisposeEffectWorld(void*, VX_LayerDef* world) {
  if (world == nullptr) return RefuseNull();
  if (world->effect_world_stamp != VX_EffectWorldStamp || world->world_object == nullptr) {
    const VX_Err refused = Refuse(kForeignWorld);
    if (refused != VX_Ok) return refused;
  }
  const bool is_its_own = world == world->world_object;  // then deleting the object deletes `world`
  delete world->world_object;
  if (!is_its_own) *world = {};
  return VX_Ok;
}

VX_Err VX_GetPlatformRefs(void*, const VX_LayerDef* world, void** first, void** second) {
  if (first != nullptr) *first = nullptr;
  if (second != nullptr) *second = nullptr;
  if (world == nullptr || first == nullptr || second == nullptr) return RefuseNull();
  const uint32_t stamp = world->effect_world_stamp;
  const bool known = stamp == VX_EffectWorldStamp || stamp == VX_ForeignWorldStamp;
  return known ? VX_Ok : Refuse(kNoPlatformWorld);
}

VX_Err VX_GetPixelData8(const VX_LayerDef* world, void* pixels, VX_Pixel8** out) {
  return GetPixelData(world, pixels, out, kBadPixelData8);
}

VX_Err VX_GetPixelData16(const VX_LayerDef* world, void* pixels, VX_Pixel16** out) {
  return GetPixelData(world, pixels, out, kBadPixelData8);
}

VX_Err VX_GetPixelDataFloat(const VX_LayerDef* world, void* pixels, VX_PixelFloat** out) {
  return GetPixelData(world, pixels, out, kBadPixelDataFloat);
}

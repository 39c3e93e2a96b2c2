// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "lifecycle/VXp_Suites.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "VX/VX_CompositeRect.h"
#include "VX/VX_Numeric.h"
#include "VX/VX_Suites.h"
#include "frame/VXp_Report.h"
#include "host/PLUG.h"

namespace {

// --- members that are not functions of the library -----------------------------------------------

template <int32_t kWord>
VX_Err StoreProcessorWord(bool* out) {
  if (out == nullptr) return VX_ErrBadParameter;
  *out = U_G_CPU_DataP[kWord] != 0;
  return VX_Ok;
}

void** CreateHandle(uint64_t size) { return U_AllocateHandle(kVXp_PackageWord, "suite", size); }
void* LockHandle(void** handle) { return handle == nullptr ? nullptr : *handle; }
void UnlockHandle(void**) {}
uint64_t SizeOfHandle(void** handle) { return U_GetHandleSize(handle); }
VX_Err ResizeHandle(uint64_t size, void** handle) { return U_SetHandleSize(handle, size); }

VX_Err BeginBatch(void*, int32_t, int32_t, VX_SampPB* record) {
  if (record == nullptr || record->src == nullptr) return VX_ErrBadParameter;
  const double area = 4.0 * record->x_radius * record->y_radius / 65536.0;
  record->area = static_cast<VX_Fixed>(std::clamp(std::round(area), -0x1p31, 0x1p31 - 1));
  return VX_Ok;
}

VX_Err EndBatch(void*, int32_t, int32_t, VX_SampPB* record) {
  return record == nullptr ? VX_ErrBadParameter : VX_Ok;
}

VX_Err CreateWorldOfFormat(void* ref, int32_t width, int32_t height, bool clear,
                           VX_PixelFormat format, VX_LayerDef* out) {
  int32_t depth = 0;
  const VX_Err error = VXp_PixelFormatToDepth(format, &depth);
  if (error != VX_Ok) return error;
  return VX_NewEffectWorld(ref, width, height, depth, clear, /*use_bm_world=*/true, out);
}

// --- the tables ----------------------------------------------------------------------------------

template <class Table>
Table Filled();

template <>
VX_CpuDataSuite1 Filled() {
  return {StoreProcessorWord<U_CPU_HAS_MMX>, StoreProcessorWord<U_CPU_HAS_SSE>,
          StoreProcessorWord<U_CPU_HAS_SSE2>, StoreProcessorWord<U_CPU_HAS_SSE3>};
}

template <>
VX_AnsiSuite1 Filled() {
  return {std::atan, std::atan2,   std::ceil,   std::cos,   std::exp, std::fabs, std::floor,
          std::fmod, VX_Hypot,     std::log,    std::log10, std::pow, std::sin,  std::sqrt,
          std::tan,  std::sprintf, std::strcpy, std::asin,  std::acos};
}

template <>
VX_HandleSuite1 Filled() {
  return {CreateHandle, LockHandle, UnlockHandle, U_FreeHandle, SizeOfHandle, ResizeHandle};
}

template <>
VX_ColorSuite1 Filled() {
  return {{VX_RGBtoHLS_Straight, VX_HLStoRGB_Straight, VX_RGBtoYIQ_Straight, VX_YIQtoRGB_Straight,
           VX_Luminance_Straight, VX_Hue_Straight, VX_Lightness_Straight, VX_Saturation_Straight}};
}

template <>
VX_Color16Suite1 Filled() {
  return {{VX_RGBtoHLS_Straight16, VX_HLStoRGB_Straight16, VX_RGBtoYIQ_Straight16,
           VX_YIQtoRGB_Straight16, VX_Luminance_Straight16, VX_Hue_Straight16,
           VX_Lightness_Straight16, VX_Saturation_Straight16}};
}

template <>
VX_ColorFloatSuite1 Filled() {
  return {{VX_RGBtoHLS_StraightFloat, VX_HLStoRGB_StraightFloat, VX_RGBtoYIQ_StraightFloat,
           VX_YIQtoRGB_StraightFloat, VX_Luminance_StraightFloat, VX_Hue_StraightFloat,
           VX_Lightness_StraightFloat, VX_Saturation_StraightFloat}};
}

template <>
VX_BatchSamplingSuite1 Filled() {
  return {BeginBatch, EndBatch, VX_GetSamplerBatch8, VX_GetSamplerBatch16};
}

template <>
VX_Sampling8Suite1 Filled() {
  return {{VXp_G_OverFuncs.VX_NNSample, VXp_G_OverFuncs.VX_SubpixelSample_Straight,
           VXp_G_OverFuncs.VX_AreaSample_Straight}};
}

template <>
VX_Sampling16Suite1 Filled() {
  return {{VXp_G_OverFuncs.VX_NNSample16, VXp_G_OverFuncs.VX_SubpixelSample_Straight16,
           VXp_G_OverFuncs.VX_AreaSample_Straight16}};
}

template <>
VX_SamplingFloatSuite1 Filled() {
  return {{VX_NNSampleFloat, VX_SubpixelCPlusPlusFloat, VX_AreaSample_CPlusPlus<VX_PixelFloat>}};
}

template <>
VX_WorldSuite1 Filled() {
  return {VX_NewEffectWorldFlags, VX_DisposeEffectWorld};
}

template <>
VX_WorldSuite2 Filled() {
  return {CreateWorldOfFormat, VX_DisposeEffectWorld, VXp_GetPixelFormat};
}

template <>
VX_Iterate8Suite1 Filled() {
  return {VXp_G_OverFuncs.VX_Iterate_S, VXp_G_OverFuncs.VX_IterateOrigin_S,
          VXp_G_OverFuncs.VX_IterateLUT_S, VXp_G_OverFuncs.VX_IterateOriginAll_S,
          VXp_G_OverFuncs.VX_IterateGeneric_Static};
}

VX_IterateFunctions Iterators() {
  return {VXp_G_OverFuncs.VX_Iterate_S, VXp_G_OverFuncs.VX_IterateOrigin_S,
          VXp_G_OverFuncs.VX_IterateOriginAll_S};
}

template <>
VX_Iterate16Suite1 Filled() {
  return {Iterators()};
}

template <>
VX_IterateFloatSuite1 Filled() {
  return {Iterators()};
}

template <>
VX_WorldTransformSuite1 Filled() {
  return {VXp_G_OverFuncs.VX_CompositeRectBest_Straight,
          VX_Blend_Straight,
          VXp_G_OverFuncs.VX_Convolve,
          VXp_G_OverFuncs.VX_CopyBits_Draft_Static,
          VXp_G_OverFuncs.VX_CopyBits_HQ_Straight_Static,
          VXp_G_OverFuncs.VX_TransferRect_S,
          VXp_G_OverFuncs.VX_TransformWorld_S};
}

template <>
VX_FillMatteSuite1 Filled() {
  return {VX_Fill, VX_Fill16, VX_Premul, VX_PremulColor, VX_PremulColor16};
}

template <>
VX_FillMatteSuite2 Filled() {
  return {VX_Fill,        VX_Fill16,        VX_FillFloat,       VX_Premul,
          VX_PremulColor, VX_PremulColor16, VX_PremulColorFloat};
}

template <>
VX_PixelDataSuite1 Filled() {
  return {VX_GetPixelData8, VX_GetPixelData16, VX_GetPixelDataFloat};
}

// --- the list ------------------------------------------------------------------------------------

constinit int32_t registered = 0;  // suites, from the start of the list

template <class Table>
VX_Err Register() {
  static Table table;
  table = Filled<Table>();
  return PLUG_AddSPSuite(0, 0, Table::kName, Table::kVersion, Table::kVersion,
                         sizeof(Table) / sizeof(void*), &table);
}

struct Suite {
  const char* name;
  int32_t version;
  VX_Err (*add)();
};

template <class Table>
constexpr Suite Of() {
  return {Table::kName, Table::kVersion, Register<Table>};
}

// In the order of registration.
constexpr Suite kSuites[] = {
    Of<VX_CpuDataSuite1>(),       Of<VX_AnsiSuite1>(),         Of<VX_HandleSuite1>(),
    Of<VX_ColorSuite1>(),         Of<VX_Color16Suite1>(),      Of<VX_ColorFloatSuite1>(),
    Of<VX_BatchSamplingSuite1>(), Of<VX_Sampling8Suite1>(),    Of<VX_Sampling16Suite1>(),
    Of<VX_SamplingFloatSuite1>(), Of<VX_WorldSuite1>(),        Of<VX_Iterate8Suite1>(),
    Of<VX_Iterate16Suite1>(),     Of<VX_IterateFloatSuite1>(), Of<VX_WorldTransformSuite1>(),
    Of<VX_FillMatteSuite1>(),     Of<VX_FillMatteSuite2>(),    Of<VX_PixelDataSuite1>(),
    Of<VX_WorldSuite2>()};

}  // namespace

VX_Err VXp_RegisterSuites() {
  return VXp_Guarded([] {
    VXp_RemoveSuites();
    for (const Suite& suite : kSuites) {
      VXp_ThrowIf(suite.add());
      ++registered;
    }
  });
}

void VXp_RemoveSuites() {
  for (int32_t i = 0; i < registered; ++i) {
    static_cast<void>(PLUG_RemoveSPSuite(kSuites[i].name, kSuites[i].version));
  }
  registered = 0;
}

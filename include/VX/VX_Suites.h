// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Suites: tables of functions that an effect plug-in finds by name and version, so that it needs no
// link to the library.
//
// The library registers its suites with the host when the application starts the scan for modules
// (PLUG_RunScans, or VX_AcquireLibrary), after acceleration modules are loaded: members that are
// slots of the override table contain the routine that is in the slot at that time. VX_Death
// removes the suites; tables must not be used after it. The host has a function that finds a suite;
// with the embedded host it is VXHost_FindSuite:
//
//   int32_t members = 0;
//   auto* suite = static_cast<const VX_FillMatteSuite2*>(
//       VXHost_FindSuite(VX_FillMatteSuite2::kName, VX_FillMatteSuite2::kVersion, &members));
//   if (suite != nullptr) suite->fill(nullptr, &red, nullptr, world);
//
// Members are never null. Each one has the arguments, errors and thread-safety of the function in
// its comment. Members are only ever added in a new version of a suite.

#include <cstddef>
#include <cstdint>

#include "VX/VX_ColorSpaces.h"
#include "VX/VX_EffectWorld.h"
#include "VX/VX_Fill.h"
#include "VX/VX_Iterate.h"
#include "VX/VX_OverrideTable.h"
#include "VX/VX_Premul.h"
#include "VX/VX_Sampling.h"

// The processor, as the host's record describes it. Members return VX_Ok, and VX_ErrBadParameter
// for null.
struct VX_CpuDataSuite1 {
  static constexpr const char* kName = "RZ CPU Data Suite";
  static constexpr int32_t kVersion = 1;

  VX_Err (*has_mmx)(bool* out);
  VX_Err (*has_sse)(bool* out);
  VX_Err (*has_sse2)(bool* out);
  VX_Err (*has_sse3)(bool* out);
};

// Functions of the C runtime, and VX_Hypot. Angles in radians.
struct VX_AnsiSuite1 {
  static constexpr const char* kName = "VX ANSI Suite";
  static constexpr int32_t kVersion = 1;

  double (*atan)(double x);
  double (*atan2)(double y, double x);
  double (*ceil)(double x);
  double (*cos)(double x);
  double (*exp)(double x);
  double (*fabs)(double x);
  double (*floor)(double x);
  double (*fmod)(double x, double y);
  double (*hypot)(double x, double y);
  double (*log)(double x);
  double (*log10)(double x);
  double (*pow)(double x, double y);
  double (*sin)(double x);
  double (*sqrt)(double x);
  double (*tan)(double x);
  int (*sprintf)(char* buffer, const char* format, ...);
  char* (*strcpy)(char* to, const char* from);
  double (*asin)(double x);
  double (*acos)(double x);
};

// Handles of the host: pointers to the pointer to a block. Thread-safe on distinct handles.
struct VX_HandleSuite1 {
  static constexpr const char* kName = "VX Handle Suite";
  static constexpr int32_t kVersion = 1;

  // Returns a handle with a block of `size` bytes, 16-byte aligned and not initialised; null if out
  // of memory.
  void** (*create)(uint64_t size);
  // Returns the block of a handle; null for null. The block moves only when it is resized.
  void* (*lock)(void** handle);
  // Has no effect, because blocks are not moved by others. For every lock.
  void (*unlock)(void** handle);
  // Frees a handle and its block. Null is ignored.
  void (*dispose)(void** handle);
  // Returns the size of the block in bytes; 0 for null.
  uint64_t (*size)(void** handle);
  // Changes the size of the block and preserves its contents up to the smaller size. Returns VX_Ok;
  // VX_ErrOutOfMemory, with the handle unchanged; VX_ErrBadParameter for null.
  VX_Err (*resize)(uint64_t size, void** handle);
};

// Conversions of one colour, see VX_ColorSpaces.h.
template <class Pixel, class Component, class Measure>
struct VX_ColorFunctions {
  VX_Err (*rgb_to_hls)(void* ref, const Pixel* rgb, Component hls[3]);
  VX_Err (*hls_to_rgb)(void* ref, const Component hls[3], Pixel* rgb);
  VX_Err (*rgb_to_yiq)(void* ref, const Pixel* rgb, Component yiq[3]);
  VX_Err (*yiq_to_rgb)(void* ref, const Component yiq[3], Pixel* rgb);
  VX_Err (*luminance)(void* ref, const Pixel* rgb, Measure* out);
  VX_Err (*hue)(void* ref, const Pixel* rgb, Measure* out);
  VX_Err (*lightness)(void* ref, const Pixel* rgb, Measure* out);
  VX_Err (*saturation)(void* ref, const Pixel* rgb, Measure* out);
};
struct VX_ColorSuite1 : VX_ColorFunctions<VX_Pixel8, VX_Fixed, int32_t> {
  static constexpr const char* kName = "VX Color Suite";
  static constexpr int32_t kVersion = 1;
};
struct VX_Color16Suite1 : VX_ColorFunctions<VX_Pixel16, VX_Fixed, int32_t> {
  static constexpr const char* kName = "VX Color16 Suite";
  static constexpr int32_t kVersion = 1;
};
struct VX_ColorFloatSuite1 : VX_ColorFunctions<VX_PixelFloat, float, float> {
  static constexpr const char* kName = "VX ColorFloat Suite";
  static constexpr int32_t kVersion = 1;
};

// Samplers for many pixels of one world: call `begin` once, fetch the samplers, call them, call
// `end`. Each member returns VX_Ok, and VX_ErrBadParameter for a null pointer.
struct VX_BatchSamplingSuite1 {
  static constexpr const char* kName = "VX Batch Sampling Suite";
  static constexpr int32_t kVersion = 1;

  // Completes a record: sets `area` to 4 * x_radius * y_radius, rounded half away from zero and
  // limited to the range of VX_Fixed. Returns VX_ErrBadParameter also if the record has no source.
  VX_Err (*begin)(void* ref, int32_t quality, int32_t mode_flags, VX_SampPB* record);
  // Has no effect: a batch holds no resources.
  VX_Err (*end)(void* ref, int32_t quality, int32_t mode_flags, VX_SampPB* record);
  // See VX_GetSamplerBatch8.
  VX_Err (*samplers8)(int32_t quality, int32_t mode_flags, VX_SamplerBatch<VX_Pixel8>* out);
  VX_Err (*samplers16)(int32_t quality, int32_t mode_flags, VX_SamplerBatch<VX_Pixel16>* out);
};

// Samplers of one pixel with straight alpha: the nearest one, the bilinear one, the box.
template <class Pixel>
struct VX_SamplingFunctions {
  VX_SampleFunc<Pixel> nearest;
  VX_SampleFunc<Pixel> bilinear;
  VX_SampleFunc<Pixel> area;
};
struct VX_Sampling8Suite1 : VX_SamplingFunctions<VX_Pixel8> {  // slots 2, 3, 5
  static constexpr const char* kName = "VX Sampling8 Suite";
  static constexpr int32_t kVersion = 1;
};
struct VX_Sampling16Suite1 : VX_SamplingFunctions<VX_Pixel16> {  // slots 63, 64, 65
  static constexpr const char* kName = "VX Sampling16 Suite";
  static constexpr int32_t kVersion = 1;
};
struct VX_SamplingFloatSuite1 : VX_SamplingFunctions<VX_PixelFloat> {
  static constexpr const char* kName = "VX SamplingFloat Suite";
  static constexpr int32_t kVersion = 1;
};

// Worlds for effects.
struct VX_WorldSuite1 {
  static constexpr const char* kName = "VX World Suite";
  static constexpr int32_t kVersion = 1;

  decltype(&VX_NewEffectWorldFlags) create;
  decltype(&VX_DisposeEffectWorld) dispose;
};
struct VX_WorldSuite2 {
  static constexpr const char* kName = "VX World Suite";
  static constexpr int32_t kVersion = 2;

  // Like VX_NewEffectWorld with a host bitmap and the depth of the format. Returns
  // VX_ErrBadParameter with a report for an unknown format.
  VX_Err (*create)(void* ref, int32_t width, int32_t height, bool clear, VX_PixelFormat format,
                   VX_LayerDef* out);
  decltype(&VX_DisposeEffectWorld) dispose;
  decltype(&VXp_GetPixelFormat) format;
};

// Iteration over pixels, see VX_Iterate.h. All members accept worlds of any depth.
struct VX_Iterate8Suite1 {
  static constexpr const char* kName = "VX Iterate8 Suite";
  static constexpr int32_t kVersion = 1;

  VX_IterateFunc iterate;                 // slot 42, VX_Iterate
  VX_IterateOriginFunc iterate_origin;    // slot 43, VX_IterateOrigin
  VX_IterateLUTFunc iterate_lut;          // slot 44, VX_IterateLUT
  VX_IterateOriginFunc iterate_all;       // slot 51, VX_IterateOriginAll
  VX_IterateGenericFunc iterate_generic;  // slot 53, VX_IterateGeneric
};
struct VX_IterateFunctions {
  VX_IterateFunc iterate;               // slot 42
  VX_IterateOriginFunc iterate_origin;  // slot 43
  VX_IterateOriginFunc iterate_all;     // slot 51
};
struct VX_Iterate16Suite1 : VX_IterateFunctions {
  static constexpr const char* kName = "VX iterate16 Suite";
  static constexpr int32_t kVersion = 1;
};
struct VX_IterateFloatSuite1 : VX_IterateFunctions {
  static constexpr const char* kName = "VX iterateFloat Suite";
  static constexpr int32_t kVersion = 1;
};

// Operations on whole worlds.
struct VX_WorldTransformSuite1 {
  static constexpr const char* kName = "VX World Transform Suite";
  static constexpr int32_t kVersion = 1;

  VX_CompositeRectFunc composite_rect;    // slot 9, VX_CompositeRectBest_Straight
  VX_BlendWorldsFunc blend;               // VX_Blend_Straight
  VX_ConvolveFunc convolve;               // slot 28, VX_Convolve
  VX_CopyBitsFunc copy;                   // slot 23, VX_CopyBits_Draft
  VX_CopyBitsFunc copy_hq;                // slot 24, VX_CopyBits_HQ_Straight
  VX_TransferRectFunc transfer_rect;      // slot 31, VX_TransferRect
  VX_TransformWorldFunc transform_world;  // slot 32, VX_TransformWorld
};

// Fills, and multiplication by alpha, see VX_Fill.h and VX_Premul.h.
struct VX_FillMatteSuite1 {
  static constexpr const char* kName = "VX Fill Matte Suite";
  static constexpr int32_t kVersion = 1;

  decltype(&VX_Fill) fill;
  decltype(&VX_Fill16) fill16;
  decltype(&VX_Premul) premultiply;
  decltype(&VX_PremulColor) premultiply_color;
  decltype(&VX_PremulColor16) premultiply_color16;
};
struct VX_FillMatteSuite2 {
  static constexpr const char* kName = "VX Fill Matte Suite";
  static constexpr int32_t kVersion = 2;

  decltype(&VX_Fill) fill;
  decltype(&VX_Fill16) fill16;
  decltype(&VX_FillFloat) fill_float;
  decltype(&VX_Premul) premultiply;
  decltype(&VX_PremulColor) premultiply_color;
  decltype(&VX_PremulColor16) premultiply_color16;
  decltype(&VX_PremulColorFloat) premultiply_color_float;
};

// The pixels of a world, see VX_EffectWorld.h.
struct VX_PixelDataSuite1 {
  static constexpr const char* kName = "VX Pixel Data Suite";
  static constexpr int32_t kVersion = 1;

  decltype(&VX_GetPixelData8) pixels8;
  decltype(&VX_GetPixelData16) pixels16;
  decltype(&VX_GetPixelDataFloat) pixels_float;
};

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Pixels, the image descriptor, and structs that all calls use.

#include <cstddef>
#include <cstdint>

#include "VX/VX_Export.h"
#include "host/BM.h"
#include "host/M.h"

class VX_World;

// A result code, see VX.h. Calls that throw an error throw this type by value.
using VX_Err = int32_t;

enum : VX_Err {
  VX_Ok = 0,
  VX_ErrColorEngine = 1,   // the colour engine could not be bound
  VX_ErrBadParameter = 3,  // bad argument or failed internal check
  VX_ErrOutOfMemory = 4,
  VX_ErrUnsupported = 5,       // unsupported conversion or unknown mode
  VX_ErrVersion = 7,           // caller and library were built against different headers
  VX_ErrNoBMWorld = 513,       // the world is not backed by a host bitmap
  VX_ErrMotionSettings = 514,  // settings of motion estimation out of range
  VX_ErrObsolete = 515,        // obsolete routine
  VX_ErrReported = 516,        // an error that was already shown to the user
  VX_ErrStopped = 517,         // the progress function stopped the call, usually for the user
};

// --- pixels --------------------------------------------------------------------------------------
//
// The order in memory is alpha, red, green, blue. Alpha is straight: colour is not multiplied by
// it.

struct VX_API VX_Pixel8 {  // 0..255
  uint8_t alpha, red, green, blue;
};
struct VX_API VX_Pixel16 {  // 0..32768; white is 32768, not 65535
  uint16_t alpha, red, green, blue;
};
struct VX_API VX_PixelFloat {  // white is 1.0; values outside 0..1 are preserved
  float alpha, red, green, blue;
};
struct VX_API VX_PixelDouble {  // for sums; worlds do not have this type
  double alpha, red, green, blue;
};

static_assert(sizeof(VX_Pixel8) == 4 && sizeof(VX_Pixel16) == 8);
static_assert(sizeof(VX_PixelFloat) == 16 && sizeof(VX_PixelDouble) == 32);

// The type of one channel of a pixel.
template <class Pixel>
using VX_ChannelOf = decltype(Pixel::alpha);

// A position or step with 16 fraction bits: 65536 is 1.0.
using VX_Fixed = int32_t;

// Four-character pixel format codes, compared as little-endian words: the bytes "argb", "rz16",
// "rz32".
using VX_PixelFormat = uint32_t;
enum : VX_PixelFormat {
  VX_PixelFormat_8 = 0x62677261,
  VX_PixelFormat_16 = 0x36317A72,
  VX_PixelFormat_Float = 0x32337A72,
};

// --- the image descriptor ------------------------------------------------------------------------

// The image descriptor that plug-ins fill in, also called VX_EffectWorld. The order of the fields
// is part of the interface. If world_object is null, bits 24..31 of world_flags contain the depth
// code: 0, 1, 2 for 8, 16, 32 bits per channel. If it is not null, that object defines the depth.
struct VX_LayerDef {
  uint32_t reserved_0;
  uint32_t reserved_1;
  uint32_t world_flags;  // bit 0: 16-bit world; bits 24..31: depth code
  void* data;            // first pixel of the first row; null: no pixels
  int32_t rowbytes;      // bytes from row to row; may exceed width * pixel size
  int32_t width;         // pixels in a row
  int32_t height;        // rows
  M_Rect extent_hint;    // the part that may contain pixels with alpha above 0
  uint32_t reserved_9;
  uint32_t effect_world_stamp;  // 0xAAAABBBB for worlds made for plug-ins
  VX_World* world_object;       // the object of this descriptor; may be null
  uint32_t aux_pair[2];         // data of plug-ins; copied with the descriptor, not interpreted
  BM_World** bm_world;          // the host bitmap that owns the pixels; may be null
  int32_t origin_x;             // position in a larger frame, see VX_World::New
  int32_t origin_y;
  uint32_t reserved_17;
  uint32_t reserved_18;
};
using VX_EffectWorld = VX_LayerDef;

static_assert(sizeof(VX_LayerDef) == 96);
static_assert(offsetof(VX_LayerDef, world_flags) == 8 && offsetof(VX_LayerDef, data) == 16);
static_assert(offsetof(VX_LayerDef, rowbytes) == 24 && offsetof(VX_LayerDef, width) == 28);
static_assert(offsetof(VX_LayerDef, height) == 32 && offsetof(VX_LayerDef, extent_hint) == 36);
static_assert(offsetof(VX_LayerDef, effect_world_stamp) == 48);
static_assert(offsetof(VX_LayerDef, world_object) == 56 && offsetof(VX_LayerDef, aux_pair) == 64);
static_assert(offsetof(VX_LayerDef, bm_world) == 72 && offsetof(VX_LayerDef, origin_x) == 80);
static_assert(offsetof(VX_LayerDef, origin_y) == 84);
static_assert(sizeof(M_Rect) == 8 && sizeof(M_LRect) == 16);

// --- progress ------------------------------------------------------------------------------------

// Returns VX_Ok to continue or VX_ErrStopped to stop.
using VX_ProgressFunc = VX_Err (*)(void* refcon, int32_t step, int32_t final_step);

// A caller's progress function and its context. The library reads only progress_func and
// progress_refcon; their offsets are fixed.
struct VX_ProgressInfo {
  uint32_t host_words_0[4];
  VX_ProgressFunc progress_func;
  uint32_t host_words_1[18];
  void* progress_refcon;
};
static_assert(sizeof(VX_ProgressInfo) == 104);
static_assert(offsetof(VX_ProgressInfo, progress_func) == 16);
static_assert(offsetof(VX_ProgressInfo, progress_refcon) == 96);

// --- depth ---------------------------------------------------------------------------------------

// Returns the depth of a world: 8, 16 or 32. If there is a world object, it is the depth of the
// object, else that of the depth code. An unknown depth code is reported ("Unknown pixel format")
// and treated as 8-bit.
VX_API int32_t VXp_WorldDepth(const VX_LayerDef* world);

// Stores the result of VXp_WorldDepth. Returns VX_Ok.
VX_API VX_Err VX_GetEffectWorldDepth(const VX_LayerDef* world, int32_t* depth);

// Returns the depth of a bitmap, bits per pixel / 4: 8, 16 or 32 for valid bitmaps.
VX_API int16_t VX_DepthOfBMWorld(BM_World** bitmap);

// Stores the format code of the world's depth. Returns VX_ErrBadParameter for a null world or an
// unsupported depth.
VX_API VX_Err VXp_GetPixelFormat(const VX_LayerDef* world, VX_PixelFormat* format);

// Stores the depth of a format code. Returns VX_ErrBadParameter for an unknown code.
VX_API VX_Err VXp_PixelFormatToDepth(VX_PixelFormat format, int32_t* depth);

// Sets the depth code in world_flags by OR, and bit 0 for 16 bits. The depth bits must be 0 before.
// Returns VX_ErrBadParameter unless depth is 8, 16 or 32.
VX_API VX_Err VXp_SetWorldDepth(VX_LayerDef* world, int32_t depth);

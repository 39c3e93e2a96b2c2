// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Transfer modes, the records that carry them, and the general composite call.

#include "VX/VX_LinearBlendingTables.h"
#include "VX/VX_Types.h"

// The numbers index all tables of this subject.
enum : int32_t {
#define VX_MODE(number, constant, name, piece, ...) constant = number,
#include "VX/VX_TransferModes.def"
#undef VX_MODE
};

// --- records -------------------------------------------------------------------------------------

// The older interface.
struct VX_CompositeMode {
  int32_t mode;
  int32_t seed;          // of dissolve
  uint8_t opacity;       // 0..255
  uint8_t keepDstAlpha;  // non-zero: colours are written, the destination's alpha stays
  uint16_t opacity16;    // 0..32768
};
static_assert(sizeof(VX_CompositeMode) == 12);

// The current interface. opacityF is what the transfer functions read.
struct VX_CompositeModePlus {
  int32_t mode;
  int32_t seed;
  uint8_t opacity;
  uint8_t keepDstAlpha;
  uint16_t opacity16;
  const VX_LinearBlendingTables* tables;
  float opacityF;  // 0..1

  // Leaves every field as it is.
  VX_CompositeModePlus() {}  // NOLINT(modernize-use-equals-default): = default would allow zeroing

  // Touches neither opacity nor opacity16.
  VX_CompositeModePlus(int32_t mode_number, float opacity_0_to_1,
                       const VX_LinearBlendingTables* linear_tables, bool keep_dst_alpha,
                       int32_t dissolve_seed)
      : mode(mode_number),
        seed(dissolve_seed),
        keepDstAlpha(keep_dst_alpha ? 1 : 0),
        tables(linear_tables),
        opacityF(opacity_0_to_1) {}

  // Takes the finer opacity16 when it agrees with opacity to within 1/255, otherwise opacity, so
  // that a caller who left opacity16 unset still gets its 8-bit opacity. `tables` is left unset.
  VX_API explicit VX_CompositeModePlus(const VX_CompositeMode& older);
};
static_assert(sizeof(VX_CompositeModePlus) == 32);
static_assert(offsetof(VX_CompositeModePlus, tables) == 16);
static_assert(offsetof(VX_CompositeModePlus, opacityF) == 24);

// Which quantity of a mask world is the weight of a pixel. Bit 0 is the inversion.
enum : int32_t {
  VX_MaskUse_Alpha = 0,         // mask alpha; 0 outside the mask world
  VX_MaskUse_InverseAlpha = 1,  // full scale less that; full outside
  VX_MaskUse_Luma = 2,          // luminance times alpha; 0 outside
  VX_MaskUse_InverseLuma = 3    // full scale less that; full outside
};

struct VX_MaskSpec {
  VX_LayerDef* world;
  int16_t offsetV;  // position of the mask in the destination's frame
  int16_t offsetH;
  int32_t what;  // VX_MaskUse_...
};
using VX_TransformMask = VX_MaskSpec;
static_assert(sizeof(VX_MaskSpec) == 16);

// Which rows of the destination are drawn; the parity is that of the destination row number.
enum : int32_t { VX_Field_Both = 0, VX_Field_EvenRows = 1, VX_Field_OddRows = 2 };

// Row buffers that a caller may bring to VX_TransferRectPlus.
struct VX_BlendScratch {
  void* alpha_row;  // one channel a pixel
  void* mask_row;   // whole pixels
  void* third_row;  // whole pixels
  void* motion[7];  // blocks of the motion blur
};

// --- calls ---------------------------------------------------------------------------------------

// 1 for the modes -3, 0, 1, 2, 4..7, 9..16, 22 and 25, else 0. For callers; the library does not
// ask.
VX_API int32_t VX_GetTransferFlags(int32_t mode);

// Composites `rect` of the source (null: all of it) over the destination at (x, y).
//
//   progress  may be null; polled once in 128 rows
//   quality, flags  not read
//   field     VX_Field_...; any other value draws every row
//   mode      mode, seed, opacityF (clamped to 0..1 at 8 and 16 bits) and keepDstAlpha
//   tables    null blends in the stored encoding; the tables of `mode` are not read
//   mask      null for none; its world has the depth of the source
//
// The rectangle is clipped to the source, the destination and, unless inverted, the mask; a
// rectangle clipped to nothing gives 0. The two stencil modes clear alpha outside the rectangle,
// nothing else touches pixels there. Dissolve draws from mode->seed + left, and the row numbers
// move it on.
//
// 0; 3 for null worlds, unequal depths or a bad mask; 4 out of memory; 5 unknown mode, all with the
// destination untouched; or what progress returned, with the rows done so far drawn.
// Safe on several threads for destinations that do not overlap.
VX_API VX_Err VX_TransferRect(VX_ProgressInfo* progress, int32_t quality, int32_t flags,
                              int32_t field, const M_Rect* rect, const VX_LayerDef* src,
                              const VX_CompositeModePlus* mode,
                              const VX_LinearBlendingTables* tables, const VX_MaskSpec* mask,
                              int32_t x, int32_t y, VX_LayerDef* dst);

// The routine behind VX_TransferRect, before any replacement.
VX_API VX_Err VX_TransferRect_S(VX_ProgressInfo* progress, int32_t quality, int32_t flags,
                                int32_t field, const M_Rect* rect, const VX_LayerDef* src,
                                const VX_CompositeModePlus* mode,
                                const VX_LinearBlendingTables* tables, const VX_MaskSpec* mask,
                                int32_t x, int32_t y, VX_LayerDef* dst);

// Turns a row of a matte world into mask values, in the alpha channel of `out_row` only.
//
//   left       column of the output where the matte starts; may be negative
//   available  pixels of the matte row
//   what       VX_MaskUse_...; 0 and unknown values write nothing where the matte is
//   deep       non-zero: the rows are VX_Pixel16, else VX_Pixel8
//
// Columns that the matte does not cover get full scale when bit 0 of `what` is set, else 0. Returns
// 0.
VX_API VX_Err VX_PrepTrackMatteUniv(int32_t count, const void* mask_row, int32_t left,
                                    int32_t available, int32_t what, uint8_t deep, void* out_row);

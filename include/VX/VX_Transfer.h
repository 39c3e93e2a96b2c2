// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Transfer modes, their parameters, and the general composite call.

#include "VX/VX_LinearBlendingTables.h"
#include "VX/VX_Types.h"

// The numbers of the modes. They are the index in all tables of modes.
enum : int32_t {
#define VX_MODE(number, constant, name, piece, ...) constant = number,
#include "VX/VX_TransferModes.def"
#undef VX_MODE
};

// --- records -------------------------------------------------------------------------------------

// Parameters of a mode, for older callers.
struct VX_CompositeMode {
  int32_t mode;
  int32_t seed;          // start of the random noise of dissolve
  uint8_t opacity;       // 0..255
  uint8_t keepDstAlpha;  // not 0: destination alpha is unchanged, colours are written
  uint16_t opacity16;    // 0..32768
};
static_assert(sizeof(VX_CompositeMode) == 12);

// Parameters of a mode; supersedes VX_CompositeMode. The transfer functions read opacityF, not
// opacity and opacity16.
struct VX_CompositeModePlus {
  int32_t mode;
  int32_t seed;
  uint8_t opacity;
  uint8_t keepDstAlpha;
  uint16_t opacity16;
  const VX_LinearBlendingTables* tables;
  float opacityF;  // 0..1

  // Leaves all fields uninitialised.
  VX_CompositeModePlus() {}  // NOLINT(modernize-use-equals-default): = default would allow zeroing

  // Leaves opacity and opacity16 uninitialised.
  VX_CompositeModePlus(int32_t mode_number, float opacity_0_to_1,
                       const VX_LinearBlendingTables* linear_tables, bool keep_dst_alpha,
                       int32_t dissolve_seed)
      : mode(mode_number),
        seed(dissolve_seed),
        keepDstAlpha(keep_dst_alpha ? 1 : 0),
        tables(linear_tables),
        opacityF(opacity_0_to_1) {}

  // Sets opacityF from opacity16 / 32768 if it differs from opacity / 255 by less than 1/255, else
  // from opacity / 255, because some callers leave opacity16 uninitialised. opacity, opacity16 and
  // `tables` of this object remain uninitialised.
  VX_API explicit VX_CompositeModePlus(const VX_CompositeMode& older);
};
static_assert(sizeof(VX_CompositeModePlus) == 32);
static_assert(offsetof(VX_CompositeModePlus, tables) == 16);
static_assert(offsetof(VX_CompositeModePlus, opacityF) == 24);

// The quantity of a mask world that is the weight of a pixel. An odd value is the inverse of the
// even value below it.
enum : int32_t {
  VX_MaskUse_Alpha = 0,         // alpha; 0 outside the mask world
  VX_MaskUse_InverseAlpha = 1,  // full scale - alpha; full scale outside
  VX_MaskUse_Luma = 2,          // luminance times alpha; 0 outside
  VX_MaskUse_InverseLuma = 3    // full scale - luminance times alpha; full scale outside
};

struct VX_MaskSpec {
  VX_LayerDef* world;
  int16_t offsetV;  // position of the mask in the destination
  int16_t offsetH;
  int32_t what;  // VX_MaskUse_...
};
using VX_TransformMask = VX_MaskSpec;
static_assert(sizeof(VX_MaskSpec) == 16);

// Selects the rows of the destination that are drawn. Row 0 is the top row of the destination.
enum : int32_t { VX_Field_Both = 0, VX_Field_EvenRows = 1, VX_Field_OddRows = 2 };

// Row buffers that a caller may pass to VX_TransferRectPlus.
struct VX_BlendScratch {
  void* alpha_row;  // one channel per pixel
  void* mask_row;   // whole pixels
  void* third_row;  // whole pixels
  void* motion[7];  // memory blocks for motion blur
};

// --- calls ---------------------------------------------------------------------------------------

// Returns 1 for the modes -3, 0, 1, 2, 4..7, 9..16, 22 and 25, else 0. For existing callers; the
// library does not use this function.
VX_API int32_t VX_GetTransferFlags(int32_t mode);

// Composites a rectangle of the source over the destination.
//
//   progress  may be null; polled once per 128 rows
//   quality, flags  ignored
//   field     VX_Field_...; any other value draws every row
//   rect      in the source; null is all of it
//   mode      mode, seed, opacityF (clamped to 0..1 at 8 and 16 bits) and keepDstAlpha
//   tables    for blending in linear light; null blends encoded values. mode->tables is ignored
//   mask      null: none. Its world has the depth of the source
//   x, y      destination position of the top left corner of the rectangle
//
// The rectangle is clipped to the source, to the destination and, if the mask is not inverted, to
// the mask. If it is empty, VX_Ok is returned. Pixels outside the rectangle are changed only by the
// two stencil modes, which set their alpha to 0. The noise of dissolve depends on mode->seed, the
// left edge of the clipped rectangle and the row number.
//
// Returns VX_Ok, or
//   VX_ErrBadParameter  null worlds, different depths or an invalid mask
//   VX_ErrOutOfMemory
//   VX_ErrUnsupported   an unknown mode
//   other               the result of the progress function; the rows done so far are drawn
// Except in the last case the destination is unchanged.
// Thread-safe for destinations that do not overlap.
VX_API VX_Err VX_TransferRect(VX_ProgressInfo* progress, int32_t quality, int32_t flags,
                              int32_t field, const M_Rect* rect, const VX_LayerDef* src,
                              const VX_CompositeModePlus* mode,
                              const VX_LinearBlendingTables* tables, const VX_MaskSpec* mask,
                              int32_t x, int32_t y, VX_LayerDef* dst);

// The built-in routine. VX_TransferRect calls it through a slot of the override table.
VX_API VX_Err VX_TransferRect_S(VX_ProgressInfo* progress, int32_t quality, int32_t flags,
                                int32_t field, const M_Rect* rect, const VX_LayerDef* src,
                                const VX_CompositeModePlus* mode,
                                const VX_LinearBlendingTables* tables, const VX_MaskSpec* mask,
                                int32_t x, int32_t y, VX_LayerDef* dst);

// Converts a row of a matte world to mask values in the alpha channel of `out_row`; its other
// channels are unchanged.
//
//   left       column of the output where the matte begins; may be negative
//   available  number of pixels of the matte row
//   what       VX_MaskUse_...; with VX_MaskUse_Alpha (0) and unknown values, columns inside the
//              matte are not written
//   deep       not 0: the rows are VX_Pixel16, else VX_Pixel8
//
// Columns outside the matte are set to full scale if bit 0 of `what` is set, else to 0. Returns
// VX_Ok.
VX_API VX_Err VX_PrepTrackMatteUniv(int32_t count, const void* mask_row, int32_t left,
                                    int32_t available, int32_t what, uint8_t deep, void* out_row);

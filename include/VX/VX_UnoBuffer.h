// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// One-channel images, used for masks and mattes.
//
// Rules common to all calls
//
//   Samples   Full scale (1) is 255 at 8 bits, 32768 at 16 bits and 1.0 in float. Rows are
//             contiguous, without padding.
//   Buffers   A null buffer, missing samples and a wrong magic are reported as "damaged mask
//             buffer". For a null buffer or missing samples, the call then returns
//             VX_ErrBadParameter and changes nothing. After the report of a wrong magic alone, the
//             call continues.
//   Areas     Rectangles are clipped to the buffer; inverted rectangles are empty. Source and
//             destination may be the same buffer if the source and destination areas are equal.
//   Depths    A call for one depth returns VX_ErrBadParameter, after a report, for a buffer of
//             another depth. All calls do so for an unknown depth.
//   Threads   Thread-safe on distinct buffers, except for the Gaussian scans (see below). Rows are
//             processed through VX_IterateGeneric's slot. A replacement that uses several threads
//             gives the same samples.
//   Results   VX_Ok, VX_ErrBadParameter, VX_ErrOutOfMemory, or the code that the progress function
//             returned.

#include "VX/VX_Types.h"

inline constexpr uint32_t VX_UnoBuffer_Magic = 0xFEEDABBA;

// A buffer that VX_NewUnoBuffer created is freed with VX_DisposeUnoBuffer. The destructor frees the
// samples of an object that the constructor created.
struct VX_API VX_UnoBuffer {
  uint32_t magic;    // VX_UnoBuffer_Magic
  int32_t width;     // samples per row
  int32_t height;    // rows
  int32_t reserved;  // 0
  void** data;       // a handle of U_AllocateHandle; *data is the first sample
  int32_t depth;     // bits per sample: 8, 16 or 32. The calls that create a buffer also accept the
                     // older codes 1 (8 bits) and 0 (16 bits).

  // Allocates the samples and does not clear them. Throws VX_ErrBadParameter for a size below 1,
  // for a size whose bytes do not fit 31 bits, and for an unknown depth; or VX_ErrOutOfMemory.
  VX_UnoBuffer(int32_t width, int32_t height, int32_t depth);
  ~VX_UnoBuffer();
  VX_UnoBuffer(const VX_UnoBuffer&) = delete;
  VX_UnoBuffer& operator=(const VX_UnoBuffer&) = delete;
};
static_assert(sizeof(VX_UnoBuffer) == 32);
static_assert(offsetof(VX_UnoBuffer, data) == 16);
static_assert(offsetof(VX_UnoBuffer, depth) == 24);

// --- creation ------------------------------------------------------------------------------------

// Creates a buffer of 8 bits, of 16 bits, or of the given depth. Samples are not cleared. After an
// error `*out` is null. Returns VX_ErrBadParameter, after a report, if `out` is null, and for the
// sizes that the constructor rejects.
VX_API VX_Err VX_NewUnoBuffer(int32_t width, int32_t height, VX_UnoBuffer** out);
VX_API VX_Err VX_NewDeepUnoBuffer(int32_t width, int32_t height, VX_UnoBuffer** out);
VX_API VX_Err VX_NewUnoBufferOfDepth(int32_t width, int32_t height, int32_t depth,
                                     VX_UnoBuffer** out);

// Frees the samples and the struct; null is accepted. If a buffer has no samples, this is reported,
// and the struct is freed.
VX_API VX_Err VX_DisposeUnoBuffer(VX_UnoBuffer* buffer);

// --- all samples ---------------------------------------------------------------------------------

VX_API VX_Err VX_FillUnoBuffer(uint8_t value, const M_Rect& rect, VX_UnoBuffer* buffer);
VX_API VX_Err VX_FillUnoBuffer(uint8_t value, VX_UnoBuffer* buffer);
VX_API VX_Err VX_FillDeepUnoBuffer(uint16_t value, const M_Rect& rect, VX_UnoBuffer* buffer);
VX_API VX_Err VX_FillDeepUnoBuffer(uint16_t value, VX_UnoBuffer* buffer);
VX_API VX_Err VX_FillFloatUnoBuffer(float value, VX_UnoBuffer* buffer);

// Multiplies each sample by `opacity`, 0..1. Smaller values and NaN are treated as 0, larger values
// as 1. The opacity is first rounded to the scale of the depth.
VX_API VX_Err VX_FadeUnoBuffer(double opacity, VX_UnoBuffer* buffer);

// Replaces each sample v by full scale - v; 16-bit samples above full scale become 0.
// VX_InvertAndFadeUnoBuffer then multiplies by an opacity in 16.16. `ref` is ignored.
VX_API VX_Err VX_InvertUnoBuffer(void* ref, VX_UnoBuffer* buffer);
VX_API VX_Err VX_InvertAndFadeUnoBuffer(void* ref, VX_Fixed opacity, VX_UnoBuffer* buffer);

// --- from one buffer to another ------------------------------------------------------------------

// Converts the samples of `rect` (null: all) to the depth of `dst` and stores them at the same
// positions. The conversions are those of pixel channels, see VX.h. If `flag` is not 0, the result
// is inverted. The area is clipped to both buffers. If the depths differ, samples above full scale
// are treated as full scale.
VX_API VX_Err VX_ConvertDeepUnoBuffer(VX_ProgressInfo* progress, const VX_UnoBuffer* src,
                                      const M_Rect* rect, int16_t flag, VX_UnoBuffer* dst);

enum : int32_t {
  VX_UnoTransfer_Blend = 0,        // mix only; also for unknown modes
  VX_UnoTransfer_ClearAround = 3,  // mix, and set samples that the source does not cover to 0
  VX_UnoTransfer_ClearBeyond = 5   // like ClearAround, if the source ends before the row does
};

// Mixes `rect` of the source (null: all of it) into the destination, with its top left corner at
// `point` (null: the corner of `rect`). The result is d + m (s - d), where m is the mask sample at
// the position of the source sample; a null mask is full scale everywhere. All buffers have the
// same depth. The area is clipped to source, mask and destination. Positive and negative
// differences are rounded in the same way.
VX_API VX_Err VX_TransferUnoBuffers(VX_ProgressInfo* progress, const VX_UnoBuffer* src,
                                    const VX_UnoBuffer* mask, int32_t mode, const M_Rect* rect,
                                    const M_Point* point, VX_UnoBuffer* dst);

enum : int32_t {
  VX_UnoAccumulate_Add = 0,  // clamped to the maximum
  VX_UnoAccumulate_Replace = 1,
  VX_UnoAccumulate_Subtract = 2  // clamped to 0
};

// Adds source samples to destination samples, subtracts them from destination samples, or replaces
// destination samples by them. `rect` and `point` are those of VX_TransferUnoBuffers.
//
//   same depth         the maximum of a result is full scale
//   8 bits to 16 bits  samples are used without conversion; the maximum is 65535
//
// Unknown modes return VX_ErrBadParameter. The overload with gains first multiplies source and
// destination by gains of 0..32767, where 1 changes nothing; other gains return VX_ErrBadParameter.
// Gains are rounded to multiples of 1/255 for an 8-bit source, else of 1/32768. Integer products
// are rounded to nearest; for a 16-bit source halves are rounded down. The products are not
// clamped. Small areas are processed by the calling thread only.
VX_API VX_Err VX_AccumulateUnoBuffers(VX_ProgressInfo* progress, const VX_UnoBuffer* src,
                                      int32_t mode, const M_Rect* rect, const M_Point* point,
                                      VX_UnoBuffer* dst);
VX_API VX_Err VX_AccumulateUnoBuffers(VX_ProgressInfo* progress, const VX_UnoBuffer* src,
                                      int32_t mode, float src_gain, float dst_gain,
                                      const M_Rect* rect, const M_Point* point, VX_UnoBuffer* dst);

// --- feathering ----------------------------------------------------------------------------------

// A scan blurs the samples `start` to `end` - 1 of one line in place. Depending on the window, some
// samples on both sides of that part change too. `radius` is in pixels as 16.16; if it is 0 or
// less, the line is not changed. `scratch` must have VX_UnoScanScratch(length, radius) elements.
// Returns VX_Ok; VX_ErrBadParameter, after a report, for null or for a part that is not inside the
// line; VX_ErrOutOfMemory.
enum : int32_t {
  // Kinds of box scans. Three boxes are used for radii above about 2.7 pixels.
  VX_UnoScan_OneBox = 0,    // one wide box whose outermost samples have a fractional weight
  VX_UnoScan_Gaussian = 1,  // three boxes, or a Gaussian for smaller radii
  VX_UnoScan_Soft = 2       // three boxes, or one plain box for smaller radii; also unknown kinds
};
VX_API VX_Err VX_BoxBlurUnoScan(int32_t kind, int32_t length, int32_t start, int32_t end,
                                VX_Fixed radius, uint8_t* scratch, uint8_t* line);
VX_API VX_Err VX_BoxBlurDeepUnoScan(int32_t kind, int32_t length, int32_t start, int32_t end,
                                    VX_Fixed radius, uint16_t* scratch, uint16_t* line);
VX_API VX_Err VX_BoxBlurFloatUnoScan(int32_t kind, int32_t length, int32_t start, int32_t end,
                                     VX_Fixed radius, float* scratch, float* line);

// Gaussian scans. Kind VX_UnoScan_Gaussian uses a Gaussian kernel, any other kind a plain box. The
// kernel of the last radius is cached for the process, without a lock: Gaussian scans of different
// radii must not run at the same time.
VX_API VX_Err VX_GBlurUnoScan(int32_t kind, int32_t length, int32_t start, int32_t end,
                              VX_Fixed radius, uint8_t* scratch, uint8_t* line);
VX_API VX_Err VX_GBlurDeepUnoScan(int32_t kind, int32_t length, int32_t start, int32_t end,
                                  VX_Fixed radius, uint16_t* scratch, uint16_t* line);
VX_API VX_Err VX_GBlurFloatUnoScan(int32_t kind, int32_t length, int32_t start, int32_t end,
                                   VX_Fixed radius, float* scratch, float* line);

// Returns the number of scratch samples for a scan of a line of this length and radius.
VX_API int32_t VX_UnoScanScratch(int32_t length, VX_Fixed radius);

enum : int32_t { VX_Feather_Box = 0, VX_Feather_Soft = 1, VX_Feather_Gaussian = 2 };

// Blurs a whole buffer of any depth along its rows and then down its columns, with one box, three
// boxes or a Gaussian. The windows are those of the scans, but the samples of the border are
// repeated outside of the buffer, so a constant mask does not change. At positions that are further
// from the left and top edges than the blur reaches, the results equal those of scans over whole
// lines. The time of boxes does not depend on the radius.
//
//   feather             VX_Feather_...
//   radius_x, radius_y  in pixels, 0..32767, rounded to 16.16; 0 leaves that axis unchanged
//
// The kernel is local to the call: thread-safe on distinct buffers. At 8 and 16 bits, rows are
// blurred through the slots of the box scans if the window is a plain box; larger boxes and columns
// do not use these slots. Progress counts rows, then columns in tiles. Returns VX_Ok;
// VX_ErrBadParameter after a report; VX_ErrOutOfMemory with the buffer unchanged; or the code of
// the progress function, with the lines processed so far blurred.
VX_API VX_Err VX_FeatherUnoBuffer(VX_ProgressInfo* progress, int32_t feather, double radius_x,
                                  double radius_y, VX_UnoBuffer* buffer);

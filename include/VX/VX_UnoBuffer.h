// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// One-channel images: the working store of masks and mattes.
//
// Rules common to all calls
//
//   Samples   1 is 255 at 8 bits, 32768 at 16 bits and 1.0 in float. Packed rows, no padding.
//   Buffers   A null buffer, a wrong magic or missing samples is reported as "damaged mask buffer".
//             Null and missing samples then give 3 with nothing done; a wrong magic alone is only
//             reported, and the work goes on.
//   Areas     Rectangles are clipped to the buffer; one that is upside down is empty. Source and
//             destination may be one buffer where the places are the same.
//   Depths    A call that is for one depth gives 3 after a report for another. Unknown depths too.
//   Threads   Any number of threads may work on buffers of their own. Only the Gaussian scans share
//             something, see there. Rows go through VX_IterateGeneric's slot: a replacement that
//             runs several threads gives the same samples.
//   Errors    0, 3, 4 (out of memory), or what progress returned.

#include "VX/VX_Types.h"

inline constexpr uint32_t VX_UnoBuffer_Magic = 0xFEEDABBA;

// A record of VX_NewUnoBuffer goes to VX_DisposeUnoBuffer; an object of the constructor dies by its
// destructor, which frees the samples only.
struct VX_API VX_UnoBuffer {
  uint32_t magic;    // VX_UnoBuffer_Magic
  int32_t width;     // samples a row
  int32_t height;    // rows
  int32_t reserved;  // 0
  void** data;       // a handle of U_AllocateHandle; *data is the first sample
  int32_t depth;     // bits a sample: 8, 16 or 32. 1 and 0 are older codes for one byte and two;
                     // nothing but allocation knows them

  // Samples are not cleared. Throws a VX_Err: 3 for a size below 1, or one whose bytes do not fit
  // 31 bits, or an unknown depth; 4.
  VX_UnoBuffer(int32_t width, int32_t height, int32_t depth);
  ~VX_UnoBuffer();
  VX_UnoBuffer(const VX_UnoBuffer&) = delete;
  VX_UnoBuffer& operator=(const VX_UnoBuffer&) = delete;
};
static_assert(sizeof(VX_UnoBuffer) == 32);
static_assert(offsetof(VX_UnoBuffer, data) == 16);
static_assert(offsetof(VX_UnoBuffer, depth) == 24);

// --- life ----------------------------------------------------------------------------------------

// A buffer of 8 bits, of 16 bits, or of a depth told. Samples are not cleared. `*out` is null after
// an error; a null place is reported and gives 3. Sizes as in the constructor.
VX_API VX_Err VX_NewUnoBuffer(int32_t width, int32_t height, VX_UnoBuffer** out);
VX_API VX_Err VX_NewDeepUnoBuffer(int32_t width, int32_t height, VX_UnoBuffer** out);
VX_API VX_Err VX_NewUnoBufferOfDepth(int32_t width, int32_t height, int32_t depth,
                                     VX_UnoBuffer** out);

// Frees samples and record; null is accepted. A record without samples is reported, and freed.
VX_API VX_Err VX_DisposeUnoBuffer(VX_UnoBuffer* buffer);

// --- all samples ---------------------------------------------------------------------------------

VX_API VX_Err VX_FillUnoBuffer(uint8_t value, const M_Rect& rect, VX_UnoBuffer* buffer);
VX_API VX_Err VX_FillUnoBuffer(uint8_t value, VX_UnoBuffer* buffer);
VX_API VX_Err VX_FillDeepUnoBuffer(uint16_t value, const M_Rect& rect, VX_UnoBuffer* buffer);
VX_API VX_Err VX_FillDeepUnoBuffer(uint16_t value, VX_UnoBuffer* buffer);
VX_API VX_Err VX_FillFloatUnoBuffer(float value, VX_UnoBuffer* buffer);

// v becomes v times `opacity` (0..1; beyond it counts as 0 or 1, not a number as 0): the product of
// the depth with the opacity rounded to its scale.
VX_API VX_Err VX_FadeUnoBuffer(double opacity, VX_UnoBuffer* buffer);

// v becomes 1 - v (0 for a 16-bit sample above the scale), then is faded by an opacity of which
// 65536 is 1. `ref` is not read.
VX_API VX_Err VX_InvertUnoBuffer(void* ref, VX_UnoBuffer* buffer);
VX_API VX_Err VX_InvertAndFadeUnoBuffer(void* ref, VX_Fixed opacity, VX_UnoBuffer* buffer);

// --- from one buffer to another ------------------------------------------------------------------

// The samples of `rect` (null: all), the same places in both, brought to the depth of `dst` as
// channels of pixels are, and inverted after that when `flag` is not 0. The area is clipped to both
// buffers.
// Samples above the scale count as full scale where the depth changes.
VX_API VX_Err VX_ConvertDeepUnoBuffer(VX_ProgressInfo* progress, const VX_UnoBuffer* src,
                                      const M_Rect* rect, int16_t flag, VX_UnoBuffer* dst);

enum : int32_t {
  VX_UnoTransfer_Blend = 0,        // any mode that is not named here
  VX_UnoTransfer_ClearAround = 3,  // and clear what the source does not cover
  VX_UnoTransfer_ClearBeyond = 5   // the same but where the source reaches the end of the row
};

// Mixes `rect` of the source (null: all of it) into the destination with its corner at `point`
// (null: the rectangle's own corner): d + m (s - d), m from the mask at the source's place; a null
// mask is 1 everywhere. All three have one depth; the area is clipped to mask and destination. A
// distance is rounded alike in both directions.
VX_API VX_Err VX_TransferUnoBuffers(VX_ProgressInfo* progress, const VX_UnoBuffer* src,
                                    const VX_UnoBuffer* mask, int32_t mode, const M_Rect* rect,
                                    const M_Point* point, VX_UnoBuffer* dst);

enum : int32_t {
  VX_UnoAccumulate_Add = 0,  // stops at the top
  VX_UnoAccumulate_Replace = 1,
  VX_UnoAccumulate_Subtract = 2  // stops at 0
};

// Source samples into destination sums, placed as in VX_TransferUnoBuffers. Both have one depth,
// and the top is full scale; or 8-bit samples go into 16-bit sums as the codes they are, and the
// top is 65535. Nothing comes out above the top. Unknown modes give 3. The second form multiplies
// source and destination by a gain first, 1 for as it is, without a limit on the products; gains
// are 0..32767, else 3, and are rounded to the source depth's scale (255, else 32768). Products of
// integers are divided by that scale and rounded to the nearest, a half of 32768 down. Small areas
// are worked on by the calling thread alone.
VX_API VX_Err VX_AccumulateUnoBuffers(VX_ProgressInfo* progress, const VX_UnoBuffer* src,
                                      int32_t mode, const M_Rect* rect, const M_Point* point,
                                      VX_UnoBuffer* dst);
VX_API VX_Err VX_AccumulateUnoBuffers(VX_ProgressInfo* progress, const VX_UnoBuffer* src,
                                      int32_t mode, float src_gain, float dst_gain,
                                      const M_Rect* rect, const M_Point* point, VX_UnoBuffer* dst);

// --- feathering ----------------------------------------------------------------------------------

// Scans blur one line in place, for the part from `start` up to `end`; a little more on both sides
// changes with it. `radius` is in pixels as 16.16: below 0 and at 0 the line stays. `scratch` takes
// VX_UnoScanScratch samples. 0; 3 after a report for null or a part outside the line; 4.
enum : int32_t {
  VX_UnoScan_OneBox = 0,  // one wide box with soft ends
  VX_UnoScan_Gaussian =
      1,               // box scans: from a radius of about 2.7 three boxes; below, the Gaussian
  VX_UnoScan_Soft = 2  // any other number: three boxes; below that radius one plain box
};
VX_API VX_Err VX_BoxBlurUnoScan(int32_t kind, int32_t length, int32_t start, int32_t end,
                                VX_Fixed radius, uint8_t* scratch, uint8_t* line);
VX_API VX_Err VX_BoxBlurDeepUnoScan(int32_t kind, int32_t length, int32_t start, int32_t end,
                                    VX_Fixed radius, uint16_t* scratch, uint16_t* line);
VX_API VX_Err VX_BoxBlurFloatUnoScan(int32_t kind, int32_t length, int32_t start, int32_t end,
                                     VX_Fixed radius, float* scratch, float* line);

// Kind 1: a Gaussian kernel, any other: a plain box. The kernel of the last radius is kept for the
// process without a lock: Gaussian scans of different radii must not run at once.
VX_API VX_Err VX_GBlurUnoScan(int32_t kind, int32_t length, int32_t start, int32_t end,
                              VX_Fixed radius, uint8_t* scratch, uint8_t* line);
VX_API VX_Err VX_GBlurDeepUnoScan(int32_t kind, int32_t length, int32_t start, int32_t end,
                                  VX_Fixed radius, uint16_t* scratch, uint16_t* line);
VX_API VX_Err VX_GBlurFloatUnoScan(int32_t kind, int32_t length, int32_t start, int32_t end,
                                   VX_Fixed radius, float* scratch, float* line);

// Samples of scratch that a scan of that line and radius needs.
VX_API int32_t VX_UnoScanScratch(int32_t length, VX_Fixed radius);

enum : int32_t { VX_Feather_Box = 0, VX_Feather_Soft = 1, VX_Feather_Gaussian = 2 };

// Softens a whole buffer of any depth along its rows and then down its columns: one box, three
// boxes, or a Gaussian, of radii in pixels 0..32767 (0 leaves that axis), rounded to 16.16. The
// windows are those of the scans, but the level is held at all four edges: beyond them the samples
// of the border are repeated. So a constant mask stays as it is, and away from the left and the top
// samples are those of the scans over whole lines. Box and soft cost the same for any radius.
// Kernels are its own: any number of threads may feather buffers of their own. At 8 and 16 bits the
// rows of boxes too small for soft ends go through the slots of the box scans; a replacement there
// is not asked for larger ones, nor for columns. Progress counts rows, then bundles of columns. 0;
// 3 after a report; 4 with the buffer as it was; or what progress returned, with the lines done so
// far feathered.
VX_API VX_Err VX_FeatherUnoBuffer(VX_ProgressInfo* progress, int32_t feather, double radius_x,
                                  double radius_y, VX_UnoBuffer* buffer);

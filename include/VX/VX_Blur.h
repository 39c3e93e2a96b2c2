// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Blurs: passes over one axis, and a blur of both axes that consists of two passes.
//
// Rules common to both passes
//
//   Lines      A line is a row or a column. A pass reads rows or columns of the source and writes
//              rows or columns of the destination. If it reads rows and writes columns, or the
//              reverse, the pass transposes.
//   Position   Worlds are positioned by their origins. Line i of the destination is computed from
//              line i + (origin of dst) - (origin of src) of the source. Positions along the line
//              have the same kind of offset. Destination pixels without a source line become zero.
//   Alpha      Straight source pixels are multiplied by alpha before the sums and divided by alpha
//              after them. Hidden colours of transparent pixels have no effect, even if they are
//              infinite or NaN.
//   Extremes   NaN, infinities and floats of any size change only the pixels whose windows contain
//              them.
//   Threads    Lines are independent. They are processed through the slot of VX_IterateGeneric; a
//              replacement that uses several threads gives the same bytes.
//   Progress   Called on the calling thread with 1, 2, ..., when as many lines are complete. Box
//              passes, and passes that read or write columns, process neighbouring lines together,
//              as a tile of up to 512 bytes of a row or 16 rows. After a stop, the other lines of
//              that tile may be written too.
//   Memory     Each thread uses at most two buffers. The size of a buffer is one line or 512 KiB,
//              whichever is larger.
//   Errors     Passes throw a VX_Err. Nothing is leaked.
//                VX_ErrBadParameter  reported; different or unknown depths, a null world, a world
//                                    without pixels, a destination with the pixels of the source
//                                    except as described for force_copy, a radius that is
//                                    negative, not finite or above VX_Blur_MaxRadius, iterations
//                                    below 1 or beyond VX_Blur_MaxReach; the destination is
//                                    unchanged
//                VX_ErrOutOfMemory   the host's allocator failed
//                other               the code that the progress function returned
//
// Arguments common to both passes
//
//   progress           called after each line; may be null
//   src                source world, of the same depth as the destination
//   radius             in pixels, 0 to VX_Blur_MaxRadius; fractions are allowed
//   flags              channels to blur and VX_Blur_HoldLevel, see below
//   src_direction      VX_Blur_AlongRows or VX_Blur_DownColumns: the direction of source lines
//   src_premultiplied  not 0: the colours of the source are already multiplied by alpha
//   dst_direction      VX_Blur_AlongRows or VX_Blur_DownColumns: the direction of destination lines
//   dst_premultiplied  not 0: the destination gets colours that are multiplied by alpha
//   force_copy         not 0: each line is copied before it is written. Source and destination may
//                      then be the same pixels, if directions and origins make each line of the
//                      destination its own source.
//   dst                destination world; without force_copy it shares no pixels with the source

#include "VX/VX_World.h"

// Flags: the channels to blur, and the rule for the ends of a line. A channel that is not blurred
// keeps the value of the source.
enum : int32_t {
  VX_Blur_Alpha = 1,
  VX_Blur_Red = 2,
  VX_Blur_Green = 4,
  VX_Blur_Blue = 8,
  VX_Blur_AllChannels = 15,
  VX_Blur_HoldLevel = 16  // near the ends of a line, divide by the sum of the weights inside of it
};

enum : int32_t { VX_Blur_AlongRows = 0, VX_Blur_DownColumns = 1 };

// The largest radius of a pass, in pixels.
inline constexpr float VX_Blur_MaxRadius = 32767;

// The largest reach of a repeated box in pixels: iterations * ceil(radius). Scratch memory grows
// with the reach.
inline constexpr int32_t VX_Blur_MaxReach = 262144;

// Gaussian pass. The window has ceil(radius) pixels on each side of its centre. The weight at
// distance i is trunc(255 * VXp_GaussianValue(i / (radius + 1))), see VX_Convolve.h. The time grows
// with the radius.
VX_API void VX_GaussianBlur1D(VX_ProgressInfo* progress, const VX_World* src, float radius,
                              int32_t flags, int32_t src_direction, int32_t src_premultiplied,
                              int32_t dst_direction, int32_t dst_premultiplied, uint8_t force_copy,
                              VX_World* dst);

// Box pass: the mean over 2 * radius + 1 pixels, repeated. If the radius has a fraction, the two
// outermost pixels of the window are weighted by that fraction. The time does not depend on the
// radius.
//
//   iterations  number of repetitions, 1 or more; iterations * ceil(radius) <= VX_Blur_MaxReach
VX_API void VX_BoxBlur1D(VX_ProgressInfo* progress, const VX_World* src, float radius,
                         int32_t iterations, int32_t flags, int32_t src_direction,
                         int32_t src_premultiplied, int32_t dst_direction,
                         int32_t dst_premultiplied, uint8_t force_copy, VX_World* dst);

// Slots of the override table that an acceleration module may fill. The built-in routines read no
// argument and return VX_ErrUnsupported.
using VX_FastBlurFunc = VX_Err (*)(VX_ProgressInfo* progress, const VX_LayerDef* src, float radius,
                                   int32_t flags, VX_LayerDef* dst);
VX_API VX_Err VX_FastBlur_Straight(VX_ProgressInfo* progress, const VX_LayerDef* src, float radius,
                                   int32_t flags, VX_LayerDef* dst);
VX_API VX_Err VX_FastBlur_Premul(VX_ProgressInfo* progress, const VX_LayerDef* src, float radius,
                                 int32_t flags, VX_LayerDef* dst);

// --- both axes -----------------------------------------------------------------------------------

enum : int32_t { VX_BlurKind_Gaussian = 0, VX_BlurKind_Box = 1 };

struct VX_BlurSpec {
  int32_t kind;        // VX_BlurKind_...
  float radius_x;      // in pixels, 0 to VX_Blur_MaxRadius; 0: this axis is not blurred
  float radius_y;      // likewise
  int32_t iterations;  // of a box: 1 or more, see VX_BoxBlur1D; not read for a Gaussian
  int32_t flags;       // VX_Blur_...: channels and VX_Blur_HoldLevel
};

// Blurs straight pixels over both axes, along the rows and then down the columns. Works in bands of
// rows and allocates a premultiplied intermediate world of up to 16 MiB, or of four times as many
// rows as the vertical reach if that is more. Thread-safe if no other thread writes to the worlds.
//
//   progress  called with increasing steps over both passes; may be null
//   src       source world
//   spec      kind, radii, iterations and flags
//   dst       destination world of the same depth, positioned by the origins of both worlds. It may
//             be larger than the source, see VX_BlurReach, and shares no pixels with it.
//
// Returns VX_Ok, or
//   VX_ErrBadParameter  reported; a null argument, a world without pixels or of negative size,
//                       different or unknown depths, a destination with the pixels of the source,
//                       or a field of `spec` out of range; the destination is unchanged
//   VX_ErrOutOfMemory   a part of the destination may be blurred already
//   other               the code that the progress function returned; a part of the destination is
//                       blurred
VX_API VX_Err VX_BlurWorld(VX_ProgressInfo* progress, const VX_LayerDef* src,
                           const VX_BlurSpec* spec, VX_LayerDef* dst);

// Computes how far a blur spreads beyond the source on each side.
//
//   spec     the blur
//   reach_x  receives the pixels on the left and on the right
//   reach_y  receives the pixels above and below
//
// Returns VX_Ok, or VX_ErrBadParameter, after a report, for a null argument or a field of `spec`
// that is out of range. On error the results are unchanged.
VX_API VX_Err VX_BlurReach(const VX_BlurSpec* spec, int32_t* reach_x, int32_t* reach_y);

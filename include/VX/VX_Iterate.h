// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Calls a function of the caller for every pixel of a rectangle.
//
// Rules of all calls on worlds
//
//   Worlds    Source and destination have the same depth and may be the same world. The source may
//             be null, except in VX_IterateLUT.
//   Area      In the destination; null is all of it. Clipped to the destination, and to the source
//             if there is one. If it is empty, returns VX_Ok without any call.
//   Order     Rows from top to bottom, pixels from left to right, on the calling thread. Only
//             VX_IterateLUT, which calls no function, may use several threads (see VX.h).
//   Progress  If progress_final is not 0, the progress function is called after each row with
//             progress_base + the rows done, and progress_final. VX_ErrStopped ends the iteration
//             and is returned. Other errors do not end it; the last one is returned at the end.
//   Errors    The first result of the pixel function other than VX_Ok ends the iteration and is
//             returned; pixels written before remain. VX_ErrBadParameter with a report for null
//             worlds, pixels or functions, and for different or unknown depths. Exceptions of the
//             progress and pixel functions are converted: a VX_Err is returned, a std::exception is
//             reported and returns VX_ErrOutOfMemory (std::bad_alloc) or VX_ErrReported.
//
// VX_ForEachPixel.h is the C++ form: it takes a lambda and propagates exceptions.

#include <cstdint>

#include "VX/VX_Types.h"

// Called for each pixel.
//   x, y   column and row in the destination
//   in     the source pixel, read-only because it may point into the source world; null if there is
//          no source
//   out    the destination pixel
// Pixels have the type of the worlds' depth. Rows of worlds that the library allocated are aligned.
// Rows in a caller's own memory may start at any byte; the function must then copy pixels with
// std::memcpy.
using VX_PixelFunc = VX_Err (*)(void* refcon, int32_t x, int32_t y, void* in, void* out);

using VX_IterateFunc = VX_Err (*)(VX_ProgressInfo* progress, int32_t progress_base,
                                  int32_t progress_final, const VX_LayerDef* src,
                                  const M_Rect* area, void* refcon, VX_PixelFunc function,
                                  VX_LayerDef* dst);
VX_API VX_Err VX_Iterate(VX_ProgressInfo* progress, int32_t progress_base, int32_t progress_final,
                         const VX_LayerDef* src, const M_Rect* area, void* refcon,
                         VX_PixelFunc function, VX_LayerDef* dst);

// The top left corner of the source is placed at `origin` = (h, v) in the destination (null: (0,
// 0)). Destination pixel (x, y) gets source pixel (x - h, y - v). VX_IterateOrigin skips
// destination pixels without a source pixel; VX_IterateOriginAll passes a zero pixel as their
// input.
using VX_IterateOriginFunc = VX_Err (*)(VX_ProgressInfo* progress, int32_t progress_base,
                                        int32_t progress_final, const VX_LayerDef* src,
                                        const M_Rect* area, const M_Point* origin, void* refcon,
                                        VX_PixelFunc function, VX_LayerDef* dst);
VX_API VX_Err VX_IterateOrigin(VX_ProgressInfo* progress, int32_t progress_base,
                               int32_t progress_final, const VX_LayerDef* src, const M_Rect* area,
                               const M_Point* origin, void* refcon, VX_PixelFunc function,
                               VX_LayerDef* dst);
VX_API VX_Err VX_IterateOriginAll(VX_ProgressInfo* progress, int32_t progress_base,
                                  int32_t progress_final, const VX_LayerDef* src,
                                  const M_Rect* area, const M_Point* origin, void* refcon,
                                  VX_PixelFunc function, VX_LayerDef* dst);

// Maps each channel through a table of 256 bytes; a null table is the identity. Both worlds must be
// 8-bit. Returns VX_ErrBadParameter with a report for a null source, or if bit 0 of world_flags,
// which marks 16-bit worlds, is set. Float worlds are not detected: their bytes are processed as
// 8-bit pixels, with meaningless results. The tables must not be stored in the pixels of the
// destination.
using VX_IterateLUTFunc = VX_Err (*)(VX_ProgressInfo* progress, int32_t progress_base,
                                     int32_t progress_final, const VX_LayerDef* src,
                                     const M_Rect* area, const uint8_t* alpha_table,
                                     const uint8_t* red_table, const uint8_t* green_table,
                                     const uint8_t* blue_table, VX_LayerDef* dst);
VX_API VX_Err VX_IterateLUT(VX_ProgressInfo* progress, int32_t progress_base,
                            int32_t progress_final, const VX_LayerDef* src, const M_Rect* area,
                            const uint8_t* alpha_table, const uint8_t* red_table,
                            const uint8_t* green_table, const uint8_t* blue_table,
                            VX_LayerDef* dst);

// Calls function(refcon, 0, i, iterations) for i = 0, 1, ... The first result other than VX_Ok ends
// the iteration and is returned.
//   iterations   -1 means one; other values below 1 mean none
// Returns VX_ErrBadParameter with a report for a null function. The built-in routine is serial. A
// replacement in the override table may use several threads; `thread` is then
// 0..U_GetNumThreads() - 1 and the order is undefined.
using VX_GenericFunc = VX_Err (*)(void* refcon, int32_t thread, int32_t i, int32_t iterations);
using VX_IterateGenericFunc = VX_Err (*)(int32_t iterations, void* refcon, VX_GenericFunc function);
VX_API VX_Err VX_IterateGeneric(int32_t iterations, void* refcon, VX_GenericFunc function);
VX_API VX_Err VX_IterateGeneric_Static(int32_t iterations, void* refcon, VX_GenericFunc function);

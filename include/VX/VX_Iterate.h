// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// A function of the caller's over every pixel of a rectangle, and its relatives.
//
// Rules common to the walks over worlds
//
//   Worlds    Source and destination have the same depth; a null source is legal except for
//             VX_IterateLUT. They may be the same world.
//   Area      Clipped to the destination, and to the source when there is one; null is the whole
//             destination. Nothing left: 0, with no call of any kind.
//   Order     Rows from top to bottom, pixels from left to right, on the calling thread.
//   Progress  After each row, when progress_final is not 0 and there is a progress function, it
//             gets progress_base + the rows done and progress_final. 517 ends the walk and is
//             returned. Any other result than 0 is kept, and the last one is returned at the end.
//   Errors    The first result of the pixel function that is not 0 ends the walk and is returned;
//             what was written stays. 3 after a report for missing worlds, pixels or function, or
//             unequal or unknown depths. What a progress or pixel function throws is turned into
//             a code: a VX_Err is the code itself, a std::exception is reported and gives 4 or 516.
//
// VX_ForEachPixel.h is the same for C++: it takes a lambda and lets exceptions through.

#include <cstdint>

#include "VX/VX_Types.h"

// Called once a pixel with its column and row in the destination. `in` is null when there is no
// source, and is not to be written through: it may point into the source world. The pixel type is
// that of the depth. Both pointers are handed over raw: in a world of the library's own they are
// aligned, but rows described by a caller may start at any byte, and then the function must copy
// the pixel (std::memcpy) instead of dereferencing.
using VX_PixelFunc = VX_Err (*)(void* refcon, int32_t x, int32_t y, void* in, void* out);

using VX_IterateFunc = VX_Err (*)(VX_ProgressInfo* progress, int32_t progress_base,
                                  int32_t progress_final, const VX_LayerDef* src,
                                  const M_Rect* area, void* refcon, VX_PixelFunc function,
                                  VX_LayerDef* dst);
VX_API VX_Err VX_Iterate(VX_ProgressInfo* progress, int32_t progress_base, int32_t progress_final,
                         const VX_LayerDef* src, const M_Rect* area, void* refcon,
                         VX_PixelFunc function, VX_LayerDef* dst);

// The source lies with its corner at `origin` in the destination: pixel (x, y) gets the source
// pixel (x - h, y - v). A null origin is (0, 0). Destination pixels without a source pixel are not
// visited here; in VX_IterateOriginAll they are visited with the zero pixel as input.
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

// Passes each channel through a table of 256 bytes; a null table is the identity. A source is
// needed, and both worlds must be 8-bit: 3 after a report for a null source or a world with bit 0
// of world_flags set. Nothing else tells the depth here; a float world is not refused but taken
// for 8-bit pixels, which is of no use. The tables must not lie in the destination.
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

// Calls function(refcon, 0, i, iterations) for i from 0; the first result that is not 0 ends it and
// is returned. -1 iterations mean once; 0 and below mean never. 3 after a report for a null
// function. The built-in routine is serial; a replacement of its slot may run several threads, and
// then `thread` is 0..U_GetNumThreads() - 1 and the order is open.
using VX_GenericFunc = VX_Err (*)(void* refcon, int32_t thread, int32_t i, int32_t iterations);
using VX_IterateGenericFunc = VX_Err (*)(int32_t iterations, void* refcon, VX_GenericFunc function);
VX_API VX_Err VX_IterateGeneric(int32_t iterations, void* refcon, VX_GenericFunc function);
VX_API VX_Err VX_IterateGeneric_Static(int32_t iterations, void* refcon, VX_GenericFunc function);

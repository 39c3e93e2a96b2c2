// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once
// VX is a pixel-processing library for compositing and motion graphics. This header includes all
// headers of the C-style interface (VX_...) and describes the rules that apply to all calls.
//
// Worlds. A world is a rectangle of pixels with four channels in the order alpha, red, green, blue.
// Alpha is straight: colour is not multiplied by alpha unless a name says so. Transparent pixels
// keep their colour unless a call writes it.
//   depth    range      white
//   8 bits   0..255     255
//   16 bits  0..32768   32768
//   float    any        1.0
// Rows are stored from top to bottom, `rowbytes` bytes apart, and need not be aligned. A
// VX_LayerDef describes a world in any memory. VX_World is an object that can own its pixels.
//
// Rectangles. M_Rect is {top, left, bottom, right} in 16 bits, M_LRect is {left, top, right,
// bottom} in 32 bits; right and bottom are exclusive. Unless stated otherwise, a null rectangle
// means the whole world, and rectangles are clipped to the world.
//
// Birth and death. Call VX_CheckVersions, then VX_Birth once, then any operation, then VX_Death.
// Operations do not check whether VX_Birth was called. The library uses services of a host (memory,
// bitmaps, reports and others): link VX::Host for the embedded host, or define the functions of
// include/host.
//
// Errors. Calls return a VX_Err: VX_Ok on success, else one of
//   VX_ErrColorEngine    1  the colour engine could not be bound
//   VX_ErrBadParameter   3  bad argument or failed internal check
//   VX_ErrOutOfMemory    4
//   VX_ErrUnsupported    5  unsupported conversion or unknown mode
//   VX_ErrVersion        7  version mismatch
//   VX_ErrNoBMWorld    513  the world has no host bitmap
//   VX_ErrMotionSettings  514  settings of motion estimation out of range
//   VX_ErrObsolete     515  obsolete routine
//   VX_ErrReported     516  an error that was already shown to the user
//   VX_ErrStopped      517  stopped by the user
// Arguments are checked before the destination is written. The description of an error is passed to
// the reports of the host (embedded host: VXHost_TakeReports). Some calls throw an error as a
// VX_Err by value (members of VX_World, row loops, blur passes); their descriptions say so. No
// other call throws.
//
// Progress. Calls that can take long have a VX_ProgressInfo argument, which may be null. Its
// function receives the current step and the number of steps. If it returns VX_Ok, the call
// continues. If it returns VX_ErrStopped, the call stops and returns VX_ErrStopped; pixels that
// were drawn before are kept.
//
// Threads. Calls do not lock. Any number of threads may work on different worlds, or on parts of
// one world that do not overlap, or read a shared world. Worlds and chunks may be created and
// destroyed on any thread. Call VX_Birth, VX_Death and VX_SetOverrideFunc on one thread, while no
// operation runs.
//
// Rows on several threads. Large operations divide their rows into bands, which the routine in the
// slot of VX_IterateGeneric processes. A replacement of this routine may use up to
// U_GetNumThreads() threads; routines in other slots may then be called on several threads at once.
// Pixels, codes and the sequence of progress calls do not depend on the threads. Progress is called
// on the calling thread. With several threads, a stop ends each thread before its next band, so
// that other rows may have been drawn than with one thread. An error of the replacement itself is
// returned. Operations whose source and destination share memory, and functions of the caller
// (VX_Iterate, VX_ForEachPixel), use the calling thread only.
//
// Arithmetic. Results are bit-identical on every machine, processor level and optimisation level.
//   product, 8 bits      (((t + 128) >> 8) + t + 128) >> 8 with t = a b
//   product, 16 bits     (a b + 16383) >> 15
//   8 to 16 bits         (c 32768 + 128) / 255
//   16 to 8 bits         (c 255 + 16384) >> 15
//   float to integer     clamped to 0..1, scaled, 0.5 added, truncated; in double
//   luminance, integer   (9798 r + 19235 g + 3735 b + 16384) >> 15
//   luminance, float     0.299 r + 0.587 g + 0.114 b

#include "VX/VX_Blend.h"
#include "VX/VX_Blur.h"
#include "VX/VX_CallbackBlock.h"
#include "VX/VX_Chunk.h"
#include "VX/VX_ColorSettings.h"
#include "VX/VX_ColorSpaces.h"
#include "VX/VX_CompositeRect.h"
#include "VX/VX_Convolve.h"
#include "VX/VX_Copy.h"
#include "VX/VX_Cursor.h"
#include "VX/VX_DepthConvert.h"
#include "VX/VX_EffectWorld.h"
#include "VX/VX_Fill.h"
#include "VX/VX_ForEachPixel.h"
#include "VX/VX_FrameBlending.h"
#include "VX/VX_GuessAlpha.h"
#include "VX/VX_Interleave.h"
#include "VX/VX_Iterate.h"
#include "VX/VX_LightCurves.h"
#include "VX/VX_LinearBlendingTables.h"
#include "VX/VX_Mask.h"
#include "VX/VX_Numeric.h"
#include "VX/VX_OverrideTable.h"
#include "VX/VX_Package.h"
#include "VX/VX_Premul.h"
#include "VX/VX_Sampling.h"
#include "VX/VX_Transfer.h"
#include "VX/VX_Transform.h"
#include "VX/VX_Types.h"
#include "VX/VX_UnoBuffer.h"
#include "VX/VX_World.h"

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once
// VX, the pixel-processing library of a compositing and motion-graphics host. This header brings in
// all of it and opens with what is common to all calls; each further header says only what differs.
//
// Pictures. A world is a rectangle of pixels of four channels in the order alpha, red, green, blue,
// with straight alpha: colour is not multiplied by alpha unless a name says so, and the colour of a
// transparent pixel is kept by whatever does not touch it. Three depths: 8 bits (0..255), 16 bits
// (0..32768, white is 32768) and 32-bit float (0..1 nominal, values outside are kept). Rows run
// from top to bottom, `rowbytes` apart; nothing is assumed about their alignment. A world is passed
// as a VX_LayerDef, which may describe any memory; VX_World is the object form that can own pixels.
//
// Rectangles. M_Rect is {top, left, bottom, right} in 16 bits, M_LRect is {left, top, right,
// bottom} in 32 bits; right and bottom are exclusive. A null rectangle means the whole world unless
// a call says otherwise, and rectangles that overhang are clipped.
//
// Start and stop. VX_CheckVersions, then VX_Birth once, then any operation, then VX_Death.
// Operations do not check that this was done. The library asks a host for memory, bitmaps, reports
// and the like: link VX::Host for the embedded one, or define the functions of include/host
// yourself.
//
// Errors. Calls return a VX_Err, 0 for success:
//      3  bad argument or failed check          515  obsolete routine
//      4  out of memory                         516  reported and handled
//      5  unsupported conversion, unknown mode  517  stopped by the user
//      7  version mismatch                      513  the world has no host bitmap
//      1  the colour engine could not be bound
// Arguments are checked before a destination is changed. What went wrong is told in words through
// the host's reports (VXHost_TakeReports of the embedded host). The members of VX_World and the row
// loops throw a VX_Err by value where they say so; nothing else lets an exception out.
//
// Progress. Calls that can last take a VX_ProgressInfo, which may be null. Its function gets the
// step and the number of steps, and returns 0 to go on or 517 to stop; the call then returns 517
// and what was drawn stays.
//
// Threads. No call locks. Any number of threads may work on worlds of their own, or on one world in
// parts that do not overlap; worlds that are only read may be shared. Each thread may make and
// destroy worlds and chunks of its own. Start, stop and replacing a slot belong on one thread.
//
// Arithmetic. The same bits on every machine, at every processor level and optimisation. The
// products of two channels: 8 bits, with t = a b, (((t + 128) >> 8) + t + 128) >> 8; 16 bits (a b +
// 16383) >> 15. Between depths: 8 to 16 (c 32768 + 128) / 255; 16 to 8 (c 255 + 16384) >> 15; float
// to integers clamped to 0..1, scaled, 0.5 added and truncated in double; luminance (9798 r + 19235
// g + 3735 b + 16384) >> 15, in float 0.299, 0.587, 0.114.

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
#include "VX/VX_GuessAlpha.h"
#include "VX/VX_Interleave.h"
#include "VX/VX_Iterate.h"
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

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Motion between two pictures, and pictures of the instants between them.
//
// The pictures are reduced to a luminance of a fraction of their size. There a vector is estimated
// for each block, from coarse to fine, then smoothed for each pixel, and zoomed to full size.
//
// Threads: the work runs on all processors that the process may use, see VX_SetMotionThreads. The
// result is the same for any number. Calls on several threads take turns at each step.
// Memory, from the host: for each pixel of a picture about 9 bytes at the default resolution, and
// 40 at resolution 1.

#include <cstddef>

#include "VX/VX_World.h"

// Settings of the estimate. All are fractions, not percentages.
struct VX_Veltor_AlgoParams {
  int16_t Method = 2;              // 0..2; not read by the functions below
  float Resolution = 0.2f;         // size of the luminance as a fraction of the picture, 0.05..1
  float VectorDetail = 500.0f;     // -1000..1000, see below
  float VectorSmoothing = 500.0f;  // -1000..1000, see below
  int16_t SmoothPasses = 5;        // passes of the final smoothing, 1..50
  float ErrorThreshold = 0.01f;    // a block with a smaller mean difference is not changed, 0..0.1
  int16_t HighQuality = 0;         // 1: sample with a windowed sinc; read by Render
  int16_t BlockSize = 6;           // side of a block in pixels of the luminance, 4..40
  double LumaR = 0.2988804;        // weights of the channels, 0..1; their sum is 1 within 0.02
  double LumaG = 0.58676529;
  double LumaB = 0.11435428;
  float ShutterAngle = 180.0f;  // 0..360 degrees of the interval; read by Render
  int16_t ShutterSamples = 1;   // 1..20 pictures that are averaged; read by Render
  int16_t Mode = 0;             // 0..3; only checked
};

// VectorDetail and VectorSmoothing weigh two costs of a vector: the difference of the pictures and
// the distance from the mean of its neighbours. A positive value p multiplies the second by 1 + p,
// a negative one the first by 1 - p. The first setting is for blocks, the second for pixels.

struct VX_Veltor_InterruptFuncs {
  // Polled on one thread; returns 0 to continue, else the code that the call returns. May be null.
  VX_Err (*AbortFunc)(void* refcon) = nullptr;
  // Points to the refcon, which is read when the call starts. May be null.
  void** RefconPtr = nullptr;
};

// Returns VX_Ok if all settings are in range, else VX_ErrMotionSettings.
VX_API VX_Err VX_CheckMotionSettings(const VX_Veltor_AlgoParams* settings);

// The motion from one picture to another: for each pixel of `first`, in row order, two floats u and
// v. Pixel (x, y) of `first` corresponds to the position (x + u, y + v) of `second`, y downwards.
//
//   settings   null: the defaults
//   interrupt  null: cannot be stopped
//   backward   not 0: the motion from `second` to `first`, on the pixels of `second`
//   vectors    width * 2 floats per row; unknown vectors are NaN. Contents are undefined after an
//              error
//   rowbytes   bytes from row to row, at least width * 8 and a multiple of 4
//
// Alpha is not read. Luminances that are NaN or infinite count as 0. Pictures that are too small
// for a block have no motion. Returns VX_ErrBadParameter, reported, for null arguments, worlds
// without pixels, of different sizes or of different depths; VX_ErrMotionSettings;
// VX_ErrOutOfMemory; the code of AbortFunc.
VX_API VX_Err VX_EstimateMotion(const VX_LayerDef* first, const VX_LayerDef* second,
                                const VX_Veltor_AlgoParams* settings,
                                const VX_Veltor_InterruptFuncs* interrupt, int32_t backward,
                                float* vectors, ptrdiff_t rowbytes);

// Predicts a picture from another one: pixel (x, y) of `dst` is `src` at (x + u, y + v), bilinear.
// Positions outside of the source give the nearest pixel, unknown vectors the pixel (x, y). The
// channels are interpolated in float, clamped to 0..full scale at 8 and 16 bits, and rounded to
// nearest. The worlds have the same size and depth, and different pixels. Errors as above.
VX_API VX_Err VX_PredictByMotion(const VX_LayerDef* src, const float* vectors, ptrdiff_t rowbytes,
                                 VX_LayerDef* dst);

// Draws vectors as colours: the hue is the direction (red is right, then yellow-green, cyan, violet
// in clockwise steps of 90 degrees), the value is the length divided by `longest`, at most 1; alpha
// is full. Unknown vectors are transparent black.
//   longest  in pixels; 0: the length of the longest vector
//   arrows   distance between arrows in pixels; 0: none. They begin at their pixel. Their length is
//            in proportion to the vector; a vector of the length `longest` gets 0.95 of the
//            distance, and vectors whose arrows would be shorter than 1.5 pixels get none
VX_API VX_Err VX_DrawMotion(const float* vectors, ptrdiff_t rowbytes, float longest, int32_t arrows,
                            VX_LayerDef* dst);

// Sets the number of threads, at least 1 and at most 256. Ignored while a step of an estimate
// runs.
VX_API void VX_SetMotionThreads(int32_t count);
VX_API int32_t VX_MotionThreads();

// --- in-between pictures -------------------------------------------------------------------------

enum : int16_t {
  VX_FrameBlend_Copy = 0,   // the nearer picture
  VX_FrameBlend_Mix = 1,    // both, weighted by time
  VX_FrameBlend_Motion = 2  // moved along the motion
};

// Writes the picture of a position between two pictures: 0 is `first`, 1 is `second`, and both are
// copied exactly. The position is not rounded. The worlds have the same size and depth; `dst` has
// other pixels than the sources. Straight colours are moved and mixed without regard to alpha.
//
//   settings   null: the defaults
//   interrupt  null: cannot be stopped
//
// Returns the codes of VX_AdvancedFrameBlending::Render, and VX_ErrBadParameter, reported, for a
// position outside of 0..1.
VX_API VX_Err VX_RenderInstant(const VX_LayerDef* first, const VX_LayerDef* second, float position,
                               const VX_Veltor_AlgoParams* settings,
                               const VX_Veltor_InterruptFuncs* interrupt, VX_LayerDef* dst);

// A pair of pictures whose motion is estimated once, for any number of instants between them.
//
// Threads: VX_TweenInstant and VX_TweenUnexplained may be called by several threads; the motion is
// estimated once. No other call may run on the same object meanwhile.
// Memory: about 9 bytes for each pixel of a picture at the default resolution, 40 at resolution 1;
// during a call as much again.
struct VX_Tween;

enum VX_TweenQuality : int32_t {
  VX_TweenQuality_Standard = 0,  // the pictures of VX_AdvancedFrameBlending
  VX_TweenQuality_High = 1       // see below
};

// Makes the object. The pixels of both worlds are used until VX_DisposeTween. Nothing is estimated
// yet.
//
//   settings  null: the defaults
//   quality   High estimates a motion of its own in full size, for each pixel, and draws each pixel
//             from the pictures in which it is visible, or mixed where the motion is not known. Of
//             the settings only the method and the shutter are then used
//   tween     the result; null after an error
//
// Returns VX_ErrMotionSettings; VX_ErrBadParameter, reported, for null worlds, worlds without
// pixels, of different sizes or of different depths; VX_ErrOutOfMemory.
VX_API VX_Err VX_NewTween(const VX_LayerDef* first, const VX_LayerDef* second,
                          const VX_Veltor_AlgoParams* settings, VX_TweenQuality quality,
                          VX_Tween** tween);

// As VX_RenderInstant. The first call that needs the motion estimates it.
VX_API VX_Err VX_TweenInstant(VX_Tween* tween, float position,
                              const VX_Veltor_InterruptFuncs* interrupt, VX_LayerDef* dst);

// The share of the picture, 0..1, that no motion explains: that differs from the other picture at
// the end of its vector. It is computed in both directions, and the smaller one is returned: near 1
// for a cut, small where an object enters or leaves. Estimates the motion if it was not yet.
VX_API VX_Err VX_TweenUnexplained(VX_Tween* tween, const VX_Veltor_InterruptFuncs* interrupt,
                                  float* share);

// Null is ignored.
VX_API void VX_DisposeTween(VX_Tween* tween);

// The mean of pictures, such as shutter samples between several pairs. Each of them is added to
// `sum`, a world of 32 bits, in float and on the scale of its own depth; clear the sum before. The
// mean is the sum times 1 / `count`, on the scale of the depth of `dst`, clamped to 0..full scale
// at 8 and 16 bits and rounded to nearest. The worlds have the same size.
// Returns VX_ErrBadParameter, reported, for null worlds, worlds without pixels, of different sizes,
// a sum of another depth, or a count below 1.
VX_API VX_Err VX_AddToSum(const VX_LayerDef* picture, VX_LayerDef* sum);
VX_API VX_Err VX_MeanOfSum(const VX_LayerDef* sum, int32_t count, VX_LayerDef* dst);

// --- cache of motion -----------------------------------------------------------------------------
//
// The motion of a pair is kept in the cache of the host, under an identity of the pair and the
// settings of the estimate. The host limits its size; see VXHost_SetCacheBudget for the embedded
// one. Without an identity nothing is kept. A result is the same with and without the cache, if
// different pictures have different identities.

// Makes an identity: a digest of the pixels, size and depth of two worlds, never all 0. Returns
// VX_ErrBadParameter, reported, for null arguments or worlds without pixels.
VX_API VX_Err VX_IdentifyPictures(const VX_LayerDef* first, const VX_LayerDef* second,
                                  uint8_t (*identity)[16]);

// Lets a pair use the cache. Call it before the first instant.
//
//   identity  of the pair; null: that of VX_IdentifyPictures
//   folder    an existing folder where the motion is also stored in a file, for other programs and
//             later runs; null or "": none. The name of the file is made from the identity, the
//             settings and the version of the estimate. For pictures of 1920 x 1080 a file has
//             1.3 MB at the default resolution, 33 MB with the quality High. Files are not deleted.
//             A file that is damaged, of another version or foreign is not used, and is replaced
//
// A folder that cannot be read or written is no error, see VX_TweenCacheWarning. Returns
// VX_ErrBadParameter, reported, for a null pair or an identity that is all 0; VX_ErrOutOfMemory.
VX_API VX_Err VX_TweenUseCache(VX_Tween* tween, const uint8_t (*identity)[16], const char* folder);

// Returns why the latest motion file was not used or not written; "" if there was no failure. Valid
// until the next call with this object.
VX_API const char* VX_TweenCacheWarning(const VX_Tween* tween);

struct VX_MotionCacheInfo {
  int64_t entries, memory, disk;  // pairs in the cache of the host; their bytes
  int64_t found;                  // since the start of the process: found in that cache,
  int64_t read;                   // read from motion files,
  int64_t estimated;              // estimated for pairs with an identity
};
VX_API VX_MotionCacheInfo VX_GetMotionCacheInfo();

// Removes all motion from the cache of the host, not from folders. Renders that run keep theirs.
VX_API void VX_ClearMotionCache();

struct VX_Veltor_Time {
  int32_t value = 0;
  uint32_t scale = 1;  // units per second; not 0
};

struct VX_Veltor_OtherParams {
  // Identifies the clip for the cache of motion, which also compares times, settings, size and
  // depth. All 0: the motion is not kept.
  uint8_t CacheIdentity[16] = {};
  VX_Veltor_Time TimeA, TimeB;
  double Instant = 0;  // the fraction is the position between the pictures: 0 is A
  uint8_t Reserved[8] = {};
};

static_assert(sizeof(VX_Veltor_AlgoParams) == 64 && sizeof(VX_Veltor_OtherParams) == 48);

// Makes the picture of an instant between two pictures. The instant is rounded to multiples of
// 0.005.
//
// Threads: as above; an object is used by one thread at a time.
// Memory: about 40 bytes for each pixel of a picture; with shutter samples 16 more.
class VX_API VX_AdvancedFrameBlending {
 public:
  // `settings` has percentages in Resolution, ErrorThreshold, LumaR, LumaG and LumaB: each is
  // multiplied by the 32-bit float 0.01.
  VX_AdvancedFrameBlending(const VX_Veltor_AlgoParams& settings, const VX_Veltor_OtherParams& times,
                           const VX_Veltor_InterruptFuncs& interrupt);
  // The default settings.
  VX_AdvancedFrameBlending(const VX_Veltor_OtherParams& times,
                           const VX_Veltor_InterruptFuncs& interrupt);

  // VX_Ok, or VX_ErrMotionSettings if a setting is out of range.
  VX_Err CheckParamRange() const;

  // Writes the picture to `destination`. The three worlds have the same size and depth. A
  // destination that is also a source is an error. An instant of 0 copies sourceA.
  //   VX_Ok                 done; also for a destination of unknown depth, which is not written
  //   VX_ErrMotionSettings  settings out of range, nothing is written
  //   VX_ErrBadParameter    reported: null worlds or worlds that do not fit, a time scale of 0;
  //                         nothing is written
  //   VX_ErrOutOfMemory     reported; the destination is incomplete
  //   other                 the code of AbortFunc, not reported if it is 10000 or 517
  VX_Err Render(VX_World* sourceA, VX_World* sourceB, VX_World* destination);

  VX_Veltor_AlgoParams algo;
  VX_Veltor_OtherParams other;
  VX_Veltor_InterruptFuncs interrupt;
};

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Video clips from files to worlds, a frame at a time. The rules of VXIO_Picture.h hold (straight
// alpha, size, errors, warnings); besides:
//
//   Frames    As they are stored, in the order in which they are shown, counted from 0. A variable
//             rate shows in their times. Interlaced frames hold both fields. Of several video
//             streams the one marked as the default counts, else the first; sound, subtitles and
//             cover pictures are left out.
//   Colours   By matrix and range of the stream's tags. Untagged: BT.709 above a height of 576,
//             else BT.601; limited range for YUV, full range for grey and RGB. Chroma that is
//             stored for several pixels is interpolated (bicubic) at its tagged position, untagged
//             at the left. Neither transfer curve nor primaries are converted: the colours count as
//             sRGB, with a warning where the tags say otherwise. Numbers that mean nothing count as
//             untagged, with a warning too.
//   Depth     Samples of up to 8 bits make 8-bit worlds, deeper ones 16-bit worlds. YUV makes a
//             world of any depth in one step, rounded to nearest; in a float world its values keep
//             what lies outside 0..1, elsewhere they are clipped. RGB and grey samples v of n bits
//             stand for v / (2^n - 1), and go on to other depths as those of pictures do.
//   Alpha     Where the pixels have it. No format here says whether it is multiplied into the
//             colours, so it counts as straight.
//   Upright   Quarter turns and mirrorings of a display matrix are carried out; another one is
//             left out with a warning. The shape of pixels is told and not applied.
//   Damage    What the decoder would patch over is an error, at the frame where it shows. The
//             frames before it were good. A Matroska, MOV, MP4, AVI or MXF file that ends before
//             the time that its header says is damaged; other containers do not tell whether frames
//             are missing. Where frames are stored out of order, the last two or so of what is left
//             of such a file are not given, because earlier ones may be lost.
//   Whose     Files alone: a clip that names other files or addresses does not reach them.
//   Messages  The first clip sets the log function of libav in this process. What libav says during
//             calls from here goes into errors, all else to libav's default.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "VXIO/VXIO_Picture.h"

struct VXIO_Rational {
  int32_t num = 0;
  int32_t den = 1;
};

struct VXIO_ClipInfo {
  std::string path;
  std::string format;        // of the file: "matroska", "mov", ...
  std::string codec;         // "h264", "ffv1", ...
  std::string pixel_format;  // libav's name: "yuv420p", "gbrap16le", ...
  int32_t width = 0;         // upright; of the first frame, should later ones differ
  int32_t height = 0;
  int32_t bits = 0;   // a sample
  int32_t depth = 0;  // of the worlds, unless another is asked for: 8 or 16
  bool has_alpha = false;
  VXIO_Rational frame_rate;             // frames a second, on average; 0/1 when unknown
  VXIO_Rational pixel_aspect = {1, 1};  // width : height of a pixel as shown
  // How many frames: what the file says, exact after a reader came to the end; none: it says
  // nothing.
  std::optional<int64_t> frames;
  bool counted = false;            // `frames` is exact
  std::optional<double> duration;  // in seconds, as the file says
  std::string matrix;              // "bt709", "bt601", ..., "rgb", "grey"
  bool matrix_tagged = false;      // false: by the rule above
  bool full_range = false;
  int32_t orientation = 1;  // 1..8 as in EXIF; 1 is upright
};

struct VXIO_ClipFrame {
  int64_t number = 0;
  // Seconds since the start of the file, when the frame has a time.
  std::optional<double> time;
  // The metadata hold the time ("vx:Time", which only EXR keeps) and pixels that are not square.
  // A warning comes with the frame that it shows at first.
  VXIO_Picture picture;
};

// A clip from its first frame to its last. Used by one thread at a time; readers of one file do not
// disturb each other. Decoders use as many threads as VXIO_SetThreads says, for the readers opened
// after it. There is no going to a frame other than over all before it: a new reader starts again.
class VXIO_API VXIO_ClipReader {
 public:
  // Opens the file. Throws VXIO_Error (Input) for one that is no clip, holds no video, or none that
  // can be read here.
  explicit VXIO_ClipReader(const std::string& path);
  VXIO_ClipReader(VXIO_ClipReader&& other) noexcept;
  VXIO_ClipReader& operator=(VXIO_ClipReader&& other) noexcept;
  ~VXIO_ClipReader();

  const VXIO_ClipInfo& info() const;

  // The number that the next frame has, if there is one.
  int64_t position() const;

  // The next frame; none after the last. `depth` is 8, 16, 32, or 0 for the depth of the clip.
  // Throws VXIO_Error (Input) that names the frame when it is damaged; so does every call after.
  std::optional<VXIO_ClipFrame> Next(int32_t depth = 0, VXIO_AlphaAs alpha = VXIO_AlphaAs::File);

  // Goes over the next frame without making a picture; false after the last. Throws as Next does.
  bool Skip();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

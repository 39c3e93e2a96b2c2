// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Writes worlds as the frames of a video clip. The extension selects the container, and
// VXIO_ClipOptions::codec one of its codecs:
//
//   extension  codecs, the first is the default
//   .mkv       ffv1, vp9, h264, prores4444
//   .mov       prores4444, png, h264
//   .webm      vp9
//   .mp4       h264
//
//   codec       samples        bits, the first is the default         alpha
//   ffv1        RGB, lossless  8; 16 for deep worlds; 10, 12          yes
//   png         RGB, lossless  8; 16 for deep worlds                  yes
//   prores4444  YUV 4:4:4      10                                     yes
//   vp9         YUV 4:2:0      8; 10 for deep worlds; 12              with 8 bits
//   h264        YUV 4:2:0      8; 10                                  no
//
// Deep worlds are those of 16 and 32 bits. Rules:
//
//   RGB       A channel c of full scale F is stored with n bits as c * (2^n - 1) / F, rounded to
//             nearest. VXIO_ClipReader returns 8-bit worlds from 8 bits and 16-bit worlds from 16
//             bits of ffv1 and png without a change. Float channels are clipped to 0..1.
//   YUV       Computed in double precision from channels R, G, B of 0..1 and the weights r, g, b of
//             the matrix, and rounded once to nearest:
//               Y = r R + g G + b B,  Cb = (B - Y) / (2 - 2 b),  Cr = (R - Y) / (2 - 2 r)
//             With n bits and s = 2^(n - 8), limited range stores s * (16 + 219 Y) and
//             s * (128 + 224 C); full range stores (2^n - 1) Y and 2^(n - 1) + (2^n - 1) C. Float
//             channels outside 0..1 are kept as far as the codes reach.
//   4:2:0     Chroma is sited left. Each sample is the mean of two rows and of three columns with
//             the weights 1, 2, 1. Columns and rows outside of the picture repeat the edge. If
//             alpha is stored, pixels are also weighted by alpha, unless all of them are
//             transparent.
//   Alpha     Straight.
//   Tags      Matrix, range and pixel aspect are written; primaries and transfer curve if given.
//             Colours are not converted.
//   File      Complete or not at all: written to a temporary name in the folder of the clip,
//             flushed to disk and renamed by Finish. Until then an existing file is unchanged. The
//             same arguments and libraries give the same bytes.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "VXIO/VXIO_Clip.h"
#include "VXIO/VXIO_Picture.h"

struct VXIO_ClipOptions {
  std::string codec;  // a name of the table; empty: the default of the container
  int32_t bits = 0;   // per sample; 0: the default for the depth of the first world
  // Constant rate factor of h264 (0 to 51, default 20) and vp9 (0 to 63, default 24): lower values
  // give higher quality and larger files. Other codecs have none.
  std::optional<int32_t> quality;
  // Frames per second. Required unless `time_base` is given; then it is optional.
  VXIO_Rational frame_rate = {0, 1};
  // Unit of the times of frames, in seconds, for a variable frame rate; 0/1: frame k is shown at
  // k / frame_rate. Matroska and WebM round times to milliseconds.
  VXIO_Rational time_base = {0, 1};
  VXIO_Rational pixel_aspect = {1, 1};  // width : height of a displayed pixel
  // Whether alpha is stored. None: if the first frame has a pixel that is not opaque; a later frame
  // with such a pixel is then an error. True with a codec without alpha is a warning.
  std::optional<bool> alpha;
  // For YUV codecs: "bt709", "bt601", "bt2020", "fcc", "smpte240m" or "ycgco". Empty: "bt709" if
  // the height is above 576, else "bt601".
  std::string matrix;
  bool full_range = false;  // for YUV codecs
  // libav's names of the primaries ("bt709", "bt2020", ...) and of the transfer curve; empty: no
  // tag.
  std::string primaries, transfer;
  // Names and values: "title", "comment", ... MOV and MP4 store the usual names only. "timecode" is
  // the time code of the first frame.
  std::vector<std::pair<std::string, std::string>> tags;
  // A clip whose sound streams are copied, without new encoding; empty: none. Copied if the
  // duration of its video is `seconds`, to within a frame; else dropped with a warning. A stream
  // with a codec that the container does not store is dropped with a warning.
  std::string audio_from;
  double seconds = 0;  // duration of the clip that will be written; required with `audio_from`
  VXIO_Clobber clobber = VXIO_Clobber::Overwrite;
  bool strict = false;  // instead of a warning, throw VXIO_Error (Output)
};

// Returns true if the extension is that of a clip that can be written.
VXIO_API bool VXIO_IsClipName(const std::string& path);

// Throws std::invalid_argument, with one line of text, for an extension, codec, bits, quality or
// matrix that is not in the tables above, and for a frame rate, time base or aspect that is not
// positive. Loads no library.
VXIO_API void VXIO_CheckClipOptions(const std::string& path, const VXIO_ClipOptions& options);

// Writes one clip. A writer may be used by one thread at a time. The encoder uses as many threads
// as VXIO_SetThreads specified before the writer was made.
class VXIO_API VXIO_ClipWriter {
 public:
  struct Impl;
  // Checks the options and the output name and creates the temporary file. Throws
  // std::invalid_argument like VXIO_CheckClipOptions. Throws VXIO_Error (Output) if the file cannot
  // be created or the installed libavcodec has no encoder of the codec, and VXIO_Error (Input) if
  // `audio_from` cannot be read.
  VXIO_ClipWriter(const std::string& path, const VXIO_ClipOptions& options);
  VXIO_ClipWriter(VXIO_ClipWriter&& other) noexcept;
  VXIO_ClipWriter& operator=(VXIO_ClipWriter&& other) noexcept;
  // Without Finish, removes the temporary file.
  ~VXIO_ClipWriter();

  // Appends a frame. The first frame determines the size of the clip and, unless given, its bits
  // and alpha; later frames may have another depth.
  // Throws VXIO_Error (Output) if the size differs from that of the first frame, if width or height
  // is odd and the codec needs even ones (h264), and if the file cannot be written. After an
  // exception the clip cannot be completed; later calls throw the same error.
  void Write(const VX_LayerDef& world);
  // Appends a frame of a clip with a variable frame rate.
  //   time      since the start of the clip, in units of `time_base`; at least the time of the
  //             frame before plus 1
  //   duration  in the same unit, 1 or more
  // Throws std::invalid_argument for other values.
  void Write(const VX_LayerDef& world, int64_t time, int64_t duration);

  // Completes the file and gives it its name. Returns the warnings. Throws VXIO_Error (Output) if
  // no frame was written or the file cannot be written.
  std::vector<std::string> Finish();

  // A description of the clip that is written, available after the first frame: "ffv1, gbrap16le".
  std::string description() const;

 private:
  std::unique_ptr<Impl> impl_;
};

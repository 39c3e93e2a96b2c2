// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Reads video clips into worlds, one frame at a time. The rules of VXIO_Picture.h on alpha, size,
// errors and warnings apply. Additional rules:
//
//   Frames    Frames are returned as stored, in display order, numbered from 0. A variable frame
//             rate is visible in the times of the frames. Interlaced frames contain both fields. If
//             there are several video streams, the one marked as default is read, or the first if
//             none is marked. Sound, subtitles and cover pictures are ignored.
//   Colours   Matrix and range are used as tagged in the stream. Without tags: BT.709 if the height
//             is above 576, else BT.601; limited range for YUV, full range for grey and RGB.
//             Subsampled chroma is interpolated (bicubic) from its tagged position, without a tag
//             from the left position. Transfer curve and primaries are not converted: the colours
//             are treated as sRGB, with a warning if the tags differ. Unknown tag values are
//             treated as missing tags, with a warning.
//   Depth     Samples of up to 8 bits become 8-bit worlds, deeper samples 16-bit worlds. YUV is
//             converted to any depth in one step, rounded to nearest; values outside 0..1 are kept
//             in float worlds and clipped otherwise. A sample v of n bits of RGB or grey has the
//             value v / (2^n - 1) and is converted to other depths like samples of pictures.
//   Alpha     Read if the pixel format has it, as straight alpha, because no supported format
//             declares whether colours are multiplied by alpha.
//   Upright   Quarter turns and reflections in the display matrix are applied; other matrices are
//             ignored with a warning. The pixel aspect ratio is reported but not applied.
//   Damage    A damaged frame is an error, even if the decoder could conceal the damage; the frames
//             before it are correct. A Matroska, MOV, MP4, AVI or MXF file that ends before its
//             declared duration is reported as damaged; other containers do not declare how many
//             frames they have. If frames are stored out of display order, about two frames before
//             the end of a truncated file are not returned, because frames before them may be lost.
//   Access    Only the given file is read: references to other files or addresses are not followed.
//   Messages  Opening the first clip sets libav's log callback for this process. Messages from
//             calls made here become part of errors; all others go to libav's default callback.

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
  std::string format;        // of the container: "matroska", "mov", ...
  std::string codec;         // "h264", "ffv1", ...
  std::string pixel_format;  // libav's name: "yuv420p", "gbrap16le", ...
  int32_t width = 0;         // of the upright first frame, in pixels; later frames may differ
  int32_t height = 0;
  int32_t bits = 0;   // per sample
  int32_t depth = 0;  // default depth of the worlds: 8 or 16
  bool has_alpha = false;
  VXIO_Rational frame_rate;             // average, in frames per second; 0/1 if unknown
  VXIO_Rational pixel_aspect = {1, 1};  // width : height of a displayed pixel
  // Number of frames as the file declares it; none if it does not. Exact after a reader has reached
  // the end.
  std::optional<int64_t> frames;
  bool counted = false;            // `frames` is exact
  std::optional<double> duration;  // in seconds, as the file declares
  std::string matrix;              // "bt709", "bt601", ..., "rgb", "grey"
  bool matrix_tagged = false;      // false: chosen by the rules above for missing tags
  bool full_range = false;
  std::string primaries, transfer;   // libav's names of the tags; empty if untagged
  int32_t orientation = 1;           // 1..8 as in EXIF; 1 is upright
  VXIO_Rational time_base = {1, 1};  // unit of the times of frames, in seconds
  int32_t sounds = 0;                // number of sound streams
  // Names and values: "title", "comment", "timecode", ...; without those that describe the file.
  std::vector<std::pair<std::string, std::string>> tags;
};

struct VXIO_ClipFrame {
  int64_t number = 0;
  // Seconds since the start of the file, if the frame has a time stamp.
  std::optional<double> time;
  // The metadata contain the time ("vx:Time", which only EXR stores) and a pixel aspect ratio that
  // is not 1:1. A warning is returned with the first frame that it applies to.
  VXIO_Picture picture;
};

// Reads the frames of a clip, from the first to the last or in any order (Seek).
// A reader may be used by one thread at a time; several readers of one file are independent. The
// decoder uses as many threads as VXIO_SetThreads specified before the reader was opened.
class VXIO_API VXIO_ClipReader {
 public:
  struct Impl;
  // Opens the file. Throws VXIO_Error (Input) if it is not a clip, has no video, or its video
  // cannot be decoded.
  explicit VXIO_ClipReader(const std::string& path);
  VXIO_ClipReader(VXIO_ClipReader&& other) noexcept;
  VXIO_ClipReader& operator=(VXIO_ClipReader&& other) noexcept;
  ~VXIO_ClipReader();

  const VXIO_ClipInfo& info() const;

  // The number of the next frame. It may not exist at the end of the clip.
  int64_t position() const;

  // Decodes the next frame. Returns nothing after the last one.
  //   depth   8, 16 or 32; 0 for the depth of the clip
  //   alpha   how to interpret the colours, see VXIO_AlphaAs
  // Throws VXIO_Error (Input) with the frame number if the frame is damaged; every later call then
  // throws the same error.
  std::optional<VXIO_ClipFrame> Next(int32_t depth = 0, VXIO_AlphaAs alpha = VXIO_AlphaAs::File);

  // Skips the next frame. Returns false after the last one. Throws like Next.
  bool Skip();

  // Moves to a frame, so that Next returns frame `number`, or nothing if the clip has no such
  // frame. The frames and their pixels are those of reading from the start. The first call that
  // moves reads all packets of the file, without decoding, to make an index. If the index shows
  // the frames (see Times), only the frames from the nearest key frame on are decoded, else all
  // frames from the start. Throws like Next; std::invalid_argument for a negative number.
  void Seek(int64_t number);

  // Returns the times of all frames in seconds since the start of the file, from an index of the
  // packets that is made without decoding; null if the packets do not show the frames. They do in
  // complete Matroska, WebM, MOV and MP4 files of codecs with one frame per packet (H.264, HEVC,
  // VP9 and all codecs with key frames only, such as FFV1, ProRes, PNG and MJPEG). Damage inside a
  // frame is not detected here. Throws VXIO_Error (Input) if the file cannot be read.
  const std::vector<double>* Times();

  // The time of the frame that Next or Skip reached last, in seconds since the start of the file,
  // if the frame has a time stamp. Call it only after Next returned a frame or Skip returned true.
  std::optional<double> time() const;

 private:
  std::unique_ptr<Impl> impl_;
};

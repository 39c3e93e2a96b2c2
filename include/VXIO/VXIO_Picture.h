// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Pictures from files to worlds and back.
//
// Rules common to all calls
//
//   Alpha     A world is straight. Files are asked for straight alpha; what a format can only hold
//             multiplied into the colours (EXR, some TIFF and TGA files) is divided out on reading
//             and multiplied in on writing. A picture without alpha is opaque.
//   Channels  R, G, B and A by name, else by position; grey is spread over red, green and blue.
//   Depth     8-bit files make 8-bit worlds, 10 to 16 bits make 16-bit worlds, everything else
//             makes float worlds. 8-bit and float samples are taken as they stand; 16-bit samples v
//             map by (v * 32768 + 32767) / 65535 and back by (v * 65535 + 16384) >> 15. Samples of
//             8, 10, 12 and 14 bits survive that exactly, full 16-bit codes to within 1; a 16-bit
//             file read into or written from a float world does not pass through that scale at all.
//   Size      1..30,000 pixels on each axis, looked at before any pixel is allocated.
//   Upright   A camera's orientation mark is carried out on reading and then dropped.
//   Errors    VXIO_Error, whose text is one line that names the file and what to do; a thrown
//             VX_Err when the library refuses (4: out of memory).
//   Warnings  One line each, naming the file: what was lost or guessed. They never stop the work.
//   Threads   Calls on different files may run at once.

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "VX/VX_World.h"

// Exported from libVXIO; everything else is hidden.
#define VXIO_API __attribute__((visibility("default")))

enum class VXIO_ErrorKind { Input, Output };

class VXIO_API VXIO_Error : public std::runtime_error {
 public:
  VXIO_Error(VXIO_ErrorKind kind, const std::string& text)
      : std::runtime_error(text), kind_(kind) {}
  VXIO_ErrorKind kind() const { return kind_; }

 private:
  VXIO_ErrorKind kind_;
};

using VXIO_WorldPtr = std::unique_ptr<VX_World>;

// The profile and the other attributes of a file, carried from a picture that was read to one that
// is written. Cheap to copy; an empty one carries nothing.
class VXIO_API VXIO_Metadata {
 public:
  struct Impl;
  VXIO_Metadata() = default;
  explicit VXIO_Metadata(std::shared_ptr<const Impl> impl) : impl_(std::move(impl)) {}
  const Impl* Get() const { return impl_.get(); }

 private:
  std::shared_ptr<const Impl> impl_;
};

// --- formats -------------------------------------------------------------------------------------

enum class VXIO_AlphaKind { None, Straight, Premultiplied };

struct VXIO_FormatInfo {
  std::string name;                     // "png"
  std::vector<std::string> extensions;  // without the dot; the first is the usual one
  std::vector<int32_t> depths;          // of worlds that it can be written from without loss
  VXIO_AlphaKind alpha;                 // how it holds alpha
  bool profile;                         // holds an ICC profile
};

VXIO_API std::vector<VXIO_FormatInfo> VXIO_ListFormats();

// Name and version of OpenImageIO, of the libraries that it reads and writes with, and of those
// that read clips.
VXIO_API std::vector<std::pair<std::string, std::string>> VXIO_ListLibraries();

// Whether a file is to be read as a picture rather than as a clip: by its first bytes or, where
// those tell neither, by its name. Throws VXIO_Error (Input) for one that is missing, empty, or no
// file.
VXIO_API bool VXIO_IsPicture(const std::string& path);

// --- reading -------------------------------------------------------------------------------------

// What a file says about itself, without reading its pixels.
struct VXIO_Info {
  std::string path;
  std::string format;
  int32_t width = 0;  // upright
  int32_t height = 0;
  std::vector<std::string> channels;  // names, in the order of the file
  std::string sample_type;            // "uint8", "uint16", "half", "float", ...
  int32_t bits = 0;                   // a sample, as stored
  int32_t depth = 0;                  // of the world that it becomes: 8, 16 or 32
  VXIO_AlphaKind alpha = VXIO_AlphaKind::None;
  int32_t orientation = 1;  // 1..8 as in EXIF; 1 is upright
  int32_t parts = 1;        // 2: more than one picture in the file; only the first is read
  bool has_profile = false;
  std::string profile;  // its description, may be empty
  std::vector<std::pair<std::string, std::string>>
      metadata;  // name and value, profile not included
};

VXIO_API VXIO_Info VXIO_ReadInfo(const std::string& path);

// How the colours of a file with alpha are taken.
enum class VXIO_AlphaAs {
  File,           // as the file says
  Straight,       // as they stand, whatever the file says
  Premultiplied,  // multiplied by alpha, whatever the file says: divided once
  Ignore          // as they stand, and the picture is opaque
};

struct VXIO_Picture {
  VXIO_WorldPtr world;
  VXIO_Metadata metadata;
  bool has_alpha = false;  // the file had an alpha channel, and it was not ignored
  VXIO_AlphaKind alpha = VXIO_AlphaKind::None;  // what the file says
  std::vector<std::string> warnings;
};

// Reads the first picture of a file. `depth` is 8, 16, 32, or 0 for the depth of the file.
VXIO_API VXIO_Picture VXIO_Read(const std::string& path, int32_t depth = 0,
                                VXIO_AlphaAs alpha = VXIO_AlphaAs::File);

// The same from the header alone, without a world: what the picture would say and carry.
VXIO_API VXIO_Picture VXIO_ReadHeader(const std::string& path);

// A copy of the world at another depth, or the world itself when it has that depth already.
VXIO_API VXIO_WorldPtr VXIO_ConvertDepth(VXIO_WorldPtr world, int32_t depth);

// --- text ----------------------------------------------------------------------------------------

// Renders a line of text as an 8-bit world, as wide as the text: colour (grey, grey, grey), alpha
// is the coverage of the letters.
//   size     height of the font in pixels; the baseline is at row `size`, the world is size / 3
//   higher grey     0..255
// Throws VXIO_Error (Output) if the font is not installed.
VXIO_API VXIO_WorldPtr VXIO_RenderText(const std::string& text, int32_t size, uint8_t grey);

// --- writing -------------------------------------------------------------------------------------

enum class VXIO_Clobber { Overwrite, Refuse };

struct VXIO_WriteOptions {
  VXIO_Metadata metadata;
  // Store red alone, as grey, in the formats that have such a form (all but bmp and dpx).
  bool grey = false;
  bool keep_alpha = false;  // store alpha also when every pixel is opaque
  VXIO_Clobber clobber = VXIO_Clobber::Overwrite;
  bool strict = false;  // what would be a warning is an error (Output), and nothing is written
};

// Throws what is wrong with an output name before any work is done: unknown extension, missing or
// read-only folder, a folder or device in its place, a file that may not be overwritten.
VXIO_API void VXIO_CheckOutput(const std::string& path, VXIO_Clobber clobber);

// Writes a whole file or nothing: under a temporary name in the same folder, brought to the disk,
// then renamed. An old file of that name is there unchanged until then, and after any failure. The
// extension decides the format; a format that holds less than the world gets its deepest form and a
// warning. Returns the warnings.
VXIO_API std::vector<std::string> VXIO_Write(const std::string& path, const VX_LayerDef& world,
                                             const VXIO_WriteOptions& options);

// The same for a file that is no picture: a list, a report.
VXIO_API void VXIO_CheckFile(const std::string& path, VXIO_Clobber clobber);
// Puts a text in place of what a file holds, in the way VXIO_Write does.
VXIO_API void VXIO_WriteText(const std::string& path, const std::string& text);

// Threads that the libraries below may use for one picture or clip, the caller's included; without
// a call, all processors. For programs that read several at once. Not while a picture is read or
// written; clips that are open keep theirs.
VXIO_API void VXIO_SetThreads(int32_t count);

// Makes INT, TERM, HUP and PIPE remove the temporary files of this process and end it with
// 128 + signal.
// For programs; a library inside somebody else's program leaves signals alone.
VXIO_API void VXIO_RemoveTemporariesOnSignals();

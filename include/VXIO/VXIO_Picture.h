// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Reads pictures from files into worlds and writes worlds to files.
//
// Rules of all calls
//
//   Alpha     Worlds have straight alpha. If a file stores colours multiplied by alpha (EXR, some
//             TIFF and TGA files), they are divided by alpha on reading and multiplied on writing.
//             A picture without alpha is opaque.
//   Channels  Channels are assigned by their names R, G, B and A; without these names, by position.
//             Grey is copied to red, green and blue.
//   Depth     of the file           world    conversion
//             8 bits                8-bit    none
//             10 to 16 bits         16-bit   to the world  (v * 32768 + 32767) / 65535
//                                            to the file   (v * 65535 + 16384) >> 15
//             half, float, others   float    none
//             Samples of 10, 12 and 14 bits are preserved exactly, 16-bit samples to within 1. A
//             16-bit file is converted to and from float worlds directly, not through 0..32768.
//   Size      1..30,000 pixels on each axis, checked before memory is allocated.
//   Windows   The display window of an EXR is the frame of the picture. Its data window is the area
//             whose pixels are stored. A world contains the data window. See VXIO_Windows.
//   Upright   The orientation tag of a camera is applied on reading and then removed.
//   Errors    Thrown as VXIO_Error with one line of text: the file, and how to correct the problem.
//             If the library fails or memory is exhausted, vx::Error is thrown.
//   Warnings  One line each, with the file name: what was lost or guessed. The operation continues.
//   Threads   Calls on different files may run concurrently.
//   Loading   The first call that reads or writes a picture or clip loads the libraries for it. If
//             one is missing, VXIO_Error is thrown; the next call tries again.

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "VX/VX_World.h"
#include "VX/cpp/Error.hpp"
#include "VX/cpp/View.hpp"

// Marks the classes and functions that libVXIO exports. All other symbols are hidden.
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

// The colour profile and the other attributes of a file. Pass the metadata of the file that was
// read to the file that is written. Copies share the data. A default-constructed object has no
// attributes.
class VXIO_API VXIO_Metadata {
 public:
  struct Impl;
  VXIO_Metadata() = default;
  explicit VXIO_Metadata(std::shared_ptr<const Impl> impl) : impl_(std::move(impl)) {}
  const Impl* Get() const { return impl_.get(); }

 private:
  std::shared_ptr<const Impl> impl_;
};

// --- windows -------------------------------------------------------------------------------------

// The windows of an EXR in the coordinates of the file, turned upright. In a picture of another
// format both windows are 0, 0, width, height.
struct VXIO_Windows {
  vx::Rect data;     // the area of the world
  vx::Rect display;  // the frame of the picture

  bool Differ() const {
    return data.left != display.left || data.top != display.top || data.right != display.right ||
           data.bottom != display.bottom;
  }
  // Returns the position of the upper left corner of the data window in the display window.
  vx::Point Offset() const { return {data.left - display.left, data.top - display.top}; }
  // Returns the smallest area that contains both windows.
  vx::Rect Union() const {
    return {data.left < display.left ? data.left : display.left,
            data.top < display.top ? data.top : display.top,
            data.right > display.right ? data.right : display.right,
            data.bottom > display.bottom ? data.bottom : display.bottom};
  }
};

// Returns the windows of the picture that was read; all 0 for metadata without a picture.
VXIO_API VXIO_Windows VXIO_WindowsOf(const VXIO_Metadata& metadata);

// Returns metadata with other windows. VXIO_Write stores them if the world has the size of the data
// window; a format without windows gets the area of the display window.
VXIO_API VXIO_Metadata VXIO_WithWindows(const VXIO_Metadata& metadata, const VXIO_Windows& windows);

// --- formats -------------------------------------------------------------------------------------

enum class VXIO_AlphaKind { None, Straight, Premultiplied };

struct VXIO_FormatInfo {
  std::string name;                     // "png"
  std::vector<std::string> extensions;  // without the dot; the most common one first
  std::vector<int32_t> depths;          // depths of worlds that the format stores without loss
  VXIO_AlphaKind alpha;                 // how the format stores alpha
  bool profile;                         // the format can store an ICC profile
  std::vector<std::string> bits;        // values of VXIO_Encoding::bits
  // Values of VXIO_Encoding::compression, with the range of levels if there are any: "zip:1-9". The
  // first one is the default.
  std::vector<std::string> compressions;
  bool quality;        // VXIO_Encoding::quality has an effect
  bool writes = true;  // false: pictures of the format can only be read
};

VXIO_API std::vector<VXIO_FormatInfo> VXIO_ListFormats();

// Returns the name of the file in a path with a layer: "file.exr@NAME" without "@NAME". Returns the
// path unchanged if a file with this name exists.
VXIO_API std::string VXIO_FileOf(const std::string& path);

// Returns the names and versions of OpenImageIO, of the picture libraries it uses and of the
// libraries that read clips. Loads these libraries.
VXIO_API std::vector<std::pair<std::string, std::string>> VXIO_ListLibraries();

// Returns true if the file contains a picture, false if it contains a clip. The first bytes of the
// file decide; if they match no known format, the file name does. Throws VXIO_Error (Input) if the
// file is missing, empty or not a regular file.
VXIO_API bool VXIO_IsPicture(const std::string& path);

// --- reading -------------------------------------------------------------------------------------

// The properties of a picture file, read without its pixels.
struct VXIO_Info {
  std::string path;
  std::string format;
  int32_t width = 0;  // of the upright picture, in pixels; in an EXR of the data window
  int32_t height = 0;
  VXIO_Windows windows;
  std::vector<std::string> channels;  // names, in the order of the file
  std::string sample_type;            // "uint8", "uint16", "half", "float", ...
  int32_t bits = 0;                   // per sample in the file
  int32_t depth = 0;                  // of the world that VXIO_Read makes: 8, 16 or 32
  VXIO_AlphaKind alpha = VXIO_AlphaKind::None;
  int32_t orientation = 1;  // 1..8 as in EXIF; 1 is upright
  int32_t parts = 1;        // 2 if the file contains several pictures; only one is read
  // Names of the layers, parts and channels of an EXR. "file.exr@NAME" is the path of one of them.
  std::vector<std::string> layers;
  bool has_profile = false;
  std::string profile;  // description of the profile; may be empty
  // Name and value of each attribute, without the profile.
  std::vector<std::pair<std::string, std::string>> metadata;
};

VXIO_API VXIO_Info VXIO_ReadInfo(const std::string& path);

// How the colours of a file with alpha are interpreted.
enum class VXIO_AlphaAs {
  File,           // as the file declares
  Straight,       // straight, whatever the file declares; colours are not changed
  Premultiplied,  // multiplied by alpha, whatever the file declares; colours are divided by alpha
  Ignore          // colours are not changed, and alpha becomes full scale
};

struct VXIO_Picture {
  VXIO_WorldPtr world;
  VXIO_Metadata metadata;
  bool has_alpha = false;                       // the file has alpha and it was not ignored
  VXIO_AlphaKind alpha = VXIO_AlphaKind::None;  // the kind of alpha that the file declares
  std::vector<std::string> warnings;
};

// Reads the first picture of a file, or a layer of an EXR ("file.exr@NAME").
//   depth   8, 16 or 32; 0 for the depth of the file
//   alpha   how to interpret the colours, see VXIO_AlphaAs
VXIO_API VXIO_Picture VXIO_Read(const std::string& path, int32_t depth = 0,
                                VXIO_AlphaAs alpha = VXIO_AlphaAs::File);

// Changes the data window of a picture and of its metadata: the world becomes as large as `data`.
// Pixels outside of the old data window are transparent black, or opaque black if the picture has
// no alpha. Throws VXIO_Error (Input) for an area larger than a picture may be.
VXIO_API void VXIO_SetDataWindow(VXIO_Picture* picture, const vx::Rect& data);

// Reads the header only. Returns the result of VXIO_Read with a null world.
VXIO_API VXIO_Picture VXIO_ReadHeader(const std::string& path);

// Returns a copy of the world at another depth, or the same world if it already has that depth.
VXIO_API VXIO_WorldPtr VXIO_ConvertDepth(VXIO_WorldPtr world, int32_t depth);

// --- text ----------------------------------------------------------------------------------------

// Renders a line of text as an 8-bit world, as wide as the text. The colour is (grey, grey, grey);
// alpha is the coverage of the letters.
//   text   UTF-8
//   size   font height in pixels. The baseline is at row `size`; the world has size / 3 more rows.
//   grey   0..255
// Throws VXIO_Error (Output) if the font is not installed.
VXIO_API VXIO_WorldPtr VXIO_RenderText(const std::string& text, int32_t size, uint8_t grey);

// --- writing -------------------------------------------------------------------------------------

enum class VXIO_Clobber { Overwrite, Refuse };

// How samples are stored in a file. VXIO_ListFormats returns the values that each format accepts.
struct VXIO_Encoding {
  // "8", "10", "12", "16", "half" or "float". Empty: the depth of the world, or the largest depth
  // of the format if that is less; but half, 10 and 12 bits are kept if the metadata are from such
  // a file of the same format as the output.
  std::string bits;
  // Name, or name and level: "zip", "zip:9", "dwaa:45". A higher level gives smaller files; for
  // dwaa and dwab it also increases the loss. The level of jpeg is the quality. Empty: the
  // compression of the file that the metadata are from if its format is that of the output, else
  // the default.
  std::string compression;
  std::optional<int32_t> quality;  // 1 to 100; 95 by default
  // Choose a fast compression instead of the default of the format. For frames of sequences. Only
  // png differs: level 1 instead of 6.
  bool fast = false;
};

struct VXIO_WriteOptions {
  VXIO_Metadata metadata;
  // Store the red channel only, as grey. Ignored for bmp and dpx, which have no grey pictures.
  bool grey = false;
  bool keep_alpha = false;  // store alpha even if every pixel is opaque
  // How to store the colours of a picture with alpha, in every format:
  //   File            as the format defines (vx list formats)
  //   Straight        not multiplied by alpha; TIFF files declare this
  //   Premultiplied   multiplied by alpha; TIFF files declare this
  //   Ignore          without alpha; colours are unchanged
  VXIO_AlphaAs alpha = VXIO_AlphaAs::File;
  VXIO_Clobber clobber = VXIO_Clobber::Overwrite;
  bool strict = false;  // instead of a warning, throw VXIO_Error (Output) and write nothing
  VXIO_Encoding encoding;
};

// Throws std::invalid_argument, with one line of text, if the format of `path` does not have the
// bits, the compression or a quality. An unknown extension is not an error here.
VXIO_API void VXIO_CheckEncoding(const std::string& path, const VXIO_Encoding& encoding);

// Checks an output name before work begins. Throws VXIO_Error (Output) for an unknown extension, a
// folder that is missing or read-only, a name of a folder or device, and a file that exists
// although `clobber` is Refuse.
VXIO_API void VXIO_CheckOutput(const std::string& path, VXIO_Clobber clobber);

// Writes a complete file or nothing: writes to a temporary name in the same folder, flushes to
// disk, then renames. Until the renaming, and after any failure, an existing file is unchanged. The
// extension selects the format. If the format cannot store everything that the world contains, the
// largest depth of the format is used and a warning is returned. Returns the warnings. Throws
// std::invalid_argument for an encoding that the format does not have.
VXIO_API std::vector<std::string> VXIO_Write(const std::string& path, const VX_LayerDef& world,
                                             const VXIO_WriteOptions& options);

// Like VXIO_CheckOutput, for a file that is not a picture; any extension is valid.
VXIO_API void VXIO_CheckFile(const std::string& path, VXIO_Clobber clobber);
// Replaces the contents of a file by a text, in the same steps as VXIO_Write.
VXIO_API void VXIO_WriteText(const std::string& path, const std::string& text);

// Sets the number of threads, including the caller's, for reading or writing one picture or clip.
// The default is the number of processors. Useful for programs that read several files
// concurrently. Do not call during a read or write. Open readers of clips keep the number with
// which they were opened.
VXIO_API void VXIO_SetThreads(int32_t count);

// Installs handlers for SIGINT, SIGTERM, SIGHUP and SIGPIPE that remove the temporary files of this
// process and end it with exit code 128 + signal. Call it from programs only: libraries must not
// change the signal handlers of the process.
VXIO_API void VXIO_RemoveTemporariesOnSignals();

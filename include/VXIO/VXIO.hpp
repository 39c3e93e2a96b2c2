// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Files for the C++20 interface of VX/VX.hpp: pictures, and the frames of sequences and clips. Link
// the target VX::IO. The rules of VXIO_Picture.h and VXIO_Clip.h apply. Functions throw
// vx::FileError, whose text contains the file and the reason, and vx::Error for errors of the
// library.
//
//   vx::Picture plate = vx::read("plate.png", {.depth = 16});
//   vx::composite(plate.image, vx::read("title.png", {.depth = 16}).image, {.at = {40, 20}});
//   vx::write("out.png", plate.image, {.metadata = plate.metadata});

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "VX/VX.hpp"
#include "VXIO/VXIO_Clip.h"
#include "VXIO/VXIO_Memory.h"
#include "VXIO/VXIO_Motion.h"
#include "VXIO/VXIO_Picture.h"
#include "VXIO/VXIO_Sequence.h"

namespace vx {

// kind() is VXIO_ErrorKind::Input or Output.
using FileError = VXIO_Error;

// The colour profile and the other attributes of a file. Pass the metadata of the file that was
// read to the file that is written.
using Metadata = VXIO_Metadata;

// How the colours of a file with alpha are interpreted.
enum class AlphaAs {
  file = static_cast<int>(VXIO_AlphaAs::File),  // as the file declares
  straight = static_cast<int>(VXIO_AlphaAs::Straight),
  premultiplied = static_cast<int>(VXIO_AlphaAs::Premultiplied),  // colours are divided by alpha
  ignore = static_cast<int>(VXIO_AlphaAs::Ignore)                 // alpha becomes full scale
};

// --- pictures ------------------------------------------------------------------------------------

struct Picture {
  Image image;
  Metadata metadata;
  bool has_alpha = false;  // the file has alpha, and it was not ignored
  std::vector<std::string> warnings;
};

struct ReadOptions {
  int32_t depth = 0;  // of the image: 8, 16, 32; 0: the depth of the file
  AlphaAs alpha = AlphaAs::file;
};

namespace detail {

inline Picture picture_of(VXIO_Picture&& read) {
  return {Image(std::move(read.world)), std::move(read.metadata), read.has_alpha,
          std::move(read.warnings)};
}

}  // namespace detail

// Reads the first picture of a file (VXIO_Read).
inline Picture read(const std::filesystem::path& path, const ReadOptions& options = {}) {
  return detail::picture_of(
      VXIO_Read(path.string(), options.depth, static_cast<VXIO_AlphaAs>(options.alpha)));
}

struct WriteOptions {
  Metadata metadata = {};
  bool grey = false;              // store the red channel only, as grey, if the format can
  bool keep_alpha = false;        // store alpha even if every pixel is opaque
  AlphaAs alpha = AlphaAs::file;  // how to store colours with alpha, see VXIO_WriteOptions
  bool overwrite = true;          // false: throw if the file exists
  bool strict = false;            // instead of returning a warning, throw and write nothing
  VXIO_Encoding encoding = {};    // bits, compression, quality
};

// Writes a complete file or nothing (VXIO_Write). The extension selects the format. Returns the
// warnings.
inline std::vector<std::string> write(const std::filesystem::path& path, AnyConstView picture,
                                      const WriteOptions& options = {}) {
  return VXIO_Write(path.string(), *picture.descriptor(),
                    {.metadata = options.metadata,
                     .grey = options.grey,
                     .keep_alpha = options.keep_alpha,
                     .alpha = static_cast<VXIO_AlphaAs>(options.alpha),
                     .clobber = options.overwrite ? VXIO_Clobber::Overwrite : VXIO_Clobber::Refuse,
                     .strict = options.strict,
                     .encoding = options.encoding});
}

// --- frames --------------------------------------------------------------------------------------

struct Frame {
  int64_t number = 0;          // the number in the file name; in a clip counted from 0
  std::optional<double> time;  // seconds since the start of the clip; none without a time stamp
  Picture picture;
};

// The frames of a sequence, a clip or a single picture, one after another:
//   for (vx::Frame& frame : vx::frames("shot.####.png")) use(frame.picture.image);
// Used by one thread at a time. May be moved, except during an iteration.
class Frames {
 public:
  // See vx::frames.
  Frames(const std::filesystem::path& path, const ReadOptions& options)
      : source_(open(path.string())), options_(options) {}

  // Returns the next frame; none after the last one. Throws FileError for a damaged frame.
  std::optional<Frame> next() {
    if (auto* clip = std::get_if<VXIO_ClipReader>(&source_)) return next_of(*clip);
    return next_of(std::get<Files>(source_));
  }

  class Iterator {
   public:
    using value_type = Frame;
    using difference_type = ptrdiff_t;

    explicit Iterator(Frames* frames) : frames_(frames) { ++*this; }
    Frame& operator*() const { return *frames_->current_; }
    Iterator& operator++() {
      frames_->current_ = frames_->next();
      return *this;
    }
    void operator++(int) { ++*this; }
    bool operator==(std::default_sentinel_t) const { return !frames_->current_; }

   private:
    Frames* frames_;
  };
  // An iteration continues after the frames that were already returned.
  Iterator begin() { return Iterator(this); }
  std::default_sentinel_t end() const { return {}; }

 private:
  struct Files {
    std::vector<std::pair<int64_t, std::string>> list;
    size_t position = 0;
  };
  using Source = std::variant<Files, VXIO_ClipReader>;

  static Source open(const std::string& path) {
    if (VXIO_FramePattern::IsPattern(path)) {
      const VXIO_FramePattern pattern(path);
      Files files;
      for (const int64_t frame : pattern.FramesOnDisk()) {
        files.list.emplace_back(frame, pattern.Name(frame));
      }
      if (files.list.empty()) {
        throw FileError(VXIO_ErrorKind::Input, path + ": there is no frame of that name");
      }
      return files;
    }
    if (VXIO_IsPicture(path)) return Files{{{0, path}}};
    return VXIO_ClipReader(path);
  }

  std::optional<Frame> next_of(VXIO_ClipReader& clip) {
    auto frame = clip.Next(options_.depth, static_cast<VXIO_AlphaAs>(options_.alpha));
    if (!frame) return std::nullopt;
    return Frame{frame->number, frame->time, detail::picture_of(std::move(frame->picture))};
  }

  std::optional<Frame> next_of(Files& files) const {
    if (files.position == files.list.size()) return std::nullopt;
    const auto& [number, path] = files.list[files.position++];
    return Frame{number, std::nullopt, read(path, options_)};
  }

  Source source_;
  ReadOptions options_;
  std::optional<Frame> current_;
};

// Opens the frames of a sequence, a clip, or a single picture, which counts as one frame. A
// sequence is given as "shot.####.png" or "shot.%04d.png" and consists of the files that exist, in
// the order of their numbers. Throws FileError for files that are missing or cannot be read, and
// std::invalid_argument for an invalid pattern.
inline Frames frames(const std::filesystem::path& path, const ReadOptions& options = {}) {
  return Frames(path, options);
}

}  // namespace vx

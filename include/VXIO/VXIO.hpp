// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Files for the C++20 interface of VX/VX.hpp: pictures, and the frames of sequences and clips.
// Target VX::IO. The rules of VXIO_Picture.h and VXIO_Clip.h hold. Functions throw vx::FileError,
// whose text names the file and the reason, and vx::Error if the library refuses.
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
#include "VXIO/VXIO_Picture.h"
#include "VXIO/VXIO_Sequence.h"

namespace vx {

// kind() is VXIO_ErrorKind::Input or Output.
using FileError = VXIO_Error;

// The profile and the other attributes of a file; carried from one that was read to one that is
// written.
using Metadata = VXIO_Metadata;

// How the colours of a file with alpha are interpreted.
enum class AlphaAs {
  file = static_cast<int>(VXIO_AlphaAs::File),  // as the file declares
  straight = static_cast<int>(VXIO_AlphaAs::Straight),
  premultiplied = static_cast<int>(VXIO_AlphaAs::Premultiplied),  // divided by alpha once
  ignore = static_cast<int>(VXIO_AlphaAs::Ignore)                 // the picture is opaque
};

// --- pictures ------------------------------------------------------------------------------------

struct Picture {
  Image image;
  Metadata metadata;
  bool has_alpha = false;  // the file has alpha, and it was not ignored
  std::vector<std::string> warnings;
};

struct ReadOptions {
  int32_t depth = 0;  // 8, 16, 32; 0: that of the file
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
  bool grey = false;        // store red alone, as grey, if the format can
  bool keep_alpha = false;  // store alpha also if every pixel is opaque
  bool overwrite = true;    // false: an existing file is an error
  bool strict = false;      // a warning is an error, and nothing is written
};

// Writes a whole file or nothing (VXIO_Write); the extension decides the format. Returns the
// warnings.
inline std::vector<std::string> write(const std::filesystem::path& path, AnyConstView picture,
                                      const WriteOptions& options = {}) {
  return VXIO_Write(
      path.string(), *picture.descriptor(),
      {options.metadata, options.grey, options.keep_alpha,
       options.overwrite ? VXIO_Clobber::Overwrite : VXIO_Clobber::Refuse, options.strict});
}

// --- frames --------------------------------------------------------------------------------------

struct Frame {
  int64_t number = 0;          // in the file name of a sequence; counted from 0 in a clip
  std::optional<double> time;  // seconds since the start of a clip, if the frame has a time
  Picture picture;
};

// The frames of a sequence, a clip or a single picture, one after another:
//   for (vx::Frame& frame : vx::frames("shot.####.png")) use(frame.picture.image);
// Used by one thread at a time. Movable, except while it is iterated over.
class Frames {
 public:
  // See vx::frames.
  Frames(const std::filesystem::path& path, const ReadOptions& options)
      : source_(open(path.string())), options_(options) {}

  // The next frame; none after the last one. Throws FileError for a frame that is damaged.
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
  // Continues after the frames that were already returned.
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

// Opens a sequence ("shot.####.png", "shot.%04d.png": the frames on disk in the order of their
// numbers), a clip, or a picture, which is one frame. Throws FileError for files that are missing
// or cannot be read, and std::invalid_argument for an impossible pattern.
inline Frames frames(const std::filesystem::path& path, const ReadOptions& options = {}) {
  return Frames(path, options);
}

}  // namespace vx

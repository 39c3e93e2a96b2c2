// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO/VXIO_Sequence.h"

#include <dirent.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <unordered_set>

#include "VXIO_InputFile.h"

namespace {

constexpr size_t kMostDigits = 15;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Position of a frame number in a file name, and its minimum number of digits.
struct Placeholder {
  size_t begin, end, digits;
};

// Parses a placeholder %d, %4d or %04d that begins at a percent sign.
std::optional<Placeholder> ParsePercent(const std::string& name, size_t begin) {
  size_t end = begin + 1;
  while (end < name.size() && IsDigit(name[end])) ++end;
  if (end == name.size() || name[end] != 'd') return std::nullopt;
  std::string width = name.substr(begin + 1, end - begin - 1);
  // `digits` is 0 for a width without leading zero, which pads with blanks.
  size_t digits = width.empty()      ? 1
                  : width[0] != '0'  ? 0
                  : width.size() > 3 ? kMostDigits + 1
                                     : std::max<size_t>(1, std::stoul(width));
  return Placeholder{begin, end + 1, digits};
}

std::vector<Placeholder> PlaceholdersIn(const std::string& name) {
  std::vector<Placeholder> placeholders;
  for (size_t i = 0; i < name.size();) {
    size_t end = i;
    while (end < name.size() && name[end] == '#') ++end;
    if (end > i) {
      placeholders.push_back({i, end, end - i});
      i = end;
      continue;
    }
    std::optional<Placeholder> placeholder;
    if (name[i] == '%') placeholder = ParsePercent(name, i);
    if (placeholder) placeholders.push_back(*placeholder);
    i = placeholder ? placeholder->end : i + 1;
  }
  return placeholders;
}

std::string Padded(int64_t frame, size_t digits) {
  std::string text = std::to_string(frame);
  return text.size() < digits ? std::string(digits - text.size(), '0') + text : text;
}

// Calls `look` with the name of each entry of a folder.
template <class Look>
void ForEachName(const std::string& folder, Look look) {
  std::unique_ptr<DIR, int (*)(DIR*)> open(opendir(folder.empty() ? "." : folder.c_str()),
                                           &closedir);
  if (!open) {
    VXIOp_ThrowInput(folder, std::string("the folder cannot be read: ") + strerror(errno));
  }
  for (;;) {
    errno = 0;
    const dirent* entry = readdir(open.get());
    if (!entry) break;
    look(std::string(entry->d_name));
  }
  if (errno != 0) {
    VXIOp_ThrowInput(folder, std::string("the folder cannot be read: ") + strerror(errno));
  }
}

// Returns the part of a name between `before` and `after` if it consists of digits, otherwise an
// empty string.
std::string Between(const std::string& name, const std::string& before, const std::string& after) {
  if (name.size() <= before.size() + after.size()) return "";
  if (!name.starts_with(before) || !name.ends_with(after)) return "";
  std::string middle = name.substr(before.size(), name.size() - before.size() - after.size());
  return std::all_of(middle.begin(), middle.end(), IsDigit) ? middle : "";
}

}  // namespace

// --- patterns ------------------------------------------------------------------------------------

bool VXIO_FramePattern::IsPattern(const std::string& name) {
  return !PlaceholdersIn(name.substr(name.rfind('/') + 1)).empty();
}

VXIO_FramePattern::VXIO_FramePattern(const std::string& name) {
  const size_t file = name.rfind('/') + 1;
  const std::string own = name.substr(file);
  const std::vector<Placeholder> placeholders = PlaceholdersIn(own);
  auto refuse = [&](const char* why) { throw std::invalid_argument(name + ": " + why); };
  if (placeholders.empty())
    refuse("has no placeholder for the frame number; write #### or %04d for it");
  if (placeholders.size() > 1) refuse("has more than one placeholder for the frame number");
  if (placeholders[0].digits == 0) refuse("pads with blanks; write %04d for four digits");
  if (placeholders[0].digits > kMostDigits) refuse("has more than 15 digits for the frame number");
  folder_ = name.substr(0, file);
  before_ = own.substr(0, placeholders[0].begin);
  after_ = own.substr(placeholders[0].end);
  digits_ = placeholders[0].digits;
}

std::string VXIO_FramePattern::Name(int64_t frame) const {
  return folder_ + before_ + Padded(frame, digits_) + after_;
}

std::string VXIO_FramePattern::Canonical() const {
  return folder_ + before_ + std::string(digits_, '#') + after_;
}

std::optional<int64_t> VXIO_FramePattern::FrameOf(const std::string& path) const {
  std::string digits = Between(path.substr(path.rfind('/') + 1), before_, after_);
  if (digits.empty() || digits.size() > kMostDigits) return std::nullopt;
  int64_t frame = std::stoll(digits);
  if (Padded(frame, digits_) != digits) return std::nullopt;
  return frame;
}

std::vector<int64_t> VXIO_FramePattern::FramesOnDisk() const {
  std::vector<int64_t> frames;
  ForEachName(folder_, [&](const std::string& name) {
    if (std::optional<int64_t> frame = FrameOf(name)) frames.push_back(*frame);
  });
  // "shot.####.exr@LAYER" is a layer of the files "shot.####.exr".
  const size_t layer = frames.empty() ? after_.rfind('@') : std::string::npos;
  if (layer != std::string::npos && layer > 0) {
    VXIO_FramePattern files = *this;
    files.after_ = after_.substr(0, layer);
    return files.FramesOnDisk();
  }
  if (static_cast<int64_t>(frames.size()) > VXIO_MostFrames) {
    VXIOp_ThrowInput(Canonical(), "has more than " + std::to_string(VXIO_MostFrames) + " frames");
  }
  std::sort(frames.begin(), frames.end());
  return frames;
}

std::string VXIO_FramePattern::SimilarPattern() const {
  std::string found;
  ForEachName(folder_, [&](const std::string& name) {
    std::string digits = Between(name, before_, after_);
    if (found.empty() && !digits.empty() && digits.size() <= kMostDigits) {
      found = folder_ + before_ + std::string(digits.size(), '#') + after_;
    }
  });
  return found;
}

// --- sets of frames ------------------------------------------------------------------------------

namespace {

constexpr const char* kForms = "must be a frame 7, a range 1-10 or a range with a step 1-10x2";

[[noreturn]] void RefuseFrames(const std::string& piece, const std::string& why) {
  throw std::invalid_argument("'" + piece + "': " + why);
}

struct Range {
  int64_t first, last, step;
};

// Parses the digits at *at and sets *at to the index after them.
int64_t ParseNumber(const std::string& piece, size_t* at) {
  size_t end = *at;
  while (end < piece.size() && IsDigit(piece[end])) ++end;
  if (end == *at && end < piece.size() && piece[end] == '-') {
    RefuseFrames(piece, "negative frame numbers are not supported");
  }
  if (end == *at) RefuseFrames(piece, kForms);
  std::string digits = piece.substr(*at, end - *at);
  size_t zeros = std::min(digits.find_first_not_of('0'), digits.size() - 1);
  if (digits.size() - zeros > kMostDigits) RefuseFrames(piece, "the number has too many digits");
  *at = end;
  return std::stoll(digits);
}

Range ParsePiece(const std::string& piece) {
  size_t at = 0;
  Range range{ParseNumber(piece, &at), 0, 1};
  range.last = range.first;
  if (at < piece.size() && piece[at] == '-') {
    range.last = ParseNumber(piece, &++at);
    if (at < piece.size() && (piece[at] == 'x' || piece[at] == ':')) {
      range.step = ParseNumber(piece, &++at);
      if (range.step == 0) RefuseFrames(piece, "the step must be 1 or more");
    }
  }
  if (at != piece.size()) {
    RefuseFrames(piece, kForms);
  }
  return range;
}

}  // namespace

std::vector<int64_t> VXIO_ParseFrames(const std::string& text) {
  std::vector<int64_t> frames;
  std::unordered_set<int64_t> seen;
  for (size_t begin = 0; begin <= text.size();) {
    size_t end = std::min(text.find(',', begin), text.size());
    const std::string piece = text.substr(begin, end - begin);
    const Range range = ParsePiece(piece);
    const int64_t count = std::abs(range.last - range.first) / range.step + 1;
    if (count > VXIO_MostFrames) {
      RefuseFrames(piece, "more than " + std::to_string(VXIO_MostFrames) + " frames");
    }
    const int64_t step = range.last < range.first ? -range.step : range.step;
    for (int64_t i = 0; i < count; ++i) {
      int64_t frame = range.first + i * step;
      if (seen.insert(frame).second) frames.push_back(frame);
    }
    if (static_cast<int64_t>(frames.size()) > VXIO_MostFrames) {
      RefuseFrames(piece, "more than " + std::to_string(VXIO_MostFrames) + " frames in all");
    }
    begin = end + 1;
  }
  return frames;
}

std::string VXIO_FormatFrames(const std::vector<int64_t>& frames, size_t most) {
  std::string text;
  size_t pieces = 0;
  for (size_t i = 0; i < frames.size();) {
    if (pieces++ == most) {
      return text + " and " + std::to_string(frames.size() - i) + " more";
    }
    size_t last = i;
    while (last + 1 < frames.size() && frames[last + 1] == frames[last] + 1) ++last;
    if (!text.empty()) text += ",";
    text += std::to_string(frames[i]);
    if (last > i) text += "-" + std::to_string(frames[last]);
    i = last + 1;
  }
  return text;
}

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "MotionPath.h"

#include <algorithm>
#include <sstream>

#include "Errors.h"
#include "VXIO/VXIO_Picture.h"
#include "VXIO/VXIO_Sequence.h"
#include "Values.h"

namespace vxcli {

namespace {

constexpr const char* kBlanks = " \t\v\f\r";

std::string Trimmed(const std::string& line) {
  const size_t first = line.find_first_not_of(kBlanks);
  if (first == std::string::npos) return {};
  return line.substr(first, line.find_last_not_of(kBlanks) + 1 - first);
}

std::vector<std::string> WordsOf(const std::string& line) {
  std::istringstream stream(line);
  std::vector<std::string> words;
  for (std::string word; stream >> word;) words.push_back(word);
  return words;
}

Place PlaceOf(const std::string& line, const Place& base) {
  std::vector<std::string> words = WordsOf(line);
  Place place = base;
  Parts parts{"--to", "place", true, PlaceOptionList(&place), nullptr};
  parts.add = [&] { return PlaceOptionList(&place); };
  TakeParts(&parts, &words);
  if (words.empty()) return place;
  if (words[0] == "--to") throw UsageError("--to: the next line is where the motion goes");
  throw UsageError("'" + words[0] +
                   "': must be --anchor, --scale, --skew, --rotate, --translate or --matrix");
}

}  // namespace

MotionPath::MotionPath(const std::string& file, const Place& base, int64_t first) : file_(file) {
  Read(ReadTextFile(file, "path", "a line of options for each frame"), base, first);
  if (lines_.empty()) {
    throw VXIO_Error(VXIO_ErrorKind::Input, file + ": holds no line; one is needed for each frame");
  }
  for (auto line = lines_.begin(); std::next(line) != lines_.end(); ++line) {
    const auto next = std::next(line);
    if (next->first != line->first + 1) continue;
    try {
      CheckEnds(line->second.place, next->second.place);
    } catch (const UsageError& error) {
      Refuse(next->second.number, error.what());
    }
  }
}

void MotionPath::Read(const std::string& text, const Place& base, int64_t first) {
  std::istringstream stream(text);
  int64_t number = 0, frame = first;
  for (std::string line; std::getline(stream, line);) {
    ++number;
    line = Trimmed(line.substr(0, line.find('#')));
    if (line.empty()) continue;
    try {
      const size_t colon = line.find(':');
      if (colon != std::string::npos) {
        frame = ParseInteger("frame", Trimmed(line.substr(0, colon)), 0, VXIO_LargestFrame);
        line = Trimmed(line.substr(colon + 1));
      }
      const auto [there, is_new] =
          lines_.try_emplace(frame, Line{number, line, PlaceOf(line, base)});
      if (!is_new) {
        throw UsageError("frame " + std::to_string(frame) + " has line " +
                         std::to_string(there->second.number) + " already");
      }
    } catch (const UsageError& error) {
      Refuse(number, error.what());
    }
    ++frame;
  }
}

void MotionPath::Refuse(int64_t line, const std::string& text) const {
  throw VXIO_Error(VXIO_ErrorKind::Input, file_ + ": line " + std::to_string(line) + ": " + text);
}

std::vector<int64_t> MotionPath::Frames() const {
  std::vector<int64_t> frames;
  for (const auto& [frame, line] : lines_) frames.push_back(frame);
  return frames;
}

const MotionPath::Line& MotionPath::Find(int64_t frame) const {
  const auto line = lines_.find(frame);
  if (line == lines_.end()) {
    throw VXIO_Error(VXIO_ErrorKind::Input, file_ + ": has no line for frame " +
                                                std::to_string(frame) + ", only for " +
                                                VXIO_FormatFrames(Frames(), 8));
  }
  return line->second;
}

Motion MotionPath::At(int64_t frame) const {
  Motion motion{Find(frame).place, std::nullopt};
  const auto next = lines_.find(frame + 1);
  if (next != lines_.end()) motion.end = next->second.place;
  return motion;
}

std::string MotionPath::Settings(int64_t frame) const {
  const auto next = lines_.find(frame + 1);
  return Find(frame).words + "\n" + (next == lines_.end() ? "" : next->second.words);
}

}  // namespace vxcli

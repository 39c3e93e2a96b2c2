// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// The options of a placement, and the text file of --path.

#include <algorithm>
#include <cmath>
#include <numbers>
#include <sstream>

#include "Console.h"
#include "Motion.h"
#include "VXIO/VXIO_Picture.h"
#include "VXIO/VXIO_Sequence.h"

namespace vxcli {

namespace {

constexpr int32_t kMatrixNumbers = 9;
constexpr double kMostSkew = 89.999;

bool HasComma(const std::string& text) { return text.find(',') != std::string::npos; }

void ParsePair(const std::string& option, const std::string& text, double* x, double* y) {
  const std::vector<double> numbers = ParseNumbers(option, text, 2);
  *x = numbers[0];
  *y = numbers[1];
}

void ParseMatrix(const std::string& option, const std::string& text, Placement* to) {
  std::vector<double> numbers = ParseNumbers(option, text, kMatrixNumbers);
  // An affine matrix is divided by its last number. The library does this too, but here it must
  // precede the interpolation between two matrices, so that the speed of the motion is constant.
  const double last = numbers[8];
  if (numbers[2] == 0 && numbers[5] == 0 && last != 0) {
    for (double& number : numbers) number /= last;
  }
  std::ranges::copy(numbers, to->matrix.emplace().m);
}

void ParseAnchor(const std::string& option, const std::string& text, Placement* to) {
  to->anchor.reset();
  if (text == "center") return;
  if (!HasComma(text)) {
    throw UsageError(option + " '" + text + "': must be two numbers X,Y or center");
  }
  ParsePair(option, text, &to->anchor.emplace().first, &to->anchor->second);
}

void ParseScale(const std::string& option, const std::string& text, Placement* to) {
  if (std::ranges::count(text, ',') > 1) {
    throw UsageError(option + " '" + text + "': must be one number S or two SX,SY");
  }
  ParsePair(option, HasComma(text) ? text : text + "," + text, &to->parts.scale_x,
            &to->parts.scale_y);
}

void ParseSkew(const std::string& option, const std::string& text, Placement* to) {
  ParsePair(option, text, &to->parts.skew_x, &to->parts.skew_y);
  for (double* skew : {&to->parts.skew_x, &to->parts.skew_y}) {
    if (std::fabs(*skew) > kMostSkew) {
      throw UsageError(option + " '" + text + "': must be degrees from -89.999 to 89.999");
    }
    *skew = std::tan(*skew * (std::numbers::pi / 180));
  }
}

void ParseRotation(const std::string& option, const std::string& text, Placement* to) {
  to->parts.rotation = ParseNumbers(option, text, 1)[0];
}

void ParseTranslation(const std::string& option, const std::string& text, Placement* to) {
  ParsePair(option, text, &to->parts.translate_x, &to->parts.translate_y);
}

Value PlacementValue(Placement* to,
                     void (*parse)(const std::string&, const std::string&, Placement*)) {
  return {Value::Text, [to, parse](const std::string& option, const std::string& text) {
            parse(option, text, to);
            to->has_parts |= parse != ParseMatrix;
            if (to->matrix && to->has_parts) {
              throw UsageError(
                  "--matrix: cannot be combined with --translate, --rotate, --scale, --skew and "
                  "--anchor; a motion needs it for both ends or for neither");
            }
          }};
}

}  // namespace

OptionList PlacementOptionList(Placement* to) {
  Value matrix = PlacementValue(to, ParseMatrix);
  matrix.count = kMatrixNumbers;
  return InGroup(
      "Placement of the layer; again after --to for the end of a motion",
      {
          Option{"--anchor", "X,Y", PlacementValue(to, ParseAnchor),
                 "Fixed point of scale, skew and rotation, in pixels of the layer, or 'center'; "
                 "0,0 is "
                 "the centre of the upper left pixel"}
              .Without("center"),
          Option{"--scale", "S|SX,SY", PlacementValue(to, ParseScale),
                 "Factors; a factor below 0 mirrors the layer"}
              .Without("1"),
          Option{"--skew", "X,Y", PlacementValue(to, ParseSkew),
                 "Angles in degrees, -89.999 to 89.999: tan(X) times y is added to x, tan(Y) times "
                 "x is "
                 "added to y"}
              .Without("0,0"),
          Option{"--rotate", "DEG", PlacementValue(to, ParseRotation),
                 "Degrees, clockwise; in a motion, 360 more is one more full turn"}
              .Without("0"),
          Option{"--translate", "X,Y", PlacementValue(to, ParseTranslation),
                 "Pixels to the right and down, may be fractions; at 0,0 the upper left corners of "
                 "the "
                 "layer and the picture are aligned"}
              .Without("0,0"),
          {"--matrix", "N...", std::move(matrix),
           "Instead of these options: nine numbers, separated by commas or blanks. The row vector "
           "(x "
           "y 1) of the layer times the matrix is the position in the picture; 1,0,0,0,1,0,X,Y,1 "
           "moves the layer by X,Y. A ninth number other than 1 divides all of them, except in a "
           "perspective"},
      });
}

void CheckEnds(const Placement& start, const Placement& end) {
  if ((start.matrix && end.has_parts) || (end.matrix && start.has_parts)) {
    throw UsageError("--matrix: a motion needs it for both ends or for neither");
  }
}

// --- the file of --path --------------------------------------------------------------------------

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

Placement PlacementOf(const std::string& line, const Placement& base) {
  std::vector<std::string> words = WordsOf(line);
  Placement placement = base;
  Parts parts{"--to", "place", true, PlacementOptionList(&placement), nullptr};
  parts.add = [&] { return PlacementOptionList(&placement); };
  ExtractParts(&parts, &words);
  if (words.empty()) return placement;
  if (words[0] == "--to")
    throw UsageError("--to: not in a path file; the next line is the end of the motion");
  throw UsageError("'" + words[0] +
                   "': must be --anchor, --scale, --skew, --rotate, --translate or --matrix");
}

}  // namespace

MotionPath::MotionPath(const std::string& file, const Placement& base, int64_t first)
    : file_(file) {
  Read(ReadTextFile(file, "path", "a line of options for each frame"), base, first);
  if (lines_.empty()) {
    throw VXIO_Error(VXIO_ErrorKind::Input, file + ": contains no line; each frame needs one");
  }
  for (auto line = lines_.begin(); std::next(line) != lines_.end(); ++line) {
    const auto next = std::next(line);
    if (next->first != line->first + 1) continue;
    try {
      CheckEnds(line->second.placement, next->second.placement);
    } catch (const UsageError& error) {
      Refuse(next->second.number, error.what());
    }
  }
}

void MotionPath::Read(const std::string& text, const Placement& base, int64_t first) {
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
      const auto [entry, is_new] =
          lines_.try_emplace(frame, Line{number, line, PlacementOf(line, base)});
      if (!is_new) {
        throw UsageError("frame " + std::to_string(frame) + " has line " +
                         std::to_string(entry->second.number) + " already");
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
  Motion motion{Find(frame).placement, std::nullopt};
  const auto next = lines_.find(frame + 1);
  if (next != lines_.end()) motion.end = next->second.placement;
  return motion;
}

std::string MotionPath::Settings(int64_t frame) const {
  const auto next = lines_.find(frame + 1);
  return Find(frame).words + "\n" + (next == lines_.end() ? "" : next->second.words);
}

}  // namespace vxcli

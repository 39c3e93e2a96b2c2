// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "Places.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "Errors.h"

namespace vxcli {

namespace {

constexpr int32_t kMatrixNumbers = 9;
constexpr double kMostSkew = 89.999;

using Text = const std::string&;

bool HasComma(Text text) { return text.find(',') != std::string::npos; }

void ParsePair(Text option, Text text, double* x, double* y) {
  const std::vector<double> numbers = ParseNumbers(option, text, 2);
  *x = numbers[0];
  *y = numbers[1];
}

void ParseMatrix(Text option, Text text, Place* to) {
  const std::vector<double> numbers = ParseNumbers(option, text, kMatrixNumbers);
  std::ranges::copy(numbers, to->matrix.emplace().m);
}

void ParseAnchor(Text option, Text text, Place* to) {
  to->anchor.reset();
  if (text == "center") return;
  if (!HasComma(text)) {
    throw UsageError(option + " '" + text + "': must be two numbers X,Y or center");
  }
  ParsePair(option, text, &to->anchor.emplace().first, &to->anchor->second);
}

void ParseScale(Text option, Text text, Place* to) {
  if (std::ranges::count(text, ',') > 1) {
    throw UsageError(option + " '" + text + "': must be one number S or two SX,SY");
  }
  ParsePair(option, HasComma(text) ? text : text + "," + text, &to->parts.scale_x,
            &to->parts.scale_y);
}

void ParseSkew(Text option, Text text, Place* to) {
  ParsePair(option, text, &to->parts.skew_x, &to->parts.skew_y);
  for (double* skew : {&to->parts.skew_x, &to->parts.skew_y}) {
    if (std::fabs(*skew) > kMostSkew) {
      throw UsageError(option + " '" + text + "': must be degrees from -89.999 to 89.999");
    }
    *skew = std::tan(*skew * (std::numbers::pi / 180));
  }
}

void ParseRotation(Text option, Text text, Place* to) {
  to->parts.rotation = ParseNumbers(option, text, 1)[0];
}

void ParseTranslation(Text option, Text text, Place* to) {
  ParsePair(option, text, &to->parts.translate_x, &to->parts.translate_y);
}

Value PlaceValue(Place* to, void (*parse)(Text, Text, Place*)) {
  return {Value::Text, [to, parse](Text option, Text text) {
            parse(option, text, to);
            to->has_parts |= parse != ParseMatrix;
            if (to->matrix && to->has_parts) {
              throw UsageError(
                  "--matrix: stands alone, at both ends of a motion, without --translate, --rotate "
                  "and the like");
            }
          }};
}

}  // namespace

OptionList PlaceOptionList(Place* to) {
  Value matrix = PlaceValue(to, ParseMatrix);
  matrix.count = kMatrixNumbers;
  return InGroup(
      "Where the layer lands; again after --to for the end of a motion",
      {
          Option{"--anchor", "X,Y", PlaceValue(to, ParseAnchor),
                 "Point of the layer that scale, skew and rotation leave where it is, or 'center': "
                 "pixels, 0,0 is the middle of the first"}
              .Without("center"),
          Option{"--scale", "S|SX,SY", PlaceValue(to, ParseScale), "Factors; below 0 mirrored"}
              .Without("1"),
          Option{"--skew", "X,Y", PlaceValue(to, ParseSkew),
                 "Degrees that the columns and the rows lean by, -89.999 to 89.999: x grows by "
                 "tan(X) times y, y by tan(Y) times x"}
              .Without("0,0"),
          Option{"--rotate", "DEG", PlaceValue(to, ParseRotation),
                 "Degrees, clockwise; more than 360 are whole turns of a motion"}
              .Without("0"),
          Option{"--translate", "X,Y", PlaceValue(to, ParseTranslation),
                 "Then pixels to the right and down, fractions too; 0,0 leaves the corner of the "
                 "layer on that of the picture"}
              .Without("0,0"),
          {"--matrix", "N...", std::move(matrix),
           "In place of all these: nine numbers, with commas or blanks between them, that take (x "
           "y 1) of the layer as a row to the picture, so that 1,0,0,0,1,0,X,Y,1 moves by X,Y"},
      });
}

void CheckEnds(const Place& start, const Place& end) {
  if ((start.matrix && end.has_parts) || (end.matrix && start.has_parts)) {
    throw UsageError("--matrix: a motion has it at both ends or at neither");
  }
}

}  // namespace vxcli

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "Values.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <numeric>
#include <string_view>
#include <type_traits>

#include "Errors.h"
#include "VX/VX_CallbackBlock.h"
#include "VX/VX_Transfer.h"

namespace vxcli {

namespace {

[[noreturn]] void Refuse(const std::string& option, const std::string& word,
                         const std::string& wanted) {
  throw UsageError(option + " '" + word + "': must be " + wanted);
}

template <class Number>
bool ReadWhole(const std::string& word, Number* value) {
  const char* end = word.data() + word.size();
  auto [stop, error] = std::from_chars(word.data(), end, *value);
  return error == std::errc() && stop == end;
}

std::string Plain(double value) {
  std::string text = std::to_string(value);
  text.erase(text.find_last_not_of('0') + 1);
  if (text.back() == '.') text.pop_back();
  return text;
}

// Changes of one letter that turn one word into the other.
size_t Distance(const std::string& a, const std::string& b) {
  std::vector<size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), size_t{0});
  for (size_t i = 1; i <= a.size(); ++i) {
    size_t diagonal = row[0];
    row[0] = i;
    for (size_t j = 1; j <= b.size(); ++j) {
      size_t above = row[j];
      row[j] = std::min({above + 1, row[j - 1] + 1, diagonal + (a[i - 1] != b[j - 1])});
      diagonal = above;
    }
  }
  return row[b.size()];
}

}  // namespace

int64_t ParseInteger(const std::string& option, const std::string& word, int64_t least,
                     int64_t largest) {
  int64_t value = 0;
  if (!ReadWhole(word, &value) || value < least || value > largest) {
    Refuse(option, word,
           "a whole number from " + std::to_string(least) + " to " + std::to_string(largest));
  }
  return value;
}

double ParseNumber(const std::string& option, const std::string& word, double least,
                   double largest) {
  double value = 0;
  if (!ReadWhole(word, &value) || !(value >= least && value <= largest) || !std::isfinite(value)) {
    Refuse(option, word,
           largest < 1e30 ? "a number from " + Plain(least) + " to " + Plain(largest)
           : least == 0   ? std::string("a finite number, 0 or more")
                          : std::string("a finite number"));
  }
  return value;
}

std::vector<std::string> SplitAtCommas(const std::string& word) {
  std::vector<std::string> parts(1);
  for (char c : word) {
    if (c == ',') {
      parts.emplace_back();
    } else {
      parts.back() += c;
    }
  }
  return parts;
}

std::vector<double> ParseNumbers(const std::string& option, const std::string& word, size_t count) {
  const std::vector<std::string> parts = SplitAtCommas(word);
  if (parts.size() != count) {
    Refuse(option, word, count == 2 ? "two numbers X,Y" : std::to_string(count) + " numbers");
  }
  std::vector<double> numbers;
  constexpr double kMost = std::numeric_limits<double>::max();
  for (const std::string& part : parts) numbers.push_back(ParseNumber(option, part, -kMost, kMost));
  return numbers;
}

Point ParsePoint(const std::string& option, const std::string& word, int64_t least,
                 int64_t largest) {
  std::vector<std::string> parts = SplitAtCommas(word);
  if (parts.size() != 2) Refuse(option, word, "two whole numbers X,Y");
  return {static_cast<int32_t>(ParseInteger(option, parts[0], least, largest)),
          static_cast<int32_t>(ParseInteger(option, parts[1], least, largest))};
}

M_Rect ParseRect(const std::string& option, const std::string& word) {
  std::vector<std::string> parts = SplitAtCommas(word);
  if (parts.size() != 4) Refuse(option, word, "four whole numbers L,T,R,B");
  std::array<int16_t, 4> edges{};
  for (size_t i = 0; i < 4; ++i) {
    edges[i] = static_cast<int16_t>(ParseInteger(option, parts[i], -30000, 30000));
  }
  if (edges[2] <= edges[0] || edges[3] <= edges[1]) {
    Refuse(option, word, "L,T,R,B with R greater than L and B greater than T");
  }
  M_Rect rect{};
  rect.left = edges[0];
  rect.top = edges[1];
  rect.right = edges[2];
  rect.bottom = edges[3];
  return rect;
}

bool IsSize(const std::string& word) {
  size_t cross = word.find('x');
  return cross != std::string::npos && cross > 0 && cross + 1 < word.size() &&
         word.find_first_not_of("0123456789") == cross &&
         word.find_first_not_of("0123456789", cross + 1) == std::string::npos;
}

Size ParseSize(const std::string& option, const std::string& word, int64_t least) {
  if (!IsSize(word)) Refuse(option, word, "WIDTHxHEIGHT, such as 640x480");
  size_t cross = word.find('x');
  return {
      static_cast<int32_t>(ParseInteger(option + " width", word.substr(0, cross), least, 30000)),
      static_cast<int32_t>(ParseInteger(option + " height", word.substr(cross + 1), least, 30000))};
}

template <class Pixel>
Pixel ParseColor(const std::string& option, const std::string& word) {
  using Channel = VX_ChannelOf<Pixel>;
  std::vector<std::string> parts = SplitAtCommas(word);
  if (parts.size() != 4) Refuse(option, word, "four numbers A,R,G,B");
  std::array<Channel, 4> values{};
  for (size_t i = 0; i < 4; ++i) {
    if constexpr (std::is_floating_point_v<Channel>) {
      constexpr double limit = std::numeric_limits<Channel>::max();
      values[i] = static_cast<Channel>(ParseNumber(option, parts[i], -limit, limit));
    } else {
      constexpr int64_t full = sizeof(Channel) == 1 ? 255 : 32768;
      values[i] = static_cast<Channel>(ParseInteger(option, parts[i], 0, full));
    }
  }
  return {values[0], values[1], values[2], values[3]};
}
template VX_Pixel8 ParseColor(const std::string&, const std::string&);
template VX_Pixel16 ParseColor(const std::string&, const std::string&);
template VX_PixelFloat ParseColor(const std::string&, const std::string&);

int32_t ParseChannels(const std::string& option, const std::string& word) {
  static constexpr std::string_view kLetters = "argb";
  int32_t channels = 0;
  for (char letter : word) {
    const size_t place = kLetters.find(letter);
    const int32_t channel = place == std::string_view::npos ? 0 : 1 << place;
    if (channel == 0 || (channels & channel) != 0) {
      channels = 0;
      break;
    }
    channels |= channel;
  }
  if (channels == 0) Refuse(option, word, "one or more of the letters argb, each once");
  return channels;
}

int32_t ParseDepth(const std::string& word, Keep keep) {
  if (word == "keep" && keep == Keep::Allowed) return 0;
  if (word == "8") return 8;
  if (word == "16") return 16;
  if (word == "32") return 32;
  Refuse("--depth", word, keep == Keep::Allowed ? "8, 16, 32 or keep" : "8, 16 or 32");
}

int32_t ParseQuality(const std::string& word) {
  return ParseChoice("--quality", word, {"draft", "high"}) == 0 ? VX_Quality_Draft
                                                                : VX_Quality_High;
}

int32_t ParseChoice(const std::string& option, const std::string& word,
                    const std::vector<std::string>& choices) {
  auto found = std::find(choices.begin(), choices.end(), word);
  if (found != choices.end()) return static_cast<int32_t>(found - choices.begin());
  std::string wanted = "one of";
  for (const std::string& choice : choices) wanted += " " + choice;
  Refuse(option, word, wanted);
}

const std::vector<Mode>& Modes() {
  static const std::vector<Mode> modes = {
#define VX_MODE(number, constant, name, piece, ...) {number, name},
#include "VX/VX_TransferModes.def"
#undef VX_MODE
  };
  return modes;
}

Mode ParseMode(const std::string& word) {
  int32_t number = 0;
  bool numeric = ReadWhole(word, &number);
  const Mode* nearest = nullptr;
  size_t best = 0;
  std::string names;
  for (const Mode& mode : Modes()) {
    if (word == mode.name || (numeric && number == mode.number)) return mode;
    size_t distance = Distance(word, mode.name);
    if (!nearest || distance < best) {
      nearest = &mode;
      best = distance;
    }
    names += std::string(names.empty() ? "" : " ") + mode.name;
  }
  throw UsageError("--mode '" + word + "': no such mode; " +
                   (numeric ? std::string("numbers are -3, -2 and 0 to 36.")
                            : std::string("did you mean ") + nearest->name + "?") +
                   " Modes: " + names);
}

}  // namespace vxcli

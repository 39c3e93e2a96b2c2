// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "Values.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <numeric>
#include <string_view>
#include <type_traits>

#include "Console.h"

namespace vxcli {

namespace {

[[noreturn]] void Refuse(const std::string& option, const std::string& text,
                         const std::string& wanted) {
  throw UsageError(option + " '" + text + "': must be " + wanted);
}

template <class Number>
bool ReadWhole(const std::string& text, Number* value) {
  const char* end = text.data() + text.size();
  auto [stop, error] = std::from_chars(text.data(), end, *value);
  return error == std::errc() && stop == end;
}

// Returns the edit distance (Levenshtein): the number of insertions, deletions and replacements of
// one character that change `a` to `b`.
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

// Large enough for four kernels of 1023 x 1023 weights with 13 characters each, and for comments.
constexpr size_t kMostBytes = 64 << 20;

bool IsControl(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte == 127 || (byte < 32 && !std::strchr("\t\n\v\f\r", byte)) || byte == 0;
}

}  // namespace

int64_t ParseInteger(const std::string& option, const std::string& text, int64_t least,
                     int64_t largest) {
  int64_t value = 0;
  if (!ReadWhole(text, &value) || value < least || value > largest) {
    Refuse(option, text,
           "a whole number from " + std::to_string(least) + " to " + std::to_string(largest));
  }
  return value;
}

double ParseNumber(const std::string& option, const std::string& text, double least,
                   double largest) {
  double value = 0;
  if (!ReadWhole(text, &value) || !(value >= least && value <= largest) || !std::isfinite(value)) {
    Refuse(option, text,
           largest < 1e30 ? "a number from " + Plain(least) + " to " + Plain(largest)
           : least == 0   ? std::string("a finite number, 0 or more")
                          : std::string("a finite number"));
  }
  return value;
}

double ParseShare(const std::string& option, const std::string& text) {
  const bool percent = text.ends_with('%');
  const std::string number = text.substr(0, text.size() - (percent ? 1 : 0));
  double value = 0;
  const bool reads = ReadWhole(number, &value);
  if (percent) value /= 100;
  if (!reads || !(value >= 0 && value <= 1)) {
    Refuse(option, text, "a number from 0 to 1 or a percentage from 0% to 100%");
  }
  return value;
}

std::vector<std::string> SplitAtCommas(const std::string& text) {
  std::vector<std::string> parts(1);
  for (char c : text) {
    if (c == ',') {
      parts.emplace_back();
    } else {
      parts.back() += c;
    }
  }
  return parts;
}

std::vector<double> ParseNumbers(const std::string& option, const std::string& text, size_t count) {
  const std::vector<std::string> parts = SplitAtCommas(text);
  if (parts.size() != count) {
    Refuse(option, text, count == 2 ? "two numbers X,Y" : std::to_string(count) + " numbers");
  }
  std::vector<double> numbers;
  constexpr double kMost = std::numeric_limits<double>::max();
  for (const std::string& part : parts) numbers.push_back(ParseNumber(option, part, -kMost, kMost));
  return numbers;
}

vx::Point ParsePoint(const std::string& option, const std::string& text, int64_t least,
                     int64_t largest) {
  std::vector<std::string> parts = SplitAtCommas(text);
  if (parts.size() != 2) Refuse(option, text, "two whole numbers X,Y");
  return {static_cast<int32_t>(ParseInteger(option, parts[0], least, largest)),
          static_cast<int32_t>(ParseInteger(option, parts[1], least, largest))};
}

vx::Rect ParseRect(const std::string& option, const std::string& text) {
  std::vector<std::string> parts = SplitAtCommas(text);
  if (parts.size() != 4) Refuse(option, text, "four whole numbers L,T,R,B");
  std::array<int32_t, 4> edges{};
  for (size_t i = 0; i < 4; ++i) {
    edges[i] = static_cast<int32_t>(ParseInteger(option, parts[i], -30000, 30000));
  }
  if (edges[2] <= edges[0] || edges[3] <= edges[1]) {
    Refuse(option, text, "L,T,R,B with R greater than L and B greater than T");
  }
  return {edges[0], edges[1], edges[2], edges[3]};
}

bool IsSize(const std::string& text) {
  size_t cross = text.find('x');
  return cross != std::string::npos && cross > 0 && cross + 1 < text.size() &&
         text.find_first_not_of("0123456789") == cross &&
         text.find_first_not_of("0123456789", cross + 1) == std::string::npos;
}

Size ParseSize(const std::string& option, const std::string& text, int64_t least) {
  if (!IsSize(text)) Refuse(option, text, "WIDTHxHEIGHT, such as 640x480");
  size_t cross = text.find('x');
  return {
      static_cast<int32_t>(ParseInteger(option + " width", text.substr(0, cross), least, 30000)),
      static_cast<int32_t>(ParseInteger(option + " height", text.substr(cross + 1), least, 30000))};
}

namespace {

// Returns alpha, red, green and blue, 0..255, of a colour in hexadecimal digits.
std::optional<std::array<int32_t, 4>> ReadHexColor(std::string digits) {
  if (digits.starts_with('#')) digits.erase(0, 1);
  if (digits.size() == 3)
    digits = {digits[0], digits[0], digits[1], digits[1], digits[2], digits[2]};
  if (digits.size() == 6) digits += "ff";
  uint32_t value = 0;
  const char* end = digits.data() + digits.size();
  if (digits.size() != 8 || std::from_chars(digits.data(), end, value, 16).ptr != end) return {};
  const auto byte = [&](int shift) { return static_cast<int32_t>(value >> shift & 255); };
  return std::array{byte(0), byte(24), byte(16), byte(8)};
}

}  // namespace

vx::Color ParseColor(const std::string& option, const std::string& text, int32_t depth) {
  if (const auto hex = ReadHexColor(text)) {
    return vx::visit_depth(depth, [&]<class Pixel>() -> vx::Color {
      using Traits = vx::PixelTraits<Pixel>;
      const auto channel = [&](size_t i) {
        const double value = (*hex)[i] * static_cast<double>(Traits::full_scale) / 255;
        constexpr bool whole = !std::is_floating_point_v<typename Traits::Channel>;
        return static_cast<typename Traits::Channel>(whole ? std::round(value) : value);
      };
      return Pixel{channel(0), channel(1), channel(2), channel(3)};
    });
  }
  const std::vector<std::string> parts = SplitAtCommas(text);
  if (parts.size() != 4) Refuse(option, text, "'#RRGGBB' or four numbers A,R,G,B");
  return vx::visit_depth(depth, [&]<class Pixel>() -> vx::Color {
    using Channel = typename vx::PixelTraits<Pixel>::Channel;
    const auto channel = [&](size_t i) {
      if constexpr (std::is_floating_point_v<Channel>) {
        constexpr double limit = std::numeric_limits<Channel>::max();
        return static_cast<Channel>(ParseNumber(option, parts[i], -limit, limit));
      } else {
        constexpr int64_t full = vx::PixelTraits<Pixel>::full_scale;
        return static_cast<Channel>(ParseInteger(option, parts[i], 0, full));
      }
    };
    return Pixel{channel(0), channel(1), channel(2), channel(3)};
  });
}

vx::Channels ParseChannels(const std::string& option, const std::string& text) {
  vx::Channels channels{false, false, false, false};
  bool* const all[] = {&channels.alpha, &channels.red, &channels.green, &channels.blue};
  bool fits = !text.empty();
  for (char letter : text) {
    const size_t channel = std::string_view("argb").find(letter);
    fits = fits && channel < 4 && !*all[channel];
    if (fits) *all[channel] = true;
  }
  if (!fits) Refuse(option, text, "one or more of the letters argb, each once");
  return channels;
}

int32_t ParseDepth(const std::string& option, const std::string& text, Keep keep) {
  if (text == "keep" && keep == Keep::Allowed) return 0;
  if (text == "8") return 8;
  if (text == "16") return 16;
  if (text == "32") return 32;
  Refuse(option, text, keep == Keep::Allowed ? "8, 16, 32 or keep" : "8, 16 or 32");
}

VXIO_AlphaAs ParseAlpha(const std::string& option, const std::string& text) {
  static constexpr VXIO_AlphaAs kMeanings[] = {VXIO_AlphaAs::Straight, VXIO_AlphaAs::Premultiplied,
                                               VXIO_AlphaAs::Ignore};
  return kMeanings[ParseChoice(option, text, {"straight", "premultiplied", "ignore"})];
}

int64_t ParseBytes(const std::string& option, const std::string& text) {
  static const std::string units = "KMGT";
  const size_t unit = text.empty() ? std::string::npos : units.find(text.back());
  const bool has_unit = unit != std::string::npos;
  const std::string digits = has_unit ? text.substr(0, text.size() - 1) : text;
  if (digits.empty() || digits.size() > 15 ||
      digits.find_first_not_of("0123456789") != std::string::npos) {
    Refuse(option, text, "a number of bytes, or of K, M, G or T: 2G");
  }
  const int shift = has_unit ? 10 * (static_cast<int>(unit) + 1) : 0;
  return ParseInteger(option, digits, 1, INT64_MAX >> shift) << shift;
}

int32_t ParseChoice(const std::string& option, const std::string& text,
                    const std::vector<std::string>& choices) {
  auto found = std::find(choices.begin(), choices.end(), text);
  if (found != choices.end()) return static_cast<int32_t>(found - choices.begin());
  Refuse(option, text, "one of " + JoinWords(choices, " ", " ") + DidYouMean(text, choices));
}

vx::Mode ParseMode(const std::string& option, const std::string& text) {
  int32_t number = 0;
  const bool numeric = ReadWhole(text, &number);
  const auto mode = static_cast<vx::Mode>(number);
  if (numeric && vx::name(mode)) return mode;
  if (const auto found = vx::find_mode(text)) return *found;
  std::vector<std::string> names, all;
  for (const vx::ModeInfo& info : vx::modes()) names.push_back(info.name);
  all = names;
  for (const vx::ModeAlias& alias : vx::mode_aliases()) all.push_back(alias.name);
  throw UsageError(option + " '" + text + "': no such mode" +
                   (numeric ? "; numbers are -3, -2 and 0 to 36" : DidYouMean(text, all)) +
                   ". Modes: " + JoinWords(names, " ", " "));
}

// --- texts ---------------------------------------------------------------------------------------

std::string Plain(double value) {
  std::string text = std::to_string(value);
  text.erase(text.find_last_not_of('0') + 1);
  if (text.back() == '.') text.pop_back();
  return text;
}

std::string BytesText(int64_t bytes) {
  static constexpr const char* names[] = {"bytes", "KiB", "MiB", "GiB", "TiB"};
  double value = static_cast<double>(bytes);
  int unit = 0;
  while (value >= 1024 && unit < 4) {
    value /= 1024;
    ++unit;
  }
  char text[48];
  std::snprintf(text, sizeof text, unit == 0 ? "%.0f %s" : "%.1f %s", value, names[unit]);
  return text;
}

std::string JoinWords(const std::vector<std::string>& words, const std::string& last,
                      const std::string& between) {
  std::string text;
  for (size_t i = 0; i < words.size(); ++i) {
    if (i > 0) text += i + 1 == words.size() ? last : between;
    text += words[i];
  }
  return text;
}

std::string DidYouMean(const std::string& text, const std::vector<std::string>& names) {
  std::string lower = text;
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  const auto nearest =
      std::min_element(names.begin(), names.end(), [&](const std::string& a, const std::string& b) {
        return Distance(lower, a) < Distance(lower, b);
      });
  const bool near = nearest != names.end() && Distance(lower, *nearest) <= 1 + text.size() / 4;
  return near ? " (did you mean " + *nearest + "?)" : "";
}

std::string ReadTextFile(const std::string& path, const std::string& kind,
                         const std::string& contents) {
  const auto refuse = [&](const std::string& text) {
    throw VXIO_Error(VXIO_ErrorKind::Input, path + ": " + text);
  };
  std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "rbe"), &std::fclose);
  if (!file) {
    refuse(errno == ENOENT ? "no such file; check the name"
                           : std::string("cannot be read: ") + strerror(errno));
  }
  std::string text;
  char block[1 << 16];
  while (size_t count = std::fread(block, 1, sizeof block, file.get())) {
    text.append(block, count);
    if (text.size() > kMostBytes) refuse("is larger than 64 MiB: not a " + kind + " file");
  }
  if (std::ferror(file.get())) refuse(std::string("cannot be read: ") + strerror(errno));
  if (std::any_of(text.begin(), text.end(), IsControl)) {
    refuse("is binary; a " + kind + " file is text, " + contents);
  }
  if (text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3);
  return text;
}

}  // namespace vxcli

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "Timeline.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>
#include <numeric>
#include <sstream>

#include "Console.h"
#include "VXIO/VXIO_Sequence.h"
#include "Values.h"

namespace vxcli {

namespace {

__extension__ typedef __int128 Wide;

constexpr int64_t kMostOfRatio = 1'000'000'000;
constexpr double kLargestRatio = 1e6;
constexpr int kMostDecimals = 9;
constexpr double kSnap = 1e-6;        // in frames
constexpr double kLongestTime = 1e9;  // in seconds or frames

// Parses digits with an optional decimal point as a fraction. Returns false for another text.
bool ReadDecimal(const std::string& text, Wide* num, Wide* den) {
  *num = 0;
  *den = 1;
  int digits = 0, decimals = -1;
  for (const char c : text) {
    if (c == '.' && decimals < 0) {
      decimals = 0;
      continue;
    }
    if (c < '0' || c > '9' || ++digits > 18) return false;
    if (decimals >= 0 && ++decimals > kMostDecimals) return false;
    *num = *num * 10 + (c - '0');
    if (decimals >= 0) *den *= 10;
  }
  return digits > 0 && decimals != 0;
}

Wide Divisor(Wide a, Wide b) {
  while (b != 0) std::swap(a %= b, b);
  return a;
}

[[noreturn]] void Refuse(const TimeMap& map, const std::string& where, const std::string& text) {
  throw UsageError("--map " + map.path + ": " + (where.empty() ? "" : where + ": ") + text);
}

TimeMap::Time ParseTime(const TimeMap& map, const std::string& where, std::string text) {
  const std::string given = text;
  TimeMap::Time time;
  time.frames = text.ends_with('f');
  if (time.frames) text.pop_back();
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, time.value);
  if (error != std::errc() || stop != end || !(std::fabs(time.value) <= kLongestTime)) {
    Refuse(map, where,
           "'" + given + "' is no time; use seconds (2.5) or frames with the suffix f (60f)");
  }
  return time;
}

void ReadColumns(const std::string& text, TimeMap* map) {
  std::istringstream lines(text);
  std::string line;
  for (int64_t number = 1; std::getline(lines, line); ++number) {
    const std::string where = "line " + std::to_string(number);
    std::istringstream words(line.substr(0, line.find('#')));
    std::vector<std::string> columns;
    for (std::string word; words >> word;) columns.push_back(word);
    if (columns.empty()) continue;
    if (columns.size() != 2) {
      Refuse(*map, where, "must be two times: of the output and of the input");
    }
    map->pairs.push_back(
        {ParseTime(*map, where, columns[0]), ParseTime(*map, where, columns[1]), where});
  }
}

void ReadJson(const std::string& text, TimeMap* map) {
  nlohmann::json json;
  try {
    json = nlohmann::json::parse(text);
  } catch (const nlohmann::json::parse_error& error) {
    const auto end = text.begin() + static_cast<ptrdiff_t>(std::min(error.byte, text.size()));
    const auto line = std::count(text.begin(), end, '\n') + 1;
    Refuse(*map, "line " + std::to_string(line), "is not JSON");
  }
  for (const nlohmann::json& pair : json) {
    const std::string where = "pair " + std::to_string(map->pairs.size() + 1);
    const auto time = [&](const nlohmann::json& value) {
      return ParseTime(*map, where,
                       value.is_string() ? value.get<std::string>() : std::string(value.dump()));
    };
    if (!pair.is_array() || pair.size() != 2) {
      Refuse(*map, where, "must be two times: [of the output, of the input]");
    }
    map->pairs.push_back({time(pair[0]), time(pair[1]), where});
  }
}

// Returns the whole number that a time means, if the time is that near to it.
double Snapped(double time) {
  const double whole = std::round(time);
  return std::fabs(time - whole) < kSnap ? whole : time;
}

double InFrames(const TimeMap::Time& time, const std::optional<Ratio>& rate) {
  if (time.frames) return time.value;
  return Snapped(time.value * static_cast<double>(rate->num) / static_cast<double>(rate->den));
}

void CheckSize(Wide size) {
  if (size <= VXIO_MostFrames) return;
  throw UsageError("the output would have more than " + std::to_string(VXIO_MostFrames) +
                   " frames");
}

}  // namespace

Ratio ParseRatio(const std::string& option, const std::string& text, const std::string& hint) {
  const size_t slash = text.find('/');
  Wide num = 0, den = 1, below = 1, below_den = 1;
  const bool reads =
      ReadDecimal(text.substr(0, slash), &num, &den) &&
      (slash == std::string::npos || ReadDecimal(text.substr(slash + 1), &below, &below_den));
  if (reads && num > 0 && below > 0) {
    num *= below_den;
    den *= below;
    const Wide divisor = Divisor(num, den);
    num /= divisor;
    den /= divisor;
    if (num <= kMostOfRatio && den <= kMostOfRatio) {
      const Ratio ratio{static_cast<int64_t>(num), static_cast<int64_t>(den)};
      if (ratio.Value() >= 1 / kLargestRatio && ratio.Value() <= kLargestRatio) return ratio;
    }
  }
  throw UsageError(option + " '" + text +
                   "': must be a number above 0 with at most 9 decimals, such as 23.976, or a "
                   "fraction, such as 24000/1001, from 0.000001 to 1000000" +
                   hint);
}

Ratio Quotient(const Ratio& a, const Ratio& b) {
  // Below 10^18.
  const int64_t num = a.num * b.den, den = a.den * b.num, divisor = std::gcd(num, den);
  return {num / divisor, den / divisor};
}

TimeMap ReadTimeMap(const std::string& path) {
  TimeMap map;
  map.path = path;
  const std::string text = ReadTextFile(path, "map", "pairs of times");
  const size_t begin = text.find_first_not_of(" \t\r\n\v\f");
  if (begin != std::string::npos && text[begin] == '[') {
    ReadJson(text, &map);
  } else {
    ReadColumns(text, &map);
  }
  if (map.pairs.size() < 2) {
    Refuse(map, "",
           "has " + std::to_string(map.pairs.size()) + " pairs of times; at least two are needed");
  }
  return map;
}

Timeline Timeline::Steps(int64_t frames, const Ratio& step) {
  Timeline timeline;
  timeline.frames_ = frames;
  timeline.step_ = step;
  const Wide size = (Wide{2} * frames * step.den + step.num) / (Wide{2} * step.num);
  CheckSize(size);
  timeline.size_ = std::max<int64_t>(1, static_cast<int64_t>(size));
  return timeline;
}

Timeline Timeline::Mapped(int64_t frames, const TimeMap& map, const std::optional<Ratio>& rate) {
  Timeline timeline;
  timeline.frames_ = frames;
  for (const TimeMap::Pair& pair : map.pairs) {
    if (!rate && !(pair.out.frames && pair.in.frames)) {
      Refuse(map, pair.where,
             "has seconds, but the input has no frame rate; use --input-fps or frames (60f)");
    }
    const Point point{InFrames(pair.out, rate), InFrames(pair.in, rate)};
    if (!timeline.map_.empty() && !(point.out > timeline.map_.back().out)) {
      Refuse(map, pair.where, "the time of the output must be after that of the pair before");
    }
    timeline.map_.push_back(point);
  }
  // The last time is the end of the output if it is in seconds, and the last frame if in frames.
  const double end = timeline.map_.back().out;
  const double mapped = map.pairs.back().out.frames ? std::floor(end) + 1 : std::floor(end + 0.5);
  CheckSize(static_cast<Wide>(mapped));
  timeline.size_ = std::max(frames, static_cast<int64_t>(mapped));
  return timeline;
}

Instant Timeline::At(int64_t output, double offset) const {
  if (map_.empty() && offset == 0) {
    const Wide time = Wide{output} * step_.num;
    const auto rest = static_cast<double>(time % step_.den);
    return Find(static_cast<int64_t>(time / step_.den), rest / static_cast<double>(step_.den));
  }
  const double at = static_cast<double>(output) + offset;
  double time = 0;
  if (map_.empty()) {
    time = at * step_.Value();
  } else {
    const auto after = std::upper_bound(map_.begin(), map_.end(), at,
                                        [](double t, const Point& point) { return t < point.out; });
    if (after == map_.begin() || after == map_.end()) {
      time = after == map_.begin() ? map_.front().in : map_.back().in;
    } else {
      const Point &a = after[-1], &b = after[0];
      time = a.in + (at - a.out) * ((b.in - a.in) / (b.out - a.out));
    }
  }
  time = Snapped(time);
  const double whole = std::floor(time);
  return Find(static_cast<int64_t>(whole), time - whole);
}

// Returns the instant at the time `whole` + `part` of the input; part is 0..1.
Instant Timeline::Find(int64_t whole, double part) const {
  const auto time_of = [&](size_t i) {
    return times_.empty() ? static_cast<double>(i) : times_[i];
  };
  const size_t last = times_.empty() ? static_cast<size_t>(frames_) - 1 : times_.size() - 1;
  const double time = static_cast<double>(whole) + part;
  const double begin = time_of(0), end = time_of(last);
  if (time < begin) return {0, 0, true, begin};
  if (time >= end) return {last, 0, time > end, end};
  Instant instant{static_cast<size_t>(whole), part, false, time};
  if (!times_.empty()) {
    const auto after = std::upper_bound(times_.begin(), times_.end(), time);
    instant.first = static_cast<size_t>(after - times_.begin()) - 1;
    // The difference of the whole numbers is exact.
    const double since = static_cast<double>(whole) - after[-1] + part;
    instant.position = since < kSnap                          ? 0
                       : after[0] - after[-1] - since < kSnap ? 1
                                                              : since / (after[0] - after[-1]);
  }
  if (instant.position >= 1) return {instant.first + 1, 0, false, time_of(instant.first + 1)};
  return instant;
}

}  // namespace vxcli

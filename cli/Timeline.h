// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The times of vx retime: how many frames the output has, and which instant of the input each of
// them shows. docs/retime.md describes the rules to users.
//
// A time of the input is a number of frames: 2.25 is a quarter of the way from frame 2 to frame 3,
// where frame 0 is the first frame of the job.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vxcli {

// A positive fraction in lowest terms.
struct Ratio {
  int64_t num = 1, den = 1;

  double Value() const { return static_cast<double>(num) / static_cast<double>(den); }
};

// Parses "24", "23.976" (23976/1000) or "24000/1001". The value is from 0.000001 to 1000000, each
// number has at most 9 decimals, and num and den are at most 10^9. `hint` is the end of the error
// message.
Ratio ParseRatio(const std::string& option, const std::string& text, const std::string& hint = {});

// Returns a / b.
Ratio Quotient(const Ratio& a, const Ratio& b);

// The pairs of --map: a time of the output and the time of the input that is shown then.
struct TimeMap {
  struct Time {
    double value = 0;
    bool frames = false;  // else seconds
  };
  struct Pair {
    Time out, in;
    std::string where;  // for errors: "line 3"
  };
  std::string path;
  std::vector<Pair> pairs;  // at least two
};

// Reads a file of pairs: JSON, an array of [output, input], or text with two columns. A time is a
// number of seconds, or of frames with the suffix f (in JSON a text). Throws VXIO_Error (Input) for
// a file that cannot be read, and UsageError for other contents, with the line or the pair.
TimeMap ReadTimeMap(const std::string& path);

// The instant of an output: between the input frames `first` and `first` + 1 of those that the
// timeline uses.
struct Instant {
  size_t first = 0;
  double position = 0;  // 0 <= position < 1; 0: frame `first`
  bool held = false;    // the time is before the first frame or after the last one
  double time = 0;      // of the input, in frames
};

class Timeline {
 public:
  // Each output frame advances the input by `step` frames. `frames` is the number of input frames,
  // at least 1. The duration is `frames` input frames, so there are frames / step output frames,
  // rounded to nearest, halves up, and at least one.
  static Timeline Steps(int64_t frames, const Ratio& step);
  // The output has the rate of the input, frames per second; without a rate the map may only have
  // times in frames. It has as many frames as the input, or more if the map ends later. Throws
  // UsageError for pairs whose output times do not ascend and for seconds without a rate.
  static Timeline Mapped(int64_t frames, const TimeMap& map, const std::optional<Ratio>& rate);

  // Uses only some of the input frames, which are shown at these times. The default is frame i at
  // the time i. `times` ascends and is not empty.
  void SetTimes(std::vector<double> times) { times_ = std::move(times); }

  int64_t size() const { return size_; }

  // Returns the instant that output `output` + `offset` shows. With offset 0, Steps are computed
  // without rounding, and the position is rounded once. Other times are computed in double; those
  // that are less than 0.000001 frames from a frame of the input are that frame.
  Instant At(int64_t output, double offset = 0) const;

 private:
  struct Point {
    double out, in;  // in frames
  };
  Instant Find(int64_t whole, double part) const;

  int64_t frames_ = 1, size_ = 1;
  Ratio step_;
  std::vector<Point> map_;
  std::vector<double> times_;
};

}  // namespace vxcli

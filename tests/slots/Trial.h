// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// One run of a slot's cases. The first run, at the plain level, records what every case gave; the
// runs at other levels draw the same cases from the same seed and are held against that record.

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "VX/VX_Types.h"

// What the cases gave, byte after byte.
using Record = std::vector<uint8_t>;

// The first difference, told in words.
struct Mismatch {
  std::string text;
};

class Trial {
 public:
  enum class Kind { kRecord, kCompare };

  Trial(const char* slot, const char* level, uint64_t seed, int rounds, Kind kind, Record& record);

  // Names the case that follows, for a report of a mismatch or of a crash.
  void Case(const char* format, ...) __attribute__((format(printf, 2, 3)));

  // Something that the case gave. Throws Mismatch on a difference. `unit` is the bytes a pixel.
  void Gave(VX_Err code);
  void Gave(const void* bytes, size_t size, size_t unit);
  [[noreturn]] void Fail(const std::string& what) const;

  const char* slot() const { return slot_; }
  int rounds() const { return rounds_; }

  std::mt19937_64 random;
  // 0..bound-1
  int32_t Draw(int32_t bound) {
    return static_cast<int32_t>(random() % static_cast<uint64_t>(bound));
  }

 private:
  const char* slot_;
  int rounds_;
  Kind kind_;
  Record& record_;
  size_t position_ = 0;
};

// From now on a crash prints the case at hand and ends the program with kCrashed.
inline constexpr int kCrashed = 3;
void ReportCrashes();

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The words of a command line as values. Every function throws UsageError with one line that names
// the option, the word and what would be right; nothing else is accepted, not even a trailing
// blank.

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "VX/VX_Types.h"

namespace vxcli {

int64_t ParseInteger(const std::string& option, const std::string& word, int64_t least,
                     int64_t largest);

// Finite numbers only.
double ParseNumber(const std::string& option, const std::string& word, double least,
                   double largest);

// Exactly `count` finite numbers with commas between them.
std::vector<double> ParseNumbers(const std::string& option, const std::string& word, size_t count);

// "X,Y"
struct Point {
  int32_t x = 0, y = 0;
};
Point ParsePoint(const std::string& option, const std::string& word, int64_t least,
                 int64_t largest);

// "L,T,R,B" with R beyond L and B beyond T.
M_Rect ParseRect(const std::string& option, const std::string& word);

// "640x480", sides from `least` to 30000.
struct Size {
  int32_t width = 0, height = 0;
};
Size ParseSize(const std::string& option, const std::string& word, int64_t least);
// Whether a word has that form at all.
bool IsSize(const std::string& word);

// "A,R,G,B" in the scale of the pixel: 0..255, 0..32768, or any finite numbers.
template <class Pixel>
Pixel ParseColor(const std::string& option, const std::string& word);

std::vector<std::string> SplitAtCommas(const std::string& word);

// Letters of "argb", each at most once, at least one. Gives 1 for a, 2 for r, 4 for g, 8 for b.
int32_t ParseChannels(const std::string& option, const std::string& word);

// "8", "16" or "32"; "keep" gives 0 where it is allowed.
enum class Keep { Allowed, Refused };
int32_t ParseDepth(const std::string& word, Keep keep);

// "draft" or "high" as VX_Quality_...
int32_t ParseQuality(const std::string& word);

// One of a few words; gives its position.
int32_t ParseChoice(const std::string& option, const std::string& word,
                    const std::vector<std::string>& choices);

// --- transfer modes ------------------------------------------------------------------------------

struct Mode {
  int32_t number;
  const char* name;
};
const std::vector<Mode>& Modes();

// A name or a number. An unknown word gives an error that names the nearest mode and lists them
// all.
Mode ParseMode(const std::string& word);

}  // namespace vxcli

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Converts texts of the command line to values. Every Parse function throws UsageError with one
// line that contains the option, the text and the accepted form. The whole text must match: not
// even a trailing blank is accepted.

#include <cstdint>
#include <string>
#include <vector>

#include "VX/cpp/Filters.hpp"
#include "VX/cpp/Mode.hpp"
#include "VX/cpp/Pixels.hpp"

namespace vxcli {

int64_t ParseInteger(const std::string& option, const std::string& text, int64_t least,
                     int64_t largest);

// Finite numbers only.
double ParseNumber(const std::string& option, const std::string& text, double least,
                   double largest);

// Exactly `count` finite numbers with commas between them.
std::vector<double> ParseNumbers(const std::string& option, const std::string& text, size_t count);

// "X,Y"
vx::Point ParsePoint(const std::string& option, const std::string& text, int64_t least,
                     int64_t largest);

// "L,T,R,B" with R greater than L and B greater than T, edges -30000 to 30000.
vx::Rect ParseRect(const std::string& option, const std::string& text);

// "640x480", sides from `least` to 30000.
struct Size {
  int32_t width = 0, height = 0;
};
Size ParseSize(const std::string& option, const std::string& text, int64_t least);
// True for digits, an x and digits, whatever the numbers are.
bool IsSize(const std::string& text);

// "A,R,G,B" in the scale of the depth: 0..255, 0..32768, or any finite numbers.
vx::Color ParseColor(const std::string& option, const std::string& text, int32_t depth);

std::vector<std::string> SplitAtCommas(const std::string& text);

// Letters of "argb", each at most once, at least one.
vx::Channels ParseChannels(const std::string& option, const std::string& text);

// "8", "16" or "32"; 0 for "keep" if that is allowed.
enum class Keep { Allowed, Refused };
int32_t ParseDepth(const std::string& option, const std::string& text, Keep keep);

// "2G", "512M", "100K" or bytes; units of 1024.
int64_t ParseBytes(const std::string& option, const std::string& text);

// Returns the position of the text in the list.
int32_t ParseChoice(const std::string& option, const std::string& text,
                    const std::vector<std::string>& choices);

// The name or the number of a transfer mode. The error for an unknown name contains the nearest one
// and all of them.
vx::Mode ParseMode(const std::string& option, const std::string& text);

// --- texts ---------------------------------------------------------------------------------------

// The shortest form with at most six decimals: 0.5, 30000.
std::string Plain(double value);

// "2.5 GiB"
std::string BytesText(int64_t bytes);

// "a, b or c" with " or " as `last`.
std::string JoinWords(const std::vector<std::string>& words, const std::string& last,
                      const std::string& between = ", ");

// " (did you mean NAME?)" with the name that takes the fewest changes of a letter, or nothing if
// the nearest name is too different.
std::string DidYouMean(const std::string& text, const std::vector<std::string>& names);

// The contents of a text file that a user wrote, without a byte order mark. `kind` and `holds`
// describe it in messages: "kernel", "rows of whole numbers". Throws VXIO_Error (Input) for a file
// that cannot be read, is larger than 64 MiB or contains control characters. Bytes above 127 are
// accepted.
std::string ReadTextFile(const std::string& path, const std::string& kind,
                         const std::string& holds);

}  // namespace vxcli

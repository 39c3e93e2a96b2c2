// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Converts arguments of the command line to values. The comment of a Parse function describes the
// text that it accepts. The Parse functions throw UsageError if the text is not accepted; the
// message contains the option, the text and the accepted form. The whole text must have the form:
// leading and trailing blanks are not accepted.

#include <cstdint>
#include <string>
#include <vector>

#include "VX/cpp/Filters.hpp"
#include "VX/cpp/Mode.hpp"
#include "VX/cpp/Pixels.hpp"
#include "VXIO/VXIO_Picture.h"

namespace vxcli {

int64_t ParseInteger(const std::string& option, const std::string& text, int64_t least,
                     int64_t largest);

// A finite number from `least` to `largest`.
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
// Returns true if the text has the form 640x480: digits, an x and digits. The range of the numbers
// is not checked.
bool IsSize(const std::string& text);

// A fraction from 0 to 1, or a percentage from 0% to 100%.
double ParseShare(const std::string& option, const std::string& text);

// "A,R,G,B" in the scale of the depth: 0..255, 0..32768, or any finite numbers. Or hexadecimal
// digits, "#RRGGBB", "#RGB" or "#RRGGBBAA", the "#" may be left out: 0..255 at every depth.
vx::Color ParseColor(const std::string& option, const std::string& text, int32_t depth);

std::vector<std::string> SplitAtCommas(const std::string& text);

// Letters of "argb", each at most once, at least one.
vx::Channels ParseChannels(const std::string& option, const std::string& text);

// "8", "16" or "32". Returns 0 for "keep" if that is allowed.
enum class Keep { Allowed, Refused };
int32_t ParseDepth(const std::string& option, const std::string& text, Keep keep);

// "straight", "premultiplied" or "ignore".
VXIO_AlphaAs ParseAlpha(const std::string& option, const std::string& text);

// "2G", "512M", "100K" or bytes; units of 1024.
int64_t ParseBytes(const std::string& option, const std::string& text);

// Returns the index of the text in `choices`.
int32_t ParseChoice(const std::string& option, const std::string& text,
                    const std::vector<std::string>& choices);

// The name or the number of a transfer mode. The error message for an unknown name contains the
// most similar name and the list of all names.
vx::Mode ParseMode(const std::string& option, const std::string& text);

// --- texts ---------------------------------------------------------------------------------------

// Returns a number with at most six decimals and without trailing zeros: 0.5, 30000.
std::string Plain(double value);

// Returns a size with its unit: "2.5 GiB".
std::string BytesText(int64_t bytes);

// Joins words with `between`, the last two with `last`: "a, b or c" if `last` is " or ".
std::string JoinWords(const std::vector<std::string>& words, const std::string& last,
                      const std::string& between = ", ");

// Returns " (did you mean NAME?)" with the name that has the smallest edit distance to `text`, or
// an empty text if that distance is too large.
std::string DidYouMean(const std::string& text, const std::vector<std::string>& names);

// Returns the contents of a text file without the byte order mark. `kind` ("kernel") and `contents`
// ("rows of whole numbers") describe the file in error messages. Throws VXIO_Error (Input) if the
// file cannot be read, is larger than 64 MiB or contains control characters other than white space.
// Bytes above 127 are accepted.
std::string ReadTextFile(const std::string& path, const std::string& kind,
                         const std::string& contents);

}  // namespace vxcli

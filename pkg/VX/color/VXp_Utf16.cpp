// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "color/VXp_Utf16.h"

#include <bit>
#include <cstdint>

namespace {

constexpr char32_t kReplacement = 0xFFFD;

// Removes the first character of the text and returns its code point. If it is not valid UTF-8,
// removes one byte and returns U+FFFD.
char32_t TakeCharacter(std::string_view* text) {
  const auto first = static_cast<uint8_t>(text->front());
  const auto length = static_cast<size_t>(first < 0x80 ? 1 : std::countl_one(first));
  constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  char32_t c = length == 1 ? first : first & (0xFFu >> (length + 1));
  bool good = length >= 1 && length <= 4 && length <= text->size() && (first < 0x80 || length > 1);
  for (size_t i = 1; good && i < length; ++i) {
    const auto next = static_cast<uint8_t>((*text)[i]);
    good = (next & 0xC0) == 0x80;
    c = c << 6 | (next & 0x3Fu);
  }
  good = good && c >= kLeast[length] && c <= 0x10FFFF && (c < 0xD800 || c > 0xDFFF);
  text->remove_prefix(good ? length : 1);
  return good ? c : kReplacement;
}

}  // namespace

std::u16string VXp_Utf16(std::string_view text) {
  std::u16string wide;
  while (!text.empty()) {
    const char32_t c = TakeCharacter(&text);
    if (c < 0x10000) {
      wide += static_cast<char16_t>(c);
    } else {
      wide += static_cast<char16_t>(0xD7C0 + (c >> 10));
      wide += static_cast<char16_t>(0xDC00 + (c & 0x3FF));
    }
  }
  return wide;
}

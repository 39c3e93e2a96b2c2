// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include <charconv>
#include <cstring>

#include "host/U.h"

namespace {

const char* TextOf(const char* text) {
  if (!text || std::strncmp(text, "$$$", 3) != 0) return text;
  const char* equals = std::strchr(text, '=');
  return equals ? equals + 1 : text;
}

}  // namespace

const char* U_ZLookup(const char* key) { return TextOf(key); }

const char* U_ZStringToMBString(const char* key) { return TextOf(key); }

const char* U_ZLookupLStrCache(const void* zref, int32_t index) {
  const U_ZRef* table = static_cast<const U_ZRef*>(zref);
  if (!table || !table->entries || index < 0 || index >= table->count) return nullptr;
  return TextOf(table->entries[index].text);
}

U_Err U_SubString(char* buffer, size_t size, const char* form, const int32_t* values,
                  int32_t count) {
  if (!buffer || size == 0) return 3;
  buffer[0] = 0;
  if (!form || (!values && count > 0)) return 3;

  size_t used = 0;
  while (*form) {
    char digits[12];
    const char* piece = form;
    size_t length = 1;
    size_t consumed = 1;
    if (form[0] == '^' && form[1] == 'L' && form[2] >= '1' && form[2] <= '9' &&
        form[2] - '1' < count) {
      length = static_cast<size_t>(
          std::to_chars(digits, digits + sizeof digits, values[form[2] - '1']).ptr - digits);
      piece = digits;
      consumed = 3;
    }
    if (length >= size - used) {
      buffer[0] = 0;
      return 3;
    }
    std::memcpy(buffer + used, piece, length);
    used += length;
    form += consumed;
  }
  buffer[used] = 0;
  return 0;
}

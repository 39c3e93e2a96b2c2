// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO_Encoding.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

#include "VXIO_Formats.h"

namespace {

constexpr int32_t kLargestDwaLevel = 1000;

const std::vector<VXIOp_Encodings>& Table() {
  static const std::vector<VXIOp_Encodings> table = {
      {"png", {"8", "16"}, {{"zip", 1, 9}, {"none"}}},
      {"jpeg", {"8"}, {{"jpeg", 1, 100}}, /*quality=*/true},
      {"tiff", {"8", "10", "12", "16", "float"}, {{"zip", 1, 9}, {"lzw"}, {"packbits"}, {"none"}}},
      {"exr",
       {"half", "float"},
       {{"zip", 1, 9},
        {"zips", 1, 9},
        {"piz"},
        {"rle"},
        {"none"},
        {"pxr24"},
        {"b44"},
        {"b44a"},
        {"dwaa", 1, kLargestDwaLevel},
        {"dwab", 1, kLargestDwaLevel}}},
      {"tga", {"8"}, {{"none"}, {"rle"}}},
      {"bmp", {"8"}, {}},
      {"dpx", {"8", "10", "12", "16"}, {}},
      {"pnm", {"8", "16"}, {}},
  };
  return table;
}

[[noreturn]] void Refuse(const VXIOp_Format& format, const char* what, const std::string& value,
                         const std::vector<std::string>& choices) {
  std::string text = std::string(what) + " " + value + ": " + format.name + " has ";
  if (choices.empty()) throw std::invalid_argument(text + "no choice");
  for (const std::string& choice : choices) text += (&choice == &choices[0] ? "" : ", ") + choice;
  throw std::invalid_argument(text);
}

}  // namespace

const VXIOp_Encodings& VXIOp_EncodingsOf(std::string_view format) {
  static const VXIOp_Encodings none{};
  for (const VXIOp_Encodings& entry : Table()) {
    if (entry.format == format) return entry;
  }
  return none;
}

const VXIOp_Compression* VXIOp_FindCompression(const VXIOp_Encodings& encodings,
                                               std::string_view text) {
  const size_t colon = text.find(':');
  for (const VXIOp_Compression& entry : encodings.compressions) {
    if (text.substr(0, colon) != entry.name) continue;
    if (colon == std::string_view::npos) return &entry;
    int32_t level = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data() + colon + 1, end, level);
    const bool valid = error == std::errc() && stop == end && entry.largest > 0;
    return valid && level >= entry.least && level <= entry.largest ? &entry : nullptr;
  }
  return nullptr;
}

std::vector<std::string> VXIOp_CompressionNames(const VXIOp_Encodings& encodings) {
  std::vector<std::string> names;
  for (const VXIOp_Compression& entry : encodings.compressions) {
    names.emplace_back(entry.name);
    if (entry.largest == 0) continue;
    names.back() += ":" + std::to_string(entry.least) + "-" + std::to_string(entry.largest);
  }
  return names;
}

void VXIO_CheckEncoding(const std::string& path, const VXIO_Encoding& encoding) {
  const VXIOp_Format* format = VXIOp_FormatOfName(path);
  if (!format) return;
  const VXIOp_Encodings& known = VXIOp_EncodingsOf(format->name);
  if (!encoding.bits.empty() &&
      std::find(known.bits.begin(), known.bits.end(), encoding.bits) == known.bits.end()) {
    Refuse(*format, "bits", encoding.bits, known.bits);
  }
  if (!encoding.compression.empty() && !VXIOp_FindCompression(known, encoding.compression)) {
    Refuse(*format, "compression", encoding.compression, VXIOp_CompressionNames(known));
  }
  if (!encoding.quality) return;
  const std::string quality = std::to_string(*encoding.quality);
  if (!known.quality) Refuse(*format, "quality", quality, {});
  if (*encoding.quality < 1 || *encoding.quality > 100) {
    throw std::invalid_argument("quality " + quality + ": must be 1 to 100");
  }
  if (encoding.compression.find(':') != std::string::npos) {
    throw std::invalid_argument("quality " + quality + ": compression " + encoding.compression +
                                " states another one");
  }
}

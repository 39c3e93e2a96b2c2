// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO_Formats.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "VXIO_Encoding.h"

namespace {

constexpr auto kNone = VXIO_AlphaKind::None;
constexpr auto kStraight = VXIO_AlphaKind::Straight;
constexpr auto kPremultiplied = VXIO_AlphaKind::Premultiplied;

// The last formats are only read: their writers lose alpha, depth or colours.
constexpr std::array<VXIOp_Format, 14> kFormats = {{
    {"png", "png", "png", true, true, false, kStraight, true, false, true, true},
    {"jpeg", "jpeg", "jpg jpeg jpe", true, false, false, kNone, true, false, true, true},
    {"tiff", "tiff", "tif tiff", true, true, true, kStraight, true, false, true, true},
    {"exr", "openexr", "exr", false, false, true, kPremultiplied, false, true, true, true},
    {"tga", "targa", "tga", true, false, false, kStraight, false, false, true, true},
    {"bmp", "bmp", "bmp", true, false, false, kStraight, false, false, false, true},
    {"dpx", "dpx", "dpx", true, true, false, kStraight, false, false, false, true},
    {"pnm", "pnm", "ppm pnm pgm pbm", true, true, false, kNone, false, false, true, true},
    {"webp", "webp", "webp", true, false, false, kStraight, false, false, false, false},
    {"psd", "psd", "psd", true, true, true, kStraight, false, false, true, false},
    {"hdr", "hdr", "hdr rgbe", false, false, true, kNone, false, false, false, false},
    {"gif", "gif", "gif", true, false, false, kStraight, false, false, false, false},
    {"sgi", "sgi", "sgi rgb rgba bw", true, true, false, kStraight, false, false, true, false},
    {"jpeg2000", "jpeg2000", "jp2 j2k", true, true, false, kStraight, false, false, true, false},
}};

const VXIOp_Format* ByName(std::string_view name) {
  auto found = std::find_if(kFormats.begin(), kFormats.end(),
                            [&](const VXIOp_Format& format) { return name == format.name; });
  return found == kFormats.end() ? nullptr : &*found;
}

std::vector<std::string> Split(std::string_view text) {
  std::vector<std::string> parts;
  while (!text.empty()) {
    size_t end = std::min(text.find(' '), text.size());
    parts.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return parts;
}

}  // namespace

std::span<const VXIOp_Format> VXIOp_Formats() { return kFormats; }

const VXIOp_Format* VXIOp_FormatOfName(std::string_view path) {
  size_t slash = path.rfind('/');
  std::string_view name = slash == std::string_view::npos ? path : path.substr(slash + 1);
  size_t dot = name.rfind('.');
  if (dot == std::string_view::npos || dot == 0) return nullptr;
  std::string extension(name.substr(dot + 1));
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  for (const VXIOp_Format& format : kFormats) {
    for (const std::string& part : Split(format.extensions)) {
      if (part == extension) return &format;
    }
  }
  return nullptr;
}

const VXIOp_Format* VXIOp_FormatOfContent(std::string_view head, std::string_view path) {
  using namespace std::string_view_literals;
  struct Mark {
    std::string_view bytes;
    std::string_view format;
  };
  static constexpr std::array<Mark, 18> kMarks = {{{"\x89PNG\r\n\x1a\n"sv, "png"},
                                                   {"\xff\xd8\xff"sv, "jpeg"},
                                                   {"II*\0"sv, "tiff"},
                                                   {"MM\0*"sv, "tiff"},
                                                   {"II+\0"sv, "tiff"},
                                                   {"MM\0+"sv, "tiff"},
                                                   {"\x76\x2f\x31\x01"sv, "exr"},
                                                   {"SDPX"sv, "dpx"},
                                                   {"XPDS"sv, "dpx"},
                                                   {"BM"sv, "bmp"},
                                                   {"8BPS"sv, "psd"},
                                                   {"#?RADIANCE"sv, "hdr"},
                                                   {"#?RGBE"sv, "hdr"},
                                                   {"GIF87a"sv, "gif"},
                                                   {"GIF89a"sv, "gif"},
                                                   {"\x01\xda"sv, "sgi"},
                                                   {"\0\0\0\x0cjP  "sv, "jpeg2000"},
                                                   {"\xff\x4f\xff\x51"sv, "jpeg2000"}}};
  for (const Mark& mark : kMarks) {
    if (head.starts_with(mark.bytes)) return ByName(mark.format);
  }
  if (head.starts_with("RIFF") && head.size() >= 12 && head.substr(8, 4) == "WEBP") {
    return ByName("webp");
  }
  if (head.size() > 2 && head[0] == 'P' && head[1] >= '1' && head[1] <= '6' &&
      std::isspace(static_cast<unsigned char>(head[2]))) {
    return ByName("pnm");
  }
  const VXIOp_Format* named = VXIOp_FormatOfName(path);
  return named && named == ByName("tga") ? named : nullptr;
}

std::string VXIOp_FormatNames(VXIOp_Use use) {
  std::string names;
  for (const VXIOp_Format& format : kFormats) {
    if (use == VXIOp_Use::Write && !format.writes) continue;
    if (!names.empty()) names += ", ";
    names += format.name;
  }
  return names;
}

std::string VXIOp_FirstLine(const std::string& text) {
  size_t start = text.find_first_not_of(" \t\r\n");
  if (start == std::string::npos) return "no reason given";
  size_t end = text.find_first_of("\r\n", start);
  return text.substr(start, end == std::string::npos ? end : end - start);
}

std::vector<VXIO_FormatInfo> VXIO_ListFormats() {
  std::vector<VXIO_FormatInfo> list;
  for (const VXIOp_Format& format : kFormats) {
    VXIO_FormatInfo info{};
    info.name = format.name;
    info.extensions = Split(format.extensions);
    info.alpha = format.alpha;
    info.profile = format.profile;
    info.writes = format.writes;
    // A format also supports the smaller depths, because a larger depth stores their values
    // exactly.
    if (format.depth8 || format.depth16 || format.depth32) info.depths.push_back(8);
    if (format.depth16 || format.depth32) info.depths.push_back(16);
    if (format.depth32) info.depths.push_back(32);
    const VXIOp_Encodings& encodings = VXIOp_EncodingsOf(format.name);
    info.bits = encodings.bits;
    info.compressions = VXIOp_CompressionNames(encodings);
    info.quality = encodings.quality;
    list.push_back(std::move(info));
  }
  return list;
}

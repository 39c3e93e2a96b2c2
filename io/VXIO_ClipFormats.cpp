// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO_ClipFormats.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <stdexcept>

namespace {

const std::vector<VXIOp_ClipCodec>& Codecs() {
  static const std::vector<VXIOp_ClipCodec> codecs = {
      {"ffv1", "ffv1", {8, 10, 12, 16}, 16, 16, /*yuv=*/false, /*even_size=*/false, 0, 0},
      {"png", "png", {8, 16}, 16, 16, /*yuv=*/false, /*even_size=*/false, 0, 0},
      {"prores4444", "prores_ks", {10}, 10, 10, /*yuv=*/true, /*even_size=*/false, 0, 0},
      {"vp9", "libvpx-vp9", {8, 10, 12}, 10, 8, /*yuv=*/true, /*even_size=*/false, 24, 63},
      {"h264", "libx264", {8, 10}, 8, 0, /*yuv=*/true, /*even_size=*/true, 20, 51},
  };
  return codecs;
}

const std::vector<VXIOp_ClipContainer>& Containers() {
  static const std::vector<VXIOp_ClipContainer> containers = {
      {"mkv", "matroska", {"ffv1", "vp9", "h264", "prores4444"}},
      {"mov", "mov", {"prores4444", "png", "h264"}},
      {"webm", "webm", {"vp9"}},
      {"mp4", "mp4", {"h264"}},
  };
  return containers;
}

constexpr std::array<std::string_view, 6> kMatrices = {"bt709", "bt601",     "bt2020",
                                                       "fcc",   "smpte240m", "ycgco"};

template <class List, class Text>
std::string Joined(const List& list, Text text) {
  std::string joined;
  for (const auto& each : list) joined += (joined.empty() ? "" : ", ") + std::string(text(each));
  return joined;
}

bool IsPositive(const VXIO_Rational& value) { return value.num > 0 && value.den > 0; }

}  // namespace

const VXIOp_ClipContainer* VXIOp_ClipContainerOfName(std::string_view path) {
  const size_t dot = path.rfind('.');
  if (dot == std::string_view::npos) return nullptr;
  std::string extension(path.substr(dot + 1));
  for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  for (const VXIOp_ClipContainer& container : Containers()) {
    if (container.extension == extension) return &container;
  }
  return nullptr;
}

const VXIOp_ClipCodec* VXIOp_FindClipCodec(std::string_view name) {
  for (const VXIOp_ClipCodec& codec : Codecs()) {
    if (codec.name == name) return &codec;
  }
  return nullptr;
}

const VXIOp_ClipCodec& VXIOp_ClipCodecOf(const std::string& path, const VXIO_ClipOptions& options) {
  const VXIOp_ClipContainer* container = VXIOp_ClipContainerOfName(path);
  if (!container) {
    throw std::invalid_argument(path + ": the extension names no clip that can be written; use " +
                                Joined(Containers(), [](const auto& c) { return c.extension; }));
  }
  const auto& names = container->codecs;
  if (options.codec.empty()) return *VXIOp_FindClipCodec(names[0]);
  if (std::find(names.begin(), names.end(), options.codec) == names.end()) {
    throw std::invalid_argument("codec " + options.codec + ": " + container->muxer + " has " +
                                Joined(names, [](std::string_view name) { return name; }));
  }
  return *VXIOp_FindClipCodec(options.codec);
}

bool VXIO_IsClipName(const std::string& path) { return VXIOp_ClipContainerOfName(path) != nullptr; }

void VXIO_CheckClipOptions(const std::string& path, const VXIO_ClipOptions& options) {
  const VXIOp_ClipCodec& codec = VXIOp_ClipCodecOf(path, options);
  const std::string name(codec.name);
  const auto& bits = codec.bits;
  if (options.bits != 0 && std::find(bits.begin(), bits.end(), options.bits) == bits.end()) {
    throw std::invalid_argument("bits " + std::to_string(options.bits) + ": " + name + " has " +
                                Joined(bits, [](int32_t n) { return std::to_string(n); }));
  }
  if (options.alpha.value_or(false) && codec.alpha_bits > 0 && options.bits > codec.alpha_bits) {
    throw std::invalid_argument("bits " + std::to_string(options.bits) + ": " + name +
                                " stores alpha with at most " + std::to_string(codec.alpha_bits));
  }
  if (options.quality && codec.lowest == 0) {
    throw std::invalid_argument("quality: " + name + " has no choice");
  }
  if (options.quality && (*options.quality < 0 || *options.quality > codec.lowest)) {
    throw std::invalid_argument("quality " + std::to_string(*options.quality) + ": " + name +
                                " has 0 to " + std::to_string(codec.lowest));
  }
  if (!options.matrix.empty() &&
      std::find(kMatrices.begin(), kMatrices.end(), options.matrix) == kMatrices.end()) {
    throw std::invalid_argument("matrix " + options.matrix + ": must be one of " +
                                Joined(kMatrices, [](std::string_view matrix) { return matrix; }));
  }
  const bool timed = options.time_base.num != 0;
  if (timed ? !IsPositive(options.time_base) : !IsPositive(options.frame_rate)) {
    throw std::invalid_argument(timed ? "time base: must be positive"
                                      : "frame rate: must be given and positive");
  }
  if (!IsPositive(options.pixel_aspect)) {
    throw std::invalid_argument("pixel aspect: must be positive");
  }
  if (!options.audio_from.empty() && !(options.seconds > 0)) {
    throw std::invalid_argument("sound: the duration of the clip must be given");
  }
}

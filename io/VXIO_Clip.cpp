// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO/VXIO_Clip.h"

extern "C" {
#include <libavutil/display.h>
}

#include <algorithm>
#include <array>
#include <cstdlib>

#include "VX/VX.hpp"
#include "VXIO_ClipColor.h"
#include "VXIO_ClipDecoder.h"
#include "VXIO_Formats.h"
#include "VXIO_InputFile.h"

namespace {

// Returns the EXIF orientation of a display matrix; 0 if it is not a quarter turn or reflection.
int32_t OrientationOf(const int32_t* matrix) {
  // Display x is matrix[0] * x + matrix[3] * y; display y is matrix[1] * x + matrix[4] * y.
  const int32_t a = matrix[0], b = matrix[1], c = matrix[3], d = matrix[4];
  auto none = [](int32_t x) { return std::abs(int64_t{x}) < 16; };  // elements are 16.16
  if (none(b) && none(c) && !none(a) && !none(d)) {
    return a > 0 ? (d > 0 ? 1 : 4) : (d > 0 ? 2 : 3);
  }
  if (none(a) && none(d) && !none(b) && !none(c)) {
    return b > 0 ? (c > 0 ? 5 : 6) : (c > 0 ? 8 : 7);
  }
  return 0;
}

// Describes how the colours differ from sRGB; empty if they do not.
std::string OtherColours(const AVCodecParameters& parameters) {
  static constexpr std::array<AVColorTransferCharacteristic, 2> kWide = {AVCOL_TRC_SMPTE2084,
                                                                         AVCOL_TRC_ARIB_STD_B67};
  static constexpr std::array<AVColorPrimaries, 7> kUsual = {
      AVCOL_PRI_BT709,     AVCOL_PRI_UNSPECIFIED, AVCOL_PRI_RESERVED0, AVCOL_PRI_RESERVED,
      AVCOL_PRI_SMPTE170M, AVCOL_PRI_SMPTE240M,   AVCOL_PRI_BT470BG};
  std::string difference;
  if (std::find(kUsual.begin(), kUsual.end(), parameters.color_primaries) == kUsual.end()) {
    difference = std::string("primaries ") + av_color_primaries_name(parameters.color_primaries);
  }
  if (std::find(kWide.begin(), kWide.end(), parameters.color_trc) != kWide.end()) {
    difference += difference.empty() ? "" : " and ";
    difference += std::string("transfer ") + av_color_transfer_name(parameters.color_trc);
  }
  return difference;
}

VXIO_Rational RationalOf(AVRational value, VXIO_Rational otherwise) {
  if (value.num <= 0 || value.den <= 0) return otherwise;
  return {value.num, value.den};
}

}  // namespace

struct VXIO_ClipReader::Impl {
  explicit Impl(const std::string& path);

  VXIO_ClipFrame MakeFrame(int32_t depth, VXIO_AlphaAs alpha);
  VXIOp_ClipPixels PixelsOfFrame() const;
  VXIO_Metadata MetadataOf(const VXIO_Picture& picture, std::optional<double> time) const;
  // Decodes the next frame. After the last one, sets the exact frame count and returns false.
  bool Next();

  VXIOp_ClipDecoder decoder;
  VXIOp_ClipColor color;
  VXIO_ClipInfo info;
  std::vector<std::string> warnings;  // will be returned with the next frame
};

VXIO_ClipReader::Impl::Impl(const std::string& path) : decoder(path), warnings(decoder.warnings()) {
  const AVCodecParameters& parameters = *decoder.file().stream().codecpar;
  info.path = path;
  info.format = decoder.file().FormatName();
  info.codec = avcodec_get_name(parameters.codec_id);
  const VXIOp_ClipPixels pixels =
      VXIOp_PixelsOf(path, decoder.DeclaredFormat(), parameters.color_space, parameters.color_range,
                     parameters.height);
  info.pixel_format = pixels.descriptor->name;
  info.bits = pixels.bits;
  info.depth = pixels.depth();
  info.has_alpha = pixels.has_alpha;
  info.matrix = pixels.MatrixName();
  info.matrix_tagged = pixels.matrix_tagged;
  info.full_range = pixels.full_range;
  info.frame_rate = RationalOf(decoder.file().FrameRate(), {0, 1});
  info.pixel_aspect = RationalOf(decoder.file().PixelAspect(), {1, 1});
  info.frames = decoder.file().DeclaredFrames();
  info.duration = decoder.file().DeclaredSeconds();
  size_t size = 0;
  const uint8_t* matrix =
      av_stream_get_side_data(&decoder.file().stream(), AV_PKT_DATA_DISPLAYMATRIX, &size);
  if (matrix && size >= 9 * sizeof(int32_t)) {
    info.orientation = OrientationOf(reinterpret_cast<const int32_t*>(matrix));
  }
  if (info.orientation == 0) {
    warnings.push_back(path + ": is to be shown turned by other than quarter turns, which is left "
                              "out");
    info.orientation = 1;
  }
  const bool turned = info.orientation >= 5;
  info.width = turned ? parameters.height : parameters.width;
  info.height = turned ? parameters.width : parameters.height;
  if (turned) std::swap(info.pixel_aspect.num, info.pixel_aspect.den);
  const std::string others = OtherColours(parameters);
  if (!others.empty()) {
    warnings.push_back(path + ": has the " + others + ", but its colours count as sRGB");
  }
}

bool VXIO_ClipReader::Impl::Next() {
  if (decoder.Next()) return true;
  info.frames = decoder.decoded();
  info.counted = true;
  return false;
}

// Derives the interpretation of the samples from the tags of the frame, or from those of the stream
// if the frame has none.
VXIOp_ClipPixels VXIO_ClipReader::Impl::PixelsOfFrame() const {
  const AVFrame& frame = decoder.frame();
  const AVCodecParameters& parameters = *decoder.file().stream().codecpar;
  const bool matrix = frame.colorspace != AVCOL_SPC_UNSPECIFIED;
  const bool range = frame.color_range != AVCOL_RANGE_UNSPECIFIED;
  return VXIOp_PixelsOf(info.path, static_cast<AVPixelFormat>(frame.format),
                        matrix ? frame.colorspace : parameters.color_space,
                        range ? frame.color_range : parameters.color_range, frame.height);
}

VXIO_Metadata VXIO_ClipReader::Impl::MetadataOf(const VXIO_Picture& picture,
                                                std::optional<double> time) const {
  auto kept = std::make_shared<VXIO_Metadata::Impl>();
  kept->spec = OIIO::ImageSpec(picture.world->width, picture.world->height,
                               picture.has_alpha ? 4 : 3, VXIOp_SampleType(info.depth));
  const bool linear = decoder.file().stream().codecpar->color_trc == AVCOL_TRC_LINEAR;
  kept->spec.attribute("oiio:ColorSpace", linear ? "Linear" : "sRGB");
  if (info.pixel_aspect.num != info.pixel_aspect.den) {
    kept->spec.attribute("PixelAspectRatio", static_cast<float>(info.pixel_aspect.num) /
                                                 static_cast<float>(info.pixel_aspect.den));
  }
  if (time) kept->spec.attribute("vx:Time", static_cast<float>(*time));
  return VXIO_Metadata(std::move(kept));
}

VXIO_ClipFrame VXIO_ClipReader::Impl::MakeFrame(int32_t depth, VXIO_AlphaAs alpha) {
  const VXIOp_LavLog::Capture capture(decoder.log());
  const AVFrame& frame = decoder.frame();
  VXIOp_CheckSize(info.path, frame.width, frame.height);
  const VXIOp_ClipPixels pixels = PixelsOfFrame();
  if (depth == 0) depth = info.depth;
  VXIO_ClipFrame made;
  made.number = decoder.decoded() - 1;
  made.time = decoder.file().SecondsOf(frame.best_effort_timestamp);
  VXIO_Picture& picture = made.picture;
  picture.alpha = pixels.has_alpha ? VXIO_AlphaKind::Straight : VXIO_AlphaKind::None;
  picture.has_alpha = pixels.has_alpha && alpha != VXIO_AlphaAs::Ignore;
  picture.warnings = std::exchange(warnings, {});
  picture.world = color.World(frame, pixels, info.orientation, depth, picture.has_alpha);
  if (picture.has_alpha && alpha == VXIO_AlphaAs::Premultiplied) {
    vx::unpremultiply(*picture.world);
  }
  picture.metadata = MetadataOf(picture, made.time);
  return made;
}

VXIO_ClipReader::VXIO_ClipReader(const std::string& path) : impl_(std::make_unique<Impl>(path)) {}
VXIO_ClipReader::VXIO_ClipReader(VXIO_ClipReader&& other) noexcept = default;
VXIO_ClipReader& VXIO_ClipReader::operator=(VXIO_ClipReader&& other) noexcept = default;
VXIO_ClipReader::~VXIO_ClipReader() = default;

const VXIO_ClipInfo& VXIO_ClipReader::info() const { return impl_->info; }

int64_t VXIO_ClipReader::position() const { return impl_->decoder.decoded(); }

std::optional<VXIO_ClipFrame> VXIO_ClipReader::Next(int32_t depth, VXIO_AlphaAs alpha) {
  if (!impl_->Next()) return std::nullopt;
  return impl_->MakeFrame(depth, alpha);
}

bool VXIO_ClipReader::Skip() { return impl_->Next(); }

std::optional<double> VXIO_ClipReader::time() const {
  return impl_->decoder.file().SecondsOf(impl_->decoder.frame().best_effort_timestamp);
}

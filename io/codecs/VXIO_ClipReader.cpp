// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
extern "C" {
#include <libavutil/display.h>
}

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <optional>

#include "VX/VX.hpp"
#include "VXIO_ClipColor.h"
#include "VXIO_ClipDecoder.h"
#include "VXIO_CodecTable.h"
#include "VXIO_InputFile.h"
#include "VXIO_Metadata.h"

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

class ClipReader final : public VXIO_ClipReader::Impl {
 public:
  explicit ClipReader(const std::string& path);

  const VXIO_ClipInfo& Info() const override { return info_; }
  int64_t Position() const override { return decoder_->decoded(); }
  void Seek(int64_t number) override;
  const std::vector<double>* Times() override;
  std::optional<VXIO_ClipFrame> Next(int32_t depth, VXIO_AlphaAs alpha) override;
  // After the last frame, sets the exact frame count and returns false.
  bool Skip() override;
  std::optional<double> Time() const override {
    return decoder_->file().SecondsOf(decoder_->frame().best_effort_timestamp);
  }

 private:
  VXIOp_ClipPixels PixelsOfFrame() const;
  VXIO_Metadata MetadataOf(const VXIO_Picture& picture, std::optional<double> time) const;

  const VXIOp_ClipIndex& Index();

  std::unique_ptr<VXIOp_ClipDecoder> decoder_;  // never null
  std::optional<VXIOp_ClipIndex> index_;        // made by the first use
  VXIOp_ClipColor color_;
  VXIO_ClipInfo info_;
  std::vector<std::string> warnings_;  // will be returned with the next frame
};

ClipReader::ClipReader(const std::string& path)
    : decoder_(std::make_unique<VXIOp_ClipDecoder>(path)), warnings_(decoder_->warnings()) {
  const AVCodecParameters& parameters = *decoder_->file().stream().codecpar;
  info_.path = path;
  info_.format = decoder_->file().FormatName();
  info_.codec = avcodec_get_name(parameters.codec_id);
  const VXIOp_ClipPixels pixels =
      VXIOp_PixelsOf(path, decoder_->DeclaredFormat(), parameters.color_space,
                     parameters.color_range, parameters.height);
  info_.pixel_format = pixels.descriptor->name;
  info_.bits = pixels.bits;
  info_.depth = pixels.depth();
  info_.has_alpha = pixels.has_alpha;
  info_.matrix = pixels.MatrixName();
  info_.matrix_tagged = pixels.matrix_tagged;
  info_.full_range = pixels.full_range;
  info_.frame_rate = RationalOf(decoder_->file().FrameRate(), {0, 1});
  info_.pixel_aspect = RationalOf(decoder_->file().PixelAspect(), {1, 1});
  info_.frames = decoder_->file().DeclaredFrames();
  info_.duration = decoder_->file().DeclaredSeconds();
  if (parameters.color_primaries != AVCOL_PRI_UNSPECIFIED) {
    info_.primaries = av_color_primaries_name(parameters.color_primaries);
  }
  if (parameters.color_trc != AVCOL_TRC_UNSPECIFIED) {
    info_.transfer = av_color_transfer_name(parameters.color_trc);
  }
  info_.time_base = RationalOf(decoder_->file().stream().time_base, {1, 1000});
  info_.sounds = decoder_->file().Sounds();
  info_.tags = decoder_->file().Tags();
  size_t size = 0;
  const uint8_t* matrix =
      av_stream_get_side_data(&decoder_->file().stream(), AV_PKT_DATA_DISPLAYMATRIX, &size);
  if (matrix && size >= 9 * sizeof(int32_t)) {
    info_.orientation = OrientationOf(reinterpret_cast<const int32_t*>(matrix));
  }
  if (info_.orientation == 0) {
    warnings_.push_back(path + ": is to be shown turned by other than quarter turns, which is left "
                               "out");
    info_.orientation = 1;
  }
  const bool turned = info_.orientation >= 5;
  info_.width = turned ? parameters.height : parameters.width;
  info_.height = turned ? parameters.width : parameters.height;
  if (turned) std::swap(info_.pixel_aspect.num, info_.pixel_aspect.den);
  const std::string others = OtherColours(parameters);
  if (!others.empty()) {
    warnings_.push_back(path + ": has the " + others + ", but its colours count as sRGB");
  }
}

bool ClipReader::Skip() {
  if (decoder_->Next()) return true;
  info_.frames = decoder_->decoded();
  info_.counted = true;
  return false;
}

const VXIOp_ClipIndex& ClipReader::Index() {
  if (!index_) index_.emplace(info_.path);
  return *index_;
}

const std::vector<double>* ClipReader::Times() {
  return Index().is_empty() ? nullptr : &Index().seconds();
}

void ClipReader::Seek(int64_t number) {
  if (number == Position()) return;
  const auto count = static_cast<int64_t>(Index().stamps().size());
  if (number < count) {
    const VXIOp_ClipIndex::Key& key = Index().KeyBefore(number);
    const bool forward = number > Position() && key.frame <= Position();
    const int64_t stamp = Index().stamps()[static_cast<size_t>(number)];
    if (!forward && decoder_->SeekTo(key, number, stamp)) return;
    // The index is wrong, or there is no key frame on the way.
    if (!forward) decoder_ = std::make_unique<VXIOp_ClipDecoder>(info_.path);
  } else if (number < Position()) {
    decoder_ = std::make_unique<VXIOp_ClipDecoder>(info_.path);
  }
  while (Position() < number && Skip()) {
  }
}

// Derives the interpretation of the samples from the tags of the frame, or from those of the stream
// if the frame has none.
VXIOp_ClipPixels ClipReader::PixelsOfFrame() const {
  const AVFrame& frame = decoder_->frame();
  const AVCodecParameters& parameters = *decoder_->file().stream().codecpar;
  const bool matrix = frame.colorspace != AVCOL_SPC_UNSPECIFIED;
  const bool range = frame.color_range != AVCOL_RANGE_UNSPECIFIED;
  return VXIOp_PixelsOf(info_.path, static_cast<AVPixelFormat>(frame.format),
                        matrix ? frame.colorspace : parameters.color_space,
                        range ? frame.color_range : parameters.color_range, frame.height);
}

VXIO_Metadata ClipReader::MetadataOf(const VXIO_Picture& picture,
                                     std::optional<double> time) const {
  auto kept = std::make_shared<VXIO_Metadata::Impl>();
  kept->spec = OIIO::ImageSpec(picture.world->width, picture.world->height,
                               picture.has_alpha ? 4 : 3, VXIOp_SampleType(info_.depth));
  const bool linear = decoder_->file().stream().codecpar->color_trc == AVCOL_TRC_LINEAR;
  kept->spec.attribute("oiio:ColorSpace", linear ? "Linear" : "sRGB");
  if (info_.pixel_aspect.num != info_.pixel_aspect.den) {
    kept->spec.attribute("PixelAspectRatio", static_cast<float>(info_.pixel_aspect.num) /
                                                 static_cast<float>(info_.pixel_aspect.den));
  }
  if (time) kept->spec.attribute("vx:Time", static_cast<float>(*time));
  return VXIO_Metadata(std::move(kept));
}

std::optional<VXIO_ClipFrame> ClipReader::Next(int32_t depth, VXIO_AlphaAs alpha) {
  if (!Skip()) return std::nullopt;
  const VXIOp_LavLog::Capture capture(decoder_->log());
  const AVFrame& frame = decoder_->frame();
  VXIOp_CheckSize(info_.path, frame.width, frame.height);
  const VXIOp_ClipPixels pixels = PixelsOfFrame();
  if (depth == 0) depth = info_.depth;
  VXIO_ClipFrame made;
  made.number = decoder_->decoded() - 1;
  made.time = decoder_->file().SecondsOf(frame.best_effort_timestamp);
  VXIO_Picture& picture = made.picture;
  picture.alpha = pixels.has_alpha ? VXIO_AlphaKind::Straight : VXIO_AlphaKind::None;
  picture.has_alpha = pixels.has_alpha && alpha != VXIO_AlphaAs::Ignore;
  picture.warnings = std::exchange(warnings_, {});
  picture.world = color_.World(frame, pixels, info_.orientation, depth, picture.has_alpha);
  if (picture.has_alpha && alpha == VXIO_AlphaAs::Premultiplied) {
    vx::unpremultiply(*picture.world);
  }
  picture.metadata = MetadataOf(picture, made.time);
  return made;
}

}  // namespace

std::unique_ptr<VXIO_ClipReader::Impl> VXIOp_OpenClip(const std::string& path) {
  return std::make_unique<ClipReader>(path);
}

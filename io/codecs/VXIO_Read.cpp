// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <cstring>

#include <webp/decode.h>

#include <OpenImageIO/filesystem.h>

#include "VXIO_CodecTable.h"
#include "VXIO_InputFile.h"
#include "VXIO_Jpeg.h"
#include "VXIO_Open.h"
#include "VXIO_Samples.h"
#include "VXIO_TiffLog.h"
#include "VXIO_Windows.h"

namespace {

// Samples are read in bands of rows. This limits the reader's buffer, and if the size in a header
// is false, reading fails before all memory of the world is used.
constexpr int64_t kBandBytes = 32 << 20;

struct Band {
  int32_t y_begin, y_end;  // rows of the file, [y_begin, y_end)
  int first_channel, channels;
  const void* samples;
};

// Stores the pixels of a band. Returns how many have alpha 0 and a colour other than black: a
// division by alpha would lose these colours.
template <class Pixel>
int64_t Unpack(const Band& band, const VXIOp_Channels& at, int32_t width,
               const VXIOp_Placement& place) {
  using Sample = typename vx::PixelTraits<Pixel>::Channel;
  const Sample* from = static_cast<const Sample*>(band.samples);
  const int red = at.red - band.first_channel, green = at.green - band.first_channel;
  const int blue = at.blue - band.first_channel;
  const int alpha = at.alpha < 0 ? -1 : at.alpha - band.first_channel;
  int64_t colours_to_lose = 0;
  // Opaque pixels whose colours are stored in the order of a pixel, without a conversion.
  const bool copies =
      !std::is_same_v<Sample, uint16_t> && alpha < 0 && green == red + 1 && blue == red + 2;
  for (int32_t y = band.y_begin; y < band.y_end; ++y) {
    char* to = place.origin + y * place.step_y;
    if (copies) {
      constexpr Sample kOpaque = vx::PixelTraits<Pixel>::full_scale;
      for (int32_t x = 0; x < width; ++x, from += band.channels, to += place.step_x) {
        std::memcpy(to + offsetof(Pixel, alpha), &kOpaque, sizeof kOpaque);
        std::memcpy(to + offsetof(Pixel, red), from + red, 3 * sizeof kOpaque);
      }
      continue;
    }
    for (int32_t x = 0; x < width; ++x, from += band.channels, to += place.step_x) {
      Pixel pixel;
      pixel.red = VXIOp_ChannelOfSample(from[red]);
      pixel.green = VXIOp_ChannelOfSample(from[green]);
      pixel.blue = VXIOp_ChannelOfSample(from[blue]);
      pixel.alpha =
          alpha < 0 ? vx::PixelTraits<Pixel>::full_scale : VXIOp_ChannelOfSample(from[alpha]);
      colours_to_lose +=
          pixel.alpha == 0 && (pixel.red != 0 || pixel.green != 0 || pixel.blue != 0);
      std::memcpy(to, &pixel, sizeof pixel);
    }
  }
  return colours_to_lose;
}

// Reads bands of samples through OpenImageIO, JPEG through libjpeg.
class BandReader {
 public:
  explicit BandReader(VXIOp_Open* open) : open_(open) {
    if (std::string_view(open->format->name) == "jpeg") {
      jpeg_ = std::make_unique<VXIOp_JpegReader>(open->path);
    }
    if (std::string_view(open->format->name) == "webp") DecodeWebP();
    // OpenImageIO decodes whole strips of deflate data itself and ignores errors in them. For
    // single rows it calls libtiff.
    row_by_row_ = std::string_view(open->format->name) == "tiff" &&
                  open->spec.get_string_attribute("planarconfig") == "contig";
  }

  // Throws VXIO_Error (Input) for data that are missing or cannot be decoded.
  void Read(const Band& band, OIIO::TypeDesc type, void* samples) {
    if (jpeg_) {
      jpeg_->Read(band.y_end - band.y_begin, static_cast<uint8_t*>(samples));
      return;
    }
    if (webp_) {
      const size_t row =
          static_cast<size_t>(open_->spec.width) * static_cast<size_t>(open_->spec.nchannels);
      std::memcpy(samples, webp_.get() + static_cast<size_t>(band.y_begin) * row,
                  static_cast<size_t>(band.y_end - band.y_begin) * row);
      return;
    }
    const bool ok = Fetch(band, type, static_cast<char*>(samples));
    // Some decoders fill missing parts with grey and report success; only the message shows it.
    std::string why = open_->input->geterror();
    if (!ok || !why.empty()) {
      VXIOp_ThrowInput(open_->path, "is truncated or damaged; make or fetch the file again (" +
                                        VXIOp_FirstLine(why) + ")");
    }
  }

  // Call it after the last band. Returns the first warning of the decoder, or an empty string.
  std::string Finish() { return jpeg_ ? jpeg_->Finish() : tiff_log_.first(); }

 private:
  bool Fetch(const Band& band, OIIO::TypeDesc type, char* samples) {
    const OIIO::ImageSpec& spec = open_->spec;
    const size_t sample_bytes = type.size();
    // Without a conversion OpenImageIO decodes to `samples`; else to a buffer of up to 64 MB, which
    // it allocates for each call.
    if (spec.format == type && spec.channelformats.empty()) type = OIIO::TypeDesc::UNKNOWN;
    const int last = band.first_channel + band.channels;
    const int top = spec.y + band.y_begin, bottom = spec.y + band.y_end;
    if (spec.tile_width != 0) {
      return open_->input->read_tiles(open_->part, 0, spec.x, spec.x + spec.width, top, bottom,
                                      spec.z, spec.z + 1, band.first_channel, last, type, samples);
    }
    const int rows = row_by_row_ ? 1 : bottom - top;
    const size_t row_bytes =
        static_cast<size_t>(spec.width) * static_cast<size_t>(band.channels) * sample_bytes;
    bool ok = true;
    for (int y = top; ok && y < bottom; y += rows, samples += row_bytes) {
      ok = open_->input->read_scanlines(open_->part, 0, y, y + rows, spec.z, band.first_channel,
                                        last, type, samples);
    }
    return ok;
  }

  // OpenImageIO multiplies the 8-bit colours of a WebP by alpha, so libwebp decodes the pixels.
  void DecodeWebP() {
    const auto size = static_cast<size_t>(OIIO::Filesystem::file_size(open_->path));
    const std::string data = VXIOp_Head(open_->path, size);
    const auto* bytes = reinterpret_cast<const uint8_t*>(data.data());
    int width = 0, height = 0;
    webp_.reset(open_->spec.nchannels == 4 ? WebPDecodeRGBA(bytes, data.size(), &width, &height)
                                           : WebPDecodeRGB(bytes, data.size(), &width, &height));
    if (!webp_ || width != open_->spec.width || height != open_->spec.height) {
      VXIOp_ThrowInput(open_->path, "is truncated or damaged, or an animation");
    }
  }

  VXIOp_Open* open_;
  std::unique_ptr<VXIOp_JpegReader> jpeg_;
  std::unique_ptr<uint8_t, decltype(&WebPFree)> webp_{nullptr, &WebPFree};
  VXIOp_TiffLog tiff_log_;
  bool row_by_row_ = false;
};

template <class Pixel>
int64_t ReadPixels(VXIOp_Open* open, vx::View<Pixel> view) {
  using Sample = typename vx::PixelTraits<Pixel>::Channel;
  const OIIO::ImageSpec& spec = open->spec;
  const VXIOp_Channels& at = open->channels;
  const int alpha = at.alpha < 0 ? at.red : at.alpha;
  const bool whole = std::string_view(open->format->name) == "webp";  // decoded with all channels
  const int first = whole ? 0 : std::min({at.red, at.green, at.blue, alpha});
  const int count =
      whole ? spec.nchannels : std::max({at.red, at.green, at.blue, alpha}) + 1 - first;
  const int64_t row_bytes = int64_t{spec.width} * count * static_cast<int64_t>(sizeof(Sample));
  // Tiles can only be read whole, so bands begin and end at tile edges.
  const int64_t unit = spec.tile_width == 0 ? 1 : std::max(1, spec.tile_height);
  const int64_t rows = std::clamp<int64_t>(kBandBytes / row_bytes / unit * unit, unit, spec.height);
  std::vector<Sample> samples(
      static_cast<size_t>(rows * row_bytes / static_cast<int64_t>(sizeof(Sample))));
  const VXIOp_Placement place = VXIOp_PlacementOf(view, open->orientation);
  BandReader reader(open);
  int64_t colours_to_lose = 0;
  for (int64_t y = 0; y < spec.height; y += rows) {
    Band band{static_cast<int32_t>(y),
              static_cast<int32_t>(std::min<int64_t>(y + rows, spec.height)), first, count,
              samples.data()};
    reader.Read(band, OIIO::TypeDesc(OIIO::BaseTypeFromC<Sample>::value), samples.data());
    colours_to_lose += Unpack<Pixel>(band, at, spec.width, place);
  }
  const std::string warning = reader.Finish();
  if (!warning.empty()) {
    open->warnings.push_back(open->path + ": is damaged, and some pixels may be wrong (" +
                             VXIOp_FirstLine(warning) + ")");
  }
  return colours_to_lose;
}

// Fills everything except the pixels.
VXIO_Picture HeaderOf(VXIOp_Open* open) {
  VXIO_Picture picture;
  picture.alpha = open->alpha;
  picture.has_alpha = open->channels.alpha >= 0;
  auto kept = std::make_shared<VXIO_Metadata::Impl>();
  kept->spec = open->spec;
  kept->format = open->format;
  kept->windows = open->format->windows;
  if (kept->windows || open->turned()) VXIOp_SetWindows(open->windows(), &kept->spec);
  picture.metadata = VXIO_Metadata(std::move(kept));
  picture.warnings = open->warnings;
  return picture;
}

std::string ProfileName(const OIIO::ImageSpec& spec) {
  return std::string(spec.get_string_attribute("ICCProfile:profile_description"));
}

}  // namespace

VXIO_Info VXIOp_ReadInfo(const std::string& path) {
  VXIOp_Open open = VXIOp_OpenPicture(path);
  VXIO_Info info;
  info.path = path;
  info.format = open.format->name;
  info.width = open.width();
  info.height = open.height();
  info.windows = open.windows();
  info.channels = open.spec.channelnames;
  info.sample_type = open.spec.format.c_str();
  info.bits = open.spec.get_int_attribute("oiio:BitsPerSample",
                                          static_cast<int>(open.spec.format.size()) * 8);
  info.depth = open.depth;
  info.alpha = open.alpha;
  info.orientation = open.orientation;
  info.parts = open.parts;
  info.layers = open.layers;
  info.has_profile = open.spec.find_attribute("ICCProfile") != nullptr;
  info.profile = ProfileName(open.spec);
  for (const OIIO::ParamValue& entry : open.spec.extra_attribs) {
    std::string name = entry.name().string();
    if (name.starts_with("ICCProfile") || name.starts_with("oiio:")) continue;
    info.metadata.emplace_back(name, entry.get_string(/*maxsize=*/64));
  }
  return info;
}

VXIO_Picture VXIOp_Read(const std::string& path, int32_t depth, VXIO_AlphaAs alpha) {
  VXIOp_Open open = VXIOp_OpenPicture(path);
  const bool divides =
      open.alpha != VXIO_AlphaKind::None &&
      (alpha == VXIO_AlphaAs::Premultiplied ||
       (alpha == VXIO_AlphaAs::File && open.alpha == VXIO_AlphaKind::Premultiplied));
  if (alpha == VXIO_AlphaAs::Ignore) open.channels.alpha = -1;
  // 16-bit samples are read directly into a float world: the scale 0..32768 would lose one bit.
  int32_t own = depth == 32 && open.depth == 16 ? 32 : open.depth;
  vx::Image image = vx::Image::uninitialized(open.width(), open.height(), own);
  const int64_t colours_to_lose = VXIOp_WithMemoryErrors(
      [&] { return vx::visit(image, [&](auto view) { return ReadPixels(&open, view); }); });
  VXIO_Picture picture = HeaderOf(&open);
  picture.world = image.release();
  // The depth is converted before the division by alpha, which is more precise at the larger depth.
  if (depth > own) picture.world = VXIO_ConvertDepth(std::move(picture.world), depth);
  if (divides) {
    vx::unpremultiply(*picture.world);
    if (colours_to_lose > 0) {
      picture.warnings.push_back(path + ": " + std::to_string(colours_to_lose) +
                                 " pixels have light but no coverage, which straight alpha "
                                 "cannot hold; they become black");
    }
  }
  open.input->close();
  if (depth != 0) picture.world = VXIO_ConvertDepth(std::move(picture.world), depth);
  return picture;
}

VXIO_Picture VXIOp_ReadHeader(const std::string& path) {
  VXIOp_Open open = VXIOp_OpenPicture(path);
  return HeaderOf(&open);
}

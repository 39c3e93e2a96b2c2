// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO_ClipColor.h"

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
}

#include <algorithm>
#include <cstring>
#include <vector>

#include "VXIO_InputFile.h"
#include "VXIO_Samples.h"

namespace {

using Kind = VXIOp_ClipPixels::Kind;
using Samples = std::vector<uint16_t>;

// --- interpretation of samples -------------------------------------------------------------------

constexpr VXIOp_MatrixWeights kWeights[] = {{AVCOL_SPC_BT709, "bt709", 0.2126, 0.0722},
                                            {AVCOL_SPC_SMPTE170M, "bt601", 0.299, 0.114},
                                            {AVCOL_SPC_BT470BG, "bt601", 0.299, 0.114},
                                            {AVCOL_SPC_BT2020_NCL, "bt2020", 0.2627, 0.0593},
                                            {AVCOL_SPC_FCC, "fcc", 0.30, 0.11},
                                            {AVCOL_SPC_SMPTE240M, "smpte240m", 0.212, 0.087},
                                            {AVCOL_SPC_YCGCO, "ycgco", 0, 0}};

template <class Matches>
const VXIOp_MatrixWeights* FindMatrix(Matches matches) {
  const auto* found = std::find_if(std::begin(kWeights), std::end(kWeights), matches);
  return found == std::end(kWeights) ? nullptr : found;
}

bool IsTag(AVColorSpace matrix) {
  return matrix != AVCOL_SPC_UNSPECIFIED && matrix != AVCOL_SPC_RESERVED && matrix != AVCOL_SPC_RGB;
}

bool IsFullRangeKind(AVPixelFormat format) {
  return format == AV_PIX_FMT_YUVJ420P || format == AV_PIX_FMT_YUVJ422P ||
         format == AV_PIX_FMT_YUVJ444P || format == AV_PIX_FMT_YUVJ440P ||
         format == AV_PIX_FMT_YUVJ411P;
}

// The conversion of 16-bit luma y and chroma u, v to channels 0..1. With the two coefficients k of
// a channel (`red`, `green` or `blue`), the channel is
//
//   (y - black) / luma_span + (k[0] * (u - 32768) + k[1] * (v - 32768)) / chroma_span
struct YuvRule {
  float black = 0, luma_span = 1, chroma_span = 1;
  float red[2], green[2], blue[2];
};

YuvRule RuleOf(const VXIOp_ClipPixels& pixels) {
  YuvRule rule{};
  if (pixels.full_range) {
    // Samples are shifted to the upper bits of 16-bit values, and so is the largest sample value.
    const int32_t bits = pixels.descriptor->comp[0].depth;
    rule.luma_span = rule.chroma_span = static_cast<float>(((1 << bits) - 1) << (16 - bits));
  } else {
    rule.black = 16 << 8;
    rule.luma_span = 219 << 8;
    rule.chroma_span = 224 << 8;
  }
  const VXIOp_MatrixWeights* found = VXIOp_FindMatrix(pixels.matrix);
  if (!found) return rule;  // grey
  if (found->matrix == AVCOL_SPC_YCGCO) {
    rule.red[0] = rule.blue[0] = rule.blue[1] = -1;
    rule.red[1] = rule.green[0] = 1;
    return rule;
  }
  const double green = 1 - found->red - found->blue;
  const double to_red = 2 * (1 - found->red), to_blue = 2 * (1 - found->blue);
  rule.red[1] = static_cast<float>(to_red);
  rule.blue[0] = static_cast<float>(to_blue);
  rule.green[0] = static_cast<float>(-to_blue * found->blue / green);
  rule.green[1] = static_cast<float>(-to_red * found->red / green);
  return rule;
}

// --- samples to channels -------------------------------------------------------------------------

// Converts 0..1 to a channel: clamped and rounded to nearest at integer depths, unchanged for
// float.
template <class Channel>
Channel ChannelOfValue(float value, Channel full) {
  return static_cast<Channel>(std::clamp(value, 0.0f, 1.0f) * static_cast<float>(full) + 0.5f);
}
float ChannelOfValue(float value, float) { return value; }

// Converts a sample 0..most to a channel 0..full scale. Samples of up to 8 bits are converted to
// 8-bit channels, deeper samples to 16-bit or float channels.
uint8_t ChannelOfCode(uint32_t code, uint32_t most, uint8_t) {
  return static_cast<uint8_t>((code * 255 + most / 2) / most);
}
uint16_t ChannelOfCode(uint32_t code, uint32_t most, uint16_t) {
  return VXIOp_ChannelOfSample(static_cast<uint16_t>((code * 65535ull + most / 2) / most));
}
float ChannelOfCode(uint32_t code, uint32_t most, float) {
  return static_cast<float>(code) / static_cast<float>(most);
}

template <class Pixel>
void ConvertYuvRow(const YuvRule& rule, const uint16_t* y, const uint16_t* u, const uint16_t* v,
                   int32_t width, Pixel* to) {
  constexpr auto kFull = vx::PixelTraits<Pixel>::full_scale;
  for (int32_t x = 0; x < width; ++x) {
    const float luma = (static_cast<float>(y[x]) - rule.black) / rule.luma_span;
    const float cb = (static_cast<float>(u[x]) - 32768.0f) / rule.chroma_span;
    const float cr = (static_cast<float>(v[x]) - 32768.0f) / rule.chroma_span;
    to[x].red = ChannelOfValue(luma + (rule.red[0] * cb + rule.red[1] * cr), kFull);
    to[x].green = ChannelOfValue(luma + (rule.green[0] * cb + rule.green[1] * cr), kFull);
    to[x].blue = ChannelOfValue(luma + (rule.blue[0] * cb + rule.blue[1] * cr), kFull);
  }
}

// Reads one component of a row.
void ReadSamples(const AVFrame& frame, const VXIOp_ClipPixels& pixels, int32_t y, int component,
                 Samples* to) {
  const uint8_t* data[4] = {frame.data[0], frame.data[1], frame.data[2], frame.data[3]};
  av_read_image_line(to->data(), data, frame.linesize, pixels.descriptor, 0, y, component,
                     frame.width,
                     /*read_pal_component=*/0);
  if (pixels.format != AV_PIX_FMT_MONOWHITE) return;
  for (uint16_t& sample : *to) sample ^= 1;
}

// Converts rows of a frame with RGB or full-range grey samples.
template <class Pixel>
class CodeRows {
 public:
  CodeRows(const AVFrame& frame, const VXIOp_ClipPixels& pixels)
      : frame_(frame), pixels_(pixels), samples_(static_cast<size_t>(frame.width)) {}

  void Colours(int32_t y, Pixel* to) {
    if (pixels_.format == AV_PIX_FMT_PAL8) return Palette(y, to);
    if (pixels_.kind == Kind::Grey) {
      Read(y, 0, to, &Pixel::red);
      for (int32_t x = 0; x < frame_.width; ++x) to[x].green = to[x].blue = to[x].red;
      return;
    }
    Read(y, 0, to, &Pixel::red);
    Read(y, 1, to, &Pixel::green);
    Read(y, 2, to, &Pixel::blue);
  }

  void Alpha(int32_t y, Pixel* to) {
    if (pixels_.format == AV_PIX_FMT_PAL8) return;  // Palette has set it already
    Read(y, pixels_.descriptor->nb_components - 1, to, &Pixel::alpha);
  }

 private:
  using Channel = typename vx::PixelTraits<Pixel>::Channel;

  void Read(int32_t y, int component, Pixel* to, Channel Pixel::*channel) {
    ReadSamples(frame_, pixels_, y, component, &samples_);
    const uint32_t most = (1u << pixels_.descriptor->comp[component].depth) - 1;
    for (int32_t x = 0; x < frame_.width; ++x) {
      to[x].*channel = ChannelOfCode(samples_[static_cast<size_t>(x)], most, Channel{});
    }
  }

  void Palette(int32_t y, Pixel* to) {
    ReadSamples(frame_, pixels_, y, 0, &samples_);
    for (int32_t x = 0; x < frame_.width; ++x) {
      uint32_t entry;
      std::memcpy(&entry, frame_.data[1] + samples_[static_cast<size_t>(x)] * sizeof entry,
                  sizeof entry);
      to[x].alpha = ChannelOfCode(entry >> 24, 255, Channel{});
      to[x].red = ChannelOfCode(entry >> 16 & 255, 255, Channel{});
      to[x].green = ChannelOfCode(entry >> 8 & 255, 255, Channel{});
      to[x].blue = ChannelOfCode(entry & 255, 255, Channel{});
    }
  }

  const AVFrame& frame_;
  const VXIOp_ClipPixels& pixels_;
  Samples samples_;
};

// Converts rows of a frame with luma and chroma samples, or with limited-range luma only.
template <class Pixel>
class YuvRows {
 public:
  // `full` contains luma and full-resolution chroma; null for luma only.
  YuvRows(const AVFrame& frame, const VXIOp_ClipPixels& pixels, const AVFrame* full)
      : frame_(frame),
        pixels_(pixels),
        full_(full),
        rule_(RuleOf(pixels)),
        samples_(static_cast<size_t>(frame.width)) {
    if (!full) neutral_.assign(samples_.size(), 32768);
  }

  void Colours(int32_t y, Pixel* to) {
    const uint16_t* planes[3];
    for (size_t i = 0; full_ && i < 3; ++i) {
      planes[i] =
          reinterpret_cast<const uint16_t*>(full_->data[i] + ptrdiff_t{y} * full_->linesize[i]);
    }
    if (!full_) {
      ReadSamples(frame_, pixels_, y, 0, &samples_);
      for (uint16_t& code : samples_) {
        code = static_cast<uint16_t>(code << (16 - pixels_.descriptor->comp[0].depth));
      }
      planes[0] = samples_.data();
      planes[1] = planes[2] = neutral_.data();
    }
    ConvertYuvRow(rule_, planes[0], planes[1], planes[2], frame_.width, to);
  }

  void Alpha(int32_t y, Pixel* to) {
    const int component = pixels_.descriptor->nb_components - 1;
    ReadSamples(frame_, pixels_, y, component, &samples_);
    const auto most = static_cast<float>((1 << pixels_.descriptor->comp[component].depth) - 1);
    for (int32_t x = 0; x < frame_.width; ++x) {
      const float value = static_cast<float>(samples_[static_cast<size_t>(x)]) / most;
      to[x].alpha = ChannelOfValue(value, vx::PixelTraits<Pixel>::full_scale);
    }
  }

 private:
  const AVFrame& frame_;
  const VXIOp_ClipPixels& pixels_;
  const AVFrame* full_;
  YuvRule rule_;
  Samples samples_, neutral_;
};

template <class Pixel, class Rows>
void StoreRows(Rows rows, const AVFrame& frame, const VXIOp_Placement& place, bool with_alpha) {
  std::vector<Pixel> row(static_cast<size_t>(frame.width));
  for (int32_t y = 0; y < frame.height; ++y) {
    rows.Colours(y, row.data());
    if (with_alpha) {
      rows.Alpha(y, row.data());
    } else {
      for (Pixel& pixel : row) pixel.alpha = vx::PixelTraits<Pixel>::full_scale;
    }
    char* to = place.origin + y * place.step_y;
    if (place.step_x == ptrdiff_t{sizeof(Pixel)}) {
      std::memcpy(to, row.data(), row.size() * sizeof(Pixel));
      continue;
    }
    for (const Pixel& pixel : row) {
      std::memcpy(to, &pixel, sizeof pixel);
      to += place.step_x;
    }
  }
}

// --- chroma --------------------------------------------------------------------------------------

// Position of the first chroma sample, in 1/256 of the distance between luma samples.
struct Siting {
  int across, down;
};

Siting SitingOf(AVChromaLocation location) {
  switch (location) {
    case AVCHROMA_LOC_CENTER: return {128, 128};
    case AVCHROMA_LOC_TOPLEFT: return {0, 0};
    case AVCHROMA_LOC_TOP: return {128, 0};
    case AVCHROMA_LOC_BOTTOMLEFT: return {0, 256};
    case AVCHROMA_LOC_BOTTOM: return {128, 256};
    default: return {0, 128};  // left
  }
}

void CheckLav(int error) {
  if (error < 0)
    throw vx::Error(vx::ErrorCode::out_of_memory);  // all other errors were excluded before
}

int RoundedUp(int size, int log2_unit) {
  const int unit = 1 << log2_unit;
  return (size + unit - 1) / unit * unit;
}

}  // namespace

const VXIOp_MatrixWeights* VXIOp_FindMatrix(AVColorSpace matrix) {
  return FindMatrix([&](const VXIOp_MatrixWeights& weights) { return weights.matrix == matrix; });
}

const VXIOp_MatrixWeights* VXIOp_FindMatrix(std::string_view name) {
  return FindMatrix([&](const VXIOp_MatrixWeights& weights) { return weights.name == name; });
}

std::string VXIOp_ClipPixels::MatrixName() const {
  if (kind != Kind::Yuv) return kind == Kind::Grey ? "grey" : "rgb";
  return VXIOp_FindMatrix(matrix)->name;
}

VXIOp_ClipPixels VXIOp_PixelsOf(const std::string& path, AVPixelFormat format, AVColorSpace matrix,
                                AVColorRange range, int32_t height) {
  if (format == AV_PIX_FMT_NONE) {
    VXIOp_ThrowInput(path, "is truncated or damaged before its first frame; make or fetch the file "
                           "again");
  }
  VXIOp_ClipPixels pixels;
  pixels.format = format;
  pixels.descriptor = av_pix_fmt_desc_get(format);
  constexpr uint64_t kNotRead =
      AV_PIX_FMT_FLAG_HWACCEL | AV_PIX_FMT_FLAG_BAYER | AV_PIX_FMT_FLAG_FLOAT;
  const bool xyz = format == AV_PIX_FMT_XYZ12LE || format == AV_PIX_FMT_XYZ12BE;
  if (!pixels.descriptor || (pixels.descriptor->flags & kNotRead) || xyz ||
      !sws_isSupportedInput(format)) {
    VXIOp_ThrowInput(path, std::string("its pixels, of the form ") +
                               (pixels.descriptor ? pixels.descriptor->name : "a newer libav") +
                               ", are not read; convert it to YUV or RGB first");
  }
  const AVPixFmtDescriptor& descriptor = *pixels.descriptor;
  for (int i = 0; i < descriptor.nb_components; ++i) {
    pixels.bits = std::max<int32_t>(i == 0 ? 0 : pixels.bits, descriptor.comp[i].depth);
  }
  pixels.has_alpha = descriptor.flags & AV_PIX_FMT_FLAG_ALPHA;
  const bool rgb = descriptor.flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL);
  pixels.kind = rgb ? Kind::Rgb : descriptor.nb_components < 3 ? Kind::Grey : Kind::Yuv;
  if (pixels.kind != Kind::Yuv) {
    pixels.full_range = rgb || range != AVCOL_RANGE_MPEG;
    return pixels;
  }
  pixels.full_range = range == AVCOL_RANGE_JPEG || IsFullRangeKind(format);
  pixels.matrix_tagged = IsTag(matrix);
  const bool tall = height > kVXIOp_TallestStandardDefinition;
  pixels.matrix = pixels.matrix_tagged ? matrix : tall ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M;
  if (!VXIOp_FindMatrix(pixels.matrix)) {
    VXIOp_ThrowInput(path, std::string("colours by the matrix ") + av_color_space_name(matrix) +
                               " are not read; convert it to BT.709 first");
  }
  return pixels;
}

VXIOp_ClipColor::FramePtr VXIOp_ClipColor::NewFrame(int format, int width, int height) {
  FramePtr frame(av_frame_alloc());
  if (!frame) throw vx::Error(vx::ErrorCode::out_of_memory);
  frame->format = format;
  frame->width = width;
  frame->height = height;
  CheckLav(av_frame_get_buffer(frame.get(), /*align=*/0));
  for (const AVBufferRef* buffer : frame->buf) {
    if (buffer) std::memset(buffer->data, 0, buffer->size);
  }
  return frame;
}

const AVFrame& VXIOp_ClipColor::FullChroma(const AVFrame& frame) {
  const Geometry wanted = {frame.format, frame.width, frame.height, frame.chroma_location};
  if (!scaler_ || !(made_for_ == wanted)) {
    made_for_ = {};  // stays empty if a call below throws
    scaler_.reset(sws_alloc_context());
    if (!scaler_) throw vx::Error(vx::ErrorCode::out_of_memory);
    // libswscale derives the distance of chroma samples from the sizes of the planes, so the size
    // must be a multiple of that of a chroma sample.
    const AVPixFmtDescriptor& descriptor =
        *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    const int width = RoundedUp(frame.width, descriptor.log2_chroma_w);
    const int height = RoundedUp(frame.height, descriptor.log2_chroma_h);
    full_ = NewFrame(AV_PIX_FMT_YUV444P16, width, height);
    padded_.reset();
    if (width != frame.width || height != frame.height) {
      padded_ = NewFrame(frame.format, width, height);
    }
    const Siting siting = SitingOf(frame.chroma_location);
    const std::pair<const char*, int> options[] = {
        {"srcw", width},
        {"srch", height},
        {"src_format", frame.format},
        {"dstw", width},
        {"dsth", height},
        {"dst_format", full_->format},
        {"src_h_chr_pos", siting.across},
        {"src_v_chr_pos", siting.down},
        {"sws_flags", SWS_BICUBIC | SWS_ACCURATE_RND | SWS_BITEXACT}};
    for (const auto& [name, value] : options) {
      CheckLav(av_opt_set_int(scaler_.get(), name, value, 0));
    }
    CheckLav(av_opt_set(scaler_.get(), "sws_dither", "none", 0));
    CheckLav(sws_init_context(scaler_.get(), nullptr, nullptr));
    // Equal ranges for source and destination disable the range conversion: samples are only
    // shifted.
    const int* any = sws_getCoefficients(SWS_CS_DEFAULT);
    static_cast<void>(sws_setColorspaceDetails(scaler_.get(), any, 0, any, 0, 0, 1 << 16, 1 << 16));
    made_for_ = wanted;
  }
  const AVFrame* from = &frame;
  if (padded_) {
    // The added pixels stay 0. They change only pixels outside of the picture.
    av_image_copy(padded_->data, padded_->linesize, const_cast<const uint8_t**>(frame.data),
                  frame.linesize, static_cast<AVPixelFormat>(frame.format), frame.width,
                  frame.height);
    from = padded_.get();
  }
  const int rows = sws_scale(scaler_.get(), from->data, from->linesize, 0, full_->height,
                             full_->data, full_->linesize);
  if (rows != full_->height) throw vx::Error(vx::ErrorCode::out_of_memory);
  return *full_;
}

template <class Pixel>
void VXIOp_ClipColor::Convert(const AVFrame& frame, const VXIOp_ClipPixels& pixels,
                              int32_t orientation, bool with_alpha, vx::View<Pixel> view) {
  const VXIOp_Placement place = VXIOp_PlacementOf(view, orientation);
  if (pixels.kind == Kind::Yuv) {
    const AVFrame& full = FullChroma(frame);
    StoreRows<Pixel>(YuvRows<Pixel>(frame, pixels, &full), frame, place, with_alpha);
  } else if (!pixels.full_range) {
    StoreRows<Pixel>(YuvRows<Pixel>(frame, pixels, nullptr), frame, place, with_alpha);
  } else {
    StoreRows<Pixel>(CodeRows<Pixel>(frame, pixels), frame, place, with_alpha);
  }
}

VXIO_WorldPtr VXIOp_ClipColor::World(const AVFrame& frame, const VXIOp_ClipPixels& pixels,
                                     int32_t orientation, int32_t depth, bool with_alpha) {
  // YUV and limited-range samples, and 16-bit samples if a float world is wanted, are converted to
  // `depth` in one step. All others are first stored at the depth of the clip (8 or 16 bits), and
  // VXIO_ConvertDepth then converts the world.
  const bool direct =
      !pixels.full_range || pixels.kind == Kind::Yuv || (depth == 32 && pixels.depth() == 16);
  const bool turned = orientation >= 5;
  vx::Image image = vx::Image::uninitialized(turned ? frame.height : frame.width,
                                             turned ? frame.width : frame.height,
                                             direct ? depth : pixels.depth());
  VXIOp_WithMemoryErrors([&] {
    vx::visit(image, [&](auto view) { Convert(frame, pixels, orientation, with_alpha, view); });
  });
  return VXIO_ConvertDepth(image.release(), depth);
}

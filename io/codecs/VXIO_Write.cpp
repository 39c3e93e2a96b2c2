// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include <OpenImageIO/filesystem.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <span>
#include <type_traits>

#include "VX/VX.hpp"
#include "VXIO_CodecTable.h"
#include "VXIO_Encoding.h"
#include "VXIO_Formats.h"
#include "VXIO_OutputFile.h"
#include "VXIO_Windows.h"

namespace {

constexpr int32_t kBandRows = 64;
constexpr int32_t kQuality = 95;  // of JPEG
constexpr int kPngLevel = 6;      // zlib's default
constexpr int kFastPngLevel = 1;  // docs/sequences.md has the times and sizes
constexpr float kLargestHalf = 65504;

// --- the plan of a file --------------------------------------------------------------------------

struct Plan {
  const VXIOp_Format* format;
  int32_t world_depth;
  int32_t file_depth;  // of the samples that the writer gets: 8, 16 or 32
  int32_t bits;        // per sample in the file: 8, 10, 12, 16 or 32; 16 for half
  bool half;
  int32_t channels;  // 1, 3 or 4
  bool alpha;
  bool multiplies;  // colours are multiplied by alpha
  OIIO::ImageSpec spec;
  std::vector<std::string> warnings;
};

// Returns the depth that the format stores without loss; if there is none, its largest depth.
int32_t FileDepth(const VXIOp_Format& format, int32_t world_depth) {
  if (world_depth <= 8 && format.depth8) return 8;
  if (world_depth <= 16 && format.depth16) return 16;
  if (format.depth32) return 32;
  return format.depth16 ? 16 : 8;
}

template <class Pixel>
int64_t CountNotOpaque(vx::ConstView<Pixel> view) {
  int64_t count = 0;
  for (int32_t y = 0; y < view.height(); ++y) {
    int32_t in_row = 0;
    for (const Pixel& pixel : view.row(y)) {
      in_row += !(pixel.alpha >= vx::PixelTraits<Pixel>::full_scale);  // NaN counts, too
    }
    count += in_row;
  }
  return count;
}

// Returns false for attributes that describe the encoding of the old file instead of the picture.
bool IsPortable(const std::string& name, const VXIOp_Format& to, bool same_format) {
  static constexpr std::array<std::string_view, 10> kPrivate = {
      "oiio:", "png:", "jpeg:",       "tiff:",      "targa:",
      "bmp:",  "pnm:", "ICCProfile:", "thumbnail_", "openexr:lineOrder"};
  if (name == "oiio:ColorSpace" || name == "oiio:Gamma") return true;
  for (std::string_view prefix : kPrivate) {
    if (name.starts_with(prefix)) return false;
  }
  if (name.starts_with("vx:")) return std::string_view(to.name) == "exr";
  if (name == "name") return same_format;  // of a part of an EXR
  if (name.starts_with("dpx:") || name.starts_with("openexr:") ||
      name.starts_with("screenWindow")) {
    return same_format;
  }
  return name != "planarconfig" && name != "compression" && name != "Orientation";
}

void CarryMetadata(const std::string& path, const VXIO_Metadata::Impl& from, Plan* plan) {
  const bool same_format = from.format == plan->format;
  OIIO::ImageSpec& spec = plan->spec;
  for (const OIIO::ParamValue& entry : from.spec.extra_attribs) {
    std::string name = entry.name().string();
    if (!IsPortable(name, *plan->format, same_format)) continue;
    std::string lost;
    if (name == "ICCProfile" && !VXIOp_StoresProfile(from, *plan->format, &lost)) {
      if (!lost.empty()) plan->warnings.push_back(path + ": " + lost);
      continue;
    }
    // Square pixels are not declared, because they are the default of every format.
    if (name == "PixelAspectRatio" && entry.get_float() == 1.0f) continue;
    spec.attribute(name, entry.type(), entry.data());
  }
  const OIIO::ImageSpec& old = from.spec;
  if (old.width != spec.width || old.height != spec.height) {
    if (from.windows && VXIOp_WindowsOf(old).Differ()) {
      plan->warnings.push_back(path +
                               ": the size has changed; the windows of the input are left out");
    }
    return;
  }
  if (plan->format->windows) {
    spec.x = old.x;
    spec.y = old.y;
    spec.full_x = old.full_x;
    spec.full_y = old.full_y;
    spec.full_width = old.full_width;
    spec.full_height = old.full_height;
  } else if (old.x != old.full_x || old.y != old.full_y || old.width != old.full_width ||
             old.height != old.full_height) {
    plan->warnings.push_back(
        path + ": " + plan->format->name +
        " does not hold the display window of the input; write exr to keep it");
  }
}

// Returns the sample size of the input if it had the format of the output and the output can keep
// it; else an empty text. For the sizes that are also depths of worlds the depth decides.
std::string BitsToKeep(const VXIO_Metadata::Impl* from, const Plan& plan) {
  if (!from || from->format != plan.format) return {};
  const OIIO::TypeDesc type = from->spec.format;
  if (std::string_view(plan.format->name) == "exr") return type == OIIO::TypeHalf ? "half" : "";
  const int bits = from->spec.get_int_attribute("oiio:BitsPerSample");
  if (type != OIIO::TypeUInt16 || plan.world_depth < 16 || (bits != 10 && bits != 12)) return {};
  return std::to_string(bits);
}

// Sets the sample size: the requested one, that of the input, or that of the world.
void PlanBits(const std::string& path, const VXIO_WriteOptions& options, Plan* plan) {
  std::string bits = options.encoding.bits;
  if (bits.empty()) bits = BitsToKeep(options.metadata.Get(), *plan);
  if (!bits.empty()) {
    plan->half = bits == "half";
    plan->bits = plan->half ? 16 : bits == "float" ? 32 : std::stoi(bits);
    plan->file_depth = plan->half || plan->bits == 32 ? 32 : plan->bits == 8 ? 8 : 16;
    return;
  }
  plan->bits = plan->file_depth = FileDepth(*plan->format, plan->world_depth);
  if (plan->file_depth < plan->world_depth) {
    const bool is_float = plan->world_depth == 32;
    plan->warnings.push_back(path + ": " + plan->format->name + " holds at most " +
                             std::to_string(plan->file_depth) + " bits; the " +
                             (is_float ? "float" : "16-bit") + " picture is rounded" +
                             (is_float ? " and clipped to 0..1" : ""));
  }
}

// Sets the compression: the requested one, that of the input if it had the format of the output, or
// the default of the format.
void PlanCompression(const VXIO_WriteOptions& options, Plan* plan) {
  const VXIOp_Encodings& known = VXIOp_EncodingsOf(plan->format->name);
  OIIO::ImageSpec& spec = plan->spec;
  if (known.compressions.empty()) return;
  std::string compression = options.encoding.compression;
  const VXIO_Metadata::Impl* from = options.metadata.Get();
  spec.erase_attribute("openexr:dwaCompressionLevel");  // OpenImageIO takes it from the name only
  if (compression.empty() && from && from->format == plan->format) {
    compression = from->spec.get_string_attribute("compression");
    const float level = from->spec.get_float_attribute("openexr:dwaCompressionLevel");
    if (compression.starts_with("dwa") && level >= 1) {
      compression += ":" + std::to_string(std::lround(level));
    }
    if (!VXIOp_FindCompression(known, compression)) compression.clear();
  }
  if (known.quality) {
    const int32_t quality = options.encoding.quality.value_or(kQuality);
    if (!compression.starts_with("jpeg:")) compression = "jpeg:" + std::to_string(quality);
    spec.attribute("jpeg:subsampling", "4:4:4");
  }
  if (known.format == "png") {
    int level = options.encoding.fast && compression.empty() ? kFastPngLevel : kPngLevel;
    if (compression == "none") level = 0;
    if (compression.starts_with("zip:")) level = std::stoi(compression.substr(4));
    spec.attribute("png:compressionLevel", level);
    return;
  }
  spec.attribute("compression", compression.empty() ? known.compressions[0].name : compression);
}

Plan MakePlan(const std::string& path, const VX_LayerDef& world, const VXIO_WriteOptions& options) {
  Plan plan{};
  plan.format = VXIOp_FormatOfName(path);
  plan.world_depth = VXp_WorldDepth(&world);
  PlanBits(path, options, &plan);
  const int64_t not_opaque = vx::visit(world, [](auto view) { return CountNotOpaque(view); });
  const bool grey = options.grey && plan.format->grey;
  const bool ignores = options.alpha == VXIO_AlphaAs::Ignore;
  plan.alpha = !grey && !ignores && plan.format->alpha != VXIO_AlphaKind::None &&
               (options.keep_alpha || not_opaque > 0);
  plan.multiplies = plan.alpha && (options.alpha == VXIO_AlphaAs::Premultiplied ||
                                   (options.alpha == VXIO_AlphaAs::File &&
                                    plan.format->alpha == VXIO_AlphaKind::Premultiplied));
  if (!plan.alpha && !ignores && not_opaque > 0) {
    plan.warnings.push_back(path + ": " + plan.format->name + " holds no alpha; that of " +
                            std::to_string(not_opaque) +
                            " pixels that are not opaque is left out, colours stay");
  }
  plan.channels = grey ? 1 : plan.alpha ? 4 : 3;
  plan.spec = OIIO::ImageSpec(world.width, world.height, plan.channels,
                              plan.half ? OIIO::TypeHalf : VXIOp_SampleType(plan.file_depth));
  plan.spec.default_channel_names();
  if (plan.file_depth == 16 && plan.bits < 16) {
    plan.spec.attribute("oiio:BitsPerSample", plan.bits);
  }
  if (options.metadata.Get()) CarryMetadata(path, *options.metadata.Get(), &plan);
  PlanCompression(options, &plan);
  // An empty DateTime is declared, because some writers store the current time if there is none,
  // and equal pictures must give equal bytes.
  if (!plan.spec.find_attribute("DateTime")) plan.spec.attribute("DateTime", "");
  // Without this attribute the writers of formats with straight alpha, except that of TIFF, divide
  // the colours by alpha.
  if (plan.alpha && plan.format->alpha == VXIO_AlphaKind::Straight &&
      !(std::string_view(plan.format->name) == "tiff" && plan.multiplies)) {
    plan.spec.attribute("oiio:UnassociatedAlpha", 1);
  }
  return plan;
}

// --- the stream ----------------------------------------------------------------------------------

// Passes the writer's output to the temporary file. Every write returns success, because some
// writers end the process if a write fails. The error is recorded and thrown after the last write.
class Stream final : public OIIO::Filesystem::IOProxy {
 public:
  explicit Stream(FILE* file) : IOProxy("", Write), file_(file) {}
  const char* proxytype() const override { return "vx"; }
  bool seek(int64_t offset) override {
    m_pos = offset;
    return true;
  }
  size_t write(const void* buffer, size_t size) override {
    pwrite(buffer, size, m_pos);
    m_pos += static_cast<int64_t>(size);
    return size;
  }
  size_t pwrite(const void* buffer, size_t size, int64_t offset) override {
    std::lock_guard lock(mutex_);
    if (failed_ || size == 0) return size;  // some writers pass a null buffer with size 0
    // fseeko flushes the buffer, so it is called only if the position changes.
    if (offset != at_ && fseeko(file_, offset, SEEK_SET) != 0) failed_ = true;
    if (!failed_ && fwrite(buffer, 1, size, file_) != size) failed_ = true;
    if (failed_) error_number_ = errno;
    at_ = offset + static_cast<int64_t>(size);
    size_ = std::max(size_, at_);
    return size;
  }
  size_t size() const override { return static_cast<size_t>(size_); }

  // Returns 0 if all writes succeeded.
  int error_number() const { return failed_ ? (error_number_ ? error_number_ : EIO) : 0; }

 private:
  FILE* file_;
  std::mutex mutex_;
  int64_t at_ = -1;  // position in the file, -1 if unknown
  int64_t size_ = 0;
  bool failed_ = false;
  int error_number_ = 0;
};

// --- pixels --------------------------------------------------------------------------------------

// Return the sample of a channel. A 16-bit sample is rounded to nearest on the scale 0..`largest`.
uint8_t SampleOfChannel(uint8_t channel, uint8_t, uint32_t) { return channel; }
float SampleOfChannel(float channel, float, uint32_t) { return channel; }
uint16_t SampleOfChannel(uint8_t channel, uint16_t, uint32_t largest) {
  return static_cast<uint16_t>((channel * largest + 127) / 255);
}
uint16_t SampleOfChannel(uint16_t channel, uint16_t, uint32_t largest) {
  // Clamped, because the caller's pixels may exceed white, and the file must be valid nevertheless.
  uint32_t value = std::min<uint32_t>(channel, vx::PixelTraits<vx::Pixel16>::full_scale);
  return static_cast<uint16_t>((value * largest + 16384) >> 15);
}
uint16_t SampleOfChannel(float channel, uint16_t, uint32_t largest) {
  if (!(channel > 0.0f)) return 0;  // includes NaN
  return static_cast<uint16_t>(std::min<double>(channel, 1.0) * largest + 0.5);
}

// Expands samples of 10 or 12 bits to 16 by repetition of the high bits. The writer keeps the first
// `bits` of each.
void ExpandSamples(std::span<uint16_t> samples, int32_t bits) {
  for (uint16_t& sample : samples) {
    sample = static_cast<uint16_t>(sample << (16 - bits) | sample >> (2 * bits - 16));
  }
}

// Returns how many finite samples are infinity as half.
int64_t CountTooLargeForHalf(std::span<const float> samples) {
  return std::count_if(samples.begin(), samples.end(), [](float sample) {
    return std::isfinite(sample) && std::fabs(sample) > kLargestHalf;
  });
}

template <class Pixel, class Sample>
void Pack(vx::ConstView<Pixel> view, int32_t channels, uint32_t largest, Sample* to) {
  for (int32_t y = 0; y < view.height(); ++y) {
    const char* from = reinterpret_cast<const char*>(view.row(y).data());
    // Samples of 16 bits are not copied: white is 32768 in a pixel and 65535 in a file.
    constexpr bool kCopies =
        std::is_same_v<Sample, decltype(Pixel::red)> && !std::is_same_v<Sample, uint16_t>;
    if (kCopies && channels == 3) {
      // Four samples are one access, three are two. The fourth is replaced by the next pixel.
      const char* red = from + offsetof(Pixel, red);
      for (int32_t x = 1; x < view.width(); ++x, red += sizeof(Pixel), to += 3) {
        std::memcpy(to, red, 4 * sizeof(Sample));
      }
      std::memcpy(to, red, 3 * sizeof(Sample));
      to += 3;
      continue;
    }
    for (int32_t x = 0; x < view.width(); ++x, from += sizeof(Pixel)) {
      Pixel pixel;
      std::memcpy(&pixel, from, sizeof pixel);
      *to++ = SampleOfChannel(pixel.red, Sample{}, largest);
      if (channels == 1) continue;
      *to++ = SampleOfChannel(pixel.green, Sample{}, largest);
      *to++ = SampleOfChannel(pixel.blue, Sample{}, largest);
      if (channels == 4) *to++ = SampleOfChannel(pixel.alpha, Sample{}, largest);
    }
  }
}

int64_t CountHiddenColour(vx::ConstView<vx::PixelFloat> band) {
  int64_t count = 0;
  for (int32_t y = 0; y < band.height(); ++y) {
    for (const vx::PixelFloat& pixel : band.row(y)) {
      count += pixel.alpha == 0 && (pixel.red != 0 || pixel.green != 0 || pixel.blue != 0);
    }
  }
  return count;
}

// Converts the rows of a world to the file's format and passes them to the writer.
class RowWriter {
 public:
  RowWriter(vx::AnyConstView world, const Plan& plan, OIIO::ImageOutput* out)
      : world_(world), plan_(plan), out_(out) {
    const int32_t rows = std::min(world.height(), kBandRows);
    // Samples of 16 bits are made from worlds of any depth, others after a depth conversion.
    converts_ = plan.file_depth != plan.world_depth && plan.file_depth != 16;
    if (converts_ || plan.multiplies) {
      band_ = vx::Image::uninitialized(world.width(), rows, plan.file_depth);
    }
    row_samples_ = static_cast<size_t>(world.width()) * static_cast<size_t>(plan.channels);
    samples_.resize(static_cast<size_t>(rows) * row_samples_ *
                    static_cast<size_t>(plan.file_depth / 8));
  }

  // Writes rows [y, end) of the world. Returns false if the writer failed.
  bool Write(int32_t y, int32_t end) {
    vx::AnyConstView rows = world_.part({0, y, world_.width(), end});
    if (!band_.empty()) {
      const vx::AnyView band = band_.part({0, 0, world_.width(), end - y});
      vx::convert(band, rows);
      if (plan_.multiplies) {
        if (plan_.format->alpha == VXIO_AlphaKind::Premultiplied && plan_.file_depth == 32) {
          hidden_ += CountHiddenColour(band.as<vx::PixelFloat>());
        }
        vx::premultiply(band);
      }
      rows = band;
    }
    vx::visit(rows, [&](auto view) {
      using Channel = typename decltype(view)::Traits::Channel;
      const uint32_t largest = (1u << std::min(plan_.bits, 16)) - 1;
      if (plan_.file_depth == 16) return Pack(view, plan_.channels, largest, At<uint16_t>());
      if constexpr (!std::is_same_v<Channel, uint16_t>) {
        Pack(view, plan_.channels, largest, At<Channel>());
      }
    });
    const size_t count = static_cast<size_t>(end - y) * row_samples_;
    if (plan_.file_depth == 16 && plan_.bits < 16) {
      ExpandSamples({At<uint16_t>(), count}, plan_.bits);
    }
    if (plan_.half) too_large_ += CountTooLargeForHalf({At<float>(), count});
    return out_->write_scanlines(plan_.spec.y + y, plan_.spec.y + end, /*z=*/0,
                                 VXIOp_SampleType(plan_.file_depth), samples_.data());
  }

  int64_t hidden() const { return hidden_; }
  int64_t too_large() const { return too_large_; }

 private:
  template <class Sample>
  Sample* At() {
    return reinterpret_cast<Sample*>(samples_.data());
  }

  vx::AnyConstView world_;
  const Plan& plan_;
  OIIO::ImageOutput* out_;
  bool converts_;
  vx::Image band_;
  std::vector<uint8_t> samples_;
  size_t row_samples_;
  int64_t hidden_ = 0, too_large_ = 0;
};

// Reads the header of the written file: warns about anything that the format dropped and checks
// that the file is valid.
void CheckWritten(const std::string& path, const VXIOp_OutputFile& file, Plan* plan) {
  auto input = OIIO::ImageInput::create(plan->format->oiio_name);
  OIIO::ImageSpec spec;
  if (!input || !input->open(file.temporary(), spec) || spec.width != plan->spec.width ||
      spec.height != plan->spec.height || spec.nchannels != plan->spec.nchannels) {
    VXIOp_ThrowOutput(path, "was not written whole; free some space or write elsewhere");
  }
  std::string lost;
  int count = 0;
  for (const OIIO::ParamValue& entry : plan->spec.extra_attribs) {
    std::string name = entry.name().string();
    static constexpr std::array<std::string_view, 4> kEncoding = {
        "oiio:", "jpeg:", "png:", "compression"};
    if (std::any_of(kEncoding.begin(), kEncoding.end(),
                    [&](std::string_view prefix) { return name.starts_with(prefix); })) {
      continue;
    }
    if (spec.find_attribute(name) || (name == "DateTime" && entry.get_string().empty())) continue;
    if (++count <= 3) lost += (count > 1 ? ", " : "") + name;
  }
  if (count == 0) return;
  if (count > 3) lost += " and " + std::to_string(count - 3) + " more";
  plan->warnings.push_back(path + ": " + plan->format->name + " does not keep " + lost +
                           " of the input");
}

void RefuseWarnings(const Plan& plan, const VXIO_WriteOptions& options) {
  if (options.strict && !plan.warnings.empty()) {
    throw VXIO_Error(VXIO_ErrorKind::Output, plan.warnings[0] + " (--strict)");
  }
}

std::vector<std::string> Write(const std::string& path, const VX_LayerDef& world,
                               const VXIO_WriteOptions& options, std::string* memory);

// Writes the area of the display window to a format that has no windows.
std::vector<std::string> WriteFrame(const std::string& path, const VX_LayerDef& world,
                                    const VXIO_WriteOptions& options, std::string* memory) {
  const VXIO_Windows windows = VXIOp_WindowsOf(options.metadata);
  const vx::Rect& display = windows.display;
  std::vector<std::string> warnings;
  const vx::Rect both = windows.Union();
  if (both.width() != display.width() || both.height() != display.height()) {
    warnings.push_back(
        path + ": " + VXIOp_FormatOfName(path)->name +
        " does not hold the pixels of the input outside of its display window; write "
        "exr to keep them");
    if (options.strict)
      VXIOp_ThrowOutput(path, warnings[0].substr(path.size() + 2) + " (--strict)");
  }
  const bool opaque =
      !options.keep_alpha && vx::visit(world, [](auto view) { return CountNotOpaque(view); }) == 0;
  const vx::Image frame = VXIOp_Reframe(world, windows.data, display,
                                        opaque ? VXIOp_Outside::Opaque : VXIOp_Outside::Clear);
  VXIO_WriteOptions changed = options;
  changed.metadata = VXIOp_WithWindows(options.metadata, {display, display});
  for (std::string& warning : Write(path, *frame.world(), changed, memory)) {
    warnings.push_back(std::move(warning));
  }
  return warnings;
}

// Writes a picture to the file `path`, or if `memory` is not null to `memory`.
std::vector<std::string> Write(const std::string& path, const VX_LayerDef& world,
                               const VXIO_WriteOptions& options, std::string* memory) {
  if (memory == nullptr) {
    VXIO_CheckOutput(path, options.clobber);
  } else {
    VXIOp_RequireFormat(path);
  }
  VXIO_CheckEncoding(path, options.encoding);
  if (VXIOp_NeedsFrame(*VXIOp_FormatOfName(path), world, options.metadata)) {
    return WriteFrame(path, world, options, memory);
  }
  Plan plan = MakePlan(path, world, options);
  RefuseWarnings(plan, options);
  VXIOp_OutputFile file(path, memory == nullptr ? VXIOp_Storage::Disk : VXIOp_Storage::Memory);
  auto out = OIIO::ImageOutput::create(plan.format->oiio_name);
  if (!out) {
    VXIOp_ThrowOutput(path, std::string("this OpenImageIO cannot write ") + plan.format->name);
  }
  // The TIFF writer also reads, which OpenImageIO's stream interface does not support. It opens the
  // temporary file by name, and libtiff checks every write itself.
  Stream stream(file.stream());
  const bool by_name = std::string_view(plan.format->name) == "tiff";
  // If the file is not opened by name, the name is used only by formats that store it in the file
  // (DPX).
  const std::string name = by_name ? file.temporary() : path.substr(path.rfind('/') + 1);
  if (!by_name && !out->set_ioproxy(&stream)) {
    VXIOp_ThrowOutput(path, VXIOp_FirstLine(out->geterror()));
  }
  RowWriter writer(world, plan, out.get());
  bool ok = false;
  std::string why;
  try {
    ok = out->open(name, plan.spec);
    for (int32_t y = 0; ok && y < world.height; y += kBandRows) {
      ok = writer.Write(y, std::min(y + kBandRows, world.height));
    }
    why = out->geterror();
    ok = out->close() && ok;
    if (why.empty()) why = out->geterror();
  } catch (const vx::Error&) {
    throw;
  } catch (const std::bad_alloc&) {
    throw vx::Error(vx::ErrorCode::out_of_memory);
  } catch (const std::exception& error) {
    ok = false;
    why = error.what();
  }
  out.reset();
  // The system's error is reported first because it is clearer than the writer's message.
  if (stream.error_number()) file.Throw("cannot be written", stream.error_number());
  file.Finish();
  // A message without a failure is ignored: the TIFF writer sets one if there are no camera data.
  if (!ok)
    VXIOp_ThrowOutput(path, "cannot be written (" + VXIOp_FirstLine(why) +
                                "); free some space or write elsewhere");
  CheckWritten(path, file, &plan);
  if (writer.hidden() > 0) {
    plan.warnings.push_back(path + ": " + plan.format->name +
                            " holds colours multiplied by alpha; " + "those of " +
                            std::to_string(writer.hidden()) + " transparent pixels are lost");
  }
  if (writer.too_large() > 0) {
    plan.warnings.push_back(path + ": half holds values up to 65504; " +
                            std::to_string(writer.too_large()) +
                            " larger ones became infinity; choose the bits float to keep them");
  }
  RefuseWarnings(plan, options);
  if (memory == nullptr) {
    file.Commit(options.clobber);
  } else {
    *memory = file.Contents();
  }
  return plan.warnings;
}

}  // namespace

std::vector<std::string> VXIOp_Write(const std::string& path, const VX_LayerDef& world,
                                     const VXIO_WriteOptions& options) {
  return Write(path, world, options, /*memory=*/nullptr);
}

VXIO_Encoded VXIOp_Encode(const std::string& name, const VX_LayerDef& world,
                          const VXIO_WriteOptions& options) {
  VXIO_Encoded encoded;
  encoded.warnings = Write(name, world, options, &encoded.bytes);
  return encoded;
}

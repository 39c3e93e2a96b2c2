// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO/VXIO_Profile.h"

#include <png.h>
#include <strings.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <csetjmp>
#include <cstdlib>

#include "VX/cpp/Color.hpp"
#include "VXIO_Formats.h"

namespace {

constexpr const char* kNonlinear = "sRGB";
constexpr const char* kLinear = "gamma 1.0";

void CheckEngine(QCE_Status status) {
  if (status != QCE_Ok) {
    throw vx::Error(static_cast<vx::ErrorCode>(status), COR_QCE_StatusText(status));
  }
}

COR_QCE_ProfilePtr BuiltIn(const char* name) { return vx::Profile::named(name).handle(); }

std::string_view EmbeddedBytes(const VXIO_Metadata& metadata) {
  const VXIO_Metadata::Impl* from = metadata.Get();
  const OIIO::ParamValue* bytes = from ? from->spec.find_attribute("ICCProfile") : nullptr;
  if (!bytes) return {};
  return {static_cast<const char*>(bytes->data()), static_cast<size_t>(bytes->datasize())};
}

bool SaysLinear(const VXIO_Metadata& metadata) {
  if (!metadata.Get()) return false;
  const VXIO_Metadata::Impl& from = *metadata.Get();
  const std::string space(from.spec.get_string_attribute("oiio:ColorSpace"));
  if (space.empty() && from.format) {
    const std::string_view format = from.format->name;
    return format == "exr" || format == "hdr";
  }
  if (space.empty()) return false;
  static constexpr std::array<const char*, 4> kNames = {"linear", "scene_linear", "lin_srgb",
                                                        "lin_rec709"};
  return std::any_of(kNames.begin(), kNames.end(),
                     [&](const char* name) { return strcasecmp(space.c_str(), name) == 0; });
}

// Returns true if an EXR declares primaries or a white point other than those of sRGB.
bool HasOtherPrimaries(const OIIO::ImageSpec& spec) {
  static constexpr std::array<float, 8> kPrimaries = {0.64f, 0.33f, 0.30f,   0.60f,
                                                      0.15f, 0.06f, 0.3127f, 0.3290f};
  const OIIO::ParamValue* declared = spec.find_attribute("chromaticities");
  if (!declared || declared->datasize() != static_cast<int>(sizeof kPrimaries)) return false;
  const auto* values = static_cast<const float*>(declared->data());
  for (size_t i = 0; i < kPrimaries.size(); ++i) {
    if (!(std::fabs(values[i] - kPrimaries[i]) < 0.002f)) return true;
  }
  return false;
}

void AppendUtf8(uint32_t point, std::string* text) {
  auto put = [&](uint32_t byte) { text->push_back(static_cast<char>(byte)); };
  if (point < 0x80) {
    put(point);
  } else if (point < 0x800) {
    put(0xC0 | point >> 6);
    put(0x80 | (point & 63));
  } else if (point < 0x10000) {
    put(0xE0 | point >> 12);
    put(0x80 | (point >> 6 & 63));
    put(0x80 | (point & 63));
  } else {
    put(0xF0 | point >> 18);
    put(0x80 | (point >> 12 & 63));
    put(0x80 | (point >> 6 & 63));
    put(0x80 | (point & 63));
  }
}

// Returns true for attributes that describe the meaning of the colour values.
bool DescribesColors(const std::string& name) {
  static constexpr std::array<std::string_view, 7> kNames = {
      "ICCProfile", "oiio:ColorSpace", "oiio:Gamma",      "Exif:ColorSpace",
      "Exif:Gamma", "chromaticities",  "dpx:Colorimetric"};
  return name.starts_with("ICCProfile:") || name == "dpx:Transfer" ||
         std::find(kNames.begin(), kNames.end(), name) != kNames.end();
}

// --- libpng ------------------------------------------------------------------------------------

extern "C" {

void KeepFirstMessage(png_structp png, png_const_charp text) {
  auto* message = static_cast<std::string*>(png_get_error_ptr(png));
  if (message->empty()) *message = text;
}

void StopWithMessage(png_structp png, png_const_charp text) {
  KeepFirstMessage(png, text);
  png_longjmp(png, 1);
}

void DiscardBytes(png_structp, png_bytep, size_t) {}
void FlushNothing(png_structp) {}
}

// Passes a profile to libpng, which refuses to write a picture with a profile that it considers
// invalid. Writes the header of a picture of one pixel to nowhere, so that the answer is that of
// the installed libpng and its messages do not go to the standard error. Returns libpng's reason,
// or an empty text if it accepts the profile.
std::string PngObjection(std::string_view profile) {
  std::string message;
  png_structp png =
      png_create_write_struct(PNG_LIBPNG_VER_STRING, &message, StopWithMessage, KeepFirstMessage);
  if (!png) throw std::bad_alloc();
  png_infop info = png_create_info_struct(png);
  volatile bool accepted = false;
  // Nothing with a destructor is created between setjmp and longjmp.
  if (setjmp(png_jmpbuf(png)) == 0) {
    png_set_write_fn(png, nullptr, DiscardBytes, FlushNothing);
    png_set_text_compression_level(png, 0);
    png_set_IHDR(png, info, 1, 1, 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_BASE, PNG_FILTER_TYPE_BASE);
    png_set_iCCP(png, info, "ICC", PNG_COMPRESSION_TYPE_BASE,
                 reinterpret_cast<png_const_bytep>(profile.data()),
                 static_cast<png_uint_32>(profile.size()));
    png_write_info(png, info);
    accepted = true;
  }
  png_destroy_write_struct(&png, &info);
  if (accepted) return {};
  return message.empty() ? "no reason given" : message;
}

}  // namespace

VXIO_PictureProfile VXIO_ProfileOf(const std::string& path, const VXIO_Metadata& metadata) {
  VXIO_PictureProfile found;
  const std::string_view bytes = EmbeddedBytes(metadata);
  if (bytes.data()) {
    const QCE_Status status = COR_QCE_ProfileFromMemory(bytes.data(), bytes.size(), &found.profile);
    if (status == QCE_OutOfMemory || status == QCE_NotAvailable) CheckEngine(status);
    found.embedded = status == QCE_Ok;
    if (found.embedded) return found;
    found.warnings.push_back(path + ": its embedded profile " + COR_QCE_StatusText(status) +
                             "; it counts as absent");
  }
  const bool linear = SaysLinear(metadata);
  found.profile = BuiltIn(linear ? kLinear : kNonlinear);
  if (linear && HasOtherPrimaries(metadata.Get()->spec)) {
    found.warnings.push_back(path + ": its primaries (chromaticities) are not those of sRGB, but " +
                             "count as such");
  }
  return found;
}

bool VXIO_SameProfile(const VXIO_Metadata& a, const VXIO_Metadata& b) {
  return EmbeddedBytes(a) == EmbeddedBytes(b) && SaysLinear(a) == SaysLinear(b);
}

VXIO_Metadata VXIO_WithProfile(const VXIO_Metadata& metadata, const COR_QCE_ProfilePtr& profile) {
  std::vector<uint8_t> bytes;
  CheckEngine(COR_QCE_GetProfileBytes(profile, &bytes));
  auto changed = metadata.Get() ? std::make_shared<VXIO_Metadata::Impl>(*metadata.Get())
                                : std::make_shared<VXIO_Metadata::Impl>();
  std::erase_if(changed->spec.extra_attribs, [](const OIIO::ParamValue& entry) {
    return DescribesColors(entry.name().string());
  });
  const OIIO::TypeDesc type(OIIO::TypeDesc::UINT8, static_cast<int>(bytes.size()));
  changed->spec.attribute("ICCProfile", type, bytes.data());
  changed->given_profile = profile;
  return VXIO_Metadata(std::move(changed));
}

bool VXIOp_StoresProfile(const VXIO_Metadata::Impl& from, const VXIOp_Format& format,
                         std::string* lost) {
  const OIIO::ParamValue& entry = *from.spec.find_attribute("ICCProfile");
  const std::string_view bytes(static_cast<const char*>(entry.data()),
                               static_cast<size_t>(entry.datasize()));
  if (format.profile && bytes.substr(0, 20).ends_with("RGB ")) {
    const std::string objection = std::string_view(format.name) == "png" ? PngObjection(bytes) : "";
    if (objection.empty()) return true;
    *lost = "png does not take the profile of the input, which is damaged or of a kind that is "
            "not embedded (" +
            objection + "); left out";
  } else if (format.profile) {
    *lost = "the profile of the input is not one for RGB; left out";
  } else if (!from.given_profile) {
    *lost = std::string(format.name) + " does not keep ICCProfile of the input";
  } else {
    const char* counts_as = std::string_view(format.name) == "exr" ? kLinear : kNonlinear;
    if (VXIO_SameColors(from.given_profile, BuiltIn(counts_as))) return false;
    *lost = std::string(format.name) + " holds no profile; without one the colours, which are in " +
            VXIO_ProfileName(from.given_profile) + ", count as " + counts_as;
  }
  return false;
}

std::string VXIO_ProfileName(const COR_QCE_ProfilePtr& profile) {
  std::u16string units;
  CheckEngine(COR_QCE_GetProfileDescription(profile, &units));
  std::string text;
  for (size_t i = 0; i < units.size(); ++i) {
    uint32_t point = units[i];
    const uint32_t next = i + 1 < units.size() ? units[i + 1] : 0;
    if ((point & 0xFC00) == 0xD800 && (next & 0xFC00) == 0xDC00) {
      point = 0x10000 + ((point & 0x3FF) << 10 | (next & 0x3FF));
      ++i;
    } else if ((point & 0xF800) == 0xD800) {
      point = 0xFFFD;  // unpaired surrogate
    }
    const bool control =
        point < 0x20 || (point >= 0x7F && point < 0xA0) || point == 0x2028 || point == 0x2029;
    AppendUtf8(control ? ' ' : point, &text);
  }
  const size_t first = text.find_first_not_of(' ');
  if (first == std::string::npos) return "a profile without a name";
  return text.substr(first, text.find_last_not_of(' ') + 1 - first);
}

bool VXIO_SameColors(const COR_QCE_ProfilePtr& a, const COR_QCE_ProfilePtr& b) {
  _t_QCE_ID id_a, id_b;
  CheckEngine(COR_QCE_GetProfileID(/*pool=*/nullptr, a, &id_a));
  CheckEngine(COR_QCE_GetProfileID(/*pool=*/nullptr, b, &id_b));
  if (id_a == id_b) return true;
  constexpr int32_t kWhite = vx::PixelTraits<vx::Pixel16>::full_scale;
  constexpr int32_t kSteps = 6, kHalfStep = kWhite / 255 / 2;
  std::vector<vx::Pixel16> before;
  auto level = [](int32_t step, int32_t steps) {
    return static_cast<uint16_t>(step * kWhite / (steps - 1));
  };
  for (int32_t i = 0; i < kSteps * kSteps * kSteps; ++i) {
    before.push_back({kWhite, level(i / kSteps / kSteps, kSteps),
                      level(i / kSteps % kSteps, kSteps), level(i % kSteps, kSteps)});
  }
  for (int32_t i = 0; i < 64; ++i) {
    const uint16_t grey = level(i, 64);
    before.push_back({kWhite, grey, grey, grey});
  }
  std::vector<vx::Pixel16> after = before;
  const auto count = static_cast<int32_t>(after.size());
  vx::ColorTransform(vx::Profile(a), vx::Profile(b), 16)
      .apply(vx::View<vx::Pixel16>(after.data(), count, 1));
  auto near = [](uint16_t x, uint16_t y) { return std::abs(int32_t{x} - int32_t{y}) <= kHalfStep; };
  return std::equal(before.begin(), before.end(), after.begin(),
                    [&](const vx::Pixel16& x, const vx::Pixel16& y) {
                      return near(x.red, y.red) && near(x.green, y.green) && near(x.blue, y.blue);
                    });
}

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include <png.h>
#include <strings.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <csetjmp>
#include <cstdlib>

#include "VX/cpp/Color.hpp"
#include "VXIO_CodecTable.h"
#include "VXIO_Metadata.h"

namespace {

constexpr const char* kNonlinear = "sRGB";
constexpr const char* kLinear = "gamma 1.0";

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

VXIO_PictureProfile VXIOp_ProfileOf(const std::string& path, const VXIO_Metadata& metadata) {
  VXIO_PictureProfile found;
  const std::string_view bytes = EmbeddedBytes(metadata);
  if (bytes.data()) {
    const QCE_Status status = COR_QCE_ProfileFromMemory(bytes.data(), bytes.size(), &found.profile);
    if (status == QCE_OutOfMemory || status == QCE_NotAvailable) vx::detail::check_color(status);
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

bool VXIOp_SameProfile(const VXIO_Metadata& a, const VXIO_Metadata& b) {
  return EmbeddedBytes(a) == EmbeddedBytes(b) && SaysLinear(a) == SaysLinear(b);
}

VXIO_Metadata VXIOp_WithProfile(const VXIO_Metadata& metadata, const COR_QCE_ProfilePtr& profile) {
  std::vector<uint8_t> bytes;
  vx::detail::check_color(COR_QCE_GetProfileBytes(profile, &bytes));
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

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO_CodecTable.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <span>

#include "VXIO_Formats.h"

const VXIOp_Codecs VXIOp_CodecTable = {
    VXIOp_ListLibraries, VXIOp_SetThreads,  VXIOp_ReadInfo,        VXIOp_ReadHeader,
    VXIOp_Read,          VXIOp_Write,       VXIOp_Encode,          VXIOp_RenderText,
    VXIOp_WindowsOf,     VXIOp_WithWindows, VXIOp_SetDataWindow,   VXIOp_ProfileOf,
    VXIOp_SameProfile,   VXIOp_WithProfile, VXIOp_EncodeMotionExr, VXIOp_ReadMotionExr,
    VXIOp_ClipFormatOf,  VXIOp_OpenClip,    VXIOp_NewClip};

std::vector<std::pair<std::string, std::string>> VXIOp_ListLibraries() {
  std::vector<std::pair<std::string, std::string>> list;
  list.emplace_back("OpenImageIO", OIIO::get_string_attribute("version"));
  const std::span<const VXIOp_Format> formats = VXIOp_Formats();
  // The list has the form "tiff:LIBTIFF Version 4.5.0;jpeg:..." and is filtered by formats.
  std::string libraries = OIIO::get_string_attribute("library_list");
  for (size_t start = 0; start < libraries.size();) {
    size_t end = std::min(libraries.find(';', start), libraries.size());
    std::string entry = libraries.substr(start, end - start);
    size_t colon = entry.find(':');
    std::string name = entry.substr(0, colon);
    bool ours = std::any_of(formats.begin(), formats.end(),
                            [&](const VXIOp_Format& format) { return name == format.oiio_name; });
    if (ours && colon != std::string::npos) list.emplace_back(name, entry.substr(colon + 1));
    start = end + 1;
  }
  const std::pair<const char*, unsigned> lav[] = {{"libavformat", avformat_version()},
                                                  {"libavcodec", avcodec_version()},
                                                  {"libswscale", swscale_version()}};
  for (const auto& [name, version] : lav) {
    list.emplace_back(name, std::to_string(AV_VERSION_MAJOR(version)) + '.' +
                                std::to_string(AV_VERSION_MINOR(version)) + '.' +
                                std::to_string(AV_VERSION_MICRO(version)));
  }
  return list;
}

void VXIOp_SetThreads(int32_t count) {
  // The number of threads that OpenEXR uses in addition to the calling thread; -1 means none.
  static_cast<void>(OIIO::attribute("threads", count));
  static_cast<void>(OIIO::attribute("exr_threads", count > 1 ? count : -1));
}

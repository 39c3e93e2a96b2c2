// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO_Open.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <set>

#include "VXIO_ClipFile.h"
#include "VXIO_InputFile.h"

namespace {

uint32_t BigEndian(const char* bytes) {
  uint32_t word = 0;
  for (int i = 0; i < 4; ++i) word = word << 8 | static_cast<unsigned char>(bytes[i]);
  return word;
}

// Checks the chunks of a PNG up to its end chunk, because for a truncated file the decoder that
// OpenImageIO uses writes to the standard error. Returns true if the file contains a profile,
// because the decoder drops invalid profiles without a message.
bool CheckPng(const std::string& path, std::ifstream& file, int64_t size) {
  int64_t position = 8;
  bool first = true, profile = false;
  while (position + 12 <= size) {
    char head[16] = {};
    file.seekg(position);
    file.read(head, first ? 16 : 8);
    if (!file) break;
    std::string name(head + 4, 4);
    if (first) {
      if (name != "IHDR") VXIOp_ThrowInput(path, "is damaged (no PNG header)");
      VXIOp_CheckSize(path, static_cast<int32_t>(BigEndian(head + 8)),
                      static_cast<int32_t>(BigEndian(head + 12)));
      first = false;
    }
    if (name == "IEND") return profile;
    profile = profile || name == "iCCP";
    position += int64_t{12} + BigEndian(head);
  }
  VXIOp_ThrowInput(path, "is truncated or damaged; make or fetch the file again");
}

// Checks that the user header of a DPX file fits the file, because OpenImageIO's reader allocates
// it at its declared size without this check.
void CheckDpx(const std::string& path, std::ifstream& file, int64_t size) {
  char head[36] = {};
  file.seekg(0);
  file.read(head, sizeof head);
  if (head[0] == 'X') std::reverse(head + 32, head + 36);  // little-endian file
  uint32_t user = BigEndian(head + 32);
  if (user != 0xFFFFFFFF && user > size) {
    VXIOp_ThrowInput(path, "is truncated or damaged; make or fetch the file again");
  }
}

const VXIOp_Format* CheckContent(const std::string& path, bool* profile) {
  VXIOp_CheckFile(path, "a picture");
  const VXIOp_Format* format = VXIOp_FormatOfContent(VXIOp_Head(path, 16), path);
  if (!format) {
    const std::string clip = VXIOp_ClipFormatOf(path);
    if (!clip.empty()) {
      VXIOp_ThrowInput(path, "is a clip (" + clip + "), not a picture; vx.frames of Python reads " +
                                 "its frames, and vx.write can make a sequence of them");
    }
    VXIOp_ThrowInput(path, "is not a picture of a known format (" + VXIOp_FormatNames() + ")");
  }
  std::ifstream file(path, std::ios::binary);
  file.seekg(0, std::ios::end);
  const auto size = static_cast<int64_t>(file.tellg());
  if (std::string_view(format->name) == "png") *profile = CheckPng(path, file, size);
  if (std::string_view(format->name) == "dpx") CheckDpx(path, file, size);
  return format;
}

int IndexOf(const OIIO::ImageSpec& spec, std::initializer_list<const char*> names) {
  for (int i = 0; i < static_cast<int>(spec.channelnames.size()) && i < spec.nchannels; ++i) {
    for (const char* name : names) {
      if (strcasecmp(spec.channelnames[static_cast<size_t>(i)].c_str(), name) == 0) return i;
    }
  }
  return -1;
}

void FindChannels(VXIOp_Open* open) {
  const OIIO::ImageSpec& spec = open->spec;
  VXIOp_Channels& found = open->channels;
  found.alpha = IndexOf(spec, {"A", "alpha"});
  if (found.alpha < 0 && spec.alpha_channel >= 0 && spec.alpha_channel < spec.nchannels) {
    found.alpha = spec.alpha_channel;
  }
  found.red = IndexOf(spec, {"R", "red"});
  found.green = IndexOf(spec, {"G", "green"});
  found.blue = IndexOf(spec, {"B", "blue"});
  std::string guess;
  if (found.red < 0 || found.green < 0 || found.blue < 0) {
    int grey = IndexOf(spec, {"Y", "grey", "gray", "L", "luminance"});
    std::vector<int> colours;
    for (int i = 0; i < spec.nchannels; ++i) {
      if (i != found.alpha) colours.push_back(i);
    }
    if (colours.empty()) VXIOp_ThrowInput(open->path, "holds nothing but alpha");
    if (grey >= 0 || colours.size() < 3) {
      found.red = found.green = found.blue = grey >= 0 ? grey : colours[0];
      guess = "its first channel as grey";
    } else {
      found.red = colours[0];
      found.green = colours[1];
      found.blue = colours[2];
      guess = "its first three channels as red, green and blue";
    }
  }
  std::set<int> used = {found.red, found.green, found.blue};
  if (found.alpha >= 0) used.insert(found.alpha);
  if (static_cast<int>(used.size()) < spec.nchannels) {
    if (guess.empty()) guess = found.alpha < 0 ? "R, G and B" : "R, G, B and A";
    open->warnings.push_back(open->path + ": has " + std::to_string(spec.nchannels) +
                             " channels; took " + guess + ", left out the others");
  }
}

int32_t DepthOfSamples(const OIIO::ImageSpec& spec) {
  if (!spec.channelformats.empty()) return 32;
  if (spec.format == OIIO::TypeDesc::UINT8) return 8;
  if (spec.format == OIIO::TypeDesc::UINT16) return 16;
  return 32;
}

VXIO_AlphaKind AlphaOf(const VXIOp_Open& open) {
  if (open.channels.alpha < 0) return VXIO_AlphaKind::None;
  if (open.spec.get_int_attribute("oiio:UnassociatedAlpha", 0)) return VXIO_AlphaKind::Straight;
  // Without this attribute, alpha is premultiplied in the formats that can declare it as straight,
  // and straight in the others.
  std::string_view name = open.format->name;
  return name == "tiff" || name == "exr" || name == "tga" ? VXIO_AlphaKind::Premultiplied
                                                          : VXIO_AlphaKind::Straight;
}

}  // namespace

bool VXIO_IsPicture(const std::string& path) {
  VXIOp_CheckFile(path, "a picture or a clip");
  if (VXIOp_FormatOfContent(VXIOp_Head(path, 16), path)) return true;
  return VXIOp_FormatOfName(path) && VXIOp_ClipFormatOf(path).empty();
}

VXIOp_Open VXIOp_OpenPicture(const std::string& path) {
  VXIOp_Open open;
  open.path = path;
  bool should_have_profile = false;
  open.format = CheckContent(path, &should_have_profile);
  open.input = OIIO::ImageInput::create(open.format->oiio_name);
  if (!open.input) {
    VXIOp_ThrowInput(path, std::string("this OpenImageIO cannot read ") + open.format->name);
  }
  OIIO::ImageSpec wish;
  wish.attribute("oiio:UnassociatedAlpha", 1);
  bool ok = false;
  std::string why;
  try {
    ok = open.input->open(path, open.spec, wish);
    if (!ok) why = VXIOp_FirstLine(open.input->geterror());
  } catch (const std::bad_alloc&) {
    throw vx::Error(vx::ErrorCode::out_of_memory);
  } catch (const std::exception& error) {
    why = VXIOp_FirstLine(error.what());
  }
  if (!ok) VXIOp_ThrowInput(path, "is truncated or damaged (" + why + ")");
  VXIOp_CheckSize(path, open.spec.width, open.spec.height);
  if (open.spec.deep) VXIOp_ThrowInput(path, "holds deep samples; flatten it first");
  if (open.spec.depth > 1) VXIOp_ThrowInput(path, "is a volume, not a picture");
  if (open.spec.nchannels < 1) VXIOp_ThrowInput(path, "has no channels");
  FindChannels(&open);
  if (should_have_profile && !open.spec.find_attribute("ICCProfile")) {
    open.warnings.push_back(path + ": its embedded profile is damaged or not for such a picture; " +
                            "it counts as absent");
  }
  open.alpha = AlphaOf(open);
  open.depth = DepthOfSamples(open.spec);
  open.orientation = open.spec.get_int_attribute("Orientation", 1);
  if (open.orientation < 1 || open.orientation > 8) open.orientation = 1;
  std::string_view name = open.format->name;
  if ((name == "tiff" || name == "exr") && open.input->seek_subimage(1, 0)) {
    open.parts = 2;
    open.warnings.push_back(path + ": holds more than one picture; the first is used");
  }
  if ((name == "tiff" || name == "exr") && !open.input->seek_subimage(0, 0)) {
    VXIOp_ThrowInput(path, "is damaged (" + VXIOp_FirstLine(open.input->geterror()) + ")");
  }
  static_cast<void>(open.input->geterror());  // clears the error of seek_subimage
  return open;
}

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "VXIO_Open.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <set>

#include "VXIO_CodecTable.h"
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

// Returns the number of samples per pixel for a descriptor of a DPX image element; 0 if unknown.
int64_t DpxComponents(uint8_t descriptor) {
  if (descriptor <= 9) return descriptor == 7 ? 2 : 1;
  if (descriptor >= 150 && descriptor <= 156) return descriptor - 148;
  switch (descriptor) {
    case 50:
    case 101:
    case 102: return 3;
    case 51:
    case 52:
    case 103: return 4;
    case 100: return 2;
    default: return 0;
  }
}

// Checks that a DPX contains the pixels that its header declares (SMPTE ST 268). OpenImageIO's
// reader does not notice a missing part of 10-bit and 12-bit samples, and it allocates the user
// header at its declared size.
void CheckDpx(const std::string& path, std::ifstream& file, int64_t size) {
  char head[816] = {};
  file.seekg(0);
  file.read(head, sizeof head);
  const bool little = head[0] == 'X';
  auto number = [&](size_t at, size_t bytes) {
    int64_t value = 0;
    for (size_t i = 0; i < bytes; ++i) {
      value = value << 8 | static_cast<unsigned char>(head[little ? at + bytes - 1 - i : at + i]);
    }
    return value;
  };
  constexpr int64_t kUndefined = 0xFFFFFFFF;
  const int64_t user = number(32, 4), width = number(772, 4), height = number(776, 4);
  const int64_t bits = number(803, 1), packing = number(804, 2), encoding = number(806, 2);
  int64_t begin = number(808, 4), padding = number(812, 4);
  if (begin == 0 || begin == kUndefined) begin = number(4, 4);
  if (padding == kUndefined) padding = 0;
  VXIOp_CheckSize(path, width, height);
  const int64_t samples = width * DpxComponents(static_cast<uint8_t>(number(800, 1)));
  int64_t row = samples * bits / 8;  // whole bytes: rows are not padded
  const int64_t packed = (samples * bits + 31) / 32 * 4;
  if (bits == 10) row = packing == 0 ? packed : (samples + 2) / 3 * 4;
  if (bits == 12) row = packing == 0 ? packed : samples * 2;
  const bool known = encoding != 1 && samples > 0;  // run lengths have no fixed size
  if ((user != kUndefined && user > size) ||
      (known && begin + height * row + (height - 1) * padding > size)) {
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

int IndexOf(const std::vector<std::string>& channels, std::initializer_list<const char*> names) {
  for (size_t i = 0; i < channels.size(); ++i) {
    for (const char* name : names) {
      if (strcasecmp(channels[i].c_str(), name) == 0) return static_cast<int>(i);
    }
  }
  return -1;
}

// `names` has a name for each channel of the file. Channels with an empty name are not used.
void FindChannels(const std::vector<std::string>& names, VXIOp_Open* open) {
  const OIIO::ImageSpec& spec = open->spec;
  VXIOp_Channels& found = open->channels;
  const auto members =
      names.size() - static_cast<size_t>(std::count(names.begin(), names.end(), ""));
  found.alpha = IndexOf(names, {"A", "alpha"});
  if (found.alpha < 0 && spec.alpha_channel >= 0 && spec.alpha_channel < spec.nchannels &&
      !names[static_cast<size_t>(spec.alpha_channel)].empty() && members > 1) {
    found.alpha = spec.alpha_channel;
  }
  found.red = IndexOf(names, {"R", "red"});
  found.green = IndexOf(names, {"G", "green"});
  found.blue = IndexOf(names, {"B", "blue"});
  std::string guess;
  if (found.red < 0 || found.green < 0 || found.blue < 0) {
    int grey = IndexOf(names, {"Y", "grey", "gray", "L", "luminance"});
    std::vector<int> colours;
    for (int i = 0; i < spec.nchannels; ++i) {
      if (i != found.alpha && !names[static_cast<size_t>(i)].empty()) colours.push_back(i);
    }
    if (colours.empty()) VXIOp_ThrowInput(open->path, "holds nothing but alpha");
    if (grey >= 0 || colours.size() < 3) {
      found.red = found.green = found.blue = grey >= 0 ? grey : colours[0];
      guess = members > 1 ? "its first channel as grey" : "";
    } else {
      found.red = colours[0];
      found.green = colours[1];
      found.blue = colours[2];
      guess = "its first three channels as red, green and blue";
    }
  }
  std::set<int> used = {found.red, found.green, found.blue};
  if (found.alpha >= 0) used.insert(found.alpha);
  if (used.size() < members) {
    if (guess.empty()) guess = found.alpha < 0 ? "R, G and B" : "R, G, B and A";
    open->warnings.push_back(open->path + ": has " + std::to_string(members) + " channels; took " +
                             guess + ", left out the others");
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

// --- layers of an EXR ----------------------------------------------------------------------------

// The channel "diffuse.R" belongs to the layer "diffuse"; "R" belongs to the layer "".
std::string LayerOf(const std::string& channel) {
  const size_t dot = channel.rfind('.');
  return dot == std::string::npos ? "" : channel.substr(0, dot);
}

// Returns the channels of a layer by their names without the layer; other names are empty.
std::vector<std::string> ChannelsIn(const OIIO::ImageSpec& spec, const std::string& layer) {
  std::vector<std::string> names;
  for (const std::string& channel : spec.channelnames) {
    const bool member = LayerOf(channel) == layer;
    names.push_back(member ? channel.substr(layer.empty() ? 0 : layer.size() + 1) : "");
  }
  return names;
}

bool IsColour(const std::string& channel) {
  return channel == "R" || channel == "G" || channel == "B" || channel == "A";
}

void AddLayers(const OIIO::ImageSpec& spec, std::vector<std::string>* layers) {
  const auto add = [&](const std::string& name) {
    if (!name.empty() && std::find(layers->begin(), layers->end(), name) == layers->end()) {
      layers->push_back(name);
    }
  };
  add(std::string(spec.get_string_attribute("oiio:subimagename")));
  for (const std::string& channel : spec.channelnames) {
    add(LayerOf(channel));
    if (LayerOf(channel).empty() && !IsColour(channel)) add(channel);
  }
}

// Returns the names of the channels if the part of a file contains this layer, else nothing. A
// layer is a part, a group of channels or one channel.
std::vector<std::string> MatchLayer(const OIIO::ImageSpec& spec, const std::string& layer) {
  const auto has_member = [](const std::vector<std::string>& names) {
    return std::any_of(names.begin(), names.end(), [](const auto& name) { return !name.empty(); });
  };
  std::vector<std::string> names = ChannelsIn(spec, layer);
  if (has_member(names)) return names;
  if (spec.get_string_attribute("oiio:subimagename") == layer) {
    names = ChannelsIn(spec, "");
    return has_member(names) ? names : ChannelsIn(spec, LayerOf(spec.channelnames[0]));
  }
  names.clear();
  for (const std::string& channel : spec.channelnames)
    names.push_back(channel == layer ? channel : "");
  return has_member(names) ? names : std::vector<std::string>();
}

// Selects the part that contains `layer`, or the first part if `layer` is empty. Returns the names
// of the channels to use; the other names are empty.
std::vector<std::string> SelectLayer(const std::string& layer, VXIOp_Open* open) {
  std::vector<std::string> names;
  const OIIO::ImageSpec first = open->spec;
  const std::string_view format = open->format->name;
  if (format != "exr" && format != "tiff" && format != "gif") return first.channelnames;
  OIIO::ImageSpec spec = first;
  int part = 0;
  do {
    if (format == "exr") AddLayers(spec, &open->layers);
    if (!layer.empty() && names.empty()) {
      names = MatchLayer(spec, layer);
      open->part = part;
      open->spec = spec;
    }
    if (part == 1) open->parts = 2;
    if (part == 1 && format != "exr") break;
    spec = open->input->seek_subimage(++part, 0) ? open->input->spec() : OIIO::ImageSpec();
  } while (spec.nchannels > 0);
  if (!layer.empty() && names.empty()) {
    std::string known;
    for (const std::string& name : open->layers) known += (known.empty() ? "" : ", ") + name;
    VXIOp_ThrowInput(open->path,
                     "has no layer of this name; it has " + (known.empty() ? "none" : known));
  }
  if (!open->input->seek_subimage(open->part, 0)) {
    VXIOp_ThrowInput(open->path, "is damaged (" + VXIOp_FirstLine(open->input->geterror()) + ")");
  }
  if (layer.empty() && open->parts > 1) {
    open->warnings.push_back(
        open->path + ": holds more than one picture; the first is used" +
        (format == "exr" ? " (vx info lists the layers; FILE@LAYER reads one)" : ""));
  }
  return layer.empty() ? first.channelnames : names;
}

}  // namespace

VXIOp_Open VXIOp_OpenPicture(const std::string& path) {
  VXIOp_Open open;
  open.path = path;
  const std::string file = VXIO_FileOf(path);
  const std::string layer = path.substr(std::min(file.size() + 1, path.size()));
  bool should_have_profile = false;
  open.format = CheckContent(file, &should_have_profile);
  open.input = OIIO::ImageInput::create(open.format->oiio_name);
  if (!open.input) {
    VXIOp_ThrowInput(path, std::string("this OpenImageIO cannot read ") + open.format->name);
  }
  OIIO::ImageSpec wish;
  wish.attribute("oiio:UnassociatedAlpha", 1);
  bool ok = false;
  std::string why;
  try {
    ok = open.input->open(file, open.spec, wish);
    if (!ok) why = VXIOp_FirstLine(open.input->geterror());
  } catch (const std::bad_alloc&) {
    throw vx::Error(vx::ErrorCode::out_of_memory);
  } catch (const std::exception& error) {
    why = VXIOp_FirstLine(error.what());
  }
  if (!ok) VXIOp_ThrowInput(path, "is truncated or damaged (" + why + ")");
  if (file != path && std::string_view(open.format->name) != "exr") {
    VXIOp_ThrowInput(path, std::string("only exr has layers, not ") + open.format->name);
  }
  const std::vector<std::string> names = SelectLayer(layer, &open);
  VXIOp_CheckSize(path, open.spec.width, open.spec.height);
  if (open.spec.deep) VXIOp_ThrowInput(path, "holds deep samples; flatten it first");
  if (open.spec.depth > 1) VXIOp_ThrowInput(path, "is a volume, not a picture");
  if (open.spec.nchannels < 1) VXIOp_ThrowInput(path, "has no channels");
  FindChannels(names, &open);
  if (should_have_profile && !open.spec.find_attribute("ICCProfile")) {
    open.warnings.push_back(path + ": its embedded profile is damaged or not for such a picture; " +
                            "it counts as absent");
  }
  open.alpha = AlphaOf(open);
  open.depth = DepthOfSamples(open.spec);
  open.orientation = open.spec.get_int_attribute("Orientation", 1);
  if (open.orientation < 1 || open.orientation > 8) open.orientation = 1;
  static_cast<void>(open.input->geterror());  // clears the error of seek_subimage
  return open;
}

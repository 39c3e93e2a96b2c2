// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx info: shows the properties of a picture or a clip, from its header.

#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "Console.h"
#include "StandardStreams.h"
#include "VXIO/VXIO_Clip.h"
#include "VXIO/VXIO_Memory.h"
#include "Verbs.h"

namespace vxcli {

namespace {

using Json = nlohmann::ordered_json;

Json RectOf(const vx::Rect& rect) { return {rect.left, rect.top, rect.right, rect.bottom}; }

Json Describe(const VXIO_Info& info) {
  static const char* const kAlpha[] = {"none", "straight", "premultiplied"};
  Json json = {{"file", info.path},
               {"format", info.format},
               {"width", info.width},
               {"height", info.height},
               {"data_window", RectOf(info.windows.data)},
               {"display_window", RectOf(info.windows.display)},
               {"channels", info.channels},
               {"sample_type", info.sample_type},
               {"bits", info.bits},
               {"depth", info.depth},
               {"alpha", kAlpha[static_cast<int>(info.alpha)]},
               {"orientation", info.orientation},
               {"pictures", info.parts},
               {"layers", info.layers},
               {"profile", nullptr},
               {"metadata", Json::object()}};
  if (info.has_profile) json["profile"] = info.profile.empty() ? "without a name" : info.profile;
  for (const auto& [name, value] : info.metadata) json["metadata"][name] = value;
  return json;
}

void PrintText(const VXIO_Info& info, const Json& json) {
  std::string channels;
  for (const std::string& name : info.channels) channels += (channels.empty() ? "" : " ") + name;
  std::cout << info.path << ": " << info.format << ", " << info.width << " x " << info.height
            << '\n';
  if (info.windows.Differ()) {
    std::cout << "windows   data " << json["data_window"].dump() << ", display "
              << json["display_window"].dump() << " (left, top, right, bottom)\n";
  }
  std::cout << "channels  " << channels << '\n'
            << "samples   " << info.sample_type << ", " << info.bits << " bits; worked on at "
            << info.depth << " bits\n"
            << "alpha     " << json["alpha"].get<std::string>() << '\n';
  if (info.orientation != 1) {
    std::cout << "upright   after turning (orientation " << info.orientation << ")\n";
  }
  if (info.parts > 1) std::cout << "pictures  more than one; the first is used\n";
  for (size_t i = 0; i < info.layers.size(); ++i) {
    std::cout << (i == 0 ? "layers    " : " ") << info.layers[i];
  }
  if (!info.layers.empty()) std::cout << '\n';
  std::cout << "profile   " << (info.has_profile ? json["profile"].get<std::string>() : "none")
            << '\n'
            << "metadata  " << info.metadata.size() << " entries\n";
  for (const auto& [name, value] : info.metadata) {
    std::cout << "  " << name << " = " << value << '\n';
  }
}

std::string Ratio(const VXIO_Rational& value, const char* between) {
  return std::to_string(value.num) + between + std::to_string(value.den);
}

Json Describe(const VXIO_ClipInfo& info) {
  Json json = {{"file", info.path},
               {"format", info.format},
               {"codec", info.codec},
               {"width", info.width},
               {"height", info.height},
               {"pixel_format", info.pixel_format},
               {"bits", info.bits},
               {"depth", info.depth},
               {"alpha", info.has_alpha ? "straight" : "none"},
               {"frame_rate", nullptr},
               {"frames", nullptr},
               {"duration", nullptr},
               {"matrix", info.matrix},
               {"matrix_tagged", info.matrix_tagged},
               {"full_range", info.full_range},
               {"pixel_aspect", Ratio(info.pixel_aspect, ":")},
               {"orientation", info.orientation}};
  if (info.frame_rate.num > 0) json["frame_rate"] = Ratio(info.frame_rate, "/");
  if (info.frames) json["frames"] = *info.frames;
  if (info.duration) json["duration"] = *info.duration;
  return json;
}

void PrintText(const VXIO_ClipInfo& info, const Json& json) {
  auto text_of = [&](const char* name) {
    return json[name].is_null()     ? "unknown"
           : json[name].is_string() ? json[name].get<std::string>()
                                    : json[name].dump();
  };
  std::cout << info.path << ": " << info.format << ", " << info.codec << ", " << info.width << " x "
            << info.height << '\n'
            << "frames    " << text_of("frames") << ", " << text_of("frame_rate") << " a second, "
            << text_of("duration") << " seconds\n"
            << "samples   " << info.pixel_format << ", " << info.bits << " bits; worked on at "
            << info.depth << " bits\n"
            << "colours   " << info.matrix << (info.matrix_tagged ? "" : " (assumed)") << ", "
            << (info.full_range ? "full" : "limited") << " range\n"
            << "alpha     " << text_of("alpha") << '\n';
  if (info.orientation != 1) {
    std::cout << "upright   after turning (orientation " << info.orientation << ")\n";
  }
  if (info.pixel_aspect.num != info.pixel_aspect.den) {
    std::cout << "pixels    " << text_of("pixel_aspect") << ", width to height; not applied\n";
  }
}

template <class Info>
int Print(Info info, const std::string& name, bool as_json) {
  info.path = name;
  const Json json = Describe(info);
  if (as_json) {
    PrintJson(json);
  } else {
    PrintText(info, json);
  }
  return kDone;
}

int Run(const std::string& name, bool as_json) {
  const std::string stored = name == kStandardStream ? StandardInputFile() : "";
  const std::string& file = stored.empty() ? name : stored;
  try {
    if (!VXIO_IsPicture(file)) return Print(VXIO_ClipReader(file).info(), name, as_json);
    return Print(VXIO_ReadInfo(file), name, as_json);
  } catch (const VXIO_Error& error) {
    throw VXIO_Error(error.kind(), VXIO_Renamed(error.what(), stored, kStandardStream));
  }
}

}  // namespace

Verb InfoVerb() {
  struct InfoOptions {
    std::string file;
    bool json = false;
  };
  auto to = std::make_shared<InfoOptions>();
  OptionList options = {
      Option{"FILE", " ", Text(&to->file), "A picture or a clip, or - for the standard input"}
          .Required(),
      {"--json", "", Flag(&to->json), "Print JSON"}};
  return {"info", "Show the properties of a picture or a clip", std::move(options),
          "Example:\n  vx info photo.tif --json",
          [to](const Verb&) { return Run(to->file, to->json); }};
}

}  // namespace vxcli

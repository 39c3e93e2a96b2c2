// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx info: what a picture file says about itself.

#include <iostream>
#include <memory>

#include "Console.h"
#include "Errors.h"
#include "VXIO/VXIO_Picture.h"
#include "Verbs.h"

namespace vxcli {

namespace {

using Json = nlohmann::ordered_json;

Json Describe(const VXIO_Info& info) {
  static const char* const kAlpha[] = {"none", "straight", "premultiplied"};
  Json json = {{"file", info.path},
               {"format", info.format},
               {"width", info.width},
               {"height", info.height},
               {"channels", info.channels},
               {"sample_type", info.sample_type},
               {"bits", info.bits},
               {"depth", info.depth},
               {"alpha", kAlpha[static_cast<int>(info.alpha)]},
               {"orientation", info.orientation},
               {"pictures", info.parts},
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
            << '\n'
            << "channels  " << channels << '\n'
            << "samples   " << info.sample_type << ", " << info.bits << " bits; worked on at "
            << info.depth << " bits\n"
            << "alpha     " << json["alpha"].get<std::string>() << '\n';
  if (info.orientation != 1) {
    std::cout << "upright   after turning (orientation " << info.orientation << ")\n";
  }
  if (info.parts > 1) std::cout << "pictures  more than one; the first is used\n";
  std::cout << "profile   " << (info.has_profile ? json["profile"].get<std::string>() : "none")
            << '\n'
            << "metadata  " << info.metadata.size() << " entries\n";
  for (const auto& [name, value] : info.metadata) {
    std::cout << "  " << name << " = " << value << '\n';
  }
}

int Run(const std::string& file, bool as_json) {
  VXIO_Info info = VXIO_ReadInfo(file);
  Json json = Describe(info);
  if (as_json) {
    PrintJson(json);
  } else {
    PrintText(info, json);
  }
  return kDone;
}

}  // namespace

Verb AddInfo(CLI::App* root) {
  auto file = std::make_shared<std::string>();
  auto json = std::make_shared<bool>(false);
  CLI::App* app = root->add_subcommand("info", "Show what a picture file says about itself");
  app->add_option("FILE", *file, "A picture")->type_name(" ")->required();
  app->add_flag("--json", *json, "Print JSON");
  app->footer("Example:\n  vx info photo.tif --json");
  return {app, [file, json] { return Run(*file, *json); }};
}

}  // namespace vxcli

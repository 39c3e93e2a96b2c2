// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx profile: shows a colour profile and its curve, and lists the built-in profiles.

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "Color.h"
#include "Console.h"
#include "VX/cpp/Pixels.hpp"
#include "VXIO/VXIO_Profile.h"
#include "Verbs.h"

namespace vxcli {

namespace {

using Json = nlohmann::ordered_json;

struct ProfileOptions {
  std::string profile, plot, write;
  bool json = false, list = false, overwrite = false, no_clobber = false;
};

float Exponent(const COR_QCE_ProfilePtr& profile) {
  float exponent = 0;
  CheckEngine(COR_QCE_GetToneExponent(profile, &exponent), "exponent of a profile");
  return exponent;
}

std::string Decimals(const char* form, double value) {
  char text[32];
  std::snprintf(text, sizeof text, form, value);
  return text;
}

// --- the plot ------------------------------------------------------------------------------------

// The plot is drawn at four times its size and scaled down, so that the lines are antialiased.
constexpr int32_t kScale = 4, kSide = 256 * kScale, kBorder = 12 * kScale;
constexpr int32_t kWhole = kSide + 2 * kBorder;

constexpr vx::Pixel8 kPaper = {255, 250, 250, 250}, kGrid = {255, 215, 215, 215},
                     kFrame = {255, 120, 120, 120}, kCurve = {255, 200, 40, 20};

// Draws the line of column `x` from the height `from` to the height `to`.
void DrawStep(const vx::Pixel8& color, int32_t x, int32_t from, int32_t to, int32_t thick,
              vx::AnyView plot) {
  const int32_t low = kBorder + kSide - std::min(from, to),
                high = kBorder + kSide - std::max(from, to);
  vx::fill(plot, color,
           {vx::Rect{kBorder + x - thick / 2, high - thick / 2, kBorder + x + thick / 2 + 1,
                     low + thick / 2 + 1}});
}

// Returns a plot of the tone curve: stored values on the horizontal axis, linear light on the
// vertical axis, a grid of quarters, and the diagonal, which is the curve of a linear profile.
vx::Image PlotCurve(const vx::LinearTables& tables) {
  vx::Image large(kWhole, kWhole, 8);
  vx::fill(large, kPaper);
  for (int32_t i = 0; i <= 4; ++i) {
    const vx::Pixel8& color = i % 4 == 0 ? kFrame : kGrid;
    const int32_t at = kBorder + i * kSide / 4 - kScale / 2, end = kBorder + kSide + kScale / 2;
    vx::fill(large, color, {vx::Rect{at, kBorder, at + kScale, end}});
    vx::fill(large, color, {vx::Rect{kBorder, at, end, at + kScale}});
  }
  for (int32_t x = 0; x < kSide; ++x) DrawStep(kFrame, x, x, x + 1, kScale, large);
  auto height = [&](int32_t stored) {
    return static_cast<int32_t>(tables.linearize[stored] * int64_t{kSide} / 32768);
  };
  for (int32_t x = 0; x < kSide; ++x) {
    // Linear interpolation between two stored values.
    auto at = [&](int32_t column) {
      const int32_t position = column * 255, stored = position / kSide, part = position % kSide;
      const int32_t next = std::min(stored + 1, 255);
      return height(stored) + (height(next) - height(stored)) * part / kSide;
    };
    DrawStep(kCurve, x, at(x), at(x + 1), 2 * kScale, large);
  }
  return vx::resize(large, kWhole / kScale, kWhole / kScale);
}

// --- the verb ------------------------------------------------------------------------------------

int List(bool as_json) {
  Json rows = Json::array();
  for (const std::string& name : BuiltInProfiles()) {
    const COR_QCE_ProfilePtr profile = FindProfile("profile", name).profile;
    const float exponent = Exponent(profile);
    rows.push_back({{"name", name}, {"exponent", exponent}, {"id", ProfileID(profile)}});
    if (as_json) continue;
    std::cout << name << std::string(name.size() < 14 ? 14 - name.size() : 1, ' ') << "exponent "
              << Decimals("%.4f", exponent) << '\n';
  }
  if (as_json) PrintJson(rows);
  return kDone;
}

void PrintText(const Json& record, const vx::LinearTables& tables) {
  std::cout << record["description"].get<std::string>() << '\n'
            << "from      " << record["from"].get<std::string>() << ", "
            << record["bytes"].get<size_t>() << " bytes\n"
            << "id        " << record["id"].get<std::string>() << '\n'
            << "exponent  " << Decimals("%.4f", record["exponent"].get<float>())
            << " from stored to linear\n"
            << "curve     stored  linear\n";
  for (int32_t stored = 0; stored < 256; stored += stored == 240 ? 15 : 16) {
    std::cout << Decimals("%16.0f", stored)
              << Decimals("  %.5f", tables.linearize[stored] / 32768.0) << '\n';
  }
}

int Run(const ProfileOptions& options) {
  if (options.list) {
    if (!options.profile.empty() || !options.plot.empty() || !options.write.empty()) {
      throw UsageError("--list: cannot be combined with a profile, --plot or --write");
    }
    return List(options.json);
  }
  if (options.profile.empty())
    throw UsageError("profile: needs a FILE or NAME; --list shows the names");
  if (!options.write.empty() && !HasProfileExtension(options.write)) {
    throw UsageError("--write '" + options.write + "': must end in .icc or .icm");
  }
  const auto clobber = options.no_clobber ? VXIO_Clobber::Refuse : VXIO_Clobber::Overwrite;
  if (!options.plot.empty()) VXIO_CheckOutput(options.plot, clobber);
  if (!options.write.empty()) VXIO_CheckFile(options.write, clobber);
  const NamedProfile found = FindProfile("profile", options.profile);
  std::vector<uint8_t> bytes;
  CheckEngine(COR_QCE_GetProfileBytes(found.profile, &bytes), options.profile);
  const auto tables = vx::linear_tables(vx::Profile(found.profile));
  Json record = {{"profile", options.profile},
                 {"from", found.from},
                 {"description", VXIO_ProfileName(found.profile)},
                 {"id", ProfileID(found.profile)},
                 {"bytes", bytes.size()},
                 {"exponent", Exponent(found.profile)},
                 {"curve", tables->linearize},
                 {"curve_full", 32768}};
  if (!options.plot.empty()) {
    VXIO_WriteOptions write;
    write.clobber = clobber;
    const vx::Image plot = WithContext("plot", [&] { return PlotCurve(*tables); });
    Warn(VXIO_Write(options.plot, *plot.world(), write));
  }
  if (!options.write.empty()) {
    VXIO_WriteText(options.write, std::string(bytes.begin(), bytes.end()));
  }
  if (options.json) {
    PrintJson(record);
  } else {
    PrintText(record, *tables);
  }
  return kDone;
}

}  // namespace

Verb ProfileVerb() {
  auto to = std::make_shared<ProfileOptions>();
  OptionList options = {
      {"PROFILE", "FILE|NAME", Text(&to->profile),
       "A built-in name, an .icc or .icm file, or a picture with an embedded profile"},
      {"--list", "", Flag(&to->list), "Show the built-in profiles"},
      {"--plot", "OUT", Text(&to->plot),
       "Plot the curve: stored values horizontally, linear light vertically"},
      {"--write", "OUT", Text(&to->write),
       "Write the profile to a file with the extension .icc or .icm"},
      Option{"--overwrite", "", Flag(&to->overwrite), "Replace outputs that exist"}.Without("yes"),
      Option{"--no-clobber", "", Flag(&to->no_clobber), "Fail if an output exists"}.Excludes(
          "--overwrite"),
      {"--json", "", Flag(&to->json),
       "Print JSON; \"curve\" is the linear light of the stored values 0 to 255, where "
       "\"curve_full\" is full"}};
  return {"profile", "Show a colour profile and its tone curve", std::move(options),
          "Example:\n  vx profile photo.jpg --plot curve.png",
          [to](const Verb&) { return Run(*to); }};
}

}  // namespace vxcli

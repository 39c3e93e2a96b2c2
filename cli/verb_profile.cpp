// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx profile: what a colour profile is, its curve, and the built-in ones.

#include <cstdio>
#include <iostream>
#include <memory>

#include "Console.h"
#include "Errors.h"
#include "ProfilePlot.h"
#include "Profiles.h"
#include "VX/VX_ColorSettings.h"
#include "VXIO/VXIO_Profile.h"
#include "Verbs.h"

namespace vxcli {

namespace {

using Json = nlohmann::ordered_json;

struct ProfileWords {
  std::string word, plot, write;
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

void PrintText(const Json& told, const VX_LinearBlendingTables& tables) {
  std::cout << told["description"].get<std::string>() << '\n'
            << "from      " << told["from"].get<std::string>() << ", "
            << told["bytes"].get<size_t>() << " bytes\n"
            << "id        " << told["id"].get<std::string>() << '\n'
            << "exponent  " << Decimals("%.4f", told["exponent"].get<float>())
            << " from stored to linear\n"
            << "curve     stored  linear\n";
  for (int32_t stored = 0; stored < 256; stored += stored == 240 ? 15 : 16) {
    std::cout << Decimals("%16.0f", stored)
              << Decimals("  %.5f", tables.linearize[stored] / 32768.0) << '\n';
  }
}

int Run(const ProfileWords& words) {
  if (words.list) {
    if (!words.word.empty() || !words.plot.empty() || !words.write.empty()) {
      throw UsageError("--list: stands alone; it takes no profile and writes nothing");
    }
    return List(words.json);
  }
  if (words.word.empty()) throw UsageError("profile: needs a FILE or NAME; --list shows the names");
  if (!words.write.empty() && !HasProfileExtension(words.write)) {
    throw UsageError("--write '" + words.write + "': must end in .icc or .icm");
  }
  const auto clobber = words.no_clobber ? VXIO_Clobber::Refuse : VXIO_Clobber::Overwrite;
  if (!words.plot.empty()) VXIO_CheckOutput(words.plot, clobber);
  if (!words.write.empty()) VXIO_CheckFile(words.write, clobber);
  const NamedProfile found = FindProfile("profile", words.word);
  std::vector<uint8_t> bytes;
  CheckEngine(COR_QCE_GetProfileBytes(found.profile, &bytes), words.word);
  const auto tables = VX_MakeLinearizationTables(found.profile);
  Json told = {{"profile", words.word},
               {"from", found.from},
               {"description", VXIO_ProfileName(found.profile)},
               {"id", ProfileID(found.profile)},
               {"bytes", bytes.size()},
               {"exponent", Exponent(found.profile)},
               {"curve", tables->linearize},
               {"curve_full", 32768}};
  if (!words.plot.empty()) {
    VXIO_WriteOptions options;
    options.clobber = clobber;
    Warn(VXIO_Write(words.plot, *PlotCurve(*tables), options));
  }
  if (!words.write.empty()) {
    VXIO_WriteText(words.write, std::string(bytes.begin(), bytes.end()));
  }
  if (words.json) {
    PrintJson(told);
  } else {
    PrintText(told, *tables);
  }
  return kDone;
}

}  // namespace

Verb AddProfile(CLI::App* root) {
  auto words = std::make_shared<ProfileWords>();
  CLI::App* app = root->add_subcommand("profile", "Show a colour profile and its tone curve");
  app->add_option("PROFILE", words->word,
                  "A built-in name, an .icc or .icm file, or a picture that holds a profile")
      ->type_name("FILE|NAME");
  app->add_flag("--list", words->list, "Show the built-in profiles");
  app->add_option("--plot", words->plot,
                  "Draw the curve: stored values to the right, linear light upwards")
      ->type_name("OUT");
  app->add_option("--write", words->write, "Write the profile itself, to a name in .icc or .icm")
      ->type_name("OUT");
  auto* overwrite =
      app->add_flag("--overwrite", words->overwrite, "Replace outputs that exist [yes]");
  app->add_flag("--no-clobber", words->no_clobber, "Refuse when an output exists")
      ->excludes(overwrite);
  app->add_flag("--json", words->json,
                "Print JSON; \"curve\" holds the linear light of the stored values 0 to 255, of "
                "\"curve_full\"");
  app->footer("Example:\n  vx profile photo.jpg --plot curve.png");
  return {app, [words] { return Run(*words); }};
}

}  // namespace vxcli

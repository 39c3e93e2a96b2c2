// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx compare: are two pictures the same, and if not, how far apart.

#include <cmath>
#include <cstdio>
#include <iostream>
#include <limits>
#include <memory>

#include "Console.h"
#include "Errors.h"
#include "Profiles.h"
#include "VXIO/VXIO_Compare.h"
#include "Values.h"
#include "Verbs.h"

namespace vxcli {

namespace {

struct CompareWords {
  std::string first, second, diff, tolerance = "0";
  bool json = false;
};

using Json = nlohmann::ordered_json;

// JSON has no infinity; null stands for it.
Json Finite(double value) { return std::isfinite(value) ? Json(value) : Json(nullptr); }

struct Row {
  const char* name;
  const VXIO_ChannelDifference* difference;
};

std::vector<Row> Rows(const VXIO_Comparison& result) {
  return {{"alpha", &result.alpha},
          {"red", &result.red},
          {"green", &result.green},
          {"blue", &result.blue}};
}

void PrintText(const CompareWords& words, const VXIO_Comparison& result, int32_t depth,
               bool within) {
  if (result.equal) {
    std::cout << words.first << " and " << words.second << " are equal (" << depth << " bits)\n";
    return;
  }
  char line[200];
  std::cout << words.first << " and " << words.second << " differ in " << result.different_pixels
            << " pixels" << (within ? ", within the tolerance" : "") << '\n';
  for (const Row& row : Rows(result)) {
    std::snprintf(line, sizeof line, "%-6s largest %.9g  mean %.9g\n", row.name,
                  row.difference->largest, row.difference->mean);
    std::cout << line;
  }
  std::snprintf(line, sizeof line, "PSNR   %.3f dB at %d bits; largest at %d,%d\n", result.psnr,
                depth, result.x, result.y);
  std::cout << line;
}

void PrintRecord(const CompareWords& words, const VXIO_Comparison& result, int32_t depth,
                 bool within) {
  Json json = {{"a", words.first},
               {"b", words.second},
               {"depth", depth},
               {"equal", result.equal},
               {"within_tolerance", within},
               {"different_pixels", result.different_pixels},
               {"psnr", Finite(result.psnr)},
               {"largest_at", {result.x, result.y}}};
  for (const Row& row : Rows(result)) {
    json["channels"][row.name] = {{"largest", Finite(row.difference->largest)},
                                  {"mean", Finite(row.difference->mean)}};
  }
  PrintJson(json);
}

int Run(const CompareWords& words) {
  double tolerance =
      ParseNumber("--tolerance", words.tolerance, 0, std::numeric_limits<double>::infinity());
  if (!words.diff.empty()) VXIO_CheckOutput(words.diff, VXIO_Clobber::Overwrite);
  VXIO_Info first = VXIO_ReadInfo(words.first), second = VXIO_ReadInfo(words.second);
  if (first.width != second.width || first.height != second.height) {
    if (words.json) {
      PrintJson({{"a", words.first},
                 {"b", words.second},
                 {"equal", false},
                 {"within_tolerance", false},
                 {"sizes", {{first.width, first.height}, {second.width, second.height}}}});
    } else {
      std::cout << words.first << " is " << first.width << " x " << first.height << ", "
                << words.second << " is " << second.width << " x " << second.height << '\n';
    }
    if (!words.diff.empty()) Note(words.diff + ": not written, the sizes differ");
    return kInternal;
  }
  int32_t depth = std::max(first.depth, second.depth);
  if (first.depth != second.depth) {
    Note("compared at " + std::to_string(depth) + " bits, the deeper of the two");
  }
  VXIO_Picture a = VXIO_Read(words.first, depth), b = VXIO_Read(words.second, depth);
  Warn(a.warnings);
  Warn(b.warnings);
  VXIO_Comparison result = VXIO_Compare(*a.world, *b.world);
  const bool within = result.largest <= tolerance;
  if (!words.diff.empty()) {
    VXIO_WriteOptions options;
    options.metadata = ProfileAlone(words.first, a);
    Warn(VXIO_Write(words.diff, *VXIO_DifferencePicture(*a.world, *b.world), options));
  }
  if (words.json) {
    PrintRecord(words, result, depth, within);
  } else {
    PrintText(words, result, depth, within);
  }
  return within ? kDone : kInternal;
}

}  // namespace

Verb AddCompare(CLI::App* root) {
  auto words = std::make_shared<CompareWords>();
  CLI::App* app = root->add_subcommand(
      "compare", "Tell whether two pictures are equal, or how far apart they are");
  app->add_option("A", words->first, "A picture")->type_name("FILE")->required();
  app->add_option("B", words->second, "A picture of the same size")->type_name("FILE")->required();
  app->add_option("--tolerance", words->tolerance,
                  "Largest difference that still counts as equal, in the scale of the deeper depth "
                  "(0..255, 0..32768, or 1 is full at 32) [0]")
      ->type_name("NUMBER");
  app->add_option("--diff", words->diff, "Write the absolute differences as a picture")
      ->type_name("OUT");
  app->add_flag("--json", words->json, "Print JSON; null is infinite");
  app->footer(
      "Colours under alpha 0 count. Exit code 0: equal or within the tolerance; 1: they differ.\n"
      "Example:\n  vx compare a.png b.png --tolerance 1 --diff d.png");
  return {app, [words] { return Run(*words); }};
}

}  // namespace vxcli

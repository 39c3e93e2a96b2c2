// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx compare: reports whether two pictures are equal, and their differences.

#include <cstdio>
#include <iostream>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>

#include "Color.h"
#include "Console.h"
#include "VXIO/VXIO_Compare.h"
#include "Values.h"
#include "Verbs.h"

namespace vxcli {

namespace {

struct CompareOptions {
  std::string first, second, diff;
  double tolerance = 0;
  bool json = false;
};

using Json = nlohmann::ordered_json;

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

void PrintText(const CompareOptions& options, const VXIO_Comparison& result, int32_t depth,
               bool within) {
  if (result.equal) {
    std::cout << options.first << " and " << options.second << " are equal (" << depth
              << " bits)\n";
    return;
  }
  char line[200];
  std::cout << options.first << " and " << options.second << " differ in "
            << result.different_pixels << " pixels" << (within ? ", within the tolerance" : "")
            << '\n';
  for (const Row& row : Rows(result)) {
    std::snprintf(line, sizeof line, "%-6s largest %.9g  mean %.9g\n", row.name,
                  row.difference->largest, row.difference->mean);
    std::cout << line;
  }
  std::snprintf(line, sizeof line, "PSNR   %.3f dB at %d bits; largest at %d,%d\n", result.psnr,
                depth, result.x, result.y);
  std::cout << line;
}

void PrintRecord(const CompareOptions& options, const VXIO_Comparison& result, int32_t depth,
                 bool within) {
  Json json = {{"a", options.first},
               {"b", options.second},
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

int Run(const CompareOptions& options) {
  if (!options.diff.empty()) VXIO_CheckOutput(options.diff, VXIO_Clobber::Overwrite);
  VXIO_Info first = VXIO_ReadInfo(options.first), second = VXIO_ReadInfo(options.second);
  if (first.width != second.width || first.height != second.height) {
    if (options.json) {
      PrintJson({{"a", options.first},
                 {"b", options.second},
                 {"equal", false},
                 {"within_tolerance", false},
                 {"sizes", {{first.width, first.height}, {second.width, second.height}}}});
    } else {
      std::cout << options.first << " is " << first.width << " x " << first.height << ", "
                << options.second << " is " << second.width << " x " << second.height << '\n';
    }
    if (!options.diff.empty()) Note(options.diff + ": not written, the sizes differ");
    return kInternal;
  }
  int32_t depth = std::max(first.depth, second.depth);
  if (first.depth != second.depth) {
    Note("compared at " + std::to_string(depth) + " bits, the deeper of the two");
  }
  VXIO_Picture a = VXIO_Read(options.first, depth), b = VXIO_Read(options.second, depth);
  Warn(a.warnings);
  Warn(b.warnings);
  VXIO_Comparison result = VXIO_Compare(*a.world, *b.world);
  const bool within = result.largest <= options.tolerance;
  if (!options.diff.empty()) {
    VXIO_WriteOptions write;
    write.metadata = ProfileOnly(options.first, a);
    Warn(VXIO_Write(options.diff, *VXIO_DifferencePicture(*a.world, *b.world), write));
  }
  if (options.json) {
    PrintRecord(options, result, depth, within);
  } else {
    PrintText(options, result, depth, within);
  }
  return within ? kDone : kInternal;
}

}  // namespace

Verb CompareVerb() {
  auto to = std::make_shared<CompareOptions>();
  OptionList options = {
      Option{"A", "FILE", Text(&to->first), "A picture"}.Required(),
      Option{"B", "FILE", Text(&to->second), "A picture of the same size"}.Required(),
      Option{"--tolerance", "NUMBER",
             Number(&to->tolerance, 0, std::numeric_limits<double>::infinity()),
             "Largest difference that still counts as equal, in the scale of the deeper depth "
             "(0..255, 0..32768, or 1 is full at 32)"}
          .Default("0"),
      {"--diff", "OUT", Text(&to->diff), "Write the absolute differences as a picture"},
      {"--json", "", Flag(&to->json), "Print JSON; null means infinite"}};
  return {"compare", "Compare two pictures: report whether they are equal, and the differences",
          std::move(options),
          "Colours of transparent pixels are compared too. Exit code 0: equal or within the "
          "tolerance;\n"
          "1: different.\n"
          "Example:\n  vx compare a.png b.png --tolerance 1 --diff d.png",
          [to](const Verb&) { return Run(*to); }};
}

}  // namespace vxcli

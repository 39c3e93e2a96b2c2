// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx list: lists the modes, slots, formats, processor levels, options, modules, suites and
// libraries.

#include <cxxabi.h>
#include <dlfcn.h>

#include <CLI/Version.hpp>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "Console.h"
#include "VX/VX_OverrideTable.h"
#include "VX/VX_Package.h"
#include "VXIO/VXIO_Picture.h"
#include "Values.h"
#include "Verbs.h"
#include "host/VXHost.h"

namespace vxcli {

namespace {

using Json = nlohmann::ordered_json;

const char* AlphaName(VXIO_AlphaKind alpha) {
  if (alpha == VXIO_AlphaKind::None) return "none";
  return alpha == VXIO_AlphaKind::Straight ? "straight" : "premultiplied";
}

Json ListModes() {
  Json rows = Json::array();
  for (const vx::ModeInfo& info : vx::modes()) {
    Json aliases = Json::array();
    for (const vx::ModeAlias& alias : vx::mode_aliases()) {
      if (alias.mode == info.mode) aliases.push_back(alias.name);
    }
    rows.push_back({{"number", static_cast<int32_t>(info.mode)},
                    {"name", info.name},
                    {"other_names", std::move(aliases)}});
  }
  return rows;
}

// The shared object that contains a function, without its folder; null if it is unknown.
Json FileOf(const void* function) {
  Dl_info info{};
  if (!function || dladdr(function, &info) == 0 || !info.dli_fname) return nullptr;
  return std::filesystem::path(info.dli_fname).filename().string();
}

// The exported name of a function, as a programmer writes it; null if it is not exported.
Json SymbolOf(const void* function) {
  Dl_info info{};
  if (!function || dladdr(function, &info) == 0 || info.dli_saddr != function) return nullptr;
  int status = 0;
  const std::unique_ptr<char, void (*)(void*)> plain(
      abi::__cxa_demangle(info.dli_sname, nullptr, nullptr, &status), std::free);
  if (!plain) return info.dli_sname;
  const std::string text = plain.get();
  return text.substr(0, text.find('('));
}

Json ListSlots() {
  static const char* const kStates[] = {"empty", "built in", "replaced"};
  Json rows = Json::array();
  for (int32_t i = 0; i < VX_OverrideSlotCount; ++i) {
    VX_SlotDescription slot{};
    Check(VX_DescribeSlot(i, &slot));
    rows.push_back({{"number", slot.number},
                    {"name", slot.name ? Json(slot.name) : Json()},
                    {"state", kStates[slot.state]},
                    {"routine", SymbolOf(slot.routine)},
                    {"file", FileOf(slot.routine)}});
  }
  return rows;
}

Json ListModules() {
  Json rows = Json::array();
  for (const VXHost_Module& module : VXHost_ListModules()) {
    const bool loaded = module.error.empty();
    rows.push_back({{"file", module.path},
                    {"routines", module.routines},
                    {"state", loaded ? "loaded" : "failed"},
                    {"reason", loaded ? Json() : Json(module.error)}});
  }
  return rows;
}

Json ListSuites() {
  Json rows = Json::array();
  for (const VXHost_Suite& suite : VXHost_ListSuites()) {
    rows.push_back({{"name", suite.name}, {"version", suite.version}, {"members", suite.members}});
  }
  return rows;
}

Json ListLibraries() {
  std::vector<std::pair<std::string, std::string>> libraries = VXIO_ListLibraries();
  libraries.emplace_back("CLI11", CLI11_VERSION);
  libraries.emplace_back("nlohmann-json", Json::meta()["version"]["string"]);
  Json rows = Json::array();
  for (const auto& [name, version] : libraries) {
    rows.push_back({{"name", name}, {"version", version}});
  }
  return rows;
}

Json ListFormats() {
  Json rows = Json::array();
  for (const VXIO_FormatInfo& format : VXIO_ListFormats()) {
    rows.push_back({{"name", format.name},
                    {"extensions", format.extensions},
                    {"depths", format.depths},
                    {"alpha", AlphaName(format.alpha)},
                    {"profile", format.profile},
                    {"bits", format.bits},
                    {"compressions", format.compressions},
                    {"quality", format.quality},
                    {"writes", format.writes}});
  }
  return rows;
}

// The builds of libVX that may exist, and whether this processor can run them.
std::vector<std::pair<const char*, bool>> LibraryBuilds() {
  bool v3 = false, v4 = false;
#ifdef __x86_64__
  v3 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") &&
       __builtin_cpu_supports("bmi2");
  v4 = v3 && __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512dq") &&
       __builtin_cpu_supports("avx512vl");
#endif
  return {{"baseline", true}, {"x86-64-v3", v3}, {"x86-64-v4", v4}};
}

Json ListProcessors() {
  Json rows = Json::array();
  for (const auto& [name, available] : LibraryBuilds()) {
    rows.push_back({{"option", nullptr},
                    {"name", std::string("libVX for ") + name},
                    {"available", available},
                    {"in_use", std::string_view(name) == VX_BuildLevel()}});
  }
  for (const ProcessorLevel& level : ProcessorLevels()) {
    rows.push_back({{"option", level.option},
                    {"name", level.name},
                    {"available", level.available},
                    {"in_use", level.in_use}});
  }
  return rows;
}

// Returns the options of all verbs. Programs can make manual pages and completions from them.
Json ListOptions() {
  Json rows = Json::array();
  for (const Verb& verb : AllVerbs()) {
    for (const OptionList* options : {&verb.options, &verb.parts.options}) {
      for (Json& row : DescribeOptions(verb.name, *options)) rows.push_back(std::move(row));
    }
  }
  return rows;
}

std::string Cell(const Json& value) {
  if (value.is_null()) return "-";
  if (value.is_string()) return value.get<std::string>();
  if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
  if (!value.is_array()) return value.dump();
  std::string text;
  for (const Json& entry : value) text += (text.empty() ? "" : " ") + Cell(entry);
  return text;
}

void PrintTable(const Json& rows) {
  if (rows.empty()) {
    std::cout << "none\n";
    return;
  }
  std::vector<std::vector<std::string>> lines(1);
  for (const auto& [key, value] : rows[0].items()) {
    std::string title = key;
    std::replace(title.begin(), title.end(), '_', ' ');
    lines[0].push_back(title);
  }
  for (const Json& row : rows) {
    lines.emplace_back();
    for (const auto& [key, value] : row.items()) lines.back().push_back(Cell(value));
  }
  std::vector<size_t> widths(lines[0].size());
  for (const auto& line : lines) {
    for (size_t i = 0; i < line.size(); ++i) widths[i] = std::max(widths[i], line[i].size());
  }
  for (const auto& line : lines) {
    std::string text;
    for (size_t i = 0; i < line.size(); ++i) {
      text += line[i];
      if (i + 1 < line.size()) text += std::string(widths[i] + 2 - line[i].size(), ' ');
    }
    std::cout << text << '\n';
  }
}

struct ListArguments {
  int32_t what = 0;
  bool json = false;
};

int Run(const ListArguments& arguments) {
  static Json (*const kLists[])() = {ListModes,   ListSlots,   ListFormats, ListProcessors,
                                     ListOptions, ListModules, ListSuites,  ListLibraries};
  Json rows = kLists[arguments.what]();
  if (arguments.json) {
    PrintJson(rows);
  } else {
    for (Json& row : rows) row.erase("help");
    PrintTable(rows);
  }
  const bool failed = std::any_of(
      rows.begin(), rows.end(), [](const Json& row) { return row.value("state", "") == "failed"; });
  return failed ? kInput : kDone;
}

}  // namespace

Verb ListVerb() {
  auto to = std::make_shared<ListArguments>();
  // Messages contain the verb in place of the name of the argument.
  Value what = Parsed(&to->what, [](const std::string&, const std::string& text) {
    return ParseChoice(
        "list", text,
        {"modes", "slots", "formats", "processors", "options", "modules", "suites", "libraries"});
  });
  OptionList options = {
      Option{
          "WHAT", " ", std::move(what),
          "modes: transfer modes; slots: replaceable routines and their states; formats: picture "
          "formats; processors: levels of vector instructions; options: the options of all verbs; "
          "modules: acceleration modules that were found; suites: function tables for effects; "
          "libraries: the libraries in use"}
          .Required(),
      {"--json", "", Flag(&to->json), "Print JSON"}};
  return {"list",
          "List modes, slots, formats, processor levels, options, modules, suites or libraries",
          std::move(options), "Example:\n  vx list modes --json",
          [to](const Verb&) { return Run(*to); }};
}

}  // namespace vxcli

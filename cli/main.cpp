// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// The command vx: initialises the library and runs a verb. A failure is reported by one line and an
// exit code.

#include <malloc.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <nlohmann/json.hpp>

#include "Console.h"
#include "VX/cpp/Library.hpp"
#include "VXIO/VXIO_Picture.h"
#include "Verbs.h"
#include "host/VXHost.h"

namespace {

bool Has(int32_t word) { return U_G_CPU_DataP[word] != 0; }

// The vector instructions of this machine, independent of the selected level.
struct Machine {
  Machine() {
    uint32_t set[U_CPU_WORDS];
    std::memcpy(set, U_G_CPU_DataP, sizeof set);
    VXHost_ResetProcessor();
    sse2 = Has(U_CPU_HAS_SSE2);
    ssse3 = Has(U_CPU_HAS_SSSE3);
    VXHost_SetProcessor(set);
  }
  bool sse2, ssse3;
};

// Sets the processor level before the library is initialised: 0 plain code, 1 SSE2, 2 all vector
// instructions of this machine. Throws UsageError for a level that this machine does not have.
void SetProcessor(int32_t level) {
  VXHost_ResetProcessor();
  if (level == 2) return;
  if (level == 1 && !Has(U_CPU_HAS_SSE2)) {
    throw vxcli::UsageError("--processor 'sse2': this machine does not have it; use none");
  }
  uint32_t words[U_CPU_WORDS];
  std::memcpy(words, U_G_CPU_DataP, sizeof words);
  words[U_CPU_HAS_SSSE3] = 0;
  words[U_CPU_HAS_SSE3] = 0;
  if (level == 0) words[U_CPU_HAS_SSE2] = words[U_CPU_HAS_SSE] = words[U_CPU_HAS_MMX] = 0;
  VXHost_SetProcessor(words);
}

// Returns the value of --progress before the arguments are checked.
vxcli::ProgressStyle MessageStyle(const std::vector<std::string>& arguments) {
  const std::vector<std::string>& names = vxcli::ProgressStyles();
  for (size_t i = 0; i < arguments.size(); ++i) {
    for (size_t style = 0; style < names.size(); ++style) {
      const bool separate = arguments[i] == "--progress" && i + 1 < arguments.size() &&
                            arguments[i + 1] == names[style];
      if (separate || arguments[i] == "--progress=" + names[style]) {
        return static_cast<vxcli::ProgressStyle>(style);
      }
    }
  }
  return vxcli::ProgressStyle::Auto;
}

struct ModuleOptions {
  std::vector<std::string> folders;
  bool none = false;
};

// Starts the library and loads acceleration modules. Throws DescribedFailure for a folder of
// --modules that cannot be read and a module in it that cannot be loaded, unless `lists_modules`. A
// module of the installed folder that cannot be loaded causes a warning.
vx::Library Start(const ModuleOptions& modules, bool lists_modules) {
  for (const std::string& folder : modules.folders) {
    std::error_code error;
    static_cast<void>(std::filesystem::directory_iterator(folder, error));
    if (error) {
      throw vxcli::DescribedFailure(
          {vxcli::kInput, "--modules " + folder + ": cannot be read: " + error.message()});
    }
  }
  if (modules.none || !modules.folders.empty()) VXHost_SetModuleFolders(modules.folders);
  vx::Library library = vxcli::WithContext("start", [] { return vx::Library(); });
  const std::vector<VXHost_Module> found = VXHost_ListModules();
  const auto failed = std::find_if(found.begin(), found.end(),
                                   [](const VXHost_Module& m) { return !m.error.empty(); });
  const bool fails = !lists_modules && !modules.folders.empty() && failed != found.end();
  for (const VXHost_Report& report : VXHost_TakeReports()) {
    // The host's own report (check 0) has the same text as the exception.
    if (!fails || report.check != 0) vxcli::Warn({report.text});
  }
  if (fails) {
    throw vxcli::DescribedFailure(
        {vxcli::kInput, failed->path + ": the module was not loaded: " + failed->error});
  }
  return library;
}

int Run(std::vector<std::string> arguments) {
  int32_t processor = 0;
  ModuleOptions modules;
  vxcli::OptionList global = {
      vxcli::Option{"--processor", "LEVEL", vxcli::Choice(&processor, {"none", "sse2", "all"}),
                    "Vector instructions to use: %r; does not change the pictures"}
          .Default("all"),
      vxcli::Option{"--modules", "DIR",
                    vxcli::Parsed(&modules.folders,
                                  [&modules](const std::string&, const std::string& text) {
                                    std::vector<std::string> folders = modules.folders;
                                    folders.push_back(text);
                                    return folders;
                                  }),
                    "Folder of acceleration modules (*.RZX); repeat it for more folders"}
          .Without("the installed folder")
          .Repeats(),
      vxcli::Option{"--no-modules", "", vxcli::Flag(&modules.none), "Load no acceleration modules"}
          .Excludes("--modules")};
  std::vector<vxcli::Verb> verbs = vxcli::AllVerbs();
  vxcli::Verb* verb = vxcli::ParseCommandLine(std::move(arguments), &global, &verbs);
  if (!verb) return vxcli::kDone;
  vxcli::SetValues(&global);
  SetProcessor(processor);
  const vx::Library library = Start(modules, verb->name == "list");
  vxcli::SetValues(&verb->options);  // profiles need the library
  return verb->run(*verb);
}

}  // namespace

std::vector<vxcli::ProcessorLevel> vxcli::ProcessorLevels() {
  Machine machine;
  bool sse2 = Has(U_CPU_HAS_SSE2), ssse3 = sse2 && Has(U_CPU_HAS_SSSE3);
  return {{"none", "plain", true, !sse2},
          {"sse2", "sse2", machine.sse2, sse2 && !ssse3},
          {"all", "sse2+ssse3", machine.sse2 && machine.ssse3, ssse3}};
}

std::vector<vxcli::Verb> vxcli::AllVerbs() {
  return {CompositeVerb(),  TransformVerb(), FillVerb(),    CopyVerb(),        ResizeVerb(),
          BlurVerb(),       ConvolveVerb(),  KernelVerb(),  FlowVerb(),        TweenVerb(),
          RetimeVerb(),     MatteVerb(),     ConvertVerb(), PremultiplyVerb(), UnpremultiplyVerb(),
          GuessAlphaVerb(), ModesVerb(),     CompareVerb(), InfoVerb(),        ProfileVerb(),
          BenchVerb(),      ListVerb()};
}

std::string vxcli::VersionText() {
  std::string text = "vx " VX_PROJECT_VERSION "\nlibVX package " + std::to_string(VX_PKG_VERSION);
  text += std::string(", build for ") + VX_BuildLevel();
  for (const ProcessorLevel& level : ProcessorLevels()) {
    if (level.in_use) text += std::string("\nprocessor level ") + level.name;
  }
  return text;
}

int main(int argc, char** argv) {
  // Freed memory is kept for the next frame, pictures of up to 32 MB included: the system clears
  // each page that is allocated again.
  mallopt(M_MMAP_THRESHOLD, 32 << 20);
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
  VXIO_RemoveTemporariesOnSignals();
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  vxcli::Failure result{vxcli::kInternal, ""};
  try {
    vxcli::SetMessageStyle(MessageStyle(arguments));
    result.exit_code = Run(arguments);
    std::cout.flush();
    if (!std::cout) throw VXIO_Error(VXIO_ErrorKind::Output, "standard output: cannot be written");
  } catch (...) {
    result = vxcli::Describe(std::current_exception());
    const bool json = std::find(arguments.begin(), arguments.end(), "--json") != arguments.end();
    if (json && vxcli::NeedsRecordOfFailure()) {
      vxcli::PrintJson(
          {{"status", "failed"}, {"exit", result.exit_code}, {"message", result.text}});
      std::cout.flush();
    }
    vxcli::PrintError(result);
  }
  vxcli::PrintEnd(result);
  return result.exit_code;
}

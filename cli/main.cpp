// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// The command vx: runs a verb between the library's birth and death, and turns each failure into
// one line and an exit code.

#include <CLI/Version.hpp>
#include <iostream>
#include <nlohmann/json_fwd.hpp>

#include "CommandLine.h"
#include "Console.h"
#include "Errors.h"
#include "Package.h"
#include "VX/VX_Package.h"
#include "VXIO/VXIO_Picture.h"

namespace {

int Run(std::vector<std::string> arguments) {
  int32_t processor = 0;
  vxcli::OptionList global = {
      vxcli::Option{"--processor", "LEVEL", vxcli::Choice(&processor, {"none", "sse2", "all"}),
                    "Vector code to use, before the verb: %r; the pictures are the same"}
          .Default("all")};
  std::vector<vxcli::Verb> verbs = vxcli::AllVerbs();
  vxcli::Verb* verb = vxcli::ParseCommandLine(std::move(arguments), &global, &verbs);
  if (!verb) return vxcli::kDone;
  vxcli::SetValues(&global);
  vxcli::SetProcessor(processor);
  vxcli::Package package;
  vxcli::SetValues(&verb->options);  // profiles need the package
  return verb->run(*verb);
}

}  // namespace

std::vector<vxcli::Verb> vxcli::AllVerbs() {
  return {CompositeVerb(),   TransformVerb(),     FillVerb(),       CopyVerb(),  ResizeVerb(),
          BlurVerb(),        ConvolveVerb(),      KernelVerb(),     MatteVerb(), ConvertVerb(),
          PremultiplyVerb(), UnpremultiplyVerb(), GuessAlphaVerb(), ModesVerb(), CompareVerb(),
          InfoVerb(),        ProfileVerb(),       ListVerb()};
}

std::string vxcli::VersionText() {
  std::string text = "vx " VX_PROJECT_VERSION "\nlibVX package " + std::to_string(VX_PKG_VERSION);
  for (const auto& [name, version] : VXIO_ListLibraries()) text += "\n" + name + " " + version;
  text += "\nCLI11 " CLI11_VERSION "\nnlohmann-json " +
          std::to_string(NLOHMANN_JSON_VERSION_MAJOR) + "." +
          std::to_string(NLOHMANN_JSON_VERSION_MINOR) + "." +
          std::to_string(NLOHMANN_JSON_VERSION_PATCH);
  for (const ProcessorLevel& level : ProcessorLevels()) {
    if (level.in_use) text += std::string("\nprocessor level ") + level.name;
  }
  return text;
}

int main(int argc, char** argv) {
  VXIO_RemoveTemporariesOnSignals();
  int code = vxcli::kInternal;
  try {
    code = Run(std::vector<std::string>(argv + 1, argv + argc));
    std::cout.flush();
    if (!std::cout) throw VXIO_Error(VXIO_ErrorKind::Output, "standard output: cannot be written");
  } catch (...) {
    vxcli::Failure failure = vxcli::Describe(std::current_exception());
    vxcli::PrintError(failure.text);
    code = failure.exit_code;
  }
  return code;
}

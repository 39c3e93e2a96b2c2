// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// The command vx: finds the verb, runs it between the library's birth and death, and turns whatever
// happens into one line and an exit code.

#include <cctype>
#include <cstdio>
#include <iostream>

#include "Console.h"
#include "Errors.h"
#include "Layers.h"
#include "Motion.h"
#include "Package.h"
#include "VX/VX_Package.h"
#include "VXIO/VXIO_Picture.h"
#include "Verbs.h"

namespace {

using vxcli::UsageError;

// "--at -10,5" as one word, so that a value that begins with a minus is not taken for an option.
std::vector<std::string> JoinNegativeValues(std::vector<std::string> words) {
  std::vector<std::string> joined;
  for (std::string& word : words) {
    bool negative = word.size() > 1 && word[0] == '-' && (std::isdigit(word[1]) || word[1] == '.');
    bool after_option = !joined.empty() && joined.back().starts_with("--") &&
                        joined.back().size() > 2 && joined.back().find('=') == std::string::npos;
    if (negative && after_option) {
      joined.back() += "=" + word;
    } else {
      joined.push_back(std::move(word));
    }
  }
  return joined;
}

// As a script's unset variable gives them: they would pass for options that were not given.
void RefuseEmptyWords(const std::vector<std::string>& words) {
  std::string before = "vx";
  for (const std::string& word : words) {
    if (word.empty()) throw UsageError("the word after " + before + " must not be empty");
    if (word.starts_with("--") && word.find('=') + 1 == word.size()) {
      throw UsageError(word + ": must not be empty");
    }
    before = word;
  }
}

// "composite " or nothing: the verb of the line, before it is parsed.
std::string NamedVerb(const std::vector<std::string>& words,
                      const std::vector<vxcli::Verb>& verbs) {
  for (const std::string& word : words) {
    for (const vxcli::Verb& verb : verbs) {
      if (verb.app->get_name() == word) return word + " ";
    }
  }
  return "";
}

UsageError NoVerb(const std::vector<vxcli::Verb>& verbs) {
  std::string names;
  for (const vxcli::Verb& verb : verbs) names += " " + verb.app->get_name();
  return UsageError("no known verb is named; verbs are" + names + "; see 'vx --help'");
}

bool AsksForHelp(const std::vector<std::string>& words) {
  for (const std::string& word : words) {
    if (word == "--help" || word == "-h") return true;
  }
  return false;
}

int Run(std::vector<std::string> words) {
  CLI::App root{
      "Composite, scale, blur, convert and compare pictures of straight alpha at 8, 16 and 32 bits",
      "vx"};
  root.require_subcommand(0, 1);
  root.set_version_flag("--version", &vxcli::VersionText, "Show versions and the processor level");
  std::string processor = "all";
  root.add_option("--processor", processor,
                  "Vector code to use, before the verb: none, sse2 or all; the pictures are the "
                  "same [all]")
      ->type_name("LEVEL");
  root.footer(
      "Exit codes: 0 done, 1 internal (compare: they differ), 2 usage, 3 input, 4 output,\n"
      "5 some frames failed (--keep-going), 128 + signal. 'vx VERB --help' tells about a verb.");
  std::vector<std::vector<std::string>> layers;
  vxcli::MotionWords motion;
  std::vector<vxcli::Verb> verbs = {vxcli::AddComposite(&root, &layers),
                                    vxcli::AddTransform(&root, &motion),
                                    vxcli::AddFill(&root),
                                    vxcli::AddCopy(&root),
                                    vxcli::AddResize(&root),
                                    vxcli::AddBlur(&root),
                                    vxcli::AddConvolve(&root),
                                    vxcli::AddKernel(&root),
                                    vxcli::AddMatte(&root),
                                    vxcli::AddConvert(&root),
                                    vxcli::AddPremultiply(&root),
                                    vxcli::AddUnpremultiply(&root),
                                    vxcli::AddGuessAlpha(&root),
                                    vxcli::AddModes(&root),
                                    vxcli::AddCompare(&root),
                                    vxcli::AddInfo(&root),
                                    vxcli::AddProfile(&root),
                                    vxcli::AddList(&root)};
  std::string verb_name;
  RefuseEmptyWords(words);
  try {
    words = JoinNegativeValues(std::move(words));
    verb_name = NamedVerb(words, verbs);
    if (!AsksForHelp(words)) {
      if (verb_name == "composite ") layers = vxcli::TakeLayers(&words);
      if (verb_name == "transform ") motion = vxcli::TakeMotion(&words);
    }
    std::vector<std::string> reversed(words.rbegin(), words.rend());
    root.parse(reversed);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
      return root.exit(error, std::cout, std::cerr);
    }
    if (verb_name.empty() && dynamic_cast<const CLI::ExtrasError*>(&error)) throw NoVerb(verbs);
    throw UsageError(std::string(error.what()) + "; see 'vx " + verb_name + "--help'");
  }
  if (verb_name.empty()) throw NoVerb(verbs);
  vxcli::SetProcessor(processor);
  vxcli::Package package;
  for (const vxcli::Verb& verb : verbs) {
    if (verb.app->parsed()) return verb.run();
  }
  throw std::logic_error("no verb ran");
}

}  // namespace

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
    vxcli::Complain(failure.text);
    code = failure.exit_code;
  }
  return code;
}

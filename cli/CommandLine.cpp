// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// Parses the arguments of the command. The verbs define their options.

#include <CLI/CLI.hpp>
#include <cctype>
#include <filesystem>
#include <iostream>

#include "Console.h"
#include "Job.h"
#include "Verbs.h"

namespace vxcli {

namespace {

// Joins "--at" and "-10,5" to one argument, because the parser treats an argument that begins with
// a minus as an option.
std::vector<std::string> JoinNegativeValues(std::vector<std::string> arguments) {
  std::vector<std::string> joined;
  for (std::string& argument : arguments) {
    const bool negative = argument.size() > 1 && argument[0] == '-' &&
                          (std::isdigit(argument[1]) || argument[1] == '.');
    const bool after_option = !joined.empty() && joined.back().starts_with("--") &&
                              joined.back().size() > 2 &&
                              joined.back().find('=') == std::string::npos;
    if (negative && after_option) {
      joined.back() += "=" + argument;
    } else {
      joined.push_back(std::move(argument));
    }
  }
  return joined;
}

// Throws UsageError for an empty argument. Scripts produce empty arguments from unset variables,
// and the parser would treat the option as not given.
void RefuseEmptyArguments(const std::vector<std::string>& arguments) {
  std::string before = "vx";
  for (const std::string& argument : arguments) {
    if (argument.empty()) throw UsageError("the argument after " + before + " must not be empty");
    if (argument.starts_with("--") && argument.find('=') + 1 == argument.size()) {
      throw UsageError(argument + ": must not be empty");
    }
    before = argument;
  }
}

bool RequestsHelp(const std::vector<std::string>& arguments) {
  return std::any_of(arguments.begin(), arguments.end(),
                     [](const auto& text) { return text == "--help" || text == "-h"; });
}

Verb* FindVerb(const std::vector<std::string>& arguments, std::vector<Verb>* verbs) {
  for (const std::string& argument : arguments) {
    for (Verb& verb : *verbs) {
      if (verb.name == argument) return &verb;
    }
  }
  return nullptr;
}

UsageError NoVerb(const std::vector<std::string>& arguments, const std::vector<Verb>& verbs) {
  std::vector<std::string> names;
  for (const Verb& verb : verbs) names.push_back(verb.name);
  std::string hint;
  for (const std::string& argument : arguments) {
    if (hint.empty() && !argument.starts_with('-')) hint = DidYouMean(argument, names);
  }
  return UsageError("no known verb is named" + hint + "; verbs are " + JoinWords(names, " ", " ") +
                    "; see 'vx --help'");
}

// Throws UsageError for the first unknown option. The parser would report a missing one first.
void RefuseUnknownOptions(const std::vector<std::string>& arguments, const OptionList& global,
                          const Verb* verb) {
  std::vector<std::string> names = {"--help", "--version"};
  std::vector<const OptionList*> lists = {&global};
  if (verb) lists.insert(lists.end(), {&verb->options, &verb->parts.options});
  for (const OptionList* list : lists) {
    for (const Option& option : *list) names.push_back(option.LongName());
  }
  for (const std::string& argument : arguments) {
    if (argument == "--") return;
    const std::string name = argument.substr(0, argument.find('='));
    if (!name.starts_with("--") || std::count(names.begin(), names.end(), name) > 0) continue;
    throw UsageError(name + ": no such option" + DidYouMean(name, names) + "; see 'vx " +
                     (verb ? verb->name + " " : "") + "--help'");
  }
}

// Returns a hint if the shell has replaced a wildcard by the names of the frames of a sequence.
std::string SuggestPattern(const std::vector<std::string>& arguments) {
  std::vector<std::string> files;
  for (const std::string& argument : arguments) {
    std::error_code none;
    if (std::filesystem::is_regular_file(argument, none)) files.push_back(argument);
  }
  std::vector<std::string> sequence;
  for (const std::string& file : files) {
    if (!sequence.empty() && PatternOfFiles({sequence.back(), file}).empty()) {
      if (sequence.size() > 1) break;
      sequence.clear();
    }
    sequence.push_back(file);
  }
  const std::string pattern = PatternOfFiles(sequence);
  return pattern.empty() ? "" : "; a sequence is one argument in quotes: '" + pattern + "'";
}

void Declare(OptionList* options, CLI::App* app) {
  for (Option& option : *options) {
    CLI::Option* declared = nullptr;
    if (option.IsFlag()) {
      const auto set = [&option](int64_t count) {
        if (count > 0) option.given = {""};
      };
      declared = app->add_flag_function(option.name, set, option.HelpText());
    } else {
      const auto set = [&option](const CLI::results_t& texts) {
        option.given = texts;
        return true;
      };
      declared = app->add_option(option.name, set, option.HelpText());
      declared->type_name(option.metavar)->expected(option.value.count);
      if (option.repeats) declared->take_all();
    }
    declared->required(option.required);
    if (!option.group.empty()) declared->group(option.group);
    if (!option.excludes.empty()) declared->excludes(app->get_option(option.excludes));
  }
}

}  // namespace

Verb* ParseCommandLine(std::vector<std::string> arguments, OptionList* global,
                       std::vector<Verb>* verbs) {
  RefuseEmptyArguments(arguments);
  CLI::App root{
      "Composite, scale, blur, convert and compare pictures of straight alpha at 8, 16 and 32 bits",
      "vx"};
  root.require_subcommand(0, 1);
  root.set_version_flag("--version", &VersionText, "Show the version and the processor level");
  root.footer(
      "Exit codes: 0 done, 1 internal error (compare: different), 2 usage, 3 input, 4 output,\n"
      "5 some frames failed (--keep-going), 128 + signal. 'vx VERB --help' describes a verb.");
  Declare(global, &root);
  for (Verb& verb : *verbs) {
    CLI::App* app = root.add_subcommand(verb.name, verb.summary);
    app->fallthrough();  // the global options may also follow the verb
    // The parser uses these options for the help only, because ExtractParts removes them from the
    // arguments. An option with several numbers is declared with one value.
    for (Option& option : verb.parts.options) option.value.count = option.IsFlag() ? 0 : 1;
    Declare(&verb.parts.options, app);
    Declare(&verb.options, app);
    app->footer(verb.footer);
  }
  Verb* verb = FindVerb(arguments, verbs);
  const bool only_options = std::all_of(arguments.begin(), arguments.end(),
                                        [](const auto& text) { return text[0] == '-'; });
  if (verb || only_options) RefuseUnknownOptions(arguments, *global, verb);
  try {
    arguments = JoinNegativeValues(std::move(arguments));
    if (verb && !RequestsHelp(arguments)) ExtractParts(&verb->parts, &arguments);
    root.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
      root.exit(error, std::cout, std::cerr);
      return nullptr;
    }
    if (!verb && dynamic_cast<const CLI::ExtrasError*>(&error)) throw NoVerb(arguments, *verbs);
    std::string hint;
    if (dynamic_cast<const CLI::ExtrasError*>(&error)) hint = SuggestPattern(arguments);
    throw UsageError(error.what() + hint + "; see 'vx " + (verb ? verb->name + " " : "") +
                     "--help'");
  }
  if (!verb) throw NoVerb(arguments, *verbs);
  return verb;
}

}  // namespace vxcli

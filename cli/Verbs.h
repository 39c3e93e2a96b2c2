// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The verbs of the command, one file each. A verb is a record: its options and the function that
// runs when it was named.

#include <functional>
#include <string>
#include <vector>

#include "Options.h"

namespace vxcli {

struct Verb {
  std::string name, summary;
  OptionList options;
  std::string footer;  // of the help: rules and examples
  // Called with the values of the options stored. Returns the exit code.
  std::function<int(const Verb&)> run;
  Parts parts = {};
};

Verb CompositeVerb();
Verb TransformVerb();
Verb FillVerb();
Verb CopyVerb();
Verb ResizeVerb();
Verb BlurVerb();
Verb ConvolveVerb();
Verb KernelVerb();
Verb MatteVerb();
Verb ConvertVerb();
Verb PremultiplyVerb();
Verb UnpremultiplyVerb();
Verb GuessAlphaVerb();
Verb ModesVerb();
Verb CompareVerb();
Verb InfoVerb();
Verb ProfileVerb();
Verb ListVerb();

// All of them, in the order of the help.
std::vector<Verb> AllVerbs();

// Returns the verb that the arguments name; null after --help and --version, whose text is printed.
// `global` are the options before the verb. The texts of the options are stored in the lists; call
// SetValues for their values. Throws UsageError.
Verb* ParseCommandLine(std::vector<std::string> arguments, OptionList* global,
                       std::vector<Verb>* verbs);

struct ProcessorLevel {
  const char* option;  // value of --processor
  const char* name;    // "plain", "sse2", "sse2+ssse3"
  bool available;      // on this machine
  bool in_use;
};
std::vector<ProcessorLevel> ProcessorLevels();

// The text of --version.
std::string VersionText();

}  // namespace vxcli

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The verbs of the command, one file each. A verb consists of its options and the function that
// runs it.

#include <functional>
#include <string>
#include <vector>

#include "Options.h"

namespace vxcli {

struct Verb {
  std::string name, summary;
  OptionList options;
  std::string footer;  // end of the help: rules and examples
  // Called after the values of the options are stored. Returns the exit code.
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
Verb FlowVerb();
Verb TweenVerb();
Verb RetimeVerb();
Verb MatteVerb();
Verb ConvertVerb();
Verb PremultiplyVerb();
Verb UnpremultiplyVerb();
Verb GuessAlphaVerb();
Verb ModesVerb();
Verb CompareVerb();
Verb InfoVerb();
Verb ProfileVerb();
Verb BenchVerb();
Verb ListVerb();

// Returns all verbs, in the order of the help.
std::vector<Verb> AllVerbs();

// Returns the verb that the arguments select, or null after it printed the text of --help or
// --version. `global` are the options before the verb. The arguments of the options are stored in
// the lists of options; SetValues converts them. Throws UsageError.
Verb* ParseCommandLine(std::vector<std::string> arguments, OptionList* global,
                       std::vector<Verb>* verbs);

struct ProcessorLevel {
  const char* option;  // value of --processor
  const char* name;    // "plain", "sse2", "sse2+ssse3"
  bool available;      // on this machine
  bool in_use;
};
std::vector<ProcessorLevel> ProcessorLevels();

// Returns the text of --version.
std::string VersionText();

}  // namespace vxcli

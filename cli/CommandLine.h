// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The arguments of the command, parsed by the lists of options of the verbs.

#include <string>
#include <vector>

#include "Options.h"
#include "Verbs.h"

namespace vxcli {

// Returns the verb that the arguments name; null after --help and --version, whose text is printed.
// `global` are the options before the verb. The texts of the options are stored in the lists; call
// SetValues for their values. Throws UsageError.
Verb* ParseCommandLine(std::vector<std::string> arguments, OptionList* global,
                       std::vector<Verb>* verbs);

}  // namespace vxcli

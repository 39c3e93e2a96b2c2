// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The options of the command line.

#include <string>
#include <vector>

struct Options {
  std::vector<std::string> sections;  // names of the sections to run; empty: all
  std::string filter;                 // run only rows whose name contains this text; empty: all
  int rounds = 9;                     // number of measurements of each contestant
  bool quick = false;                 // one size, few rounds
  bool plain = false;                 // the library does not use its vector routines
  bool help = false;

  bool Takes(const std::string& row) const { return row.find(filter) != std::string::npos; }
};

// Throws std::invalid_argument with a message for the user.
Options ParseOptions(int count, const char* const* arguments);

std::string UsageText();

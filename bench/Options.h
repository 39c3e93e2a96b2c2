// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// What the command line asks for.

#include <string>
#include <vector>

struct Options {
  std::vector<std::string> sections;  // names of those to run; empty: all
  std::string filter;                 // only rows whose name contains this; empty: all
  int rounds = 9;                     // times that each contestant of a row runs
  bool quick = false;                 // one size, few rounds
  bool plain = false;                 // the library's vector routines are left out
  bool help = false;

  bool Takes(const std::string& row) const { return row.find(filter) != std::string::npos; }
};

// Throws std::invalid_argument with a line for the user.
Options ParseOptions(int count, const char* const* arguments);

std::string UsageText();

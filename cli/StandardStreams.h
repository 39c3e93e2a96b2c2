// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Pictures on the standard streams: "-" as the name of an input or of the output.

#include <string>

namespace vxcli {

inline constexpr const char* kStandardStream = "-";

// Reads the standard input to its end, at the first call, and returns the path of a file in memory
// with its contents. Throws VXIO_Error (Input) if it cannot be read or is empty.
std::string StandardInputFile();

// Throws VXIO_Error (Output) if the bytes cannot be written completely.
void WriteToStandardOutput(const std::string& bytes);

}  // namespace vxcli

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

// Returns the path of a new file in the temporary folder for a picture that is to be written to the
// standard output.
std::string TemporaryOutput(const std::string& extension);
// Writes the file to the standard output and removes it. Throws VXIO_Error (Output).
void MoveToStandardOutput(const std::string& path);

// Returns the text with "-" in place of the path.
std::string WithoutPath(std::string text, const std::string& path);

}  // namespace vxcli

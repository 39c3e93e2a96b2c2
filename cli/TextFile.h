// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Text files that users write: kernels, paths.

#include <string>

namespace vxcli {

// The contents, without the mark that some editors put at the start. `kind` and `holds` name what
// it should be: "kernel", "rows of whole numbers". Throws VXIO_Error (Input) when it cannot be
// read, is larger than 64 MiB or holds what no text does. Bytes beyond 127 may stand in it.
std::string ReadText(const std::string& path, const std::string& kind, const std::string& holds);

}  // namespace vxcli

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Checks that apply to every file that is read, picture or clip.

#include <cstdint>
#include <string>

#include "VXIO/VXIO_Picture.h"

// Checks a file before it is read: throws VXIO_Error (Input) unless `path` is a regular file that
// is not empty. `kind` is the expected content for the message: "a picture" or "a clip".
VXIO_API void VXIOp_CheckFile(const std::string& path, const char* kind);

// Returns the first bytes of a file, at most `most`. Throws VXIO_Error (Input).
VXIO_API std::string VXIOp_Head(const std::string& path, size_t most);

// Checks a size: throws VXIO_Error (Input) unless width and height are 1..30,000 pixels.
VXIO_API void VXIOp_CheckSize(const std::string& path, int64_t width, int64_t height);

// Throws VXIO_Error (Input) with the text "path: why".
[[noreturn]] VXIO_API void VXIOp_ThrowInput(const std::string& path, const std::string& why);

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <string_view>

// Converts a text of the host from UTF-8 to UTF-16. Each invalid byte becomes U+FFFD.
std::u16string VXp_Utf16(std::string_view text);

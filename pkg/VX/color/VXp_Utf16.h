// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <string_view>

// Host texts, UTF-8, as 16-bit strings. What is no UTF-8 becomes U+FFFD, one for each byte.
std::u16string VXp_Utf16(std::string_view text);

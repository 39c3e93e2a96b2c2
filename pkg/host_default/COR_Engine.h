// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// What client and engine agree on, beyond the calls of host/COR.h.

#include <cstdint>

namespace host {

// The procedure int32_t() by which an engine tells which set of procedures it has.
inline constexpr char kInterfaceVersionName[] = "COR_InterfaceVersion";
inline constexpr int32_t kInterfaceVersion = 2;

}  // namespace host

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The interface between client layer and engine. For each call of host/COR.h from
// COR_QCE_ProfileFromMemory on, the engine has a procedure of the same name and type, which does
// not throw.

#include <cstdint>
#include <iterator>

#include "host/COR.h"

namespace host {

// The name of a procedure of type int32_t() that returns the version of the engine's interface.
inline constexpr char kInterfaceVersionName[] = "COR_InterfaceVersion";
inline constexpr int32_t kInterfaceVersion = 2;

inline constexpr const char* kEngineNames[] = {
    "COR_QCE_ProfileFromMemory",     "COR_QCE_ProfileFromFile",
    "COR_QCE_ProfileFromName",       "COR_QCE_BuiltInProfileName",
    "COR_QCE_GetProfileDescription", "COR_QCE_GetProfileBytes",
    "COR_QCE_GetToneExponent",       "COR_QCE_GetLinearRGBProfile",
    "COR_QCE_NewProfilePool",        "COR_QCE_DisposeProfilePool",
    "COR_QCE_GetProfileID",          "COR_QCE_GetProfileByID",
    "COR_QCE_NewTransform",          "COR_QCE_Apply",
};

}  // namespace host

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
//
// COR: the way to the colour engine.
#pragma once

#include "host/U.h"

// A colour profile of the engine.
class COR_QCE_Profile;

// Gives the address of the engine's procedure of that name, null for an unknown name.
typedef void* (*COR_AddressProc)(const char* name);

// Stores the procedure through which a client finds the engine. Gives 3 for a null place.
VXHOST_API U_Err COR_GetQIBAddressProc(COR_AddressProc* out);

// Binds the client layer to an engine. False when proc is null or the engine lacks something that
// the client needs. Binding again replaces the engine.
VXHOST_API bool COR_BindClient(COR_AddressProc proc);

// Releases the client layer. Harmless when it is not bound.
VXHOST_API void COR_ReleaseClient();

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Mouse positions for off-screen drawing ports.
//
// There is one handler per port. Call these on one thread, between VX_Birth and VX_Death; VX_Death
// removes all handlers.

#include <boost/function.hpp>

#include "VX/VX_Types.h"

// Stores the position of the mouse in the port. Returns VX_Ok or an error.
using VX_OffscreenCursorHandler = boost::function<VX_Err(void* port, M_LPoint* mouse)>;

// Stores a copy of the handler; it replaces an earlier handler of the same port. Returns
// VX_ErrBadParameter for a null port, for an empty handler, or before VX_Birth. May also return
// VX_ErrOutOfMemory.
VX_API VX_Err VX_RegisterOffsreenCURMOUSEHandler(void* port,
                                                 const VX_OffscreenCursorHandler& handler);

// Removes the handler of a port. Returns VX_ErrBadParameter if the port has no handler, or before
// VX_Birth.
VX_API VX_Err VX_UnRegisterOffsreenCURMOUSEHandler(void* port);

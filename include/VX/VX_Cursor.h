// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Who answers for the mouse over drawing ports that are not on the screen.
//
// One handler a port. Nothing is locked: call these on one thread, between VX_Birth and VX_Death,
// which drops all handlers.

#include <boost/function.hpp>

#include "VX/VX_Types.h"

// Stores the position of the mouse in the port. 0 or an error.
using VX_OffscreenCursorHandler = boost::function<VX_Err(void* port, M_LPoint* mouse)>;

// Copies the handler; a second one for a port replaces the first. 0; 3 for a null port, an empty
// handler or a package that is not born; 4 out of memory.
VX_API VX_Err VX_RegisterOffsreenCURMOUSEHandler(void* port,
                                                 const VX_OffscreenCursorHandler& handler);

// 0, or 3 when the port has no handler or the package is not born.
VX_API VX_Err VX_UnRegisterOffsreenCURMOUSEHandler(void* port);

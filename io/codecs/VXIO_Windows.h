// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Data window and display window: conversion to and from OpenImageIO, and change of the frame.

#include "VX/VX.hpp"
#include "VXIO_Metadata.h"

// The size of the spec is that of the data window.
VXIO_Windows VXIOp_WindowsOf(const OIIO::ImageSpec& spec);
void VXIOp_SetWindows(const VXIO_Windows& windows, OIIO::ImageSpec* spec);

// The pixels outside of the old area: transparent black or opaque black.
enum class VXIOp_Outside { Clear, Opaque };

// Returns the area `to` of a picture; `from` is the area of the world.
vx::Image VXIOp_Reframe(const VX_LayerDef& world, const vx::Rect& from, const vx::Rect& to,
                        VXIOp_Outside outside);

// Returns true if the world is a data window that differs from its display window, and the format
// has no windows.
bool VXIOp_NeedsFrame(const VXIOp_Format& format, const VX_LayerDef& world,
                      const VXIO_Metadata& metadata);

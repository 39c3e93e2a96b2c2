// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// VX for C++20: images that own their memory, views of any memory, operations with named options,
// errors as exceptions. Header-only over the C-style interface (VX_...) of include/VX; target
// VX::cpp and a host, usually VX::Host. docs/cpp.md is the guide.
//
//   const vx::Library library;
//   vx::Image canvas(1920, 1080, 16), title(800, 200, 16);
//   vx::fill(canvas, vx::Pixel8{255, 0, 128, 128});
//   vx::composite(canvas, title, {.mode = vx::Mode::screen, .opacity = 0.8, .at = {40, -10}});
//
// Rules common to all functions
//
//   Pictures   Four channels in the order alpha, red, green, blue; straight alpha. Depth 8
//              (0..255), 16 (0..32768) or 32 (float, 0..1 nominal). Sizes and positions are in
//              pixels; x grows to the right, y downwards; the right and bottom edges of a rectangle
//              are exclusive.
//   Arguments  The destination first, then the source, then an aggregate of options, each with a
//              default. A source or destination is an Image, a View of any depth, or a VX_World.
//              All pictures of a call have the same depth unless the function says otherwise.
//   Results    Bit-identical to those of the VX_... function that the comment names.
//   Errors     Thrown as vx::Error. Arguments are checked before a destination is changed. After a
//              stop by the progress function, or if memory runs out during a call, a part of the
//              destination may be drawn.
//   Threads    Functions do not lock. Any number of threads may work on different destinations and
//              read the same source. A vx::Library object must exist while an operation runs.

#include "VX/cpp/Color.hpp"
#include "VX/cpp/Composite.hpp"
#include "VX/cpp/Error.hpp"
#include "VX/cpp/Filters.hpp"
#include "VX/cpp/Image.hpp"
#include "VX/cpp/Library.hpp"
#include "VX/cpp/Mask.hpp"
#include "VX/cpp/Mode.hpp"
#include "VX/cpp/Motion.hpp"
#include "VX/cpp/Pixels.hpp"
#include "VX/cpp/Progress.hpp"
#include "VX/cpp/Sample.hpp"
#include "VX/cpp/Transform.hpp"
#include "VX/cpp/View.hpp"

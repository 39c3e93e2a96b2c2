// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// Other libraries at the same work, on the same memory: they take a world as an image of four
// channels and know nothing of alpha. Each runs on one thread. A build that does not find one goes
// without it, and its columns say so.

#include "VX/VX_Types.h"

struct OpenCvPeer {
  // One value a channel, at the scale of the world.
  void (*fill)(const VX_LayerDef& dst, const double (&channels)[4]);
  void (*copy)(const VX_LayerDef& src, const VX_LayerDef& dst);
  // Every channel times `scale`, rounded to the nearest.
  void (*convert)(const VX_LayerDef& src, const VX_LayerDef& dst, double scale);
  // Whole to whole.
  void (*nearest)(const VX_LayerDef& src, const VX_LayerDef& dst);
  void (*linear)(const VX_LayerDef& src, const VX_LayerDef& dst);
  void (*area)(const VX_LayerDef& src, const VX_LayerDef& dst);
};
const OpenCvPeer* OpenCv();  // null: not installed

struct VipsPeer {
  // Channels of `src` as those of the type of `dst`: shifted by 8 between 8 and 16 bits, not scaled
  // to and from float. The result is memory of its own, taken anew each time.
  void (*cast)(const VX_LayerDef& src, const VX_LayerDef& dst);
};
const VipsPeer* Vips();  // null: not installed

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The names of motion in the cache.

#include <array>

#include "VX/VX_FrameBlending.h"
#include "frame/VXp_Report.h"
#include "host/MC.h"
#include "host/T.h"

using FnIdentity = std::array<uint8_t, 16>;

// Owner of the entries of this library.
inline constexpr uint32_t kFnMotionPackage = kVXp_PackageWord;

// The motion of a pair of pictures.
struct FnMotionKey {
  FnIdentity identity = {};  // of both pictures; all 0: nothing is cached
  T_Time timeA = {0, 1}, timeB = {1, 1};

  bool IsCached() const { return identity != FnIdentity{}; }
};

// A digest of the content, size and depth of both worlds. Never all 0.
FnIdentity FnIdentityOfPictures(const VX_LayerDef& first, const VX_LayerDef& second);

// The sort directory of vectors (smooth/): a digest of the identity, the size and depth of the
// pictures, the settings of the estimate and its version. Pictures or settings that give other
// motion have other directories.
MC_SortDir FnSortDirOf(const FnMotionKey& key, const VX_LayerDef& world,
                       const VX_Veltor_AlgoParams& settings);
// The sort directory of the dense motion (high/), which has no settings.
MC_SortDir FnDenseSortDirOf(const FnMotionKey& key, const VX_LayerDef& world);

// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The cache of motion.

#include <algorithm>
#include <iterator>

#include "frame/VXp_Report.h"
#include "frameblend/FnPair.h"

namespace {

bool HasPixels(const VX_LayerDef* world) {
  return world != nullptr && world->data != nullptr && world->width > 0 && world->height > 0;
}

}  // namespace

VX_Err VX_IdentifyPictures(const VX_LayerDef* first, const VX_LayerDef* second,
                           uint8_t (*identity)[16]) {
  return VXp_Guarded([&]() -> VX_Err {
    if (identity == nullptr || !HasPixels(first) || !HasPixels(second)) {
      return VXp_FailVerification("an identity of worlds without pixels, or without a result");
    }
    std::ranges::copy(FnIdentityOfPictures(*first, *second), *identity);
    return VX_Ok;
  });
}

VX_Err VX_TweenUseCache(VX_Tween* tween, const uint8_t (*identity)[16], const char* folder) {
  return VXp_Guarded([&]() -> VX_Err {
    if (tween == nullptr) return VXp_FailVerification("the cache of a null tween");
    FnMotionKey key;
    if (identity == nullptr) {
      key.identity = FnIdentityOfPictures(tween->first, tween->second);
    } else {
      std::ranges::copy(*identity, key.identity.begin());
    }
    if (!key.IsCached()) return VXp_FailVerification("an identity of zeros");
    tween->motion.vectors.folder = folder != nullptr ? folder : "";
    tween->motion.vectors.key = key;
    return VX_Ok;
  });
}

const char* VX_TweenCacheWarning(const VX_Tween* tween) {
  return tween != nullptr ? tween->motion.vectors.warning.c_str() : "";
}

VX_MotionCacheInfo VX_GetMotionCacheInfo() {
  const MC_Info info = MC_GetInfo(MC_GlobalBag(), kFnMotionPackage);
  const FnCacheCounts counts = FnGetCacheCounts();
  return {info.entries, info.memory, info.disk, counts.found, counts.read, counts.estimated};
}

void VX_ClearMotionCache() { MC_RemovePackage(MC_GlobalBag(), kFnMotionPackage); }

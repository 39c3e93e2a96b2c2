// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "frameblend/cache/FnHeldVectors.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstring>

#include "frameblend/cache/FnMotionFile.h"
#include "frameblend/cache/VX_VeltorCache_Stuff.h"

namespace {

constinit std::atomic<int64_t> found{0}, read_from_file{0}, estimated{0};

int32_t CacheIdOf(const FnMotionKey& key) {
  int32_t id;
  std::memcpy(&id, key.identity.data(), sizeof id);
  return id;
}

// Motion files have no times: a pair of pictures that uses them has the times 0 and 1.
FnIdentity IdentityOf(const MC_SortDir& dir) {
  FnIdentity identity;
  std::ranges::copy(dir.identity, identity.begin());
  return identity;
}

}  // namespace

void FnHeldVectors::Need(const VX_LayerDef& a, const VX_LayerDef& b,
                         const VX_Veltor_AlgoParams& settings, FnInterruptState* interrupt) {
  if (vectors_ != nullptr) return;
  if (!key.IsCached()) {
    auto made = std::make_unique<FnVeltorVectors>();
    made->Estimate(a, b, settings, interrupt);
    if (FnPoll(interrupt) == VX_Ok) Keep(std::move(made), nullptr);
    return;
  }
  const MC_SortDir dir = FnSortDirOf(key, a, settings);
  const FnIdentity identity = IdentityOf(dir);
  const std::string path = folder.empty() ? "" : FnMotionFileName(folder, identity);
  const VX_VeltorCache_Stuff wanted(CacheIdOf(key), key.timeA, key.timeB, nullptr);
  if (checkout_.FindAndCheckout(MC_GlobalBag(), dir, wanted) == VX_Ok && checkout_.DidCheckout()) {
    vectors_ = static_cast<const VX_VeltorCache_Stuff*>(checkout_.GetStuff())->vectors;
    ++found;
    if (!path.empty() && access(path.c_str(), F_OK) != 0) {
      FnWriteMotionFile(path, identity, *vectors_, &warning);
    }
    return;
  }
  std::unique_ptr<FnVeltorVectors> made;
  if (!path.empty()) {
    const FnAnalysisSize size = FnAnalysisSizeOf(a, settings);
    made = FnReadMotionFile(path, identity, size.width, size.height, &warning);
  }
  if (made != nullptr) {
    ++read_from_file;
  } else {
    made = std::make_unique<FnVeltorVectors>();
    made->Estimate(a, b, settings, interrupt);
    if (FnPoll(interrupt) != VX_Ok) return;
    ++estimated;
    if (!path.empty()) FnWriteMotionFile(path, identity, *made, &warning);
  }
  Keep(std::move(made), &dir);
}

// Takes the vectors, and adds them to the cache if there is a directory.
void FnHeldVectors::Keep(std::unique_ptr<FnVeltorVectors> made, const MC_SortDir* dir) {
  vectors_ = made.get();
  std::unique_ptr<VX_VeltorCache_Stuff> entry;
  if (dir != nullptr) {
    entry.reset(new VX_VeltorCache_Stuff(CacheIdOf(key), key.timeA, key.timeB, nullptr));
  }
  if (entry == nullptr) {
    own_ = std::move(made);
    return;
  }
  entry->vectors = made.release();
  if (entry->AddToBagAndSortDir(MC_GlobalBag(), *dir) == VX_Ok) {
    checkout_.Checkout(entry.release());
  } else {
    own_.reset(std::exchange(entry->vectors, nullptr));
  }
}

FnCacheCounts FnGetCacheCounts() { return {found, read_from_file, estimated}; }

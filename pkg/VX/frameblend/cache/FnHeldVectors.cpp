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

void FnHeldVectors::Need(const MC_SortDir& dir, FnAnalysisSize size,
                         const std::function<void(FnVeltorVectors*)>& estimate,
                         FnInterruptState* interrupt) {
  if (vectors_ != nullptr) return;
  if (!key.IsCached()) {
    own_ = std::make_unique<FnVeltorVectors>();
    estimate(own_.get());
    if (FnPoll(interrupt) == VX_Ok) vectors_ = own_.get();
    return;
  }
  const VX_VeltorCache_Stuff wanted(CacheIdOf(key), key.timeA, key.timeB, nullptr);
  if (checkout_.FindAndCheckout(MC_GlobalBag(), dir, wanted) == VX_Ok && checkout_.DidCheckout()) {
    vectors_ = static_cast<const VX_VeltorCache_Stuff*>(checkout_.GetStuff())->vectors;
    ++found;
    if (folder.empty()) return;
    const std::string path = FnMotionFileName(folder, IdentityOf(dir));
    if (access(path.c_str(), F_OK) != 0) {
      FnWriteMotionFile(path, IdentityOf(dir), *vectors_, &warning);
    }
    return;
  }
  std::unique_ptr<FnVeltorVectors> made = Make(IdentityOf(dir), size, estimate, interrupt);
  if (made != nullptr) Keep(std::move(made), dir);
}

std::unique_ptr<FnVeltorVectors> FnHeldVectors::Make(
    const FnIdentity& identity, FnAnalysisSize size,
    const std::function<void(FnVeltorVectors*)>& estimate, FnInterruptState* interrupt) {
  const std::string path = folder.empty() ? "" : FnMotionFileName(folder, identity);
  if (!path.empty()) {
    if (auto read = FnReadMotionFile(path, identity, size.width, size.height, &warning)) {
      ++read_from_file;
      return read;
    }
  }
  auto made = std::make_unique<FnVeltorVectors>();
  estimate(made.get());
  if (FnPoll(interrupt) != VX_Ok) return nullptr;
  ++estimated;
  if (!path.empty()) FnWriteMotionFile(path, identity, *made, &warning);
  return made;
}

void FnHeldVectors::Keep(std::unique_ptr<FnVeltorVectors> made, const MC_SortDir& dir) {
  vectors_ = made.get();
  // The host's `new` returns null if out of memory.
  std::unique_ptr<VX_VeltorCache_Stuff> entry(
      new VX_VeltorCache_Stuff(CacheIdOf(key), key.timeA, key.timeB, nullptr));
  if (entry == nullptr) {
    own_ = std::move(made);
    return;
  }
  entry->vectors = made.release();
  if (entry->AddToBagAndSortDir(MC_GlobalBag(), dir) == VX_Ok) {
    checkout_.Checkout(entry.release());
  } else {
    own_.reset(std::exchange(entry->vectors, nullptr));
  }
}

FnCacheCounts FnGetCacheCounts() { return {found, read_from_file, estimated}; }

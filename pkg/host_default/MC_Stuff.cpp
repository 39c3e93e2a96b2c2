// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The calls of the cache.

#include "HostInternal.h"
#include "MC_Bag.h"

namespace {

// Converts exceptions of `less` and of allocations to codes.
template <class Work>
U_Err Guarded(Work&& work) {
  try {
    return work();
  } catch (int32_t code) {
    return code;
  } catch (const std::exception& e) {
    return U_TranslateAndReportException(e);
  }
}

}  // namespace

// The bag is never destroyed, so that it is valid after main.
MC_Bag* MC_GlobalBag() {
  static MC_Bag* const bag = new MC_Bag;
  return bag;
}

void MC_RemovePackage(MC_Bag* bag, uint32_t package) {
  if (bag) bag->Remove(package);
}

MC_Info MC_GetInfo(MC_Bag* bag, uint32_t package) { return bag ? bag->Info(package) : MC_Info{}; }

MC_Stuff::~MC_Stuff() = default;

bool MC_Stuff::IsOnDisk() const { return on_disk_; }

bool MC_Stuff::CanGoToDisk() const { return false; }

void MC_Stuff::WriteToDisk(FILE_Ref*) { throw int32_t{3}; }

void MC_Stuff::ReadFromDisk(FILE_Ref*) { throw int32_t{3}; }

void MC_Stuff::YourDiskCacheFileWasDeleted() {}

U_Err MC_Stuff::AddToBagAndSortDir(MC_Bag* bag, const MC_SortDir& dir) {
  if (!bag) return 3;
  return Guarded([&] { return bag->Add(this, dir); });
}

MC_ScCheckout::~MC_ScCheckout() {
  if (stuff_) MC_GlobalBag()->Return(stuff_);
}

U_Err MC_ScCheckout::FindAndCheckout(MC_Bag* bag, const MC_SortDir& dir, const MC_Stuff& key) {
  if (!bag || stuff_) return 3;
  return Guarded([&] { return bag->Find(dir, key, &stuff_); });
}

U_Err MC_ScCheckout::Checkout(MC_Stuff* stuff) {
  if (!stuff || stuff_) return 3;
  const U_Err code = MC_GlobalBag()->TakeAdded(stuff);
  if (code == 0) stuff_ = stuff;
  return code;
}

void host::PurgeCache(int64_t bytes) { MC_GlobalBag()->Purge(bytes); }

void VXHost_SetCacheBudget(int64_t bytes) { MC_GlobalBag()->SetBudget(bytes); }

int64_t VXHost_GetCacheBudget() { return MC_GlobalBag()->Budget(); }

void VXHost_SetDiskCache(const char* folder, int64_t bytes) {
  const bool named = folder && *folder;
  MC_GlobalBag()->SetDisk(named ? std::make_shared<const std::string>(folder) : nullptr, bytes);
}

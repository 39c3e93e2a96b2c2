// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "MC_Bag.h"

#include <algorithm>
#include <cstring>

#include "HostInternal.h"

namespace {

constexpr int32_t kMostFiles = 256;

int Compare(const MC_SortDir& a, const MC_SortDir& b) {
  if (a.package != b.package) return a.package < b.package ? -1 : 1;
  return std::memcmp(a.identity, b.identity, sizeof a.identity);
}

MC_Place PlaceOf(const MC_Entry* entry) { return {entry->dir, *entry->stuff}; }

// Returns a file with the data; null if that failed.
MC_File Write(MC_Stuff* stuff, const std::string* folder) {
  FILE_Ref* made = nullptr;
  U_Err code = FILE_NewTemporary(folder ? folder->c_str() : nullptr, &made);
  MC_File file(made);
  try {
    if (code == 0) stuff->WriteToDisk(made);
  } catch (...) {
    code = FILE_CannotWrite;
  }
  if (code == 0) return file;
  host::Log(/*level=*/1, "MC", "CannotStore", folder ? folder->c_str() : "");
  return nullptr;
}

bool Read(MC_Entry* entry) {
  if (!entry->file) return false;
  try {
    FILE_SetPosition(entry->file.get(), 0);
    entry->stuff->ReadFromDisk(entry->file.get());
    return entry->stuff->HasData();
  } catch (...) {
    host::Log(/*level=*/1, "MC", "CannotRead", "");
    return false;
  }
}

}  // namespace

bool MC_Before::operator()(const MC_Place& a, const MC_Place& b) const {
  const int order = Compare(a.dir, b.dir);
  return order != 0 ? order < 0 : a.stuff.less(b.stuff);
}
bool MC_Before::operator()(const MC_Entry* a, const MC_Entry* b) const {
  return (*this)(PlaceOf(a), PlaceOf(b));
}
bool MC_Before::operator()(const MC_Entry* a, const MC_Place& b) const {
  return (*this)(PlaceOf(a), b);
}
bool MC_Before::operator()(const MC_Place& a, const MC_Entry* b) const {
  return (*this)(a, PlaceOf(b));
}

// ---- Entries ------------------------------------------------------------------------------------

U_Err MC_Bag::Add(MC_Stuff* stuff, const MC_SortDir& dir) {
  Entries dead;  // is destroyed after the lock was released
  Entries added(1);
  MC_Entry* const entry = &added.back();
  Lock lock(mutex_);
  if (stuff->entry_) return 3;
  entry->dir = dir;
  entry->stuff.reset(stuff);
  try {
    for (bool inserted = false; !inserted;) {
      std::tie(entry->place, inserted) = index_.insert(entry);
      if (!inserted) Detach(*entry->place, &dead);
    }
  } catch (...) {
    entry->stuff.release();
    throw;
  }
  entry->indexed = true;
  entry->uses = 1;
  entry->self = added.begin();
  stuff->entry_ = entry;
  entries_.splice(entries_.end(), added);
  Count(entry, stuff->size());
  Trim(&lock, budget_, &dead);
  return 0;
}

U_Err MC_Bag::Find(const MC_SortDir& dir, const MC_Stuff& key, MC_Stuff** out) {
  Entries dead;
  Lock lock(mutex_);
  auto at = index_.find(MC_Place{dir, key});
  while (at != index_.end() && (*at)->busy) {
    idle_.wait(lock);
    at = index_.find(MC_Place{dir, key});
  }
  if (at == index_.end()) return 0;
  MC_Entry* const entry = *at;
  Use(entry);
  if (!entry->stuff->HasData()) {
    entry->busy = true;
    lock.unlock();
    const bool read = Read(entry);
    lock.lock();
    entry->busy = false;
    idle_.notify_all();
    if (!read || !entry->indexed) {
      Detach(entry, &dead);
      return 0;
    }
    Count(entry, entry->stuff->size());
  }
  ++entry->uses;
  *out = entry->stuff.get();
  Trim(&lock, budget_, &dead);
  return 0;
}

U_Err MC_Bag::TakeAdded(MC_Stuff* stuff) {
  const Lock lock(mutex_);
  if (!stuff->entry_ || !stuff->entry_->awaited) return 3;
  stuff->entry_->awaited = false;
  return 0;
}

void MC_Bag::Return(MC_Stuff* stuff) {
  Entries dead;
  Lock lock(mutex_);
  MC_Entry* const entry = stuff->entry_;
  if (--entry->uses > 0) return;
  Count(entry, stuff->size());
  if (!entry->indexed) Detach(entry, &dead);
  Trim(&lock, budget_, &dead);
}

void MC_Bag::Remove(uint32_t package) {
  Entries dead;
  const Lock lock(mutex_);
  for (auto at = entries_.begin(); at != entries_.end();) {
    MC_Entry* const entry = &*at++;
    if (entry->dir.package == package) Detach(entry, &dead);
  }
}

MC_Info MC_Bag::Info(uint32_t package) {
  const Lock lock(mutex_);
  MC_Info info = {};
  for (const MC_Entry& entry : entries_) {
    if (entry.dir.package != package || !entry.indexed) continue;
    ++info.entries;
    info.memory += entry.memory;
    info.disk += entry.disk;
  }
  return info;
}

// Takes an entry out of the order, and moves it to `dead` unless it is in use.
void MC_Bag::Detach(MC_Entry* entry, Entries* dead) {
  if (entry->indexed) index_.erase(entry->place);
  entry->indexed = false;
  if (entry->uses > 0 || entry->busy) return;
  Count(entry, 0);
  CloseFile(entry);
  dead->splice(dead->end(), entries_, entry->self);
}

// ---- Limits -------------------------------------------------------------------------------------

void MC_Bag::Count(MC_Entry* entry, int64_t memory) {
  memory_ += memory - entry->memory;
  entry->memory = memory;
}

void MC_Bag::CloseFile(MC_Entry* entry) {
  if (!entry->file) return;
  entry->file.reset();
  disk_ -= entry->disk;
  entry->disk = 0;
  --files_;
  entry->stuff->on_disk_ = false;
  entry->stuff->YourDiskCacheFileWasDeleted();
}

MC_Entry* MC_Bag::OldestIdle() {
  const auto at = std::find_if(entries_.begin(), entries_.end(), [](const MC_Entry& entry) {
    return entry.uses == 0 && !entry.busy && entry.memory > 0;
  });
  return at != entries_.end() ? &*at : nullptr;
}

void MC_Bag::Trim(Lock* lock, int64_t limit, Entries* dead) {
  for (MC_Entry* entry; memory_ > limit && (entry = OldestIdle());) {
    Count(entry, 0);
    entry->busy = true;
    const bool store = !entry->file && disk_budget_ > 0 && entry->stuff->CanGoToDisk();
    const auto folder = folder_;
    lock->unlock();
    MC_File written = store ? Write(entry->stuff.get(), folder.get()) : nullptr;
    entry->stuff->purge();
    lock->lock();
    entry->busy = false;
    idle_.notify_all();
    if (written) {
      entry->disk = FILE_GetPosition(written.get());
      entry->file = std::move(written);
      disk_ += entry->disk;
      ++files_;
      entry->stuff->on_disk_ = true;
    }
    if (!entry->file || !entry->indexed) Detach(entry, dead);
  }
  for (auto at = entries_.begin();
       at != entries_.end() && (disk_ > disk_budget_ || files_ > kMostFiles);) {
    MC_Entry* const entry = &*at++;
    if (!entry->file || entry->busy) continue;
    CloseFile(entry);
    if (!entry->stuff->HasData()) Detach(entry, dead);
  }
}

void MC_Bag::SetBudget(int64_t bytes) {
  Entries dead;
  Lock lock(mutex_);
  budget_ = std::max<int64_t>(bytes, 0);
  Trim(&lock, budget_, &dead);
}

int64_t MC_Bag::Budget() {
  const Lock lock(mutex_);
  return budget_;
}

void MC_Bag::SetDisk(std::shared_ptr<const std::string> folder, int64_t bytes) {
  Entries dead;
  Lock lock(mutex_);
  folder_ = std::move(folder);
  disk_budget_ = std::max<int64_t>(bytes, 0);
  Trim(&lock, budget_, &dead);
}

void MC_Bag::Purge(int64_t bytes) {
  Entries dead;
  Lock lock(mutex_);
  Trim(&lock, memory_ - std::min(memory_, std::max<int64_t>(bytes, 0)), &dead);
}

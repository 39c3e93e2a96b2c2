// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The bag of the cache. Files are written and read, and data are freed, without the lock: the entry
// is busy meanwhile.

#include <condition_variable>
#include <list>
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "host/MC.h"

// What the order of entries compares.
struct MC_Place {
  const MC_SortDir& dir;
  const MC_Stuff& stuff;
};

struct MC_Before {
  using is_transparent = void;
  bool operator()(const MC_Place& a, const MC_Place& b) const;
  bool operator()(const MC_Entry* a, const MC_Entry* b) const;
  bool operator()(const MC_Entry* a, const MC_Place& b) const;
  bool operator()(const MC_Place& a, const MC_Entry* b) const;
};

using MC_Index = std::set<MC_Entry*, MC_Before>;

struct MC_CloseFile {
  void operator()(FILE_Ref* file) const { FILE_Close(file); }
};

using MC_File = std::unique_ptr<FILE_Ref, MC_CloseFile>;

// While an entry is busy, one thread uses `stuff` without the lock; the other fields need the lock.
struct MC_Entry {
  MC_SortDir dir = {};
  std::unique_ptr<MC_Stuff> stuff;
  MC_File file;         // the data in a temporary file
  int64_t memory = 0;   // bytes of data in memory that the bag counts
  int64_t disk = 0;     // bytes of the file
  int32_t uses = 0;     // check-outs, `awaited` included
  bool awaited = true;  // before the first check-out by its owner
  bool busy = false;    // written, read or purged now
  std::list<MC_Entry>::iterator self;
  MC_Index::iterator place;
  bool indexed = false;
};

struct MC_Bag {
 public:
  U_Err Add(MC_Stuff* stuff, const MC_SortDir& dir);
  // Stores the entry, checked out, or null.
  U_Err Find(const MC_SortDir& dir, const MC_Stuff& key, MC_Stuff** out);
  U_Err TakeAdded(MC_Stuff* stuff);
  void Return(MC_Stuff* stuff);
  void Remove(uint32_t package);
  MC_Info Info(uint32_t package);

  void SetBudget(int64_t bytes);
  int64_t Budget();
  void SetDisk(std::shared_ptr<const std::string> folder, int64_t bytes);
  void Purge(int64_t bytes);

 private:
  using Lock = std::unique_lock<std::mutex>;
  using Entries = std::list<MC_Entry>;

  void Use(MC_Entry* entry) { entries_.splice(entries_.end(), entries_, entry->self); }
  MC_Entry* OldestIdle();
  void Count(MC_Entry* entry, int64_t memory);
  void Detach(MC_Entry* entry, Entries* dead);
  void CloseFile(MC_Entry* entry);
  // Purges entries until the data in memory have at most `limit` bytes, then deletes files beyond
  // their limits. Releases the lock from time to time.
  void Trim(Lock* lock, int64_t limit, Entries* dead);

  std::mutex mutex_;
  std::condition_variable idle_;  // an entry is not busy any more
  Entries entries_;  // those used last are at the end; removed ones that are in use too
  MC_Index index_;
  int64_t memory_ = 0, disk_ = 0;
  int32_t files_ = 0;
  int64_t budget_ = int64_t{256} << 20;
  int64_t disk_budget_ = int64_t{1} << 30;
  std::shared_ptr<const std::string> folder_;  // null: the folder for temporary files
};

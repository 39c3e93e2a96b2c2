// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
//
// MC: the cache of objects whose data are expensive to compute.
//
// A bag contains entries. Each one is in a sort directory, where `less` orders the entries. The
// host limits the memory of a bag: it purges the entries that were not used for the longest time.
// An entry that can go to disk is written to a temporary file first, and read at its next
// check-out. If that file cannot be written or read, the bag deletes the entry.
//
//   MC_ScCheckout checkout;
//   if (checkout.FindAndCheckout(MC_GlobalBag(), dir, key) == 0 && !checkout.DidCheckout()) {
//     ... compute `entry`
//     if (entry->AddToBagAndSortDir(MC_GlobalBag(), dir) == 0) checkout.Checkout(entry);
//   }
//
// Threads: bags and their calls are thread-safe. An entry may be checked out several times at once,
// on several threads, and is not purged, written or read meanwhile.
#pragma once

#include <atomic>
#include <cstdint>

#include "host/FILE.h"

class MC_Stuff;
struct MC_Bag;
struct MC_Entry;

// The name of a sort directory. Entries of one directory have one type.
struct MC_SortDir {
  uint32_t package;  // the owner of the entries
  uint8_t identity[16];
};

struct MC_Info {
  int64_t entries;
  int64_t memory, disk;  // bytes
};

// Returns the bag of the process. It is never deleted.
VXHOST_API MC_Bag* MC_GlobalBag();

// Removes all entries of a package. Those that are checked out are deleted when that ends.
VXHOST_API void MC_RemovePackage(MC_Bag* bag, uint32_t package);

// Counts the entries of a package that are in the bag.
VXHOST_API MC_Info MC_GetInfo(MC_Bag* bag, uint32_t package);

// An entry. The bag calls the virtual functions on any thread that uses the bag, one at a time for
// each entry, except `less`.
class VXHOST_API MC_Stuff : public U_MemTrackedObject {
 public:
  MC_Stuff() = default;
  MC_Stuff(const MC_Stuff&) = delete;
  MC_Stuff& operator=(const MC_Stuff&) = delete;
  virtual ~MC_Stuff();

  // Returns whether this entry precedes `other`: a strict weak ordering of immutable fields. Must
  // not use the bag. Throws 3 (int32_t) for an entry of another type.
  virtual bool less(const MC_Stuff& other) const = 0;
  // The bytes of memory of the data; 0 without data.
  virtual int64_t size() const = 0;
  // Frees the data. Returns whether there were any.
  virtual bool purge() = 0;
  // Whether the bag has the data in a temporary file. They may be in memory too.
  virtual bool IsOnDisk() const;
  virtual bool HasData() const = 0;
  virtual bool CanGoToDisk() const;  // false unless overridden
  // Write the data at the position of the file, and read them from there. Throw the code of a
  // failure (int32_t). Not called unless CanGoToDisk.
  virtual void WriteToDisk(FILE_Ref* file);
  virtual void ReadFromDisk(FILE_Ref* file);
  // Called after the bag deleted the file.
  virtual void YourDiskCacheFileWasDeleted();

  // Moves this object, which `new` allocated, to a bag. An equal entry in the directory is removed.
  // The new entry is not purged before its first MC_ScCheckout::Checkout.
  // Returns bad argument (3) for a null bag or an entry that is in a bag; out of memory (4); what
  // `less` throws. After an error the caller still owns the object.
  U_Err AddToBagAndSortDir(MC_Bag* bag, const MC_SortDir& dir);

 private:
  friend struct MC_Bag;
  MC_Entry* entry_ = nullptr;  // its record in the bag
  std::atomic<bool> on_disk_ = false;
};

// Checks an entry out until the object is destroyed. Used by one thread at a time.
class VXHOST_API MC_ScCheckout {
 public:
  MC_ScCheckout() = default;
  MC_ScCheckout(const MC_ScCheckout&) = delete;
  MC_ScCheckout& operator=(const MC_ScCheckout&) = delete;
  ~MC_ScCheckout();

  // Checks out the entry of a directory that is equal to `key`; its data are in memory then. Does
  // nothing if there is none. Returns bad argument (3) for a null bag or if this object has an
  // entry; what `less` throws.
  U_Err FindAndCheckout(MC_Bag* bag, const MC_SortDir& dir, const MC_Stuff& key);
  // Checks out the entry that the caller added, once. Returns bad argument (3) for an entry that is
  // null or was not added, or if this object has an entry.
  U_Err Checkout(MC_Stuff* stuff);

  bool DidCheckout() const { return stuff_ != nullptr; }
  // The entry; null if none is checked out.
  MC_Stuff* GetStuff() const { return stuff_; }

 private:
  MC_Stuff* stuff_ = nullptr;
};

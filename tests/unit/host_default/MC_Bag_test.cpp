// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The cache of the embedded host, its temporary files, and the order of times.

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "host/MC.h"
#include "host/T.h"
#include "host/VXHost.h"

namespace {

constexpr uint32_t kPackage = 77;
constexpr int64_t kBytes = 1000;

MC_SortDir Dir(uint8_t name) { return {kPackage, {name}}; }

std::vector<std::string> events;
bool log_events = true;  // not in the test with threads

// kBytes bytes that depend on the key.
struct Numbers : MC_Stuff {
  explicit Numbers(int its_key, bool on_disk = true) : key(its_key), can_go(on_disk) {
    data.assign(kBytes, static_cast<char>(its_key));
  }
  ~Numbers() override { Note("delete"); }
  bool less(const MC_Stuff& other) const override {
    if (const auto* numbers = dynamic_cast<const Numbers*>(&other)) return key < numbers->key;
    throw int32_t{3};
  }
  int64_t size() const override { return static_cast<int64_t>(data.size()); }
  bool purge() override {
    Note("purge");
    const bool had = HasData();
    data = {};
    return had;
  }
  bool HasData() const override { return !data.empty(); }
  bool CanGoToDisk() const override { return can_go; }
  void WriteToDisk(FILE_Ref* file) override {
    Note("write");
    if (const U_Err code = FILE_NWrite(file, kBytes, data.data()); code != 0) throw int32_t{code};
  }
  void ReadFromDisk(FILE_Ref* file) override {
    Note("read");
    if (fails_to_read) throw int32_t{FILE_CannotRead};
    data.resize(kBytes);
    if (const U_Err code = FILE_NRead(file, kBytes, data.data()); code != 0) throw int32_t{code};
  }
  void YourDiskCacheFileWasDeleted() override { Note("file deleted"); }
  void Note(const std::string& what) {
    if (log_events && key >= 0) events.push_back(what + " " + std::to_string(key));
  }

  int key;
  bool can_go, fails_to_read = false;
  std::vector<char> data;
};

struct OtherStuff : MC_Stuff {
  bool less(const MC_Stuff&) const override { return false; }
  int64_t size() const override { return 0; }
  bool purge() override { return false; }
  bool HasData() const override { return true; }
};

const Numbers& Key(int key) {
  static std::map<int, std::unique_ptr<Numbers>> keys;
  auto& made = keys[key];
  if (!made) made = std::make_unique<Numbers>(key);
  return *made;
}

class Bag : public testing::Test {
 protected:
  void SetUp() override {
    VXHost_SetCacheBudget(3 * kBytes);
    VXHost_SetDiskCache(nullptr, 3 * kBytes);
    MC_RemovePackage(bag, kPackage);
    Take();
  }
  void TearDown() override {
    MC_RemovePackage(bag, kPackage);
    VXHost_SetDiskCache(nullptr, int64_t{1} << 30);
    VXHost_SetCacheBudget(int64_t{256} << 20);
    log_events = true;
  }
  void Add(int key, bool on_disk = true) {
    auto* const added = new Numbers(key, on_disk);
    ASSERT_EQ(added->AddToBagAndSortDir(bag, Dir(1)), 0);
    MC_ScCheckout checkout;
    ASSERT_EQ(checkout.Checkout(added), 0);
    EXPECT_EQ(checkout.GetStuff(), added);
  }
  // Finds an entry and compares its data.
  bool Find(int key, uint8_t dir = 1) {
    MC_ScCheckout checkout;
    EXPECT_EQ(checkout.FindAndCheckout(bag, Dir(dir), Key(key)), 0);
    if (!checkout.DidCheckout()) return false;
    EXPECT_EQ(static_cast<Numbers*>(checkout.GetStuff())->data,
              std::vector<char>(kBytes, static_cast<char>(key)));
    return true;
  }
  std::vector<std::string> Take() { return std::exchange(events, {}); }
  MC_Info Info() { return MC_GetInfo(bag, kPackage); }

  using Events = std::vector<std::string>;
  MC_Bag* const bag = MC_GlobalBag();
};

TEST_F(Bag, PurgesTheLeastRecentlyUsed) {
  for (int key : {1, 2, 3}) Add(key);
  EXPECT_TRUE(Find(1));
  EXPECT_EQ(Take(), Events{});
  Add(4);
  EXPECT_EQ(Take(), (Events{"write 2", "purge 2"}));
  EXPECT_TRUE(Find(2));  // 3 is the oldest now
  EXPECT_EQ(Take(), (Events{"read 2", "write 3", "purge 3"}));
  Add(5);  // purges 1
  Add(6);  // purges 4: the files of 2, 3, 1, 4 exceed their limit, and 3 was used first
  EXPECT_EQ(Take(),
            (Events{"write 1", "purge 1", "write 4", "purge 4", "file deleted 3", "delete 3"}));
  EXPECT_FALSE(Find(3));
  Add(7);  // 2 has a file already
  EXPECT_EQ(Take(), (Events{"purge 2"}));
  EXPECT_EQ(Info().entries, 6);
  EXPECT_EQ(Info().memory, 3 * kBytes);
  EXPECT_EQ(Info().disk, 3 * kBytes);
  VXHost_SetDiskCache(nullptr, 0);
  EXPECT_EQ(Info().entries, 3);
  EXPECT_EQ(Info().disk, 0);
  Take();
  Add(8);  // nothing is stored now
  EXPECT_EQ(Take(), (Events{"purge 5", "delete 5"}));
  VXHost_SetCacheBudget(-1);
  EXPECT_EQ(VXHost_GetCacheBudget(), 0);
  EXPECT_EQ(Info().entries, 0);
}

TEST_F(Bag, KeepsCheckedOutEntries) {
  std::optional<MC_ScCheckout> one(std::in_place), two(std::in_place);
  auto* const added = new Numbers(1);
  EXPECT_EQ(one->Checkout(added), 3) << "not in the bag";
  ASSERT_EQ(added->AddToBagAndSortDir(bag, Dir(1)), 0);
  VXHost_SetCacheBudget(0);
  ASSERT_EQ(one->Checkout(added), 0);
  EXPECT_TRUE(added->HasData()) << "before the first check-out";
  ASSERT_EQ(two->FindAndCheckout(bag, Dir(1), Key(1)), 0);
  EXPECT_EQ(two->GetStuff(), added);
  EXPECT_EQ(two->FindAndCheckout(bag, Dir(1), Key(1)), 3) << "has an entry";
  for (int key : {2, 3}) Add(key, /*on_disk=*/key == 2);
  EXPECT_TRUE(added->HasData());
  EXPECT_FALSE(Find(3));
  EXPECT_TRUE(Find(2));
  {
    MC_ScCheckout third;
    EXPECT_EQ(third.Checkout(added), 3) << "the owner did that already";
  }
  Take();
  MC_RemovePackage(bag, kPackage + 1);
  EXPECT_EQ(Info().entries, 2);
  MC_RemovePackage(bag, kPackage);
  EXPECT_EQ(Info().entries, 0);
  EXPECT_EQ(Take(), (Events{"file deleted 2", "delete 2"}));
  EXPECT_FALSE(Find(1));
  EXPECT_TRUE(added->HasData());
  one.reset();
  EXPECT_TRUE(added->HasData());
  two.reset();
  EXPECT_EQ(Take().back(), "delete 1");
}

TEST_F(Bag, DirectoriesAndEqualEntries) {
  Add(1);
  EXPECT_FALSE(Find(1, /*dir=*/2));
  EXPECT_FALSE(Find(2));
  Add(1);
  EXPECT_EQ(Take(), (Events{"delete 1"}));
  EXPECT_EQ(Info().entries, 1);
  // An entry of another type is refused and stays the caller's.
  OtherStuff other;
  MC_ScCheckout checkout;
  EXPECT_EQ(other.AddToBagAndSortDir(bag, Dir(1)), 3);
  EXPECT_EQ(checkout.FindAndCheckout(bag, Dir(1), other), 3);
  EXPECT_EQ(other.AddToBagAndSortDir(nullptr, Dir(1)), 3);
  EXPECT_EQ(checkout.FindAndCheckout(nullptr, Dir(1), other), 3);
  EXPECT_EQ(checkout.Checkout(nullptr), 3);
  EXPECT_FALSE(checkout.DidCheckout());
  EXPECT_EQ(Info().entries, 1);
}

TEST_F(Bag, DeletesEntriesThatCannotBeStored) {
  VXHost_SetCacheBudget(kBytes);
  const auto folder = std::filesystem::temp_directory_path() / "vx-mc-test";
  std::filesystem::create_directory(folder);
  struct rlimit usual {};
  getrlimit(RLIMIT_FSIZE, &usual);
  const auto limit = [&](rlim_t bytes) {
    const struct rlimit limits = {bytes, usual.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limits);
  };
  signal(SIGXFSZ, SIG_IGN);
  Add(1);
  Take();
  VXHost_SetDiskCache((folder / "missing").c_str(), 5 * kBytes);
  Add(2);
  EXPECT_EQ(Take(), (Events{"purge 1", "delete 1"}));
  VXHost_SetDiskCache(folder.c_str(), 5 * kBytes);
  limit(kBytes - 1);  // the disk is full
  Add(3);
  EXPECT_EQ(Take(), (Events{"write 2", "purge 2", "delete 2"}));
  limit(usual.rlim_cur);
  Add(4);
  EXPECT_EQ(Take(), (Events{"write 3", "purge 3"}));
  EXPECT_TRUE(std::filesystem::is_empty(folder)) << "files have no name";
  {
    MC_ScCheckout checkout;
    ASSERT_EQ(checkout.FindAndCheckout(bag, Dir(1), Key(3)), 0);
    EXPECT_TRUE(checkout.GetStuff()->IsOnDisk());
    static_cast<Numbers*>(checkout.GetStuff())->fails_to_read = true;
  }
  EXPECT_TRUE(Find(4));
  Take();
  EXPECT_FALSE(Find(3));
  EXPECT_EQ(Take(), (Events{"read 3", "file deleted 3", "delete 3"}));
  // A shortage of memory purges too.
  const auto attempt = [](void* left) { return --*static_cast<int*>(left) > 0 ? 4 : 0; };
  int left = 2;
  EXPECT_EQ(U_PurgeLoop(1, 0, attempt, &left), 0);
  EXPECT_EQ(Take(), (Events{"purge 4"}));
  std::filesystem::remove(folder);
}

TEST_F(Bag, ThreadsGetWhatTheyAddedOrNothing) {
  log_events = false;
  VXHost_SetDiskCache(nullptr, 5 * kBytes);
  std::vector<std::thread> threads;
  std::atomic<int> found = 0;
  for (unsigned t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      std::mt19937 random(t);
      for (int i = 0; i < 3000; ++i) {
        const int key = static_cast<int>(random() % 12);
        const Numbers wanted(key);
        MC_ScCheckout checkout;
        ASSERT_EQ(checkout.FindAndCheckout(bag, Dir(key % 2 != 0), wanted), 0);
        if (checkout.DidCheckout()) {
          ++found;
          ASSERT_EQ(static_cast<Numbers*>(checkout.GetStuff())->data, wanted.data);
        } else {
          auto* const added = new Numbers(key, key % 5 != 0);
          ASSERT_EQ(added->AddToBagAndSortDir(bag, Dir(key % 2 != 0)), 0);
          ASSERT_EQ(checkout.Checkout(added), 0);
          ASSERT_EQ(added->data, wanted.data);
        }
        if (random() % 100 == 0) VXHost_SetCacheBudget(static_cast<int>(random() % 8) * kBytes);
        if (random() % 300 == 0) MC_RemovePackage(bag, kPackage);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_GT(found, 1000);
  MC_RemovePackage(bag, kPackage);
  EXPECT_EQ(Info().entries, 0);
}

TEST(HostTimes, AreOrderedExactly) {
  // Each row is earlier than the next one; the times in a row are equivalent.
  const std::vector<std::vector<T_Time>> rows = {{{-5, 0}, {INT32_MIN, 0}},
                                                 {{INT32_MIN, 1}},
                                                 {{INT32_MIN, 2}, {INT32_MIN / 2, 1}},
                                                 {{-1, UINT32_MAX}},
                                                 {{0, 1}, {0, UINT32_MAX}, {0, 0}},
                                                 {{1, UINT32_MAX}},
                                                 {{1001, 30000}, {2002, 60000}},
                                                 {{INT32_MAX - 1, UINT32_MAX}},
                                                 {{INT32_MAX, UINT32_MAX}},
                                                 {{1, 2}, {2, 4}},
                                                 {{INT32_MAX, 1}},
                                                 {{1, 0}, {INT32_MAX, 0}}};
  for (size_t i = 0; i < rows.size(); ++i) {
    for (size_t j = 0; j < rows.size(); ++j) {
      for (const T_Time a : rows[i]) {
        for (const T_Time b : rows[j]) {
          EXPECT_EQ(a < b, i < j) << i << " " << j;
          EXPECT_EQ(a > b, i > j) << i << " " << j;
        }
      }
    }
  }
}

}  // namespace
